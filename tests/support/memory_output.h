// Output objects over memory.
#pragma once

#include <emlreader/eml_host.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/recording_host.h"

namespace eml::test {

// An output object over memory. It belongs to a host, whose journal counts its calls.
class MemoryOutput {
  public:
    explicit MemoryOutput(RecordingHost& host);
    MemoryOutput(const MemoryOutput&) = delete;
    MemoryOutput& operator=(const MemoryOutput&) = delete;

    [[nodiscard]] EmlIOobj& object() { return bound_->record; }
    void remove(Entry entry);

    [[nodiscard]] const std::string& bytes() const { return bytes_; }
    [[nodiscard]] const std::vector<uint32_t>& writes() const { return writes_; }
    [[nodiscard]] uint64_t sizeField() const;
    [[nodiscard]] bool opened() const { return opened_; }
    [[nodiscard]] bool closed() const { return closed_; }

    // Gives the object to the library, which then releases it and may close it twice.
    void give();
    [[nodiscard]] uint32_t releases() const { return releases_; }

  private:
    struct Bound {
        MemoryOutput* output;
        EmlIOobj record;  // last, so that it is what the unreadable page is behind
    };

    static MemoryOutput& of(EmlIOobj* self);
    static void releaseEntry(EmlIOobj* self);
    static int32_t openEntry(EmlIOobj* self);
    static int32_t readEntry(EmlIOobj* self, void* buffer, uint32_t count);
    static uint32_t writeEntry(EmlIOobj* self, const void* buffer, uint32_t count);
    static int32_t seekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin);
    static int64_t tellEntry(EmlIOobj* self);
    static int32_t closeEntry(EmlIOobj* self);

    void checkUse(const char* entry);

    RecordingHost& host_;
    HostValue<Bound> bound_;
    std::string bytes_;
    std::vector<uint32_t> writes_;
    size_t position_ = 0;
    bool opened_ = false;
    bool closed_ = false;
    bool given_ = false;
    uint32_t releases_ = 0;
};

}  // namespace eml::test

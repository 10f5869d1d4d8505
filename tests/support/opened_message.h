// An open message over a recording host, its sub-files as values, and the whole of it as stable text.
#pragma once

#include <emlreader/eml.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/memory_output.h"
#include "support/recording_host.h"
#include "support/sub_file.h"

namespace eml::test {

// The text with every "\n" made CR LF; a CR LF that is there already stays.
[[nodiscard]] std::string crlf(std::string_view text);

// Printable text: "\n", "\r", "\t", "\\" and "\xNN" for what is not.
[[nodiscard]] std::string escaped(std::string_view text);

struct Extracted {
    EmlResult result;
    std::string bytes;
    std::vector<uint32_t> writes;
    uint64_t sizeField;
    bool opened;
    bool closed;
};

class OpenedMessage {
  public:
    explicit OpenedMessage(RecordingHost& host, uint32_t flags = 0);
    ~OpenedMessage() { close(); }
    OpenedMessage(const OpenedMessage&) = delete;
    OpenedMessage& operator=(const OpenedMessage&) = delete;

    void close();

    [[nodiscard]] EmlContainerContext* context() const { return context_; }
    [[nodiscard]] EmlResult result() const { return result_; }
    [[nodiscard]] uint32_t subFileCount();
    [[nodiscard]] uint32_t charset();

    // Describes a sub-file into a record whose flags are `flagsBefore` and whose other fields hold a pattern.
    [[nodiscard]] SubFile describe(int32_t number, uint32_t flagsBefore = 0);
    [[nodiscard]] Extracted extract(int32_t number, uint32_t options = 0,
                                    EmlExtractInfo* extractInfo = nullptr);

    // Every sub-file described and extracted, for tests that only want no harm done.
    void visitAll();

  private:
    RecordingHost& host_;
    EmlResult result_ = UINT32_MAX;  // before the context, whose open writes it
    EmlContainerContext* context_;
};

// What a field of a described record holds when the library has left it alone.
inline constexpr uint32_t kUntouched = 0xA5A5A5A5;

// The whole message as the host sees it: the open, the container, every sub-file, the content of every
// attachment. The name, date and rendering of the message itself are left out. The same message and flags
// always give the same text.
[[nodiscard]] std::string dumpContainer(std::string_view message, uint32_t flags);

}  // namespace eml::test

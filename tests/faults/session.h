// One message in one of the readers, and every call that a host can make on it, each with its answer as
// a value. Whatever the library is handed - records, buffers, names - comes from the host's own heap, and so
// ends at an unreadable page when the heap is guarded.
#pragma once

#include <emlreader/eml.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/memory_output.h"
#include "support/recording_host.h"

namespace eml::test {

enum class Reader : uint8_t {
    kContainer,
    kFilter,
    kFilterFile,  // the filter over an object that it gets from openFile
    kMime,
};

enum class Call : uint8_t {
    kOpen,
    kQuery,     // what is asked of the message as a whole
    kDescribe,  // a sub-file
    kAttachmentInfo,
    kMetadata,  // the default list
    kRequests,  // fields by name
    kNameDate,
    kExtract,          // an attachment into an object
    kExtractToTarget,  // and through openFile
    kRender,           // the message itself
    kConvert,          // the whole stream
    kLine,
    kSections,
    kClose,
};

[[nodiscard]] const char* callName(Call call);

[[nodiscard]] inline bool isFilter(Reader reader) {
    return reader == Reader::kFilter || reader == Reader::kFilterFile;
}

struct Step {
    Call call;
    int32_t number = 0;    // of a sub-file
    uint32_t options = 0;  // of an extraction; flags of the fills
    uint32_t detail = 0;   // the charset that text is wanted in; the capacity of the buffer
};

struct Answer {
    EmlResult code = EML_OK;
    std::string text;  // everything else that the call gave

    bool operator==(const Answer&) const = default;
};

struct Scene {
    std::string name;
    std::string_view message;
    Reader reader;
    uint32_t flags;
};

class Session {
  public:
    Session(const Scene& scene, HostOptions options);
    virtual ~Session() = default;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] RecordingHost& host() { return host_; }

    [[nodiscard]] virtual EmlResult open() = 0;
    [[nodiscard]] virtual bool isOpen() const = 0;
    virtual void close() = 0;

    // Takes an entry of the host away.
    virtual void remove(Entry entry) { host_.remove(entry); }

    // Every call for every number, and for some that are none.
    [[nodiscard]] virtual std::vector<Step> steps() = 0;
    [[nodiscard]] virtual Answer run(const Step& step) = 0;

    // Whether a step gives the same answer whatever was called before.
    [[nodiscard]] static bool isRepeatable(const Step& step) { return step.call != Call::kLine; }

  protected:
    [[nodiscard]] uint32_t flags() const { return scene_.flags; }
    [[nodiscard]] Reader reader() const { return scene_.reader; }

    // Answers whose records the two readers share. They free what was handed over.
    [[nodiscard]] Answer takeSubFile(EmlResult code, EmlSubFileInfo& info);
    [[nodiscard]] Answer takeMetadata(EmlResult code, EmlMetaData& list);
    [[nodiscard]] static Answer takeOutput(EmlResult code, const MemoryOutput& output, uint32_t resultFlags);

  private:
    Scene scene_;
    RecordingHost host_;
};

[[nodiscard]] std::unique_ptr<Session> makeSession(const Scene& scene, HostOptions options = {});

// Field names as a host asks for them: an array of pointers to records that point to names.
class Requests {
  public:
    explicit Requests(RecordingHost& host);

    [[nodiscard]] EmlMetaDataRequest** data() const {
        return static_cast<EmlMetaDataRequest**>(array_.data());
    }
    [[nodiscard]] int32_t count() const { return kCount; }

  private:
    static constexpr int32_t kCount = 4;

    HostBlock array_;
    std::vector<std::unique_ptr<HostBlock>> names_;
    std::vector<std::unique_ptr<HostValue<EmlMetaDataRequest>>> records_;
};

}  // namespace eml::test

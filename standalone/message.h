// A message opened with the container reader, for C++. This is the one part of the host that calls the
// library, so a program that uses it links emlreader too.
#ifndef EMLREADER_STANDALONE_MESSAGE_H
#define EMLREADER_STANDALONE_MESSAGE_H

#include <emlreader/eml.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standalone/input.h"
#include "standalone/output.h"
#include "standalone/services.h"

namespace emlhost {

// What the library says about one sub-file. Fields that do not apply to its kind are zero.
struct SubFile {
    EmlResult status = EML_OK;    // of the call; the other fields count only when it is EML_OK
    std::string name;             // as the message has it: not decoded, never to be used as a path
    uint32_t kind = 0;            // EML_KIND_...
    int32_t size = 0;             // bytes as stored, before decoding; -1 when they are not in the message
    uint32_t flags = 0;           // EML_SUB_FILE_...
    uint32_t charset = 0;         // EML_CHARSET_...
    std::optional<int64_t> date;  // seconds since 1970; none when the message has no date
    int32_t parent = -1;          // number of the parent, -1 for the top
    std::vector<uint32_t> children;
};

// One header value.
struct HeaderValue {
    std::string name;                  // as the default list has it: "From", "Sent", ...
    std::optional<std::string> value;  // in the message's charset, encoded words decoded; may hold zero bytes
};

// How an extraction ended.
struct Extraction {
    EmlResult status = EML_OK;
    uint32_t flags = 0;  // EML_EXTRACT_CONVERTED, EML_EXTRACT_NOT_IN_FILE
};

// An open message. The input and the services must outlive it; the destructor closes the message.
//
// status() tells whether opening succeeded. After some failures the message can still be used, as usable()
// tells; if it is false, every call returns EML_INVALID_ARGUMENT.
//
// Methods throw std::bad_alloc when a std::string or std::vector cannot grow, and nothing else.
class OpenMessage {
  public:
    // Opens `input` with EML_OPEN_... flags.
    OpenMessage(EmlIOobj* input, Services& services, uint32_t openFlags = 0) noexcept;
    OpenMessage(Input& input, Services& services, uint32_t openFlags = 0) noexcept
        : OpenMessage(input.object(), services, openFlags) {}
    ~OpenMessage();
    OpenMessage(const OpenMessage&) = delete;
    OpenMessage& operator=(const OpenMessage&) = delete;

    EmlResult status() const noexcept { return status_; }
    bool usable() const noexcept { return context_ != nullptr; }

    // The context, for calls that have no method here; NULL when not usable. This object keeps it.
    EmlContainerContext* context() noexcept { return context_; }

    // Number of sub-files, the message itself included; 0 when not usable.
    uint32_t subFileCount() const noexcept { return info_.subFileCount; }

    // EML_CHARSET_... of the message; 0 when not usable.
    uint32_t charset() const noexcept { return info_.charset; }

    // Describes sub-file `number`.
    SubFile describe(int32_t number);

    // The default list of header values: From, Sent, To, Cc, Bcc, Subject, Priority. Shorter if memory ran
    // out.
    std::vector<HeaderValue> metadata();

    // Writes sub-file `number` into `output`. `options` are EML_EXTRACT_... option bits; `outputCharset` is
    // the charset id that the text of the message is wanted in, 0 for none. Check the output's error() too:
    // the library does not report failed writes.
    Extraction extract(int32_t number, EmlIOobj* output, uint32_t options = 0,
                       uint32_t outputCharset = 0) noexcept;
    Extraction extract(int32_t number, Output& output, uint32_t options = 0,
                       uint32_t outputCharset = 0) noexcept {
        return extract(number, output.object(), options, outputCharset);
    }

  private:
    Services& services_;
    EmlResult status_ = EML_OK;
    EmlContainerContext* context_;
    EmlContainerInfo info_{};
};

}  // namespace emlhost

#endif

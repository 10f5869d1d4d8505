// A message that the user named, opened.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "standalone/input.h"
#include "standalone/message.h"
#include "standalone/services.h"
#include "tool/archive/message_source.h"

namespace emlreader::mime {
class Message;
}

namespace emltool {

class MessageFile {
  public:
    // With `force` also what does not look like a message. Throws Problem.
    MessageFile(const MessageSource& source, bool force);

    // The same for an input that is open already; `name` is what problems call it.
    MessageFile(std::unique_ptr<emlhost::Input> input, std::string name, bool force);
    ~MessageFile();
    MessageFile(const MessageFile&) = delete;
    MessageFile& operator=(const MessageFile&) = delete;

    // The path, with the number of a message in an mbox; or words for standard input.
    const std::string& name() const { return name_; }

    emlhost::Services& services() { return services_; }
    emlhost::Input& input() { return *input_; }

    // The message as the container reader and the MIME reader have it, opened when it is first asked for. Throw
    // Problem.
    emlhost::OpenMessage& message();
    const emlreader::mime::Message& mime();

    // Throws if a read of the file has failed, which the library treats as its end.
    void checkReads() const;

  private:
    std::string name_;
    emlhost::Services services_;
    std::unique_ptr<emlhost::Input> input_;
    std::unique_ptr<emlhost::OpenMessage> message_;
    std::unique_ptr<emlreader::mime::Message> mime_;
};

// Calls `work` with the message as the MIME reader has it; what that throws becomes a Problem of the file.
void withMime(MessageFile& file, const std::function<void(const emlreader::mime::Message& message)>& work);

// The file `path`, which may be called "-", as an input. Throws Problem; for a folder its code is
// "is-a-directory". Does not look for another file that may be meant.
std::unique_ptr<emlhost::Input> openMessageInput(const std::string& path);

// Open flags that the tool uses for every message.
inline constexpr uint32_t kOpenFlags = EML_OPEN_CONVERTED_ATTACHMENTS;

// True if a line before the first empty one is a header field. Looks at the first 64 KiB.
bool looksLikeMessage(emlhost::Input& input);

// The same for the beginning of a message in memory.
bool hasHeaderField(std::string_view beginning);

}  // namespace emltool

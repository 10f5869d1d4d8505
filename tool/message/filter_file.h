// A message that the user named, converted into text records.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "standalone/filter.h"
#include "standalone/text_records.h"
#include "tool/message/message_file.h"

namespace emltool {

class FilterFile {
  public:
    // Opens it as MessageFile does. Without fields, only the body is converted. Throws Problem.
    FilterFile(const MessageSource& source, bool force, bool withFields);

    // The same for a message that is open already; it must outlive this.
    FilterFile(MessageFile& file, bool withFields);

    const std::string& name() const { return file_->name(); }
    bool isEncrypted() const { return encrypted_; }

    // Calls take(record) for each record, in buffers of `capacity` bytes, until it returns false. Throws
    // Problem if the stream is incomplete.
    void read(const std::function<bool(const emlhost::TextRecord&)>& take, size_t capacity = 65536);

  private:
    FilterFile(std::shared_ptr<MessageFile> file, bool withFields);

    std::shared_ptr<MessageFile> file_;  // owns nothing if the message is the caller's
    emlhost::MessageFilter filter_;
    bool encrypted_;
};

}  // namespace emltool

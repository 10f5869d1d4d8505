// Many messages in one file: mbox, in its four forms.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tool/archive/byte_source.h"
#include "tool/archive/content_length.h"
#include "tool/archive/message_source.h"

namespace emltool {

// One message of an mbox.
struct MboxRange {
    uint64_t index = 0;    // from 0 on
    uint64_t offset = 0;   // after the "From " line
    uint64_t length = 0;   // without the empty line before the next "From " line
    bool isQuoted = true;  // a ">" goes before lines that begin with "From "
};

// Finds the messages of an mbox, one after the other. A message begins after a line that begins with "From "
// and is the first line or follows an empty one. Some programs write no empty line: a line with a time or "-" after
// "From " counts without one if a header field comes next. Others write the length of the body into the header, and
// may leave such lines as they are; that length holds where a message can end there.
class MboxScan {
  public:
    using Got = ByteSource::Got;

    // Opens `path`. Throws Problem.
    explicit MboxScan(const std::string& path);

    // For a file that is open already; `path` is what problems call it.
    MboxScan(std::string path, SharedFile file);

    // For bytes that may come later.
    explicit MboxScan(std::unique_ptr<ByteSource> bytes);

    // Finds the next message, or none after the last one. Throws Problem if the bytes cannot be read.
    Got step(MboxRange& range);

    // For bytes that are all there: false after the last message.
    bool next(MboxRange& range) { return step(range) == Got::kBytes; }

    // The index of the message that is looked for.
    uint64_t index() const { return index_; }

    // Nothing before this place is needed any more. The message that is being read begins here, or later.
    uint64_t start() const { return start_; }

    // What has been read of it ends here.
    uint64_t reached() const { return lineEnd_; }

  private:
    enum class State {
        kAtBegin,     // before the first line
        kInLines,     // in a message that ends where the next one begins
        kAtClaim,     // after a header that says how long the body is
        kInClaim,     // in a body that is as long as that
        kAfterClaim,  // behind it
        kEnded
    };

    Got nextLine();
    void begin(uint64_t start);
    MboxRange ended(uint64_t end);
    void endHeader();
    Got examineClaim();
    bool takeLine(MboxRange& range);
    Got atEnd(MboxRange& range);

    std::unique_ptr<ByteSource> bytes_;
    std::vector<char> buffer_;
    size_t at_ = 0;
    size_t filled_ = 0;
    uint64_t lineStart_ = 0;
    uint64_t lineEnd_ = 0;
    bool isInLine_ = false;
    std::string head_;  // the first bytes of the line
    State state_ = State::kAtBegin;
    uint64_t index_ = 0;
    // Of the message:
    uint64_t start_ = 0;
    std::optional<uint64_t> postmark_;   // the line before, if it may be one without an empty line before it
    std::optional<uint64_t> emptyLine_;  // the line before, if it is empty
    bool isInHeader_ = true;
    ContentLength length_;
    std::optional<uint64_t> claimed_;  // where it ends, if its header is right
    std::string ahead_;                // what is there, from one byte before
    bool hasFrom_ = false;             // a line of its body begins with "From "
};

}  // namespace emltool

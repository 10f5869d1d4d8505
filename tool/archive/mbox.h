// Many messages in one file: mbox, with the ">" quoting of mboxo and mboxrd.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standalone/input.h"
#include "standalone/unique_descriptor.h"
#include "tool/archive/message_source.h"

namespace emltool {

// Whether a file that begins with these bytes is an mbox.
bool beginsMbox(std::string_view beginning);

// One message of it.
struct MboxRange {
    uint64_t index = 0;   // from 0 on
    uint64_t offset = 0;  // after the "From " line
    uint64_t length = 0;  // without the empty line before the next "From " line
};

// Finds the messages of an mbox, one after the other. A message begins after a line that begins with "From "
// and is the first line or follows an empty one. Some programs write no empty line: a line with a time or "-" after
// "From " counts without one if a header field comes next.
class MboxScan {
  public:
    // Opens `path`. Throws Problem.
    explicit MboxScan(const std::string& path);

    // For a file that is open already; `path` is what problems call it.
    MboxScan(std::string path, SharedFile file);

    // False after the last one. Throws Problem if the file cannot be read.
    bool next(MboxRange& range);

    // The index of the message that next() looks for.
    uint64_t index() const { return index_; }

  private:
    bool nextLine();
    bool refill();
    bool lineIsEmpty() const { return head_ == "\n" || head_ == "\r\n"; }

    std::string path_;
    SharedFile file_;
    std::vector<char> buffer_;
    size_t at_ = 0;
    size_t filled_ = 0;
    uint64_t lineStart_ = 0;
    uint64_t lineEnd_ = 0;
    std::string head_;                  // the first bytes of the line
    std::optional<uint64_t> postmark_;  // the line before, if it may be one without an empty line before it
    uint64_t start_ = 0;
    uint64_t index_ = 0;
    bool begun_ = false;
    bool ended_ = false;
};

// The message at that place of the mbox `path`, with one ">" removed from each line where ">" and "From "
// follow. Throws Problem.
std::unique_ptr<emlhost::Input> openMboxMessage(const std::string& path, uint64_t offset, uint64_t length);

// The same in an open file; `name` is what problems call it.
std::unique_ptr<emlhost::Input> openMboxMessage(const std::string& name,
                                                const emlhost::UniqueDescriptor& file, uint64_t offset,
                                                uint64_t length);

}  // namespace emltool

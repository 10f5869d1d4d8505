#include "tool/batch/row_lines.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tool/text/format.h"

namespace emltool {

bool isTornRow(std::string_view text, std::span<const std::string_view> beginnings) {
    const auto begins = [text](std::string_view beginning) {
        const size_t known = std::min(text.size(), beginning.size());
        return text.substr(0, known) == beginning.substr(0, known);
    };
    return std::ranges::any_of(beginnings, begins) || text.find_first_not_of('\0') == std::string_view::npos;
}

Problem noRow(const std::string& name, uint64_t line, std::string_view writer) {
    return {ExitCode::kOutput, "not-rows", name,
            formatted("line {} is no row of {}, so nothing is continued here; choose another file", line,
                      writer)};
}

bool RowLines::next(std::string_view& line) {
    size_t searched = begin_;
    for (;;) {
        const size_t end = buffer_.find('\n', searched);
        if (end != std::string::npos) {
            line = std::string_view(buffer_).substr(begin_, end - begin_);
            begin_ = end + 1;
            return true;
        }
        searched = buffer_.size() - begin_;
        if (!read()) return false;
    }
}

// What was returned leaves the buffer.
bool RowLines::read() {
    constexpr size_t kPiece = size_t{1} << 20;
    buffer_.erase(0, begin_);
    begin_ = 0;
    const size_t length = buffer_.size();
    buffer_.resize(length + kPiece);
    ssize_t got = -1;
    do {
        got = ::pread(descriptor_, buffer_.data() + length, kPiece, static_cast<off_t>(position_));
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        throw Problem(ExitCode::kOutput, "cannot-read", name_, describe({errno, std::system_category()}));
    buffer_.resize(length + static_cast<size_t>(got));
    position_ += static_cast<uint64_t>(got);
    return got > 0;
}

}  // namespace emltool

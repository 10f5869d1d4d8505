// The lines of a file with rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "tool/terminal/problem.h"

namespace emltool {

// Whether this is what a run that was killed while writing leaves after the last line, or a machine that has lost power,
// which may leave zero bytes: the beginning of a row that begins with one of these.
bool isTornRow(std::string_view text, std::span<const std::string_view> beginnings);

// That a file to be continued holds something else, in that line. `writer` is the command that writes such rows.
Problem noRow(const std::string& name, uint64_t line, std::string_view writer);

class RowLines {
  public:
    // Reads from the beginning of `descriptor`, whose position stays. `name` is for problems.
    RowLines(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}

    // The next whole line, without its end; valid until the next call. False if there is none. Throws Problem.
    bool next(std::string_view& line);

    // After the last one: what follows it, and the length of all before that.
    std::string_view rest() const { return std::string_view(buffer_).substr(begin_); }
    uint64_t wholeLength() const { return position_ - rest().size(); }

  private:
    bool read();

    int descriptor_;
    std::string name_;
    std::string buffer_;
    size_t begin_ = 0;       // of what has not been returned
    uint64_t position_ = 0;  // of the end of the buffer
};

}  // namespace emltool

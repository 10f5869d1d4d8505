// Lines of an mbox that begin with "From " have a ">" before them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltool {

// Removes one ">" from each line that begins with one or more ">" and then "From ". Takes pieces of any size;
// appends to `text`, which may be emptied between two pieces.
class FromUnquoter {
  public:
    explicit FromUnquoter(std::string& text) : text_(text) {}

    void take(std::string_view piece);
    void finish() { give(); }

  private:
    void give();
    bool takeStart(std::string_view& piece);

    std::string& text_;
    bool atStart_ = true;  // of a line; what was seen of it is held back
    uint64_t marks_ = 0;   // ">" held back
    size_t letters_ = 0;   // of "From " held back
};

}  // namespace emltool

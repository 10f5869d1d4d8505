#include "tool/archive/from_quoting.h"

namespace emltool {

namespace {

constexpr std::string_view kFrom = "From ";

}  // namespace

// Writes what is held back.
void FromUnquoter::give() {
    text_.append(static_cast<size_t>(marks_), '>').append(kFrom.substr(0, letters_));
    marks_ = 0;
    letters_ = 0;
}

// Reads the beginning of a line; false if it continues in the next piece.
bool FromUnquoter::takeStart(std::string_view& piece) {
    while (!piece.empty()) {
        if (letters_ == 0 && piece[0] == '>') {
            ++marks_;
        } else if (marks_ > 0 && piece[0] == kFrom[letters_]) {
            ++letters_;
        } else {
            break;
        }
        piece.remove_prefix(1);
        if (letters_ == kFrom.size()) {
            --marks_;
            break;
        }
    }
    if (piece.empty() && letters_ < kFrom.size()) return false;
    give();
    return true;
}

void FromUnquoter::take(std::string_view piece) {
    while (!piece.empty()) {
        if (atStart_ && !takeStart(piece)) return;
        size_t end = piece.find('\n');
        atStart_ = end != std::string_view::npos;
        std::string_view line = piece.substr(0, atStart_ ? end + 1 : piece.size());
        text_ += line;
        piece.remove_prefix(line.size());
    }
}

}  // namespace emltool

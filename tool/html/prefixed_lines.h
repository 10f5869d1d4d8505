// Lines of text inside quotes and items: each begins with the marks of all that it stands in.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "tool/html/document.h"

namespace emltool {

class PrefixedLines {
  public:
    // Writes the line after the marks that are due. Of an empty line the marks have no blanks at their end.
    void write(std::string_view line) {
        text_.append(isFirst_ ? first_ : rest_).append(line);
        if (line.empty()) text_.resize(text_.find_last_not_of(' ') + 1);
        text_ += '\n';
        isFirst_ = false;
    }

    // Calls inside(), whose first line begins with `first` and all others with `rest`.
    template <typename Inside>
    void enter(std::string_view first, std::string_view rest, Inside inside) {
        const size_t length = rest_.size();
        first_ = (isFirst_ ? first_ : rest_) + std::string(first);
        isFirst_ = true;
        rest_ += rest;
        inside();
        rest_.resize(length);
        isFirst_ = false;
    }

    // Whether the mark of what was entered has no line yet.
    bool isAtFirst() const { return isFirst_; }

    std::string take() { return std::move(text_); }

  private:
    std::string text_;
    std::string first_;
    std::string rest_;
    bool isFirst_ = false;
};

// The mark of an item: "3. " in an ordered list, where `number` counts; else `bullet`.
inline std::string itemMark(const Block& list, int64_t& number, std::string_view bullet) {
    return list.isOrdered ? std::to_string(number++) + ". " : std::string(bullet);
}

}  // namespace emltool

#include "mime/header_fields.h"

#include "bytes/ascii.h"
#include "bytes/subtext.h"

namespace eml {

namespace {

bool isBlankAt(std::string_view text, size_t at) {
    return at < text.size() && isBlank(static_cast<uint8_t>(text[at]));
}

bool isNameByte(char byte) { return byte > ' ' && byte < 127 && byte != ':'; }

// Length of the name at the beginning of a line; 0 when the line begins no field.
size_t nameLength(std::string_view line) {
    size_t length = 0;
    while (length < line.size() && isNameByte(line[length])) ++length;
    return length;
}

// The place of the colon after a name of `length` bytes; npos when there is none.
size_t colonAfter(std::string_view line, size_t length) {
    if (length == 0) return std::string_view::npos;
    size_t colon = length;
    while (isBlankAt(line, colon)) ++colon;
    if (colon == line.size() || line[colon] != ':') return std::string_view::npos;
    if (subtext(line, colon + 1, 2) == "//") return std::string_view::npos;
    return colon;
}

// The first `byte` in `text` from `from` on, else the end.
size_t findFrom(std::string_view text, char byte, size_t from) {
    const size_t found = text.find(byte, from);
    return found == std::string_view::npos ? text.size() : found;
}

}  // namespace

bool beginsField(std::string_view line) {
    return colonAfter(line, nameLength(line)) != std::string_view::npos;
}

bool equalNoCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           equalNoCase(reinterpret_cast<const uint8_t*>(left.data()), right.data(), left.size());
}

size_t FieldWalk::passLine() {
    if (!searched_ || cr_ < pos_) cr_ = findFrom(header_, '\r', pos_);
    if (!searched_ || lf_ < pos_) lf_ = findFrom(header_, '\n', pos_);
    searched_ = true;
    const size_t end = cr_ < lf_ ? cr_ : lf_;
    if (end == header_.size()) {
        pos_ = end;
    } else if (end == lf_ || lf_ - end > 2 || (lf_ - end == 2 && header_[end + 1] != '\r')) {
        pos_ = end + 1;
    } else {
        pos_ = lf_ < header_.size() ? lf_ + 1 : end + 1;
    }
    return end;
}

bool FieldWalk::next(FieldLines& field) {
    if (pos_ >= header_.size()) return false;
    field.start = pos_;
    size_t textEnd = passLine();
    std::string_view line = subtext(header_, field.start, textEnd - field.start);
    const size_t blanks = field.start == 0 ? line.find_first_not_of(" \t") : 0;
    // Nothing comes before the first line that it could continue.
    if (blanks < line.size() && beginsField(subtext(line, blanks))) line.remove_prefix(blanks);
    const size_t nameStart = textEnd - line.size();
    while (isBlankAt(header_, pos_)) textEnd = passLine();
    field.end = pos_;
    const size_t length = nameLength(line);
    const size_t colon = colonAfter(line, length);
    const bool isField = colon != std::string_view::npos;
    field.name = isField ? subtext(line, 0, length) : std::string_view{};
    const size_t valueStart = isField ? nameStart + colon + 1 : field.start;
    field.value = subtext(header_, valueStart, textEnd - valueStart);
    return true;
}

}  // namespace eml

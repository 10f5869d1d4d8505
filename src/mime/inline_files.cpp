#include "mime/inline_files.h"

#include <algorithm>

#include "bytes/subtext.h"
#include "mime/uuencode.h"

namespace eml {

namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view trimmedEnd(std::string_view text) {
    return subtext(text, 0, text.find_last_not_of(kBlanks) + 1);
}

std::string_view trimmed(std::string_view text) {
    text = trimmedEnd(text);
    const size_t start = text.find_first_not_of(kBlanks);
    return start == std::string_view::npos ? std::string_view{} : subtext(text, start);
}

constexpr std::string_view kYencBegin = "=ybegin ";
constexpr std::string_view kYencName = " name=";

}  // namespace

std::optional<std::string_view> afterUuencodeMode(std::string_view line) {
    constexpr std::string_view kBegin = "begin ";
    if (!line.starts_with(kBegin)) return std::nullopt;
    line = trimmed(subtext(line, kBegin.size()));
    const size_t digits = std::min(line.find_first_not_of("01234567"), line.size());
    if (digits < 3 || digits > 4) return std::nullopt;
    line.remove_prefix(digits);
    if (!line.empty() && kBlanks.find(line[0]) == std::string_view::npos) return std::nullopt;
    return trimmed(line);
}

std::string_view uuencodeName(std::string_view line) {
    return afterUuencodeMode(line).value_or(std::string_view{});
}

bool isUuencodeEnd(std::string_view line) { return trimmedEnd(line) == "end"; }

bool isUuencodeData(std::string_view line) {
    if (line.empty() || !hasUuencodeCharacters(line)) return false;
    const UuencodeLength length = uuencodeLength(line);
    if (length.bytes == 0) return line.size() == 1;
    const size_t have = line.size() - 1;
    // Blanks at the end get lost on the way: of a full line perhaps all, when the file has zeros there.
    return (line[0] == 'M' || have * 2 >= length.needed) && have <= length.full + kUuencodeExtra;
}

std::string_view yencName(std::string_view line) {
    if (!line.starts_with(kYencBegin)) return {};
    const size_t place = line.find(kYencName);
    if (place == std::string_view::npos) return {};
    return trimmed(subtext(line, place + kYencName.size()));
}

bool isYencEnd(std::string_view line) {
    constexpr std::string_view kEnd = "=yend";
    return line == kEnd ||
           (line.starts_with(kEnd) && kBlanks.find(line[kEnd.size()]) != std::string_view::npos);
}

}  // namespace eml

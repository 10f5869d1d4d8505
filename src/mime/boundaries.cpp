#include "mime/boundaries.h"

#include "bytes/ascii.h"
#include "bytes/subtext.h"

namespace eml {

namespace {

constexpr size_t kMaxGuessedBoundary = 200;

bool isBlankCharacter(char character) { return isBlank(static_cast<uint8_t>(character)); }

std::string_view withoutBlanks(std::string_view text) {
    while (!text.empty() && isBlankCharacter(text.front())) text.remove_prefix(1);
    return comparedBoundary(text);
}

}  // namespace

DelimiterMatch matchDelimiter(std::string_view line, std::string_view boundary) {
    constexpr DelimiterMatch kNone{DelimiterKind::kNone, false};
    if (line.size() < boundary.size() + 2 || !line.starts_with("--")) return kNone;
    std::string_view rest = subtext(line, 2);
    if (!rest.starts_with(boundary)) return kNone;
    rest.remove_prefix(boundary.size());
    if (rest.empty()) return {DelimiterKind::kDelimiter, false};
    if (rest == "--") return {DelimiterKind::kClosing, false};
    if (boundary.empty()) return kNone;
    const bool closing = rest.starts_with("--");
    if (closing) rest.remove_prefix(2);
    if (!isBlankCharacter(rest.front())) return kNone;
    rest = withoutBlanks(rest);
    if (!closing && rest == "--") return {DelimiterKind::kClosing, false};
    return {closing ? DelimiterKind::kClosing : DelimiterKind::kDelimiter, !rest.empty()};
}

std::string_view guessedBoundary(std::string_view line) {
    if (!line.starts_with("--")) return {};
    const std::string_view boundary = comparedBoundary(subtext(line, 2));
    if (boundary.size() > kMaxGuessedBoundary || boundary.ends_with("--")) return {};
    for (const char character : boundary) {
        if (isBlankCharacter(character)) return {};
    }
    return boundary;
}

std::string_view comparedBoundary(std::string_view boundary) {
    while (!boundary.empty() && isBlankCharacter(boundary.back())) boundary.remove_suffix(1);
    return boundary;
}

}  // namespace eml

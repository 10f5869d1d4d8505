#include "mime/boundaries.h"

#include "bytes/ascii.h"
#include "bytes/subtext.h"

namespace eml {

namespace {

constexpr size_t kMaxGuessedBoundary = 200;

bool isBlankCharacter(char character) { return isBlank(static_cast<uint8_t>(character)); }

bool hasBlanksOnly(std::string_view text) {
    for (const char character : text) {
        if (!isBlankCharacter(character)) return false;
    }
    return true;
}

}  // namespace

DelimiterMatch matchDelimiter(std::string_view line, std::string_view boundary) {
    constexpr DelimiterMatch kNone{DelimiterKind::kNone, false};
    if (boundary.empty() || line.size() < boundary.size() + 2 || !line.starts_with("--")) return kNone;
    std::string_view rest = subtext(line, 2);
    if (!rest.starts_with(boundary)) return kNone;
    rest.remove_prefix(boundary.size());
    DelimiterKind kind = DelimiterKind::kDelimiter;
    if (rest.starts_with("--")) {
        kind = DelimiterKind::kClosing;
        rest.remove_prefix(2);
    }
    if (rest.empty()) return {kind, false};
    if (!isBlankCharacter(rest.front())) return kNone;
    return {kind, !hasBlanksOnly(rest)};
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

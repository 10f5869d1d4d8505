#include "tool/archive/emlx.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "tool/archive/mail_lines.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr std::string_view kXml = "<?xml";

// The number that is alone on a line, but for blanks after it.
std::optional<uint64_t> numberOn(std::string_view line) {
    constexpr size_t kLongest = 64;
    if (line.size() > kLongest || !line.ends_with('\n')) return std::nullopt;
    uint64_t number = 0;
    const auto [end, failure] = std::from_chars(line.data(), line.data() + line.size(), number);
    const std::string_view rest(end, static_cast<size_t>(line.data() + line.size() - end));
    if (failure != std::errc() || rest.find_first_not_of(" \t\r\n") != std::string_view::npos)
        return std::nullopt;
    return number;
}

bool isNamedEmlx(std::string_view name) {
    constexpr std::string_view kEnding = ".emlx";
    return name.size() >= kEnding.size() && lowerCase(name.substr(name.size() - kEnding.size())) == kEnding;
}

}  // namespace

std::optional<EmlxPlace> findEmlx(std::string_view beginning, uint64_t size, std::string_view name,
                                  const BytesAt& bytesAt) {
    const std::string_view line = firstLine(beginning);
    const std::optional<uint64_t> count = numberOn(line);
    if (!count || line.size() >= size) return std::nullopt;
    const bool isNamed = isNamedEmlx(name);
    const uint64_t rest = size - line.size();
    if (*count == 0 || (*count > rest && !isNamed)) return std::nullopt;
    const EmlxPlace place{line.size(), std::min(*count, rest)};
    const bool hasHeader = isHeaderField(firstLine(beginning.substr(line.size())));
    bool endsThere = *count == rest;
    if (*count < rest) {
        char after[kXml.size()];
        const size_t got = bytesAt(place.offset + place.length, after);
        endsThere = std::string_view(after, got) == kXml;
    }
    const bool isIt = isNamed ? hasHeader || endsThere : hasHeader && endsThere;
    return isIt ? std::optional(place) : std::nullopt;
}

}  // namespace emltool

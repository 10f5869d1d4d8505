#include "tool/archive/content_length.h"

#include <charconv>
#include <system_error>

#include "tool/archive/mail_lines.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr std::string_view kName = "content-length:";
constexpr std::string_view kBlanks = " \t\r\n";

std::optional<uint64_t> numberIn(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return std::nullopt;
    text = text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (stop != end || failure != std::errc()) return std::nullopt;
    return number;
}

}  // namespace

void ContentLength::takeLine(std::string_view line) {
    if (line.size() < kName.size() || (line[0] != 'C' && line[0] != 'c')) return;
    if (lowerCase(line.substr(0, kName.size())) != kName) return;
    value_ = numberIn(line.substr(kName.size()));
    if (fields_ < 2) ++fields_;
}

bool isMessageEnd(std::string_view text) {
    if (text.size() < 2) return !text.empty();
    if (text[0] != '\n') return false;
    text.remove_prefix(1);
    if (const std::string_view line = firstLine(text); isEmptyLine(line)) text.remove_prefix(line.size());
    return text.empty() || isPostmark(firstLine(text));
}

}  // namespace emltool

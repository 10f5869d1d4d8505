#include "tool/text/safe_name.h"

#include <cstdint>

#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

// A longer one is not an extension but part of a name with a dot in it.
constexpr size_t kMaxExtensionLength = 32;

std::string_view withoutDotsAndBlanks(std::string_view text) {
    size_t first = text.find_first_not_of(". ");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(". ") - first + 1);
}

// Where the extension begins, with its dot; the size if there is none.
size_t extensionStart(std::string_view name) {
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || name.size() - dot > kMaxExtensionLength) {
        return name.size();
    }
    return dot;
}

// The longest prefix of `text` that has at most `limit` bytes and ends between two characters.
std::string_view cutOnCharacter(std::string_view text, size_t limit) {
    if (text.size() <= limit) return text;
    while (limit > 0 && (static_cast<uint8_t>(text[limit]) & 0xC0) == 0x80) --limit;
    return text.substr(0, limit);
}

// `stem` `suffix` `extension`, with the stem cut so that it all fits.
std::string fitted(std::string_view stem, std::string_view suffix, std::string_view extension) {
    std::string_view room = cutOnCharacter(stem, kMaxNameLength - suffix.size() - extension.size());
    std::string name(room.substr(0, room.find_last_not_of(". ") + 1));
    name += suffix;
    name += extension;
    return name;
}

}  // namespace

std::string safeName(std::string_view name, std::string_view number) {
    size_t separator = name.find_last_of("/\\");
    if (separator != std::string_view::npos) name.remove_prefix(separator + 1);

    std::string cleaned;
    cleaned.reserve(name.size());
    for (size_t position = 0;;) {
        const size_t end = printableAsciiEnd(name, position);
        cleaned.append(name, position, end - position);
        position = end;
        if (position == name.size()) break;
        char32_t character = nextCharacter(name, position);
        if (character == kNoCharacter || isControl(character) || isDirectionOverride(character)) continue;
        appendUtf8(cleaned, character);
    }
    std::string_view trimmed = withoutDotsAndBlanks(cleaned);
    if (trimmed.empty()) return "part-" + std::string(number);
    if (trimmed.size() == cleaned.size() && trimmed.size() <= kMaxNameLength) return cleaned;
    if (trimmed.size() <= kMaxNameLength) return std::string(trimmed);
    size_t extension = extensionStart(trimmed);
    return fitted(trimmed.substr(0, extension), "", trimmed.substr(extension));
}

std::string numberedName(const std::string& name, unsigned number) {
    std::string_view whole = name;
    size_t extension = extensionStart(whole);
    return fitted(whole.substr(0, extension), " (" + std::to_string(number) + ")", whole.substr(extension));
}

// Different names may have the same numbered ones: the stem is trimmed, and cut to make room for the number. So where
// to continue is kept for what they have in common as long as the number has the same count of digits.
std::string NameSet::take(const std::string& name) {
    if (insert(name)) return name;
    unsigned first = 2;
    for (unsigned end = 10;; end *= 10) {
        unsigned& number = next_.try_emplace(numberedName(name, first), first).first->second;
        for (; number < end; ++number) {
            std::string candidate = numberedName(name, number);
            if (!insert(candidate)) continue;
            ++number;
            return candidate;
        }
        first = end;
    }
}

bool NameSet::insert(const std::string& name) {
    ++tries_;
    return taken_.insert(name).second;
}

}  // namespace emltool

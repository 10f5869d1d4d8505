// The sections of an open message, for tests that look inside.
#pragma once

#include <string>
#include <vector>

#include "container/container_context.h"
#include "support/opened_message.h"

namespace eml::test {

[[nodiscard]] inline std::vector<const EmlSection*> sectionsOf(const OpenedMessage& opened) {
    std::vector<const EmlSection*> sections;
    for (const EmlSectionNode* node = opened.context()->sections; node != nullptr; node = node->next) {
        sections.push_back(&node->section);
    }
    return sections;
}

// The bytes [begin, end) of a message.
[[nodiscard]] inline std::string bytesBetween(const std::string& message, int64_t begin, int64_t end) {
    if (begin < 0 || begin >= end) return "";
    return message.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
}

[[nodiscard]] inline std::string bodyOf(const std::string& message, const EmlSection* section) {
    return section == nullptr ? "(none)" : bytesBetween(message, section->bodyStart, section->bodyEnd);
}

[[nodiscard]] inline std::string textOf(const char* text) { return text == nullptr ? "(none)" : text; }

// A multipart message of `type` whose boundary is "b", with `rest` behind the empty line.
[[nodiscard]] inline std::string multipart(const std::string& type, const std::string& rest) {
    return crlf("Content-Type: multipart/" + type + "; boundary=b\n\n" + rest);
}

}  // namespace eml::test

#include "charset/charset_names.h"

#include <array>
#include <string_view>

#include "bytes/ascii.h"
#include "charset/charset_table.h"

namespace {

using eml::CharsetName;
using eml::kCharsetNames;

constexpr uint8_t kNameCount = sizeof kCharsetNames / sizeof kCharsetNames[0];

// The first entry of each group, by the first letter; kNameCount where there is none.
constexpr std::array<uint8_t, 256> makeGroups() {
    std::array<uint8_t, 256> groups{};
    groups.fill(kNameCount);
    for (uint8_t i = kNameCount; i-- > 0;) groups[static_cast<uint8_t>(kCharsetNames[i].name[0] | 0x20)] = i;
    return groups;
}

constexpr std::array<uint8_t, 256> kGroups = makeGroups();

// A comparison over `length` characters, which ends with the entry's zero byte at the latest. KEPT: a name
// that is a leading part of an entry matches it.
bool isLeadingPart(const uint8_t* name, uint32_t length, const CharsetName& entry) {
    for (uint32_t i = 0; i < length; ++i) {
        const auto wanted = static_cast<uint8_t>(entry.name[i]);
        if (eml::toLower(name[i]) != eml::toLower(wanted)) return false;
        if (wanted == 0) return true;
    }
    return true;
}

uint32_t lookUp(const uint8_t* name, uint32_t length, bool container) {
    const auto group = static_cast<uint8_t>(name[0] | 0x20);
    for (uint8_t i = kGroups[group]; i < kNameCount && (kCharsetNames[i].name[0] | 0x20) == group; ++i) {
        if (kCharsetNames[i].containerOnly && !container) continue;
        if (isLeadingPart(name, length, kCharsetNames[i])) return kCharsetNames[i].id;
    }
    return EML_CHARSET_UNKNOWN;
}

}  // namespace

uint32_t mapEMLcharset(const uint8_t* name, uint32_t length) { return lookUp(name, length, false); }

uint32_t eml2MapCharset(eml::Cursor parameter) {
    constexpr std::string_view kEnds("\0\" \t;\r\n", 7);
    parameter.skip(std::string_view("charset=").size());
    parameter.accept('"');
    const uint8_t* const name = parameter.pos;
    while (!parameter.atEnd() && kEnds.find(static_cast<char>(*parameter.pos)) == std::string_view::npos) {
        parameter.skip(1);
    }
    if (parameter.pos == name) return EML_CHARSET_UNKNOWN;
    return lookUp(name, static_cast<uint32_t>(parameter.pos - name), true);
}

// Charset names: every short name, and every name that is nearly one of the table, against one walk over the
// whole table.
#include "charset/charset_names.h"

#include <set>

#include "exhaustive/every_input.h"
#include "reference/bytes.h"
#include "reference/charset.h"

namespace eml::test {
namespace {

class Names {
  public:
    // Both forms; the container's with each kind of end after the name.
    bool agree(const std::string& name) {
        compared_.input();
        const uint8_t* const bytes = blocks_.copy(name);
        bool held = name.empty() || same("filter", name, mapEMLcharset(bytes, length(name)), filterId(name));
        for (const std::string& parameter :
             {"charset=" + name, "charset=\"" + name + "\"; x", "charset=" + name + "; x"}) {
            const uint8_t* const text = blocks_.copy(parameter);
            const uint32_t id = eml2MapCharset({text, text + parameter.size()});
            held = same("container", parameter, id, reference::charsetIdOfParameter(parameter)) && held;
        }
        return held;
    }

  private:
    static uint32_t length(const std::string& name) { return static_cast<uint32_t>(name.size()); }

    static uint32_t filterId(const std::string& name) { return reference::charsetId(name, false); }

    bool same(const char* form, const std::string& text, uint32_t got, uint32_t expected) {
        compared_.comparison();
        if (got == expected) return true;
        ADD_FAILURE() << form << " form, \"" << reference::shown(text) << "\": " << got << ", expected "
                      << expected;
        return false;
    }

    Compared compared_;
    ExactBlocks blocks_;
};

TEST(EveryCharsetName, ShortNamesOverTheLettersOfTheTable) {
    Names names;
    forEveryText(bytesAsPieces("utfisoKgb8-16_5"), longest(4, 5),
                 [&](const std::string& name) { return names.agree(name); });
    forEveryText(bytesAsPieces("uTf-8167"), longest(4, 6),
                 [&](const std::string& name) { return names.agree(name); });
}

TEST(EveryCharsetName, OfOneAndTwoBytes) {
    Names names;
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    forEveryText(bytesAsPieces(all), longest(1, 2),
                 [&](const std::string& name) { return names.agree(name); });
    if (!fullLengths()) {
        forEveryText(bytesAsPieces(all.substr(32, 96)), 2,
                     [&](const std::string& name) { return names.agree(name); });
    }
}

// One byte of a name replaced, put in or taken out, and the name cut at every byte.
TEST(EveryCharsetName, OneByteFromARowOfTheTable) {
    Names names;
    std::string bytes = "\x01 \"\t\r\n;=?AzZ059-_\x7F\x80\xFF";
    bytes += '\0';
    if (fullLengths()) {
        bytes.clear();
        for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    }
    for (const reference::CharsetRow& row : reference::charsetRows()) {
        const std::string name = row.name;
        for (size_t place = 0; place <= name.size(); ++place) {
            if (!names.agree(name.substr(0, place)) || !names.agree(name.substr(place))) return;
            for (const char byte : bytes) {
                std::string put = name;
                put.insert(place, 1, byte);
                if (!names.agree(put)) return;
                if (place == name.size()) continue;
                std::string replaced = name;
                replaced[place] = byte;
                if (!names.agree(replaced)) return;
            }
            std::string shorter = name;
            if (place < name.size() && !names.agree(shorter.erase(place, 1))) return;
        }
    }
}

// Every choice of letter case in the first eight letters of each row.
TEST(EveryCharsetName, EveryCaseOfARow) {
    Names names;
    for (const reference::CharsetRow& row : reference::charsetRows()) {
        const std::string name = row.name;
        std::vector<size_t> letters;
        for (size_t i = 0; i < name.size() && letters.size() < longest(4, 8); ++i)
            if (std::isalpha(static_cast<unsigned char>(name[i])) != 0) letters.push_back(i);
        for (size_t choice = 0; choice < size_t{1} << letters.size(); ++choice) {
            std::string folded = name;
            for (size_t i = 0; i < letters.size(); ++i)
                if ((choice >> i & 1) != 0) folded[letters[i]] = static_cast<char>(folded[letters[i]] ^ 0x20);
            if (!names.agree(folded)) return;
        }
    }
}

// KEPT: a name without length still has the group of the byte where it would stand, and then is a leading
// part of that group's first row.
TEST(EveryCharsetName, NoneBeforeEachByte) {
    Compared compared;
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        uint32_t expected = 0;
        for (const reference::CharsetRow& row : reference::charsetRows()) {
            if (expected == 0 && (row.name[0] | 0x20) == (value | 0x20)) expected = row.id;
        }
        compared.input();
        compared.comparison();
        EXPECT_EQ(mapEMLcharset(&byte, 0), expected) << value;
    }
}

}  // namespace
}  // namespace eml::test

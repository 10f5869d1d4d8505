// Compressed RTF: every short row of control bytes, literals and references, against a plain reference.
#include "container/packed_rtf.h"

#include "exhaustive/every_input.h"
#include "reference/packed_rtf.h"

namespace eml::test {
namespace {

using reference::shown;

class Bodies {
  public:
    bool agree(const char* type, uint32_t rawSize, const std::string& content) {
        if (content.empty()) return true;
        compared_.input();
        reference::Bytes body = reference::packedRtfHeader(type, rawSize);
        body.insert(body.end(), content.begin(), content.end());
        compared_.comparison();
        const std::string got = unpacked(reference::textOf(body));
        const std::string expected = reference::textOf(reference::textOfRtfBody(body));
        EXPECT_EQ(shown(got), shown(expected)) << type << ", raw size " << rawSize << ": " << shown(content);
        return got == expected;
    }

  private:
    std::string unpacked(const std::string& body) {
        const uint8_t* const bytes = input_.copy(body);
        const PackedRtf packed = readPackedRtfHeader({bytes, bytes + body.size()});
        if (packed.kind == PackedRtfKind::kOther) return body.substr(kPackedRtfHeaderSize);
        const uint64_t limit = unpackedLimit(packed);
        if (packed.kind == PackedRtfKind::kStored)
            return body.substr(kPackedRtfHeaderSize).substr(0, static_cast<size_t>(limit));
        uint8_t* const room = output_.room(static_cast<size_t>(limit) + kRtfDictionarySize);
        const uint64_t length = unpackRtf(packed, room, limit);
        return std::string(reinterpret_cast<const char*>(room) + kRtfDictionarySize,
                           static_cast<size_t>(length));
    }

    Compared compared_;
    ExactBlocks input_;
    ExactBlocks output_;
};

TEST(EveryShortPackedRtf, Bytes) {
    Bodies bodies;
    for (const uint32_t rawSize : {0U, 1U, 3U, 18U, UINT32_MAX}) {
        forEveryText(bytesAsPieces(std::string_view("\x00\x01\x02\x0C\xF0\xFF", 6)), longest(5, 7),
                     [&](const std::string& content) { return bodies.agree("LZFu", rawSize, content); });
    }
}

TEST(EveryShortPackedRtf, ReferencesToEveryPlace) {
    Bodies bodies;
    const uint32_t step = fullLengths() ? 1 : 7;
    for (uint32_t token = 0; token < 0x10000; token += step) {
        const std::string reference = {static_cast<char>(token >> 8), static_cast<char>(token & 0xFF)};
        for (const std::string& start : {std::string("\x02x"), std::string("\x04xy"), std::string("\x01")}) {
            if (!bodies.agree("LZFu", 40, start + reference + "z")) return;
        }
    }
}

TEST(EveryShortPackedRtf, Tokens) {
    Bodies bodies;
    // A control byte of references, of literals, of both; a run of what was just written; the dictionary.
    const PieceList pieces = {"\xFF",     std::string(1, '\0'),     "\x55",
                              "\x0C\xFF", std::string("\0\x0F", 2), "a"};
    for (const uint32_t rawSize : {2U, 17U, 100U, UINT32_MAX}) {
        forEveryText(pieces, longest(5, 7),
                     [&](const std::string& content) { return bodies.agree("LZFu", rawSize, content); });
    }
}

TEST(EveryShortPackedRtf, OtherKinds) {
    Bodies bodies;
    for (const char* const type : {"MELA", "LZFU", "{\\rt"}) {
        for (const uint32_t rawSize : {0U, 1U, 3U, 5U, UINT32_MAX}) {
            forEveryText(bytesAsPieces("{\\a\xFF"), longest(4, 6),
                         [&](const std::string& content) { return bodies.agree(type, rawSize, content); });
        }
    }
}

}  // namespace
}  // namespace eml::test

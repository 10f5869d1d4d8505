// Compressed RTF (MS-OXRTFCP): worked examples, round trips, and every short input against a slow reference.
#include "container/packed_rtf.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "reference/packed_rtf.h"

namespace {

using decoder_runs::Random;
using eml::Cursor;
using eml::PackedRtf;
using eml::PackedRtfKind;
using reference::Bytes;
using reference::bytesOf;
using reference::shown;

// Unpacks a body that stands in a block of exactly its size, into one of exactly the room that is promised.
Bytes unpack(const Bytes& body) {
    const std::unique_ptr<uint8_t[]> input(new uint8_t[body.size()]);
    std::copy(body.begin(), body.end(), input.get());
    const PackedRtf packed = eml::readPackedRtfHeader({input.get(), input.get() + body.size()});
    const uint64_t limit = eml::unpackedLimit(packed);
    EXPECT_LE(limit, uint64_t{8} * (body.size() - 16) + 16);
    EXPECT_LE(limit, packed.rawSize);
    const auto size = static_cast<size_t>(limit + eml::kRtfDictionarySize);
    const std::unique_ptr<uint8_t[]> room(new uint8_t[size]);
    std::fill(room.get(), room.get() + size, uint8_t{0xA5});
    const uint64_t length = eml::unpackRtf(packed, room.get(), limit);
    EXPECT_LE(length, limit);
    const uint8_t* const text = room.get() + eml::kRtfDictionarySize;
    return Bytes(text, text + length);
}

Bytes body(uint32_t rawSize, const Bytes& tokens) {
    Bytes result = reference::packedRtfHeader("LZFu", rawSize);
    result.insert(result.end(), tokens.begin(), tokens.end());
    return result;
}

Bytes hex(std::string_view digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 3) {
        bytes.push_back(static_cast<uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

// The first of the two worked examples of MS-OXRTFCP. KEPT: its last reference takes its line end from the
// dictionary, where line feed stands before carriage return.
TEST(PackedRtf, WorkedExampleOne) {
    EXPECT_EQ(reference::textOf(unpack(hex("2d 00 00 00 2b 00 00 00 4c 5a 46 75 f1 c5 c7 a7 03 00 0a 00 72 "
                                           "63 70 67 31 32 35 42 32 0a f3 20 68 "
                                           "65 6c 09 00 20 62 77 05 b0 6c 64 7d 0a 80 0f a0"))),
              "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\n\r");
}

// The second: a reference that overlaps what it writes.
TEST(PackedRtf, WorkedExampleTwo) {
    EXPECT_EQ(reference::textOf(
                  unpack(hex("1a 00 00 00 1c 00 00 00 4c 5a 46 75 e2 d4 4b 51 41 00 04 20 57 58 59 5a "
                             "0d 6e 7d 01 0e b0"))),
              "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}");
}

// Every byte of the dictionary, by a reference to it and its neighbour.
TEST(PackedRtf, TheDictionary) {
    const std::string& dictionary = reference::rtfDictionary();
    ASSERT_EQ(dictionary.size(), 207u);
    ASSERT_EQ(eml::kRtfDictionarySize, 207u);
    for (size_t at = 0; at + 2 <= dictionary.size(); ++at) {
        const Bytes tokens = {1, static_cast<uint8_t>(at >> 4), static_cast<uint8_t>((at & 15) << 4)};
        EXPECT_EQ(reference::textOf(unpack(body(2, tokens))), dictionary.substr(at, 2)) << at;
    }
}

TEST(PackedRtf, TheHeader) {
    struct Row {
        const char* type;
        PackedRtfKind kind;
    };
    for (const Row& row : {Row{"LZFu", PackedRtfKind::kCompressed}, Row{"MELA", PackedRtfKind::kStored},
                           Row{"lzfu", PackedRtfKind::kOther}, Row{"LZFU", PackedRtfKind::kOther},
                           Row{"mela", PackedRtfKind::kOther}, Row{"uFZL", PackedRtfKind::kOther}}) {
        Bytes bytes = reference::packedRtfHeader(row.type, 0xFEDCBA98);
        bytes.push_back('x');
        const PackedRtf packed = eml::readPackedRtfHeader({bytes.data(), bytes.data() + bytes.size()});
        EXPECT_EQ(packed.kind, row.kind) << row.type;
        EXPECT_EQ(packed.rawSize, 0xFEDCBA98) << "unsigned, low byte first";
        EXPECT_EQ(packed.content.left(), 1u);
        EXPECT_EQ(*packed.content.pos, 'x');
    }
}

TEST(PackedRtf, Tokens) {
    struct Row {
        const char* rule;
        uint32_t rawSize;
        Bytes tokens;
        std::string text;
    };
    const Row rows[] = {
        {"bits from the lowest up", 9, {0x02, 'a', 0x00, 0x00, 'b'}, "a{\\b"},
        {"a reference of two bytes at least", 2, {0x01, 0x00, 0x00}, "{\\"},
        {"and of seventeen at most", 100, {0x01, 0x00, 0x0F}, "{\\rtf1\\ansi\\mac\\d"},
        {"a copy that runs past the raw size stops there", 5, {0x01, 0x00, 0x0F}, "{\\rtf"},
        {"output ends at the raw size", 3, {0x00, 'a', 'b', 'c', 'd', 'e'}, "abc"},
        {"raw size 0", 0, {0x00, 'a'}, ""},
        {"no end-of-text reference is looked for", 4, {0x03, 0x0C, 0xF0, 0x00, 0x00}, "{\\"},
        {"a reference without its second byte ends it", 100, {0x06, 'a', 0x00, 0x00, 0x0D}, "a{\\"},
        {"a control byte alone", 100, {0xFF}, ""},
        {"overlap repeats bytes", 18, {0x02, 'x', 0x0C, 0xFF}, "xxxxxxxxxxxxxxxxxx"},
        {"a place not written yet lies before the beginning: nothing", 9, {0x01, 0x0F, 0xF0, 'a'}, "a"},
        {"a control byte for every eight tokens",
         10,
         {0x00, '1', '2', '3', '4', '5', '6', '7', '8', 0x00, '9', 'a'},
         "123456789a"},
        {"a new control byte may be the last",
         10,
         {0x00, '1', '2', '3', '4', '5', '6', '7', '8', 0x00},
         "12345678"},
    };
    for (const Row& row : rows) {
        const Bytes packed = body(row.rawSize, row.tokens);
        EXPECT_EQ(shown(unpack(packed)), shown(row.text)) << row.rule;
        EXPECT_EQ(shown(reference::textOfRtfBody(packed)), shown(row.text))
            << "the reference itself: " << row.rule;
    }
}

// The place of a reference counts from the last multiple of 4096, and goes back by 4096 when it is not
// after.
TEST(PackedRtf, ReferencesAroundMultiplesOf4096) {
    for (size_t length = 4096 - 207 - 3; length <= 4096 - 207 + 3; ++length) {
        Random random(length);
        const Bytes start = random.bytes(bytesOf("abcdefghijklmnop"), length);
        const Bytes literals = reference::packRtf(start, true);
        for (unsigned place = 0; place < 4096; place += place < 8 || place > 4080 ? 1 : 61) {
            Bytes packed =
                body(static_cast<uint32_t>(length) + 9, Bytes(literals.begin() + 16, literals.end() - 2));
            // The last two bytes of the compressor's output are its end reference: put another there.
            packed.push_back(static_cast<uint8_t>(place >> 4));
            packed.push_back(static_cast<uint8_t>((place & 15) << 4 | 7));
            ASSERT_EQ(unpack(packed), reference::textOfRtfBody(packed)) << length << " " << place;
        }
    }
}

TEST(PackedRtf, EveryShortInputAgreesWithTheReference) {
    uint64_t count = 0;
    for (const uint32_t rawSize : {0u, 1u, 3u, 20u, 0xFFFFFFFFu}) {
        decoder_runs::forEveryInput({0x00, 0x01, 0x0C, 0xF0, 0xFF, 0x0F}, 5, [&](const Bytes& tokens) {
            if (tokens.empty()) return true;
            ++count;
            const Bytes packed = body(rawSize, tokens);
            const bool same = unpack(packed) == reference::textOfRtfBody(packed);
            EXPECT_TRUE(same) << rawSize << " " << shown(tokens);
            return same;
        });
    }
    EXPECT_EQ(count, 5u * 9330u);
}

TEST(PackedRtf, RandomInputsAgreeWithTheReference) {
    Random random(7);
    Bytes alphabet(256);
    for (size_t i = 0; i < 256; ++i) alphabet[i] = static_cast<uint8_t>(i);
    for (int i = 0; i < 3000; ++i) {
        const uint32_t sizes[] = {5, 1000, 70000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const Bytes packed = body(sizes[random.below(6)], random.bytes(alphabet, 1 + random.below(3000)));
        ASSERT_EQ(unpack(packed), reference::textOfRtfBody(packed)) << i;
    }
}

std::vector<Bytes> texts() {
    std::vector<Bytes> list = {bytesOf("a"), bytesOf("{\\rtf1}"), bytesOf(reference::rtfDictionary()),
                               Bytes(20000, 'x')};
    for (size_t length :
         std::initializer_list<size_t>{1, 2, 16, 17, 3888, 3889, 3890, 4095, 4096, 4097, 12000}) {
        for (uint64_t seed = 1; seed <= 3; ++seed) {
            Random random(seed * 1000 + length);
            list.push_back(random.bytes(bytesOf("ab"), length));
            list.push_back(random.bytes(bytesOf("{}\\par pain text0123456789\r\n"), length));
            list.push_back(random.bytes({0x00, 0xFF, 0x80, 0x0D, 0x0A}, length));
        }
    }
    return list;
}

TEST(PackedRtf, RoundTrips) {
    for (const Bytes& text : texts()) {
        const Bytes packed = reference::packRtf(text);
        ASSERT_EQ(unpack(packed), text) << text.size() << " " << shown(Bytes(text.begin(), text.begin() + 1));
        ASSERT_EQ(unpack(reference::packRtf(text, true)), text);
        EXPECT_LT(packed.size(), text.size() + text.size() / 8 + 32) << "the compressor compresses";
    }
}

TEST(PackedRtf, CutAtEveryByteGivesTheBeginning) {
    Random random(3);
    const Bytes text = random.bytes(bytesOf("{\\par abcd}"), 900);
    const Bytes packed = reference::packRtf(text);
    size_t before = 0;
    for (size_t size = 17; size <= packed.size(); ++size) {
        const Bytes cut(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes got = unpack(cut);
        ASSERT_EQ(got, reference::textOfRtfBody(cut)) << size;
        ASSERT_GE(got.size(), before) << "more input never gives less";
        ASSERT_TRUE(std::equal(got.begin(), got.end(), text.begin())) << size;
        before = got.size();
    }
    EXPECT_EQ(before, text.size());
}

// Sizes count in 64 bits, and what is claimed is bounded by what the input can give.
TEST(PackedRtf, ClaimsOfFourGigabytesReserveWhatTheInputCanGive) {
    for (const uint32_t claim : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFF30u, 0xFFFFFF31u, 0xFFFFFFFFu}) {
        for (size_t size : std::initializer_list<size_t>{1, 2, 4, 100}) {
            const Bytes packed = body(claim, Bytes(size, 0xFF));
            const PackedRtf header = eml::readPackedRtfHeader({packed.data(), packed.data() + packed.size()});
            EXPECT_LE(eml::unpackedLimit(header), 8 * size + 16);
            EXPECT_EQ(unpack(packed), reference::textOfRtfBody(packed));
        }
    }
}

// The bound is reached by the densest input: references of seventeen bytes.
TEST(PackedRtf, TheDensestInputFits) {
    for (size_t groups = 1; groups <= 40; ++groups) {
        Bytes tokens;
        for (size_t i = 0; i < groups; ++i) {
            tokens.push_back(0xFF);
            for (int token = 0; token < 8; ++token) tokens.insert(tokens.end(), {0x00, 0x0F});
        }
        ASSERT_EQ(unpack(body(0xFFFFFFFF, tokens)).size(), groups * 8 * 17);
        for (std::ptrdiff_t missing = 1; missing < 3; ++missing) {
            const Bytes cut(tokens.begin(), tokens.end() - missing);
            ASSERT_EQ(unpack(body(0xFFFFFFFF, cut)), reference::textOfRtfBody(body(0xFFFFFFFF, cut)));
        }
    }
}

}  // namespace

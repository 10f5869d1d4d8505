#include "mime/text_conversion.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "mime/heap_text.h"
#include "mime/utf8.h"

namespace {

using namespace eml;
using namespace std::string_literals;
using eml::test::HeapText;
using eml::test::ToyHost;

struct Converted {
    std::string text;
    uint64_t replaced;
    bool unknown;
    bool operator==(const Converted&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Converted& converted) {
    return out << testing::PrintToString(converted.text) << ' ' << converted.replaced << ' '
               << converted.unknown;
}

// The pieces stand in blocks of their own size, so that a byte read too many is seen.
void feedPiece(TextConversion& conversion, std::string_view piece, bool last, TextBuilder& out) {
    const std::unique_ptr<char[]> block(new char[piece.size()]);
    std::copy(piece.begin(), piece.end(), block.get());
    conversion.feed({block.get(), piece.size()}, last, out);
}

Converted convert(const EmlMimeConvert* host, std::string_view label, std::string_view text, size_t first,
                  size_t others, bool lastApart) {
    HeapText out;
    TextConversion conversion(host, label);
    size_t size = first;
    do {
        const std::string_view piece = text.substr(0, size);
        text.remove_prefix(piece.size());
        feedPiece(conversion, piece, text.empty() && !lastApart, out.builder());
        size = others;
    } while (!text.empty());
    if (lastApart) conversion.feed({}, true, out.builder());
    return {out.str(), conversion.outcome().replaced, conversion.outcome().unknownCharset};
}

void expectInEveryPiecing(const EmlMimeConvert* host, std::string_view label, std::string_view text,
                          const Converted& expected) {
    for (const bool lastApart : {false, true}) {
        EXPECT_EQ(convert(host, label, text, text.size(), 1, lastApart), expected);
        for (size_t cut = 1; cut < text.size(); ++cut) {
            EXPECT_EQ(convert(host, label, text, cut, text.size(), lastApart), expected) << "cut at " << cut;
        }
        for (size_t size = 1; size <= 3; ++size) {
            EXPECT_EQ(convert(host, label, text, size, size, lastApart), expected) << "pieces of " << size;
        }
    }
}

TEST(KnownCharset, LabelsByLettersAndDigits) {
    struct Row {
        const char* label;
        KnownCharset charset;
    };
    const Row rows[] = {
        {"utf-8", KnownCharset::kUtf8},
        {"UTF-8", KnownCharset::kUtf8},
        {"utf8", KnownCharset::kUtf8},
        {"UTF_8", KnownCharset::kUtf8},
        {" utf-8 ", KnownCharset::kUtf8},
        {"\"utf-8\"", KnownCharset::kUtf8},
        {"unicode-1-1-utf-8", KnownCharset::kUtf8},
        {"cp65001", KnownCharset::kUtf8},
        {"us-ascii", KnownCharset::kAscii},
        {"US-ASCII", KnownCharset::kAscii},
        {"ascii", KnownCharset::kAscii},
        {"ANSI_X3.4-1968", KnownCharset::kAscii},
        {"iso646-us", KnownCharset::kAscii},
        {"iso-8859-1", KnownCharset::kWindows1252},
        {"ISO_8859-1:1987", KnownCharset::kWindows1252},
        {"latin1", KnownCharset::kWindows1252},
        {"Latin-1", KnownCharset::kWindows1252},
        {"windows-1252", KnownCharset::kWindows1252},
        {"cp1252", KnownCharset::kWindows1252},
        {"CP-1252", KnownCharset::kWindows1252},
        {"iso-8859-15", KnownCharset::kOther},
        {"iso-8859-11", KnownCharset::kOther},
        {"utf-16", KnownCharset::kOther},
        {"utf-80", KnownCharset::kOther},
        {"utf", KnownCharset::kOther},
        {"windows-1251", KnownCharset::kOther},
        {"", KnownCharset::kOther},
        {"-", KnownCharset::kOther},
        {"koi8-r", KnownCharset::kOther},
    };
    for (const Row& row : rows) EXPECT_EQ(knownCharset(row.label), row.charset) << row.label;
    EXPECT_EQ(knownCharset("utf-8" + std::string(100, '-')), KnownCharset::kOther) << "no label is so long";
}

TEST(KnownCharset, SomeLabelsSayThatTheCharsetIsUnknown) {
    for (const char* label : {"unknown-8bit", "UNKNOWN-8BIT", "x-unknown", "unknown"}) {
        EXPECT_TRUE(isLabelOfUnknown(label)) << label;
    }
    for (const char* label : {"", "utf-8", "x-unknown-2", "unknow"})
        EXPECT_FALSE(isLabelOfUnknown(label)) << label;
}

// Every sequence of up to four bytes out of those at which some rule of RFC 3629 changes, against the rule in another
// form: decode the number, and encode it again.
bool isCharacterByNumber(const std::string& text) {
    const auto byteAt = [&text](size_t index) { return static_cast<uint8_t>(text[index]); };
    const uint8_t lead = byteAt(0);
    if (lead < 0x80) return text.size() == 1;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || lead >= 0xF8 || text.size() != length) return false;
    uint32_t number = lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return false;
        number = number << 6 | (byteAt(i) & 0x3Fu);
    }
    const uint32_t lowest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    return number >= lowest && number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
}

TEST(Utf8, EachCharacterByItsNumber) {
    const std::string edges =
        "\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xF8\xFF"s;
    size_t valid = 0;
    const auto check = [&valid](const std::string& text) {
        const auto* pos = reinterpret_cast<const uint8_t*>(text.data());
        const Utf8Step step = utf8At(pos, pos + text.size());
        ASSERT_GE(step.length, 1);
        ASSERT_LE(step.length, text.size());
        const bool whole = step.kind == Utf8Kind::kCharacter && step.length == text.size();
        ASSERT_EQ(whole, isCharacterByNumber(text)) << testing::PrintToString(text);
        valid += whole ? 1 : 0;
        if (step.kind != Utf8Kind::kCut) return;
        // What is cut off can be completed.
        bool completed = false;
        for (const std::string_view tail :
             {"\x80", "\x90", "\xA0", "\x80\x80", "\x90\x80", "\xA0\x80", "\x80\x80\x80", "\x90\x80\x80"}) {
            completed = completed || isCharacterByNumber(text + std::string(tail));
        }
        ASSERT_TRUE(completed) << testing::PrintToString(text);
    };
    for (const char a : edges) {
        check({a});
        for (const char b : edges) {
            check({a, b});
            for (const char c : edges) {
                check({a, b, c});
                for (const char d : edges) check({a, b, c, d});
            }
        }
    }
    EXPECT_GT(valid, 100u);
}

struct Utf8Row {
    const char* rule;
    std::string bytes;
    std::string text;
    uint64_t replaced;
};

const Utf8Row kUtf8Rows[] = {
    {"empty", "", "", 0},
    {"ASCII", "hello", "hello", 0},
    {"NUL is a character", "a\0b"s, "a\0b"s, 0},
    {"two bytes", "caf\xC3\xA9", "café", 0},
    {"three and four bytes", "\xE2\x82\xAC\xF0\x9F\x98\x80", "€😀", 0},
    {"a lone byte", "a\xE9z", "a\uFFFDz", 1},
    {"two lone bytes", "a\x80\x80z", "a\uFFFD\uFFFDz", 2},
    {"cut off at the end: one replacement", "a\xE2\x82", "a\uFFFD", 1},
    {"cut off before another character", "\xF0\x9F\x98z", "\uFFFDz", 1},
    {"cut off before a lead byte", "\xE2\x82\xC3\xA9", "\uFFFDé", 1},
    {"a surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD", 3},
    {"overlong", "\xC0\x80z", "\uFFFD\uFFFDz", 2},
    {"overlong, three bytes", "\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD", 3},
    {"above the last character", "\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD", 4},
    {"the last character", "\xF4\x8F\xBF\xBF", "\U0010FFFF", 0},
    {"a byte that never occurs", "\xFF", "\uFFFD", 1},
    {"the mark at the beginning stays", "\xEF\xBB\xBF"s + "a", "\uFEFF"s + "a", 0},
};

TEST(TextConversion, Utf8RowsInEveryPiecing) {
    for (const Utf8Row& row : kUtf8Rows) {
        SCOPED_TRACE(row.rule);
        expectInEveryPiecing(nullptr, "utf-8", row.bytes, {row.text, row.replaced, false});
    }
}

TEST(TextConversion, TheCheckOfUtf8AgreesInEveryPiecing) {
    for (const Utf8Row& row : kUtf8Rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(isUtf8(row.bytes), row.replaced == 0);
        for (size_t cut = 0; cut <= row.bytes.size(); ++cut) {
            for (size_t second = cut; second <= row.bytes.size(); ++second) {
                Utf8Check check;
                check.feed(std::string_view(row.bytes).substr(0, cut));
                check.feed(std::string_view(row.bytes).substr(cut, second - cut));
                check.feed(std::string_view(row.bytes).substr(second));
                EXPECT_EQ(check.finish(), row.replaced == 0) << cut << ' ' << second;
                if (check.finish()) {
                    EXPECT_EQ(check.has8Bit(), !isAscii(row.bytes));
                }
            }
        }
    }
}

TEST(TextConversion, Windows1252HasACharacterForEachByte) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    const Converted whole = convert(nullptr, "iso-8859-1", bytes, bytes.size(), 1, false);
    EXPECT_EQ(whole.replaced, 0u);
    EXPECT_TRUE(isUtf8(whole.text));
    expectInEveryPiecing(nullptr, "latin1", "caf\xE9 \x80\x93x\x94 \x81\xFF",
                         {"café €“x” \u0081ÿ", 0, false});
}

TEST(TextConversion, BytesThatAreNotAsciiAreReplaced) {
    expectInEveryPiecing(nullptr, "us-ascii", "a\xC3\xA9z", {"a\uFFFD\uFFFDz", 2, false});
}

TEST(TextConversion, AnUnknownCharsetLeavesBytes) {
    expectInEveryPiecing(nullptr, "toy", "a\xE9\xFFz", {"a\xE9\xFFz", 0, true});
    ToyHost host;
    expectInEveryPiecing(&host.record, "x-none", "a\xE9\xFFz", {"a\xE9\xFFz", 0, true});
    EXPECT_EQ(host.opened, 0);
    const EmlMimeConvert empty{};
    expectInEveryPiecing(&empty, "toy", "a\xE9", {"a\xE9", 0, true});
    EmlMimeConvert withoutClose = host.record;
    withoutClose.close = nullptr;
    expectInEveryPiecing(&withoutClose, "toy", "a\xE9", {"a\xE9", 0, true});
}

TEST(TextConversion, CharactersAndShiftStatesSurviveCutsOfTheHostsText) {
    ToyHost host;
    expectInEveryPiecing(&host.record, "toy",
                         "a\xC1\x10\x0E"
                         "ab\xC1\x11\x0F"
                         "ab\x80z\xC1",
                         {"aАабБab\uFFFDz\uFFFD", 2, false});
    EXPECT_GT(host.opened, 0);
    EXPECT_EQ(host.opened, host.closed);
}

TEST(TextConversion, TheHostGetsTheLabelWithoutQuotesAndBlanks) {
    ToyHost host;
    for (const char* label : {"toy", " toy ", "\"toy\"", "'toy'"}) {
        EXPECT_EQ(convert(&host.record, label, "\xC1\x10", 2, 1, false), (Converted{"А", 0, false})) << label;
        EXPECT_EQ(host.lastLabel, "toy");
    }
    EXPECT_TRUE(TextConversion(&host.record, "toy\0x"s).outcome().unknownCharset);
    EXPECT_EQ(host.lastLabel, "toy");
    const std::string longest(TextConversion::kMaxLabel, 'x');
    EXPECT_TRUE(TextConversion(&host.record, longest).outcome().unknownCharset);
    EXPECT_EQ(host.lastLabel, longest);
    EXPECT_TRUE(TextConversion(&host.record, longest + "y").outcome().unknownCharset);
    EXPECT_EQ(host.lastLabel, longest) << "a longer one is not asked for";
}

TEST(TextConversion, LongTextsPassThroughTheStepsWhole) {
    ToyHost host;
    std::string bytes;
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        bytes += "x\xC1\x10";
        text += "xА";
    }
    EXPECT_EQ(convert(&host.record, "toy", bytes, 4097, 1001, false), (Converted{text, 0, false}));
    EXPECT_EQ(convert(nullptr, "utf-8", text, 2047, 2049, false), (Converted{text, 0, false}));
    EXPECT_EQ(convert(nullptr, "windows-1252", std::string(9000, '\x80'), 9000, 1, false).text.size(),
              27000u);
}

// Hosts that break the contract: the conversion ends, in bounds.
using ConvertEntry = uint32_t (*)(void*, const void*, uint32_t*, void*, uint32_t*, int32_t);

TEST(TextConversion, AHostThatMisbehavesEndsTheConversion) {
    struct Row {
        const char* rule;
        ConvertEntry convert;
        const char* text;
    };
    const Row rows[] = {
        {"uses and writes nothing",
         [](void*, const void*, uint32_t* used, void*, uint32_t* written, int32_t) -> uint32_t {
             *used = *written = 0;
             return 0;
         },
         "\uFFFD"},
        {"claims more than it was given",
         [](void*, const void*, uint32_t* used, void*, uint32_t* written, int32_t) -> uint32_t {
             *used = *used + 1;
             *written = 0;
             return 0;
         },
         "\uFFFD"},
        {"claims to have written more than there is room for",
         [](void*, const void*, uint32_t* used, void*, uint32_t* written, int32_t) -> uint32_t {
             *used = 0;
             *written = *written + 1;
             return 0;
         },
         "\uFFFD"},
        {"swallows all",
         [](void*, const void*, uint32_t*, void*, uint32_t* written, int32_t) -> uint32_t {
             *written = 0;
             return 0;
         },
         ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const EmlMimeConvert host{nullptr, [](void*, const char*) -> void* { return new int; }, row.convert,
                                  [](void* conversion) { delete static_cast<int*>(conversion); }};
        const std::string text(300, 'x');
        for (const size_t size : {size_t{1}, size_t{7}, size_t{300}}) {
            EXPECT_EQ(convert(&host, "toy", text, size, size, true).text, row.text) << size;
        }
    }
    // One that writes for ever without using a byte.
    const EmlMimeConvert writer{
        nullptr, [](void*, const char*) -> void* { return new int; },
        [](void*, const void*, uint32_t* used, void* out, uint32_t* written, int32_t) -> uint32_t {
            *used = 0;
            *written = 1;
            *static_cast<char*>(out) = 'w';
            return 0;
        },
        [](void* conversion) { delete static_cast<int*>(conversion); }};
    const Converted endless = convert(&writer, "toy", "abc", 3, 1, false);
    EXPECT_LT(endless.text.size(), 100u);
    EXPECT_TRUE(endless.text.ends_with("\uFFFD"));
}

std::string guessed(std::string_view bytes, std::string_view label, const EmlMimeConvert* host) {
    HeapText out;
    appendGuessed(bytes, label, host, out.builder());
    return out.str();
}

TEST(TextConversion, GuessIsUtf8ThenTheLabelThenWindows1252) {
    ToyHost host;
    EXPECT_EQ(guessed("café", "toy", &host.record), "café") << "UTF-8 comes first";
    EXPECT_EQ(guessed("\xC1\x10", "toy", &host.record), "А");
    EXPECT_EQ(guessed("caf\xE9", "", &host.record), "café");
    EXPECT_EQ(guessed("caf\xE9", "x-none", &host.record), "café");
    EXPECT_EQ(guessed("caf\xE9", "utf-8", nullptr), "café") << "what is not UTF-8 is not UTF-8 by its label";
    EXPECT_EQ(guessed("caf\xE9", "us-ascii", nullptr), "café");
    EXPECT_EQ(guessed("\x80", "iso-8859-1", nullptr), "€");
    EXPECT_EQ(host.opened, host.closed);
}

TEST(TextConversion, OnePieceIsConvertedByItsLabel) {
    ToyHost host;
    HeapText out;
    EXPECT_EQ(appendConverted("caf\xE9", "utf-8", &host.record, out.builder()).replaced, 1u);
    EXPECT_EQ(appendConverted("\xE9", "us-ascii", &host.record, out.builder()).replaced, 0u);
    EXPECT_EQ(appendConverted("\xC1\x10\xC1", "toy", &host.record, out.builder()).replaced, 1u);
    EXPECT_TRUE(appendConverted("\xE9", "x-none", &host.record, out.builder()).unknownCharset);
    EXPECT_EQ(out.str(), "caf\uFFFDéА\uFFFD\xE9");
}

TEST(TextConversion, ExhaustedMemoryEndsQuietly) {
    HeapText out(1);
    appendGuessed(std::string(10000, '\xE9'), "", nullptr, out.builder());
    EXPECT_TRUE(out.builder().failed());
    EXPECT_EQ(out.str(), "");
}

}  // namespace

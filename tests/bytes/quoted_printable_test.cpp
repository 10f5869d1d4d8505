#include "bytes/quoted_printable.h"

#include <gtest/gtest.h>

#include <utility>

#include "bytes/decoder_runs.h"
#include "reference/decoders.h"

namespace {

using namespace decoder_runs;
using reference::bytesOf;
using reference::shown;

using BodyDecoder = eml::QuotedPrintableDecoder<eml::kContainerStream>;
using TextDecoder = eml::QuotedPrintableDecoder<eml::kContainerBuffer>;

// The three uses: a body, header text, header text in which "_" is a blank.
enum Use : uint8_t { kBody = 1, kText = 2, kWord = 4, kTexts = kText | kWord, kAll = 7 };

constexpr Use kUses[] = {kBody, kText, kWord};

Bytes decodeFor(Use use, const Bytes& input, const Feeding& feeding, bool* ended = nullptr) {
    if (use == kBody) return decode(BodyDecoder(false), input, feeding, ended);
    return decode(TextDecoder(use == kWord), input, feeding, ended);
}

Bytes expectedFor(Use use, const Bytes& input) {
    if (use == kBody) return reference::decodeQuotedPrintableBody(input);
    return reference::decodeQuotedPrintableText(input, use == kWord);
}

struct Row {
    const char* rule;
    Use uses;
    std::string input;
    std::string output;
};

const Row kRows[] = {
    {"nothing gives nothing", kAll, "", ""},
    {"plain text stays", kAll, "abc def", "abc def"},
    {"line ends and blanks before them stay", kAll, "a \t\r\nb\nc\rd", "a \t\r\nb\nc\rd"},
    {"an escape", kAll, "a=3Db", "a=b"},
    {"an escape in lower case", kAll, "=c3=a4", "\xC3\xA4"},
    {"mixed case", kAll, "=aB=Ba", "\xAB\xBA"},
    {"an escaped zero byte", kAll, "a=00b", std::string("a\0b", 3)},
    {"a decoded 0xFF is written", kAll, "=FFa",
     "\xFF"
     "a"},
    {"adjacent escapes", kAll, "=41=42=43", "ABC"},
    {"= CR LF is a soft line break", kAll, "a=\r\nb", "ab"},
    {"= LF is a soft line break", kAll, "a=\nb", "ab"},
    {"= CR is a soft line break", kAll, "a=\rb", "ab"},
    {"= CR at the end is a soft line break", kAll, "a=\r", "a"},
    {"= LF at the end is a soft line break", kAll, "a=\n", "a"},
    {"= LF CR keeps the CR", kAll, "a=\n\rb", "a\rb"},
    {"= CR CR keeps the second CR", kAll, "a=\r\rb", "a\rb"},
    {"= CR and a new escape", kAll, "a=\r=41", "aA"},
    {"= CR = CR LF: two soft line breaks", kAll, "a=\r=\r\nb", "ab"},
    {"a blank after = is an invalid digit", kAll, "a= \r\nb", "a\xFF\nb"},
    {"an invalid first digit counts as 0x7F", kAll, "=G1", "\xF1"},
    {"an invalid second digit counts as 0x7F", kAll, "=1G", "\x7F"},
    {"two invalid digits give 0xFF", kAll, "=zz", "\xFF"},
    {"= as a digit is none", kAll, "==41",
     "\xF4"
     "1"},
    {"= as the second digit is none", kAll, "=4=41",
     "\x7F"
     "41"},
    {"a line end as the second digit is none", kAll, "=4\r\nb", "\x7F\nb"},
    {"a zero byte as a digit is none", kAll,
     std::string("=\0"
                 "1",
                 3),
     "\xF1"},
    {"a lone = at the end gives 0xFF", kAll, "a=", "a\xFF"},
    {"a digit that the data lacks counts as 0x7F", kAll, "a=4", "a\x7F"},
    {"an invalid digit before a missing one", kAll, "a=g", "a\xFF"},
    {"0xFF ends the data", kAll,
     "ab\xFF"
     "cd",
     "ab"},
    {"0xFF as the first byte ends the data", kAll, "\xFF=41", ""},
    {"0xFF after = leaves both digits missing", kAll,
     "a=\xFF"
     "41",
     "a\xFF"},
    {"0xFF after the first digit leaves the second missing", kAll,
     "a=4\xFF"
     "1",
     "a\x7F"},
    {"0xFF after a soft CR ends the data", kAll,
     "a=\r\xFF"
     "b",
     "a"},
    {"other high bytes stay", kAll, "\x80\xFE", "\x80\xFE"},
    {"zero bytes stay", kAll, std::string("a\0b", 3), std::string("a\0b", 3)},
    {"underscore in a body and in header text", static_cast<Use>(kBody | kText), "a_b_", "a_b_"},
    {"underscore in an encoded word", kWord, "a_b_", "a b "},
    {"underscores in a row in an encoded word", kWord, "____________________", "                    "},
    {"an underscore next to escapes in an encoded word", kWord, "=41_=42", "A B"},
    {"an escaped underscore stays", kAll, "a=5Fb", "a_b"},
    {"an underscore as a digit is none", kAll, "=_1", "\xF1"},
    {"=0D in a body", kBody, "a=0D=0Ab", "a\r\nb"},
    {"=0D in header text is dropped", kTexts, "a=0D=0Ab", "a\nb"},
    {"=0d in lower case is dropped as well", kTexts, "a=0db", "ab"},
    {"a CR that stands in header text stays", kTexts, "a\rb", "a\rb"},
    {"=20 before a line end in a body", kBody, "a=20\r\nb", "a \r\nb"},
    {"=20 CR LF in header text joins the lines", kTexts, "a=20\r\nb", "a b"},
    {"=20 CR swallows the byte after the CR whatever it is", kTexts, "a=20\rxb", "a b"},
    {"=20 CR swallows even an =", kTexts, "a=20\r=41", "a 41"},
    {"=20 CR CR LF swallows both CR", kTexts, "a=20\r\r\nb", "a \nb"},
    {"=20 CR at the end", kTexts, "a=20\r", "a "},
    {"=20 CR LF at the end", kTexts, "a=20\r\n", "a "},
    {"=20 LF keeps the LF", kTexts, "a=20\nb", "a \nb"},
    {"=20 before text", kTexts, "a=20b", "a b"},
    {"=20 before an escape", kTexts, "a=20=41", "a A"},
    {"=20=20 at the end", kTexts, "a=20=20", "a  0"},
    {"=20 twice before a line end", kTexts, "a=20=20\r\nb", "a  b"},
    {"=20 at the very end has its last digit read again", kTexts, "abc=20", "abc 0"},
    {"=20 at the very end of a body", kBody, "abc=20", "abc "},
    {"=20 before a soft line break", kTexts, "a=20=\r\nb", "a b"},
    {"=20 before an underscore", kWord, "a=20_b", "a  b"},
    {"a blank that stands in the text joins nothing", kTexts, "a \r\nb", "a \r\nb"},
    {"an underscore joins nothing", kWord, "a_\r\nb", "a \r\nb"},
    {"=0D after =20 is dropped and joins nothing", kTexts, "a=20=0D\r\nb", "a \r\nb"},
    {"a long run of text", kAll,
     "0123456789012345678901234567890123456789=41"
     "0123456789abcdef",
     "0123456789012345678901234567890123456789A0123456789abcdef"},
    {"an escape in each place of eight bytes", kAll, "=41234567=411234567=4112345678=41",
     "A234567A1234567A12345678A"},
};

TEST(QuotedPrintable, RowsInEveryPiecing) {
    for (const Row& row : kRows) {
        const Bytes input = bytesOf(row.input);
        for (const Use use : kUses) {
            if ((row.uses & use) == 0) continue;
            for (const Feeding& feeding : allFeedings(input.size())) {
                ASSERT_EQ(shown(row.output), shown(decodeFor(use, input, feeding)))
                    << row.rule << ", use " << int{use} << ", first piece " << feeding.firstPiece
                    << ", others " << feeding.pieces << ", sink offers " << feeding.atOnce;
            }
        }
    }
}

// The rows hold for the plain references too, so that they may judge the other tests.
TEST(QuotedPrintable, ReferencesAgreeWithRows) {
    for (const Row& row : kRows) {
        for (const Use use : kUses) {
            if ((row.uses & use) == 0) continue;
            EXPECT_EQ(shown(row.output), shown(expectedFor(use, bytesOf(row.input))))
                << row.rule << ", use " << int{use};
        }
    }
}

TEST(QuotedPrintable, EveryPairOfDigitBytes) {
    Bytes input = bytesOf("=..x");
    for (int high = 0; high < 256; ++high) {
        for (int low = 0; low < 256; ++low) {
            input[1] = static_cast<uint8_t>(high);
            input[2] = static_cast<uint8_t>(low);
            for (const Use use : kUses) {
                ASSERT_EQ(shown(expectedFor(use, input)), shown(decodeFor(use, input, inOnePiece())))
                    << shown(input) << ", use " << int{use};
            }
        }
    }
}

TEST(QuotedPrintable, SaysWhenTheDataHasEnded) {
    for (const Use use : kUses) {
        bool ended = true;
        (void)decodeFor(use, bytesOf("abc="), inOnePiece(), &ended);
        EXPECT_FALSE(ended) << "use " << int{use};
        (void)decodeFor(use, bytesOf("abc\xFF"), inOnePiece(), &ended);
        EXPECT_TRUE(ended) << "use " << int{use};
    }
}

TEST(QuotedPrintable, NothingIsDecodedBehindTheEnd) {
    TextDecoder decoder(false);
    RoomSink sink(64, kNoLimit);
    feedPiece(decoder, bytesOf("a=20"), 0, 4, sink);
    decoder.finish(sink);
    EXPECT_TRUE(decoder.ended());
    feedPiece(decoder, bytesOf("bcd"), 0, 3, sink);
    decoder.finish(sink);
    EXPECT_EQ("a 0", reference::textOf(sink.taken()));
}

TEST(QuotedPrintable, EmptyPiecesChangeNothing) {
    const Bytes input = bytesOf("=20\r\nb=\r\n=4");
    for (const Use use : {kText, kWord}) {
        TextDecoder decoder(use == kWord);
        RoomSink sink(64, kNoLimit);
        for (size_t i = 0; i < input.size(); ++i) {
            feedPiece(decoder, input, i, i, sink);
            feedPiece(decoder, input, i, i + 1, sink);
        }
        decoder.finish(sink);
        EXPECT_EQ(shown(" b\x7F"), shown(sink.taken()));
    }
}

void holdAgainstReference(const Bytes& alphabet, size_t longest) {
    Bytes failed;
    const bool held = forEveryInput(alphabet, longest, [&](const Bytes& input) {
        failed = input;
        for (const Use use : kUses) {
            const Bytes expected = expectedFor(use, input);
            if (decodeFor(use, input, inOnePiece()) != expected) return false;
            if (decodeFor(use, input, {1, 1, 64}) != expected) return false;
            if (decodeFor(use, input, {kNoLimit, kNoLimit, 1}) != expected) return false;
        }
        return true;
    });
    EXPECT_TRUE(held) << "input " << shown(failed);
}

TEST(QuotedPrintable, EveryShortInputOverTheBytesThatMatter) {
    holdAgainstReference({'=', '2', '0', 'D', 'g', '\r', '\n', '_', 0xFF, 0}, 5);
}

TEST(QuotedPrintable, EveryInputOverAnEncodedBlankAndLineEnds) {
    holdAgainstReference({'=', '2', '0', '\r', '\n'}, 6);
}

// Text of the length of a few words, with escapes in every place.
TEST(QuotedPrintable, RandomLongInputs) {
    Random random(45);
    const Bytes clean = bytesOf("abcdefghijklmnop 0123456789");
    const char* const disturbing[] = {"=",      "=20",  "=20\r\n", "=0D",  "=\r\n", "=\n", "=\r", "_",
                                      "=C3=A4", "\r\n", "=20\r",   "\xFF", "=4",    "==",  "=G1", "__"};
    for (int round = 0; round < 4000; ++round) {
        Bytes input = random.bytes(clean, random.below(160));
        for (size_t count = random.below(8); count > 0; --count) {
            const size_t place = random.below(input.size() + 1);
            const Bytes piece = bytesOf(disturbing[random.below(std::size(disturbing))]);
            input.insert(input.begin() + static_cast<ptrdiff_t>(place), piece.begin(), piece.end());
        }
        const Feeding feeding{1 + random.below(64), 1 + random.below(64), 1 + random.below(40)};
        for (const Use use : kUses) {
            ASSERT_EQ(shown(expectedFor(use, input)), shown(decodeFor(use, input, feeding)))
                << shown(input) << ", use " << int{use} << ", pieces of " << feeding.pieces
                << ", sink offers " << feeding.atOnce;
        }
    }
}

TEST(QuotedPrintable, ASinkThatFailsAtAnyByteStopsDecodingThere) {
    for (const Row& row : kRows) {
        const Bytes input = bytesOf(row.input);
        for (const Use use : kUses) {
            if ((row.uses & use) == 0) continue;
            for (size_t limit = 0; limit < row.output.size(); ++limit) {
                for (const Feeding& feeding :
                     {Feeding{kNoLimit, kNoLimit, 64, limit}, Feeding{1, 1, 64, limit},
                      Feeding{kNoLimit, kNoLimit, 1, limit}, Feeding{3, 5, 2, limit}}) {
                    ASSERT_EQ(shown(row.output.substr(0, limit)), shown(decodeFor(use, input, feeding)))
                        << row.rule << ", use " << int{use};
                }
            }
        }
    }
}

TEST(QuotedPrintable, AFailedSinkEndsTheData) {
    BodyDecoder decoder(false);
    RoomSink sink(64, 3);
    feedPiece(decoder, bytesOf("abcdef"), 0, 6, sink);
    EXPECT_TRUE(decoder.ended());
    decoder.finish(sink);
    EXPECT_EQ("abc", reference::textOf(sink.taken()));
}

// A sink that has no room any more, although it had some when the escape began, ends the data in its middle.
TEST(QuotedPrintable, ASinkThatFailsInAnEscapeEndsTheData) {
    struct ShrinkingSink {
        uint8_t room[8] = {};
        bool asked = false;
        eml::OutputSpan space() {
            return std::exchange(asked, true) ? eml::OutputSpan{} : eml::OutputSpan{room, room + 8};
        }
        void commit(const uint8_t* end) { EXPECT_EQ(end, room); }
    } sink;
    BodyDecoder decoder(false);
    const Bytes input = bytesOf("=41bc");
    decoder.feed(input.data(), input.data() + 2, sink);
    EXPECT_FALSE(decoder.ended());
    decoder.feed(input.data() + 2, input.data() + 5, sink);
    EXPECT_TRUE(decoder.ended());
}

}  // namespace

#include "mime/transfer.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "exhaustive/every_input.h"
#include "reference/mail_decoders.h"
#include "support/kernel_sets.h"

namespace {

using namespace decoder_runs;
using eml::DecodeProblems;
using eml::MailBase64;
using eml::MailQuotedPrintable;
using reference::bytesOf;
using reference::shown;

std::string repeated(std::string_view text, size_t times) {
    std::string result;
    for (size_t i = 0; i < times; ++i) result += text;
    return result;
}

struct Row {
    const char* rule;
    std::string input;
    std::string output;
    // How often, and where first: base64 characters, padding, cut off; quoted-printable escapes.
    uint64_t character = 0;
    uint64_t padding = 0;
    uint64_t cutOff = 0;
    uint64_t escape = 0;
    uint64_t first = 0;  // offset of the first of the one kind that there is
};

const Row kBase64Rows[] = {
    {"nothing gives nothing", "", ""},
    {"a whole group", "TWFu", "Man"},
    {"one padding character", "TWE=", "Ma"},
    {"two padding characters", "TQ==", "M"},
    {"line ends stand anywhere", "T\r\nW\nF\ru\r\nTWFu\r\n", "ManMan"},
    {"a line end before the padding", "TQ\r\n==\r\n", "M"},
    {"a line end within the padding", "TQ=\r\n=\r\n", "M"},
    {"one character per line", "T\r\nW\r\nF\r\nu\r\nT\r\nW\r\nE\r\n=\r\n", "ManMa"},
    {"lines of 77 characters", repeated("TWFu", 19) + "T\r\nWFu" + repeated("TWFu", 19), repeated("Man", 39)},
    {"blanks and tabs are no defect", "TW Fu\t\r\n  TWFu  \r\n", "ManMan"},
    {"junk is left out, and counted", "T!W#Fu\x01TWFu", "ManMan", 3, 0, 0, 0, 1},
    {"8-bit junk", "TWFu\xE4\xFFTWFu", "ManMan", 2, 0, 0, 0, 4},
    {"a zero byte is junk", std::string("TWFu\0TWFu", 9), "ManMan", 1, 0, 0, 0, 4},
    {"0xFF ends nothing", "TW\xFF\x46u", "Man", 1, 0, 0, 0, 2},
    {"padding that is missing, two bytes", "TWFuTWE", "ManMa", 0, 1, 0, 0, 7},
    {"padding that is missing, one byte", "TWFuTQ", "ManM", 0, 1, 0, 0, 6},
    {"padding of one character where two are due", "TQ=", "M", 0, 1, 0, 0, 3},
    {"one character is left", "TWFuT", "Man", 0, 0, 1, 0, 4},
    {"one character is left, before a line end", "TWFu\r\nT\r\n", "Man", 0, 0, 1, 0, 6},
    {"pieces that are joined", "TQ==TWFu", "MMan", 0, 1, 0, 0, 4},
    {"pieces that are joined, in lines", "TWE=\r\nTWE=\r\n", "MaMa", 0, 1, 0, 0, 6},
    {"three pieces", "TQ==TWE=TWFu", "MMaMan", 0, 2, 0, 0, 4},
    {"a piece whose padding is too short", "TQ=TWFu", "MMan", 0, 1, 0, 0, 3},
    {"a digit after one of two padding characters begins a piece", "TQ=\r\nTQ==", "MM", 0, 1, 0, 0, 5},
    {"too much padding", "TWE==", "Ma", 0, 1, 0, 0, 4},
    {"far too much padding", "TQ======", "M", 0, 4, 0, 0, 4},
    {"padding after whole groups", "TWFu=", "Man", 0, 1, 0, 0, 4},
    {"padding alone", "====", "", 0, 4, 0, 0, 0},
    {"padding after one digit is left out", "T=WFu", "Man", 0, 1, 0, 0, 1},
    {"low bits that are not zero are dropped", "TR==", "M"},
    {"the URL alphabet", "-_-_", "\xFB\xFF\xBF"},
    {"the usual alphabet", "+/+/", "\xFB\xFF\xBF"},
    {"URL digits that begin a line", "TWFu\r\n--__\r\n", "Man\xFB\xEF\xFF"},
    {"after a plus they are junk", "+++++-++", "\xFB\xEF\xBE\xFB\xEF", 1, 1, 0, 0, 5},
    {"after a slash they are junk", "////_TWFu", "\xFF\xFF\xFFMan", 1, 0, 0, 0, 4},
    {"before a plus they are digits", "--__++//", "\xFB\xEF\xFF\xFB\xEF\xFF"},
    {"a wide run of clean lines", repeated(repeated("TWFu", 19) + "\r\n", 40), repeated("Man", 19 * 40)},
    {"junk within a wide run", repeated("TWFu", 40) + "*" + repeated("TWFu", 40), repeated("Man", 80), 1, 0,
     0, 0, 160},
};

const Row kQuotedRows[] = {
    {"nothing gives nothing", "", ""},
    {"plain text", "abc\r\n", "abc\r\n"},
    {"an escape", "a=3Db", "a=b"},
    {"lower case", "=c3=a4=C3=A4", "\xC3\xA4\xC3\xA4"},
    {"a soft line break, CR LF", "a=\r\nb", "ab"},
    {"a soft line break, LF", "a=\nb", "ab"},
    {"a soft line break, CR", "a=\rb", "ab"},
    {"blanks after the soft break's sign", "a= \t\r\nb", "ab"},
    {"blanks and LF", "a=  \nb", "ab"},
    {"blanks and CR", "a= \rb", "ab"},
    {"as many blanks as may stand there", "a=" + std::string(80, ' ') + "\r\nb", "ab"},
    {"one blank more", "a=" + std::string(81, ' ') + "\r\nb", "a=" + std::string(81, ' ') + "\r\nb", 0, 0, 0,
     1, 1},
    {"the sign at the end is a soft break", "a=", "a"},
    {"the sign and blanks at the end", "a= ", "a"},
    {"the sign and CR at the end", "a=\r", "a"},
    {"an escape that the end cuts off stays", "a=4", "a=4", 0, 0, 0, 1, 1},
    {"no digits", "a=zz", "a=zz", 0, 0, 0, 1, 1},
    {"one digit", "=4z", "=4z", 0, 0, 0, 1, 0},
    {"a sign after the sign", "==41", "=A", 0, 0, 0, 1, 0},
    {"a sign after a digit", "=4=41", "=4A", 0, 0, 0, 1, 0},
    {"a digit before a line end", "=4\r\nx", "=4\r\nx", 0, 0, 0, 1, 0},
    {"a blank before text", "a= b", "a= b", 0, 0, 0, 1, 1},
    {"blanks before an escape", "= =41", "= A", 0, 0, 0, 1, 0},
    {"the sign in an address", "?a=b&c=d", "?a=b&c=d", 0, 0, 0, 2, 2},
    {"raw 8-bit text", "\xE4\xF6\xFF=E4", "\xE4\xF6\xFF\xE4"},
    {"0xFF ends nothing", "a\xFF=41", "a\xFF\x41"},
    {"a zero byte", std::string("a\0b", 3), std::string("a\0b", 3)},
    {"a decoded zero byte", "a=00b", std::string("a\0b", 3)},
    {"decoded line ends", "a=0D=0Ab", "a\r\nb"},
    {"blanks at the end of a line stay", "a \t\r\nb", "a \t\r\nb"},
    {"decoded blanks before a line end", "a=20\r\nb", "a \r\nb"},
    {"an underscore is one", "a_b", "a_b"},
    {"a long line", repeated("x=41", 400), repeated("xA", 400)},
    {"escapes alone", repeated("=D0=9F", 60), repeated("\xD0\x9F", 60)},
    {"a wrong one among many", repeated("=D0", 50) + "=G1" + repeated("=9F", 50),
     repeated("\xD0", 50) + "=G1" + repeated("\x9F", 50), 0, 0, 0, 1, 150},
    {"a wrong one in a wide run of text", repeated("abcdefgh", 20) + "=1G" + repeated("abcdefgh", 20),
     repeated("abcdefgh", 20) + "=1G" + repeated("abcdefgh", 20), 0, 0, 0, 1, 160},
};

void expectProblems(const Row& row, const DecodeProblems& problems) {
    EXPECT_EQ(problems.base64Character.count, row.character);
    EXPECT_EQ(problems.base64Padding.count, row.padding);
    EXPECT_EQ(problems.base64CutOff.count, row.cutOff);
    EXPECT_EQ(problems.quotedEscape.count, row.escape);
    if (row.character != 0) {
        EXPECT_EQ(problems.base64Character.first, row.first);
    } else if (row.padding != 0) {
        EXPECT_EQ(problems.base64Padding.first, row.first);
    }
    if (row.cutOff != 0) {
        EXPECT_EQ(problems.base64CutOff.first, row.first);
    }
    if (row.escape != 0) {
        EXPECT_EQ(problems.quotedEscape.first, row.first);
    }
}

// Of long rows not every way is taken: one cut in so many.
template <class Decoder>
void runRow(const Row& row) {
    SCOPED_TRACE(row.rule);
    const Bytes input = bytesOf(row.input);
    const std::vector<Feeding> feedings = allFeedings(input.size());
    for (const eml::DecodeKernels* const kernels : eml::test::kernelSets()) {
        for (size_t i = 0; i<feedings.size(); i += input.size()> 100 ? 7 : 1) {
            DecodeProblems problems{};
            const Bytes output = decode(Decoder(*kernels, problems), input, feedings[i]);
            ASSERT_EQ(shown(output), shown(bytesOf(row.output)))
                << "first piece " << feedings[i].firstPiece << ", at once " << feedings[i].atOnce;
            expectProblems(row, problems);
            if (::testing::Test::HasFailure()) return;
        }
    }
}

TEST(MailBase64, Rows) {
    for (const Row& row : kBase64Rows) runRow<MailBase64>(row);
}

TEST(MailQuotedPrintable, Rows) {
    for (const Row& row : kQuotedRows) runRow<MailQuotedPrintable>(row);
}

TEST(MailDecoders, PlacesCountFromTheOffsetOfAPiece) {
    DecodeProblems problems{};
    MailBase64 decoder(eml::kPlainKernels, problems);
    RoomSink sink(64, kNoLimit);
    const Bytes input = bytesOf("TWFu!");
    decoder.at(5000000000);
    feedPiece(decoder, input, 0, input.size(), sink);
    EXPECT_EQ(problems.base64Character.first, 5000000004U);
}

TEST(MailDecoders, ASinkThatFailsEndsThem) {
    for (const size_t limit : {0U, 1U, 2U, 5U}) {
        DecodeProblems problems{};
        bool ended = false;
        const Feeding feeding{kNoLimit, kNoLimit, 4, limit};
        EXPECT_EQ(
            decode(MailBase64(eml::kPlainKernels, problems), bytesOf("TWFuTWFuTWFu"), feeding, &ended).size(),
            limit);
        EXPECT_TRUE(ended);
        ended = false;
        EXPECT_EQ(
            decode(MailQuotedPrintable(eml::kPlainKernels, problems), bytesOf("=41b=zz==41"), feeding, &ended)
                .size(),
            limit);
        EXPECT_TRUE(ended);
    }
}

// Compares one input with the reference, whole, cut in two at every byte, and byte by byte.
template <class Decoder>
bool agrees(const std::string& text, const reference::MailDecoded& expected) {
    const Bytes input = bytesOf(text);
    std::vector<Feeding> feedings = {inOnePiece(), {1, 1, 64}, {kNoLimit, kNoLimit, 1}};
    for (size_t cut = 1; cut < input.size(); ++cut) feedings.push_back({cut, kNoLimit, 64});
    for (const eml::DecodeKernels* const kernels : eml::test::kernelSets()) {
        for (const Feeding& feeding : feedings) {
            DecodeProblems problems{};
            const Bytes output = decode(Decoder(*kernels, problems), input, feeding);
            if (output == expected.bytes && problems.base64Character.count == expected.characters &&
                problems.base64Padding.count == expected.padding &&
                problems.base64CutOff.count == expected.cutOff &&
                problems.quotedEscape.count == expected.escapes) {
                continue;
            }
            ADD_FAILURE() << shown(input) << ": " << shown(output) << " for " << shown(expected.bytes)
                          << ", first piece " << feeding.firstPiece;
            return false;
        }
    }
    return true;
}

bool base64Agrees(const std::string& text) {
    return agrees<MailBase64>(text, reference::decodeMailBase64(bytesOf(text)));
}

bool quotedAgrees(const std::string& text) {
    return agrees<MailQuotedPrintable>(text, reference::decodeMailQuotedPrintable(bytesOf(text)));
}

template <class Agrees>
void compareAll(std::string_view alphabet, size_t most, Agrees agree) {
    eml::test::Compared compared;
    eml::test::forEveryText(eml::test::bytesAsPieces(alphabet), most, [&](const std::string& text) {
        compared.input();
        compared.comparison();
        return agree(text);
    });
}

TEST(EveryShortMailBody, Base64) { compareAll("Q/=-\n!", eml::test::longest(4, 6), base64Agrees); }

TEST(EveryShortMailBody, Base64OfDigitsAndPadding) {
    compareAll("Q=", eml::test::longest(8, 12), base64Agrees);
}

TEST(EveryShortMailBody, QuotedPrintable) { compareAll("=4z \r\n", eml::test::longest(4, 6), quotedAgrees); }

TEST(MailDecoders, RandomTextAgrees) {
    Random random(7);
    for (size_t i = 0; i < 60; ++i) {
        const size_t length = random.below(400);
        const auto text = [&](const char* alphabet) {
            const Bytes bytes = random.bytes(bytesOf(alphabet), length);
            return std::string(bytes.begin(), bytes.end());
        };
        const std::string mostlyDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
        ASSERT_TRUE(base64Agrees(text((mostlyDigits + mostlyDigits + "0123+/=-_\r\n!").c_str())));
        ASSERT_TRUE(quotedAgrees(text((mostlyDigits + mostlyDigits + "====4410 \t\r\n").c_str())));
    }
}

}  // namespace

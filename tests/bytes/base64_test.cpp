#include "bytes/base64.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "reference/decoders.h"

namespace {

using namespace decoder_runs;
using reference::bytesOf;
using reference::shown;

using Decoder = eml::Base64Decoder<eml::kContainerBase64>;

struct Row {
    const char* rule;
    std::string input;
    bool dropCr;
    std::string output;
};

// Long enough for the loop over whole groups, with line ends in every place of a group.
std::string digits(size_t count, size_t lineLength, const char* lineEnd) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        if (i != 0 && i % lineLength == 0) text += lineEnd;
        text += "TWFu"[i % 4];
    }
    return text;
}

std::string repeated(const char* text, size_t times) {
    std::string result;
    for (size_t i = 0; i < times; ++i) result += text;
    return result;
}

const Row kRows[] = {
    {"nothing gives nothing", "", false, ""},
    {"a whole group", "TWFu", false, "Man"},
    {"one padding character", "TWE=", false, "Ma"},
    {"two padding characters", "TQ==", false, "M"},
    {"nothing is decoded after the padding", "TWFuTQ==TWFu", false, "ManM"},
    {"nothing is decoded after one padding character", "TWE=TWFuTWFu", false, "Ma"},
    {"a blank between digits is skipped", "TW Fu", false, "Man"},
    {"a line end between digits is skipped", "TW\r\nFu", false, "Man"},
    {"a line end between groups is skipped", "TWFu\r\nTWFu\nTWFu\rTWFu", false, "ManManManMan"},
    {"bytes outside the alphabet are skipped",
     "T!W\x01"
     "F\x80u",
     false, "Man"},
    {"a zero byte is skipped", std::string("TW\0Fu", 5), false, "Man"},
    {"bytes outside the alphabet before a group are skipped", "..!TWFu", false, "Man"},
    {"a dash where a group begins ends the data", "TWFu-TWFu", false, "Man"},
    {"a dash at the start ends the data", "-TWFu", false, ""},
    {"a dash after skipped bytes ends the data", "TWFu\r\n--b\r\nTWFu", false, "Man"},
    {"a dash within a group is skipped", "TW-Fu", false, "Man"},
    {"a dash after the first digit is skipped", "T-WFuTWFu", false, "ManMan"},
    {"a dash before the last digit is skipped", "TWF-u", false, "Man"},
    {"an incomplete group of three is dropped", "TWF", false, ""},
    {"an incomplete group of two is dropped", "TWFuTW", false, "Man"},
    {"an incomplete group of one is dropped", "TWFuT", false, "Man"},
    {"a group that a single padding character leaves incomplete is dropped", "TWFuTQ=", false, "Man"},
    {"padding in the first place writes nothing and ends decoding", "=TWFuTWF", false, ""},
    {"padding in the second place writes nothing and ends decoding", "T=WFTWFu", false, ""},
    {"four padding characters end decoding", "TWFu====TWFu", false, "Man"},
    {"padding in the third place hides the fourth", "TQ=uTWFu", false, "M"},
    {"skipped bytes may stand before the padding", "TQ \r\n= \r\n=", false, "M"},
    {"the low bits of the last digit are dropped", "TR==", false, "M"},
    {"the low bits of the last digit are dropped (two bytes)", "TWF=", false, "Ma"},
    {"0xFF ends the data", "TWFu\xFFTWFu", false, "Man"},
    {"0xFF as the first byte ends the data", "\xFFTWFu", false, ""},
    {"0xFF within a group drops the group",
     "TWFuTW\xFF"
     "Fu",
     false, "Man"},
    {"0xFF after three digits drops the group", "TWF\xFFu", false, ""},
    {"all values", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/", false,
     std::string(
         "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71\xD7\x9F"
         "\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3\xDF\xBF",
         48)},
    {"a decoded 0xFF is written", "////", false, "\xFF\xFF\xFF"},
    {"decoded CR stays", "DQo=", false, "\r\n"},
    {"decoded CR is dropped on demand", "DQo=", true, "\n"},
    {"decoded CR is dropped in every place of a group", "DUFBQQ1BQUEN", true, "AAAAAA"},
    {"a group of CR alone gives nothing", "DQ0NDQ0N", true, ""},
    {"decoded CR stays in every place of a group", "DUFBQQ1BQUEN", false, "\rAAA\rAAA\r"},
    {"many whole groups", digits(400, 400, ""), false, repeated("Man", 100)},
    {"lines of 76", digits(400, 76, "\r\n"), false, repeated("Man", 100)},
    {"lines of 75", digits(100, 75, "\n"), false, repeated("Man", 25)},
    {"lines of 74", digits(100, 74, "\r\n"), false, repeated("Man", 25)},
    {"lines of 73", digits(100, 73, "\r"), false, repeated("Man", 25)},
    {"lines of one digit", digits(40, 1, "\r\n"), false, repeated("Man", 10)},
    {"an invalid byte after many groups", digits(64, 64, "") + "*" + digits(64, 64, ""), false,
     repeated("Man", 32)},
};

TEST(Base64, RowsInEveryPiecing) {
    for (const Row& row : kRows) {
        const Bytes input = bytesOf(row.input);
        for (const Feeding& feeding : allFeedings(input.size())) {
            ASSERT_EQ(shown(row.output), shown(decode(Decoder(row.dropCr), input, feeding)))
                << row.rule << ", first piece " << feeding.firstPiece << ", others " << feeding.pieces
                << ", sink offers " << feeding.atOnce;
        }
    }
}

// The rows hold for the plain reference too, so that it may judge the other tests.
TEST(Base64, ReferenceAgreesWithRows) {
    for (const Row& row : kRows) {
        EXPECT_EQ(shown(row.output), shown(reference::decodeBase64(bytesOf(row.input), row.dropCr)))
            << row.rule;
    }
}

TEST(Base64, SaysWhenTheDataHasEnded) {
    const struct {
        const char* input;
        bool ended;
    } rows[] = {{"TWFu", false}, {"TW", false},    {"TWFu-", true}, {"T-", false},
                {"\xFF", true},  {"TW\xFF", true}, {"", false}};
    for (const auto& row : rows) {
        bool ended = !row.ended;
        (void)decode(Decoder(false), bytesOf(row.input), inOnePiece(), &ended);
        EXPECT_EQ(row.ended, ended) << row.input;
    }
}

TEST(Base64, NothingIsDecodedOnceEnded) {
    for (const char* first : {"-", "\xFF", "TQ=="}) {
        Decoder decoder(false);
        RoomSink sink(64, kNoLimit);
        feedPiece(decoder, bytesOf(first), 0, std::string_view(first).size(), sink);
        const Bytes before = sink.taken();
        feedPiece(decoder, bytesOf("TWFuTWFu"), 0, 8, sink);
        EXPECT_EQ(shown(before), shown(sink.taken())) << first;
    }
}

TEST(Base64, EmptyPiecesChangeNothing) {
    Decoder decoder(false);
    RoomSink sink(64, kNoLimit);
    const Bytes input = bytesOf("TWFu");
    for (size_t i = 0; i < input.size(); ++i) {
        feedPiece(decoder, input, i, i, sink);
        feedPiece(decoder, input, i, i + 1, sink);
    }
    feedPiece(decoder, input, 4, 4, sink);
    EXPECT_EQ("Man", reference::textOf(sink.taken()));
}

void holdAgainstReference(const Bytes& alphabet, size_t longest) {
    Bytes failed;
    const bool held = forEveryInput(alphabet, longest, [&](const Bytes& input) {
        failed = input;
        for (const bool dropCr : {false, true}) {
            const Bytes expected = reference::decodeBase64(input, dropCr);
            if (decode(Decoder(dropCr), input, inOnePiece()) != expected) return false;
            if (decode(Decoder(dropCr), input, {1, 1, 64}) != expected) return false;
            if (decode(Decoder(dropCr), input, {kNoLimit, kNoLimit, 1}) != expected) return false;
        }
        return true;
    });
    EXPECT_TRUE(held) << "input " << shown(failed);
}

TEST(Base64, EveryShortInputOverTheBytesThatMatter) {
    holdAgainstReference({'T', '0', '=', '-', '\r', '\n', ' ', 0xFF, 0}, 5);
}

TEST(Base64, EveryInputOfTwoGroupsOverDigitPaddingDashAndSkipped) {
    holdAgainstReference({'D', '=', '-', '\n'}, 7);
}

TEST(Base64, EveryInputOfThreeGroupsOverDigitAndPadding) { holdAgainstReference({'Q', '='}, 12); }

// Mostly clean groups, so that the loop over whole groups meets every disturbance in every place.
TEST(Base64, RandomLongInputs) {
    Random random(64);
    const Bytes clean = bytesOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/DQ0N");
    const Bytes disturbing = bytesOf(std::string("\r\n\r\n = -_\xFF\x80\0.", 14));
    for (int round = 0; round < 4000; ++round) {
        Bytes input = random.bytes(clean, random.below(200));
        for (size_t count = random.below(6); count > 0; --count) {
            const size_t place = random.below(input.size() + 1);
            input.insert(input.begin() + static_cast<ptrdiff_t>(place),
                         disturbing[random.below(disturbing.size())]);
        }
        const bool dropCr = random.below(2) == 1;
        const Feeding feeding{1 + random.below(64), 1 + random.below(64), 1 + random.below(40)};
        ASSERT_EQ(shown(reference::decodeBase64(input, dropCr)),
                  shown(decode(Decoder(dropCr), input, feeding)))
            << shown(input) << ", pieces of " << feeding.pieces << ", sink offers " << feeding.atOnce;
    }
}

TEST(Base64, ASinkThatFailsAtAnyByteStopsDecodingThere) {
    for (const Row& row : kRows) {
        const Bytes input = bytesOf(row.input);
        for (size_t limit = 0; limit < row.output.size(); ++limit) {
            for (const Feeding& feeding : {Feeding{kNoLimit, kNoLimit, 64, limit}, Feeding{1, 1, 64, limit},
                                           Feeding{kNoLimit, kNoLimit, 1, limit}, Feeding{3, 5, 2, limit}}) {
                bool ended = false;
                const Bytes output = decode(Decoder(row.dropCr), input, feeding, &ended);
                ASSERT_EQ(shown(row.output.substr(0, limit)), shown(output)) << row.rule;
                ASSERT_TRUE(ended) << row.rule << ": not ended after a failure at byte " << limit;
            }
        }
    }
}

}  // namespace

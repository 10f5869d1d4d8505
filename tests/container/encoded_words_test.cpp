// Encoded words in header text: the rules, the kept departures from RFC 2047, and a slow second decoder.
#include "container/encoded_words.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "host/scripted_services.h"
#include "reference/encoded_words.h"

namespace eml::test {
namespace {

using namespace std::string_literals;
using reference::Bytes;
using reference::bytesOf;

// A context that only has its work buffer.
class Decoding {
  public:
    explicit Decoding(HeapMode mode = HeapMode::kPlain) : services_(mode) {
        context_.services = &services_.record();
        context_.kernels = &chooseKernels();
        EXPECT_EQ(context_.decoded.reserve(services_.record().allocator, 4096), EML_OK);
    }
    ~Decoding() { context_.decoded.release(services_.record().allocator); }

    // Appends the text, which stands in a block of exactly its size.
    EmlResult append(const Bytes& text) {
        const std::unique_ptr<uint8_t[]> block(new uint8_t[text.size()]);
        std::copy(text.begin(), text.end(), block.get());
        return emlDecodeMetaText(context_, block.get(), static_cast<uint32_t>(text.size()));
    }
    [[nodiscard]] Bytes take() {
        Bytes result(context_.decoded.data, context_.decoded.data + context_.decoded.length);
        context_.decoded.length = 0;
        return result;
    }
    [[nodiscard]] ScriptedServices& services() { return services_; }
    [[nodiscard]] GrowingBuffer& buffer() { return context_.decoded; }

  private:
    ScriptedServices services_;
    EmlContainerContext context_{};
};

struct Row {
    const char* rule;
    std::string text;
    std::string expected;
};

const Row kRows[] = {
    {"nothing", "", ""},
    {"text without a word stays byte for byte", "a  b\t=\x01\xFF\x80?=_=41", "a  b\t=\x01\xFF\x80?=_=41"},
    {"base64", "=?UTF-8?B?SGk=?=", "Hi"},
    {"KEPT: the blank between two words stays", "=?UTF-8?B?SGk=?= =?UTF-8?B?VGhlcmU=?=", "Hi There"},
    {"KEPT: all blanks between two words stay", "=?x?Q?a?= \t  =?x?Q?b?=", "a \t  b"},
    {"words that touch", "=?x?Q?a?==?x?Q?b?=", "ab"},
    {"underscore is a blank in Q", "=?X?Q?a_b=41?=", "a bA"},
    {"underscore is no blank without an encoding", "=?X?Z?a_b=41?=", "a_b=41"},
    {"letters in any case", "=?X?q?=41?==?X?b?QQ==?=", "AA"},
    {"KEPT: the word's charset has no effect", "=?ISO-8859-1?Q?Caf=E9?=", "Caf\xE9"},
    {"KEPT: nor has an utf-8 one", "=?UTF-8?Q?Caf=C3=A9?=", "Caf\xC3\xA9"},
    {"an unknown or empty charset is no error", "=?no-such?Q?a?==??Q?b?=", "ab"},
    {"a word in the middle of a word of text", "x=?u?Q?y?=z", "xyz"},
    {"no closing: decoded to the end", "=?x?Q?a_b", "a b"},
    {"no closing, base64", "=?x?B?SGkg", "Hi "},
    {"a closing of which only ? is there is text", "=?x?Q?ab?", "ab?"},
    {"cut in its label: dropped", "plain =?ISO-8859-1", "plain "},
    {"cut right after \"=?\": dropped", "plain =?", "plain "},
    {"cut after the label's ?: dropped", "plain =?x?", "plain "},
    {"cut inside the encoding field: dropped", "plain =?x?Q", "plain "},
    {"also when the field is long", "plain =?x?Quoted words and more", "plain "},
    {"cut after the field: nothing more", "plain =?x?Q?", "plain "},
    {"\"=\" as the last byte begins no word", "plain =", "plain ="},
    {"what follows a dropped word is dropped", "a =?b c d", "a "},
    {"KEPT: an unknown letter leaves the encoding", "=?x?B?SGk=?= =?ISO-8859-1?Z?SGk=?=", "Hi Hi"},
    {"KEPT: likewise with Q", "=?x?Q?a?==?x?Z?_=42?=", "a B"},
    {"unknown letter in the first word: raw", "=?ISO-8859-1?Z?abc?=", "abc"},
    {"an empty field leaves it too", "=?x?Q?a?==?x?\?=42?=", "aB"},
    {"an empty field in the first word: raw", "=?x??abc?=", "abc"},
    {"only the first byte of the field counts", "=?x?Bogus?SGk=?=", "Hi"},
    {"a language suffix in the label", "=?us-ascii*en?Q?a?=", "a"},
    {"empty encoded text gives nothing", "a=?x?Q?\?=b=?x?B?\?=c", "abc"},
    {"\"?=\" is looked for after the field", "=?x?Q?=41?=", "A"},
    {"a ? alone does not close", "=?x?Q?a?b?=c", "a?bc"},
    {"blanks inside a word are kept", "=?x?Q?a b?=", "a b"},
    {"a word opened in a word is text of it", "=?x?Q?a=?x?Q?b?=c", "a\xFF?Q?bc"},
    {"\"=?=\": label, no field", "=?=", ""},
    {"decoded CR is dropped", "=?x?Q?a=0D=0Ab?==?x?B?DQo=?=", "a\nb\n"},
    {"KEPT: \"=20\" at the end gives its digit again", "=?x?Q?a=20?=", "a 0"},
    {"\"=20\" elsewhere is a blank", "=?x?Q?a=20b?=", "a b"},
    {"KEPT: 0xFF ends a word's decoding",
     "=?x?Q?a\xFF"
     "b?=c",
     "ac"},
    {"a digit followed by 0xFF is not read again", "=?x?Q?a=20\xFF?=c", "a c"},
    {"0xFF in text stays", "a\xFF=?x?Q?b?=\xFF",
     "a\xFF"
     "b\xFF"},
    {"invalid digits count as 0x7F", "=?x?Q?=G1=1G?=", "\xF1\x7F"},
    {"a lone = at the end of a word", "=?x?Q?a=?=", "a\xFF"},
    {"base64 ends at a dash", "=?x?B?SGk=-SGk=?=", "Hi"},
    {"an incomplete group is dropped", "=?x?B?SGkgSGk?=", "Hi "},
    {"zero bytes decoded stay", "=?x?Q?a=00b=00?=", "a\0b\0"s},
    {"encoding does not reach past a call: see below", "=?x?Y?_?=", "_"},
};

TEST(EncodedWords, Rules) {
    Decoding decoding;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(decoding.append(bytesOf(row.text)), EML_OK);
        EXPECT_EQ(reference::shown(decoding.take()), reference::shown(row.expected));
        EXPECT_EQ(reference::shown(reference::decodeHeaderText(bytesOf(row.text))),
                  reference::shown(row.expected))
            << "the reference itself";
    }
}

// KEPT: a word may be as long as the text.
TEST(EncodedWords, AWordMayBeAsLongAsTheText) {
    Decoding decoding;
    EXPECT_EQ(
        decoding.append(bytesOf("=?" + std::string(5000, 'l') + "?Q?" + std::string(20000, '_') + "?=")),
        EML_OK);
    EXPECT_EQ(decoding.take(), bytesOf(std::string(20000, ' ')));
}

TEST(EncodedWords, EachCallStartsWithoutEncodingAndAppends) {
    Decoding decoding;
    EXPECT_EQ(decoding.append(bytesOf("=?x?Q?a_b?=")), EML_OK);
    EXPECT_EQ(decoding.append(bytesOf("=?x?Z?a_b?=")), EML_OK);
    EXPECT_EQ(reference::textOf(decoding.take()), "a ba_b");
}

TEST(EncodedWords, EveryShortTextAgreesWithTheReference) {
    Decoding decoding;
    uint64_t count = 0;
    decoder_runs::forEveryInput(bytesOf("=?QbZ2"), 7, [&](const Bytes& text) {
        ++count;
        EXPECT_EQ(decoding.append(text), EML_OK);
        const bool same = decoding.take() == reference::decodeHeaderText(text);
        EXPECT_TRUE(same) << reference::shown(text);
        return same;
    });
    EXPECT_EQ(count, 335923u);
}

TEST(EncodedWords, EveryShortContentAgreesWithTheReference) {
    Decoding decoding;
    for (const char* opening : {"=?x?Q?", "=?x?B?", "=?x?Q?a?= =?x?Z?"}) {
        decoder_runs::forEveryInput(bytesOf("=?_20D\xFF\r"), 5, [&](const Bytes& content) {
            Bytes text = bytesOf(opening);
            text.insert(text.end(), content.begin(), content.end());
            EXPECT_EQ(decoding.append(text), EML_OK);
            const bool same = decoding.take() == reference::decodeHeaderText(text);
            EXPECT_TRUE(same) << reference::shown(text);
            return same;
        });
    }
}

TEST(EncodedWords, LongRandomTextsAgreeWithTheReferenceAndNeverLeaveTheirBlocks) {
    decoder_runs::Random random(20240607);
    for (int i = 0; i < 400; ++i) {
        Decoding decoding(HeapMode::kGuarded);
        Bytes text;
        while (text.size() < 9000) {
            const char* const pieces[] = {"=?", "?=",   "?Q?", "?B?", "=?utf-8?Q?", "=?x?B?", "=20",  "=0D",
                                          "_",  "QUJD", "=",   "?",   " ",          "==",     "\xFF", "-"};
            const Bytes piece =
                random.below(40) == 0 ? Bytes(random.below(5000), 'A') : bytesOf(pieces[random.below(16)]);
            text.insert(text.end(), piece.begin(), piece.end());
        }
        ASSERT_EQ(decoding.append(text), EML_OK);
        ASSERT_EQ(decoding.take(), reference::decodeHeaderText(text)) << i;
    }
}

// A flood of openings: linear in time and memory. That it ends soon is what the machine shows; here the
// memory.
TEST(EncodedWords, AFloodOfOpeningsStaysSmall) {
    for (const char* piece : {"=?", "=?x?Q?", "=?x?B?", "=?x?Q?\?=", "?=", "=?x?Q?="}) {
        Decoding decoding;
        std::string text;
        while (text.size() < 1u << 20) text += piece;
        ASSERT_EQ(decoding.append(bytesOf(text)), EML_OK);
        EXPECT_LE(decoding.services().heap().peakBytes(), 4u << 20) << piece;
        EXPECT_LE(decoding.services().journal().calls(Entry::kReallocate), 257u) << piece;
        (void)decoding.take();
    }
}

TEST(EncodedWords, AWorkBufferThatCannotGrowGivesNoMemory) {
    const std::string words[] = {std::string(10000, 'x'), "=?x?Q?" + std::string(10000, 'x'),
                                 "=?x?B?" + std::string(10000, 'x'), "=?x?Y?" + std::string(10000, 'x')};
    for (const std::string& text : words) {
        Decoding decoding;
        decoding.services().journal().fail(Entry::kReallocate, {1, true});
        EXPECT_EQ(decoding.append(bytesOf(text)), EML_NO_MEMORY) << text.substr(0, 8);
        EXPECT_EQ(decoding.buffer().data, nullptr) << "the old block is lost, by contract";
    }
}

}  // namespace
}  // namespace eml::test

// The message as text, converted or not.
#include <gtest/gtest.h>

#include "host/scripted_services.h"
#include "support/sections.h"

namespace eml::test {
namespace {

const std::string kMessage = crlf(
    "From: f\nDate: d\nTo: t\nCc: c\nBcc: b\nSubject: s\nPriority: p\n"
    "Content-Type: multipart/mixed; boundary=b\n\n"
    "--b\nContent-Type: text/plain; charset=koi8-r\n\nBODY\n"
    "--b\nContent-Type: image/png; name=x.doc\n\n1\n--b\nContent-Type: image/png; name=y.pdf\n\n2\n--b--\n");
constexpr uint32_t kCyrillic = 6;

std::string wide(std::string_view text) {
    std::string result;
    for (const char letter : text) result += letter, result += '\0';
    return result;
}

// Conversions that show what they were given: "<51:text>" in 16 bits, "<53:text>" in 8.
std::string marked(const HostConversion& call) {
    std::string text = "<";
    if (call.between) text.append(std::to_string(call.current)).append(":");
    text.append(call.source).append(">");
    return call.between ? text : wide(text);
}

std::string textMessage(const std::string& header, const std::string& body) {
    return crlf(header + "\n") + body;
}

TEST(RenderText, WithoutConversion) {
    const std::string expected =
        "From: f\r\nSent: d\r\nTo: t\r\nCc: c\r\nBcc: b\r\nSubject: s\r\nPriority: p\r\n"
        "Attachments: x.doc; y.pdf\r\n\r\nBODY";
    for (const uint32_t charset : {0u, kCyrillic}) {  // none asked for, or the message's own
        ScriptedMessage message(kMessage);
        message.services.convert = marked;
        EXPECT_EQ(message.render(0, charset).bytes, expected);
        EXPECT_EQ(message.resultFlags, 0u);
        EXPECT_TRUE(message.services.calls.empty());
        EXPECT_EQ(message.render(2, charset).bytes, "BODY");
    }
}

// KEPT: the wide label of the priority row is another one.
TEST(RenderText, SixteenBit) {
    ScriptedMessage message(kMessage);
    message.services.convert = marked;
    const Extracted content = message.render(0, 51);
    // KEPT: the body goes through the conversion between charsets, to 16-bit text as well.
    EXPECT_EQ(
        content.bytes,
        wide("From: <f>\r\nSent: <d>\r\nTo: <t>\r\nCc: <c>\r\nBcc: <b>\r\nSubject: <s>\r\nImportance: <p>\r\n"
             "Attachments: <x.doc>; <y.pdf>\r\n\r\n") +
            "<51:BODY>");
    EXPECT_EQ(message.resultFlags, EML_EXTRACT_CONVERTED);
    for (const HostConversion& call : message.services.calls)
        EXPECT_EQ(call.from, kCyrillic) << "the message's charset";
    EXPECT_EQ(message.render(2, 51).bytes, "<51:BODY>");
}

TEST(RenderText, AnyOtherCharset) {
    ScriptedMessage message(kMessage);
    message.services.convert = marked;
    EXPECT_EQ(message.render(0, 53).bytes,
              "From: <53:f>\r\nSent: <53:d>\r\nTo: <53:t>\r\nCc: <53:c>\r\nBcc: <53:b>\r\nSubject: <53:s>\r\n"
              "Priority: <53:p>\r\nAttachments: <53:x.doc>; <53:y.pdf>\r\n\r\n<53:BODY>");
    EXPECT_EQ(message.resultFlags, EML_EXTRACT_CONVERTED);
    for (const HostConversion& call : message.services.calls) {
        EXPECT_TRUE(call.between);
        EXPECT_EQ(call.from, kCyrillic);
        EXPECT_EQ(call.current, 53u);
    }
    EXPECT_EQ(message.render(2, 7).bytes, "<7:BODY>");
}

TEST(RenderText, TheAskedCharsetIsTakenAndReset) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    EmlExtractInfo info{0x100, 53};
    (void)opened.extract(0, 2, &info);
    EXPECT_EQ(info.outputCharset, 0u);
    EXPECT_EQ(info.resultFlags, 0x100 | EML_EXTRACT_CONVERTED) << "bits are added";
    info.resultFlags = 0;
    EXPECT_EQ(opened.extract(0, 2, &info).bytes, "BODY") << "it holds for one extraction";
    EXPECT_EQ(info.resultFlags, 0u);
    EXPECT_EQ(opened.extract(0, 2, nullptr).bytes, "BODY");
}

// Preferring the rich body drops the charset, also where there is only a plain one.
TEST(RenderText, PreferRichMeansNoConversion) {
    for (const uint32_t options : {4u, 6u}) {
        ScriptedMessage message(kMessage);
        message.services.convert = marked;
        EXPECT_TRUE(message.render(options, 53).bytes.ends_with("BODY"));
        EXPECT_TRUE(message.services.calls.empty());
    }
}

// KEPT: a conversion needs both charsets.
TEST(RenderText, AMessageWithoutCharsetIsNotConverted) {
    ScriptedMessage message(kMessage);
    message.services.convert = marked;
    message.context().charset = 0;
    EXPECT_TRUE(message.render(0, 53).bytes.ends_with("\r\nBODY"));
    EXPECT_TRUE(message.render(0, 51).bytes.ends_with("\r\nBODY"));
    EXPECT_TRUE(message.services.calls.empty());
}

// KEPT: without a name the line end that closes the block is an 8-bit one, in 16-bit text as well.
TEST(RenderText, TheLineEndsThatCloseTheBlock) {
    const std::string message = textMessage("Subject: s\n", "BODY");
    ScriptedMessage text(message);
    text.services.convert = marked;
    EXPECT_EQ(text.render(0).bytes, "Subject: s\r\n\r\nBODY");
    EXPECT_EQ(text.render(0, 53).bytes, "Subject: <53:s>\r\n\r\n<53:BODY>");
    EXPECT_EQ(text.render(0, 51).bytes, wide("Subject: <s>\r\n") + "\r\n<51:BODY>");
    RecordingHost host("\n");
    OpenedMessage opened(host);
    EXPECT_EQ(opened.extract(0).bytes, "\r\n") << "nothing else to say";
    EXPECT_EQ(opened.extract(0, 2).bytes, "");
}

// A conversion that gives nothing leaves out its line; the label and the separators belong to what is
// written.
TEST(RenderText, ConversionsThatGiveNothing) {
    struct Row {
        const char* dropped;  // the sources that give nothing
        uint32_t charset;
        std::string expected;
    };
    const std::string head53 =
        "From: <53:f>\r\nSent: <53:d>\r\nTo: <53:t>\r\nCc: <53:c>\r\nBcc: <53:b>\r\nPriority: <53:p>\r\n";
    const std::string head51 =
        wide("From: <f>\r\nSent: <d>\r\nTo: <t>\r\nCc: <c>\r\nBcc: <b>\r\nImportance: <p>\r\n");
    const Row rows[] = {
        {"|s|x.doc|", 53, head53 + "Attachments: <53:y.pdf>\r\n\r\n<53:BODY>"},
        {"|s|y.pdf|", 53, head53 + "Attachments: <53:x.doc>\r\n\r\n<53:BODY>"},
        {"|s|x.doc|y.pdf|", 53, head53 + "\r\n<53:BODY>"},
        {"|s|BODY|", 53, head53 + "Attachments: <53:x.doc>; <53:y.pdf>\r\n\r\n"},
        {"|s|x.doc|", 51, head51 + wide("Attachments: <y.pdf>\r\n\r\n") + "<51:BODY>"},
        {"|s|x.doc|y.pdf|", 51, head51 + "\r\n<51:BODY>"},
    };
    for (const Row& row : rows) {
        ScriptedMessage message(kMessage);
        message.services.convert = [&](const HostConversion& call) {
            return std::string(row.dropped).find("|" + call.source + "|") != std::string::npos ? ""
                                                                                               : marked(call);
        };
        const Extracted content = message.render(0, row.charset);
        EXPECT_EQ(escaped(content.bytes), escaped(row.expected)) << row.dropped;
        EXPECT_EQ(content.result, EML_OK);
        EXPECT_EQ(message.resultFlags, EML_EXTRACT_CONVERTED);
    }
}

// The flag stands for output of a conversion: without any it is not set.
TEST(RenderText, ConvertedIsSetOnlyWhenSomethingCameOut) {
    for (const uint32_t charset : {51u, 53u}) {
        ScriptedMessage message(kMessage);
        EXPECT_EQ(message.render(0, charset).bytes, "\r\n");
        EXPECT_EQ(message.resultFlags, 0u);
        EXPECT_EQ(message.render(2, charset).bytes, "");
        EXPECT_EQ(message.resultFlags, 0u);
    }
    ScriptedMessage message(kMessage);
    message.services.convert = [](const HostConversion& call) {
        return call.source == "BODY" ? marked(call) : "";
    };
    EXPECT_EQ(message.render(0, 53).bytes, "\r\n<53:BODY>");
    EXPECT_EQ(message.resultFlags, EML_EXTRACT_CONVERTED) << "the body alone";
}

TEST(RenderText, BodiesByTheirEncoding) {
    struct Row {
        const char* encoding;
        std::string body;
        std::string expected;
    };
    const Row rows[] = {
        {"7bit", "a=3D\r\nb\xFF_", "a=3D\r\nb\xFF_"},
        {"base64", "YQ0KYg==", "a\nb"},
        {"base64", "-", ""},
        {"quoted-printable", "a=3Db=\r\nc_d\r\n", "a=bc_d\r\n"},
        {"quoted-printable", "a=0D=0Ab", "a\nb"},
        {"quoted-printable", "a=20\r\nb", "a b"},  // KEPT: "=20" CR LF joins lines
        {"quoted-printable", "a=20\nb", "a \nb"},  // LF alone does not
        {"quoted-printable", "a=20\r", "a "},
        {"quoted-printable", "a=20\rxb", "a b"},  // CR and whatever follows
        {"quoted-printable", "a=20", "a 0"},      // KEPT: its digit again
        {"quoted-printable", "a=20\xFF", "a "},   // but not before 0xFF
        {"quoted-printable",
         "a\xFF"
         "b",
         "a"},  // KEPT: 0xFF ends it
        {"quoted-printable", "\xFF", ""},
        {"quoted-printable", "a=", "a\xFF"},
    };
    for (const Row& row : rows) {
        for (const HeapMode mode : {HeapMode::kPlain, HeapMode::kGuarded}) {
            RecordingHost host(
                textMessage(std::string("Content-Transfer-Encoding: ") + row.encoding + "\n", row.body),
                {.heapMode = mode});
            OpenedMessage opened(host);
            EXPECT_EQ(escaped(opened.extract(0, 2).bytes), escaped(row.expected))
                << row.encoding << " " << escaped(row.body);
        }
    }
}

// A conversion that gives what it is given, and what it was given.
struct Copying {
    explicit Copying(ScriptedMessage& message) {
        message.services.convert = [this](const HostConversion& call) {
            if (!call.sizing) pieces.push_back(call.source);
            return call.source;
        };
    }
    std::vector<std::string> pieces;
};

std::string quotedPrintable(const std::string& text) {
    std::string quoted;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i % 70 == 69) quoted += "=\r\n";
        quoted += text[i];
    }
    return quoted;
}

std::string base64Of(const std::string& text) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string digits;
    for (size_t i = 0; i + 2 < text.size(); i += 3) {
        const uint32_t group = static_cast<uint32_t>(static_cast<uint8_t>(text[i])) << 16 |
                               static_cast<uint32_t>(static_cast<uint8_t>(text[i + 1])) << 8 |
                               static_cast<uint8_t>(text[i + 2]);
        for (uint32_t shift = 24; shift != 0;) digits += kDigits[group >> (shift -= 6) & 63];
        if (i % 57 == 54) digits += "\r\n";
    }
    return digits;
}

// Words of up to 40 letters, all of which could be the second byte of a character.
std::string manyWords(size_t size) {
    std::string text;
    for (size_t i = 0; text.size() < size; ++i)
        text += std::string(1 + i * 7 % 40, static_cast<char>('0' + i % 200)) + (i % 11 == 10 ? "\n" : " ");
    return text.substr(0, size);
}

std::string withoutFF(std::string text) {
    std::erase(text, '\xFF');
    std::erase(text, '=');
    return text;
}

// Pieces end after a byte that is no part of a longer character, and together are the text.
TEST(RenderText, LongTextIsConvertedInPieces) {
    const std::string text = withoutFF(manyWords(99999)).substr(0, 90000);
    struct Row {
        const char* encoding;
        std::string body;
        bool ascii;
    };
    for (const Row& row : {Row{"8bit", text, false}, Row{"quoted-printable", quotedPrintable(text), false},
                           Row{"base64", base64Of(text), false}}) {
        ScriptedMessage message(textMessage(std::string("Content-Type: text/plain; charset=koi8-r\n") +
                                                "Content-Transfer-Encoding: " + row.encoding + "\n",
                                            row.body));
        const Copying copying(message);
        const Extracted content = message.render(2, 53);
        EXPECT_TRUE(content.bytes == text) << row.encoding;
        EXPECT_EQ(content.result, EML_OK);
        EXPECT_EQ(message.resultFlags, EML_EXTRACT_CONVERTED);
        EXPECT_GT(copying.pieces.size(), 3u) << row.encoding;
        for (size_t i = 0; i + 1 < copying.pieces.size(); ++i) {
            EXPECT_LT(static_cast<uint8_t>(copying.pieces[i].back()), '0') << row.encoding;
            EXPECT_LT(copying.pieces[i].size(), 25000u);
        }
        EXPECT_LE(message.services.heap().largestBlock(), 50000u);
    }
}

// Text that cannot be cut, and charsets whose characters depend on what stands before them, are one piece.
TEST(RenderText, SomeTextIsConvertedWhole) {
    const std::string words = withoutFF(manyWords(60000));
    const std::string oneWord(60000, 'x');
    struct Row {
        const char* charset;
        uint32_t target;
        const std::string& text;
    };
    for (const Row& row : {Row{"koi8-r", 53, oneWord}, Row{"iso-2022-jp", 53, words}, Row{"utf-7", 53, words},
                           Row{"utf-16", 53, words}, Row{"koi8-r", 51, words}, Row{"koi8-r", 52, words},
                           Row{"koi8-r", 54, words}, Row{"koi8-r", 55, words}, Row{"koi8-r", 200, words}}) {
        ScriptedMessage message(
            textMessage(std::string("Content-Type: text/plain; charset=") + row.charset + "\n", row.text));
        const Copying copying(message);
        EXPECT_TRUE(message.render(2, row.target).bytes == row.text) << row.charset << row.target;
        EXPECT_EQ(copying.pieces.size(), 1u) << row.charset << row.target;
    }
}

// As if it were one conversion: where a piece gives nothing, nothing is written.
TEST(RenderText, APieceThatGivesNothingLeavesOutTheBody) {
    const std::string words = withoutFF(manyWords(60000));
    for (const bool sizing : {true, false}) {
        ScriptedMessage message(
            textMessage("Content-Type: text/plain; charset=koi8-r\n", words + " \x01 " + words));
        message.services.convert = [&](const HostConversion& call) {
            const bool fails = call.sizing == sizing && call.source.find('\x01') != std::string::npos;
            return fails ? "" : call.source;
        };
        const Extracted content = message.render(2, 53);
        EXPECT_EQ(content.result, EML_OK);
        if (sizing) {
            EXPECT_EQ(content.bytes, "");
            EXPECT_EQ(message.resultFlags, 0u);
        } else {
            EXPECT_TRUE(words.starts_with(content.bytes)) << "a host that contradicts itself";
        }
    }
}

// Reads of at most 4096 bytes, up to the length or the first read that gives nothing; only what came is used.
TEST(RenderText, ReadingABody) {
    std::string body;
    for (int i = 0; i < 10000; ++i) body += static_cast<char>('a' + i % 26);
    struct Row {
        ReadStyle style;
        EmlResult result;
        size_t length;
    };
    for (const Row& row :
         {Row{ReadStyle::kFull, EML_OK, 10000}, Row{ReadStyle::kOneByte, EML_OK, 10000},
          Row{ReadStyle::kHalf, EML_OK, 10000}, Row{ReadStyle::kMoreThanAsked, EML_OK, 10000},
          Row{ReadStyle::kMinusOne, EML_INPUT_UNUSABLE, 0}}) {
        RecordingHost host(textMessage("", body), {.heapMode = HeapMode::kGuarded});
        OpenedMessage opened(host);
        host.setReadStyle(row.style);
        const Extracted content = opened.extract(0, 2);
        EXPECT_EQ(content.result, row.result);
        EXPECT_TRUE(content.bytes == body.substr(0, row.length)) << content.bytes.size();
    }
    for (uint64_t nth = 1; nth <= 3; ++nth) {
        RecordingHost host(textMessage("", body));
        OpenedMessage opened(host);
        host.journal().fail(Entry::kInputRead, {host.journal().calls(Entry::kInputRead) + nth, false});
        const Extracted content = opened.extract(0, 2);
        EXPECT_EQ(content.result, nth == 1 ? EML_INPUT_UNUSABLE : EML_OK);
        EXPECT_TRUE(content.bytes == body.substr(0, static_cast<size_t>(4096 * (nth - 1)))) << nth;
    }
}

// Text that is not converted needs no memory.
TEST(RenderText, Failures) {
    struct Row {
        Entry entry;
        uint32_t charset;
        EmlResult result;
        const char* body;
    };
    for (const Row& row :
         {Row{Entry::kInputSeek, 0, EML_INPUT_UNUSABLE, ""}, Row{Entry::kAllocate, 0, EML_OK, "BODY"},
          Row{Entry::kInputSeek, 53, EML_INPUT_UNUSABLE, ""}, Row{Entry::kAllocate, 53, EML_NO_MEMORY, ""}}) {
        ScriptedMessage message(kMessage);
        message.services.convert = [](const HostConversion& call) {
            return call.source == "BODY" ? "x" : "";
        };
        message.context();
        Journal& journal =
            row.entry == Entry::kAllocate ? message.services.journal() : message.host.journal();
        journal.fail(row.entry, {journal.calls(row.entry) + 1, true});
        const Extracted content = message.render(0, row.charset);
        EXPECT_EQ(content.result, row.result) << entryName(row.entry);
        EXPECT_TRUE(content.bytes.ends_with("\r\n\r\n" + std::string(row.body)) ||
                    content.bytes == "\r\n" + std::string(row.body))
            << "the header block stays: " << escaped(content.bytes);
    }
}

// A length above 2^31 - 1 is no memory, and no block of that size is asked for.
TEST(RenderText, ABodyOfTwoGigabytesAndMore) {
    for (const uint64_t size : {uint64_t{1} << 31, (uint64_t{1} << 32) + 5, uint64_t{1} << 40}) {
        const std::string header = "Subject: s\n\n";
        RecordingHost host(header);
        host.extendTo(header.size() + size);
        OpenedMessage opened(host);
        const Extracted content = opened.extract(0, 2);
        EXPECT_EQ(content.result, EML_NO_MEMORY) << size;
        EXPECT_EQ(content.bytes, "");
        EXPECT_LE(host.heap().largestBlock(), 8192u);
    }
}

// A conversion that cannot have its buffer leaves out its line or the body; the result stays.
TEST(RenderText, ConversionsWithoutMemoryOnlyLeaveOutTheirPiece) {
    for (const uint32_t charset : {51u, 53u}) {
        ScriptedMessage whole(kMessage);
        whole.services.convert = marked;
        const uint64_t before = (whole.context(), whole.services.journal().calls(Entry::kAllocate));
        const size_t full = whole.render(0, charset).bytes.size();
        const uint64_t calls = whole.services.journal().calls(Entry::kAllocate) - before;
        EXPECT_EQ(calls, 7u + 2 + 1 + 1) << "rows, names, the body and its conversion";
        uint64_t refused = 0;
        for (uint64_t nth = 1; nth <= calls; ++nth) {
            ScriptedMessage message(kMessage);
            message.services.convert = marked;
            message.context();
            message.services.journal().fail(Entry::kAllocate, {before + nth, false});
            const Extracted content = message.render(0, charset);
            if (content.result == EML_NO_MEMORY) ++refused;
            EXPECT_LT(content.bytes.size(), full);
        }
        EXPECT_EQ(refused, 1u) << "only the body's own block is needed";
    }
}

// A host whose second call says more than its first: what it says is refused.
TEST(RenderText, ContradictingConversionsLeaveOutTheirPiece) {
    for (const uint32_t second : {1000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        for (const uint32_t charset : {51u, 53u}) {
            ScriptedMessage message(kMessage, 0, {.heapMode = HeapMode::kGuarded});
            message.services.convert = marked;
            message.services.claim = [&](const HostConversion& call, uint32_t& length) {
                if (!call.sizing) length = second;
            };
            EXPECT_EQ(escaped(message.render(0, charset).bytes), "\\r\\n");
            EXPECT_EQ(message.resultFlags, 0u);
        }
    }
}

// As one conversion would: what it gives must have a size of 31 bits, and no block is asked for before.
TEST(RenderText, PiecesThatAreHugeTogetherAreRefused) {
    ScriptedMessage message(
        textMessage("Content-Type: text/plain; charset=koi8-r\n", withoutFF(manyWords(60000))));
    message.services.convert = [](const HostConversion& call) { return call.source; };
    message.services.claim = [](const HostConversion& call, uint32_t& length) {
        if (call.sizing) length = 0x30000000;
    };
    EXPECT_EQ(message.render(2, 53).bytes, "");
    EXPECT_EQ(message.resultFlags, 0u);
    EXPECT_LE(message.services.heap().largestBlock(), 1u << 20);
}

TEST(RenderText, HugeSizesAreRefused) {
    for (const uint32_t size : {0x80000000u, 0xFFFFFFFDu, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        ScriptedMessage message(kMessage, 0, {.heapMode = HeapMode::kGuarded});
        message.services.convert = marked;
        message.services.claim = [&](const HostConversion&, uint32_t& length) { length = size; };
        EXPECT_EQ(message.render(0, 53).bytes, "\r\n");
        EXPECT_LE(message.services.heap().largestBlock(), 1u << 20);
    }
}

// The buffer that a decoded body leaves is used again or released, never lost.
TEST(RenderText, TheDecodedBufferIsNotLost) {
    RecordingHost host(
        textMessage("Content-Transfer-Encoding: quoted-printable\nSubject: s\n", std::string(20000, 'x')));
    OpenedMessage opened(host);
    uint64_t live = 0;
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(opened.extract(0, 2).bytes.size(), 20000u);
        if (i == 0) live = host.heap().liveBytes();
        EXPECT_EQ(host.heap().liveBytes(), live);
        EmlMetaDataRequest request{1, "Subject"};
        EmlMetaDataRequest* requests[] = {&request};
        EmlMetaData list{};
        EXPECT_EQ(emlGetSubFileMetadata2(opened.context(), 0, 1, requests, &list, &host.record()), EML_OK);
        EXPECT_STREQ(list.entries[0]->value, "s");
        for (void* block :
             {static_cast<void*>(list.entries[0]->value), static_cast<void*>(list.entries[0]->name),
              static_cast<void*>(list.entries[0]), static_cast<void*>(list.entries)}) {
            host.recordHeap().give(block);
        }
    }
}

TEST(RenderText, LongValuesAndNamesArriveWhole) {
    for (const size_t length : std::initializer_list<size_t>{1000, 3980, 3990, 4000, 4096, 9000}) {
        const std::string value(length, 'v');
        const std::string name = value.substr(0, 1000);
        const std::string message =
            crlf("From: f\nSubject: s\n " + value +
                 "\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\nBODY\n--b\nContent-Type: "
                 "image/png; name=" +
                 name + "\n\n1\n--b--\n");
        RecordingHost host(message, {.heapMode = HeapMode::kGuarded});
        OpenedMessage opened(host);
        EXPECT_TRUE(opened.extract(0).bytes ==
                    "From: f\r\nSubject: s " + value + "\r\nAttachments: " + name + "\r\n\r\nBODY")
            << length;
    }
}

}  // namespace
}  // namespace eml::test

// The message as RTF.
#include <gtest/gtest.h>

#include "host/scripted_services.h"
#include "reference/packed_rtf.h"
#include "support/sections.h"

namespace eml::test {
namespace {

std::string preamble(int codePage = 1252, int fontCharset = 0) {
    return "{\\rtf1\\ansi\\ansicpg" + std::to_string(codePage) + "\\deff0 {\\fonttbl{\\f0\\fcharset" +
           std::to_string(fontCharset) + " Arial;}}\\f0\\fs20";
}

std::string rtfMessage(const std::string& header, const std::string& body) {
    return crlf(header + "Content-Type: application/rtf\n\n") + body;
}

std::string render(const std::string& message, uint32_t options = 0) {
    RecordingHost host(message, {.heapMode = HeapMode::kGuarded});
    OpenedMessage opened(host);
    const Extracted content = opened.extract(0, options);
    EXPECT_EQ(content.result, EML_OK);
    return content.bytes;
}

TEST(RenderRtf, OnlyABody) {
    EXPECT_EQ(render(rtfMessage("", "{\\rtf1 x}")), preamble() + "\\par \\rtf1 x}");
    EXPECT_EQ(render(rtfMessage("", "")), preamble() + "\\par ") << "an empty body";
}

TEST(RenderRtf, RowsInTheirOrder) {
    EXPECT_EQ(render(rtfMessage("Importance: High\nSubject: s\nBcc: b\nCc: c\nTo: t\nDate: d\nFrom: f\n",
                                "{\\rtf1 x}")),
              preamble() +
                  "\\b From: \\b0 f\\par \\b Sent: \\b0 d\\par \\b To: \\b0 t\\par \\b Cc: \\b0 c\\par \\b "
                  "Bcc: \\b0 b\\par "
                  "\\b Subject: \\b0 s\\par \\b Priority: \\b0 High\\par \\par \\rtf1 x}");
}

// KEPT: three characters between names.
TEST(RenderRtf, Attachments) {
    const std::string message = multipart("mixed",
                                          "--b\nContent-Type: application/rtf\n\n{\\rtf1 x}\n"
                                          "--b\nContent-Type: image/png; name=x{1}.doc\n\n1\n"
                                          "--b\nContent-Type: image/png; name=C:\\y.pdf\n\n2\n--b--\n");
    EXPECT_EQ(render(message),
              preamble() + "\\b Attachments: \\b0 x\\{1\\}.doc; FC:\\\\y.pdf\\par \\par \\rtf1 x}");
}

TEST(RenderRtf, BodyOnlyKeepsItsBrace) {
    for (const uint32_t options : {2u, 6u})
        EXPECT_EQ(render(rtfMessage("Subject: s\n", "{\\rtf1 x}"), options), "{\\rtf1 x}");
}

// Once for the text of the body, and once when all is written, for the size.
TEST(RenderRtf, PositionOfTheOutputIsAskedForOnce) {
    for (const uint32_t options : {0U, EML_EXTRACT_BODY_ONLY}) {
        RecordingHost host(rtfMessage("Subject: s\n", "{\\rtf1 x}"));
        OpenedMessage opened(host);
        host.journal().record();
        (void)opened.extract(0, options);
        const std::string header = options == 0 ? "output.write " : "";
        EXPECT_EQ(host.journal().sequenceText(),
                  "output.open output.seek " + header +
                      "input.seek allocate input.read output.tell output.write free output.seek output.tell "
                      "output.close");
    }
}

// KEPT: only the four East Asian code pages have a font charset.
TEST(RenderRtf, CodePages) {
    struct Row {
        uint32_t charset;
        int codePage, fontCharset;
    };
    const Row rows[] = {{0, 1252, 0},         {1, 932, 128}, {2, 936, 134}, {3, 950, 136},
                        {4, 949, 129},        {5, 1250, 0},  {6, 1251, 0},  {7, 1252, 0},
                        {8, 1253, 0},         {9, 1254, 0},  {10, 1255, 0}, {11, 1256, 0},
                        {12, 1257, 0},        {13, 1258, 0}, {14, 1252, 0}, {24, 1252, 0},
                        {51, 1252, 0},        {53, 1252, 0}, {94, 1252, 0}, {0x7FFFFFFF, 1252, 0},
                        {0xFFFFFFFF, 1252, 0}};
    RecordingHost host(rtfMessage("", "{\\rtf1 x}"));
    OpenedMessage opened(host);
    for (const Row& row : rows) {
        opened.context()->charset = row.charset;
        EXPECT_EQ(opened.extract(0).bytes, preamble(row.codePage, row.fontCharset) + "\\par \\rtf1 x}")
            << row.charset;
    }
}

TEST(RenderRtf, CodePagesOfRealMessages) {
    EXPECT_EQ(render(crlf("Content-Type: application/rtf; charset=shift_jis\n\n{\\rtf1 x}")),
              preamble(932, 128) + "\\par \\rtf1 x}");
    EXPECT_EQ(render(crlf("Content-Type: application/rtf; charset=utf-8\n\n{\\rtf1 x}")),
              preamble() + "\\par \\rtf1 x}");
}

// The value of the subject row, for a host in which the bytes 0x81 to 0xFE lead.
std::string subjectRow(const std::string& value, bool leads = true, uint32_t charset = 1) {
    std::string encoded = "=?x?Q?";
    for (const char letter : value) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "=%02X", static_cast<unsigned>(static_cast<uint8_t>(letter)));
        encoded += digits;
    }
    ScriptedMessage message(rtfMessage("Subject: " + encoded + "?=\n", "{\\rtf1 x}"), 0,
                            {.heapMode = HeapMode::kGuarded});
    message.services.leadByte = [&](uint32_t byte, uint32_t asked) {
        EXPECT_EQ(asked, charset) << "asked with the message's charset";
        return leads && byte >= 0x81 && byte <= 0xFE;
    };
    message.context().charset = charset;
    std::string bytes = message.render().bytes;
    const std::string label = "\\b Subject: \\b0 ", end = "\\par \\par \\rtf1 x}";
    const size_t at = bytes.find(label);
    EXPECT_NE(at, std::string::npos);
    EXPECT_TRUE(bytes.ends_with(end));
    return bytes.substr(at + label.size(), bytes.size() - end.size() - at - label.size());
}

TEST(RenderRtf, Escaping) {
    EXPECT_EQ(subjectRow("a\\b{c}d"), "a\\\\b\\{c\\}d");
    EXPECT_EQ(subjectRow("\x83\x5C"), "\\'83\\'5c") << "the second byte of a pair is no backslash";
    EXPECT_EQ(subjectRow("a\xE0\x41z"), "a\\'e0\\'41z");
    EXPECT_EQ(subjectRow("\xFE\xFE\x81{"), "\\'fe\\'fe\\'81\\'7b") << "both bytes of a pair are consumed";
    EXPECT_EQ(subjectRow("a\x83"), "a\x83") << "a lead byte at the end stands alone";
    EXPECT_EQ(subjectRow("\x83"), "\x83");
    EXPECT_EQ(subjectRow("\x80\xFF"), "\x80\xFF") << "no lead bytes: as they are, unsigned";
    EXPECT_EQ(subjectRow("\x83\x5C", false), "\x83\\\\");
    EXPECT_EQ(subjectRow(std::string("\x83\0z", 3)), std::string("\\'83\\'00z"))
        << "a zero byte as the second";
    EXPECT_EQ(subjectRow(std::string("a\0z", 3)), std::string("a\0z", 3));
    EXPECT_EQ(subjectRow("\x90\x91", true, 4), "\\'90\\'91");
}

TEST(RenderRtf, AHostWithoutLeadBytesHasNone) {
    ScriptedMessage message(crlf("Subject: \x83\x5C\nContent-Type: application/rtf\n\n{\\rtf1 x}"));
    message.services.record().isLeadByte = nullptr;
    EXPECT_EQ(message.render().bytes, preamble() + "\\b Subject: \\b0 \x83\\\\\\par \\par \\rtf1 x}");
}

TEST(RenderRtf, LongValuesArriveWhole) {
    for (const size_t length :
         std::initializer_list<size_t>{3950, 3970, 3980, 3990, 3995, 3996, 4000, 4090, 4096, 9000}) {
        for (const char* unit : {"v", "\\", "\x83\x5C"}) {
            std::string value, escaped;
            while (value.size() < length) {
                value += unit;
                escaped += unit[0] == 'v' ? "v" : unit[0] == '\\' ? "\\\\" : "\\'83\\'5c";
            }
            ScriptedMessage message(rtfMessage("Subject: x\n " + value + "\n", "{\\rtf1 x}"), 0,
                                    {.heapMode = HeapMode::kGuarded});
            message.services.leadByte = [](uint32_t byte, uint32_t) { return byte == 0x83; };
            const Extracted content = message.render();
            // A pair that the border of a read cuts would be two bytes: the read buffer holds the header
            // here.
            EXPECT_TRUE(content.bytes ==
                        preamble() + "\\b Subject: \\b0 x " + escaped + "\\par \\par \\rtf1 x}")
                << length << " " << unit;
            for (const uint32_t size : content.writes) EXPECT_LE(size, 4096u);
            EXPECT_LE(content.writes.size(), 3 + escaped.size() / 3900);
        }
    }
}

TEST(RenderRtf, BodiesByTheirEncodingAndPacking) {
    using reference::bytesOf;
    using reference::textOf;
    const std::string text = "{\\rtf1\\ansi some text, some text}";
    struct Row {
        const char* encoding;
        std::string body;
        std::string expected;  // after a header
    };
    std::string stored = textOf(reference::packedRtfHeader("MELA", 5)) + "{\\rtf1";
    const Row rows[] = {
        {"7bit", "{\\rtf1 x}", "\\rtf1 x}"},
        {"quoted-printable", "{\\rtf1=\r\n =7D", "\\rtf1 }"},
        {"quoted-printable", "{\\r_=20\r\nb}", "{\\r_ b}"},  // KEPT: "=20" CR LF joins lines
        {"quoted-printable", "{\\r}=20", "{\\r} 0"},         // KEPT: its digit again
        {"base64", "e1xydGYxIHh9", "\\rtf1 x}"},
        {"8bit", stored, "{\\rtf"},
        {"8bit", textOf(reference::packRtf(bytesOf(text))), text.substr(1)},
        {"7bit", text, text.substr(16)},  // KEPT: plain RTF of more than 16 bytes loses 16
    };
    for (const Row& row : rows) {
        const std::string message =
            rtfMessage(std::string("Content-Transfer-Encoding: ") + row.encoding + "\n", row.body);
        EXPECT_EQ(render(message), preamble() + "\\par " + row.expected)
            << row.encoding << " " << row.expected;
    }
}

std::string base64Of(const reference::Bytes& bytes) {
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const uint32_t group = bytes[i] * 65536u + (i + 1 < bytes.size() ? bytes[i + 1] * 256u : 0) +
                               (i + 2 < bytes.size() ? bytes[i + 2] : 0u);
        for (int digit = 0; digit < 4; ++digit) {
            text +=
                i + static_cast<size_t>(digit) > bytes.size() ? '=' : kDigits[group >> (18 - 6 * digit) & 63];
        }
    }
    return text;
}

// KEPT: base64 RTF bodies go through the buffer decoder, which drops CR, in packed bodies as well.
TEST(RenderRtf, CrIsDroppedFromBase64Bodies) {
    using reference::bytesOf;
    const reference::Bytes plain = bytesOf("{\\rtf1\r\nx\r}");
    EXPECT_EQ(render(rtfMessage("Content-Transfer-Encoding: base64\n", base64Of(plain)), 2), "{\\rtf1\nx}");
    reference::Bytes packed = reference::packRtf(bytesOf("{\\rtf1 some text\r\n\\par }"));
    reference::Bytes dropped;
    for (const uint8_t byte : packed) {
        if (byte != 13) dropped.push_back(byte);
    }
    ASSERT_LT(dropped.size(), packed.size());
    EXPECT_EQ(render(rtfMessage("Content-Transfer-Encoding: base64\n", base64Of(packed)), 2),
              reference::textOf(reference::textOfRtfBody(dropped)));
}

TEST(RenderRtf, ATwentyByteBodyThatClaimsFourGigabytes) {
    reference::Bytes body = reference::packedRtfHeader("LZFu", 0xFFFFFFFF);
    body.insert(body.end(), {0x02, 'x', 0x0C, 0xFF});
    RecordingHost host(rtfMessage("Content-Transfer-Encoding: base64\n", base64Of(body)));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.extract(0, 2).bytes, reference::textOf(reference::textOfRtfBody(body)));
    EXPECT_LE(host.heap().largestBlock(), 8192u);
}

TEST(RenderRtf, Failures) {
    const std::string message = rtfMessage("", "{\\rtf1 x}");
    struct Row {
        Entry entry;
        EmlResult result;
    };
    for (const Row& row :
         {Row{Entry::kInputSeek, EML_INPUT_UNUSABLE}, Row{Entry::kInputRead, EML_INPUT_UNUSABLE},
          Row{Entry::kAllocate, EML_NO_MEMORY}}) {
        RecordingHost host(message);
        OpenedMessage opened(host);
        host.journal().fail(row.entry, {host.journal().calls(row.entry) + 1, true});
        const Extracted content = opened.extract(0);
        EXPECT_EQ(content.result, row.result) << entryName(row.entry);
        EXPECT_EQ(content.bytes, preamble() + "\\par ") << "the header block stays";
        EXPECT_TRUE(content.closed);
    }
}

}  // namespace
}  // namespace eml::test

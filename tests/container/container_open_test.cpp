// The open: its codes, the message's own header, and the messages without parts.
#include <gtest/gtest.h>

#include "container/encoded_words.h"
#include "support/sections.h"

namespace eml::test {
namespace {

TEST(Open, InputThatCannotBeOpenedGivesNoContext) {
    for (const bool missing : {true, false}) {
        RecordingHost host("Subject: x\r\n\r\n");
        if (missing) {
            host.remove(Entry::kInputOpen);
        } else {
            host.journal().fail(Entry::kInputOpen, {1, false});
        }
        OpenedMessage opened(host);
        EXPECT_EQ(opened.context(), nullptr);
        EXPECT_EQ(opened.result(), EML_INPUT_NOT_OPENED);
        EXPECT_EQ(host.heap().peakBytes(), 0U) << "nothing is allocated before the input is open";
    }
}

TEST(Open, MissingInputGivesNoContext) {
    RecordingHost host;
    EmlResult result = EML_OK;
    EXPECT_EQ(emlInit2(nullptr, &host.services(), 0, 0, 0, &result), nullptr);
    EXPECT_EQ(result, EML_INPUT_NOT_OPENED);
}

TEST(Open, InputWithoutCloseGivesNoContext) {
    RecordingHost host("Subject: x\r\n\r\n");
    host.remove(Entry::kInputClose);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context(), nullptr);
    EXPECT_EQ(opened.result(), EML_INPUT_UNUSABLE);
    EXPECT_EQ(host.journal().calls(Entry::kInputOpen), 1U) << "open is looked at before close";
}

TEST(Open, OpenIsJudgedBeforeClose) {
    RecordingHost host;
    host.remove(Entry::kInputClose);
    host.remove(Entry::kInputOpen);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_INPUT_NOT_OPENED);
}

TEST(Open, MemoryThatRunsOutBeforeTheScanGivesNoContext) {
    for (const uint64_t nth : {uint64_t{1}, uint64_t{2}}) {
        RecordingHost host("Subject: x\r\n\r\n");
        host.journal().fail(Entry::kAllocate, {nth, false});
        OpenedMessage opened(host);
        EXPECT_EQ(opened.context(), nullptr);
        EXPECT_EQ(opened.result(), EML_NO_MEMORY);
    }
}

TEST(Open, ReservedArgumentsAndOtherFlagsAreIgnored) {
    RecordingHost host("Subject: x\r\n\r\n");
    EmlResult result = UINT32_MAX;
    const uint32_t otherBits =
        ~(EML_OPEN_CONVERTED_ATTACHMENTS | EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER);
    EmlContainerContext* context =
        emlInit2(&host.input(), &host.services(), otherBits, 77, UINT32_MAX, &result);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(result, EML_OK);
    EmlContainerInfo info{};
    EXPECT_EQ(emlGetContainerInfo2(context, &info, &host.record()), EML_OK);
    EXPECT_EQ(info.subFileCount, 1U);
    emlShutdown2(context);
    EXPECT_TRUE(host.inputClosed());
}

TEST(Open, CloseOfNothingIsIgnored) { emlShutdown2(nullptr); }

// A boundary that never occurs leaves the position at the body, also where the open ends there.
TEST(Open, ScanWithoutPartsLeavesThePositionAtTheBody) {
    RecordingHost host("Content-Type: multipart/mixed; boundary=b\r\n\r\nfirst\r\nsecond\r\n");
    host.journal().fail(Entry::kAllocate, {4, false});  // after context, buffer and boundary: the section
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_NO_MEMORY);
    ASSERT_NE(opened.context(), nullptr);
    ASSERT_EQ(eml2GetLine(opened.context()), 1);
    EXPECT_STREQ(reinterpret_cast<const char*>(opened.context()->lineBuffer), "first\r\n");
}

TEST(Open, CloseEndsTheInputOnce) {
    RecordingHost host("Subject: x\r\n\r\n");
    OpenedMessage opened(host);
    EXPECT_EQ(host.journal().calls(Entry::kInputClose), 0U);
    opened.close();
    EXPECT_EQ(host.journal().calls(Entry::kInputClose), 1U);
}

TEST(Open, EmptyInputIsOneSectionInTheDefaultCharset) {
    RecordingHost host;
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OK);
    const auto sections = sectionsOf(opened);
    ASSERT_EQ(sections.size(), 1U);
    EXPECT_EQ(sections[0]->start, 0);
    EXPECT_EQ(sections[0]->end, 0);
    EXPECT_EQ(opened.charset(), 7U);
    EXPECT_EQ(opened.subFileCount(), 1U);
}

TEST(Open, MessageWithoutEmptyLineHasAnEmptyBody) {
    const std::string message = "Subject: x\r\nFrom: y";
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->bodyOffset, static_cast<int64_t>(message.size()));
    EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "");
    EXPECT_EQ(opened.describe(0).info.size, 0);
}

struct EmptyLineCase {
    const char* rule;
    std::string header;  // its end is where the body begins
};

TEST(Open, EveryLineEndEndsTheHeader) {
    const EmptyLineCase cases[] = {
        {"CR LF", "Subject: x\r\n\r\n"},
        {"lone LF", "Subject: x\n\n"},
        {"lone CR", "Subject: x\r\r"},
        {"mixed", "Subject: x\r\n\n"},
        {"at once", "\r\n"},
        {"LF CR: the empty line is the CR", "Subject: x\n\r"},
    };
    for (const EmptyLineCase& row : cases) {
        SCOPED_TRACE(row.rule);
        const std::string message = row.header + "Body";
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.context()->bodyOffset, static_cast<int64_t>(row.header.size()));
        EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "Body");
    }
}

struct HeaderCase {
    const char* rule;
    const char* header;  // "\n" stands for CR LF
    uint32_t contentClass;
    uint32_t encoding;
    uint32_t charset;
    const char* boundary;
};

constexpr const char* kNone = nullptr;

const HeaderCase kHeaderCases[] = {
    {"no MIME header", "Subject: x\n", 0, 0, 7, kNone},
    {"class, boundary quoted, names in any case", "content-type: Multipart/Mixed; Boundary=\"abc\"\n", 9, 0,
     7, "--abc"},
    {"boundary up to a semicolon", "Content-Type: multipart/mixed; boundary=abc;x\n", 9, 0, 7, "--abc"},
    {"boundary up to a blank", "Content-Type: multipart/mixed; boundary=a bc\n", 9, 0, 7, "--a"},
    {"boundary quoted keeps blanks", "Content-Type: multipart/mixed; boundary=\"a b;c\"\n", 9, 0, 7,
     "--a b;c"},
    {"empty boundary is two dashes", "Content-Type: multipart/mixed; boundary=\"\"\n", 9, 0, 7, "--"},
    {"boundary with nothing after the sign", "Content-Type: multipart/mixed; boundary=\n", 9, 0, 7, "--"},
    {"digest is text and takes no boundary", "Content-Type: multipart/digest; boundary=x\n", 0, 0, 7, kNone},
    {"boundary on a continuation line", "Content-Type: multipart/mixed;\n\tboundary=abc\n", 9, 0, 7, "--abc"},
    {"a continuation boundary needs a multipart class", "Content-Type: text/plain;\n boundary=abc\n", 0, 0, 7,
     kNone},
    {"the first boundary is kept", "Content-Type: multipart/mixed; boundary=a\n boundary=b\n", 9, 0, 7,
     "--a"},
    {"only the first parameter of the line", "Content-Type: multipart/mixed; charset=utf-8; boundary=a\n", 9,
     0, 7, kNone},
    {"a multipart class takes no charset on its line", "Content-Type: multipart/mixed; charset=utf-8\n", 9, 0,
     7, kNone},
    {"charset on the line", "Content-Type: text/plain; charset=utf-8; name=a.txt\n", 0, 0, 53, kNone},
    {"charset on a continuation line, whatever the class",
     "Content-Type: multipart/mixed;\n charset=\"utf-8\"\n", 9, 0, 53, kNone},
    {"a later charset wins", "Content-Type: text/plain; charset=utf-8\n charset=koi8-r\n", 0, 0, 6, kNone},
    {"a later unknown charset wins as well", "Content-Type: text/plain; charset=utf-8\n charset=nonsense\n",
     0, 0, 7, kNone},
    {"a continuation line of any field counts", "Subject: x\n charset=utf-8\n", 0, 0, 53, kNone},
    {"the last Content-Type wins", "Content-Type: text/plain\nContent-Type: text/html\n", 1, 0, 7, kNone},
    {"the last encoding wins", "Content-Transfer-Encoding: base64\nContent-Transfer-Encoding: 8bit\n", 0, 2,
     7, kNone},
    {"encoding in quotes", "Content-Transfer-Encoding: \"Base64\"\n", 0, 4, 7, kNone},
    {"binary is no encoding", "Content-Transfer-Encoding: binary\n", 0, 0, 7, kNone},
    {"class without blank after the colon", "Content-Type:text/html;charset=utf-8\n", 1, 0, 53, kNone},
    {"several blanks, tabs and semicolons before the parameter",
     "Content-Type: text/html ;\t; charset=utf-8\n", 1, 0, 53, kNone},
    {"a field whose name only begins alike", "Content-Types: text/html\n", 0, 0, 7, kNone},
    {"enriched text is text", "Content-Type: text/enriched\n", 0, 0, 7, kNone},
    {"the prefix decides", "Content-Type: application/rtfx\n", 2, 0, 7, kNone},
    {"the last line may lack its line end", "Content-Type: text/html; charset=utf-8", 1, 0, 53, kNone},
};

TEST(Open, TheMessagesOwnHeader) {
    for (const HeaderCase& row : kHeaderCases) {
        SCOPED_TRACE(row.rule);
        std::string message = crlf(row.header);
        if (message.back() == '\n') message += "\r\nBody";
        RecordingHost host(message);
        OpenedMessage opened(host);
        const EmlContainerContext& context = *opened.context();
        EXPECT_EQ(context.contentClass, row.contentClass);
        EXPECT_EQ(static_cast<uint32_t>(context.encoding), row.encoding);
        EXPECT_EQ(context.charset, row.charset);
        EXPECT_EQ(textOf(context.boundary), textOf(row.boundary));
        if (row.boundary != nullptr) {
            EXPECT_EQ(context.boundaryLength, std::string(row.boundary).size());
        }
    }
}

TEST(Open, TheWholeMessageIsABodyOfItsClass) {
    const struct {
        const char* type;
        int role;  // 0 plain, 1 HTML, 2 RTF
    } rows[] = {{"text/plain", 0}, {"text/html", 1},       {"application/rtf", 2},       {"image/png", 0},
                {"message/x", 0},  {"multipart/mixed", 0}, {"application/pkcs7-mime", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        const std::string message = crlf(std::string("Content-Type: ") + row.type + "\n\nBody");
        RecordingHost host(message);
        OpenedMessage opened(host);
        const EmlContainerContext& context = *opened.context();
        EXPECT_EQ(context.plainBody != nullptr, row.role == 0);
        EXPECT_EQ(context.htmlBody != nullptr, row.role == 1);
        EXPECT_EQ(context.rtfBody != nullptr, row.role == 2);
        ASSERT_EQ(sectionsOf(opened).size(), 1U);
        EXPECT_EQ(sectionsOf(opened)[0]->start, 0);
        EXPECT_EQ(bodyOf(message, sectionsOf(opened)[0]), "Body");
    }
}

TEST(Open, CharsetOfThePlainBodyWhenTheMessageNamesNone) {
    const struct {
        const char* rule;
        const char* parts;
        uint32_t charset;
    } rows[] = {
        {"the plain body's", "--b\nContent-Type: text/plain; charset=koi8-r\n\nx\n--b--\n", 6},
        {"not that of another body", "--b\nContent-Type: text/html; charset=koi8-r\n\nx\n--b--\n", 7},
        {"the default when it has none", "--b\n\nx\n--b--\n", 7},
        {"an unknown one is none", "--b\nContent-Type: text/plain; charset=latin1\n\nx\n--b--\n", 7},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(multipart("mixed", row.parts));
        OpenedMessage opened(host);
        EXPECT_EQ(opened.charset(), row.charset);
    }
}

// --- long lines and zero bytes

TEST(Open, OnlyTheFirstPieceOfALongHeaderLineIsExamined) {
    // A read that begins a piece of the line would find a field there.
    std::string line(4096, 'x');
    line += "Content-Type: text/html\n";
    line.resize(8192, 'y');
    line += " charset=utf-8";
    line.resize(10000, 'z');
    const std::string message = line + "\r\nContent-Transfer-Encoding: base64\r\n\r\nBody";
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->contentClass, 0U);
    EXPECT_EQ(opened.charset(), 7U);
    EXPECT_EQ(static_cast<uint32_t>(opened.context()->encoding), 4U) << "the line after it is examined again";
    EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "Body");
}

TEST(Open, FirstPieceOfALongHeaderLineCounts) {
    std::string line = "Content-Type: text/html; charset=utf-8;";
    line.resize(10000, 'x');
    RecordingHost host(line + "\r\n\r\nBody");
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->contentClass, 1U);
    EXPECT_EQ(opened.charset(), 53U);
}

struct LengthCase {
    const char* rule;
    size_t length;  // of the line, its line end not counted
    const char* lineEnd;
    bool headerGoesOn;
};

TEST(Open, LinesThatEndAtTheBorderOfABlock) {
    const LengthCase cases[] = {
        {"CR LF are the last two bytes", 4094, "\r\n", true},
        {"KEPT: the CR is the last byte, so the LF is an empty line", 4095, "\r\n", false},
        {"a block without line end: the next read is the CR LF, an empty line", 4096, "\r\n", false},
        {"one byte more: the next read has text", 4097, "\r\n", true},
        {"LF is the last byte", 4095, "\n", true},
        {"a lone CR is the last byte", 4095, "\r", true},
        {"the next read is the LF", 4096, "\n", false},
        {"two blocks exactly", 8192, "\r\n", false},
        {"CR is the last byte of the second block", 8191, "\r\n", false},
    };
    for (const LengthCase& row : cases) {
        SCOPED_TRACE(row.rule);
        const std::string message =
            std::string(row.length, 'x') + row.lineEnd + "Content-Type: text/html\r\n\r\nBody";
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.context()->contentClass, row.headerGoesOn ? 1U : 0U);
        const int64_t afterLine = static_cast<int64_t>(row.length + std::string(row.lineEnd).size());
        if (!row.headerGoesOn) {
            EXPECT_EQ(opened.context()->bodyOffset, afterLine);
        }
    }
}

TEST(Open, ZeroByteEndsTheTextOfALineButNotTheLine) {
    using namespace std::string_literals;
    const std::string message = "Content-Type: text/html;\0 charset=utf-8\r\n"s +
                                "\0Content-Transfer-Encoding: base64\r\n"s +
                                "Content-\0Type: image/png\r\n charset=\"koi\0"s + "8-r\"\r\n\r\nBody"s;
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->contentClass, 1U);
    EXPECT_EQ(static_cast<uint32_t>(opened.context()->encoding), 0U);
    EXPECT_EQ(opened.charset(), 6U) << "\"koi\" is the beginning of a name";
    EXPECT_EQ(bodyOf(message, opened.context()->htmlBody), "Body");
}

// --- a message that is named as an attachment

TEST(Open, MessageNamedAsAnAttachmentIsHeaderAndContent) {
    const std::string header = crlf(
        "Content-Type: application/pdf\nContent-Transfer-Encoding: base64\n"
        "Content-Disposition: attachment; filename=\"a b.pdf\"\n\n");
    const std::string message = header + "TWFu";
    RecordingHost host(message);
    OpenedMessage opened(host);
    const auto sections = sectionsOf(opened);
    ASSERT_EQ(sections.size(), 2U);
    const auto bodyOffset = static_cast<int64_t>(header.size());
    EXPECT_EQ(sections[0]->start, 0);
    EXPECT_EQ(sections[0]->end, bodyOffset);
    EXPECT_EQ(sections[0]->bodyStart, bodyOffset);
    EXPECT_EQ(sections[0]->bodyEnd, bodyOffset);
    EXPECT_EQ(sections[0]->isAttachment, 0U);
    EXPECT_EQ(sections[1]->start, bodyOffset);
    EXPECT_EQ(sections[1]->bodyStart, bodyOffset);
    EXPECT_EQ(sections[1]->end, static_cast<int64_t>(message.size()));
    EXPECT_EQ(sections[1]->isAttachment, 1U);
    EXPECT_EQ(textOf(sections[1]->fileName), "a b.pdf");
    for (const EmlSection* section : sections) {
        EXPECT_EQ(section->contentClass, 10U);
        EXPECT_EQ(static_cast<uint32_t>(section->encoding), 4U);
    }
    EXPECT_EQ(opened.context()->plainBody, sections[0]);
    EXPECT_EQ(opened.extract(1).bytes, "Man");
}

struct NameCase {
    const char* rule;
    const char* header;
    const char* name;
};

TEST(Open, NameOfTheMessageItself) {
    const NameCase cases[] = {
        {"filename", "Content-Disposition: attachment; filename=a.bin\n", "a.bin"},
        {"name", "Content-Disposition: ATTACHMENT; Name=a.bin\n", "a.bin"},
        {"on a continuation line", "Content-Disposition: attachment;\n filename=\"a.bin\"\n", "a.bin"},
        {"on a continuation line of a later field",
         "Content-Disposition: attachment\nContent-Type: x/y;\n name=a\n", "a"},
        {"KEPT: inline is not accepted here", "Content-Disposition: inline; filename=\"logo.png\"\n", kNone},
        {"a disposition that is no attachment does not count as seen",
         "Content-Disposition: inline;\n filename=\"logo.png\"\n", kNone},
        {"no disposition, no name", "Content-Type: image/png;\n name=a.png\n", kNone},
        {"a name on the Content-Type line is not taken",
         "Content-Disposition: attachment\nContent-Type: image/png; name=a.png\n", kNone},
        {"a continuation before the disposition is too early",
         "Content-Type: image/png;\n name=a.png\nContent-Disposition: attachment\n", kNone},
        {"the first name is kept", "Content-Disposition: attachment; filename=a\n filename=b\n", "a"},
        {"only the first parameter", "Content-Disposition: attachment; size=1; filename=a\n", kNone},
        {"an empty name is none", "Content-Disposition: attachment; filename=\"\"\n", kNone},
        {"after an empty name the next counts",
         "Content-Disposition: attachment; filename=\"\"\n filename=b\n", "b"},
        {"no quotes, no trimming", "Content-Disposition: attachment; filename=a b.txt \n", "a b.txt "},
        {"a name that climbs is given as it stands", "Content-Disposition: attachment; filename=\"../x\"\n",
         "../x"},
    };
    for (const NameCase& row : cases) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(crlf(std::string(row.header) + "\nBody"));
        OpenedMessage opened(host);
        EXPECT_EQ(opened.subFileCount(), row.name == nullptr ? 1U : 2U);
        if (row.name != nullptr) {
            EXPECT_EQ(opened.describe(1).name, row.name);
        }
    }
}

TEST(Open, NamedMultipartIsScannedWithItsTwoSectionsInTheList) {
    const std::string header = crlf(
        "Content-Type: multipart/mixed; boundary=b\n"
        "Content-Disposition: attachment; filename=whole\n\n");
    const std::string message = header + crlf("preamble\n--b\n\ntext\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    const auto sections = sectionsOf(opened);
    ASSERT_EQ(sections.size(), 3U);
    EXPECT_EQ(sections[1]->end, static_cast<int64_t>(header.size() + std::string("preamble").size()))
        << "the first delimiter ends the section that was made last";
    EXPECT_EQ(sections[1]->bodyEnd, static_cast<int64_t>(message.size()))
        << "no empty line, so the body stays";
    EXPECT_EQ(opened.context()->plainBody, sections[0]);
    EXPECT_EQ(opened.subFileCount(), 2U);
}

// --- lines of an old mail program

TEST(Open, ConvertedAttachmentsAreListedWhereNoBoundaryIsFound) {
    const std::string message = crlf(
        "Content-Type: multipart/mixed; boundary=b\n\nText\n"
        "Attachment Converted: \"C:\\in\\one.doc\"\n"
        "attachment converted: \"no.doc\"\n Attachment Converted: no\n"
        "Attachment Converted:\nAttachment Converted: \"\"\n"
        "Attachment Converted:two words\n\nAttachment Converted: \"last\"");
    RecordingHost host(message);
    OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
    EXPECT_EQ(opened.subFileCount(), 4U);
    EXPECT_EQ(opened.describe(1).name, "C:\\in\\one.doc");
    EXPECT_EQ(opened.describe(2).name, "two words");
    EXPECT_EQ(opened.describe(3).name, "last") << "the last line may lack its line end";
    for (const EmlSection* section : sectionsOf(opened)) {
        if (section->isAttachment == 0) continue;
        EXPECT_EQ(section->flags, 4U);
        EXPECT_EQ(section->bodyStart + section->bodyEnd + section->start + section->end, 0);
    }
}

TEST(Open, ConvertedAttachmentsNeedTheirFlagAndTheMultipartClass) {
    const struct {
        const char* rule;
        const char* header;
        uint32_t flags;
        uint32_t count;
    } rows[] = {
        {"both", "Content-Type: multipart/mixed\n", EML_OPEN_CONVERTED_ATTACHMENTS, 2},
        {"no flag", "Content-Type: multipart/mixed\n", 0, 1},
        {"another class", "Content-Type: text/plain\n", EML_OPEN_CONVERTED_ATTACHMENTS, 1},
        {"another multipart class", "Content-Type: multipart/alternative\n", EML_OPEN_CONVERTED_ATTACHMENTS,
         1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(crlf(std::string(row.header) + "\nAttachment Converted: \"x.doc\"\n"));
        OpenedMessage opened(host, row.flags);
        EXPECT_EQ(opened.subFileCount(), row.count);
    }
}

TEST(Open, ConvertedAttachmentsAreNotListedBesideParts) {
    RecordingHost host(
        multipart("mixed", "Attachment Converted: \"x.doc\"\n--b\n\nAttachment Converted: \"y\"\n--b--\n"));
    OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
    EXPECT_EQ(opened.subFileCount(), 1U);
}

// Every read that follows a piece without line end counts as a line.
TEST(Open, PieceOfALongLineMayNameAConvertedAttachment) {
    const std::string header = crlf("Content-Type: multipart/mixed\n\n");
    const std::string message = header + std::string(4096, 'x') + "Attachment Converted: \"x.doc\"\r\n";
    RecordingHost host(message);
    OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
    EXPECT_EQ(opened.subFileCount(), 2U);
}

TEST(Open, EncryptedMessageListsNoAttachments) {
    RecordingHost host(
        crlf("Content-Type: application/pkcs7-mime\nContent-Transfer-Encoding: base64\n"
             "Content-Disposition: attachment; filename=smime.p7m\n\nTWFu\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.subFileCount(), 1U);
    EXPECT_EQ(opened.describe(0).info.flags, 2U);
    EXPECT_EQ(opened.describe(0).info.childCount, 0U);
    EXPECT_EQ(opened.describe(1).result, EML_INVALID_ARGUMENT);
}

// --- the size of the message

TEST(Open, SizeIsAskedForOnce) {
    RecordingHost host("Subject: x\r\n\r\ntext");
    OpenedMessage opened(host);
    EXPECT_EQ(host.journal().calls(Entry::kInputTell), 1U);
    opened.visitAll();
    EXPECT_EQ(host.journal().calls(Entry::kInputTell), 1U);
}

TEST(Open, WithoutTellTheHeaderIsReadAndTheBodyIsEmpty) {
    const std::string header =
        "Subject: a name\r\nContent-Type: multipart/mixed; boundary=b; charset=utf-8\r\n";
    const struct {
        const char* rule;
        std::string message;
        size_t read;  // bytes of it that count
    } rows[] = {
        {"a body is not looked for", header + "\r\n--b\r\nContent-Type: text/html\r\n\r\nx\r\n--b--\r\n",
         header.size() + 2},
        {"a header that nothing ends", header, header.size()},
        {"a header longer than a block", header + "X: " + std::string(9000, 'x') + "\r\n\r\ntext",
         header.size() + 9007},
        {"nothing at all", "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(row.message, {.heapMode = HeapMode::kGuarded});
        host.remove(Entry::kInputTell);
        OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
        ASSERT_EQ(opened.result(), EML_OK);
        EXPECT_EQ(opened.context()->bodyOffset, static_cast<int64_t>(row.read));
        EXPECT_EQ(opened.context()->fileSize, static_cast<int64_t>(row.read));
        EXPECT_EQ(opened.describe(0).name, row.read == 0 ? "zteml.mail" : "a name.mail");
        ASSERT_EQ(sectionsOf(opened).size(), 1U);
        EXPECT_EQ(sectionsOf(opened)[0]->bodyStart, sectionsOf(opened)[0]->bodyEnd);
        opened.visitAll();
    }
}

TEST(Open, WithoutTellTheFileThatTheHeaderNamesIsEmpty) {
    RecordingHost host(crlf("Content-Disposition: attachment; filename=x\n\ncontent"));
    host.remove(Entry::kInputTell);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.subFileCount(), 2U);
    EXPECT_EQ(opened.describe(1).info.size, 0);
    EXPECT_EQ(opened.extract(1).bytes, "");
}

// --- closing

TEST(Close, InputIsClosedBetweenTheSectionsAndTheTexts) {
    RecordingHost host(crlf("Content-Type: multipart/mixed; boundary=b\nSubject: x\n\ntext"));
    OpenedMessage opened(host);
    ASSERT_EQ(emlDecodeMetaText(*opened.context(), reinterpret_cast<const uint8_t*>("text"), 4), EML_OK);
    ASSERT_NE(opened.context()->boundary, nullptr);
    ASSERT_NE(opened.context()->metaData.entries, nullptr);
    const size_t live = host.heap().liveBlocks();
    host.journal().record();
    opened.close();
    // The line buffer, the sections; then decoded text, boundary, metadata and the context.
    std::string expected = "free free input.close";
    for (size_t i = 2; i < live; ++i) expected += " free";
    EXPECT_EQ(host.journal().sequenceText(), expected);
}

}  // namespace
}  // namespace eml::test

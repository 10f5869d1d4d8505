#include "mime/content.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "mime/mime_context.h"
#include "mime/part_texts.h"
#include "support/kernel_sets.h"
#include "support/memory_output.h"
#include "support/recording_host.h"

namespace eml::test {
namespace {

// A context made by hand around one message, whose parts a test lays out.
class OpenMail {
  public:
    explicit OpenMail(std::string_view mail, ReadStyle style = ReadStyle::kFull)
        : host_(mail, {.readStyle = style, .largestRead = kMimeBlockSize}), mail_(mail) {
        context_.allocator = &host_.services().allocator;
        context_.input = &host_.input();
        context_.kernels = &chooseKernels();
        context_.options.maxDefects = 100;
        context_.block = static_cast<uint8_t*>(allocateBlock(*context_.allocator, kMimeBlockSize));
        context_.size = mail.size();
        (void)host_.input().open(&host_.input());
    }
    ~OpenMail() {
        context_.parts.release(*context_.allocator);
        context_.defects.release(*context_.allocator);
        context_.texts.release(*context_.allocator);
        freeBlock(*context_.allocator, context_.block);
    }
    OpenMail(const OpenMail&) = delete;
    OpenMail& operator=(const OpenMail&) = delete;

    // A part whose body is `body`, which stands somewhere in the message.
    MimePart& addPart(std::string_view body, uint32_t encoding, const char* type = "text",
                      const char* subtype = "plain") {
        MimePart part{};
        part.bodyStart = mail_.find(body);
        part.headerStart = part.headerEnd = part.bodyStart;
        part.bodyEnd = part.bodyStart + body.size();
        part.parent = EML_MIME_NONE;
        part.encoding = static_cast<uint8_t>(encoding);
        part.type = keep(type);
        part.subtype = keep(subtype);
        (void)context_.parts.append(*context_.allocator, reinterpret_cast<const uint8_t*>(&part),
                                    sizeof part);
        return partAt(context_, partCount(context_) - 1);
    }

    TextStart keep(const char* text) { return keepText(context_, text); }

    // What is written of a part; `result` and `content` keep the rest.
    std::string extract(uint32_t form, uint32_t part = 0) {
        MemoryOutput output(host_);
        result = extractContent(context_, part, form, &output.object(), content);
        EXPECT_TRUE(output.closed());
        if (result == EML_OK) {
            EXPECT_EQ(content.size, output.bytes().size());
            EXPECT_EQ(output.sizeField(), output.bytes().size());
            EmlMimeContent measured{};
            EXPECT_EQ(extractContent(context_, part, form, nullptr, measured), EML_OK);
            EXPECT_EQ(measured.size, content.size);
            EXPECT_EQ(measured.flags, content.flags);
        }
        for (const uint32_t count : output.writes()) EXPECT_LE(count, 65536U);
        return output.bytes();
    }

    // "code:count@offset", in the order of the list.
    std::string defects() {
        std::string text;
        for (uint32_t i = 0; i < recordCount<MimeDefect>(context_.defects); ++i) {
            const EmlMimeDefect& defect = recordsOf<MimeDefect>(context_.defects)[i].defect;
            text += (i == 0 ? "" : " ") + std::to_string(defect.code) + ":" + std::to_string(defect.count) +
                    "@" + std::to_string(defect.offset);
        }
        return text;
    }

    [[nodiscard]] EmlMimeContext& context() { return context_; }
    [[nodiscard]] RecordingHost& host() { return host_; }

    EmlResult result = EML_OK;
    EmlMimeContent content{};

  private:
    RecordingHost host_;
    std::string mail_;
    EmlMimeContext context_{};
};

struct ByteRow {
    const char* rule;
    std::string body;
    uint32_t encoding;
    std::string decoded;
    std::string defects;  // offsets count from "head\n\n"
    bool damaged;
};

const ByteRow kByteRows[] = {
    {"nothing", "", EML_MIME_ENCODING_BASE64, "", "", false},
    {"no encoding", "a\r\nb", EML_MIME_ENCODING_NONE, "a\r\nb", "", false},
    {"7bit", "abc", EML_MIME_ENCODING_7BIT, "abc", "", false},
    {"8-bit bytes in 7bit", "a\xE4\xF6", EML_MIME_ENCODING_7BIT, "a\xE4\xF6", "69:2@7", false},
    {"8-bit bytes without an encoding", "\xE4", EML_MIME_ENCODING_NONE, "\xE4", "69:1@6", false},
    {"the lowest 8-bit byte in 7bit", "a\x80", EML_MIME_ENCODING_7BIT, "a\x80", "69:1@7", false},
    {"8bit", "a\xE4", EML_MIME_ENCODING_8BIT, "a\xE4", "", false},
    {"binary", std::string("a\0\xFF", 3), EML_MIME_ENCODING_BINARY, std::string("a\0\xFF", 3), "", false},
    {"an unknown encoding", "a=41\xE4", EML_MIME_ENCODING_UNKNOWN, "a=41\xE4", "", false},
    {"base64", "TWFu\r\nTWE=\r\n", EML_MIME_ENCODING_BASE64, "ManMa", "", false},
    {"damaged base64", "TW!Fu\r\nTQ", EML_MIME_ENCODING_BASE64, "ManM", "60:1@8 61:1@15", true},
    {"base64 that is cut off", "TWFuT", EML_MIME_ENCODING_BASE64, "Man", "62:1@10", true},
    {"quoted-printable", "a=3D=\r\nb", EML_MIME_ENCODING_QUOTED_PRINTABLE, "a=b", "", false},
    {"damaged quoted-printable", "a=zz", EML_MIME_ENCODING_QUOTED_PRINTABLE, "a=zz", "63:1@7", true},
    {"uuencode", "begin 644 x\n#0V%T\n`\nend\n", EML_MIME_ENCODING_UUENCODE, "Cat", "", false},
    {"uuencode without a first line", "#0V%T\n`\nend\n", EML_MIME_ENCODING_UUENCODE, "Cat", "", false},
    {"uuencode without a last line", "begin 644 x\n#0V%T\n", EML_MIME_ENCODING_UUENCODE, "Cat", "64:1@24",
     true},
    {"yEnc", "=ybegin line=128 size=3 name=x\nmno\n=yend size=3\n", EML_MIME_ENCODING_YENC, "CDE", "", false},
    {"yEnc without a first line", "mno\n=yend size=3\n", EML_MIME_ENCODING_YENC, "CDE", "", false},
    {"damaged yEnc", "=ybegin line=128 size=3 name=x\nmno\n=yend size=4\n", EML_MIME_ENCODING_YENC, "CDE",
     "65:1@41", true},
};

TEST(MimeContent, DecodedAndRaw) {
    for (const ByteRow& row : kByteRows) {
        SCOPED_TRACE(row.rule);
        for (const ReadStyle style : {ReadStyle::kFull, ReadStyle::kOneByte, ReadStyle::kHalf}) {
            OpenMail mail("head\n\n" + row.body + "\n--tail", style);
            mail.addPart(row.body, row.encoding);
            partAt(mail.context(), 0).bodyStart = 6;
            partAt(mail.context(), 0).bodyEnd = 6 + row.body.size();
            EXPECT_EQ(mail.extract(EML_MIME_RAW), row.body);
            EXPECT_EQ(mail.defects(), "");
            EXPECT_EQ(mail.extract(EML_MIME_DECODED), row.decoded);
            EXPECT_EQ(mail.content.flags, row.damaged ? EML_MIME_CONTENT_DAMAGED : 0U);
            EXPECT_EQ(mail.defects(), row.defects);
            (void)mail.extract(EML_MIME_DECODED);
            EXPECT_EQ(mail.defects(), row.defects) << "they are not counted twice";
        }
    }
}

struct TextRow {
    const char* rule;
    std::string body;
    const char* charset;  // or NULL
    uint32_t encoding;
    uint32_t partFlags;
    std::string text;
    uint32_t flags;
    std::string defects;
};

const TextRow kTextRows[] = {
    {"nothing", "", nullptr, EML_MIME_ENCODING_7BIT, 0, "", 0, ""},
    {"plain ASCII without a charset", "a\r\nb\rc\n", nullptr, EML_MIME_ENCODING_7BIT, 0, "a\nb\nc\n", 0, ""},
    {"UTF-8", "\xC3\xA4", "utf-8", EML_MIME_ENCODING_8BIT, 0, "\xC3\xA4", 0, ""},
    {"UTF-8 with its mark", "\xEF\xBB\xBF\xC3\xA4", "utf-8", EML_MIME_ENCODING_8BIT, 0, "\xC3\xA4", 0, ""},
    {"a mark that is not whole", "\xEF\xBB", "utf-8", EML_MIME_ENCODING_8BIT, 0, "\xEF\xBF\xBD",
     EML_MIME_TEXT_REPLACED, "67:1@6"},
    {"the mark twice", "\xEF\xBB\xBF\xEF\xBB\xBFx", "utf-8", EML_MIME_ENCODING_8BIT, 0, "\xEF\xBB\xBFx", 0,
     ""},
    {"a character that begins as the mark", "\xEF\xBC\x81", "utf-8", EML_MIME_ENCODING_8BIT, 0,
     "\xEF\xBC\x81", 0, ""},
    {"bytes that do not fit UTF-8", "a\xFFz", "utf-8", EML_MIME_ENCODING_8BIT, 0, "a\xEF\xBF\xBDz",
     EML_MIME_TEXT_REPLACED, "67:1@6"},
    {"Latin-1", "\xE4\x80", "ISO-8859-1", EML_MIME_ENCODING_8BIT, 0, "\xC3\xA4\xE2\x82\xAC", 0, ""},
    {"no charset, UTF-8", "x\xC3\xA4", nullptr, EML_MIME_ENCODING_8BIT, 0, "x\xC3\xA4", EML_MIME_TEXT_GUESSED,
     "68:1@6"},
    {"no charset, not UTF-8", "x\xE4\r\n", nullptr, EML_MIME_ENCODING_8BIT, 0, "x\xC3\xA4\n",
     EML_MIME_TEXT_GUESSED, "68:1@6"},
    {"US-ASCII with UTF-8", "x\xC3\xA4", "us-ascii", EML_MIME_ENCODING_8BIT, 0, "x\xC3\xA4",
     EML_MIME_TEXT_GUESSED, "68:1@6"},
    {"US-ASCII that is not", "x\xE4", "us-ascii", EML_MIME_ENCODING_7BIT, 0, "x\xC3\xA4",
     EML_MIME_TEXT_GUESSED, "69:1@7 68:1@6"},
    {"UTF-8 cut off is none", "x\xC3\xA4\xC3", nullptr, EML_MIME_ENCODING_8BIT, 0,
     "x\xC3\x83\xC2\xA4\xC3\x83", EML_MIME_TEXT_GUESSED, "68:1@6"},
    {"an unknown charset stays bytes", "x\xE4", "x-martian", EML_MIME_ENCODING_8BIT, 0, "x\xE4",
     EML_MIME_TEXT_NOT_CONVERTED, "66:1@6"},
    {"UTF-8 in a charset of seven bits", "x\xC3\xA4", "iso-2022-jp", EML_MIME_ENCODING_8BIT, 0, "x\xC3\xA4",
     EML_MIME_TEXT_GUESSED, "68:1@6"},
    {"8-bit bytes in one that are no UTF-8", "x\xE4", "iso-2022-jp", EML_MIME_ENCODING_8BIT, 0, "x\xE4",
     EML_MIME_TEXT_NOT_CONVERTED, "66:1@6"},
    {"encoded text", "w6Q=", "utf-8", EML_MIME_ENCODING_BASE64, 0, "\xC3\xA4", 0, ""},
    {"encoded text without a charset", "5A==", nullptr, EML_MIME_ENCODING_BASE64, 0, "\xC3\xA4",
     EML_MIME_TEXT_GUESSED, "68:1@6"},
    {"decoded line ends", "a=0D=0Ab=0Dc=\r\n", "utf-8", EML_MIME_ENCODING_QUOTED_PRINTABLE, 0, "a\nb\nc", 0,
     ""},
    {"damaged text", "a=zz", "utf-8", EML_MIME_ENCODING_QUOTED_PRINTABLE, 0, "a=zz", EML_MIME_CONTENT_DAMAGED,
     "63:1@7"},
    {"flowed", "a \r\nb\r\n> c\r\n", "utf-8", EML_MIME_ENCODING_7BIT, EML_MIME_PART_FLOWED, "a b\n> c\n", 0,
     ""},
    {"flowed with delsp", "a \r\nb\r\n", "utf-8", EML_MIME_ENCODING_7BIT,
     EML_MIME_PART_FLOWED | EML_MIME_PART_DELSP, "ab\n", 0, ""},
    {"delsp alone says nothing", "a \r\nb\r\n", "utf-8", EML_MIME_ENCODING_7BIT, EML_MIME_PART_DELSP,
     "a \nb\n", 0, ""},
    {"flowed and guessed", "a \r\n\xE4\r\n", nullptr, EML_MIME_ENCODING_8BIT, EML_MIME_PART_FLOWED,
     "a \xC3\xA4\n", EML_MIME_TEXT_GUESSED, "68:1@6"},
};

TEST(MimeContent, Text) {
    for (const TextRow& row : kTextRows) {
        SCOPED_TRACE(row.rule);
        for (const ReadStyle style : {ReadStyle::kFull, ReadStyle::kOneByte, ReadStyle::kHalf}) {
            OpenMail mail("head\n\n" + row.body + "\n--tail", style);
            MimePart& part = mail.addPart(row.body, row.encoding);
            part.bodyStart = 6;
            part.bodyEnd = 6 + row.body.size();
            part.flags = row.partFlags;
            if (row.charset != nullptr) part.charset = mail.keep(row.charset);
            EXPECT_EQ(mail.extract(EML_MIME_TEXT), row.text);
            EXPECT_EQ(mail.content.flags, row.flags);
            EXPECT_EQ(mail.defects(), row.defects);
            (void)mail.extract(EML_MIME_DECODED);
            (void)mail.extract(EML_MIME_TEXT);
            EXPECT_EQ(mail.defects(), row.defects) << "they are not counted twice";
        }
    }
}

TEST(MimeContent, HtmlIsNotFlowed) {
    OpenMail mail("<p>a \r\nb");
    mail.addPart("<p>a \r\nb", EML_MIME_ENCODING_7BIT, "text", "html").flags = EML_MIME_PART_FLOWED;
    EXPECT_EQ(mail.extract(EML_MIME_TEXT), "<p>a \nb");
}

// Longer than every block, ASCII for longest, so that the beginning is written before the guess.
TEST(MimeContent, AGuessLateInALongTextWritesTheBeginningOnce) {
    for (const bool utf8 : {false, true}) {
        std::string body;
        while (body.size() < 200000) body += "All of this is plain text.\r\n";
        body += utf8 ? "\xC3\xA4" : "\xE4";
        OpenMail mail(body);
        mail.addPart(body, EML_MIME_ENCODING_8BIT);
        std::string expected;
        for (const char c : body) {
            if (c != '\r') expected += c;
        }
        if (!utf8) expected.replace(expected.size() - 1, 1, "\xC3\xA4");
        EXPECT_EQ(mail.extract(EML_MIME_TEXT), expected);
        EXPECT_EQ(mail.content.flags, EML_MIME_TEXT_GUESSED);
    }
}

TEST(MimeContent, FilesInsideTextAreLeftOut) {
    const std::string first = "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n";
    const std::string second = "=ybegin line=128 size=3 name=x\r\nmno\r\n=yend size=3\r\n";
    const std::string body = "one\r\n" + first + "two\r\n" + second + "three\r\n";
    OpenMail mail(body);
    mail.addPart(body, EML_MIME_ENCODING_7BIT).childCount = 2;
    for (const std::string& file : {first, second}) {
        MimePart& child = mail.addPart(file, EML_MIME_ENCODING_NONE, "application", "octet-stream");
        child.parent = 0;
        child.flags = EML_MIME_PART_INLINE_FILE;
        child.encoding = file[0] == 'b' ? EML_MIME_ENCODING_UUENCODE : EML_MIME_ENCODING_YENC;
    }
    EXPECT_EQ(mail.extract(EML_MIME_TEXT), "one\ntwo\nthree\n");
    EXPECT_EQ(mail.extract(EML_MIME_DECODED), body);
    EXPECT_EQ(mail.extract(EML_MIME_DECODED, 1), "Cat");
    EXPECT_EQ(mail.extract(EML_MIME_RAW, 1), first);
    EXPECT_EQ(mail.extract(EML_MIME_DECODED, 2), "CDE");
    EXPECT_EQ(mail.extract(EML_MIME_TEXT, 2), "CDE");
    EXPECT_EQ(mail.defects(), "");
}

TEST(MimeContent, OfAFileInsideTextTheCutIsKnownFromTheOpen) {
    const std::string file = "begin 644 cat.txt\r\n#0V%T\r\n";
    OpenMail mail(file);
    MimePart& part = mail.addPart(file, EML_MIME_ENCODING_UUENCODE);
    part.flags = EML_MIME_PART_INLINE_FILE;
    EXPECT_EQ(mail.extract(EML_MIME_DECODED), "Cat");
    EXPECT_EQ(mail.content.flags, EML_MIME_CONTENT_DAMAGED);
    EXPECT_EQ(mail.defects(), "");
}

TEST(MimeContent, MultipartsAndMessagesAreGivenAsTheyStand) {
    for (const uint32_t flag : {EML_MIME_PART_MULTIPART, EML_MIME_PART_MESSAGE}) {
        OpenMail mail("TWFu\xE4");
        mail.addPart("TWFu\xE4", EML_MIME_ENCODING_BASE64).flags = flag;
        EXPECT_EQ(mail.extract(EML_MIME_DECODED), "TWFu\xE4");
        EXPECT_EQ(mail.defects(), "");
    }
}

TEST(MimeContent, ALongContentComesWholeInBlocks) {
    std::string bytes;
    std::string body;
    for (int i = 0; i < 20000; ++i) {
        body += "TWFuTWFu";
        bytes += "ManMan";
        if (i % 9 == 8) body += "\r\n";
    }
    OpenMail mail(body);
    mail.addPart(body, EML_MIME_ENCODING_BASE64);
    EXPECT_EQ(mail.extract(EML_MIME_DECODED), bytes);
    EXPECT_EQ(mail.extract(EML_MIME_RAW), body);
}

struct Steps {
    std::vector<uint64_t> offsets;
    size_t allowed;
};

int32_t noteStep(void* host, uint64_t offset) {
    auto& steps = *static_cast<Steps*>(host);
    steps.offsets.push_back(offset);
    return steps.offsets.size() > steps.allowed ? 1 : 0;
}

TEST(MimeContent, ProgressIsToldEveryMebibyteAndMayCancel) {
    const std::string body(3500000, 'x');
    for (const size_t allowed : {100U, 1U, 0U}) {
        OpenMail mail(body);
        mail.addPart(body, EML_MIME_ENCODING_7BIT);
        Steps steps{{}, allowed};
        mail.context().options.progress = noteStep;
        mail.context().options.progressHost = &steps;
        mail.context().nextProgress = UINT64_MAX;
        MemoryOutput output(mail.host());
        EmlMimeContent content{};
        const EmlResult result =
            extractContent(mail.context(), 0, EML_MIME_DECODED, &output.object(), content);
        EXPECT_EQ(result, allowed == 100 ? EML_OK : EML_MIME_CANCELLED);
        EXPECT_EQ(steps.offsets.size(), std::min<size_t>(allowed + 1, 3));
        EXPECT_EQ(steps.offsets[0], 1U << 20);
        EXPECT_TRUE(output.closed());
        EXPECT_EQ(content.size, output.bytes().size());
    }
}

TEST(MimeContent, ResultsOfHostsThatFail) {
    struct Fault {
        Entry entry;
        EmlResult result;
    };
    const Fault faults[] = {
        {Entry::kInputSeek, EML_OBJECT_FAILED},  {Entry::kInputRead, EML_OBJECT_FAILED},
        {Entry::kAllocate, EML_NO_MEMORY},       {Entry::kOutputOpen, EML_OUTPUT_UNUSABLE},
        {Entry::kOutputSeek, EML_OBJECT_FAILED}, {Entry::kOutputClose, EML_OBJECT_FAILED},
    };
    for (const Fault& fault : faults) {
        for (const uint32_t form : {EML_MIME_RAW, EML_MIME_DECODED, EML_MIME_TEXT}) {
            OpenMail mail("TWFuTWFu");
            mail.addPart("TWFuTWFu", EML_MIME_ENCODING_BASE64);
            MemoryOutput output(mail.host());
            mail.host().journal().fail(fault.entry, {.nth = mail.host().journal().calls(fault.entry) + 1});
            EmlMimeContent content{};
            EXPECT_EQ(extractContent(mail.context(), 0, form, &output.object(), content), fault.result)
                << entryName(fault.entry) << " " << form;
            // Memory is asked for before the output is opened.
            const bool opens = fault.entry != Entry::kOutputOpen && fault.entry != Entry::kAllocate;
            EXPECT_EQ(output.closed(), opens);
        }
    }
}

TEST(MimeContent, OutputsThatLackAnEntryAreNotOpened) {
    for (const Entry entry :
         {Entry::kOutputOpen, Entry::kOutputWrite, Entry::kOutputSeek, Entry::kOutputClose}) {
        OpenMail mail("x");
        mail.addPart("x", EML_MIME_ENCODING_7BIT);
        MemoryOutput output(mail.host());
        output.remove(entry);
        EmlMimeContent content{};
        EXPECT_EQ(extractContent(mail.context(), 0, EML_MIME_RAW, &output.object(), content),
                  EML_OUTPUT_UNUSABLE);
        EXPECT_FALSE(output.opened());
    }
}

TEST(MimeContent, AnInputThatHasBecomeShorterIsReported) {
    OpenMail mail("abc");
    mail.addPart("abc", EML_MIME_ENCODING_7BIT).bodyEnd = 10;
    EXPECT_EQ(mail.extract(EML_MIME_DECODED), "abc");
    EXPECT_EQ(mail.result, EML_OBJECT_FAILED);
    EXPECT_EQ(partAt(mail.context(), 0).measured, 0U);
}

}  // namespace
}  // namespace eml::test

// The fill calls: their arguments, the steps of a conversion, and the parts that the open scan leaves to
// them.
#include <gtest/gtest.h>

#include "filter/open_filter.h"
#include "filter/stream_walk.h"
#include "reference/filter_text.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

constexpr uint32_t kLarge = 1 << 20;

// What a message's stream shows after its prologue, and the last charset record with the text after it.
std::string shownText(EmlFilterContext* context, uint32_t fillFlags = 0) {
    const std::string bytes = convertAll(context, kLarge, fillFlags).bytes();
    return bytes.size() < 132 ? "(none)" : textOfStream(std::string_view(bytes).substr(132));
}

std::string shownText(const std::string& message) {
    StreamHost host(message);
    return host.context == nullptr ? "(not opened)" : shownText(host.context);
}

// The text of the body alone.
std::string bodyText(const std::string& message) {
    StreamHost host(message);
    if (host.context == nullptr) return "(not opened)";
    return shownText(host.context, EML_FILL_BODY_ONLY);
}

// Lines of text, about `length` bytes.
std::string lines(size_t length) {
    std::string text;
    while (text.size() < length) text += "a line of the text\r\n";
    return text;
}

struct Call {
    EmlResult result;
    uint32_t size;
    uint32_t progress;
    std::string bytes;
};

Call call(EmlFilterContext* context, uint32_t subFile, uint32_t capacity, uint32_t progress,
          uint32_t fillFlags) {
    std::string buffer(capacity, '\xA5');
    Call made{0, 0xA5A5A5A5, progress, ""};
    made.result =
        emlFillBufferEx(context, subFile, buffer.data(), &made.size, &made.progress, capacity, fillFlags);
    if (made.size <= capacity) made.bytes = buffer.substr(0, made.size);
    return made;
}

constexpr char kMessage[] = "From: a\r\nTo: b\r\n\r\nsome text\r\n";

TEST(FillArguments, SizeIsSetOnEveryPath) {
    StreamHost host(kMessage);
    StreamHost root(kMessage, EML_OPEN_ROOT_FOLDER);
    StreamHost encrypted("Content-Type: application/pkcs7-mime\r\n\r\nMIIB\r\n");
    StreamHost both("Content-Type: application/pkcs7-mime\r\n\r\nMIIB\r\n", EML_OPEN_ROOT_FOLDER);
    struct {
        const char* path;
        EmlFilterContext* context;
        uint32_t subFile;
        EmlResult result;
    } const cases[] = {
        {"no context", nullptr, 0, EML_INVALID_ARGUMENT},
        {"another sub-file than the message", host.context, 1, EML_INVALID_ARGUMENT},
        {"a sub-file far out of range", host.context, UINT32_MAX, EML_INVALID_ARGUMENT},
        {"the root folder", root.context, 0, EML_OK},
        {"an attachment under the root folder", root.context, 2, EML_INVALID_ARGUMENT},
        {"an encrypted message", encrypted.context, 0, EML_ENCRYPTED},
        {"another sub-file than the encrypted message", encrypted.context, 1, EML_INVALID_ARGUMENT},
        {"the root folder of an encrypted message", both.context, 0, EML_OK},
        {"an encrypted message under the root folder", both.context, 1, EML_ENCRYPTED},
        {"another sub-file under that folder", both.context, 2, EML_INVALID_ARGUMENT},
    };
    for (const auto& test : cases) {
        const Call made = call(test.context, test.subFile, 4096, 0, 0);
        EXPECT_EQ(made.result, test.result) << test.path;
        EXPECT_EQ(made.size, 0U) << test.path;
        EXPECT_EQ(made.progress, 0U) << test.path;
    }
    uint32_t size = 77;
    uint32_t progress = 0;
    EXPECT_EQ(emlFillBuffer(host.context, nullptr, &size, &progress, 4096), EML_INVALID_ARGUMENT);
    EXPECT_EQ(size, 0U);
    size = 77;
    uint8_t byte = 0;
    EXPECT_EQ(emlFillBuffer(nullptr, &byte, &size, &progress, 1), EML_INVALID_ARGUMENT);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(call(host.context, 0, 0, 0, 0).size, 0U) << "a capacity of 0";
}

TEST(FillArguments, UnderTheRootFolderTheMessageIsNumberOne) {
    StreamHost plain(kMessage);
    StreamHost root(kMessage, EML_OPEN_ROOT_FOLDER);
    EXPECT_EQ(convertAll(root.context, 256, 0, 1).bytes(), convertAll(plain.context, 256).bytes());
    EXPECT_EQ(call(root.context, 0, 4096, 55, EML_FILL_RESTART).progress, 55U) << "number 0 touches nothing";
}

TEST(FillArguments, BothCallsGiveTheSameStream) {
    StreamHost first(kMessage);
    StreamHost second(kMessage);
    const std::string expected = convertAll(first.context, 4096).bytes();
    std::string buffer(4096, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    EXPECT_EQ(emlFillBuffer(second.context, buffer.data(), &size, &progress, 4096), EML_OK);
    EXPECT_EQ(buffer.substr(0, size), expected);
    EXPECT_EQ(progress, 100U);
}

TEST(FillArguments, LargeCapacitiesDoNotOverflow) {
    // Nothing that large is ever written, so that the buffer need not be. Where addresses have 32 bits no
    // host could have such a buffer.
    if (sizeof(void*) == 4) GTEST_SKIP();
    StreamHost host(kMessage);
    const std::string expected = convertAll(host.context, 4096).bytes();
    for (const uint32_t capacity :
         {uint32_t{INT32_MAX}, uint32_t{INT32_MAX} + 1, UINT32_MAX / 9 + 1, UINT32_MAX}) {
        std::string buffer(4096, '\0');
        uint32_t size = 0;
        uint32_t progress = 0;
        EXPECT_EQ(
            emlFillBufferEx(host.context, 0, buffer.data(), &size, &progress, capacity, EML_FILL_RESTART),
            EML_OK);
        EXPECT_EQ(buffer.substr(0, size), expected) << capacity;
    }
}

TEST(FillProgress, IsInAndOut) {
    StreamHost host(kMessage);
    const Call behind = call(host.context, 0, 4096, 100, 0);
    EXPECT_EQ(behind.result, EML_OK);
    EXPECT_EQ(behind.progress, 100U);
    EXPECT_EQ(behind.bytes.substr(behind.bytes.size() - 9), reference::charsetRecord(7))
        << "with 100 passed in nothing of the body is converted";
    EXPECT_EQ(call(host.context, 0, 4096, 100, EML_FILL_RESTART).bytes,
              convertAll(host.context, 4096).bytes())
        << "a restart clears it";
    EXPECT_EQ(call(host.context, 0, 4096, 0, 0).progress, 100U) << "a further call behind the end";
}

TEST(FillProgress, GrowsWithTheBody) {
    StreamHost host("\r\n" + std::string(100000, 'x'));
    const Conversion conversion = convertAll(host.context, 1009);
    size_t converted = 0;
    for (size_t i = 1; i + 1 < conversion.calls.size(); ++i) {
        for (const StreamRecord& record : walkStream(conversion.calls[i])) converted += record.text().size();
    }
    EXPECT_GT(converted, size_t{90000});
    EXPECT_GT(conversion.progress[conversion.progress.size() / 2], 45U);
    EXPECT_LT(conversion.progress[conversion.progress.size() / 2], 55U);
    EXPECT_TRUE(conversion.finished);
}

TEST(FillProgress, DoesNotOverflowInALargeBody) {
    // After 21.4 MB a hundred times the offset does not fit in 31 bits, and after 42.9 MB not in 32.
    StreamHost host("\r\n" + std::string(50000000, 'x'));
    const Conversion conversion = convertAll(host.context, 1 << 20);
    EXPECT_TRUE(conversion.finished);
    for (size_t i = 1; i + 1 < conversion.calls.size(); ++i) {
        const auto share = static_cast<double>(i) * (1 << 20) * 0.9 / 50000000.0 * 100.0;
        EXPECT_NEAR(conversion.progress[i], share, 3.0) << i;
    }
}

TEST(FillSteps, EmptyBodyIsFinishedInOneCall) {
    for (const char* message : {"From: a\r\nTo: b\r\n\r\n", "From: a\r\nTo: b\r\n"}) {
        StreamHost host(message);
        const Call made = call(host.context, 0, 4096, 0, 0);
        EXPECT_EQ(made.result, EML_OK);
        EXPECT_EQ(made.progress, 100U);
        // The empty line after the header is the body's first.
        const char* const body = std::string_view(message).ends_with("\r\n\r\n") ? "\n" : "";
        EXPECT_EQ(textOfStream(made.bytes.substr(132)),
                  "{b}From:{/b}\t\t a\n{b}To:{/b}\t\t b\n{27:7}"s + body)
            << escaped(message);
    }
}

TEST(FillSteps, MessageWithoutBytesDoesNotOpen) {
    StreamHost host("");
    EXPECT_EQ(host.context, nullptr);
    EXPECT_EQ(host.result, EML_EMPTY_MESSAGE);
}

TEST(FillSteps, PrologueComesFirstAndBodyBeginsWithTheCharset) {
    StreamHost host("Subject: s\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nab\r\n");
    const std::vector<StreamRecord> records = walkStream(convertAll(host.context, kLarge).bytes());
    std::string tags;
    for (const StreamRecord& record : records) tags += std::to_string(record.tag) + " ";
    EXPECT_EQ(tags, "15 16 2 1 27 4 0 4 3 3 0 13 27 13 0 13 ");
    EXPECT_EQ(wordAt(records[4].payload, 0), EML_CHARSET_UTF_8) << "the open scan has learnt it already";
    EXPECT_EQ(wordAt(records[12].payload, 0), EML_CHARSET_UTF_8);
}

TEST(FillSteps, CharsetThatIsNotKnownBecomesTheDefault) {
    StreamHost host("Content-Type: text/plain; charset=x-unknown\r\n\r\nab\r\n");
    EXPECT_EQ(host.context->charset, EML_CHARSET_UNKNOWN);
    EXPECT_EQ(shownText(host.context), "{27:7}\nab\n");
    EXPECT_EQ(host.context->charset, EML_CHARSET_WESTERN);
}

TEST(FillSteps, RestartAfterTheEndGivesTheSameStream) {
    StreamHost host(kMessage);
    for (const uint32_t capacity : {256U, 4096U}) {
        const std::vector<std::string> first = convertAll(host.context, capacity).calls;
        EXPECT_EQ(convertAll(host.context, capacity).calls, first);
    }
}

// A nested part brings a boundary of its own when its text is looked for, and that must not show in a second
// conversion either: wherever the borders of the reads fall.
TEST(FillSteps, RestartAfterANestedBoundaryGivesTheSameStream) {
    const std::string outer = "Subject: s\r\nContent-Type: multipart/mixed; boundary=outer\r\n\r\n";
    const std::string nested = "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n";
    const std::string text = "--inner\r\nContent-Type: text/plain\r\n\r\n";
    const std::string html = "--inner\r\nContent-Type: text/html\r\n\r\n<p>the text</p>\r\n";
    const std::string file = "--outer\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\n";
    for (const bool hasHtml : {true, false}) {
        for (const size_t length : {20U, 3000U, 3700U, 9000U}) {
            for (const size_t fileLength : {10U, 500U, 1000U, 5000U}) {
                StreamHost host(outer + nested + text + lines(length) + (hasHtml ? html : "") +
                                "--inner--\r\n" + file + lines(fileLength) + "--outer--\r\n");
                const std::string first = shownText(host.context);
                EXPECT_EQ(shownText(host.context), first)
                    << (hasHtml ? "two" : "one") << " inner parts, a text of " << length << ", a file of "
                    << fileLength;
            }
        }
    }
}

// The charset of a nested part is met only when its text is looked for: the prologue of a second conversion
// must not know more than that of the first.
TEST(FillSteps, RestartAfterANestedCharsetGivesTheSameStream) {
    StreamHost host(
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=outer\r\n\r\n"
        "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n"
        "--inner\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nthe text\r\n--inner--\r\n--outer--\r\n");
    const std::string first = dumpStream(convertAll(host.context, 4096).bytes());
    EXPECT_EQ(dumpStream(convertAll(host.context, 4096).bytes()), first);
}

TEST(FillSteps, BodyOnlyLastsUntilACallSaysOtherwise) {
    StreamHost host(kMessage);
    EXPECT_EQ(shownText(host.context, EML_FILL_BODY_ONLY), "{27:7}\nsome text\n");
    // The call without flags leaves the choice alone.
    host.context->prologuePending = true;
    host.context->body.running = false;
    std::string buffer(4096, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    EXPECT_EQ(emlFillBuffer(host.context, buffer.data(), &size, &progress, 4096), EML_OK);
    EXPECT_EQ(textOfStream(buffer.substr(132, size - 132)), "{27:7}\nsome text\n");
    EXPECT_EQ(shownText(host.context, 0), "{b}From:{/b}\t\t a\n{b}To:{/b}\t\t b\n{27:7}\nsome text\n");
}

TEST(FillSteps, HostBuffersAreFilledToNineTenths) {
    StreamHost host("\r\n" + std::string(50000, 'x'));
    for (const uint32_t capacity : {141U, 256U, 1000U, 4096U}) {
        const Conversion conversion = convertAll(host.context, capacity, EML_FILL_BODY_ONLY);
        const uint32_t limit = capacity * 9 / 10;
        for (size_t i = 2; i + 1 < conversion.calls.size(); ++i) {
            EXPECT_GE(conversion.calls[i].size(), limit) << capacity;
            EXPECT_LE(conversion.calls[i].size(), limit + 9) << capacity;
        }
    }
}

TEST(FillSteps, BodyStartsInTheNextCallWhereItsCharsetDoesNotFit) {
    StreamHost host(kMessage);
    const std::string staged = convertAll(host.context, kLarge).bytes();
    const size_t header =
        staged.size() - convertAll(host.context, kLarge, EML_FILL_BODY_ONLY).bytes().size() + 132;
    for (uint32_t behind = 0; behind <= 9; ++behind) {
        const auto capacity = static_cast<uint32_t>(header) + behind;
        const Conversion conversion = convertAll(host.context, capacity);
        EXPECT_EQ(conversion.calls[0].size(), behind < 9 ? header : header + 9) << behind;
        EXPECT_EQ(textOfStream(conversion.bytes()), textOfStream(staged)) << behind;
        EXPECT_EQ(conversion.progress[0], 0U);
    }
}

TEST(FillSteps, NothingIsInProgressBehindTheEnd) {
    for (const char* message : {kMessage, "From: a\r\n\r\n", "Content-Type: text/plain\r\n"}) {
        StreamHost host(message);
        char name[14] = {};
        (void)convertAll(host.context, kLarge);
        EXPECT_EQ(emlGetMainNameDate(host.context, name, nullptr), EML_OK) << escaped(message);
    }
}

// ---- rules of the body

TEST(FillBody, PlainBodyIsConvertedReadByRead) {
    // KEPT rules: CR LF across two reads is two line breaks, and a single last byte of a read is dropped.
    const std::string first(4095, 'x');
    EXPECT_EQ(bodyText("\n" + first + "\r\nyy"), "{27:7}\n" + first.substr(1) + "x\n" + "yy");
    EXPECT_EQ(bodyText("Subject: s\n\n" + first.substr(1) + "\r\nyy"),
              "{27:7}\n" + first.substr(1) + "\n\nyy");
    EXPECT_EQ(bodyText("Subject: s\n\n" + first.substr(2) + "\nz" + "yy"),
              "{27:7}\n" + first.substr(2) + "\nyy");
}

// KEPT rule: the text is empty where the first attachment begins at or before it.
TEST(FillBody, AttachmentInFrontOfTheTextEmptiesIt) {
    const std::string message =
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\nPDF\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\nthe text\r\n--b--\r\n";
    EXPECT_EQ(shownText(message), "{b}Subject:{/b}\t\t s\n{b}Attachment:{/b}\t\ta.pdf\n{27:7}");
}

// KEPT rule: likewise where it begins within the text. Here the text has no end of its own before the part
// that holds it ends, and the report in that part is an attachment whose own part is not recorded.
TEST(FillBody, AttachmentWithinTheTextEmptiesIt) {
    const std::string head =
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=outer\r\n\r\n"
        "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\n\r\n"
        "--inner\r\nContent-Type: text/plain\r\n\r\nthe text\r\n"
        "--outer\r\nContent-Type: multipart/mixed; boundary=y\r\n\r\n";
    EXPECT_EQ(
        bodyText(head + "--outer\r\nContent-Type: message/delivery-status\r\n\r\nreport\r\n--outer--\r\n"),
        "{27:7}");
    const std::string text = bodyText(head + "--outer--\r\n");
    EXPECT_EQ(text.substr(0, 16), "{27:7}the text\n-") << "without an attachment the text is there";
}

// KEPT rule: the quoted-printable step runs after the base64 step, and its result is the one that counts.
TEST(FillBody, QuotedPrintableStepBehindTheBase64StepGivesNothingMore) {
    // "=41" and "_" in the decoded text would show it.
    EXPECT_EQ(bodyText("Content-Transfer-Encoding: base64\r\n\r\nPTQxX2FiYw==\r\n"), "{27:7}=41_abc");
    EXPECT_EQ(bodyText("Content-Transfer-Encoding: base64\r\n\r\n-nothing\r\n"), "{27:7}");
}

TEST(FillBody, EncodingsThatAreNoneOfTheTwoArePlain) {
    for (const char* encoding : {"7bit", "8bit", "binary", "x-other", "\"base64\""}) {
        EXPECT_EQ(bodyText("Content-Transfer-Encoding: "s + encoding + "\r\n\r\n=41_QUJD\r\n"),
                  "{27:7}\n=41_QUJD\n")
            << encoding;
    }
}

TEST(FillBody, MessageThatIsAnAttachmentHasNoText) {
    StreamHost host("Subject: s\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\nPDF text\r\n");
    ASSERT_NE(host.context, nullptr);
    EXPECT_EQ(shownText(host.context), "{b}Subject:{/b}\t\t s\n{b}Attachment:{/b}\t\ta.pdf\n{27:7}");
}

// ---- parts of the open scan

std::string partsOf(const std::string& message) {
    StreamHost host(message);
    if (host.context == nullptr) return "(not opened)";
    std::string text = "first " + std::to_string(host.context->parts.first);
    for (int32_t i = 0; i < host.context->parts.bodies.count; ++i) {
        const EmlBodyPart& part = host.context->parts.bodies.records[i];
        const auto start = static_cast<size_t>(part.start);
        text += "; " + std::string(part.type) + " " + std::to_string(codeOf(part.encoding)) + " [" +
                escaped(message.substr(start, static_cast<size_t>(part.end) - start)) + "]";
    }
    return text;
}

// KEPT rule: without an attachment so far, a further part is merged into the one before it.
TEST(Parts, PartsWithoutAttachmentsRunIntoOne) {
    EXPECT_EQ(partsOf("Content-Type: multipart/alternative; boundary=b\r\n\r\n"
                      "--b\r\nContent-Type: text/plain\r\n\r\none\r\n"
                      "--b\r\nContent-Type: text/html\r\n\r\ntwo\r\n"
                      "--b\r\nContent-Type: text/x\r\n\r\nthree\r\n--b--\r\n"),
              "first 0; text/plain 0 [--b\\r\\nContent-Type: text/plain\\r\\n\\r\\none\\r\\n"
              "--b\\r\\nContent-Type: text/html\\r\\n\\r\\ntwo\\r\\n"
              "--b\\r\\nContent-Type: text/x\\r\\n\\r\\nthree]");
}

TEST(Parts, PartsWithAnAttachmentAreRecordedOneByOne) {
    EXPECT_EQ(
        partsOf(
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
            "--b\r\nContent-Type: text/plain\r\n\r\none\r\n"
            "--b\r\nContent-Type: image/png; name=a.png\r\nContent-Transfer-Encoding: base64\r\n\r\nQQ==\r\n"
            "--b\r\nContent-Type: text/html\r\n\r\ntwo\r\n--b--\r\n"),
        "first 0; text/plain 0 [--b\\r\\nContent-Type: text/plain\\r\\n\\r\\none]; "
        "image/png 4 [--b\\r\\nContent-Type: image/png; name=a.png\\r\\n"
        "Content-Transfer-Encoding: base64\\r\\n\\r\\nQQ==]; "
        "text/html 0 [--b\\r\\nContent-Type: text/html\\r\\n\\r\\ntwo]");
}

// KEPT rule: line-end pairs are two bytes also where line ends have one, so that LF at the end of the buffer
// and the zero byte after it are passed together: the last part ends at the boundary.
TEST(Parts, LineEndPairsAreTwoBytes) {
    EXPECT_EQ(partsOf("Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
                      "text/plain\n\none\n--b--\n"),
              "first 0; text/plain 0 [--b\\nContent-Type: text/plain\\n\\none]");
    EXPECT_EQ(partsOf("Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
                      "text/plain\n\none\n--b\n"),
              "first 0; text/plain 0 [--b\\nContent-Type: text/plain\\n\\none]")
        << "an opening boundary that nothing follows";
}

TEST(Parts, LastPartWithoutAClosingBoundaryEndsWithTheMessage) {
    EXPECT_EQ(
        partsOf(
            "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\none\r\n"
            "--b\r\nContent-Type: image/png; name=a\r\n\r\ntwo\r\n"),
        "first 0; text/plain 0 [--b\\r\\nContent-Type: text/plain\\r\\n\\r\\none]; "
        "image/png 0 [--b\\r\\nContent-Type: image/png; name=a\\r\\n\\r\\ntwo\\r\\n]");
}

TEST(Parts, ClosingBoundaryWithoutAnyPartSetsNothing) {
    const std::string message =
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\npreamble\r\n--b--\r\n";
    EXPECT_EQ(partsOf(message), "first 0");
    EXPECT_EQ(bodyText(message), "{27:7}\npreamble\n--b--\n") << "the whole body is the text";
}

TEST(Parts, DashesAndLineEndsBehindAClosingBoundaryArePassedTogether) {
    const std::string head =
        "Subject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\none";
    for (const char* end : {"--", "--\r\n", "----\r\n--\r\n\r\n"}) {
        EXPECT_EQ(partsOf(head + "\r\n--b" + end),
                  "first 0; text/plain 0 [--b\\r\\nContent-Type: text/plain\\r\\n\\r\\none]")
            << escaped(end);
    }
}

TEST(Parts, OneAttachmentWithoutPartsMakesTwo) {
    StreamHost host(
        "Content-Type: application/pdf; name=a.pdf\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n");
    const EmlFilterContext& context = *host.context;
    EXPECT_EQ(context.parts.bodies.count, 2);
    EXPECT_EQ(context.parts.bodies.capacity, 2);
    EXPECT_EQ(context.parts.first, 0);
    const int32_t body = context.headerLength + 2;
    EXPECT_EQ(context.parts.bodies.records[0].start, body);
    EXPECT_EQ(context.parts.bodies.records[0].end, body);
    EXPECT_EQ(context.parts.bodies.records[1].start, body);
    EXPECT_EQ(context.parts.bodies.records[1].end, context.messageSize);
    EXPECT_EQ(codeOf(context.parts.bodies.records[1].encoding), 4U);
    EXPECT_STREQ(context.parts.bodies.records[1].type, "application/pdf");
    EXPECT_EQ(context.parts.attachments.records[0].partIndex, 1U);
}

TEST(Parts, BufferThatIsCutToNothingEndsTheScan) {
    // The boundary is kept back from the second buffer, and stands at the start of the third and last one.
    const std::string head = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    StreamHost host(head + std::string(4094 - head.size(), 'x') +
                    "\r\n--b\r\nContent-Type: text/plain\r\n\r\n" + std::string(200, 'y') + "\r\n");
    ASSERT_NE(host.context, nullptr);
    EXPECT_EQ(host.context->messageSize, 4096) << "what the scan counted";
    EXPECT_EQ(host.context->parts.bodies.count, 0);
}

TEST(Parts, ManyPartsAreAllRecorded) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 1000; ++i)
        message += "--b\r\nContent-Type: image/png; name=a" + std::to_string(i) + "\r\n\r\nxx\r\n";
    StreamHost host(message + "--b--\r\n");
    EXPECT_EQ(host.context->parts.bodies.count, 1000);
    EXPECT_EQ(emlGetFileNumber(host.context), 1000);
}

}  // namespace
}  // namespace eml::test

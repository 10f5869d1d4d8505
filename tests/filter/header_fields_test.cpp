// The top-level header as the filter shows it, and what it learns from it.
#include "filter/header_fields.h"

#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

std::string field(const std::string& shown, const std::string& value) {
    return "*'" + shown + "'*\\t\\t' " + value + "'\\n";
}

TEST(FilterHeader, ShowsTheseFieldsUnderTheseNames) {
    struct Row {
        const char* header;
        const char* shown;
    };
    const Row kRows[] = {
        {"To:", "To:"},
        {"From:", "From:"},
        {"Cc:", "Cc:"},
        {"Bcc:", "Bcc:"},
        {"Subject:", "Subject:"},
        {"Date:", "Sent:"},
        {"Priority:", "Priority:"},
        {"X-MSMail-Priority:", "Priority:"},
        {"Importance:", "Priority:"},
        {"SUBJECT:", "Subject:"},
        {"date:", "Sent:"},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(headerRecords(std::string(row.header) + " value\r\n\r\n"), field(row.shown, "value"))
            << row.header;
    for (const char* const other : {"Reply-To:", "Sender:", "Sent:", "X-To:", "To :", "Tos:", " To:",
                                    "Received:", "Content-Type:", "X-Priority:", "Message-ID:"})
        EXPECT_EQ(headerRecords(std::string(other) + " value\r\n\r\n"), "") << other;
}

TEST(FilterHeader, KeepsTheOrderOfTheMessage) {
    EXPECT_EQ(headerRecords(crlf("Subject: s\nX-Other: o\nTo: t\nDate: d\nFrom: f\nTo: u\n\n")),
              field("Subject:", "s") + field("To:", "t") + field("Sent:", "d") + field("From:", "f") +
                  field("To:", "u"));
}

TEST(FilterHeader, ShowsTheFirstPriorityOnly) {
    const char* const kNames[] = {"Importance:", "X-MSMail-Priority:", "Priority:"};
    for (const char* const first : kNames) {
        for (const char* const second : kNames) {
            EXPECT_EQ(headerRecords(crlf(std::string(first) + " one\n" + second + " two\n\n")),
                      field("Priority:", "one"));
        }
    }
}

TEST(FilterHeader, WithoutAnEmptyLineGoesToTheEndOfTheText) {
    // The last line is carried over to the body.
    const std::vector<Record> records = recordsOf(OpenFilter("Subject: s\r\nTo: t").stream(65536));
    EXPECT_EQ(showRecords({records.begin() + 5, records.end()}), field("Subject:", "s") + "{7}'To: t'");
    EXPECT_EQ(headerRecords("Subject: s\r\nTo: t\r\n"), field("Subject:", "s") + field("To:", "t"));
    EXPECT_EQ(headerRecords("Subject: s"), field("Subject:", "s"));
}

TEST(FilterHeader, ListsTheAttachments) {
    const auto message = [](const std::vector<std::string>& headers) {
        std::string text = "Mime-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n";
        for (const std::string& header : headers) text += "--b\n" + header + "\n\ncontent\n";
        return crlf(text + "--b--\n");
    };
    const std::string name = "*'Attachment:'*\\t\\t";
    const std::string a = "Content-Type: image/x; name=a";
    const std::string unnamed = "Content-Type: application/applefile";
    struct Row {
        std::vector<std::string> headers;
        std::string shown;
    };
    const Row kRows[] = {
        {{a}, name + "'a'\\n{7}"},
        {{a, a}, name + "'a''; ''a'\\n{7}"},
        {{a, a, a}, name + "'a''; ''a''; ''a'\\n{7}"},
        {{unnamed}, name + "\\n{7}"},
        {{unnamed, a}, name + "'; ''a'\\n{7}"},
        {{a, unnamed}, name + "'a''; '\\n{7}"},
        {{"Content-Type: text/plain"}, "{7}'content'"},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(message(row.headers));
        std::vector<Record> records = recordsOf(filter.stream(65536));
        records.erase(records.begin(), records.begin() + 5);
        EXPECT_EQ(showRecords(records), row.shown) << row.headers.size();
    }
}

TEST(FilterHeader, BodyOnlyShowsNothingAndLearnsAll) {
    const std::string message = crlf(
        "Subject: s\nContent-Type: application/x; charset=koi8-r\n"
        "Content-Transfer-Encoding: quoted-printable\n\ntext=41\n");
    EXPECT_EQ(bodyRecords(message), "{6}\\n'textA'\\n");
    OpenFilter filter(message);
    (void)filter.stream(65536, EML_FILL_BODY_ONLY);
    EXPECT_STREQ(filter.opened().contentType, "application/x");
    EXPECT_EQ(codeOf(filter.opened().transferEncoding), 5U);
    EXPECT_EQ(filter.opened().charset, 6U);
    EXPECT_TRUE(filter.opened().bodyOnly);
}

// What the scan has learnt last is replaced by what the header says, save for two multipart types.
TEST(FilterHeader, LearnsTheTypeAgain) {
    struct Row {
        const char* type;
        const char* learnt;
    };
    const Row kRows[] = {
        {"multipart/mixed", "image/x"},           {"Multipart/Alternative", "image/x"},
        {"multipart/mixedness", "image/x"},       {"multipart/report", "multipart/report"},
        {"Multipart/Signed", "Multipart/Signed"},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(crlf(std::string("Content-Type: ") + row.type +
                               "; boundary=b\n\n--b\nContent-Type: image/x; name=n\n\ncontent\n--b--\n"));
        ASSERT_STREQ(filter.opened().contentType, "image/x");
        (void)filter.stream(65536);
        EXPECT_STREQ(filter.opened().contentType, row.learnt) << row.type;
    }
}

// The charset that the scan has not looked for; one opening quote is passed, and one line end.
TEST(FilterHeader, LearnsACharsetThatTheScanHasLeft) {
    struct Row {
        const char* header;
        uint32_t charset;
        uint32_t inBody;
    };
    const Row kRows[] = {
        {"Content-Type: application/x; charset=koi8-r", 6, 6},
        {"Content-Type: application/x; charset=\"koi8-r\"", 6, 6},
        {"Content-Type: application/x;\n charset=koi8-r", 6, 6},
        {"Content-Type: application/x;\n x=y;\n charset=koi8-r", 7, 7},
        {"Content-Type: application/x; charset=\"\"koi8-r\"", 7,
         7},  // an empty name: unknown, and so the default
        {"Content-Type: application/x; reach=1; charset=koi8-r", 7, 7},
        {"Content-Type: multipart/mixed; boundary=b; charset=koi8-r", 6, 6},
        {"Content-Type: multipart/mixed; boundary=b;\n charset=koi8-r", 6, 6},
        {"Content-Type: application/x; charset=nonsense", 7, 7},
        {"Content-Type: application/x; charset=koi8-r\nContent-Type: application/x; charset=big5", 6, 6},
        {"Content-Type: text/plain; charset=big5\nContent-Type: application/x; charset=koi8-r", 3, 3},
    };
    for (const Row& row : kRows) {
        const std::string message = crlf(std::string(row.header) + "\n\n");
        OpenFilter filter(message);
        ASSERT_NE(filter.context(), nullptr) << row.header;
        const std::vector<Record> records = recordsOf(filter.stream(65536));
        EXPECT_EQ(filter.opened().charset, row.charset) << row.header;
        EXPECT_EQ(showRecords({records[5]}), std::string("{").append(std::to_string(row.inBody)).append("}"))
            << row.header;
    }
}

TEST(FilterHeader, LearnsTheLastEncoding) {
    OpenFilter filter(
        crlf("Content-Transfer-Encoding: base64\nContent-Transfer-Encoding: quoted-printable\n\n=41=42\n"));
    EXPECT_EQ(codeOf(filter.opened().transferEncoding), 4U);
    (void)filter.stream(65536);
    EXPECT_EQ(codeOf(filter.opened().transferEncoding), 5U);
}

TEST(FilterHeader, LongOneIsReadAtOnce) {
    std::string header;
    for (int i = 0; i < 300; ++i) header += "X-Filler: 0123456789012345678901234567890123456789\r\n";
    header += "To: t\r\n";
    OpenFilter filter(header + "\r\ntext\r\n", 0, HeapMode::kGuarded);
    EXPECT_LE(filter.input().largestRead(), 4096U);
    const std::vector<Record> records = recordsOf(filter.stream(65536));
    EXPECT_EQ(filter.input().largestRead(), header.size());
    EXPECT_EQ(records[6].text(), "To:");
}

TEST(FilterHeader, FailsWithTheStatedCodes) {
    struct Row {
        Entry entry;
        uint64_t nth;  // counted from the call on
        EmlResult result;
    };
    const Row kRows[] = {
        {Entry::kInputSeek, 1, EML_OBJECT_FAILED},
        {Entry::kInputRead, 1, EML_OBJECT_FAILED},
        {Entry::kAllocate, 1, EML_NO_MEMORY},  // the staging buffer
        {Entry::kAllocate, 2, EML_NO_MEMORY},  // the header
    };
    for (const Row& row : kRows) {
        OpenFilter filter("Subject: s\r\n\r\ntext\r\n");
        filter.host().journal().fail(row.entry, {filter.host().journal().calls(row.entry) + row.nth, true});
        EXPECT_EQ(filter.stream(65536), "");
        EXPECT_EQ(filter.fillResult(), row.result) << entryName(row.entry) << row.nth;
        EXPECT_EQ(filter.opened().output.next, nullptr);
        EXPECT_EQ(filter.opened().output.start, nullptr);
        EXPECT_EQ(filter.opened().staging.data, nullptr);
        filter.host().journal().fail(row.entry, {});
        EXPECT_NE(filter.stream(65536), "");
    }
}

}  // namespace
}  // namespace eml::test

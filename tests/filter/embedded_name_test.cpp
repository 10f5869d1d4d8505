// Names of embedded messages and reports.
#include "filter/embedded_name.h"

#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

std::string nameOf(const std::string& embedded) {
    OpenFilter filter(
        crlf("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n\n") +
        embedded + "\r\n\r\nend\r\n\r\n--b--\r\n");
    if (emlGetFileNumber(filter.context()) != 1) return "(none)";
    return filter.nameAt(0);
}

TEST(FilterEmbeddedName, IsMadeFromTheSubject) {
    struct Row {
        std::string subject;
        std::string name;
    };
    const Row kRows[] = {
        {"Subject: Re: Quarterly report: Q3", "Quarterl.eml"},
        {"Subject: Fw:x", "x.eml"},
        {"Subject:Re:x", "x.eml"},
        {"Subject:", ".eml"},
        {"Subject: Re:", ".eml"},
        {"Subject: ?*:", ".eml"},
        {"Subject:\t  hello", "hello.eml"},
        // KEPT: one prefix is dropped, and only as it is written here
        {"Subject: RE: x", "RE x.eml"},
        {"Subject: Re: Fw: x", "Fw x.eml"},
        {"Subject: a/b\\c:d*e?f<g>h", "abcdefgh.eml"},
        {"Subject: a|\"b", "ab.eml"},
        {"Subject: ab cd efgh", "ab cd ef.eml"},
        {"Subject: ?? lead", "lead.eml"},
        {"Subject: a\tb\x01"
         "c\x7F",
         "abc\x7F.eml"},
        {"Subject: \xE4\xF6"
         "a\xFC"
         "b\x80",
         "ab.eml"},
        {"Subject: 12345678", "12345678.eml"},
        {"Subject: trailing   ", "trailing.eml"},
        {"Subject: tail   ", "tail   .eml"},
        // KEPT: anywhere further on, and only as it is written here
        {"subject: x", "zt0.eml"},
        {"From: x", "zt0.eml"},
        {"From: x\r\n\r\nas the Subject: says", "says.eml"},
        {"X-Subject: other\r\nSubject: x", "other.eml"},
        {"Subject: " + std::string(1020, '?') + "abcdef", "abc.eml"},
    };
    for (const Row& row : kRows) EXPECT_EQ(nameOf(row.subject), row.name) << escaped(row.subject);
}

TEST(FilterEmbeddedName, WithoutSubjectHasTheNumberOfAttachmentsBefore) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (int i = 0; i < 12; ++i) message += "--b\nContent-Type: message/rfc822\n\nFrom: x\n\ntext\n";
    OpenFilter filter(crlf(message + "--b--\n"));
    ASSERT_EQ(emlGetFileNumber(filter.context()), 12);
    for (int32_t i = 0; i < 12; ++i) EXPECT_EQ(filter.nameAt(i), "zt" + std::to_string(i) + ".eml");
}

TEST(FilterEmbeddedName, SubjectAtTheVeryEndOfTheMessageIsAbsent) {
    EXPECT_EQ(OpenFilter("Content-Type: message/rfc822 Subject:").nameAt(0), "zt0.eml");
    EXPECT_EQ(OpenFilter("Content-Type: message/rfc822 Subject: ").nameAt(0), ".eml");
}

// The search ends with the input buffer, and the first one ends after its last empty line.
TEST(FilterEmbeddedName, SubjectInTheNextInputBufferIsNotFound) {
    OpenFilter filter("Content-Type: message/rfc822\r\n\r\nSubject: x\r\n");
    EXPECT_EQ(filter.nameAt(0), "zt0.eml");
}

TEST(FilterEmbeddedName, NameOfTheTypeIsPreferred) {
    OpenFilter filter("Content-Type: message/rfc822; name=\"given.eml\"\r\n\r\nSubject: x\r\n\r\ntext");
    EXPECT_EQ(filter.nameAt(0), "given.eml");
}

TEST(FilterEmbeddedName, DispositionReplacesIt) {
    OpenFilter filter(
        "Content-Type: message/rfc822\r\nContent-Disposition: attachment; filename=d.eml\r\n\r\n"
        "Subject: x\r\n\r\ntext");
    EXPECT_EQ(filter.nameAt(0), "d.eml");
}

TEST(FilterEmbeddedName, BuffersOfNamesHoldTheLongestNumber) {
    char name[kFileNameSize];
    const uint8_t nothing = 0;
    makeSubjectName({&nothing, &nothing}, INT32_MAX, name);
    EXPECT_STREQ(name, "zt2147483647.eml");
    makeReportName(INT32_MAX, name);
    EXPECT_STREQ(name, "zt2147483647.tmp");
}

}  // namespace
}  // namespace eml::test

#include "container/embedded_name.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "reference/bytes.h"
#include "reference/parameters.h"
#include "support/opened_message.h"

namespace {

using eml::test::OpenedMessage;
using eml::test::RecordingHost;
using reference::shown;

std::string nameOf(std::string_view subject, int32_t number = 2) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[subject.size()]);
    std::copy(subject.begin(), subject.end(), block.get());
    char name[eml::kEmbeddedNameSize];
    std::memset(name, 'X', sizeof name);
    eml::makeEmbeddedName({block.get(), block.get() + subject.size()}, number, name);
    EXPECT_NE(nullptr, std::memchr(name, 0, sizeof name)) << "not terminated";
    return name;
}

struct Row {
    const char* rule;
    std::string subject;
    const char* name;
};

const Row kRows[] = {
    {"at most eight characters", " Quarterly report", "Quarterl.eml"},
    {"exactly eight characters", " 12345678", "12345678.eml"},
    {"fewer characters", " abc", "abc.eml"},
    {"Re: is skipped, and the blank after it does not count", " Re: Quarterly report", "Quarterl.eml"},
    {"re: in any case", "rE:abc", "abc.eml"},
    {"Fw: is skipped", " Fw: abc", "abc.eml"},
    {"fw: in any case", "\tFW:abc", "abc.eml"},
    {"only one Re: is skipped", " Re: Re: abc", "Re abc.eml"},
    {"Re: or else Fw:, not both", " Re: Fw: abc", "Fw abc.eml"},
    {"Fw: and then Re: keeps the Re", " Fw: Re: abc", "Re abc.eml"},
    {"Fwd: is no Fw:", " Fwd: abc", "Fwd abc.eml"},
    {"Re without a colon stays", " Re abc", "Re abc.eml"},
    {"Re : stays", " Re : ab", "Re  ab.eml"},
    {"Re[2]: stays", " Re[2]: abc", "Re[2] ab.eml"},
    {"blanks and tabs before the subject are skipped", " \t \tabc", "abc.eml"},
    {"forbidden characters are dropped", " a/b:c", "abc.eml"},
    {"all of them", " ?:\\/*<>|\"x", "x.eml"},
    {"dropped characters do not count", " a?b?c?d?e?f?g?h?i?j", "abcdefgh.eml"},
    {"control characters are dropped",
     " a\x01"
     "b\tc\x1F"
     "d",
     "abcd.eml"},
    {"bytes from 0x80 on are dropped",
     " a\x80"
     "b\xC3\xA4"
     "c\xFF"
     "d",
     "abcd.eml"},
    {"0x7F stays",
     " a\x7F"
     "b",
     "a\x7F"
     "b.eml"},
    {"dots, blanks and other punctuation stay", " a.b c,d;", "a.b c,d;.eml"},
    {"many blanks at the front do not count", " Re:      abc", "abc.eml"},
    {"a blank before dropped characters does not count", " Re: ?\" abc", "abc.eml"},
    {"blanks inside and after stay", " a b  c  ", "a b  c  .eml"},
    {"the ninth character is a blank", " 12345678 ", "12345678.eml"},
    {"a single blank stays when nothing follows it", " Re: ", " .eml"},
    {"CR ends the subject", " abc\r\ndef", "abc.eml"},
    {"LF ends the subject", " abc\ndef", "abc.eml"},
    {"CR alone ends the subject", " abc\rdef", "abc.eml"},
    {"a zero byte ends the subject", std::string(" abc\0def", 8), "abc.eml"},
    {"encoded words stay as they stand, without what is forbidden", " =?utf-8?Q?a?=", "=utf-8Qa.eml"},
    {"nothing at all", "", "zt2.eml"},
    {"only blanks", " \t ", "zt2.eml"},
    {"only a line end", "\r\n", "zt2.eml"},
    {"only Re:", " Re:", "zt2.eml"},
    {"only Re: and a line end", " Re:\r\n", "zt2.eml"},
    {"only dropped characters", " ???\xC3\xA4***", "zt2.eml"},
};

TEST(EmbeddedName, Rows) {
    for (const Row& row : kRows) {
        EXPECT_EQ(shown(row.name), shown(nameOf(row.subject))) << row.rule;
        EXPECT_EQ(shown(row.name), shown(reference::embeddedName(row.subject, 2))) << row.rule;
    }
}

TEST(EmbeddedName, EveryByteIsKeptOrDropped) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string subject = " a" + std::string(1, static_cast<char>(byte)) + "b";
        const bool ends = byte == 0 || byte == '\r' || byte == '\n';
        const bool dropped = byte < 0x20 || byte >= 0x80 || std::strchr("?:\\/*<>|\"", byte) != nullptr;
        const std::string kept = ends ? "a" : dropped ? "ab" : subject.substr(1);
        EXPECT_EQ(shown(kept + ".eml"), shown(nameOf(subject))) << byte;
    }
}

TEST(EmbeddedName, NumbersOfEverySize) {
    const struct {
        int32_t number;
        const char* name;
    } rows[] = {{0, "zt0.eml"},
                {9, "zt9.eml"},
                {10, "zt10.eml"},
                {1234567, "zt1234567.eml"},
                {INT32_MAX, "zt2147483647.eml"},
                {-1, "zt-1.eml"},
                {INT32_MIN, "zt-2147483648.eml"}};
    for (const auto& row : rows) EXPECT_EQ(row.name, nameOf("", row.number));
}

TEST(EmbeddedName, ALongSubject) {
    EXPECT_EQ("xxxxxxxx.eml", nameOf(std::string(5000, 'x')));
    EXPECT_EQ("zt2.eml", nameOf(std::string(5000, '?')));
    EXPECT_EQ("x.eml", nameOf(" Re:" + std::string(5000, ' ') + "x"));
}

TEST(EmbeddedName, EveryShortSubjectAgreesWithTheReference) {
    constexpr std::string_view kAlphabet = "Re: F?\n";
    for (size_t length = 0; length <= 6; ++length) {
        size_t total = 1;
        for (size_t i = 0; i < length; ++i) total *= kAlphabet.size();
        for (size_t index = 0; index < total; ++index) {
            std::string subject(length, ' ');
            size_t digits = index;
            for (char& character : subject) {
                character = kAlphabet[digits % kAlphabet.size()];
                digits /= kAlphabet.size();
            }
            ASSERT_EQ(reference::embeddedName(subject, 7), nameOf(subject, 7)) << shown(subject);
        }
    }
}

// A message with two named attachments before one embedded message, whose header lines are `header`.
std::string withEmbedded(const std::string& header) {
    return "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
           "--b\r\nContent-Type: text/plain; name=a.txt\r\n\r\na\r\n"
           "--b\r\nContent-Type: text/plain; name=b.txt\r\n\r\nb\r\n"
           "--b\r\nContent-Type: message/rfc822\r\n\r\n" +
           header + "\r\n--b--\r\n";
}

std::string embeddedNameIn(const std::string& message, int32_t number = 3) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(EML_OK, opened.result());
    const auto file = opened.describe(number);
    EXPECT_EQ(EML_OK, file.result);
    EXPECT_EQ(EML_SUB_FILE_MESSAGE, file.info.flags);
    return file.name;
}

TEST(EmbeddedNames, ComeFromTheSubjectOfTheEmbeddedMessage) {
    const struct {
        const char* rule;
        std::string header;
        const char* name;
    } rows[] = {
        {"the subject", "From: x@example.org\r\nSubject: Re: Quarterly report\r\n\r\ntext\r\n",
         "Quarterl.eml"},
        {"forbidden characters", "Subject: a/b:c\r\n\r\n", "abc.eml"},
        {"any case", "sUBJECT:abc\r\n\r\n", "abc.eml"},
        {"LF line ends", "From: x\nSubject: abc\n\ntext", "abc.eml"},
        {"CR line ends", "From: x\rSubject: abc\r\rtext", "abc.eml"},
        {"the first subject counts", "Subject: abc\r\nSubject: def\r\n\r\n", "abc.eml"},
        {"an empty first subject counts as well", "Subject:\r\nSubject: def\r\n\r\n", "zt2.eml"},
        {"its continuation does not belong to it", "Subject:\r\n abc\r\n\r\n", "zt2.eml"},
        {"a continuation line is no subject", "X: y\r\n Subject: abc\r\n\tSubject: def\r\n\r\n", "zt2.eml"},
        {"the third attachment is number two", "From: x@example.org\r\n\r\ntext\r\n", "zt2.eml"},
        {"a subject after the empty line does not count", "From: x\r\n\r\nSubject: abc\r\n", "zt2.eml"},
        {"no header at all", "\r\nSubject: abc\r\n", "zt2.eml"},
        {"nothing at all", "", "zt2.eml"},
        {"a header without an empty line", "Subject: abc", "abc.eml"},
        {"another field that begins alike", "Subjects: abc\r\nSubject : def\r\n\r\n", "zt2.eml"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.name, embeddedNameIn(withEmbedded(row.header))) << row.rule;
}

TEST(EmbeddedNames, ASubjectBehindTheEndOfThePartDoesNotCount) {
    const std::string message = withEmbedded("From: x") + "Subject: abc\r\n";
    EXPECT_EQ("zt2.eml", embeddedNameIn(message));
}

// A line of more than 4096 bytes comes in pieces, and every piece is looked at as a line.
TEST(EmbeddedNames, APieceOfALongLineCountsAsALine) {
    EXPECT_EQ("abc.eml",
              embeddedNameIn(withEmbedded("X:" + std::string(4094, 'x') + "Subject: abc\r\n\r\n")));
    EXPECT_EQ("zt2.eml",
              embeddedNameIn(withEmbedded("X:" + std::string(4093, 'x') + "Subject: abc\r\n\r\n")));
}

TEST(EmbeddedNames, AnEmbeddedMessageWithANameKeepsIt) {
    const std::string message =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: message/rfc822\r\nContent-Disposition: attachment; "
        "filename=\"given.eml\"\r\n\r\n"
        "Subject: abc\r\n\r\n--b--\r\n";
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ("given.eml", opened.describe(1).name);
    EXPECT_EQ(0u, host.journal().calls(eml::test::Entry::kDuplicateString));
}

// The name on the type line of a message part is not looked at; on a continuation line it is.
TEST(EmbeddedNames, ANameOnTheTypeLineOfAMessagePartIsNotTaken) {
    const std::string before =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: message/rfc822;";
    const std::string after = "name=given.eml\r\n\r\nSubject: abc\r\n\r\n--b--\r\n";
    EXPECT_EQ("abc.eml", embeddedNameIn(before + " " + after, 1));
    EXPECT_EQ("given.eml", embeddedNameIn(before + "\r\n " + after, 1));
}

TEST(EmbeddedNames, TheHostDuplicatesEachName) {
    RecordingHost host(withEmbedded("Subject: abc\r\n\r\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(1u, host.journal().calls(eml::test::Entry::kDuplicateString));
}

TEST(EmbeddedNames, AFailedDuplicationEndsTheOpenWithTwo) {
    RecordingHost host(withEmbedded("Subject: abc\r\n\r\n"));
    host.journal().fail(eml::test::Entry::kDuplicateString, {1, false});
    OpenedMessage opened(host);
    EXPECT_EQ(EML_NO_MEMORY, opened.result());
    EXPECT_NE(nullptr, opened.context());
}

}  // namespace

// Names of embedded messages, through the whole open.
#include <gtest/gtest.h>

#include "support/sections.h"

namespace eml::test {
namespace {

struct SubjectCase {
    const char* rule;
    std::string header;  // of the embedded message; "\n" stands for CR LF
    const char* name;
};

TEST(EmbeddedMessage, IsNamedAfterItsSubject) {
    using namespace std::string_literals;
    const SubjectCase cases[] = {
        {"eight characters, one Re: skipped", "Subject: Re: Quarterly report\n", "Quarterl.eml"},
        {"characters that no file name takes are dropped", "Subject: a/b:c\n", "abc.eml"},
        {"no subject", "From: x\n", "zt0.eml"},
        {"nothing of it can be used", "Subject: ?:\\/*<>|\"\n", "zt0.eml"},
        {"bytes from 0x80 are dropped",
         "Subject: \x80"
         "a\xFF"
         "b\n",
         "ab.eml"},
        {"one Re: only", "Subject: Re: Re: x\n", "Re x.eml"},
        {"Fw:, any case", "Subject: fW:x\n", "x.eml"},
        {"Re: or else Fw:, not both", "Subject: Re:Fw:x\n", "Fwx.eml"},
        {"the field in any case", "SUBJECT:x\n", "x.eml"},
        {"the first subject", "From: y\nSubject: one\nSubject: two\n", "one.eml"},
        {"a folded line is not read on", "Subject: ab\n cd\n", "ab.eml"},
        {"a continuation line is no subject", " Subject: no\nSubject: yes\n", "yes.eml"},
        {"blanks inside are kept", "Subject: a b c d e f\n", "a b c d .eml"},
        {"the subject after the empty line is text", "From: y\n\nSubject: no\n", "zt0.eml"},
        {"a zero byte ends it", "Subject: ab\0cd\n"s, "ab.eml"},
        {"encoded words stay", "Subject: =?utf-8?Q?x?=\n", "=utf-8Qx.eml"},
        {"an empty subject", "Subject:\n", "zt0.eml"},
    };
    for (const SubjectCase& row : cases) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(multipart(
            "mixed", "--b\n\ntext\n--b\nContent-Type: message/rfc822\n\n" + row.header + "\nbody\n--b--\n"));
        OpenedMessage opened(host);
        ASSERT_EQ(opened.subFileCount(), 2U);
        const SubFile file = opened.describe(1);
        EXPECT_EQ(file.name, row.name);
        EXPECT_EQ(file.info.flags, 8U);
    }
}

TEST(EmbeddedMessage, NumberOfTheAttachmentWhenThereIsNoSubject) {
    const std::string image = "--b\nContent-Type: image/png; name=a.png\n\nx\n";
    const std::string embedded = "--b\nContent-Type: message/rfc822\n\nFrom: x\n\nbody\n";
    RecordingHost host(multipart("mixed", "--b\n\ntext\n" + image + image + embedded + embedded + "--b--\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.describe(3).name, "zt2.eml") << "the third attachment";
    EXPECT_EQ(opened.describe(4).name, "zt3.eml");
}

// The subject is looked for in the part alone, and every read counts as a line.
TEST(EmbeddedMessage, SubjectBehindThePartIsNotTaken) {
    RecordingHost host(
        multipart("mixed", "--b\nContent-Type: message/rfc822\n\nFrom: x\n--b\nSubject: no\n\ny\n--b--\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.describe(1).name, "zt0.eml");
}

TEST(EmbeddedMessage, RestOfALongLineMayBeTheSubject) {
    RecordingHost host(multipart("mixed", "--b\nContent-Type: message/rfc822\n\n" + std::string(4096, 'x') +
                                              "Subject: rest\n\nbody\n--b--\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.describe(1).name, "rest.eml");
}

// A message part that is no attachment gets a name all the same, with the number of what was counted before
// it.
TEST(EmbeddedMessage, PartWithoutEmptyLineIsNamedButNotListed) {
    RecordingHost host(multipart("mixed", "--b\nContent-Type: message/rfc822\n--b\n\ntext\n--b--\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.subFileCount(), 1U);
    EXPECT_EQ(textOf(sectionsOf(opened).at(0)->fileName), "zt-1.eml");
}

TEST(EmbeddedMessage, NameIsMadeByTheHost) {
    const std::string message =
        multipart("mixed", "--b\nContent-Type: message/rfc822\n\nSubject: x\n\nbody\n--b--\n");
    for (const bool missing : {false, true}) {
        RecordingHost host(message);
        if (missing) {
            host.remove(Entry::kDuplicateString);
        } else {
            host.journal().fail(Entry::kDuplicateString, {1, false});
        }
        OpenedMessage opened(host);
        ASSERT_NE(opened.context(), nullptr);
        EXPECT_EQ(opened.result(), EML_NO_MEMORY);
        opened.visitAll();
    }
}

}  // namespace
}  // namespace eml::test

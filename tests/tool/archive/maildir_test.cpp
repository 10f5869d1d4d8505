#include "tool/archive/maildir.h"

#include <gtest/gtest.h>

#include <string>

namespace emltool {
namespace {

using Words = std::vector<std::string_view>;

TEST(MaildirFlags, ComeFromTheNameAndTheFolder) {
    struct {
        const char* rule;
        const char* path;
        std::optional<Words> words;
    } const cases[] = {
        {"seen", "Maildir/cur/1.host:2,S", Words{"seen"}},
        {"all, in one order", "cur/1.host:2,FDTPSR",
         Words{"seen", "replied", "flagged", "trashed", "draft", "passed"}},
        {"none", "/m/cur/1.host:2,", Words{}},
        {"no mark in cur", "/m/cur/1.host", Words{}},
        {"new", "/m/new/1.host", Words{}},
        {"a size before the mark", "/m/cur/1.host,S=12,W=13:2,RS", Words{"seen", "replied"}},
        {"keywords are no flags", "/m/cur/1.host:2,Sab", Words{"seen"}},
        {"twice is once", "/m/cur/1.host:2,SS", Words{"seen"}},
        {"the last mark counts", "/m/cur/1:2,T:2,F", Words{"flagged"}},
        {"experimental info", "/m/cur/1.host:1,S", Words{}},
        {"no letters after the mark", "/m/cur/1.host:2,S.eml", Words{}},
        {"the name alone", "1.host:2,F", Words{"flagged"}},
        {"in another folder, by its mark", "./1.host:2,F", Words{"flagged"}},
        {"another folder", "/m/old/1.host", std::nullopt},
        {"a folder that ends like it", "/m/xcur/1.host", std::nullopt},
        {"cur above", "/m/cur/x/1.host", std::nullopt},
        {"cur itself", "cur", std::nullopt},
        {"no mark for letters", "2,S", std::nullopt},
        {"nothing", "", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(maildirFlags(c.path), c.words) << c.rule;
}

TEST(Maildir, IsKnownByItsFolders) {
    struct {
        const char* rule;
        Words folders;
        bool is;
    } const cases[] = {
        {"all three", {"cur", "new", "tmp"}, true},
        {"with others", {".Sent", "cur", "new", "tmp"}, true},
        {"a copy without empty folders", {"cur", "new"}, true},
        {"another such copy", {"cur", "tmp"}, true},
        {"not without cur", {"new", "tmp"}, false},
        {"cur alone", {"cur"}, false},
        {"other folders", {"CUR", "NEW", "TMP"}, false},
        {"none", {}, false},
    };
    for (const auto& c : cases) EXPECT_EQ(isMaildir(c.folders), c.is) << c.rule;
}

TEST(Maildir, HasHousekeeping) {
    struct {
        const char* name;
        bool file;
        bool folder;
    } const cases[] = {
        {"tmp", false, true},
        {"maildirsize", true, false},
        {"maildirfolder", true, false},
        {"subscriptions", true, false},
        {"dovecot-uidlist", true, false},
        {"dovecot.index.log", true, false},
        {".dovecot.sieve", true, false},
        {"courierimapuiddb", true, false},
        {"courierimapkeywords", true, true},
        {"cur", false, false},
        {".Sent", false, false},
        {"letter.eml", false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(isMaildirHousekeeping(c.name, false), c.file) << c.name;
        EXPECT_EQ(isMaildirHousekeeping(c.name, true), c.folder) << c.name;
    }
}

TEST(Maildir, LeavesOutOfAnArchiveWhatIsNoMessage) {
    const struct {
        const char* rule;
        const char* name;
        const char* beginning;
        bool isLeftOut;
    } cases[] = {
        {"tmp without others is any folder", "Mail/tmp/1.host", "A: 1\n", false},
        {"but for names that deliveries have", "Mail/tmp/1700000000.M1P2.host", "A: 1\n", true},
        {"an index that comes before all messages", "Mail/dovecot-uidlist", "3 V1 N2\n", true},
        {"a message that is called like one", "Mail/dovecot.eml", "A: 1\n", false},
        {"an mbox that is called like one", "Mail/subscriptions", "From a\n", false},
        {"a message", "Mail/cur/1.host:2,S", "A: 1\n", false},
        {"tmp beside cur", "Mail/tmp/1.host", "A: 1\n", true},
        {"tmp beside nothing", "Other/tmp/1.host", "A: 1\n", false},
        {"a message in new", "new/1.host", "A: 1\n", false},
        {"tmp beside new, without a folder around", "tmp/1.host", "A: 1\n", true},
        {"what is no message is for the row of an error", "Mail/cur/x", "\x01\x02", false},
    };
    MaildirMembers members;
    for (const auto& c : cases) EXPECT_EQ(members.leavesOut(c.name, c.beginning), c.isLeftOut) << c.rule;
}

}  // namespace
}  // namespace emltool

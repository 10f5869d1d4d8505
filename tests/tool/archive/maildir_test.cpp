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

}  // namespace
}  // namespace emltool

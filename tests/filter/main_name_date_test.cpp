// The name of a message, made from its subject, and its date.
#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <optional>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

struct NameDate {
    EmlResult result;
    std::string name;
    bool dateStored;
    int64_t seconds;
};

NameDate nameDate(OpenFilter& filter) {
    char name[14];
    std::memset(name, 'x', sizeof name);
    uint32_t date[2] = {0xA5A5A5A5, 0xA5A5A5A5};
    const EmlResult result = emlGetMainNameDate(filter.context(), name, date);
    const void* const end = std::memchr(name, 0, sizeof name);
    NameDate found{result, end != nullptr ? std::string(name) : "(not terminated)", false, 0};
    found.dateStored = date[0] != 0xA5A5A5A5 || date[1] != 0xA5A5A5A5;
    found.seconds = static_cast<int64_t>(uint64_t{date[1]} << 32 | date[0]);
    return found;
}

NameDate nameDate(const std::string& message, HeapMode mode = HeapMode::kPlain) {
    OpenFilter filter(message, 0, mode);
    const NameDate found = nameDate(filter);
    EXPECT_EQ(filter.opened().output.next, nullptr);
    EXPECT_EQ(filter.opened().output.start, nullptr);
    return found;
}

struct NameRow {
    std::string subject;
    std::string name;
};

void expectNames(const std::vector<NameRow>& rows) {
    for (const NameRow& row : rows) {
        const NameDate found = nameDate("Subject:" + row.subject + "\r\n\r\n");
        EXPECT_EQ(found.name, row.name + ".mail") << escaped(row.subject.substr(0, 100));
        EXPECT_EQ(found.result, EML_OK);
    }
}

TEST(FilterName, IsTheFirstEightCharactersOfTheSubject) {
    expectNames({
        {" Re: Q3/Q4 plans?", "Re Q3Q4 "},
        {" hello", "hello"},
        {"hello", "hello"},
        {" \t hello", "hello"},
        {" 12345678", "12345678"},
        {" 123456789", "12345678"},
        {" a?b:c\\d/e*f<g>h|i\"j", "abcdefgh"},
        {" a\x01\x1F"
         "b\tc",
         "abc"},
        {" \xE4\xF6\xFC\xFF\x80", "\xE4\xF6\xFC\xFF\x80"},
        {" ", "zteml"},
        {"", "zteml"},
        {" ?:*", "zteml"},
        {" =?us-ascii?Q?encoded?=", "encoded"},
        {" =?iso-8859-2?B?ZW5jb2RlZA==?=", "encoded"},
        {" ab\r\n cd", "abcd"},
    });
}

// KEPT: after each text the total grows by the whole name, so that several texts can give fewer characters.
TEST(FilterName, SubjectInSeveralTextsCanGiveFewerCharacters) {
    const auto word = [](const std::string& text) { return " =?us-ascii?Q?" + text + "?="; };
    expectNames({
        {word("abc") + word("def"), "abcdef"},
        {word("abc") + word("def") + word("ghi"), "abcdef"},
        {word("ab") + word("cd") + word("ef") + word("gh"), "abcdef"},
        {word("ab") + word("cd") + word("??") + word("gh"), "abcd"},
        {word("abcdefg") + word("hi"), "abcdefgh"},
        {word("??") + word("ab"), "ab"},
    });
}

// A subject is read as far as its line stands in one input buffer.
TEST(FilterName, LongSubjectIsReadInItsInputBuffer) {
    for (const size_t length : {4080U, 4081U, 4087U, 4088U, 5000U, 10000U})
        expectNames({{std::string(length, 'v'), "vvvvvvvv"}});
    expectNames({{" =?us-ascii?Q?" + std::string(10000, 'v') + "?=", "vvvvvvvv"}});
}

// The record buffer counts as full at 3686 bytes: no decoded text is written after them.
TEST(FilterName, TextsThatDoNotFitAreLeftOut) {
    const std::string word = "=?us-ascii?Q?abcd?=";
    const auto marks = [](size_t count) { return std::string(count, '?'); };
    expectNames({
        {marks(3600) + word, "abcd"},
        {marks(3674) + word, "abc"},
        {marks(3677) + word, "zteml"},
        {marks(3800) + word, "zteml"},
        {marks(3800) + "=?us-ascii?X?abcd?=", "abcd"},
    });
}

TEST(FilterName, IsTheDefaultWithoutASubject) {
    EXPECT_EQ(nameDate("To: t\r\n\r\ntext").name, "zteml.mail");
    EXPECT_EQ(nameDate("To: t\r\n\r\nSubject: in the body\r\n").name, "zteml.mail");
    EXPECT_EQ(nameDate("To: t\r\nX-Subject: other\r\n\r\n").name, "zteml.mail");
    EXPECT_EQ(nameDate("Subject: one\r\nSubject: two\r\n\r\n").name, "one.mail");
    EXPECT_EQ(nameDate("SUBJECT: one\r\n\r\n").name, "one.mail");
    EXPECT_EQ(nameDate("Subject:\r\nSubject: two\r\n\r\n").name, "zteml.mail");
    EXPECT_EQ(nameDate("Subject: open").name, "open.mail");
}

TEST(FilterName, LinesEndAsTheMessageHasIt) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
        EXPECT_EQ(nameDate("To: t" + lineEnd + "Subject: one" + lineEnd + lineEnd + "Subject: two").name,
                  "one.mail")
            << escaped(lineEnd);
    }
}

TEST(FilterName, MayStandInAnyInputBuffer) {
    std::string filler;
    for (int i = 0; i < 250; ++i) filler += "X-Filler: 0123456789012345678901234567890123456789\r\n";
    const NameDate found =
        nameDate(filler + "Subject: far\r\n" + filler + "Date: Tue, 5 Mar 2024 14:07:09 +0100\r\n\r\n",
                 HeapMode::kGuarded);
    EXPECT_EQ(found.name, "far.mail");
    EXPECT_TRUE(found.dateStored);
}

std::optional<int64_t> localTime(int year, int month, int day, int hour, int minute, int second) {
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    return static_cast<int64_t>(std::mktime(&local));
}

TEST(FilterDate, IsReadFromBehindFourCharacters) {
    struct Row {
        const char* value;
        std::optional<int64_t> seconds;
    };
    const std::optional<int64_t> kMarch = localTime(2024, 3, 5, 14, 7, 9);
    const Row kRows[] = {
        {" Tue, 5 Mar 2024 14:07:09 +0100", kMarch},
        {" Tue, 5 Mar 2024 14:07:09", kMarch},
        {"Tue, 5 Mar 2024 14:07:09 GMT", kMarch},
        {"\t Tue,5 Mar 2024 14:07:09", kMarch},
        {" xxxx5 mAR 2024 14:07:09", kMarch},
        {" Tue, 05 Mar  2024 14:07:09", kMarch},
        {" Tue,  5  Mar 2024  14: 7: 9", kMarch},
        {" Tue, 31 Apr 2024 14:07:09", localTime(2024, 4, 31, 14, 7, 9)},
        {" Sat, 1 Jan 2000 00:00:00", localTime(2000, 1, 1, 0, 0, 0)},
        {" Fri, 31 Dec 1999 23:59:60", localTime(1999, 12, 31, 23, 59, 60)},
        {" 5 Mar 2024 14:07:09", std::nullopt},
        {" Tuesday, 5 Mar 2024 14:07:09", std::nullopt},
        {" Tue, 5 March 2024 14:07:09", std::nullopt},
        {" Tue, 5 Foo 2024 14:07:09", std::nullopt},
        {" Tue, 0 Mar 2024 14:07:09", std::nullopt},
        {" Tue, 5 Mar 2024 14:07", std::nullopt},
        {" Tue, 5 Mar 2024 14.07.09", std::nullopt},
        {" Tue, 5 Mar", std::nullopt},
        {" Tue, 5", std::nullopt},
        {" Tue,", std::nullopt},
        {" T", std::nullopt},
        {"", std::nullopt},
        // The digits are looked for where the blanks ended, and the number is read from after a line end.
        {" Tue, +5 Mar 2024 14:07:09", std::nullopt},
        {" Tue, -5 Mar 2024 14:07:09", std::nullopt},
        {" Tue,\r\n 5 Mar 2024 14:07:09", std::nullopt},
        {" Tue, \n5 Mar 2024 14:07:09", std::nullopt},
        {" Tue, \v5 Mar 2024 14:07:09", std::nullopt},
        {" Tue, 5\t Mar 2024 14:07:09", kMarch},
        {" Tue, 5Mar 2024 14:07:09", kMarch},
        {" Tue, 00000000005 Mar 2024 14:07:09", kMarch},
        {" Tue, 99999999999 Mar 2024 14:07:09", std::nullopt},
    };
    for (const Row& row : kRows) {
        for (const char* const end : {"\r\n\r\n", ""}) {
            const NameDate found = nameDate(std::string("Date:") + row.value + end, HeapMode::kGuarded);
            EXPECT_EQ(found.dateStored, row.seconds.has_value()) << row.value;
            if (found.dateStored && row.seconds) {
                EXPECT_EQ(found.seconds, *row.seconds) << row.value;
            }
            EXPECT_EQ(found.result, EML_OK);
        }
    }
}

TEST(FilterDate, FirstDateLineCounts) {
    EXPECT_FALSE(nameDate("Date: unreadable\r\nDate: Tue, 5 Mar 2024 14:07:09\r\n\r\n").dateStored);
    EXPECT_FALSE(nameDate("X-Date: Tue, 5 Mar 2024 14:07:09\r\n\r\n").dateStored);
    EXPECT_TRUE(nameDate("DATE: Tue, 5 Mar 2024 14:07:09\r\nSubject: s\r\n\r\n").dateStored);
}

TEST(FilterNameDate, WithoutStoreDateTheDateIsPassedOver) {
    OpenFilter filter("Date: Tue, 5 Mar 2024 14:07:09\r\nSubject: s\r\n\r\n");
    filter.host().remove(Entry::kStoreDate);
    const NameDate found = nameDate(filter);
    EXPECT_EQ(found.name, "s.mail");
    EXPECT_FALSE(found.dateStored);
}

TEST(FilterNameDate, ArgumentsAndConversionsAreTestedFirst) {
    OpenFilter filter("Subject: s\r\n\r\n" + std::string(20000, 't'));
    uint32_t date[2];
    EXPECT_EQ(emlGetMainNameDate(filter.context(), nullptr, date), EML_INVALID_ARGUMENT);
    char name[14] = "untouched";
    EXPECT_EQ(emlGetMainNameDate(nullptr, name, date), EML_INVALID_ARGUMENT);
    EXPECT_STREQ(name, "untouched");
    // In the middle of a conversion.
    std::string buffer(1000, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    ASSERT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, 1000), EML_OK);
    ASSERT_LT(progress, 100U);
    const int32_t readCount = filter.opened().input.readCount;
    const int32_t converted = filter.opened().body.converted;
    EXPECT_EQ(emlGetMainNameDate(filter.context(), name, date), EML_INVALID_ARGUMENT);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(filter.opened().input.readCount, readCount);
    EXPECT_EQ(filter.opened().body.converted, converted);
    // After its end.
    while (progress < 100)
        ASSERT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, 1000), EML_OK);
    EXPECT_EQ(emlGetMainNameDate(filter.context(), name, date), EML_OK);
    EXPECT_STREQ(name, "s.mail");
}

TEST(FilterNameDate, FailureGivesTheDefaultName) {
    struct Row {
        Entry entry;
        EmlResult result;
    };
    for (const Row row : {Row{Entry::kAllocate, EML_NO_MEMORY}, Row{Entry::kInputSeek, EML_OBJECT_FAILED},
                          Row{Entry::kInputRead, EML_OBJECT_FAILED}}) {
        OpenFilter filter("Subject: s\r\n\r\n");
        filter.host().journal().fail(row.entry, {filter.host().journal().calls(row.entry) + 1, false});
        const NameDate found = nameDate(filter);
        EXPECT_EQ(found.result, row.result) << entryName(row.entry);
        EXPECT_EQ(found.name, "zteml.mail");
        EXPECT_EQ(filter.opened().output.start, nullptr);
        EXPECT_EQ(nameDate(filter).name, "s.mail");
    }
}

// The call does not disturb a conversion that comes after it.
TEST(FilterNameDate, StreamIsTheSameAfterwards) {
    const std::string message = "Subject: s\r\nDate: Tue, 5 Mar 2024 14:07:09\r\n\r\ntext\r\n";
    OpenFilter plain(message);
    OpenFilter asked(message);
    EXPECT_EQ(nameDate(asked).name, "s.mail");
    EXPECT_EQ(asked.stream(65536), plain.stream(65536));
}

}  // namespace
}  // namespace eml::test

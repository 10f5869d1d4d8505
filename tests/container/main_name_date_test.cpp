// The name and the date of the message itself.
#include "container/main_name_date.h"

#include <gtest/gtest.h>

#include "host/scripted_services.h"
#include "support/sections.h"

namespace eml::test {
namespace {

std::string nameOf(std::string_view subject) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[subject.size()]);
    std::copy(subject.begin(), subject.end(), block.get());
    char name[kMainNameSize];
    std::fill(std::begin(name), std::end(name), 'Z');
    makeMainName({block.get(), block.get() + subject.size()}, name);
    EXPECT_NE(std::find(std::begin(name), std::end(name), '\0'), std::end(name));
    return name;
}

TEST(MainName, FromTheSubject) {
    struct Row {
        const char* rule;
        std::string subject;
        std::string name;
    };
    const Row rows[] = {
        {"no subject", "", "zteml.mail"},
        {"short", "a", "a.mail"},
        {"eight bytes", "abcdefgh", "abcdefgh.mail"},
        {"the ninth is cut", "abcdefghi", "abcdefgh.mail"},
        {"forbidden bytes do not count; blanks stay", "Re: Q3/Q4 budget?", "Re Q3Q4 .mail"},
        {"only forbidden ones", "?:\\/*<>|\"", "zteml.mail"},
        {"each forbidden one", "a?b:c\\d/e*f<g>h|i\"j", "abcdefgh.mail"},
        {"control bytes are dropped", std::string("\x01\x1F\t\0a", 5), "a.mail"},
        {"0x7F stays", "\x7F", "\x7F.mail"},
        {"8-bit bytes stay", "Caf\xE9", "Caf\xE9.mail"},
        {"blanks alone stay", "   ", "   .mail"},
        {"dots and slashes: \"..\" stays, its slash goes", "../../x", "....x.mail"},
        {"KEPT: cut inside an UTF-8 character", "abcdefg\xC3\xA9", "abcdefg\xC3.mail"},
        {"zero bytes in the middle are dropped", std::string("a\0b", 3), "ab.mail"},
    };
    for (const Row& row : rows) EXPECT_EQ(nameOf(row.subject), row.name) << row.rule;
}

std::string nameOfMessage(const std::string& message) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    return opened.describe(0).name;
}

TEST(MainName, OfAMessage) {
    EXPECT_EQ(nameOfMessage(crlf("Subject: Re: Q3/Q4 budget?\n\n")), "Re Q3Q4 .mail");
    EXPECT_EQ(nameOfMessage(crlf("Subject: =?utf-8?Q?a=3Fb?=\n\n")), "ab.mail") << "the decoded subject";
    EXPECT_EQ(nameOfMessage(crlf("To: x\n\n")), "zteml.mail");
    EXPECT_EQ(nameOfMessage(""), "zteml.mail");
    EXPECT_EQ(nameOfMessage(crlf("Subject: a\nSubject: b\n\n")), "a#####b.mail") << "repeated: joined before";
    EXPECT_EQ(nameOfMessage(crlf("Subject: =?x?Q?=00abc?=\n\n")), "zteml.mail")
        << "a value that begins with zero";
    EXPECT_EQ(nameOfMessage(crlf("Subject:\n a\n\n")), " a.mail");
}

// What mktime makes of a local time, -1 for none.
time_t local(int year, int month, int day, int hour, int minute, int second) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return std::mktime(&fields);
}

time_t dateOf(std::string_view value) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[value.size()]);
    std::copy(value.begin(), value.end(), block.get());
    return dateOfHeader({block.get(), block.get() + value.size()}).value_or(-1);
}

struct DateRow {
    const char* rule;
    const char* value;
    time_t expected;
};

TEST(MainDate, Values) {
    const time_t usual = local(1994, 11, 15, 8, 12, 31);
    const DateRow rows[] = {
        {"the usual form", "Tue, 15 Nov 1994 08:12:31 -0500", usual},
        {"the zone is ignored", "Tue, 15 Nov 1994 08:12:31 +1400", usual},
        {"no zone", "Tue, 15 Nov 1994 08:12:31", usual},
        {"month in any case", "Tue, 15 nov 1994 08:12:31", usual},
        {"KEPT: four bytes are unread, whatever they are", "\x01\xFF??15 Nov 1994 08:12:31", usual},
        {"KEPT: no weekday, no date", "15 Nov 1994 08:12:31", -1},
        {"a weekday written out", "Tuesday, 15 Nov 1994 08:12:31", -1},
        {"blanks and tabs", "Tue, \t 15 \t Nov \t 1994 \t 08:12:31", usual},
        {"no blank after the comma", "Tue,15 Nov 1994 08:12:31", usual},
        {"what follows the day's number is skipped", "Tue, 15th Nov 1994 08:12:31", usual},
        {"no blank after the month", "Tue, 15 Nov1994 08:12:31", usual},
        {"month written out", "Tue, 15 November 1994 08:12:31", -1},
        {"no seconds", "Tue, 15 Nov 1994 08:12", -1},
        {"no time", "Tue, 15 Nov 1994", -1},
        {"no year", "Tue, 15 Nov", -1},
        {"month cut", "Tue, 15 No", -1},
        {"no month", "Tue, 15", -1},
        {"another month", "Tue, 15 Xyz 1994 08:12:31", -1},
        {"month as a number", "Tue, 15 11 1994 08:12:31", -1},
        {"day 0", "Tue, 0 Nov 1994 08:12:31", -1},
        {"day -1", "Tue, -1 Nov 1994 08:12:31", -1},
        {"day 31 of November is December", "Tue, 31 Nov 1994 08:12:31", local(1994, 11, 31, 8, 12, 31)},
        {"day +15", "Tue, +15 Nov 1994 08:12:31", usual},
        {"hours out of range", "Tue, 15 Nov 1994 25:61:61", local(1994, 11, 15, 25, 61, 61)},
        {"negative minutes", "Tue, 15 Nov 1994 08:-1:00", local(1994, 11, 15, 8, -1, 0)},
        {"a two-digit year is one of the first century", "Tue, 15 Nov 94 08:12:31",
         local(94, 11, 15, 8, 12, 31)},
        {"before 1970", "Mon, 20 Jul 1959 20:17:40", local(1959, 7, 20, 20, 17, 40)},
        {"summer time is the host's business", "Mon, 15 Jul 2024 12:00:00", local(2024, 7, 15, 12, 0, 0)},
        {"a day above 32 bits", "Tue, 4294967311 Nov 1994 08:12:31", -1},
        {"a year above 32 bits", "Tue, 15 Nov 4294969290 08:12:31", -1},
        {"a second above 32 bits", "Tue, 15 Nov 1994 08:12:4294967327", -1},
        {"a year whose difference does not fit", "Tue, 15 Nov -2147483648 08:12:31", -1},
        {"no more than the four bytes", "Tue,", -1},
        {"fewer", "Tu", -1},
        {"nothing", "", -1},
        {"the four and blanks", "Tue, ", -1},
        {"no number", "Tue, x Nov 1994 08:12:31", -1},
    };
    for (const DateRow& row : rows) EXPECT_EQ(dateOf(row.value), row.expected) << row.rule;
}

TEST(MainDate, EveryPrefixIsSafe) {
    const std::string whole = "Tue, 15 Nov 1994 08:12:31 -0500";
    for (size_t length = 0; length <= whole.size(); ++length) {
        const bool complete = length >= std::string_view("Tue, 15 Nov 1994 08:12:3").size();
        EXPECT_EQ(dateOf(std::string_view(whole).substr(0, length)) != -1, complete) << length;
    }
}

time_t storedOf(const std::string& message) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    const SubFile file = opened.describe(0);
    const uint64_t words = uint64_t{file.info.date[1]} << 32 | file.info.date[0];
    return static_cast<time_t>(static_cast<int64_t>(words));
}

TEST(MainDate, OfAMessage) {
    const time_t usual = local(1994, 11, 15, 8, 12, 31);
    EXPECT_EQ(storedOf(crlf("Date: Tue, 15 Nov 1994 08:12:31 -0500\n\n")), usual);
    EXPECT_EQ(storedOf(crlf("Date: Tue,\n 15 Nov 1994\n 08:12:31 -0500\n\n")), usual) << "folded";
    EXPECT_EQ(storedOf(crlf("Date: =?x?Q?Tue,_15_Nov?= 1994 08:12:31\n\n")), usual) << "decoded";
    EXPECT_EQ(storedOf(crlf("Date: 15 Nov 1994 08:12:31\n\n")), 0) << "left as it was";
    EXPECT_EQ(storedOf(crlf("Date: =?x?Q?=00ue,_15_Nov_1994_08:12:31?=\n\n")), 0) << "begins with zero";
    EXPECT_EQ(storedOf(crlf("Sent: Tue, 15 Nov 1994 08:12:31\n\n")), 0);
    EXPECT_EQ(storedOf(""), 0);
}

TEST(MainDate, AHostWithoutTheEntryHasNoDate) {
    ScriptedMessage message(crlf("Date: Tue, 15 Nov 1994 08:12:31\nSubject: x\n\n"));
    message.services.record().storeDate = nullptr;
    EXPECT_EQ(message.context().mainDate[0], 0u);
    EXPECT_STREQ(message.context().mainName, "x.mail");
}

// Reads the default list alone, by position, and every entry of it may be missing.
TEST(MainNameDate, ListsThatAreHalfBuilt) {
    char subject[] = "Subject", date[] = "Date", text[] = "text", when[] = "Tue, 15 Nov 1994 08:12:31";
    EmlMetaDataEntry subjectEntry{1, 0, 7, subject, text, 4};
    EmlMetaDataEntry dateEntry{1, 0, 7, date, when, sizeof when - 1};
    EmlMetaDataEntry* entries[7] = {nullptr, &dateEntry, nullptr, nullptr, nullptr, &subjectEntry, nullptr};
    ScriptedServices services;
    EmlContainerContext context{};
    context.services = &services.record();
    const auto run = [&](int32_t count, EmlMetaDataEntry** list) {
        context.metaData.count = count;
        context.metaData.entries = list;
        context.mainDate[0] = context.mainDate[1] = 0;
        EXPECT_EQ(eml2GetMainNameDate(context), EML_OK);
        return std::string(context.mainName) + (context.mainDate[0] != 0 ? " dated" : "");
    };
    EXPECT_EQ(run(7, entries), "text.mail dated");
    EXPECT_EQ(run(6, entries), "text.mail dated");
    EXPECT_EQ(run(5, entries), "zteml.mail dated");
    EXPECT_EQ(run(1, entries), "zteml.mail");
    EXPECT_EQ(run(0, nullptr), "zteml.mail");
    subject[0] = 's';
    EXPECT_EQ(run(7, entries), "zteml.mail dated") << "the name exactly";
    subject[0] = 'S';
    subjectEntry.type = dateEntry.type = 8;
    EXPECT_EQ(run(7, entries), "zteml.mail") << "text entries alone";
    subjectEntry.type = dateEntry.type = 7;
    subjectEntry.value = dateEntry.value = nullptr;
    EXPECT_EQ(run(7, entries), "zteml.mail");
    entries[1] = entries[5] = nullptr;
    EXPECT_EQ(run(7, entries), "zteml.mail");
}

}  // namespace
}  // namespace eml::test

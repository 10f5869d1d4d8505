// Header values that a host asks the filter for.
#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "host/metadata_records.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using Values = std::vector<FilterValue>;

FilterValue value(const char* name, const char* text) { return {name, true, text, true}; }
FilterValue none(const char* name) { return {name, false, "", false}; }

std::string message() {
    return crlf(
        "From: f\nTo: t\nCc: c\nBcc: b\nSubject: =?koi8-r?Q?two_words?=\nDate: Tue, 5 Mar 2024\n"
        "X-MSMail-Priority: High\n\ntext\nTo: not a header\n");
}

TEST(FilterMetadata, DefaultListHasSevenValues) {
    const Values kValues = {value("Bcc", "b"),
                            value("Cc", "c"),
                            value("From", "f"),
                            value("Priority", "High"),
                            value("Sent", "Tue, 5 Mar 2024"),
                            value("Subject", "two words"),
                            value("To", "t")};
    OpenFilter filter(message());
    const FilterMetadata metadata = filter.metadata();
    EXPECT_EQ(metadata.result, EML_OK);
    EXPECT_EQ(metadata.values, kValues);
    OpenFilter bare("X-Other: o\r\n\r\n");
    for (const FilterValue& one : bare.metadata().values) EXPECT_EQ(one, none(one.name.c_str()));
    EXPECT_EQ(bare.metadata().values.size(), 7U);
}

TEST(FilterMetadata, RequestedValuesComeInTheOrderOfTheRequests) {
    OpenFilter filter(message());
    const Values kValues = {value("to", "t"), none("X-None"), value("SUBJECT:", "two words"), none("")};
    EXPECT_EQ(filter.metadata({"to", "X-None", "SUBJECT:", ""}).values, kValues);
}

TEST(FilterMetadata, SentIsTheDate) {
    OpenFilter filter("Sent: s\r\nDate: d\r\n\r\n");
    EXPECT_EQ(filter.metadata({"Sent"}).of("Sent"), "d");
    EXPECT_EQ(filter.metadata({"sent:"}).of("sent:"), "d");
    EXPECT_EQ(filter.metadata({"Date"}).of("Date"), "d");
}

TEST(FilterMetadata, PriorityHasTwoNames) {
    struct Row {
        const char* header;
        const char* value;
    };
    const Row kRows[] = {
        {"Priority: p\n", "p"},
        {"X-MSMail-Priority: x\n", "x"},
        {"Importance: i\n", "(none)"},
        {"Priority: p\nX-MSMail-Priority: x\n", "p#####x"},
        {"X-MSMail-Priority: x\nPriority: p\n", "x#####p"},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(crlf(std::string(row.header) + "\n"));
        EXPECT_EQ(filter.metadata({"Priority"}).of("Priority"), row.value) << row.header;
    }
    OpenFilter filter("X-MSMail-Priority: x\r\n\r\n");
    EXPECT_EQ(filter.metadata({"X-MSMail-Priority"}).of("X-MSMail-Priority"), "x");
}

TEST(FilterMetadata, ValuesOfOneFieldAreJoined) {
    OpenFilter filter(crlf("Received: one\nTo: t\nReceived: two\nreceived:\nReceived: four\n five\n\n"));
    EXPECT_EQ(filter.metadata({"Received"}).of("Received"), "one#####two##########fourfive");
    std::string many;
    std::string joined;
    for (int i = 0; i < 3000; ++i) {
        many += "X-Many: " + std::to_string(i) + "\r\n";
        joined += (i == 0 ? "" : "#####") + std::to_string(i);
    }
    OpenFilter large(many + "\r\n", 0, HeapMode::kPlain);
    EXPECT_EQ(large.metadata({"X-Many"}).of("X-Many"), joined);
}

TEST(FilterMetadata, LineServesTheFirstRequestThatWantsIt) {
    OpenFilter filter(message());
    const Values kValues = {value("To", "t"), none("To"), value("Date", "Tue, 5 Mar 2024"), none("Sent")};
    EXPECT_EQ(filter.metadata({"To", "To", "Date", "Sent"}).values, kValues);
}

TEST(FilterMetadata, FieldWithoutTextHasAnEmptyValue) {
    OpenFilter filter("Subject:\r\nTo: \t\r\nCc: =?us-ascii?Q?a?=\r\n\r\n");
    const Values kValues = {value("Subject", ""), value("To", ""), value("Cc", "")};
    EXPECT_EQ(filter.metadata({"Subject", "To", "Cc"}).values, kValues);
}

TEST(FilterMetadata, NameIsCutAfter62Characters) {
    const std::string name(62, 'n');
    OpenFilter filter(name + ": long\r\n" + name + "n: longer\r\n\r\n");
    const std::string longer = name + "nnnn";
    EXPECT_EQ(filter.metadata({name.c_str()}).of(name), "long");
    EXPECT_EQ(filter.metadata({longer.c_str()}).of(longer), "long");
}

TEST(FilterMetadata, NameMustEndAtItsColon) {
    OpenFilter filter("Subjects: one\r\nSub: two\r\nSubject : three\r\n\r\n");
    EXPECT_EQ(filter.metadata({"Subject"}).of("Subject"), "(none)");
}

TEST(FilterMetadata, OnlyTheMessageHasIt) {
    const std::string two = crlf(
        "Subject: s\nContent-Type: multipart/mixed; boundary=b\n\n--b\n"
        "Content-Type: image/x; name=n\n\ncontent\n--b--\n");
    for (const int32_t index : {-1, 1, 2, 100}) {
        OpenFilter filter(two);
        const FilterMetadata metadata = filter.metadata(index);
        EXPECT_EQ(metadata.result, EML_OK) << index;
        EXPECT_FALSE(metadata.hasList) << index;
    }
    OpenFilter root(two, EML_OPEN_ROOT_FOLDER);
    EXPECT_FALSE(root.metadata(0).hasList);
    EXPECT_EQ(root.metadata(1).of("Subject"), "s");
    EXPECT_FALSE(root.metadata(2).hasList);
}

TEST(FilterMetadata, IncompleteArgumentsAreInvalid) {
    OpenFilter filter(message());
    EmlMetaData list{};
    EmlHostRecord& record = filter.host().record();
    EmlHostRecord without = record;
    without.allocator = nullptr;
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, -1, nullptr, &list, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata(nullptr, 0, 0, nullptr, &list, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, 0, nullptr, nullptr, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, 0, nullptr, &list, nullptr), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, 0, nullptr, &list, &without), EML_INVALID_ARGUMENT);
    EXPECT_EQ(list.entries, nullptr);
}

TEST(FilterMetadata, CountWithoutRequestsGivesTheDefaultList) {
    OpenFilter filter(message());
    EmlMetaData list{};
    ASSERT_EQ(emlGetSubFileMetadata(filter.context(), 0, 2, nullptr, &list, &filter.host().record()), EML_OK);
    EXPECT_EQ(list.count, 7);
    releaseMetadata(list, *filter.host().record().allocator);
}

TEST(FilterMetadata, RequestWithoutNameMatchesNothing) {
    OpenFilter filter(message());
    const FilterMetadata metadata = filter.metadata({nullptr, "Subject"});
    EXPECT_EQ(metadata.result, EML_OK);
    ASSERT_EQ(metadata.values.size(), 2U);
    EXPECT_EQ(metadata.values[0].name, "(null)");
    EXPECT_FALSE(metadata.values[0].hasValue);
    EXPECT_EQ(metadata.of("Subject"), "two words");
}

TEST(FilterMetadata, OtherKindOfRequestFails) {
    OpenFilter filter(message());
    for (const uint32_t kind : {0U, 2U, UINT32_MAX}) {
        const FilterMetadata metadata = filter.metadata({"To", "From"}, 0, kind);
        EXPECT_EQ(metadata.result, EML_OBJECT_FAILED) << kind;
        EXPECT_TRUE(metadata.values.empty());
    }
    // Entries before it stay with the host.
    EmlMetaDataRequest good{EML_REQUEST_BY_NAME, "To"};
    EmlMetaDataRequest bad{2, "From"};
    EmlMetaDataRequest* requests[] = {&good, &bad};
    EmlMetaData list{};
    EXPECT_EQ(emlGetSubFileMetadata(filter.context(), 0, 2, requests, &list, &filter.host().record()),
              EML_OBJECT_FAILED);
    ASSERT_NE(list.entries, nullptr);
    EXPECT_EQ(list.count, 2);
    ASSERT_NE(list.entries[0], nullptr);
    EXPECT_STREQ(list.entries[0]->name, "To");
    EXPECT_EQ(list.entries[0]->hasValue, 0U);
    EXPECT_EQ(list.entries[1], nullptr);
    filter.host().recordHeap().give(list.entries[0]->name);
    filter.host().recordHeap().give(list.entries[0]);
    filter.host().recordHeap().give(list.entries);
}

TEST(FilterMetadata, LeavesNothingBehindAndStartsTheStreamAnew) {
    OpenFilter filter(message());
    const std::string stream = filter.stream(65536);
    const size_t blocks = filter.host().heap().liveBlocks();
    EXPECT_EQ(filter.metadata().of("To"), "t");
    EXPECT_EQ(filter.host().heap().liveBlocks(), blocks);
    EXPECT_TRUE(filter.opened().prologuePending);
    EXPECT_FALSE(filter.opened().body.running);
    // Without a restart the next fill begins with the prologue.
    std::string buffer(65536, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    EXPECT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, 65536), EML_OK);
    EXPECT_EQ(buffer.substr(0, size), stream);
}

// A fill that stopped in the middle of a decoded body leaves its text to the next fill, not to the words of a
// header.
TEST(FilterMetadata, InTheMiddleOfAnEncodedBodyHasDecodedValues) {
    const std::string base64 = "d29yZHMgb2YgYSBib2R5LCB3b3JkcyBvZiBhIGJvZHksIHdvcmRzIG9mIGEgYm9keQ==";
    for (const std::string encoding : {"base64", "quoted-printable"}) {
        const std::string body = encoding == "base64" ? base64 : std::string(60, 'x');
        const std::string text = "From: =?us-ascii?B?Zm91cg==?=\r\nSubject: =?koi8-r?Q?two_words?=\r\n" +
                                 ("Content-Transfer-Encoding: " + encoding) + "\r\n\r\n" + body + "\r\n";
        OpenFilter filter(text);
        std::string buffer(256, '\0');
        uint32_t size = 0;
        uint32_t progress = 0;
        for (int calls = 0; calls < 20 && !filter.opened().body.running; ++calls) {
            // The header is over when the body begins; a small rest of the buffer is then full at once.
            const uint32_t capacity = filter.opened().prologuePending ? 256 : 40;
            ASSERT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, capacity), EML_OK);
        }
        ASSERT_TRUE(filter.opened().output.full) << encoding;
        ASSERT_LT(progress, 100U) << encoding;
        const FilterMetadata metadata = filter.metadata();
        EXPECT_EQ(metadata.result, EML_OK) << encoding;
        EXPECT_EQ(metadata.of("Subject"), "two words") << encoding;
        EXPECT_EQ(metadata.of("From"), "four") << encoding;
    }
}

// Lines that say what the body is are served like any other.
TEST(FilterMetadata, FieldsOfTheContentCanBeAskedFor) {
    OpenFilter filter(crlf("Content-Type: text/plain; charset=koi8-r\nContent-Transfer-Encoding: 8bit\n\n"));
    EXPECT_EQ(filter.metadata({"Content-Type"}).of("Content-Type"), "text/plain; charset=koi8-r");
    EXPECT_EQ(filter.metadata({"Content-Transfer-Encoding"}).of("Content-Transfer-Encoding"), "8bit");
}

TEST(FilterMetadata, FailsWithTheStatedCodes) {
    struct Row {
        Entry entry;
        uint64_t nth;
        EmlResult result;
    };
    const Row kRows[] = {
        {Entry::kInputSeek, 1, EML_OBJECT_FAILED},  {Entry::kInputRead, 1, EML_OBJECT_FAILED},
        {Entry::kAllocate, 1, EML_NO_MEMORY},  // the value buffer
        {Entry::kAllocate, 2, EML_NO_MEMORY},  // the header
        {Entry::kRecordAllocate, 1, EML_NO_MEMORY}, {Entry::kRecordAllocate, 2, EML_NO_MEMORY},
        {Entry::kRecordAllocate, 3, EML_NO_MEMORY}, {Entry::kRecordAllocate, 16, EML_NO_MEMORY},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(message());
        filter.host().journal().fail(row.entry, {filter.host().journal().calls(row.entry) + row.nth, false});
        EXPECT_EQ(filter.metadata().result, row.result) << entryName(row.entry) << row.nth;
        EXPECT_EQ(filter.metadata().of("To"), "t") << entryName(row.entry) << row.nth;
    }
    OpenFilter joined(crlf("To: " + std::string(100, 'a') + "\nTo: " + std::string(1000, 'b') + "\n\n"));
    joined.host().journal().fail(Entry::kRecordReallocate, {1, false});
    EXPECT_EQ(joined.metadata().result, EML_NO_MEMORY);
    EXPECT_EQ(joined.host().recordHeap().lostBlocks(), 1U);
    OpenFilter longer(crlf("To: " + std::string(9000, 'a') + "\n\n"));
    longer.host().journal().fail(Entry::kReallocate, {longer.host().journal().calls(Entry::kReallocate) + 1});
    EXPECT_EQ(longer.metadata().result, EML_NO_MEMORY);
    EXPECT_EQ(longer.host().heap().lostBlocks(), 1U);
}

}  // namespace
}  // namespace eml::test

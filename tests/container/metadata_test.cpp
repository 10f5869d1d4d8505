// The default list and requested lists, as the host gets them.
#include <gtest/gtest.h>

#include "container/metadata_lists.h"
#include "support/sections.h"

namespace eml::test {
namespace {

const std::string kMessage = crlf(
    "From: =?utf-8?Q?A?= <a@example.org>\n"
    "Date: Tue, 15 Nov 1994 08:12:31 -0500\n"
    "To: b@example.org\n"
    "To: c@example.org\n"
    "Cc: d@example.org\n"
    "Subject: =?ISO-8859-1?Q?Caf=E9?=\n"
    "Importance: High\n"
    "X-Own: 1\n"
    "\nbody\nFrom: in the body\n");

TEST(Metadata, TheDefaultListInItsOrder) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    const MetadataList list = defaultList(host, opened);
    EXPECT_EQ(list.result, EML_OK);
    EXPECT_EQ(list.count, 7);
    struct Row {
        const char* name;
        std::string value;
    };
    const Row rows[] = {{"From", "A <a@example.org>"},
                        {"Sent", "Tue, 15 Nov 1994 08:12:31 -0500"},  // KEPT: the date under another name
                        {"To", "b@example.org#####c@example.org"},
                        {"Cc", "d@example.org"},
                        {"Bcc", kNoValue},
                        {"Subject", "Caf\xE9"},
                        {"Priority", "High"}};
    ASSERT_EQ(list.entries.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(rows[i].name);
        EXPECT_EQ(list.entries[i].name, rows[i].name);
        EXPECT_EQ(list.entries[i].value, rows[i].value);
        EXPECT_EQ(list.entries[i].type, 7u);
        EXPECT_EQ(list.entries[i].hasValue, rows[i].value == kNoValue ? 0u : 1u);
    }
}

TEST(Metadata, EveryCopyIsFresh) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(defaultList(host, opened).value(5), "Caf\xE9");
        EXPECT_EQ(requested(host, opened, {{1, "Subject"}}).value(0), "Caf\xE9");
    }
    opened.close();
    EXPECT_EQ(host.heap().liveBlocks(), 0u);
}

TEST(Metadata, RequestsInTheirOrderUnderTheirNames) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    const MetadataList list = requested(host, opened,
                                        {{1, "x-own"},
                                         {2, "Subject"},
                                         {1, "SUBJECT"},
                                         {1, "Missing"},
                                         {0, nullptr},
                                         {1, "Sent"},
                                         {1, "Priority"}});
    EXPECT_EQ(list.result, EML_OK);
    struct Row {
        std::string name, value;
    };
    const Row rows[] = {{"x-own", "1"},        {kNoName, kNoValue}, {"SUBJECT", "Caf\xE9"},
                        {"Missing", kNoValue}, {kNoName, kNoValue}, {"Sent", kNoValue},
                        {"Priority", kNoValue}};  // the aliases feed the default list alone
    ASSERT_EQ(list.entries.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(list.entries[i].name, rows[i].name) << i;
        EXPECT_EQ(list.entries[i].value, rows[i].value) << i;
        EXPECT_EQ(list.entries[i].type, 7u) << i;
    }
}

TEST(Metadata, AFieldFeedsTheFirstRequestThatMatches) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    const MetadataList list = requested(host, opened, {{1, "to"}, {1, "To"}, {1, "Date"}});
    EXPECT_EQ(list.value(0), "b@example.org#####c@example.org");
    EXPECT_EQ(list.value(1), kNoValue);
    EXPECT_EQ(list.value(2), "Tue, 15 Nov 1994 08:12:31 -0500");
}

// The key is the name and its colon, whatever the name is.
TEST(Metadata, NamesOfAllKinds) {
    const std::string message =
        crlf("Subject-Extra: e\nSubject : blank\nSubject: right\n: empty\nA:B: colon\n\n");
    for (const auto& [name, value] :
         std::vector<std::pair<const char*, std::string>>{{"Subject", "right"},
                                                          {"Subject-Extra", "e"},
                                                          {"Subject ", "blank"},
                                                          {"Subj", kNoValue},
                                                          {"", "empty"},
                                                          {"A", "B: colon"},
                                                          {"A:B", "colon"},
                                                          {"Subject:", kNoValue}}) {
        EXPECT_EQ(requestedValue(message, name), value) << "\"" << name << "\"";
    }
}

TEST(Metadata, Arguments) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    EmlMetaDataRequest subject{1, "Subject"};
    EmlMetaDataRequest* requests[] = {&subject};
    EmlMetaData list{};
    EmlHostRecord none{1, nullptr};
    EmlContainerContext* const context = opened.context();
    EXPECT_EQ(emlGetSubFileMetadata2(nullptr, 0, 0, nullptr, &list, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, 0, nullptr, &list, nullptr), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, 0, nullptr, &list, &none), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, 0, nullptr, nullptr, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, -1, nullptr, &list, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, INT32_MIN, requests, &list, &host.record()),
              EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileMetadata2(context, 0, 1, nullptr, &list, &host.record()), EML_INVALID_ARGUMENT);
    // Arguments are looked at before the index.
    EXPECT_EQ(emlGetSubFileMetadata2(context, 99, 1, nullptr, &list, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(list.entries, nullptr);
    EXPECT_FALSE(fetch(host, context, 0, 0, requests).filled) << "no request, but an array: nothing";
    // The first field of the record is not looked at here.
    host.record().hostOwned = 0;
    EXPECT_EQ(defaultList(host, opened).count, 7);
    host.record().hostOwned = 1;
}

TEST(Metadata, OnlyTheMessageItselfHasAny) {
    const std::string message =
        multipart("mixed", "--b\n\nx\n--b\nContent-Type: image/png; name=a\n\nx\n--b--\n");
    struct Row {
        uint32_t flags;
        int32_t index;
    };
    for (const uint32_t flags : {0u, EML_OPEN_ATTACHMENTS_FOLDER, EML_OPEN_ROOT_FOLDER}) {
        RecordingHost host(message);
        OpenedMessage opened(host, flags);
        const int32_t own = (flags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
        for (const int32_t index : {INT32_MIN, -1, 0, 1, 2, 3, 99, INT32_MAX}) {
            SCOPED_TRACE(std::to_string(flags) + " " + std::to_string(index));
            const MetadataList list = defaultList(host, opened, index);
            EXPECT_EQ(list.result, EML_OK);
            EXPECT_EQ(list.filled, index == own);
            EXPECT_EQ(requested(host, opened, {{1, "Content-Type"}}, index).filled, index == own);
        }
    }
}

// A value that is there but has no length any more (its zero bytes were cut off by a rendering) is not
// copied.
TEST(Metadata, RenderingShortensTheStoredValue) {
    RecordingHost host(crlf("Subject: =?x?Q?ab=00=00?=\nFrom: =?x?Q?=00?=\n\nbody\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(defaultList(host, opened).value(5), std::string("ab\0\0", 4));
    EXPECT_EQ(defaultList(host, opened).value(0), std::string(1, '\0'));
    EXPECT_EQ(opened.extract(0).result, EML_OK);
    EXPECT_EQ(defaultList(host, opened).value(5), "ab");
    EXPECT_EQ(defaultList(host, opened).value(0), kNoValue);
    EXPECT_EQ(requested(host, opened, {{1, "Subject"}}).value(0), std::string("ab\0\0", 4))
        << "looked up afresh";
}

TEST(Metadata, AnEntryWhoseCopyHasNoMemoryKeepsItsHasValue) {
    uint64_t seen = 0;
    for (uint64_t nth = 1; nth <= 4; ++nth) {  // array, and the three blocks of the first entry
        RecordingHost host(kMessage);
        OpenedMessage opened(host);
        host.journal().fail(Entry::kRecordAllocate, {nth, false});
        const MetadataList list = defaultList(host, opened);
        if (list.result != EML_OK) continue;
        ++seen;
        ASSERT_EQ(list.entries.size(), 7u);
        EXPECT_EQ(list.entries[0].name, "From");
        EXPECT_EQ(list.value(0), kNoValue);
        EXPECT_EQ(list.entries[0].hasValue, 1u) << "copied before the value is";
        EXPECT_EQ(list.value(1), "Tue, 15 Nov 1994 08:12:31 -0500");
    }
    EXPECT_EQ(seen, 1u);
}

TEST(Metadata, AnEntryWhoseValueWasCutToNothingKeepsItsHasValue) {
    RecordingHost host(crlf("From: =?x?Q?=00?=\n\nbody\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.extract(0).result, EML_OK);
    EXPECT_EQ(defaultList(host, opened).entries.at(0).hasValue, 1u);
}

// What must be had for a list, and what an entry can do without.
TEST(Metadata, EveryAllocationOfTheDefaultCopyFailsOnce) {
    RecordingHost counted(kMessage);
    OpenedMessage undisturbed(counted);
    (void)defaultList(counted, undisturbed);
    const uint64_t calls = counted.journal().calls(Entry::kRecordAllocate);
    EXPECT_EQ(calls, 1u + 7 + 7 + 6) << "array, entries, names and values";
    for (const bool onwards : {false, true}) {
        uint64_t soft = 0;
        for (uint64_t nth = 1; nth <= calls; ++nth) {
            RecordingHost host(kMessage);
            OpenedMessage opened(host);
            host.journal().fail(Entry::kRecordAllocate, {nth, onwards});
            const MetadataList list = defaultList(host, opened);
            EXPECT_TRUE(list.result == EML_OK || list.result == EML_NO_MEMORY);
            if (list.result == EML_OK) ++soft;
        }
        if (onwards) {
            EXPECT_LE(soft, 1u) << "the very last block may be a value";
        } else {
            EXPECT_EQ(soft, 6u) << "only values may be missing";
        }
    }
}

TEST(Metadata, EveryAllocationOfARequestFailsOnce) {
    const std::vector<Request> names = {{1, "To"}, {1, "Subject"}, {2, "x"}, {1, "Missing"}};
    RecordingHost counted(kMessage);
    OpenedMessage undisturbed(counted);
    const uint64_t before = counted.journal().calls(Entry::kAllocate);
    (void)requested(counted, undisturbed, names);
    for (const Entry entry : {Entry::kRecordAllocate, Entry::kRecordReallocate, Entry::kAllocate}) {
        const uint64_t first = entry == Entry::kAllocate ? before : 0;
        ASSERT_GT(counted.journal().calls(entry), first) << entryName(entry);
        for (uint64_t nth = first + 1; nth <= counted.journal().calls(entry); ++nth) {
            SCOPED_TRACE(std::string(entryName(entry)) + " " + std::to_string(nth));
            RecordingHost host(kMessage);
            OpenedMessage opened(host);
            host.journal().fail(entry, {nth, false});
            EXPECT_EQ(requested(host, opened, names).result, EML_NO_MEMORY);
            host.journal().fail(entry, {});
            EXPECT_EQ(requested(host, opened, names).value(0), "b@example.org#####c@example.org")
                << "usable on";
        }
    }
}

// The default list of a failed open may be half built: nothing that reads it may fall.
TEST(Metadata, AHalfBuiltDefaultListIsReadSafely) {
    RecordingHost counted(kMessage);
    {
        OpenedMessage opened(counted);
        opened.visitAll();
    }
    uint64_t failed = 0;
    for (const Entry entry : {Entry::kAllocate, Entry::kReallocate}) {
        for (uint64_t nth = 1; nth <= counted.journal().calls(entry); ++nth) {
            for (const bool onwards : {false, true}) {
                SCOPED_TRACE(std::string(entryName(entry)) + " " + std::to_string(nth));
                RecordingHost host(kMessage, {.heapMode = HeapMode::kGuarded});
                host.journal().fail(entry, {nth, onwards});
                OpenedMessage opened(host);
                if (opened.context() == nullptr) continue;
                if (opened.result() != EML_OK) ++failed;
                EXPECT_TRUE(opened.result() == EML_OK || opened.result() == EML_NO_MEMORY);
                const MetadataList list = defaultList(host, opened);
                EXPECT_EQ(list.result, EML_OK);
                EXPECT_EQ(list.count, 7);
                for (const ListEntry& one : list.entries) EXPECT_EQ(one.type, EML_TYPE_TEXT);
                for (const uint32_t options : {0u, 2u, 4u, 6u}) (void)opened.extract(0, options);
            }
        }
    }
    EXPECT_GT(failed, 20u) << "the sweep reaches the list";
}

TEST(Metadata, AFailedListLeavesNameAndDateAlone) {
    RecordingHost counted(kMessage);
    OpenedMessage undisturbed(counted);
    EXPECT_EQ(undisturbed.describe(0).name, "Caf\xE9.mail");
    const uint64_t calls = counted.journal().calls(Entry::kAllocate);
    RecordingHost host(kMessage);
    host.journal().fail(Entry::kAllocate, {calls, false});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_NO_MEMORY);
    const SubFile message = opened.describe(0);
    EXPECT_EQ(message.name, "") << "neither name";
    EXPECT_EQ(message.info.date[0], 0u) << "nor date";
    EXPECT_EQ(message.info.date[1], 0u);
}

}  // namespace
}  // namespace eml::test

// Hosts that fail while the filter describes, gives metadata, names and extracts: nothing breaks, everything
// is freed, and the code is a stated one.
#include <gtest/gtest.h>

#include "filter/random_filter_messages.h"
#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

std::string rich() {
    std::string base64;
    for (int i = 0; i < 200; ++i)
        base64 += "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2\n";
    std::string many;
    for (int i = 0; i < 7; ++i) many += "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    return crlf("Subject: =?koi8-r?Q?a_name?= " + std::string(5000, 's') +
                "\nTo: t\nTo: " + std::string(3000, 't') +
                "\nTo: v\nDate: Tue, 5 Mar 2024 14:07:09\nPriority: p\n"
                "Content-Type: multipart/mixed; boundary=b\n\n"
                "--b\nContent-Type: multipart/alternative; boundary=longer-than-the-first\n\n"
                "--longer-than-the-first\nContent-Type: text/plain\n\ntext\n--longer-than-the-first--\n"
                "--b\nContent-Type: application/x; name=base64\nContent-Transfer-Encoding: base64\n\n" +
                base64 +
                "--b\nContent-Type: application/x; name=qp\n"
                "Content-Transfer-Encoding: quoted-printable\n\na=3Db\n" +
                many + "--b--\n");
}

std::vector<std::string> scenes() {
    return {rich(), crlf("Content-Type: image/x; name=n\n\ncontent\n"), crlf("Subject: s\nTo: t\n\ntext\n"),
            "Subject: without an empty line\r\nTo: t",
            crlf("Content-Type: application/pkcs7-mime\nSubject: s\n\nTWFu\n")};
}

constexpr Entry kEntries[] = {
    Entry::kAllocate,    Entry::kReallocate,       Entry::kAllocateZeroed, Entry::kRecordAllocate,
    Entry::kInputOpen,   Entry::kRecordReallocate, Entry::kInputRead,      Entry::kInputSeek,
    Entry::kInputClose,  Entry::kOutputOpen,       Entry::kOutputWrite,    Entry::kOutputSeek,
    Entry::kOutputClose, Entry::kOpenFile,
};

void expectCode(EmlResult result, const char* call) {
    EXPECT_TRUE(result == EML_OK || result == EML_NO_MEMORY || result == EML_OBJECT_FAILED ||
                result == EML_INVALID_ARGUMENT || result == EML_NO_OUTPUT)
        << call << " gave " << result;
}

// Every call but the fills, for every number and for some that are none.
void visit(OpenFilter& filter) {
    if (filter.context() == nullptr) return;
    const int32_t count = emlGetFileNumber(filter.context());
    for (int32_t i = -1; i <= count + 2; ++i) {
        expectCode(filter.describe(i).result, "describe");
        expectCode(filter.extract(i).result, "extract");
        expectCode(filter.metadata(i).result, "metadata");
        EmlAttachmentInfo info;
        expectCode(emlGetSubFileInfo(filter.context(), static_cast<uint32_t>(i), &info), "info");
    }
    expectCode(filter.metadata({"To", "Subject", "X-None", "Sent"}).result, "requests");
    char name[14] = "";
    uint32_t date[2] = {};
    const EmlResult result = emlGetMainNameDate(filter.context(), name, date);
    expectCode(result, "name and date");
    EXPECT_STRNE(name, "");
    if (result != EML_OK) {
        EXPECT_STREQ(name, "zteml.mail");
    }
    EmlContainerInfo container{};
    EXPECT_EQ(emlGetContainerInfo(filter.context(), &container, &filter.host().record()), EML_OK);
}

TEST(FilterFaults, EveryCallOfEveryEntryFailsOnceAndFromThenOn) {
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER | EML_OPEN_ATTACHMENTS_FOLDER}) {
        int32_t number = 0;
        for (const std::string& message : scenes()) {
            OpenFilter counted(message, flags);
            visit(counted);
            counted.close();
            ++number;
            for (const Entry entry : kEntries) {
                const uint64_t calls = counted.host().journal().calls(entry);
                for (uint64_t nth = 1; nth <= calls; ++nth) {
                    for (const bool onwards : {false, true}) {
                        SCOPED_TRACE("message " + std::to_string(number) + ": " + entryName(entry) + " " +
                                     std::to_string(nth) + (onwards ? " onwards" : ""));
                        UnopenedFilter filter(message);
                        filter.host().journal().fail(entry, {nth, onwards});
                        filter.open(flags);
                        visit(filter);
                        filter.close();
                        EXPECT_EQ(filter.host().heap().liveBlocks(), 0U);
                        if (entry != Entry::kReallocate) {
                            EXPECT_EQ(filter.host().heap().lostBlocks(), 0U);
                        }
                    }
                }
            }
        }
    }
}

// The same with everything that the library allocates at the end of a readable page.
TEST(FilterFaults, GuardedMemory) {
    for (const std::string& message : scenes()) {
        for (const Entry entry : {Entry::kAllocate, Entry::kReallocate, Entry::kInputRead}) {
            for (uint64_t nth = 1; nth <= 25; ++nth) {
                UnopenedFilter filter(message, HeapMode::kGuarded);
                filter.host().journal().fail(entry, {nth, false});
                filter.open(0);
                visit(filter);
            }
        }
    }
}

TEST(FilterFaults, MissingEntriesDoNoHarm) {
    for (const Entry entry :
         {Entry::kAllocate, Entry::kReallocate, Entry::kAllocateZeroed, Entry::kFree, Entry::kOpenFile,
          Entry::kStoreDate, Entry::kRecordAllocate, Entry::kRecordReallocate, Entry::kRecordFree}) {
        for (const std::string& message : scenes()) {
            SCOPED_TRACE(entryName(entry));
            {
                UnopenedFilter filter(message);
                if (entry == Entry::kFree || entry == Entry::kReallocate) filter.host().allowLiveBlocks();
                if (entry == Entry::kRecordReallocate) filter.host().allowLiveBlocks();
                filter.host().remove(entry);
                filter.open(0);
                visit(filter);
            }
            OpenFilter filter(message);
            if (entry == Entry::kFree || entry == Entry::kReallocate) filter.host().allowLiveBlocks();
            if (entry == Entry::kRecordReallocate) filter.host().allowLiveBlocks();
            filter.host().remove(entry);
            visit(filter);
        }
    }
}

TEST(FilterFaults, RandomMessagesCanBeVisited) {
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE(seed);
        OpenFilter filter(randomFilterMessage(seed), 0,
                          seed % 4 == 0 ? HeapMode::kGuarded : HeapMode::kPlain);
        visit(filter);
        if (filter.context() != nullptr) (void)filter.stream(4096);
        visit(filter);
    }
}

// Calls between two fills: whatever the conversion gives then, nothing breaks, and a restart gives the
// stream.
TEST(FilterFaults, CallsBetweenTwoFillsDoNoHarm) {
    for (const std::string& message : scenes()) {
        OpenFilter undisturbed(message);
        const std::string stream = undisturbed.stream(4096);
        for (const uint32_t capacity : {256U, 1000U, 4096U}) {
            OpenFilter filter(message, 0, HeapMode::kGuarded);
            std::string buffer(capacity, '\0');
            uint32_t progress = 0;
            for (int32_t i = 0; i < 40 && progress < 100; ++i) {
                uint32_t size = 0;
                if (emlFillBuffer(filter.context(), buffer.data(), &size, &progress, capacity) != EML_OK)
                    break;
                EXPECT_LE(size, capacity);
                (void)filter.describe(i % 4);
                if (i % 3 == 1) (void)filter.extract(1 + i % 2);
                if (i % 5 == 3) (void)filter.metadata();
            }
            EXPECT_EQ(filter.stream(4096), stream);
        }
    }
}

}  // namespace
}  // namespace eml::test

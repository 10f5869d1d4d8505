// Hosts that fail: missing entries, failing calls, odd answers. Nothing breaks, everything is freed, and the
// code is the stated one.
#include <gtest/gtest.h>

#include "support/random_messages.h"
#include "support/reference_scan.h"
#include "support/scenarios.h"
#include "support/sections.h"

namespace eml::test {
namespace {

// The whole life of a message.
EmlResult live(RecordingHost& host, const Scenario& scenario) {
    OpenedMessage opened(host, scenario.flags);
    if (opened.context() != nullptr) {
        opened.visitAll();
        emlDebugSections(opened.context());
        (void)eml2GetLine(opened.context());
    }
    return opened.result();
}

constexpr Entry kAllEntries[] = {
    Entry::kAllocate,        Entry::kReallocate,       Entry::kAllocateZeroed,
    Entry::kDuplicateString, Entry::kConvertText,      Entry::kConvertTextFrom,
    Entry::kRecordAllocate,  Entry::kRecordReallocate, Entry::kRecordAllocateZeroed,
    Entry::kInputOpen,       Entry::kInputRead,        Entry::kInputSeek,
    Entry::kInputTell,       Entry::kInputClose,       Entry::kOutputOpen,
    Entry::kOutputWrite,     Entry::kOutputSeek,       Entry::kOutputTell,
    Entry::kOutputClose,
};

// The codes that an open may give when the n-th call of `entry` fails.
bool isStatedCode(Entry entry, EmlResult result, EmlResult undisturbed) {
    switch (entry) {
        case Entry::kAllocate:
        case Entry::kReallocate:
        case Entry::kDuplicateString:
            // A copied boundary or name that is missing is no error, but may leave a related part without
            // parts.
            return result == EML_NO_MEMORY || result == EML_OK || result == undisturbed;
        case Entry::kInputOpen:
            return result == EML_INPUT_NOT_OPENED;
        case Entry::kInputRead:
        case Entry::kInputSeek:
        case Entry::kInputTell:
            // The message ends early.
            return result == EML_OK || result == EML_OBJECT_FAILED;
        default:
            return result == undisturbed;
    }
}

TEST(FaultSweep, EveryCallOfEveryEntryFailsOnceAndFromThenOn) {
    for (const Scenario& scenario : scenarios()) {
        RecordingHost counted(scenario.message);
        const EmlResult undisturbed = live(counted, scenario);
        for (const Entry entry : kAllEntries) {
            const uint64_t calls = counted.journal().calls(entry);
            for (uint64_t nth = 1; nth <= calls; ++nth) {
                for (const bool onwards : {false, true}) {
                    SCOPED_TRACE(std::string(scenario.name) + ": " + entryName(entry) + " " +
                                 std::to_string(nth) + (onwards ? " onwards" : ""));
                    RecordingHost host(scenario.message);
                    host.journal().fail(entry, {nth, onwards});
                    const EmlResult result = live(host, scenario);
                    EXPECT_TRUE(isStatedCode(entry, result, undisturbed)) << result;
                    // Without a context there is nothing that could close the input; with one, its close
                    // does.
                    const bool noContext = entry == Entry::kAllocate && nth == 1;
                    EXPECT_EQ(host.inputOpen(), noContext);
                }
            }
        }
    }
}

TEST(FaultSweep, MemoryThatRunsOutInTheScanLeavesAContextToClose) {
    for (const Scenario& scenario : scenarios()) {
        RecordingHost counted(scenario.message);
        { OpenedMessage opened(counted, scenario.flags); }
        const uint64_t calls = counted.journal().calls(Entry::kAllocate);
        for (uint64_t nth = 1; nth <= calls; ++nth) {
            RecordingHost host(scenario.message);
            host.journal().fail(Entry::kAllocate, {nth, true});
            OpenedMessage opened(host, scenario.flags);
            EXPECT_EQ(opened.context() == nullptr, nth <= 2) << scenario.name << " " << nth;
            if (nth <= 2) {
                EXPECT_EQ(opened.result(), EML_NO_MEMORY);
            }
        }
    }
}

// Every entry taken away, before the open and after it.
TEST(MissingEntry, IsItsFailure) {
    constexpr Entry kRemovable[] = {
        Entry::kAllocate,         Entry::kReallocate,   Entry::kAllocateZeroed,  Entry::kFree,
        Entry::kDuplicateString,  Entry::kConvertText,  Entry::kConvertTextFrom, Entry::kOpenFile,
        Entry::kIsLeadByte,       Entry::kResetCharset, Entry::kStoreDate,       Entry::kRecordAllocate,
        Entry::kRecordReallocate, Entry::kRecordFree,   Entry::kInputRead,       Entry::kInputSeek,
        Entry::kInputTell};
    for (const Scenario& scenario : scenarios()) {
        RecordingHost counted(scenario.message);
        const EmlResult undisturbed = live(counted, scenario);
        for (const Entry entry : kRemovable) {
            SCOPED_TRACE(std::string(scenario.name) + ": " + entryName(entry));
            {
                RecordingHost host(scenario.message);
                if (entry == Entry::kFree || entry == Entry::kReallocate) host.allowLiveBlocks();
                host.remove(entry);
                EXPECT_TRUE(isStatedCode(entry, live(host, scenario), undisturbed));
            }
            RecordingHost host(scenario.message);
            if (entry == Entry::kFree || entry == Entry::kReallocate) host.allowLiveBlocks();
            OpenedMessage opened(host, scenario.flags);
            host.remove(entry);
            opened.visitAll();
        }
    }
}

TEST(MissingEntry, CloseOfTheInputMayGoMissingLater) {
    RecordingHost host("\r\ntext");
    OpenedMessage opened(host);
    host.remove(Entry::kInputClose);
    opened.close();
    EXPECT_FALSE(host.inputClosed());
}

TEST(MissingEntry, WithoutReadSeekOrTellTheMessageIsEmpty) {
    for (const Entry entry : {Entry::kInputRead, Entry::kInputSeek, Entry::kInputTell}) {
        RecordingHost host(scenarios()[2].message);
        host.remove(entry);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK) << entryName(entry);
        EXPECT_EQ(opened.subFileCount(), 1U);
        EXPECT_EQ(opened.charset(), 7U);
    }
}

TEST(OddAnswer, ReadThatSaysMoreThanAskedIsClamped) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        const std::string message = MessageMaker(seed).any();
        RecordingHost host(message, {.heapMode = HeapMode::kGuarded, .readStyle = ReadStyle::kMoreThanAsked});
        OpenedMessage opened(host);
        ASSERT_EQ(dumpSections(*opened.context(), opened.result()), dumpSections(referenceOpen(message, 0)))
            << seed;
        opened.visitAll();
    }
}

TEST(OddAnswer, ReadBelowOneIsTheEnd) {
    RecordingHost host(scenarios()[2].message, {.readStyle = ReadStyle::kMinusOne});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OK);
    EXPECT_EQ(opened.subFileCount(), 1U);
    EXPECT_EQ(host.bytesRead(), 0U);
}

TEST(OddAnswer, ShortReadsDoNoHarm) {
    for (const ReadStyle style : {ReadStyle::kOneByte, ReadStyle::kHalf}) {
        for (const Scenario& scenario : scenarios()) {
            RecordingHost host(scenario.message, {.heapMode = HeapMode::kGuarded, .readStyle = style});
            (void)live(host, scenario);
        }
        for (uint64_t seed = 1; seed <= 200; ++seed) {
            RecordingHost host(MessageMaker(seed).any(), {.readStyle = style});
            OpenedMessage opened(host);
            opened.visitAll();
        }
    }
}

// Half of each block is enough for a raw copy and the decoders, which go on where the read stopped.
TEST(OddAnswer, ShortReadsGiveTheWholeContent) {
    RecordingHost host(scenarios()[2].message);
    OpenedMessage opened(host);
    std::vector<std::string> whole;
    for (int32_t i = 1; i <= 4; ++i) whole.push_back(opened.extract(i).bytes);
    for (const ReadStyle style : {ReadStyle::kOneByte, ReadStyle::kHalf}) {
        RecordingHost shortHost(scenarios()[2].message);
        OpenedMessage shortOpened(shortHost);
        shortHost.setReadStyle(style);
        for (int32_t i = 1; i <= 4; ++i) {
            EXPECT_EQ(shortOpened.extract(i).bytes, whole[static_cast<size_t>(i - 1)]) << i;
        }
    }
}

// The size that the file had when it was opened bounds every read.
TEST(OddAnswer, FileThatGrowsIsReadUpToItsSize) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        MessageMaker maker(seed);
        const std::string message = maker.any();
        RecordingHost host(message + "\r\n--b\r\nContent-Type: image/png; name=late\r\n\r\nx\r\n--b--\r\n");
        host.setReportedSize(static_cast<int64_t>(message.size()));
        OpenedMessage opened(host);
        ASSERT_EQ(dumpSections(*opened.context(), opened.result()), dumpSections(referenceOpen(message, 0)))
            << seed;
    }
}

TEST(OddAnswer, FileThatIsShorterThanItSaysDoesNoHarm) {
    for (const Scenario& scenario : scenarios()) {
        for (const int64_t size : {int64_t{1} << 20, int64_t{1} << 33, INT64_MAX}) {
            RecordingHost host(scenario.message);
            host.setReportedSize(size);
            (void)live(host, scenario);
        }
    }
}

TEST(OddAnswer, SizeBelowZeroIsNone) {
    RecordingHost host(scenarios()[2].message);
    host.journal().fail(Entry::kInputTell, {1, true});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->fileSize, 0);
    EXPECT_EQ(opened.subFileCount(), 1U);
}

TEST(OddAnswer, CloseOfTheInputThatFailsIsIgnored) {
    RecordingHost host("\r\ntext");
    host.journal().fail(Entry::kInputClose, {1, true});
    OpenedMessage opened(host);
    opened.close();
    EXPECT_EQ(host.journal().calls(Entry::kInputClose), 1U);
}

}  // namespace
}  // namespace eml::test

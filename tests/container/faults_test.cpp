// Hosts that fail in ways that need an answer of their own. Every call of every entry fails in
// faults/container_sweep_test.cpp.
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

TEST(NoMemory, InTheScanLeavesAContextToClose) {
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

TEST(MissingEntry, CloseOfTheInputMayGoMissingLater) {
    RecordingHost host("\r\ntext");
    OpenedMessage opened(host);
    host.remove(Entry::kInputClose);
    opened.close();
    EXPECT_FALSE(host.inputClosed());
}

TEST(MissingEntry, WithoutReadOrSeekTheMessageIsEmpty) {
    for (const Entry entry : {Entry::kInputRead, Entry::kInputSeek}) {
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

TEST(OddAnswer, SizeBelowZeroIsNotKnown) {
    for (const Way way : {Way::kPlain, Way::kMinusOne}) {
        RecordingHost host(scenarios()[2].message);
        host.journal().fail(Entry::kInputTell, {1, true, way});
        OpenedMessage opened(host);
        EXPECT_EQ(opened.context()->fileSize, opened.context()->bodyOffset);
        EXPECT_EQ(opened.subFileCount(), 1U);
    }
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

// Every block of memory ends at an unreadable page, and freed blocks are unreadable. Whole suites run so in
// the test "guarded" (EMLREADER_TEST_GUARDS=1); these are messages that matter only then.
#include <gtest/gtest.h>

#include "support/random_messages.h"
#include "support/reference_scan.h"
#include "support/scenarios.h"
#include "support/sections.h"

namespace eml::test {
namespace {

constexpr HostOptions kGuarded{.heapMode = HeapMode::kGuarded};

TEST(Guarded, EveryPrefixOfTheRichMessage) {
    const std::string& message = scenarios()[2].message;
    for (size_t length = 0; length < message.size(); length += length < 1500 ? 1 : 97) {
        RecordingHost host(message.substr(0, length), kGuarded);
        OpenedMessage opened(host, scenarios()[2].flags);
        opened.visitAll();
    }
}

TEST(Guarded, RandomMessages) {
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        MessageMaker maker(seed);
        const std::string message = maker.any();
        RecordingHost host(message, kGuarded);
        OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
        ASSERT_EQ(dumpSections(*opened.context(), opened.result()),
                  dumpSections(referenceOpen(message, EML_OPEN_CONVERTED_ATTACHMENTS)))
            << seed;
        opened.visitAll();
    }
}

// Lines, boundaries and names that fill the read buffer to its last byte.
TEST(Guarded, TextsThatFillABlock) {
    for (const size_t length : {4094U, 4095U, 4096U, 4097U, 8191U, 8192U, 8193U}) {
        for (const std::string start :
             {"Content-Type: multipart/mixed; boundary=", "Content-Disposition: attachment; name=",
              "Content-Type: text/plain; charset=", " charset=", "Subject: "}) {
            std::string line = start;
            line.resize(length, 'y');
            for (const std::string end : {"", "\r\n", "\n", "\r", "\r\n\r\n"}) {
                RecordingHost host(line + end + line, kGuarded);
                OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
                emlDebugSections(opened.context());
                RecordingHost partHost(multipart("mixed", "--b\n") + line + end + line, kGuarded);
                OpenedMessage partOpened(partHost);
                emlDebugSections(partOpened.context());
                partOpened.visitAll();
            }
        }
    }
}

// What the host hands over ends there too.
void readBehindARecord(int which) {
    RecordingHost host("", kGuarded);
    MemoryOutput output(host);
    const void* const ends[] = {&host.input() + 1, &host.services() + 1, &host.record() + 1,
                                &output.object() + 1};
    (void)*static_cast<const volatile uint8_t*>(ends[which]);
}

TEST(GuardedDeathTest, ReadBehindARecordOfTheHostIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const int which : {0, 1, 2, 3}) EXPECT_DEATH(readBehindARecord(which), "") << which;
}

// The tests above show nothing unless the guards work.
TEST(GuardedDeathTest, ReadBehindABlockIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            RecordingHost host("", kGuarded);
            const auto* block = static_cast<const volatile uint8_t*>(host.heap().take(10));
            (void)block[10];
        },
        "");
}

TEST(GuardedDeathTest, ReadOfAFreedBlockIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            RecordingHost host("", kGuarded);
            void* taken = host.heap().take(10);
            const auto* block = static_cast<const volatile uint8_t*>(taken);
            host.heap().give(taken);
            (void)block[0];
        },
        "");
}

}  // namespace
}  // namespace eml::test

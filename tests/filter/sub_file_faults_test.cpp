// Calls in any order on any message: nothing breaks, and the code is a stated one. Hosts that fail are in
// faults/filter_sweep_test.cpp.
#include <gtest/gtest.h>

#include "faults/made_messages.h"
#include "filter/random_filter_messages.h"
#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

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
    for (const std::string& message : subFileMessages()) {
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

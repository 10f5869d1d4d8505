// The end of a run of ordinary text: found at every place, before nothing that it may not read.
#include "bytes/text_run.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "bytes/decode_kernels.h"
#include "tests/support/kernel_sets.h"

namespace eml {
namespace {

size_t slowRunEnd(const std::vector<uint8_t>& bytes, size_t from) {
    while (from < bytes.size() && bytes[from] != 0 && bytes[from] != 9 && bytes[from] != 10 &&
           bytes[from] != 13)
        ++from;
    return from;
}

size_t fastRunEnd(const DecodeKernels& kernels, const std::vector<uint8_t>& bytes, size_t from) {
    return static_cast<size_t>(kernels.findTextRunEnd(bytes.data() + from, bytes.data() + bytes.size()) -
                               bytes.data());
}

void expectEndsEverywhere(const DecodeKernels& kernels, std::vector<uint8_t> bytes, uint8_t filler) {
    ASSERT_EQ(fastRunEnd(kernels, bytes, 0), bytes.size());
    for (size_t at = 0; at < bytes.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            bytes[at] = static_cast<uint8_t>(byte);
            const size_t fast = fastRunEnd(kernels, bytes, 0);
            const size_t slow = slowRunEnd(bytes, 0);
            // An assertion for each would take most of the time.
            if (fast != slow)
                FAIL() << fast << " is not " << slow << " of " << bytes.size() << ", byte at " << at;
        }
        bytes[at] = filler;
    }
}

TEST(TextRun, FourBytesEndOne) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(endsTextRun(static_cast<uint8_t>(byte)), byte == 0 || byte == 9 || byte == 10 || byte == 13)
            << byte;
    }
}

// Every byte at every place, among letters, among bytes that are small but end nothing, and among bytes with
// the highest bit set.
TEST(TextRun, EndsAtItsFirstEndingByte) {
    for (const DecodeKernels* const kernels : test::kernelSets()) {
        for (const int filler : {int{'a'}, 1, 8, 11, 12, 14, 0x80, 0x8D, 0xFF}) {
            for (size_t length = 0; length <= 100; length += length < 70 ? 1 : 10) {
                std::vector<uint8_t> bytes(length, static_cast<uint8_t>(filler));
                bytes.shrink_to_fit();
                ASSERT_NO_FATAL_FAILURE(expectEndsEverywhere(*kernels, bytes, static_cast<uint8_t>(filler)));
            }
        }
    }
}

TEST(TextRun, EndsTheSameFromEveryStart) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::vector<uint8_t> bytes(random() % 200);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random() % 8 != 0 ? 32 + random() % 224 : random() % 16);
        }
        for (const DecodeKernels* const kernels : test::kernelSets()) {
            for (size_t from = 0; from <= bytes.size(); ++from) {
                ASSERT_EQ(fastRunEnd(*kernels, bytes, from), slowRunEnd(bytes, from));
            }
        }
    }
}

}  // namespace
}  // namespace eml

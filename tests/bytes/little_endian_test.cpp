#include "bytes/little_endian.h"

#include <gtest/gtest.h>

namespace {

TEST(LittleEndian, LowByteFirstAtAnyAddressAndUnsigned) {
    const uint8_t bytes[] = {0x01, 0x02, 0x03, 0x04, 0xFF, 0xFF, 0xFF, 0xFF, 0x80, 0, 0, 0x80};
    const uint32_t expected[] = {0x04030201, 0xFF040302, 0xFFFF0403, 0xFFFFFF04, 0xFFFFFFFF,
                                 0x80FFFFFF, 0x0080FFFF, 0x000080FF, 0x80000080};
    for (size_t at = 0; at + 4 <= sizeof bytes; ++at) {
        EXPECT_EQ(eml::readLittleEndian32(bytes + at), expected[at]) << at;
    }
}

}  // namespace

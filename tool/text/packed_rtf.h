// Compressed RTF (MS-OXRTFCP), the form in which TNEF holds the text of a message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace emltool {

// More is not unpacked.
inline constexpr size_t kMaxUnpackedRtf = size_t{64} << 20;

struct UnpackedRtf {
    std::vector<uint8_t> bytes;
    bool complete;  // false if the packed bytes make no sense, end too early, or hold too much
};

// Whatever could be unpacked, `limit` bytes at most. The checksum is not looked at: a text that is slightly damaged is better than none.
UnpackedRtf unpackRtf(std::span<const uint8_t> packed, size_t limit = kMaxUnpackedRtf);

}  // namespace emltool

// The arithmetic of the seek entry, once for inputs and outputs.
#ifndef EMLREADER_STANDALONE_POSITION_H
#define EMLREADER_STANDALONE_POSITION_H

#include <emlreader/eml_host.h>

#include <cstdint>
#include <optional>

namespace emlhost {

// The position that a seek asks for in a file of `size` bytes (at most INT64_MAX); none when the origin is
// unknown or the position lies before the start or beyond 63 bits.
inline std::optional<uint64_t> seekTarget(uint64_t size, uint32_t offsetLow, int32_t offsetHigh,
                                          uint32_t origin) noexcept {
    if (origin != EML_SEEK_START && origin != EML_SEEK_END) return std::nullopt;
    uint64_t offset = (static_cast<uint64_t>(static_cast<uint32_t>(offsetHigh)) << 32) | offsetLow;
    // Two's complement: a negative offset is one that wraps, and wrong positions end up above INT64_MAX.
    uint64_t base = origin == EML_SEEK_END ? size : 0;
    uint64_t target = base + offset;
    if (target > static_cast<uint64_t>(INT64_MAX)) return std::nullopt;
    return target;
}

}  // namespace emlhost

#endif

// Compressed RTF (MS-OXRTFCP): pure functions over bytes into a given span.
#pragma once

#include <cstdint>

#include "bytes/cursor.h"

namespace eml {

inline constexpr uint32_t kPackedRtfHeaderSize = 16;

// The text that a compressed body can refer back to from its first byte.
inline constexpr uint32_t kRtfDictionarySize = 207;

enum class PackedRtfKind : uint8_t { kOther, kCompressed, kStored };

struct PackedRtf {
    PackedRtfKind kind;
    uint32_t rawSize;  // of the unpacked text, as the header claims
    Cursor content;    // what follows the header
};

// `body` has more than kPackedRtfHeaderSize bytes. The compressed size and the checksum are not read.
[[nodiscard]] PackedRtf readPackedRtfHeader(Cursor body);

// The most bytes that the content can unpack to: a header that claims more than the tokens can produce is not
// trusted.
[[nodiscard]] uint64_t unpackedLimit(const PackedRtf& packed);

// Unpacks compressed content to `room` + kRtfDictionarySize, which has room for `limit` bytes; the
// dictionary is built before them. Returns the bytes of text.
[[nodiscard]] uint64_t unpackRtf(const PackedRtf& packed, uint8_t* room, uint64_t limit);

}  // namespace eml

// Bytes in memory, handed to an output as the library does it: in pieces whose length fits in 32 bits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "standalone/output.h"

namespace emltool {

// The output is open already; its error() tells whether all was written.
inline void writePieces(emlhost::Output& output, std::span<const uint8_t> bytes) {
    constexpr size_t kPiece = size_t{1} << 20;
    EmlIOobj* object = output.object();
    while (!bytes.empty()) {
        std::span<const uint8_t> piece = bytes.first(std::min(kPiece, bytes.size()));
        object->write(object, piece.data(), static_cast<uint32_t>(piece.size()));
        bytes = bytes.subspan(piece.size());
    }
}

// Opens the output, writes all and closes it.
inline void writeWhole(emlhost::Output& output, std::span<const uint8_t> bytes) {
    EmlIOobj* object = output.object();
    if (object->open(object) == 0) return;
    writePieces(output, bytes);
    object->close(object);
}

}  // namespace emltool

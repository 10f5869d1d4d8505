// Taking an archive apart with libarchive, and sending what is in it. This code meets hostile bytes first, so it runs in
// a process of its own (system/isolated_process.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltool {

// The pieces of a reply: this, and `length` bytes.
struct UnpackFrame {
    uint64_t length = 0;
    uint64_t offset = 0;
    uint64_t read = 0;
    uint8_t kind = 0;  // MemberEvent::Kind
    uint8_t failure = 0;
    uint8_t hasOffset = 0;
    uint8_t hasName = 1;
};

// No frame has more bytes.
constexpr size_t kMaxUnpacked = size_t{128} << 10;

// So many bytes may come out of an archive whatever its size, and beyond that so many for each of its bytes. Texts
// shrink to a tenth, few to a hundredth; gzip reaches a thousandth.
constexpr uint64_t kSafeUnpacked = uint64_t{1} << 30;
constexpr uint64_t kMaxUnpackedRatio = 200;

// Why archives cannot be read; empty if they can be. Loads the library.
std::string archiveLack();

// `descriptor` has the archive: a file, which is read from its beginning, or a pipe, of which `beginning` has been
// read already. Writes frames to `reply`, and returns true if all is said. May throw std::bad_alloc.
bool unpackArchive(int descriptor, std::string_view beginning, int reply);

}  // namespace emltool

// The host's I/O objects. Each function makes one host call: no loop over short reads, no cache.
#pragma once

#include <emlreader/eml_host.h>

#include <cstdint>

namespace eml {

// The 64-bit offset is passed as two halves.
[[nodiscard]] inline bool seekFile(EmlIOobj& file, int64_t offset, uint32_t origin = EML_SEEK_START) {
    if (file.seek == nullptr) return false;
    const auto low = static_cast<uint32_t>(offset & 0xFFFFFFFF);
    const auto high = static_cast<int32_t>(offset >> 32);
    return file.seek(&file, low, high, origin) != 0;
}

// Bytes delivered, never more than `count`. 0 is the end: no read entry, or an answer below 1.
[[nodiscard]] inline uint32_t readFile(EmlIOobj& file, void* buffer, uint32_t count) {
    if (file.read == nullptr || count == 0) return 0;
    const int32_t delivered = file.read(&file, buffer, count);
    if (delivered < 1) return 0;
    return static_cast<uint32_t>(delivered) < count ? static_cast<uint32_t>(delivered) : count;
}

inline void writeFile(EmlIOobj& file, const void* bytes, uint32_t count) {
    if (file.write != nullptr) file.write(&file, bytes, count);
}

// The position at the end of the file, or a negative value when the object cannot tell. The result of the
// seek is ignored: an object that cannot seek may still count what was written.
[[nodiscard]] inline int64_t seekToEnd(EmlIOobj& file) {
    (void)seekFile(file, 0, EML_SEEK_END);
    return file.tell != nullptr ? file.tell(&file) : -1;
}

// Stores the position at the end in the object's size field, which stays unchanged when the object cannot
// tell.
inline void storeFinalSize(EmlIOobj& file) {
    const int64_t size = seekToEnd(file);
    if (size < 0) return;
    file.size[0] = static_cast<uint32_t>(size & 0xFFFFFFFF);
    file.size[1] = static_cast<uint32_t>(size >> 32);
}

}  // namespace eml

// Memory from the host: zeroed records, raw blocks, copies of texts, and a block that is freed at scope end.
// Sizes are 64 bits here; a size that does not fit in the 32 bits of an allocator entry counts as out of
// memory.
#pragma once

#include <emlreader/eml_host.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace eml {

[[nodiscard]] inline void* allocateBlock(EmlAllocator& allocator, uint64_t size) {
    if (size > UINT32_MAX || allocator.allocate == nullptr) return nullptr;
    return allocator.allocate(&allocator, static_cast<uint32_t>(size));
}

inline void freeBlock(EmlAllocator& allocator, void* block) {
    if (block != nullptr && allocator.free != nullptr) allocator.free(&allocator, block);
}

// A failed reallocation loses the old block: the caller stores the result over its pointer, NULL included.
[[nodiscard]] inline void* reallocateBlock(EmlAllocator& allocator, void* block, uint64_t size) {
    if (size > UINT32_MAX || allocator.reallocate == nullptr) return nullptr;
    return allocator.reallocate(&allocator, block, static_cast<uint32_t>(size));
}

// `count` zeroed records. They are made with `allocate`, since hosts need not offer a zeroing entry.
template <class Record>
[[nodiscard]] Record* allocateRecords(EmlAllocator& allocator, uint64_t count = 1) {
    static_assert(std::is_trivial_v<Record>, "zero is the initial state: no constructor runs");
    if (count > UINT32_MAX) return nullptr;
    void* block = allocateBlock(allocator, count * sizeof(Record));
    if (block != nullptr) std::memset(block, 0, static_cast<size_t>(count) * sizeof(Record));
    return static_cast<Record*>(block);
}

// A zero-terminated copy of `length` bytes; NULL when memory runs out.
[[nodiscard]] inline char* copyText(EmlAllocator& allocator, const void* text, uint64_t length) {
    auto* copy = static_cast<char*>(allocateBlock(allocator, length + 1));
    if (copy == nullptr) return nullptr;
    if (length != 0) std::memcpy(copy, text, static_cast<size_t>(length));
    copy[length] = '\0';
    return copy;
}

// A block that is freed when the scope ends.
class ScopedBlock {
  public:
    ScopedBlock(EmlAllocator& allocator, uint64_t size)
        : allocator_(allocator), block_(allocateBlock(allocator, size)) {}
    ~ScopedBlock() { freeBlock(allocator_, block_); }
    ScopedBlock(const ScopedBlock&) = delete;
    ScopedBlock& operator=(const ScopedBlock&) = delete;

    [[nodiscard]] uint8_t* bytes() const { return static_cast<uint8_t*>(block_); }

  private:
    EmlAllocator& allocator_;
    void* block_;
};

}  // namespace eml

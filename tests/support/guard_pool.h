// Blocks that end at an unreadable page. Pages that were given back stay unreadable until many others have
// been, and are then used again: a block costs two calls of the system, not five.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <unordered_map>

namespace eml::test {

enum class HeapMode : uint8_t {
    kPlain,
    kGuarded,  // each block ends at an unreadable page; a freed block becomes unreadable
};

// What tests use that do not say otherwise: EMLREADER_TEST_GUARDS=1 in the environment makes it kGuarded.
[[nodiscard]] HeapMode defaultHeapMode();

class GuardPool {
  public:
    // The one pool of the program. Tests run on one thread.
    static GuardPool& instance();

    GuardPool(const GuardPool&) = delete;
    GuardPool& operator=(const GuardPool&) = delete;

    // A block of `size` bytes, aligned as its size allows, so that records keep their alignment; NULL when
    // there is no memory.
    [[nodiscard]] void* take(size_t size);
    void give(void* block);
    [[nodiscard]] size_t sizeOf(const void* block) const;

  private:
    struct Region {
        uint8_t* base;
        size_t room;  // bytes in front of the unreadable page
    };

    GuardPool();
    [[nodiscard]] bool reuse(size_t room, Region& region);
    [[nodiscard]] bool map(size_t room, Region& region) const;

    const size_t page_;
    std::unordered_map<const void*, Region> live_;
    std::map<size_t, std::deque<Region>> closed_;  // by room, in the order in which they were given back
};

// A block in the default mode, and its end.
[[nodiscard]] void* takeBlock(size_t size);
void giveBlock(void* block);

}  // namespace eml::test

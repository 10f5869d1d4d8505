#include "support/guard_pool.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

namespace eml::test {
namespace {

// Regions of one size that are kept unreadable before the oldest is used again.
constexpr size_t kClosedRegions = 256;
// Larger regions go back to the system at once.
constexpr size_t kLargestKept = size_t{1} << 20;

}  // namespace

HeapMode defaultHeapMode() {
    static const bool guarded = [] {
        const char* text = std::getenv("EMLREADER_TEST_GUARDS");
        return text != nullptr && *text != '\0' && *text != '0';
    }();
    return guarded ? HeapMode::kGuarded : HeapMode::kPlain;
}

GuardPool::GuardPool() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {}

GuardPool& GuardPool::instance() {
    static GuardPool* const pool = new GuardPool;  // outlives every host of every test
    return *pool;
}

bool GuardPool::map(size_t room, Region& region) const {
    void* base = mmap(nullptr, room + page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return false;
    region = {static_cast<uint8_t*>(base), room};
    return mprotect(region.base + room, page_, PROT_NONE) == 0;
}

bool GuardPool::reuse(size_t room, Region& region) {
    const auto found = closed_.find(room);
    if (found == closed_.end() || found->second.size() < kClosedRegions) return false;
    region = found->second.front();
    found->second.pop_front();
    return mprotect(region.base, room, PROT_READ | PROT_WRITE) == 0;
}

void* GuardPool::take(size_t size) {
    // A block without bytes has a page in front of it all the same, so that blocks have places of their own.
    const size_t room = size == 0 ? page_ : (size + page_ - 1) / page_ * page_;
    Region region{};
    if (!reuse(room, region) && !map(room, region)) return nullptr;
    void* const block = region.base + room - size;
    live_.emplace(block, region);
    return block;
}

void GuardPool::give(void* block) {
    const auto found = live_.find(block);
    if (found == live_.end()) std::abort();
    const Region region = found->second;
    live_.erase(found);
    if (region.room > kLargestKept) {
        munmap(region.base, region.room + page_);
        return;
    }
    mprotect(region.base, region.room, PROT_NONE);
    closed_[region.room].push_back(region);
}

size_t GuardPool::sizeOf(const void* block) const {
    const auto found = live_.find(block);
    if (found == live_.end()) std::abort();
    const Region& region = found->second;
    return region.room - static_cast<size_t>(static_cast<const uint8_t*>(block) - region.base);
}

void* takeBlock(size_t size) {
    if (defaultHeapMode() == HeapMode::kGuarded) return GuardPool::instance().take(size);
    return std::malloc(size != 0 ? size : 1);
}

void giveBlock(void* block) {
    if (defaultHeapMode() == HeapMode::kGuarded) {
        GuardPool::instance().give(block);
    } else {
        std::free(block);
    }
}

}  // namespace eml::test

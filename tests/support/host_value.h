// Records and buffers of the host itself, from a heap of the host: in guarded mode each of them ends at an
// unreadable page, as the library's blocks do.
#pragma once

#include <cstring>
#include <string_view>
#include <type_traits>

#include "support/tracked_heap.h"

namespace eml::test {

// Memory that is given back when the scope ends.
class HostBlock {
  public:
    HostBlock(TrackedHeap& heap, size_t size) : heap_(heap), block_(heap.take(size)), size_(size) {}
    HostBlock(TrackedHeap& heap, std::string_view text) : HostBlock(heap, text.size() + 1) {
        if (!text.empty()) std::memcpy(block_, text.data(), text.size());
        chars()[text.size()] = '\0';
    }
    ~HostBlock() { heap_.give(block_); }
    HostBlock(const HostBlock&) = delete;
    HostBlock& operator=(const HostBlock&) = delete;

    [[nodiscard]] void* data() const { return block_; }
    [[nodiscard]] char* chars() const { return static_cast<char*>(block_); }
    [[nodiscard]] size_t size() const { return size_; }

  private:
    TrackedHeap& heap_;
    void* block_;
    size_t size_;
};

// One record. It begins as `value`.
template <class Record>
class HostValue {
    static_assert(std::is_trivially_copyable_v<Record> && std::is_trivially_destructible_v<Record>);

  public:
    explicit HostValue(TrackedHeap& heap, const Record& value = Record{}) : block_(heap, sizeof(Record)) {
        std::memcpy(block_.data(), &value, sizeof value);
    }

    [[nodiscard]] Record& operator*() const { return *static_cast<Record*>(block_.data()); }
    [[nodiscard]] Record* operator->() const { return static_cast<Record*>(block_.data()); }

  private:
    HostBlock block_;
};

}  // namespace eml::test

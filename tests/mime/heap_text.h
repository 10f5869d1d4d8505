// A TextBuilder on the heap of the test, and hosts that convert.
#pragma once

#include <emlreader/eml_mime.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>

#include "mime/text_builder.h"
#include "support/guard_pool.h"

namespace eml::test {

// Fails the n-th allocation and all after it when `failAt` is not 0. Blocks are counted, and in guarded mode end at
// unreadable pages.
class HeapText {
  public:
    explicit HeapText(uint32_t failAt = 0) : failAt_(failAt) {
        allocator_.context = reinterpret_cast<uintptr_t>(this);
        allocator_.allocate = [](EmlAllocator* self, uint32_t size) -> void* {
            HeapText& heap = of(self);
            if (heap.refuses()) return nullptr;
            return heap.take(size);
        };
        allocator_.reallocate = [](EmlAllocator* self, void* block, uint32_t size) -> void* {
            HeapText& heap = of(self);
            void* moved = nullptr;
            if (!heap.refuses()) {
                moved = heap.take(size);
                if (block != nullptr) std::memcpy(moved, block, std::min<size_t>(size, heap.sizes_[block]));
            }
            heap.give(block);
            return moved;
        };
        allocator_.free = [](EmlAllocator* self, void* block) { of(self).give(block); };
    }
    ~HeapText() { buffer_.release(allocator_); }
    HeapText(const HeapText&) = delete;
    HeapText& operator=(const HeapText&) = delete;

    [[nodiscard]] TextBuilder& builder() { return builder_; }
    [[nodiscard]] std::string str() const { return std::string(builder_.since(0)); }
    [[nodiscard]] uint32_t calls() const { return calls_; }
    [[nodiscard]] int liveBlocks() const { return live_; }
    [[nodiscard]] const GrowingBuffer& buffer() const { return buffer_; }

  private:
    static HeapText& of(EmlAllocator* self) { return *reinterpret_cast<HeapText*>(self->context); }
    bool refuses() { return ++calls_ >= failAt_ && failAt_ != 0; }
    void* take(size_t size) {
        ++live_;
        void* const block = takeBlock(size);
        sizes_[block] = size;
        return block;
    }
    void give(void* block) {
        if (block == nullptr) return;
        --live_;
        sizes_.erase(block);
        giveBlock(block);
    }

    EmlAllocator allocator_{};
    GrowingBuffer buffer_{};
    TextBuilder builder_{allocator_, buffer_};
    uint32_t failAt_;
    uint32_t calls_ = 0;
    int live_ = 0;
    std::unordered_map<void*, size_t> sizes_;
};

// A host that knows one charset, "toy": a byte of 0xC0 and more and the byte after it are U+0400 plus the low six bits
// of the second; between SO and SI each letter a to z is U+0430 onward; bytes 0x80 to 0xBF are invalid. It counts
// its conversions.
struct ToyHost {
    struct Conversion {
        ToyHost* host;
        bool shifted;
    };

    EmlMimeConvert record{this, &open, &convert, &close};
    int opened = 0;
    int closed = 0;
    std::string lastLabel;

    static void* open(void* host, const char* label) {
        auto& self = *static_cast<ToyHost*>(host);
        self.lastLabel = label;
        if (self.lastLabel != "toy" && self.lastLabel != "TOY") return nullptr;
        ++self.opened;
        return new Conversion{&self, false};
    }

    static uint32_t convert(void* conversion, const void* source, uint32_t* sourceLength, void* destination,
                            uint32_t* destinationLength, int32_t last) {
        auto& self = *static_cast<Conversion*>(conversion);
        const auto* in = static_cast<const uint8_t*>(source);
        auto* out = static_cast<char*>(destination);
        uint32_t used = 0;
        uint32_t written = 0;
        uint32_t replaced = 0;
        const auto put = [&](uint32_t character) {
            if (character >= 0x800) out[written++] = static_cast<char>(0xE0 | character >> 12);
            const uint32_t rest = character & 0xFFF;
            if (character >= 0x800) out[written++] = static_cast<char>(0x80 | rest >> 6);
            if (character >= 0x80 && character < 0x800)
                out[written++] = static_cast<char>(0xC0 | character >> 6);
            out[written++] = static_cast<char>(character < 0x80 ? character : 0x80 | (character & 0x3F));
        };
        while (used < *sourceLength && written + 4 <= *destinationLength) {
            const uint8_t byte = in[used];
            const bool pair = byte >= 0xC0;
            if (pair && used + 1 == *sourceLength && last == 0) break;
            ++used;
            if (byte == 0x0E || byte == 0x0F) {
                self.shifted = byte == 0x0E;
            } else if (pair && used < *sourceLength) {
                put(0x400u + (in[used++] & 0x3Fu));
            } else if (byte >= 0x80) {
                put(0xFFFD);
                ++replaced;
            } else if (self.shifted && byte >= 'a' && byte <= 'z') {
                put(0x430u + byte - 'a');
            } else {
                put(byte);
            }
        }
        *sourceLength = used;
        *destinationLength = written;
        return replaced;
    }

    static void close(void* conversion) {
        auto* self = static_cast<Conversion*>(conversion);
        ++self->host->closed;
        delete self;
    }
};

}  // namespace eml::test

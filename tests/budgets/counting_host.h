// A host over memory that counts the work it is asked for: reads, bytes, allocations. It looks at nothing
// else, so that millions of calls cost little, and needs no test framework.
#pragma once

#include <emlreader/eml_host.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace eml::test {

struct HostWork {
    uint64_t reads = 0;
    uint64_t bytesRead = 0;
    uint64_t allocations = 0;     // reallocations included
    uint64_t bytesAllocated = 0;  // all of them together; a reallocation counts with its new size
    uint64_t bytesMoved = 0;      // what reallocations had to keep
    uint64_t liveBytes = 0;
    uint64_t peakBytes = 0;
    uint64_t bytesWritten = 0;  // to outputs, and into record buffers
};

// What goes far beyond every budget, for each byte of the message, is refused: a reader that has become
// quadratic then fails at once instead of running for minutes.
inline constexpr uint64_t kMaxAllocated = 2000;
inline constexpr uint64_t kMaxRead = 50000;

class CountingHost {
  public:
    explicit CountingHost(std::string_view message) : message_(message) {
        bindInput();
        bindOutput();
        bindServices();
    }
    CountingHost(const CountingHost&) = delete;
    CountingHost& operator=(const CountingHost&) = delete;

    [[nodiscard]] EmlIOobj& input() { return input_.record; }
    [[nodiscard]] EmlIOobj& output() { return output_.record; }  // takes any number of sub-files, keeps none
    [[nodiscard]] EmlHostServices& services() { return services_.record; }
    [[nodiscard]] EmlHostRecord& record() { return record_; }
    [[nodiscard]] const HostWork& work() const { return work_; }

    void countRecords(uint32_t bytes) { work_.bytesWritten += bytes; }

    // Gives back a block that the library handed over, or NULL.
    void release(void* block) {
        if (block == nullptr) return;
        Block* const header = headerOf(block);
        work_.liveBytes -= header->size;
        std::free(header);
    }

  private:
    template <class Record>
    struct Bound {
        Record record;  // first: the library hands its address back
        CountingHost* host;
    };
    struct alignas(std::max_align_t) Block {
        size_t size;
    };

    static CountingHost& of(EmlIOobj* self) { return *reinterpret_cast<Bound<EmlIOobj>*>(self)->host; }
    static CountingHost& of(EmlHostServices* self) {
        return *reinterpret_cast<Bound<EmlHostServices>*>(self)->host;
    }
    static CountingHost& of(EmlAllocator* self) { return *reinterpret_cast<CountingHost*>(self->context); }
    [[nodiscard]] uint64_t allowance(uint64_t perByte) const { return perByte * (message_.size() + 1024); }
    static Block* headerOf(void* block) { return static_cast<Block*>(block) - 1; }
    static int64_t offsetOf(uint32_t low, int32_t high) {
        return static_cast<int64_t>(uint64_t{static_cast<uint32_t>(high)} << 32 | low);
    }

    void* allocate(size_t size) {
        if (work_.bytesAllocated > allowance(kMaxAllocated)) return nullptr;
        auto* const header = static_cast<Block*>(std::malloc(sizeof(Block) + size));
        if (header == nullptr) std::abort();  // no exception may pass through the library
        header->size = size;
        ++work_.allocations;
        work_.bytesAllocated += size;
        work_.liveBytes += size;
        work_.peakBytes = std::max(work_.peakBytes, work_.liveBytes);
        return header + 1;
    }

    // The old block lives until its content has been moved, as in a heap that cannot grow a block in place.
    void* reallocate(void* block, size_t size) {
        const size_t kept = std::min(headerOf(block)->size, size);
        void* const grown = allocate(size);
        if (grown == nullptr) return nullptr;
        std::memcpy(grown, block, kept);
        work_.bytesMoved += kept;
        release(block);
        return grown;
    }

    void bindInput() {
        input_.host = this;
        EmlIOobj& io = input_.record;
        io.open = [](EmlIOobj*) -> int32_t { return 1; };
        io.close = io.open;
        io.read = [](EmlIOobj* self, void* buffer, uint32_t count) -> int32_t {
            return of(self).read(buffer, count);
        };
        io.seek = [](EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) -> int32_t {
            CountingHost& host = of(self);
            const auto base = origin == EML_SEEK_END ? static_cast<int64_t>(host.message_.size()) : 0;
            host.position_ = std::max<int64_t>(base + offsetOf(low, high), 0);
            return 1;
        };
        io.tell = [](EmlIOobj* self) -> int64_t { return of(self).position_; };
    }

    int32_t read(void* buffer, uint32_t count) {
        if (work_.bytesRead > allowance(kMaxRead)) return 0;
        const size_t at = std::min(static_cast<size_t>(position_), message_.size());
        const size_t delivered = std::min<size_t>(count, message_.size() - at);
        if (delivered != 0) std::memcpy(buffer, message_.data() + at, delivered);
        position_ += static_cast<int64_t>(delivered);
        ++work_.reads;
        work_.bytesRead += delivered;
        return static_cast<int32_t>(delivered);
    }

    void bindOutput() {
        output_.host = this;
        EmlIOobj& io = output_.record;
        io.open = [](EmlIOobj* self) -> int32_t {
            of(self).outputSize_ = 0;
            return 1;
        };
        io.close = [](EmlIOobj*) -> int32_t { return 1; };
        io.seek = [](EmlIOobj*, uint32_t, int32_t, uint32_t) -> int32_t { return 1; };
        io.tell = [](EmlIOobj* self) -> int64_t { return of(self).outputSize_; };
        io.write = [](EmlIOobj* self, const void*, uint32_t count) -> uint32_t {
            of(self).outputSize_ += count;
            of(self).work_.bytesWritten += count;
            return count;
        };
    }

    void bindServices() {
        services_.host = this;
        EmlHostServices& services = services_.record;
        bindAllocator(services.allocator);
        services.duplicateString = [](EmlHostServices* self, const char* text) -> char* {
            const size_t size = std::strlen(text) + 1;
            void* const copy = of(self).allocate(size);
            return static_cast<char*>(copy != nullptr ? std::memcpy(copy, text, size) : nullptr);
        };
        services.convertText = [](EmlHostServices*, EmlTextSpan* source, EmlTextSpan* destination, uint32_t,
                                  uint32_t) -> uint32_t { return widen(*source, *destination); };
        services.convertTextFrom = [](EmlHostServices*, uint32_t, EmlTextSpan* source,
                                      EmlTextSpan* destination,
                                      uint32_t) -> uint32_t { return widen(*source, *destination); };
        services.isLeadByte = [](EmlHostServices*, uint32_t byte, uint32_t) -> int32_t {
            return byte >= 0x81;
        };
        services.storeDate = [](time_t, void*) {};
        record_ = {1, &services.allocator};
    }

    void bindAllocator(EmlAllocator& allocator) {
        allocator.context = reinterpret_cast<uintptr_t>(this);
        allocator.allocate = [](EmlAllocator* self, uint32_t size) { return of(self).allocate(size); };
        allocator.free = [](EmlAllocator* self, void* block) { of(self).release(block); };
        allocator.reallocate = [](EmlAllocator* self, void* block, uint32_t size) {
            return of(self).reallocate(block, size);
        };
        allocator.allocateZeroed = [](EmlAllocator* self, uint32_t count, uint32_t size) {
            const size_t bytes = size_t{count} * size;
            void* const block = of(self).allocate(bytes);
            return block != nullptr ? std::memset(block, 0, bytes) : nullptr;
        };
    }

    // Every byte becomes two, whatever the charsets.
    static uint32_t widen(const EmlTextSpan& source, EmlTextSpan& destination) {
        if (destination.text != nullptr) std::memset(destination.text, 'x', destination.length);
        destination.length = source.length * 2;
        return 1;
    }

    std::string_view message_;
    int64_t position_ = 0;
    int64_t outputSize_ = 0;
    HostWork work_;
    Bound<EmlIOobj> input_{};
    Bound<EmlIOobj> output_{};
    Bound<EmlHostServices> services_{};
    EmlHostRecord record_{};
};

}  // namespace eml::test

#include "host.h"

#include <algorithm>
#include <cstring>

#include "check.h"

namespace fuzz {
namespace {

constexpr uint32_t kLargestBlock = 64U << 20;

// A read that is told wrongly, and how.
enum ReadStyle : uint8_t { kWhole, kOneByte, kHalf, kVarying, kMoreThanAsked, kStyles };

}  // namespace

Plan choosePlan(Choices& choices) {
    Plan plan;
    const uint8_t what = choices.byte();
    if (what < 2 * static_cast<uint8_t>(Call::kCount)) plan.failing = static_cast<Call>(what >> 1);
    plan.firstFailure = 1U + choices.byte();
    const uint8_t how = choices.byte();
    plan.failsOnwards = (how & 1) != 0;
    plan.missing = (how & 6) == 6;
    plan.firstFailure += 256U * (how >> 6);
    plan.readStyle = static_cast<uint8_t>(choices.below(2 * kStyles));
    if (plan.readStyle >= kStyles) plan.readStyle = kWhole;
    plan.convertStyle = choices.byte();
    plan.tellStyle = choices.byte();
    plan.recordStyle = choices.byte();
    if (plan.tellStyle >= 16) plan.tellStyle = 0;
    if (plan.recordStyle >= 8) plan.recordStyle = 0;
    return plan;
}

void Transcript::add(std::string_view bytes) {
    uint64_t hash = 14695981039346656037U;
    for (const char byte : bytes) hash = (hash ^ static_cast<uint8_t>(byte)) * 1099511628211U;
    events_.push_back(hash);
}

void Transcript::requireSame(const Transcript& one, const Transcript& other) {
    const size_t size = std::min(one.events_.size(), other.events_.size());
    for (size_t i = 0; i < size; ++i) {
        if (one.events_[i] != other.events_[i])
            fail("an uninitialised byte: event " + std::to_string(i) + " differs between two runs");
    }
    require(one.events_.size() == other.events_.size(), "two runs differ in length");
}

// ---------------------------------------------------------------------------------------------- the heaps

Heap::~Heap() {
    for (const auto& [block, size] : live_) std::free(block);
    for (void* block : lost_) std::free(block);
}

bool Heap::fails(Call call) { return host_.note(ofRecord_ ? Call::kRecordAllocate : call); }

void* Heap::take(uint32_t size) {
    if (size > kLargestBlock) return nullptr;
    void* block = std::malloc(size);
    require(block != nullptr, "the machine has memory");
    if (size != 0) std::memset(block, host_.plan().pattern, size);
    live_[block] = size;
    return block;
}

void Heap::give(void* block) {
    if (block == nullptr) return;
    require(live_.erase(block) == 1, "only live blocks are freed");
    std::free(block);
}

void Heap::bind(EmlAllocator& record) {
    record.context = reinterpret_cast<uintptr_t>(this);
    record.allocate = [](EmlAllocator* self, uint32_t size) -> void* {
        return of(self).fails(Call::kAllocate) ? nullptr : of(self).take(size);
    };
    record.free = [](EmlAllocator* self, void* block) { of(self).give(block); };
    record.reallocate = [](EmlAllocator* self, void* block, uint32_t size) -> void* {
        Heap& heap = of(self);
        const auto found = heap.live_.find(block);
        require(found != heap.live_.end(), "only live blocks are reallocated");
        const uint32_t oldSize = found->second;
        void* const grown = heap.fails(Call::kReallocate) ? nullptr : heap.take(size);
        if (grown == nullptr) {
            heap.live_.erase(block);
            heap.lost_.push_back(block);
            return nullptr;
        }
        std::memcpy(grown, block, std::min(oldSize, size));
        heap.give(block);
        return grown;
    };
    record.allocateZeroed = [](EmlAllocator* self, uint32_t count, uint32_t size) -> void* {
        if (of(self).fails(Call::kAllocateZeroed)) return nullptr;
        const uint64_t bytes = uint64_t{count} * size;
        if (bytes > kLargestBlock) return nullptr;
        void* const block = of(self).take(static_cast<uint32_t>(bytes));
        if (bytes != 0) std::memset(block, 0, static_cast<size_t>(bytes));
        return block;
    };
}

// --------------------------------------------------------------------------------------------- the records

Host::Host(const Plan& plan, std::string_view message, uint64_t stepLimit)
    : plan_(plan), message_(message), stepsLeft_(stepLimit), heap_(*this, false), recordHeap_(*this, true) {
    bindInput();
    bindServices();
    recordHeap_.bind(recordAllocator_);
    record_ = {1, &recordAllocator_};
    if (plan_.recordStyle == 2) record_.hostOwned = 0;
    if (plan_.recordStyle == 3) record_.allocator = nullptr;
    if (plan_.missing) removeEntry();
}

EmlHostRecord* Host::record() { return plan_.recordStyle == 1 ? nullptr : &record_; }

bool Host::note(Call call, uint64_t detail) {
    require(stepsLeft_ != 0, "the number of host calls is limited: no progress");
    --stepsLeft_;
    transcript_.add(uint64_t{static_cast<uint8_t>(call)} << 56 ^ detail);
    const uint32_t number = ++counts_[static_cast<size_t>(call)];
    if (call == Call::kNone || call != plan_.failing || plan_.missing) return false;
    return plan_.failsOnwards ? number >= plan_.firstFailure : number == plan_.firstFailure;
}

void Host::requireNothingLive() const {
    const bool loses = plan_.missing && (plan_.failing == Call::kFree || plan_.failing == Call::kReallocate);
    if (loses) return;
    require(heap_.liveBlocks() == 0, "no block of the services is live after the close");
    require(recordHeap_.liveBlocks() == 0, "no block of the host record is live after the close");
}

void Host::bindInput() {
    std::memset(&input_.record, plan_.pattern, sizeof input_.record);
    input_.host = this;
    EmlIOobj& io = input_.record;
    io.open = [](EmlIOobj* self) -> int32_t {
        require(!of(self).inputOpen_, "an input is opened once");
        if (of(self).note(Call::kInputOpen)) return 0;
        of(self).inputOpen_ = true;
        return 1;
    };
    io.read = [](EmlIOobj* self, void* buffer, uint32_t count) { return of(self).read(buffer, count); };
    io.write = [](EmlIOobj*, const void*, uint32_t) -> uint32_t { fail("an input is never written to"); };
    io.seek = [](EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin) -> int32_t {
        Host& host = of(self);
        require(origin == EML_SEEK_START || origin == EML_SEEK_END, "a seek from the start or the end");
        const auto offset = static_cast<int64_t>(uint64_t{static_cast<uint32_t>(high)} << 32 | low);
        if (host.note(Call::kInputSeek, static_cast<uint64_t>(offset))) return 0;
        if (origin == EML_SEEK_END) require(offset == 0, "the end itself is what is looked for");
        if (origin == EML_SEEK_START) require(offset >= 0, "no seek before the start");
        host.position_ = origin == EML_SEEK_END ? host.message_.size() : static_cast<uint64_t>(offset);
        return 1;
    };
    io.tell = [](EmlIOobj* self) -> int64_t {
        return of(self).note(Call::kInputTell) ? -1 : of(self).tell();
    };
    io.close = [](EmlIOobj* self) -> int32_t {
        of(self).inputOpen_ = false;
        return of(self).note(Call::kInputClose) ? 0 : 1;
    };
    io.release = [](EmlIOobj* self) { (void)of(self).note(Call::kNone, 1); };
}

int32_t Host::read(void* buffer, uint32_t count) {
    require(inputOpen_, "only an open input is read");
    require(buffer != nullptr && count != 0, "a read of something");
    const bool fails = note(Call::kInputRead, count);
    // Fills all the room that is claimed; what is not delivered must not be used.
    std::memset(buffer, plan_.pattern, count);
    if (fails) return plan_.failsOnwards ? -1 : 0;
    uint32_t wanted = count;
    if (plan_.readStyle == kOneByte) wanted = 1;
    if (plan_.readStyle == kHalf) wanted = count / 2 + 1;
    if (plan_.readStyle == kVarying)
        wanted = 1 + (counts_[static_cast<size_t>(Call::kInputRead)] * 61U) % count;
    const uint64_t left = position_ < message_.size() ? message_.size() - position_ : 0;
    const auto delivered = static_cast<uint32_t>(std::min<uint64_t>(wanted, left));
    if (delivered != 0) std::memcpy(buffer, message_.data() + static_cast<size_t>(position_), delivered);
    position_ += delivered;
    if (plan_.readStyle == kMoreThanAsked && delivered == count) return INT32_MAX;
    return static_cast<int32_t>(delivered);
}

int64_t Host::tell() const {
    const auto honest = static_cast<int64_t>(position_);
    const int64_t answers[] = {honest,
                               0,
                               honest / 2,
                               honest + 100,
                               honest - 1,
                               1,
                               4096,
                               INT32_MAX,
                               honest + 4096,
                               UINT32_MAX,
                               honest + 100000,
                               int64_t{1} << 32,
                               honest * 2 + 100,
                               -2,
                               honest / 3,
                               honest + 1};
    return answers[plan_.tellStyle % std::size(answers)];
}

void Host::bindServices() {
    std::memset(&services_.record, plan_.pattern, sizeof services_.record);
    services_.host = this;
    EmlHostServices& services = services_.record;
    heap_.bind(services.allocator);
    services.currentCharset = 0;
    services.lastError = EML_OK;
    services.openFile = [](EmlHostServices* self, void* spec) -> EmlIOobj* {
        require(spec == self, "a file specification arrives as it was given");
        return of(self).note(Call::kOpenFile) ? nullptr : of(self).file_;
    };
    services.duplicateString = [](EmlHostServices* self, const char* text) -> char* {
        const auto size = static_cast<uint32_t>(std::strlen(text) + 1);
        if (of(self).note(Call::kDuplicateString, size)) return nullptr;
        return static_cast<char*>(std::memcpy(of(self).heap_.take(size), text, size));
    };
    services.convertText = [](EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination, uint32_t,
                              uint32_t) -> uint32_t {
        if (of(self).note(Call::kConvertText)) return destination->length = 0;
        of(self).convert(*source, *destination);
        return 1;
    };
    services.convertTextFrom = [](EmlHostServices* self, uint32_t, EmlTextSpan* source,
                                  EmlTextSpan* destination, uint32_t) -> uint32_t {
        if (of(self).note(Call::kConvertTextFrom)) return destination->length = 0;
        of(self).convert(*source, *destination);
        return 1;
    };
    services.isLeadByte = [](EmlHostServices* self, uint32_t byte, uint32_t charset) -> int32_t {
        require(byte <= 255, "a byte arrives unsigned");
        if (of(self).note(Call::kIsLeadByte, byte)) return 0;
        return charset >= EML_CHARSET_SHIFT_JIS && charset <= EML_CHARSET_KSC_5601 && byte >= 0x81 ? 1 : 0;
    };
    services.resetCharset = [](EmlHostServices* self, uint32_t) { (void)of(self).note(Call::kResetCharset); };
    services.storeDate = [](time_t seconds, void* destination) {
        const auto value = static_cast<uint64_t>(seconds);
        std::memcpy(destination, &value, sizeof value);
    };
}

// Each byte becomes two. What a host may get wrong is what it says about the length.
void Host::convert(const EmlTextSpan& source, EmlTextSpan& destination) const {
    const bool sizing = destination.text == nullptr;
    const uint32_t needed = plan_.convertStyle % 3 == 0 ? source.length * 2 : source.length / 2 + 1;
    if (!sizing) {
        auto* const to = static_cast<uint8_t*>(destination.text);
        const auto* const from = static_cast<const uint8_t*>(source.text);
        for (uint32_t i = 0; i < destination.length; ++i)
            to[i] = source.length == 0 ? uint8_t{0} : from[i / 2 % source.length];
    }
    const uint32_t claims[] = {needed, needed,     needed / 2, sizing ? needed : needed + 1,
                               0,      UINT32_MAX, 0x80000000, sizing ? needed : 0};
    destination.length = claims[plan_.convertStyle / 3 % std::size(claims)];
}

// ---------------------------------------------------------------------------------------- missing entries

void Host::removeEntry() {
    EmlIOobj& io = input_.record;
    if (plan_.failing == Call::kRecordAllocate) {
        recordAllocator_.allocate = nullptr;
        recordAllocator_.allocateZeroed = nullptr;
    } else if (plan_.failing == Call::kInputOpen) {
        io.open = nullptr;
    } else if (plan_.failing == Call::kInputRead) {
        io.read = nullptr;
    } else if (plan_.failing == Call::kInputSeek) {
        io.seek = nullptr;
    } else if (plan_.failing == Call::kInputTell) {
        io.tell = nullptr;
    } else if (plan_.failing == Call::kInputClose) {
        io.close = nullptr;
    } else {
        removeServicesEntry();
    }
}

void Host::removeServicesEntry() {
    EmlHostServices& services = services_.record;
    const Call entry = plan_.failing;
    if (entry == Call::kAllocate) services.allocator.allocate = nullptr;
    if (entry == Call::kReallocate) services.allocator.reallocate = nullptr;
    if (entry == Call::kAllocateZeroed) services.allocator.allocateZeroed = nullptr;
    if (entry == Call::kFree) services.allocator.free = nullptr;
    if (entry == Call::kDuplicateString) services.duplicateString = nullptr;
    if (entry == Call::kOpenFile) services.openFile = nullptr;
    if (entry == Call::kConvertText) services.convertText = nullptr;
    if (entry == Call::kConvertTextFrom) services.convertTextFrom = nullptr;
    if (entry == Call::kIsLeadByte) services.isLeadByte = nullptr;
    if (entry == Call::kResetCharset) services.resetCharset = nullptr;
    if (entry == Call::kStoreDate) services.storeDate = nullptr;
}

}  // namespace fuzz

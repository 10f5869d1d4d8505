// A host over memory that fails as the first bytes of an input say. Every block that it allocates has exactly
// the requested size and is filled with a pattern: two runs with different patterns reveal uninitialised
// bytes.
#pragma once

#include <emlreader/eml.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "choices.h"

namespace fuzz {

enum class Call : uint8_t {
    kNone,  // never fails
    kAllocate,
    kReallocate,
    kAllocateZeroed,
    kDuplicateString,
    kRecordAllocate,  // of any kind, by the allocator of the host record
    kOpenFile,
    kInputOpen,
    kInputRead,
    kInputSeek,
    kInputTell,
    kInputClose,
    kOutputOpen,
    kOutputWrite,
    kOutputSeek,
    kOutputTell,
    kOutputClose,
    kConvertText,
    kConvertTextFrom,
    kIsLeadByte,
    kResetCharset,
    kStoreDate,
    kFree,
    kCount,
};

// How a host behaves.
struct Plan {
    Call failing = Call::kNone;
    uint32_t firstFailure = 1;  // the call of that kind, counted from 1
    bool failsOnwards = false;  // every later one too
    bool missing = false;       // the entry is NULL
    uint8_t readStyle = 0;
    uint8_t convertStyle = 0;
    uint8_t tellStyle = 0;
    uint8_t recordStyle = 0;
    uint8_t pattern = 0xA5;

    // Nothing fails, nothing is unusual: then only the message decides what the library finds.
    [[nodiscard]] bool isPlain() const {
        return failing == Call::kNone && readStyle == 0 && tellStyle == 0 && recordStyle == 0;
    }
};

[[nodiscard]] Plan choosePlan(Choices& choices);

// Everything that the library did and returned, as a list of hashes.
class Transcript {
  public:
    void add(std::string_view bytes);
    void add(uint64_t number) { add({reinterpret_cast<const char*>(&number), sizeof number}); }

    // Ends the program where the two differ.
    static void requireSame(const Transcript& one, const Transcript& other);

  private:
    std::vector<uint64_t> events_;
};

class Host;

// One allocator with its blocks.
class Heap {
  public:
    Heap(Host& host, bool ofRecord) : host_(host), ofRecord_(ofRecord) {}
    ~Heap();
    Heap(const Heap&) = delete;
    Heap& operator=(const Heap&) = delete;

    void bind(EmlAllocator& record);
    [[nodiscard]] void* take(uint32_t size);
    void give(void* block);
    [[nodiscard]] size_t liveBlocks() const { return live_.size(); }

  private:
    static Heap& of(EmlAllocator* self) { return *reinterpret_cast<Heap*>(self->context); }
    [[nodiscard]] bool fails(Call call);

    Host& host_;
    bool ofRecord_;
    std::unordered_map<void*, uint32_t> live_;
    std::vector<void*> lost_;  // by a reallocate that failed
};

// An output object, or an input that the library gets from openFile and releases.
struct Output {
    EmlIOobj record{};  // first: the library hands its address back
    Host* host = nullptr;
    std::string bytes;
    uint64_t position = 0;
    uint32_t opens = 0;
    uint32_t closes = 0;
    uint32_t releases = 0;
};

class Host {
  public:
    Host(const Plan& plan, std::string_view message, uint64_t stepLimit);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    [[nodiscard]] EmlHostServices& services() { return services_.record; }
    [[nodiscard]] EmlIOobj& input() { return input_.record; }
    [[nodiscard]] EmlHostRecord* record();
    [[nodiscard]] Heap& heap() { return heap_; }
    [[nodiscard]] Heap& recordHeap() { return recordHeap_; }
    [[nodiscard]] Transcript& transcript() { return transcript_; }
    [[nodiscard]] const Plan& plan() const { return plan_; }

    // Fills in the record of an output; some entries are missing if the plan says so.
    void bindOutput(Output& output);
    // The object that the next openFile gives.
    void setFile(EmlIOobj* file) { file_ = file; }

    // Notes one call of an entry; true when it has to fail. Ends the program after the step limit.
    [[nodiscard]] bool note(Call call, uint64_t detail = 0);

    // Nothing may be left when all contexts are closed.
    void requireNothingLive() const;

  private:
    struct Input {
        EmlIOobj record{};
        Host* host = nullptr;
    };
    struct Services {
        EmlHostServices record{};
        Host* host = nullptr;
    };

    static Host& of(EmlIOobj* self) { return *reinterpret_cast<Input*>(self)->host; }
    static Host& of(EmlHostServices* self) { return *reinterpret_cast<Services*>(self)->host; }
    void bindInput();
    void bindServices();
    void removeEntry();
    void removeServicesEntry();
    [[nodiscard]] int32_t read(void* buffer, uint32_t count);
    [[nodiscard]] int64_t tell() const;
    void convert(const EmlTextSpan& source, EmlTextSpan& destination) const;

    Plan plan_;
    std::string_view message_;
    uint64_t stepsLeft_;
    uint64_t position_ = 0;
    uint32_t counts_[static_cast<size_t>(Call::kCount)] = {};
    Heap heap_;
    Heap recordHeap_;
    Transcript transcript_;
    EmlIOobj* file_ = nullptr;
    Input input_;
    Services services_;
    EmlAllocator recordAllocator_{};
    EmlHostRecord record_{};
    bool inputOpen_ = false;
};

}  // namespace fuzz

// A complete host over memory: services and an input object (memory_output.h has the outputs) that count what
// the library asks of them, fail on demand, and note every breach of the contract. The destructor reports
// breaches and blocks that are still live.
#pragma once

#include <emlreader/eml_host.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "support/host_value.h"
#include "support/journal.h"
#include "support/tracked_heap.h"

namespace eml::test {

inline constexpr int kHostOwnedFill = 0x5C;  // in fields of the host that the library must leave alone

// The two halves of a seek's offset.
[[nodiscard]] inline int64_t joinOffset(uint32_t low, int32_t high) {
    return static_cast<int64_t>((uint64_t{static_cast<uint32_t>(high)} << 32) | low);
}

// What a tell says that fails.
[[nodiscard]] inline int64_t tellBadly(Way way) {
    return way == Way::kTooMuch ? INT64_MAX : way == Way::kMinusOne ? INT64_MIN : -1;
}

enum class ReadStyle : uint8_t {
    kFull,           // all that is asked for
    kOneByte,        // a single byte a call
    kHalf,           // half of what is asked for
    kMinusOne,       // delivers nothing and says -1
    kMoreThanAsked,  // delivers what is asked for, and says that it was more
};

struct HostOptions {
    HeapMode heapMode = defaultHeapMode();  // of all blocks, and of the host's own records and buffers
    ReadStyle readStyle = ReadStyle::kFull;
    bool scribble = true;  // the room behind what a read delivers gets the fresh byte
    uint8_t freshByte = kFreshByte;
    uint32_t largestRead = 4096;
    uint32_t mostDelivered = UINT32_MAX;  // by one read
    bool inputIsGiven = false;            // to the library, which releases it, and may close it twice
    bool closesAnyInput = false;          // an input whose open has failed is closed all the same
};

// Gives the bytes [offset, offset + count) of an input that is not in memory.
using InputSource = std::function<void(uint64_t offset, uint8_t* buffer, uint32_t count)>;

class RecordingHost {
  public:
    explicit RecordingHost(std::string_view message = {}, HostOptions options = {});
    ~RecordingHost();
    RecordingHost(const RecordingHost&) = delete;
    RecordingHost& operator=(const RecordingHost&) = delete;

    [[nodiscard]] EmlIOobj& input() { return input_->record; }
    [[nodiscard]] EmlHostServices& services() { return services_->record; }
    [[nodiscard]] EmlHostRecord& record() { return *record_; }
    [[nodiscard]] Journal& journal() { return journal_; }
    [[nodiscard]] TrackedHeap& heap() { return heap_; }
    [[nodiscard]] TrackedHeap& recordHeap() { return recordHeap_; }
    // For records and buffers of the host itself.
    [[nodiscard]] TrackedHeap& ownHeap() { return ownHeap_; }
    [[nodiscard]] const HostOptions& options() const { return options_; }

    // Takes an entry out of its record: it is NULL from now on. Entries of outputs are taken out there.
    void remove(Entry entry);

    // Replaces the message by `size` bytes that `source` gives.
    void setSource(uint64_t size, InputSource source);

    // Makes the input `size` bytes long: "x" behind the message, and LF at every multiple of `lineLength`
    // that is not 0.
    void extendTo(uint64_t size, uint64_t lineLength = 0);

    void setReadStyle(ReadStyle style) { options_.readStyle = style; }

    // What `tell` says at the end of the input, when that is not the size of the message.
    void setReportedSize(int64_t size) { reportedSize_ = size; }

    [[nodiscard]] uint64_t bytesRead() const { return bytesRead_; }
    [[nodiscard]] bool inputOpen() const { return inputOpen_; }
    [[nodiscard]] bool inputClosed() const { return inputClosed_; }
    [[nodiscard]] uint32_t inputReleases() const { return inputReleases_; }

    // For tests that make the library lose blocks by rule in a way that no call shows (reallocate missing,
    // free missing).
    void allowLiveBlocks() { liveBlocksAllowed_ = true; }

    // Live blocks and breaches so far, as text; empty when all is well. The destructor reports it when it is
    // not.
    [[nodiscard]] std::string complaints() const;

  private:
    // The record is last, so that it is what the unreadable page is behind.
    struct BoundInput {
        RecordingHost* host;
        EmlIOobj record;
    };
    struct BoundServices {
        RecordingHost* host;
        EmlHostServices record;
    };

    static RecordingHost& of(EmlIOobj* self);
    static RecordingHost& of(EmlHostServices* self);
    static int32_t inputOpenEntry(EmlIOobj* self);
    static int32_t inputReadEntry(EmlIOobj* self, void* buffer, uint32_t count);
    static uint32_t inputWriteEntry(EmlIOobj* self, const void* buffer, uint32_t count);
    static int32_t inputSeekEntry(EmlIOobj* self, uint32_t low, int32_t high, uint32_t origin);
    static int64_t inputTellEntry(EmlIOobj* self);
    static int32_t inputCloseEntry(EmlIOobj* self);
    static void inputReleaseEntry(EmlIOobj* self);
    static EmlIOobj* openFileEntry(EmlHostServices* self, void* fileSpec);
    static char* duplicateEntry(EmlHostServices* self, const char* text);
    static uint32_t convertEntry(EmlHostServices* self, EmlTextSpan* source, EmlTextSpan* destination,
                                 uint32_t form, uint32_t reserved);
    static uint32_t convertFromEntry(EmlHostServices* self, uint32_t charset, EmlTextSpan* source,
                                     EmlTextSpan* destination, uint32_t substitute);
    static int32_t isLeadByteEntry(EmlHostServices* self, uint32_t byte, uint32_t charset);
    static void resetCharsetEntry(EmlHostServices* self, uint32_t reserved);
    static void storeDateEntry(time_t seconds, void* destination);

    void bindInput();
    void bindServices();
    void checkInputUse(const char* entry);
    void deliver(uint8_t* buffer, uint32_t count);
    [[nodiscard]] int32_t readInput(void* buffer, uint32_t count, ReadStyle style);

    Journal journal_;
    HostOptions options_;
    TrackedHeap heap_;
    TrackedHeap recordHeap_;
    TrackedHeap ownHeap_;
    HostValue<EmlAllocator> recordAllocator_;
    HostValue<EmlHostRecord> record_;
    HostValue<BoundInput> input_;
    HostValue<BoundServices> services_;
    EmlIOobj inputImage_{};            // as handed over, to see what was changed
    EmlHostServices servicesImage_{};  // likewise
    std::string message_;
    InputSource source_;
    uint64_t lineLength_ = 0;  // of what is behind the message
    uint64_t size_ = 0;
    int64_t reportedSize_ = -1;
    int64_t position_ = 0;
    uint64_t bytesRead_ = 0;
    bool inputOpen_ = false;
    bool inputClosed_ = false;
    uint32_t inputReleases_ = 0;
    bool liveBlocksAllowed_ = false;
};

}  // namespace eml::test

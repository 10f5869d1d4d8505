// Counts the calls of every host entry and decides which of them fail.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace eml::test {

enum class Entry : uint8_t {
    // the services
    kAllocate,
    kReallocate,
    kAllocateZeroed,
    kFree,
    kDuplicateString,
    kConvertText,
    kConvertTextFrom,
    kOpenFile,
    kIsLeadByte,
    kResetCharset,
    kStoreDate,
    // the allocator of the host's own record
    kRecordAllocate,
    kRecordReallocate,
    kRecordAllocateZeroed,
    kRecordFree,
    // the input object
    kInputOpen,
    kInputRead,
    kInputSeek,
    kInputTell,
    kInputClose,
    // an output object
    kOutputOpen,
    kOutputWrite,
    kOutputSeek,
    kOutputTell,
    kOutputClose,
    kOutputRelease,
    // what the options of the MIME reader hold
    kConversionOpen,
    kConversionConvert,
    kConversionClose,
    kProgress,
    kCount
};

inline constexpr size_t kEntryCount = static_cast<size_t>(Entry::kCount);

[[nodiscard]] const char* entryName(Entry entry);

// How a call fails. An entry that does not know a way fails in the plain one.
enum class Way : uint8_t {
    kPlain,     // NULL, 0, no bytes; tell: -1
    kMinusOne,  // read: no bytes, and says -1; write: likewise; tell: the lowest number
    kOneByte,   // read: a single byte
    kHalf,      // read, write, conversions: half of it
    kTooMuch,   // read, conversions: all of it, and says that it was more; tell: the highest number
};

[[nodiscard]] const char* wayName(Way way);

struct Fault {
    uint64_t nth = 0;  // counted from 1; 0: no fault
    bool onwards = false;
    Way way = Way::kPlain;
};

class Journal {
  public:
    void fail(Entry entry, Fault fault) { faults_[index(entry)] = fault; }

    // How the calls of `entry` fail that fail, and how many have.
    [[nodiscard]] Way way(Entry entry) const { return faults_[index(entry)].way; }
    [[nodiscard]] uint64_t failed() const { return failed_; }

    // Notes a call; true when this call must fail.
    [[nodiscard]] bool note(Entry entry);

    [[nodiscard]] uint64_t calls(Entry entry) const { return calls_[index(entry)]; }

    // The calls in their order, when a test asks for them.
    void record() { recording_ = true; }
    [[nodiscard]] const std::vector<Entry>& sequence() const { return sequence_; }
    [[nodiscard]] std::string sequenceText() const;

    // What the library did against the contract of the host records.
    void violation(std::string text) { violations_.push_back(std::move(text)); }
    [[nodiscard]] const std::vector<std::string>& violations() const { return violations_; }

  private:
    static size_t index(Entry entry) { return static_cast<size_t>(entry); }

    std::array<uint64_t, kEntryCount> calls_{};
    std::array<Fault, kEntryCount> faults_{};
    uint64_t failed_ = 0;
    std::vector<Entry> sequence_;
    std::vector<std::string> violations_;
    bool recording_ = false;
};

}  // namespace eml::test

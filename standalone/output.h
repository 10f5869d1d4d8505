// Where the library writes sub-files: an EmlIOobj over memory or a descriptor. For files see file_output.h.
//
// The library ignores the result of a write. So an output keeps the first error, ignores all further writes,
// returns 0 from close, and has the cause in error(). The host owns the object, which must live until the
// extraction has returned. The library leaves the size in the record's `size`.
#ifndef EMLREADER_STANDALONE_OUTPUT_H
#define EMLREADER_STANDALONE_OUTPUT_H

#include <emlreader/eml_host.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include "standalone/owned_record.h"

namespace emlhost {

// What all outputs share: the entries, the position and the first error. A sink of another kind derives from
// it and supplies put, and if necessary finish and restart.
//
// Seeking reaches from the start to the end of what has been written; anywhere else fails.
class Output {
  public:
    virtual ~Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // The record for the library. Its `read` and `release` are NULL.
    EmlIOobj* object() noexcept { return &record_; }

    // Bytes written since the object was opened.
    uint64_t size() const noexcept { return end_; }

    // The first error since the object was opened, or no error.
    std::error_code error() const noexcept { return error_; }

  protected:
    enum class Seeking { kAnywhere, kNotAtAll };

    explicit Output(Seeking seeking) noexcept;

    // Stores bytes at `position`, which is never beyond the end of what was put before. Returns 0 or an
    // errno.
    virtual int put(uint64_t position, std::span<const uint8_t> bytes) noexcept = 0;

    // Flushes everything. Called by close; returns 0 or an errno.
    virtual int finish() noexcept { return 0; }

    // Empties the output, for another use of the object. Called by open; returns 0 or an errno.
    virtual int restart() noexcept { return 0; }

    // Keeps an errno for error(), unless it is 0 or there is one already.
    void fail(int errorNumber) noexcept;

  private:
    using Record = OwnedRecord<EmlIOobj, Output>;

    bool open() noexcept;
    uint32_t write(const void* bytes, uint32_t count) noexcept;
    bool seek(uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept;
    bool close() noexcept;

    Record record_;
    Seeking seeking_;
    uint64_t position_ = 0;
    uint64_t end_ = 0;
    std::error_code error_;
};

// Collects the bytes in memory. Opening it again empties it and keeps the room.
class MemoryOutput final : public Output {
  public:
    MemoryOutput() noexcept : Output(Seeking::kAnywhere) {}

    const std::vector<uint8_t>& bytes() const noexcept { return bytes_; }

    // Moves the bytes out; the output must be opened before its next use.
    std::vector<uint8_t> take() noexcept { return std::move(bytes_); }

  private:
    int put(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
    int restart() noexcept override;

    std::vector<uint8_t> bytes_;
};

// An output that buffers small writes, for sinks where each write is a system call.
class BufferedOutput : public Output {
  protected:
    static constexpr size_t kBufferSize = size_t{64} << 10;

    explicit BufferedOutput(Seeking seeking);

    // Stores bytes at `position` for good. Returns 0 or an errno.
    virtual int drain(uint64_t position, std::span<const uint8_t> bytes) noexcept = 0;

    int put(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
    int finish() noexcept override;
    int restart() noexcept override;

  private:
    std::unique_ptr<uint8_t[]> buffer_;
    uint64_t bufferStart_ = 0;  // position of the first byte in the buffer
    size_t fill_ = 0;
};

// Writes to an open descriptor that need not be able to seek: standard output, a pipe, a socket. The
// descriptor stays the caller's. A seek succeeds only if it changes nothing, which is enough for an
// extraction.
//
// A program that writes to a pipe decides for itself whether SIGPIPE ends it; ignored, it is the error EPIPE.
class DescriptorOutput final : public BufferedOutput {
  public:
    explicit DescriptorOutput(int descriptor) : BufferedOutput(Seeking::kNotAtAll), descriptor_(descriptor) {}

  private:
    int drain(uint64_t position, std::span<const uint8_t> bytes) noexcept override;

    int descriptor_;
};

}  // namespace emlhost

#endif

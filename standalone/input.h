// Messages as the library reads them: an EmlIOobj over a file, a descriptor or memory.
//
// The file is opened when the object is made, so that an error is known with its errno before the library is
// called. The entries open and close only begin and end one use: an object may be opened again after it was
// closed, and serves any number of contexts one after another. The host owns the object; it must outlive
// every context that reads from it.
#ifndef EMLREADER_STANDALONE_INPUT_H
#define EMLREADER_STANDALONE_INPUT_H

#include <emlreader/eml_host.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <system_error>

#include "standalone/owned_record.h"
#include "standalone/unique_descriptor.h"

namespace emlhost {

// What all inputs share: the entries, the position, the arithmetic of seeking, and reads from the part of the
// message that is in memory. A source of another kind derives from it, and supplies readAt unless the whole
// message is in memory.
//
// A seek beyond the end succeeds, and a read there returns nothing; a seek before the start fails and leaves
// the position where it was.
class Input {
  public:
    virtual ~Input() = default;
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    // The record for the library. Its `release` is NULL: the host owns this object.
    EmlIOobj* object() noexcept { return &record_; }

    // Bytes of the message, as found when the object was made.
    uint64_t size() const noexcept { return size_; }

    // The errno of the first read that failed, or no error. The library treats a failed read as the end.
    std::error_code error() const noexcept { return error_; }

    // Hands the object over to the library, whose call of `release` destroys it. For openFile.
    static EmlIOobj* handOver(std::unique_ptr<Input> input) noexcept;

  protected:
    explicit Input(uint64_t size) noexcept;

    // Copies at most `count` bytes from `position` on, which lies before size(), into `buffer`. Returns the
    // number of bytes copied, fewer than `count` only where the data ends; 0 is the end of the data or an
    // error. Called for what is not all in memory.
    virtual size_t readAt(uint64_t position, uint8_t* buffer, size_t count) noexcept;

    // Names the bytes of the message, from `start` on, that reads may be answered from without readAt. They
    // stay the caller's and must live until others are named.
    void keepAtHand(uint64_t start, std::span<const uint8_t> bytes) noexcept;

    // What is in memory from `position` on; empty if that byte is not.
    std::span<const uint8_t> atHand(uint64_t position) const noexcept {
        uint64_t offset = position - atHandStart_;  // wraps to a large one before it
        if (offset >= atHand_.size()) return {};
        return atHand_.subspan(static_cast<size_t>(offset));
    }

    // Keeps an error for error(), unless there is one already.
    void fail(int errorNumber) noexcept;

  private:
    using Record = OwnedRecord<EmlIOobj, Input>;

    int32_t read(void* buffer, uint32_t count) noexcept;
    bool seek(uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept;

    Record record_;
    uint64_t size_;
    uint64_t position_ = 0;
    uint64_t atHandStart_ = 0;
    std::span<const uint8_t> atHand_;
    std::error_code error_;
};

// A message in memory that the caller keeps, unchanged, as long as the object lives.
class MemoryInput final : public Input {
  public:
    explicit MemoryInput(std::span<const uint8_t> bytes) noexcept : Input(bytes.size()) {
        keepAtHand(0, bytes);
    }
};

// A file read with pread through a window: an aligned piece of the file that one system call fetches and that
// serves all reads within it. The library seeks for each line, so the window answers most of its reads.
//
// Safe whatever happens to the file meanwhile: a truncated file ends early, an overwritten one gives a
// mixture.
class DescriptorInput final : public Input {
  public:
    // Larger windows measured no faster, and memory counts.
    static constexpr size_t kWindowSize = size_t{64} << 10;

    // Opens the file `path`. NULL on failure, with the cause in `error`; a directory is EISDIR. The file must
    // be able to seek (ESPIPE): see openInput for pipes.
    static std::unique_ptr<DescriptorInput> open(const std::string& path, std::error_code& error);

    // Reads from `descriptor`, which it takes over, also on failure. The descriptor's own position does not
    // matter and does not move. Errors as open.
    static std::unique_ptr<DescriptorInput> fromDescriptor(UniqueDescriptor descriptor,
                                                           std::error_code& error);

  private:
    friend std::unique_ptr<Input> openInput(const std::string& path, std::error_code& error);

    DescriptorInput(UniqueDescriptor descriptor, uint64_t size);

    size_t readAt(uint64_t position, uint8_t* buffer, size_t count) noexcept override;
    void fetchWindow(uint64_t position) noexcept;

    // The window begins at a multiple of this: a page, which the system copies fastest.
    static constexpr size_t kAlignment = 4096;

    UniqueDescriptor descriptor_;
    size_t windowCapacity_;
    std::unique_ptr<uint8_t[]> window_;
};

// A file mapped into memory.
//
// Only for files that nobody truncates meanwhile: reading beyond the new end of a truncated file raises
// SIGBUS, which ends the process. For files from elsewhere use DescriptorInput.
class MappedFileInput final : public Input {
  public:
    // Maps the file `path`. NULL on failure, with the cause in `error`: EISDIR for a directory, ENODEV for
    // what cannot be mapped, ENOMEM when the address space is too small.
    static std::unique_ptr<MappedFileInput> open(const std::string& path, std::error_code& error);

    ~MappedFileInput() override;

  private:
    explicit MappedFileInput(std::span<const uint8_t> bytes) noexcept : Input(bytes.size()), bytes_(bytes) {
        keepAtHand(0, bytes);
    }

    std::span<const uint8_t> bytes_;
};

// The input for `path`, whatever it names; the one place that chooses between the kinds. NULL on failure,
// with the cause in `error`.
//
// Regular files are read by DescriptorInput, whatever their size. Mapped, typical mails (files of 2 to 60 KB)
// take 1.4 times the time. Large ones take less: an attachment of 100 MB 0.66 of the time to copy it out, 0.8
// to 0.9 to decode it. That does not outweigh SIGBUS, nor the pages, which count as memory of the process.
// Pipes and devices, which cannot seek, are spooled first.
std::unique_ptr<Input> openInput(const std::string& path, std::error_code& error);

// Copies all that `descriptor` delivers, for instance standard input, into a temporary file without a name,
// and returns the input over it. `descriptor` stays open and stays the caller's. The file is in $TMPDIR, or
// /tmp, and vanishes with the object. NULL on failure, with the cause in `error`.
std::unique_ptr<DescriptorInput> spoolInput(int descriptor, std::error_code& error);

}  // namespace emlhost

#endif

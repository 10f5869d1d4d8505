/* The inputs over files, and the choice between them. */
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "standalone/input.h"

namespace emlhost {

namespace {

std::error_code systemError(int number) { return {number, std::system_category()}; }

UniqueDescriptor openForReading(const std::string& path, std::error_code& error) {
    UniqueDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    error = descriptor.valid() ? std::error_code() : systemError(errno);
    return descriptor;
}

/* The status of an open file that may be read: a directory can be opened, but has no bytes. */
bool statusOf(const UniqueDescriptor& descriptor, struct stat& status, std::error_code& error) {
    error.clear();
    if (::fstat(descriptor.get(), &status) != 0) {
        error = systemError(errno);
    } else if (S_ISDIR(status.st_mode)) {
        error = systemError(EISDIR);
    }
    return !error;
}

}  // namespace

std::unique_ptr<DescriptorInput> DescriptorInput::open(const std::string& path, std::error_code& error) {
    UniqueDescriptor descriptor = openForReading(path, error);
    if (error) return nullptr;
    return fromDescriptor(std::move(descriptor), error);
}

std::unique_ptr<DescriptorInput> DescriptorInput::fromDescriptor(UniqueDescriptor descriptor,
                                                                 std::error_code& error) {
    struct stat status;
    if (!statusOf(descriptor, status, error)) return nullptr;
    off_t size = status.st_size;
    if (!S_ISREG(status.st_mode)) {
        /* Block devices have their size at their end only; what cannot seek at all is refused here. */
        size = ::lseek(descriptor.get(), 0, SEEK_END);
        if (size < 0) {
            error = systemError(errno);
            return nullptr;
        }
    }
    return std::unique_ptr<DescriptorInput>(
        new DescriptorInput(std::move(descriptor), static_cast<uint64_t>(size)));
}

DescriptorInput::DescriptorInput(UniqueDescriptor descriptor, uint64_t size)
    : Input(size),
      descriptor_(std::move(descriptor)),
      windowCapacity_(static_cast<size_t>(std::min<uint64_t>(size + kAlignment, kWindowSize))),
      window_(std::make_unique_for_overwrite<uint8_t[]>(windowCapacity_)) {}

size_t DescriptorInput::readAt(uint64_t position, uint8_t* buffer, size_t count) noexcept {
    size_t done = 0;
    while (done < count) {
        uint64_t at = position + done;
        size_t wanted = count - done;
        /* A read that leaves the window at its end moves it, rather than to be put together from two windows:
         * the next line mostly begins before the end, and would bring the first window back. */
        if (!inWindow(at, std::min(wanted, windowCapacity_ - kAlignment))) fetchWindow(at);
        if (!inWindow(at, 1)) break;
        auto offset = static_cast<size_t>(at - windowStart_);
        size_t piece = std::min(wanted, windowLength_ - offset);
        std::memcpy(buffer + done, window_.get() + offset, piece);
        done += piece;
    }
    return done;
}

bool DescriptorInput::inWindow(uint64_t position, size_t count) const noexcept {
    return position >= windowStart_ && position - windowStart_ <= windowLength_ &&
           count <= windowLength_ - static_cast<size_t>(position - windowStart_);
}

/* Makes the window begin just before `position` and fills it. It stays shorter where the file ends, and empty
 * on an error. */
void DescriptorInput::fetchWindow(uint64_t position) noexcept {
    windowStart_ = position - position % kAlignment;
    windowLength_ = 0;
    while (windowLength_ < windowCapacity_) {
        ssize_t got =
            ::pread(descriptor_.get(), window_.get() + windowLength_, windowCapacity_ - windowLength_,
                    static_cast<off_t>(windowStart_ + windowLength_));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(errno);
        if (got <= 0) break;
        windowLength_ += static_cast<size_t>(got);
        if (windowStart_ + windowLength_ >= size()) break; /* saves the call that would only say so */
    }
}

std::unique_ptr<MappedFileInput> MappedFileInput::open(const std::string& path, std::error_code& error) {
    UniqueDescriptor descriptor = openForReading(path, error);
    struct stat status;
    if (error || !statusOf(descriptor, status, error)) return nullptr;
    if (!S_ISREG(status.st_mode)) error = systemError(ENODEV);
    if (static_cast<uint64_t>(status.st_size) > SIZE_MAX / 2) error = systemError(ENOMEM);
    if (error) return nullptr;

    auto size = static_cast<size_t>(status.st_size);
    void* start = nullptr;
    if (size != 0) { /* an empty file cannot be mapped, and need not be */
        start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor.get(), 0);
        if (start == MAP_FAILED) {
            error = systemError(errno);
            return nullptr;
        }
    }
    std::span<const uint8_t> bytes(static_cast<const uint8_t*>(start), size);
    return std::unique_ptr<MappedFileInput>(new MappedFileInput(bytes));
}

MappedFileInput::~MappedFileInput() {
    if (!bytes_.empty()) ::munmap(const_cast<uint8_t*>(bytes_.data()), bytes_.size());
}

size_t MappedFileInput::readAt(uint64_t position, uint8_t* buffer, size_t count) noexcept {
    std::memcpy(buffer, bytes_.data() + static_cast<size_t>(position), count);
    return count;
}

std::unique_ptr<Input> openInput(const std::string& path, std::error_code& error) {
    UniqueDescriptor descriptor = openForReading(path, error);
    struct stat status;
    if (error || !statusOf(descriptor, status, error)) return nullptr;
    if (!S_ISREG(status.st_mode)) return spoolInput(descriptor.get(), error);
    return DescriptorInput::fromDescriptor(std::move(descriptor), error);
}

}  // namespace emlhost

// The inputs over files, and the choice between them.
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

// The status of an open file that may be read: a directory can be opened, but has no bytes.
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
        // The size of a block device is the position of its end. What cannot seek is refused here.
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
        // A read across the end of the window moves the window instead of joining two: the next line usually
        // begins before the end, and would bring the first window back.
        if (atHand(at).size() < std::min(wanted, windowCapacity_ - kAlignment)) fetchWindow(at);
        std::span<const uint8_t> bytes = atHand(at);
        if (bytes.empty()) break;
        bytes = bytes.first(std::min(wanted, bytes.size()));
        std::memcpy(buffer + done, bytes.data(), bytes.size());
        done += bytes.size();
    }
    return done;
}

// Makes the window begin just before `position` and fills it. It stays shorter where the file ends, and empty
// on an error.
void DescriptorInput::fetchWindow(uint64_t position) noexcept {
    uint64_t start = position - position % kAlignment;
    size_t length = 0;
    while (length < windowCapacity_) {
        ssize_t got = ::pread(descriptor_.get(), window_.get() + length, windowCapacity_ - length,
                              static_cast<off_t>(start + length));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail(errno);
        if (got <= 0) break;
        length += static_cast<size_t>(got);
        if (start + length >= size()) break;  // saves the call that would only report this
    }
    keepAtHand(start, {window_.get(), length});
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
    if (size != 0) {  // an empty file cannot be mapped, and need not be
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

std::unique_ptr<Input> openInput(const std::string& path, std::error_code& error) {
    UniqueDescriptor descriptor = openForReading(path, error);
    struct stat status;
    if (error || !statusOf(descriptor, status, error)) return nullptr;
    if (!S_ISREG(status.st_mode)) return spoolInput(descriptor.get(), error);
    return std::unique_ptr<Input>(
        new DescriptorInput(std::move(descriptor), static_cast<uint64_t>(status.st_size)));
}

}  // namespace emlhost

#include "standalone/output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>

#include "standalone/position.h"
#include "standalone/write_all.h"

namespace emlhost {

Output::Output(Seeking seeking) noexcept : record_(this), seeking_(seeking) {
    record_.open = [](EmlIOobj* self) noexcept { return static_cast<int32_t>(Record::ownerOf(self).open()); };
    record_.write = [](EmlIOobj* self, const void* bytes, uint32_t count) noexcept {
        return Record::ownerOf(self).write(bytes, count);
    };
    record_.seek = [](EmlIOobj* self, uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept {
        return static_cast<int32_t>(Record::ownerOf(self).seek(offsetLow, offsetHigh, origin));
    };
    record_.tell = [](EmlIOobj* self) noexcept {
        return static_cast<int64_t>(Record::ownerOf(self).position_);
    };
    record_.close = [](EmlIOobj* self) noexcept {
        return static_cast<int32_t>(Record::ownerOf(self).close());
    };
}

void Output::fail(int errorNumber) noexcept {
    if (errorNumber != 0 && !error_) error_.assign(errorNumber, std::system_category());
}

bool Output::open() noexcept {
    position_ = 0;
    end_ = 0;
    error_.clear();
    fail(restart());
    return !error_;
}

uint32_t Output::write(const void* bytes, uint32_t count) noexcept {
    if (error_ || count == 0) return 0;
    fail(put(position_, {static_cast<const uint8_t*>(bytes), count}));
    if (error_) return 0;
    position_ += count;
    end_ = std::max(end_, position_);
    return count;
}

bool Output::seek(uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept {
    auto target = seekTarget(end_, offsetLow, offsetHigh, origin);
    if (!target || *target > end_) return false;
    if (seeking_ == Seeking::kNotAtAll && *target != position_) return false;
    position_ = *target;
    return true;
}

bool Output::close() noexcept {
    if (!error_) fail(finish());
    return !error_;
}

int MemoryOutput::put(uint64_t position, std::span<const uint8_t> bytes) noexcept try {
    auto start = static_cast<size_t>(position);  // not beyond the end, so it fits
    size_t overwritten = std::min(bytes.size(), bytes_.size() - start);
    std::copy_n(bytes.begin(), overwritten, bytes_.begin() + static_cast<std::ptrdiff_t>(start));
    bytes_.insert(bytes_.end(), bytes.begin() + static_cast<std::ptrdiff_t>(overwritten), bytes.end());
    return 0;
} catch (const std::bad_alloc&) {
    return ENOMEM;
} catch (const std::length_error&) {
    return ENOMEM;
}

int MemoryOutput::restart() noexcept {
    bytes_.clear();
    return 0;
}

BufferedOutput::BufferedOutput(Seeking seeking)
    : Output(seeking), buffer_(std::make_unique_for_overwrite<uint8_t[]>(kBufferSize)) {}

int BufferedOutput::put(uint64_t position, std::span<const uint8_t> bytes) noexcept {
    bool follows = position == bufferStart_ + fill_;
    if (!follows || bytes.size() > kBufferSize - fill_) {
        if (int failure = BufferedOutput::finish()) return failure;
        bufferStart_ = position;
    }
    if (bytes.size() >= kBufferSize) {
        bufferStart_ = position + bytes.size();
        return drain(position, bytes);
    }
    std::memcpy(buffer_.get() + fill_, bytes.data(), bytes.size());
    fill_ += bytes.size();
    return 0;
}

int BufferedOutput::finish() noexcept {
    size_t count = std::exchange(fill_, 0);
    uint64_t start = std::exchange(bufferStart_, bufferStart_ + count);
    return count == 0 ? 0 : drain(start, {buffer_.get(), count});
}

int BufferedOutput::restart() noexcept {
    bufferStart_ = 0;
    fill_ = 0;
    return 0;
}

int DescriptorOutput::drain(uint64_t, std::span<const uint8_t> bytes) noexcept {
    return writeAll(descriptor_, bytes);
}

}  // namespace emlhost

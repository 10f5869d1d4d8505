#include "standalone/input.h"

#include <algorithm>
#include <cstring>

#include "standalone/position.h"

namespace emlhost {

Input::Input(uint64_t size) noexcept : record_(this), size_(size) {
    record_.open = [](EmlIOobj* self) noexcept -> int32_t {
        Record::ownerOf(self).position_ = 0;
        return 1;
    };
    record_.read = [](EmlIOobj* self, void* buffer, uint32_t count) noexcept {
        return Record::ownerOf(self).read(buffer, count);
    };
    record_.seek = [](EmlIOobj* self, uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept {
        return static_cast<int32_t>(Record::ownerOf(self).seek(offsetLow, offsetHigh, origin));
    };
    record_.tell = [](EmlIOobj* self) noexcept {
        return static_cast<int64_t>(Record::ownerOf(self).position_);
    };
    record_.close = [](EmlIOobj*) noexcept -> int32_t { return 1; };
}

EmlIOobj* Input::handOver(std::unique_ptr<Input> input) noexcept {
    if (input == nullptr) return nullptr;
    input->record_.release = [](EmlIOobj* self) noexcept { delete &Record::ownerOf(self); };
    return input.release()->object();
}

void Input::fail(int errorNumber) noexcept {
    if (!error_) error_.assign(errorNumber, std::system_category());
}

void Input::keepAtHand(uint64_t start, std::span<const uint8_t> bytes) noexcept {
    atHandStart_ = start;
    atHand_ = bytes;
}

size_t Input::readAt(uint64_t, uint8_t*, size_t) noexcept { return 0; }

int32_t Input::read(void* buffer, uint32_t count) noexcept {
    if (position_ >= size_) return 0;
    auto wanted = static_cast<size_t>(std::min<uint64_t>({count, size_ - position_, INT32_MAX}));
    std::span<const uint8_t> bytes = atHand(position_);
    if (wanted <= bytes.size()) {
        std::memcpy(buffer, bytes.data(), wanted);
    } else {
        wanted = readAt(position_, static_cast<uint8_t*>(buffer), wanted);
    }
    position_ += wanted;
    return static_cast<int32_t>(wanted);
}

bool Input::seek(uint32_t offsetLow, int32_t offsetHigh, uint32_t origin) noexcept {
    auto target = seekTarget(size_, offsetLow, offsetHigh, origin);
    if (!target) return false;
    position_ = *target;
    return true;
}

}  // namespace emlhost

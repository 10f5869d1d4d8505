#include "standalone/text_records.h"

#include <algorithm>

namespace emlhost {

namespace {

constexpr size_t kHeaderSize = 5;  // tag and length

uint32_t littleEndian(std::span<const uint8_t> bytes) noexcept {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

}  // namespace

std::string_view TextRecord::text() const noexcept {
    if (tag != RecordTag::kText || payload.size() < 4) return {};
    size_t present = payload.size() - 4;
    return {reinterpret_cast<const char*>(payload.data()) + 4, std::min<size_t>(present, word())};
}

uint32_t TextRecord::word(size_t offset) const noexcept {
    return payload.size() >= 4 && offset <= payload.size() - 4 ? littleEndian(payload.subspan(offset, 4)) : 0;
}

bool RecordWalker::next(TextRecord& record) noexcept {
    if (rest_.empty()) return false;
    record.tag = static_cast<RecordTag>(rest_[0]);
    if (record.tag == RecordTag::kLone) {
        record.length = 1;
        record.payload = {};
    } else {
        if (rest_.size() < kHeaderSize) return false;
        record.length = littleEndian(rest_.subspan(1, 4));
        if (record.length < kHeaderSize || record.length > rest_.size()) return false;
        record.payload = rest_.subspan(kHeaderSize, record.length - kHeaderSize);
    }
    rest_ = rest_.subspan(record.length);
    return true;
}

}  // namespace emlhost

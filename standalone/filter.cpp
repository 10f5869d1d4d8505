#include "standalone/filter.h"

#include <algorithm>

namespace emlhost {

MessageFilter::MessageFilter(Input& input, Services& services, uint32_t openFlags) noexcept
    : context_(emlInitEx(input.object(), services.record(), openFlags, 0, 0, &status_)),
      finished_(context_ == nullptr) {}

MessageFilter::~MessageFilter() { emlShutdown(context_); }

void MessageFilter::restart(bool withFields) noexcept {
    fillFlags_ = EML_FILL_RESTART | (withFields ? 0 : EML_FILL_BODY_ONLY);
    progress_ = 0;
    emptyFills_ = 0;
    finished_ = context_ == nullptr;
}

std::span<const uint8_t> MessageFilter::fill(std::span<uint8_t> buffer) noexcept {
    if (finished_) return {};
    uint32_t size = 0;
    auto capacity = static_cast<uint32_t>(std::min<size_t>(buffer.size(), UINT32_MAX));
    status_ = emlFillBufferEx(context_, 0, buffer.data(), &size, &progress_, capacity, fillFlags_);
    if (status_ == EML_ENCRYPTED) {
        // The plain call returns the fields of an encrypted message too.
        status_ = emlFillBuffer(context_, buffer.data(), &size, &progress_, capacity);
    }
    fillFlags_ &= ~EML_FILL_RESTART;
    emptyFills_ = size == 0 ? emptyFills_ + 1 : 0;
    finished_ = status_ != EML_OK || progress_ >= 100 || emptyFills_ > kMaxEmptyFills;
    return buffer.first(size);
}

}  // namespace emlhost

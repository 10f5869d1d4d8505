#include "mime/body_reader.h"

#include <algorithm>

#include "host/host_file.h"

namespace eml {

namespace {

constexpr uint64_t kProgressStep = 1 << 20;

}  // namespace

bool BodyReader::begin() {
    context_.nextProgress = std::min(context_.nextProgress, position_ + kProgressStep);
    if (position_ >= end_) return true;
    if (seekFile(*context_.input, static_cast<int64_t>(position_))) return true;
    result_ = EML_OBJECT_FAILED;
    return false;
}

std::string_view BodyReader::next() {
    if (position_ >= end_ || result_ != EML_OK) return {};
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(end_ - position_, kMimeBlockSize));
    const uint32_t count = readFile(*context_.input, context_.block, wanted);
    if (count == 0) {
        result_ = EML_OBJECT_FAILED;
        return {};
    }
    pieceStart_ = position_;
    position_ += count;
    if (!reportProgress(context_, position_)) {
        result_ = EML_MIME_CANCELLED;
        return {};
    }
    return {reinterpret_cast<const char*>(context_.block), count};
}

bool reportProgress(EmlMimeContext& context, uint64_t offset) {
    if (offset < context.nextProgress) return true;
    context.nextProgress = offset + kProgressStep;
    const EmlMimeOptions& options = context.options;
    return options.progress == nullptr || options.progress(options.progressHost, offset) == 0;
}

}  // namespace eml

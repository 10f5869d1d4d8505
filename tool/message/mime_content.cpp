#include "tool/message/mime_content.h"

#include <string_view>

namespace emltool {

namespace {

// Thrown by a sink that has enough. The reader stops writing, but reads on to the end.
struct Enough {};

}  // namespace

emlhost::Extraction MimeContent::extract(emlhost::Output& output) {
    const EmlResult result =
        emlMimeExtract(message_.context(), part_, EML_MIME_DECODED, output.object(), nullptr);
    return {result, 0};
}

std::span<const uint8_t> MimeContent::beginning() {
    size_t size = 0;
    try {
        message_.part(part_).extract([&](std::string_view piece) {
            for (const char byte : piece) {
                if (size == beginning_.size()) throw Enough{};
                beginning_[size++] = static_cast<uint8_t>(byte);
            }
        });
    } catch (const Enough&) {
    }
    return std::span(beginning_).first(size);
}

}  // namespace emltool

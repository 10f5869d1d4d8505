#include "tool/message/mime_content.h"

#include <algorithm>
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
            const size_t count = std::min(piece.size(), kBeginning - size);
            std::copy_n(piece.begin(), count, beginning_.begin() + static_cast<ptrdiff_t>(size));
            size += count;
            if (size == kBeginning) throw Enough{};
        });
    } catch (const Enough&) {
    }
    return std::span(beginning_).first(size);
}

}  // namespace emltool

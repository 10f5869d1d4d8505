// The texts of the parts, in one buffer of the context. A text is its length in 32 bits, its bytes and a zero byte.
#pragma once

#include <cstring>
#include <string_view>

#include "mime/mime_context.h"

namespace eml {

// Keeps a copy of `text`, which must not lie in context.texts. 0 when memory is exhausted.
[[nodiscard]] inline TextStart keepText(EmlMimeContext& context, std::string_view text) {
    const auto length = static_cast<uint32_t>(text.size());
    GrowingBuffer& texts = context.texts;
    // Start 0 means "absent": the buffer begins with a byte that is no text.
    const uint32_t start = texts.length == 0 ? 1 : texts.length;
    const uint64_t needed = uint64_t{start} + sizeof length + text.size() + 1 - texts.length;
    if (texts.reserve(*context.allocator, needed) != EML_OK) return 0;
    texts.data[0] = 0;
    uint8_t* const place = texts.data + start;
    std::memcpy(place, &length, sizeof length);
    if (length != 0) std::memcpy(place + sizeof length, text.data(), length);
    place[sizeof length + length] = 0;
    texts.length = start + uint32_t{sizeof length} + length + 1;
    return start;
}

[[nodiscard]] inline EmlMimeText textAt(const EmlMimeContext& context, TextStart start) {
    if (start == 0) return {nullptr, 0};
    uint32_t length = 0;
    std::memcpy(&length, context.texts.data + start, sizeof length);
    return {reinterpret_cast<const char*>(context.texts.data) + start + sizeof length, length};
}

// Valid until the next text is kept.
[[nodiscard]] inline std::string_view viewAt(const EmlMimeContext& context, TextStart start) {
    const EmlMimeText text = textAt(context, start);
    return {text.text, text.length};
}

}  // namespace eml

#include "filter/boundary_text.h"

#include <cstring>
#include <optional>

#include "filter/field_value.h"

namespace eml {

namespace {

constexpr std::string_view kKeyword = "boundary=";

// The value after "boundary=". A closing quote that is missing makes it run to the end of the buffer; a zero
// byte ends it in any case, since boundaries are texts.
std::string_view valueOf(Cursor text) {
    const bool quoted = text.accept('"');
    const uint8_t* const begin = text.pos;
    const auto ends = [quoted](uint8_t byte) {
        return byte == 0 || (quoted ? byte == '"' : byte == ' ' || byte == ';' || isLineEnd(byte));
    };
    while (!text.atEnd() && !ends(*text.pos)) text.skip(1);
    return {reinterpret_cast<const char*>(begin), static_cast<size_t>(text.pos - begin)};
}

// KEPT: where the parameters come within ten bytes of the end of the buffer the boundary is an empty one. One
// that follows a parameter without a blank between them is not found.
std::optional<std::string_view> findValue(Cursor text) {
    text.accept(';');
    for (;;) {
        text.skipBlanks();
        if (text.left() <= kKeyword.size()) return std::string_view();
        if (text.acceptNoCase(kKeyword)) return valueOf(text);
        if (isLineEnd(text.peek())) {
            skipLineEnd(text);
            if (!isBlank(text.peek())) return std::nullopt;
        } else {
            while (!text.atEnd() && !isBlank(*text.pos) && !isLineEnd(*text.pos)) text.skip(1);
        }
    }
}

// Makes sure that the block of the boundary holds `value`, two dashes and a zero byte.
EmlResult makeBoundaryRoom(EmlFilterContext& context, size_t valueLength) {
    const size_t size = valueLength + 4;
    EmlAllocator& allocator = allocatorOf(context);
    if (context.boundary.text == nullptr) {
        context.boundary.text = static_cast<char*>(allocateBlock(allocator, size));
    } else if (static_cast<size_t>(context.boundary.length) < size) {
        context.boundary.text = static_cast<char*>(reallocateBlock(allocator, context.boundary.text, size));
    }
    if (context.boundary.text != nullptr) return EML_OK;
    context.boundary.length = 0;
    return EML_NO_MEMORY;
}

void setBoundary(EmlFilterContext& context, char* text, int32_t length) {
    context.boundary.text = text;
    context.boundary.length = length;
    context.boundary.finder = SubstringFinder(reinterpret_cast<const uint8_t*>(text),
                                              static_cast<size_t>(length), *context.kernels);
}

}  // namespace

EmlResult takeBoundary(EmlFilterContext& context, Cursor parameters, bool replaces) {
    if (context.boundary.text != nullptr && !replaces) return EML_OK;
    const std::optional<std::string_view> value = findValue(parameters);
    if (!value) return EML_OK;
    if (EmlResult result = makeBoundaryRoom(context, value->size()); result != EML_OK) return result;
    std::memcpy(context.boundary.text, "--", 2);
    if (!value->empty()) std::memcpy(context.boundary.text + 2, value->data(), value->size());
    context.boundary.text[value->size() + 2] = '\0';
    setBoundary(context, context.boundary.text, static_cast<int32_t>(value->size() + 2));
    return EML_OK;
}

EmlResult saveBoundary(EmlFilterContext& context, SavedBoundary& saved) {
    saved = {context.boundary.text, context.boundary.length};
    if (saved.text == nullptr) return EML_OK;
    // As much room as makeBoundaryRoom counts on.
    const auto length = static_cast<size_t>(saved.length);
    auto* copy = static_cast<char*>(allocateBlock(allocatorOf(context), length + 2));
    if (copy == nullptr) return EML_NO_MEMORY;
    std::memcpy(copy, saved.text, length + 1);
    setBoundary(context, copy, saved.length);
    return EML_OK;
}

void restoreBoundary(EmlFilterContext& context, const SavedBoundary& saved) {
    freeBlock(allocatorOf(context), context.boundary.text);
    setBoundary(context, saved.text, saved.length);
}

const uint8_t* findBoundary(const EmlFilterContext& context, const uint8_t* begin, const uint8_t* end) {
    if (context.boundary.text == nullptr) return nullptr;
    const void* zero = std::memchr(begin, 0, static_cast<size_t>(end - begin));
    return context.boundary.finder.find(begin, zero != nullptr ? static_cast<const uint8_t*>(zero) : end);
}

}  // namespace eml

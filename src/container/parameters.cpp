#include "container/parameters.h"

#include <algorithm>
#include <string_view>

#include "container/container_context.h"
#include "host/host_memory.h"

namespace eml {

namespace {

struct TypePrefix {
    char prefix[30];
    uint8_t contentClass;
};

// The first prefix that a type begins with gives its class; what follows the prefix does not matter.
constexpr TypePrefix kTypePrefixes[] = {
    {"application/rtf", EML_CLASS_RTF},
    {"application/pkcs7-mime", EML_CLASS_PKCS7_MIME},
    {"application/pkcs7-signature", EML_CLASS_PKCS7_SIGNATURE},
    {"application/x-pkcs7-signature", EML_CLASS_PKCS7_SIGNATURE},
    {"application", EML_CLASS_BINARY},
    {"audio", EML_CLASS_BINARY},
    {"image", EML_CLASS_BINARY},
    {"multipart/alternative", EML_CLASS_ALTERNATIVE},
    {"multipart/signed", EML_CLASS_SIGNED},
    {"multipart/related", EML_CLASS_RELATED},
    {"multipart/digest", EML_CLASS_TEXT},  // KEPT: a digest is read as text, its parts are not split out
    {"multipart/", EML_CLASS_MULTIPART},
    {"message/", EML_CLASS_MESSAGE},
    {"text/plain", EML_CLASS_TEXT},
    {"text/html", EML_CLASS_HTML},
    {"video", EML_CLASS_BINARY},
};

void skipQuotesAndBlanks(Cursor& text) {
    while (text.peek() == '"' || isBlank(text.peek())) text.skip(1);
}

bool atLineEnd(const Cursor& text) { return text.peek() == 0 || isLineEnd(text.peek()); }

// The search of the standard library costs a call, for two or three bytes.
bool isOneOf(uint8_t byte, std::string_view stops) {
    return std::any_of(stops.begin(), stops.end(),
                       [byte](char stop) { return static_cast<uint8_t>(stop) == byte; });
}

// Moves to the next byte that is one of `stops`, or to the end of the line.
void skipToAny(Cursor& text, std::string_view stops) {
    while (!atLineEnd(text) && !isOneOf(*text.pos, stops)) ++text.pos;
}

HeaderValue valueUpTo(Cursor& text, std::string_view stops) {
    const uint8_t* const begin = text.pos;
    skipToAny(text, stops);
    return {begin, static_cast<size_t>(text.pos - begin), true};
}

}  // namespace

uint32_t classifyContentType(Cursor text) {
    text.skipBlanks();
    const uint8_t first = toLower(text.peek());
    for (const TypePrefix& row : kTypePrefixes) {
        if (static_cast<uint8_t>(row.prefix[0]) == first && text.startsWithNoCase(row.prefix))
            return row.contentClass;
    }
    return EML_CLASS_TEXT;
}

TransferEncoding classifyEncoding(Cursor text) {
    skipQuotesAndBlanks(text);
    return leadingEncoding(text);
}

HeaderValue boundaryValue(Cursor text) {
    if (!text.acceptNoCase("boundary=")) return {};
    if (text.accept('"')) return valueUpTo(text, "\"");
    return valueUpTo(text, "; \t");
}

HeaderValue quotedValue(Cursor text) {
    skipQuotesAndBlanks(text);
    if (atLineEnd(text)) return {};
    return valueUpTo(text, "\"");
}

char* copyBoundary(EmlAllocator& allocator, Cursor text, uint32_t& lengthOut) {
    const HeaderValue value = boundaryValue(text);
    if (!value.found) return nullptr;
    // KEPT: an empty value gives "--", which the scan then finds at every "--" of the body.
    auto* copy = static_cast<char*>(allocateBlock(allocator, uint64_t{value.length} + 4));
    if (copy == nullptr) return nullptr;
    copy[0] = '-';
    copy[1] = '-';
    std::memcpy(copy + 2, value.begin, value.length);
    copy[value.length + 2] = '\0';
    lengthOut = static_cast<uint32_t>(value.length + 2);
    return copy;
}

char* copyQuotedValue(EmlAllocator& allocator, Cursor text) {
    const HeaderValue value = quotedValue(text);
    return value.found ? copyText(allocator, value.begin, value.length) : nullptr;
}

void skipToParameter(Cursor& text) {
    skipToAny(text, "; \t");
    while (text.peek() == ';' || isBlank(text.peek())) text.skip(1);
}

}  // namespace eml

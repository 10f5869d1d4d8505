#include "filter/content_type_value.h"

#include <cstring>

#include "charset/charset_names.h"
#include "filter/field_value.h"

namespace eml {

namespace {

bool endsToken(uint8_t byte) { return byte == ';' || isBlank(byte) || isLineEnd(byte); }

}  // namespace

TransferEncoding encodingOfValue(Cursor value) {
    value.skipBlanks();
    return leadingEncoding(value);
}

void takeTypeToken(Cursor& value, char (&type)[kTypeSize]) {
    size_t length = 0;
    for (; !value.atEnd() && !endsToken(*value.pos); value.skip(1)) {
        if (length + 1 < kTypeSize) type[length++] = static_cast<char>(*value.pos);
    }
    std::memset(type + length, 0, kTypeSize - length);
}

void takeCharset(EmlFilterContext& context, Cursor place, bool allQuotes) {
    if (context.charsetTaken || !place.acceptNoCase("charset=")) return;
    context.charsetTaken = true;
    while (place.accept('"') && allQuotes) {
    }
    size_t length = 0;
    for (; !place.atEnd() && *place.pos != '"' && !endsToken(*place.pos); place.skip(1)) {
        if (length + 1 == kTypeSize) break;
        context.charsetName[length++] = static_cast<char>(*place.pos);
    }
    context.charsetName[length] = '\0';
    context.charset =
        mapEMLcharset(reinterpret_cast<const uint8_t*>(context.charsetName), static_cast<uint32_t>(length));
}

bool findCharsetPlace(Cursor& text) {
    Cursor line = text;
    for (; !line.atEnd() && !isLineEnd(*line.pos); line.skip(1)) {
        if (line.startsWith("ch")) {
            text = line;
            return true;
        }
    }
    text = line;
    return false;
}

}  // namespace eml

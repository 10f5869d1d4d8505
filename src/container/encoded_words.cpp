// KEPT: no rule of RFC 2047 is applied beyond the two encodings. Blanks between adjacent words stay, the
// charset of a word has no effect, and a word may be as long as the text.
#include "container/encoded_words.h"

#include <algorithm>
#include <string_view>

#include "bytes/cursor.h"
#include "container/transfer_decoders.h"

namespace {

using eml::Cursor;

enum class WordEncoding : uint8_t { kNone, kQuotedPrintable, kBase64 };

// KEPT: a letter that names no encoding leaves the one of the word before it.
void takeEncoding(WordEncoding& encoding, uint8_t letter) {
    if (eml::toLower(letter) == 'q') encoding = WordEncoding::kQuotedPrintable;
    if (eml::toLower(letter) == 'b') encoding = WordEncoding::kBase64;
}

// Moves to the next occurrence of `wanted`, or to the end.
void skipTo(Cursor& text, std::string_view wanted) {
    text.pos = std::search(text.pos, text.end, wanted.begin(), wanted.end(),
                           [](uint8_t left, char right) { return left == static_cast<uint8_t>(right); });
}

EmlResult appendLiteral(EmlContainerContext& context, const uint8_t* begin, const uint8_t* end) {
    return context.decoded.append(eml::allocatorOf(context), begin, static_cast<uint64_t>(end - begin));
}

EmlResult appendEncoded(EmlContainerContext& context, WordEncoding encoding, const uint8_t* begin,
                        const uint8_t* end) {
    if (begin == end) return EML_OK;
    if (encoding == WordEncoding::kQuotedPrintable) return eml2DecodeQPBuffer(context, begin, end, 1);
    if (encoding == WordEncoding::kBase64) return eml2DecodeBASE64Buffer(context, begin, end);
    return appendLiteral(context, begin, end);
}

// Moves from after "=?" to the encoded text. False when the text ends before the encoding field
// does: the word and all that follows are dropped then.
bool enterWord(Cursor& text, WordEncoding& encoding) {
    skipTo(text, "?");
    text.skip(1);
    if (text.atEnd()) return false;
    takeEncoding(encoding, text.peek());
    skipTo(text, "?");
    if (text.atEnd()) return false;
    text.skip(1);
    return true;
}

}  // namespace

EmlResult emlDecodeMetaText(EmlContainerContext& context, const uint8_t* text, uint32_t length) {
    Cursor rest{text, text + length};
    WordEncoding encoding = WordEncoding::kNone;
    while (!rest.atEnd()) {
        const uint8_t* const literal = rest.pos;
        skipTo(rest, "=?");
        if (EmlResult result = appendLiteral(context, literal, rest.pos); result != EML_OK) return result;
        if (rest.atEnd()) break;
        rest.skip(2);
        if (!enterWord(rest, encoding)) break;
        const uint8_t* const word = rest.pos;
        skipTo(rest, "?=");
        if (EmlResult result = appendEncoded(context, encoding, word, rest.pos); result != EML_OK)
            return result;
        rest.skip(2);
    }
    return EML_OK;
}

#include "filter/field_value.h"

#include <algorithm>

#include "bytes/unreachable.h"
#include "charset/charset_names.h"
#include "filter/record_stream.h"
#include "filter/transfer_decoders.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr uint32_t kBoldOn = 0x8001;
constexpr uint32_t kBoldOff = 1;
constexpr ptrdiff_t kLongPiece = 4081;
constexpr uint32_t kLostOfLongPiece = 16;
constexpr size_t kCharsetNameLength = kTypeSize - 1;

struct FieldOutput {
    EmlFilterContext& context;
    bool metadataMode;
    int32_t kind;
};

EmlResult emit(FieldOutput& output, const uint8_t* begin, const uint8_t* end) {
    const auto length = static_cast<uint32_t>(end - begin);
    if (length == 0) return EML_OK;
    EmlFilterContext& context = output.context;
    if (output.metadataMode) return context.request.value.append(allocatorOf(context), begin, length);
    return resultOf(writeText(context, begin, length));
}

// KEPT: the text that ends a line loses its last 16 bytes when it is very long, in fields that are not kept
// whole.
EmlResult emitLineRest(FieldOutput& output, const uint8_t* begin, const uint8_t* end) {
    const bool cut = !output.metadataMode && output.kind != kWholeLines && end - begin >= kLongPiece;
    return emit(output, begin, cut ? end - kLostOfLongPiece : end);
}

EmlResult announceCharset(FieldOutput& output, uint32_t charset) {
    return output.metadataMode ? EML_OK : resultOf(writeCharset(output.context, charset));
}

// Moves to the next occurrence of `wanted`, or to the end.
void skipTo(Cursor& text, std::string_view wanted) {
    text.pos = std::search(text.pos, text.end, wanted.begin(), wanted.end(),
                           [](uint8_t left, char right) { return left == static_cast<uint8_t>(right); });
}

struct EncodedWord {
    uint32_t charset;
    uint8_t letter;  // of the encoding
    Cursor text;
};

uint32_t charsetOfWord(const uint8_t* name, const uint8_t* end) {
    if (name == end) return EML_CHARSET_WESTERN;  // the line may end here, with no byte to look at
    const auto length = std::min(static_cast<size_t>(end - name), kCharsetNameLength);
    const uint32_t charset = mapEMLcharset(name, static_cast<uint32_t>(length));
    return charset != EML_CHARSET_UNKNOWN ? charset : EML_CHARSET_WESTERN;
}

// Reads an encoded word from after its "=?", on one line, and moves to its end. A word that lacks the "?" after
// its charset takes the rest of the line and has no text.
void readWord(Cursor& line, EncodedWord& word) {
    const uint8_t* const name = line.pos;
    skipTo(line, "?");
    word.charset = charsetOfWord(name, line.pos);
    line.skip(1);
    word.letter = toLower(line.peek());
    line.skip(1);
    line.accept('?');
    word.text.pos = line.pos;
    skipTo(line, "?=");
    word.text.end = line.pos;
    line.skip(2);
}

// Decodes a word as a body that stands in the input buffer.
EmlResult decodeWord(FieldOutput& output, const EncodedWord& word) {
    if (word.letter != 'q' && word.letter != 'b') return emit(output, word.text.pos, word.text.end);
    EmlFilterContext& context = output.context;
    const int32_t length = context.body.length;
    const int32_t converted = context.body.converted;
    const uint8_t* const inputEnd = context.input.end;
    const uint8_t* const readPos = context.input.readPos;
    context.input.readPos = word.text.pos;
    context.input.end = word.text.end;
    context.body.length = 0;
    const EmlResult result = word.letter == 'q' ? processEMLqpbody(context, output.metadataMode)
                                                : processEMLbase64body(context, output.metadataMode);
    context.body.length = length;
    context.body.converted = converted;
    context.input.end = inputEnd;
    context.input.readPos = readPos;
    return result;
}

// KEPT: after a word the stream goes back to the default charset, whatever the message's is.
EmlResult outputWord(FieldOutput& output, const EncodedWord& word) {
    const bool announced = word.charset != EML_CHARSET_WESTERN;
    if (announced) {
        if (EmlResult result = announceCharset(output, word.charset); result != EML_OK) return result;
    }
    if (EmlResult result = decodeWord(output, word); result != EML_OK) return result;
    return announced ? announceCharset(output, EML_CHARSET_WESTERN) : EML_OK;
}

// Blanks between two words are dropped.
void skipBlanksBeforeWord(Cursor& line) {
    Cursor ahead = line;
    ahead.skipBlanks();
    if (ahead.startsWith("=?")) line = ahead;
}

EmlResult outputLine(FieldOutput& output, Cursor line) {
    for (;;) {
        const uint8_t* const literal = line.pos;
        skipTo(line, "=?");
        if (line.atEnd()) return emitLineRest(output, literal, line.end);
        if (EmlResult result = emit(output, literal, line.pos); result != EML_OK) return result;
        line.skip(2);
        EncodedWord word{};
        readWord(line, word);
        if (EmlResult result = outputWord(output, word); result != EML_OK) return result;
        skipBlanksBeforeWord(line);
    }
}

// Moves to the next line of the value when the line after the cursor continues it. KEPT: nothing takes the
// place of the line break and the blanks.
bool unfold(Cursor& text) {
    Cursor next = text;
    skipLineEnd(next);
    if (next.pos == text.pos || !isBlank(next.peek())) return false;
    next.skipBlanks();
    text = next;
    return true;
}

EmlResult finishValue(FieldOutput& output) {
    EmlFilterContext& context = output.context;
    if (!output.metadataMode) return resultOf(writeLineBreak(context));
    EmlMetaDataEntry* const entry = metadataEntry(*context.request.list, output.kind);
    if (EML_NEVER(entry == nullptr)) return EML_OK;  // the entry that asked for the value
    return storeMetadataValue(*entry, *context.request.hostRecord->allocator, context.request.value.data,
                              context.request.value.length);
}

}  // namespace

void skipLine(Cursor& text) {
    while (text.peek() != 0 && !isLineEnd(text.peek())) text.skip(1);
}

void skipLineEnd(Cursor& text) {
    text.accept(kCr);
    text.accept(kLf);
}

}  // namespace eml

EmlResult outputEMLfieldname(EmlFilterContext& context, const char* name) {
    using eml::Written;
    Written written = eml::writeAttribute(context, eml::kBoldOn);
    if (written != Written::kNoMemory) written = eml::writeText(context, name);
    if (written != Written::kNoMemory) written = eml::writeAttribute(context, eml::kBoldOff);
    if (written != Written::kNoMemory) written = eml::writeTab(context);
    if (written != Written::kNoMemory) written = eml::writeTab(context);
    return eml::resultOf(written);
}

EmlResult outputEMLfieldbody(EmlFilterContext& context, const uint8_t*& position, bool metadataMode,
                             int32_t kind) {
    eml::FieldOutput output{context, metadataMode, kind};
    eml::Cursor text{position, context.input.end};
    context.request.value.length = 0;
    do {
        const uint8_t* const begin = text.pos;
        eml::skipLine(text);
        if (EmlResult result = eml::outputLine(output, {begin, text.pos}); result != EML_OK) return result;
    } while (eml::unfold(text));
    position = text.pos;
    return eml::finishValue(output);
}

// Files inside text, and OpenPGP messages.
#include "mime/defects.h"
#include "mime/encoded_words.h"
#include "mime/inline_files.h"
#include "mime/part_header.h"
#include "mime/part_texts.h"
#include "mime/part_tree.h"
#include "mime/protection.h"
#include "mime/spans.h"

namespace eml {

// A line of text as it stands. Few begin like something that matters here.
void PartTree::takeTextLine(const MimeLine& line) {
    if (inline_ == InlineFile::kNone) {
        takeOutsideLine(line);
    } else {
        takeInlineLine(line);
    }
}

void PartTree::takeOutsideLine(const MimeLine& line) {
    if (line.text.size() < 6) return;
    const char first = line.text.front();
    if (first == '-' && current().protection == EML_MIME_PROTECTION_NONE) {
        current().protection = static_cast<uint8_t>(protectionOfLine(line.text));
        return;
    }
    if (!findsFiles_ || (first != 'b' && first != '=')) return;
    if (const std::string_view name = uuencodeName(line.text); !name.empty()) {
        rememberInlineFile(line, name);
        inline_ = InlineFile::kMaybeUuencode;
    } else if (const std::string_view yenc = yencName(line.text); !yenc.empty()) {
        rememberInlineFile(line, yenc);
        beginInlineFile(EML_MIME_ENCODING_YENC);
    }
}

void PartTree::rememberInlineFile(const MimeLine& line, std::string_view name) {
    inlineStart_ = line.offset;
    fileName_.length = 0;
    keepResult(
        fileName_.append(*context_.allocator, reinterpret_cast<const uint8_t*>(name.data()), name.size()));
}

void PartTree::takeInlineLine(const MimeLine& line) {
    switch (inline_) {
        case InlineFile::kMaybeUuencode:
            inline_ = InlineFile::kNone;
            if (isUuencodeData(line.text) || isUuencodeEnd(line.text)) {
                beginInlineFile(EML_MIME_ENCODING_UUENCODE);
            }
            if (inline_ == InlineFile::kNone) {
                takeOutsideLine(line);
            } else if (isUuencodeEnd(line.text)) {
                endInlineFile(line.next(), false);
            }
            break;
        case InlineFile::kUuencode:
            if (isUuencodeEnd(line.text)) {
                endInlineFile(line.next(), false);
            } else if (!line.text.empty() && !isUuencodeData(line.text)) {
                endInlineFile(line.offset, true);
                takeOutsideLine(line);
            }
            break;
        case InlineFile::kYenc:
            if (isYencEnd(line.text)) endInlineFile(line.next(), false);
            break;
        case InlineFile::kNone:
            break;
    }
}

// The file that was remembered is one: a part inside the text.
void PartTree::beginInlineFile(uint32_t encoding) {
    if (partCount(context_) >= context_.options.maxParts) {
        noteDefect(context_, EML_MIME_DEFECT_TOO_MANY_PARTS, part_, inlineStart_);
        findsFiles_ = false;
        return;
    }
    inlinePart_ = addPart(part_, inlineStart_);
    if (result_ != EML_OK) return;
    lastInline_ = inlinePart_;
    keepResult(setType(context_, inlinePart_, "application", "octet-stream"));
    TextBuilder name(*context_.allocator, context_.scratch);
    name.truncate(0);
    const std::string_view written(reinterpret_cast<const char*>(fileName_.data), fileName_.length);
    appendDecodedTrimmed(written, {context_.options.convert, viewAt(context_, current().charset)}, name);
    if (name.failed()) keepResult(EML_NO_MEMORY);
    if (result_ != EML_OK) return;
    const TextStart kept = name.length() == 0 ? 0 : keepText(context_, name.since(0));
    MimePart& file = partAt(context_, inlinePart_);
    file.name = kept;
    file.flags =
        EML_MIME_PART_INLINE_FILE | EML_MIME_PART_DEFAULT_TYPE | (kept == 0 ? 0 : EML_MIME_PART_NAMED);
    file.encoding = static_cast<uint8_t>(encoding);
    inline_ = encoding == EML_MIME_ENCODING_YENC ? InlineFile::kYenc : InlineFile::kUuencode;
    span(inlineStart_, EML_MIME_SPAN_BODY, inlinePart_);
}

void PartTree::endInlineFile(uint64_t end, bool cutOff) {
    MimePart& file = partAt(context_, inlinePart_);
    file.bodyEnd = end;
    file.ending = EML_MIME_ENDING_INLINE;
    if (cutOff) noteDefect(context_, EML_MIME_DEFECT_INLINE_FILE_CUT_OFF, inlinePart_, end);
    inline_ = InlineFile::kNone;
    span(end, EML_MIME_SPAN_BODY, part_);
}

}  // namespace eml

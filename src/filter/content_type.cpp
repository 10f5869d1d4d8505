#include "filter/content_type.h"

#include <algorithm>
#include <cstring>

#include "bytes/cursor.h"
#include "filter/boundary_text.h"
#include "filter/content_type_value.h"
#include "filter/embedded_name.h"
#include "filter/field_value.h"
#include "filter/part_tables.h"

namespace eml {

namespace {

struct MultipartType {
    char literal[24];
    bool inScan;  // treated as a multipart type by the open scan
    bool mayReplaceInScan;
    bool mayReplaceInBody;
};

// KEPT: the open scan treats multipart/related as an ordinary type.
constexpr MultipartType kMultipartTypes[] = {
    {"multipart/mixed", true, false, false},  // replaces in the scan of a signed message
    {"multipart/alternative", true, false, true}, {"multipart/related", false, false, true},
    {"multipart/report", true, false, false},     {"multipart/signed", true, false, false},
    {"multipart/appledouble", true, true, false},
};

// What one call of decodeContentType knows. KEPT: it belongs to one input buffer: a header that goes on in
// the next one begins anew there.
struct HeaderBlock {
    EmlFilterContext& context;
    Cursor text;
    bool scanMode;
    bool typeSeen;
    bool encodingSeen;
    bool dispositionSeen;
    bool isAttachment;
    bool suppressed;  // a signature: no attachment
    char fileName[kFileNameSize];
    uint32_t nameLength;
};

// A keyword counts only when it ends before the last byte of the buffer.
bool acceptKeyword(Cursor& text, std::string_view keyword) {
    return keyword.size() < text.left() && text.acceptNoCase(keyword);
}

void skipSemicolonsAndBlanks(Cursor& text) {
    while (text.peek() == ';' || isBlank(text.peek())) text.skip(1);
}

// Moves to the first parameter after a token, on the same line or on the next one. KEPT: no other parameter
// is examined.
void skipToFirstParameter(Cursor& text) {
    skipSemicolonsAndBlanks(text);
    skipLineEnd(text);
    text.skipBlanks();
}

void copyName(HeaderBlock& block, Cursor value, bool quoted) {
    const uint8_t stop = quoted ? uint8_t{'"'} : uint8_t{';'};
    const auto ends = [stop](uint8_t byte) { return isLineEnd(byte) || byte == stop; };
    size_t length = 0;
    for (; !value.atEnd() && !ends(*value.pos) && length + 1 < kFileNameSize; value.skip(1)) {
        block.fileName[length++] = static_cast<char>(*value.pos);
    }
    block.fileName[length] = '\0';
    block.nameLength = static_cast<uint32_t>(length);
}

// "name=", when no name is held yet.
void takeTypeName(HeaderBlock& block, Cursor text) {
    skipToFirstParameter(text);
    if (block.fileName[0] != '\0' || !acceptKeyword(text, "name=")) return;
    const bool quoted = text.accept('"');
    copyName(block, text, quoted);
}

void takeDisposition(HeaderBlock& block, Cursor value) {
    block.dispositionSeen = true;
    value.skipBlanks();
    if (!acceptKeyword(value, "attachment") && !acceptKeyword(value, "inline")) return;
    skipToFirstParameter(value);
    if (!acceptKeyword(value, "filename=")) return;
    const uint8_t* const begin = value.pos;
    while (value.accept('"')) {
    }
    copyName(block, value, value.pos != begin);
    block.isAttachment = true;
}

// The charset of a text: its place is looked for on the line of the type, and on the line after that. KEPT:
// from the type itself on, so that a type with "ch" in it hides it.
void takeTextCharset(HeaderBlock& block, Cursor text) {
    constexpr std::string_view kKeyword = "charset=";
    skipSemicolonsAndBlanks(text);
    bool found = findCharsetPlace(text);
    if (!found) {
        while (!text.atEnd() && isLineEnd(*text.pos)) text.skip(1);
        found = findCharsetPlace(text);
    }
    if (found && text.left() > kKeyword.size()) takeCharset(block.context, text, true);
}

bool replacesBoundary(const HeaderBlock& block, const MultipartType& type) {
    if (!block.scanMode) return type.mayReplaceInBody;
    const bool isMixed = &type == &kMultipartTypes[0];
    return type.mayReplaceInScan || (isMixed && block.context.signedMessage);
}

EmlResult takeMultipart(HeaderBlock& block, const MultipartType& type, Cursor parameters) {
    EmlFilterContext& context = block.context;
    std::memset(context.contentType, 0, sizeof context.contentType);
    std::memcpy(context.contentType, type.literal, std::strlen(type.literal));
    if (std::strcmp(type.literal, "multipart/signed") == 0) context.signedMessage = true;
    return takeBoundary(context, parameters, replacesBoundary(block, type));
}

bool typeBeginsWith(const EmlFilterContext& context, std::string_view prefix) {
    return equalNoCase(reinterpret_cast<const uint8_t*>(context.contentType), prefix.data(), prefix.size());
}

bool typeIs(const EmlFilterContext& context, std::string_view type) {
    return std::strlen(context.contentType) == type.size() && typeBeginsWith(context, type);
}

// A type that is neither multipart nor message.
void takeOtherType(HeaderBlock& block, Cursor value) {
    EmlFilterContext& context = block.context;
    const Cursor type = value;
    takeTypeToken(value, context.contentType);
    if (typeIs(context, "application/pkcs7-mime") && context.headerLength == 0) {
        context.encrypted = true;
    } else if (typeIs(context, "application/pkcs7-signature") ||
               typeIs(context, "application/x-pkcs7-signature")) {
        block.suppressed = true;
    } else if (typeBeginsWith(context, "application") || typeBeginsWith(context, "audio") ||
               typeBeginsWith(context, "image") || typeBeginsWith(context, "video")) {
        takeTypeName(block, value);
        if (block.fileName[0] != '\0' || typeBeginsWith(context, "application/applefile"))
            block.isAttachment = true;
    } else {
        takeTextCharset(block, type);
    }
}

void takeEmbeddedMessage(HeaderBlock& block, Cursor parameters) {
    constexpr std::string_view kType = "message/rfc822";
    EmlFilterContext& context = block.context;
    std::memset(context.contentType, 0, sizeof context.contentType);
    std::memcpy(context.contentType, kType.data(), kType.size());
    takeTypeName(block, parameters);
    if (block.fileName[0] == '\0') {
        makeSubjectName(parameters, context.parts.attachments.count, block.fileName);
        block.nameLength = static_cast<uint32_t>(std::strlen(block.fileName));
    }
    block.isAttachment = true;
}

EmlResult takeContentType(HeaderBlock& block, Cursor value) {
    block.typeSeen = true;
    block.context.mimeIndicator += 2;
    value.skipBlanks();
    for (const MultipartType& type : kMultipartTypes) {
        Cursor parameters = value;
        if ((type.inScan || !block.scanMode) && acceptKeyword(parameters, type.literal)) {
            return takeMultipart(block, type, parameters);
        }
    }
    if (acceptKeyword(value, "message/delivery-status")) {
        // KEPT: the content type stays what it was.
        makeReportName(block.context.parts.attachments.count, block.fileName);
        block.nameLength = static_cast<uint32_t>(std::strlen(block.fileName));
        block.isAttachment = true;
    } else if (acceptKeyword(value, "message/rfc822")) {
        takeEmbeddedMessage(block, value);
    } else {
        takeOtherType(block, value);
    }
    return EML_OK;
}

EmlResult readLine(HeaderBlock& block) {
    EmlFilterContext& context = block.context;
    Cursor line = block.text;
    if (acceptKeyword(line, "Mime-Version:")) {
        context.mimeIndicator = 1;
    } else if (!block.typeSeen && acceptKeyword(line, "Content-Type:")) {
        return takeContentType(block, line);
    } else if (!block.encodingSeen && acceptKeyword(line, "Content-Transfer-Encoding:")) {
        block.encodingSeen = true;
        context.transferEncoding =
            encodingOfValue({line.pos, line.end - 1});  // the last byte ends no keyword
    } else if (!block.dispositionSeen && acceptKeyword(line, "Content-Disposition:")) {
        takeDisposition(block, line);
    }
    return EML_OK;
}

void nextLine(Cursor& text) {
    while (!text.atEnd() && !isLineEnd(*text.pos)) text.skip(1);
    skipLineEnd(text);
}

uint32_t offsetOf(const HeaderBlock& block) {
    const auto inBuffer = static_cast<int32_t>(block.text.pos - block.context.input.buffer);
    return static_cast<uint32_t>(block.context.input.offset + inBuffer);
}

// Reads lines up to the empty one and past it, or to the end of the buffer. KEPT: a line that begins with CR or
// LF is an empty one, whatever the line ends of the message are. In a part whose three fields have all been seen
// the other lines are passed unread, up to one that begins as the message's line ends do.
EmlResult readLines(HeaderBlock& block) {
    EmlFilterContext& context = block.context;
    do {
        if (EmlResult result = readLine(block); result != EML_OK) return result;
        nextLine(block.text);
        if (block.typeSeen && block.encodingSeen && block.dispositionSeen && context.headerLength != 0) {
            while (!block.text.atEnd() && *block.text.pos != context.input.lineEnd[0]) nextLine(block.text);
        }
    } while (!block.text.atEnd() && !isLineEnd(*block.text.pos));
    if (block.text.atEnd()) return EML_OK;
    if (context.headerLength == 0) context.headerLength = static_cast<int32_t>(offsetOf(block));
    skipLineEnd(block.text);
    return EML_OK;
}

EmlResult recordAttachment(const HeaderBlock& block) {
    EmlFilterContext& context = block.context;
    if (!block.scanMode || !block.isAttachment || block.suppressed) return EML_OK;
    if (EmlResult result = checkAttachments(context); result != EML_OK) return result;
    GrowingArray<EmlAttachment>& attachments = context.parts.attachments;
    EmlAttachment& attachment = attachments.records[attachments.count];
    attachment.offset = offsetOf(block);
    attachment.size = -1;
    attachment.encoding = context.transferEncoding;
    std::memcpy(attachment.contentType, context.contentType, sizeof attachment.contentType);
    attachment.partIndex = static_cast<uint32_t>(context.parts.bodies.count);
    if (EmlResult result = keepName(context, attachment, block.fileName, block.nameLength); result != EML_OK)
        return result;
    ++attachments.count;
    return EML_OK;
}

}  // namespace

}  // namespace eml

EmlResult decodeContentType(EmlFilterContext& context, const uint8_t*& position, bool scanMode) {
    eml::HeaderBlock block{
        context, {position, context.input.end}, scanMode, false, false, false, false, false, {}, 0};
    context.transferEncoding = eml::TransferEncoding::kNone;
    EmlResult result = eml::readLines(block);
    position = block.text.pos;
    if (result == EML_OK) result = eml::recordAttachment(block);
    if (result != EML_OK) context.services->lastError = result;
    return result;
}

// KEPT: the two headers are read by different rules. At the top a later charset wins and a name needs a
// disposition "attachment"; in a part the first charset and the first name win, a name from any line will do,
// "inline" is accepted, and a boundary may stand on a continuation line whatever the class.
#include "container/section_header.h"

#include "charset/charset_names.h"
#include "container/container_calls.h"
#include "container/line_reader.h"
#include "container/parameters.h"

namespace eml {

namespace {

// Moves past "name=" or "filename=".
bool acceptNameParameter(Cursor& text) {
    return text.acceptNoCase("name=") || text.acceptNoCase("filename=");
}

// The value after the colon, without its leading blanks.
Cursor afterBlanks(Cursor line) {
    line.skipBlanks();
    return line;
}

// Copies a file name. The first name found is kept.
void takeName(EmlAllocator& allocator, Cursor text, char*& name) {
    if (name == nullptr && acceptNameParameter(text)) name = copyQuotedValue(allocator, text);
}

// The fields that describe a section.
enum class Field : uint8_t { kOther, kType, kEncoding, kDisposition };

// The field that a line begins with. Moves the line past the colon; after kOther its position is
// undefined.
Field acceptField(Cursor& line) {
    if (toLower(line.peek()) != 'c' || !line.acceptNoCase("Content-")) return Field::kOther;
    if (line.acceptNoCase("Type:")) return Field::kType;
    if (line.acceptNoCase("Transfer-Encoding:")) return Field::kEncoding;
    return line.acceptNoCase("Disposition:") ? Field::kDisposition : Field::kOther;
}

struct TopHeader {
    EmlContainerContext& context;
    char*& fileName;
    bool attachmentSeen;
};

void takeTopBoundary(EmlContainerContext& context, Cursor text) {
    if (context.boundary != nullptr) return;
    context.boundary = copyBoundary(allocatorOf(context), text, context.boundaryLength);
}

void topContinuation(TopHeader& header, Cursor text) {
    EmlContainerContext& context = header.context;
    text.skipBlanks();
    if (text.startsWithNoCase("charset=")) {
        context.charset = eml2MapCharset(text);
    } else if (text.startsWithNoCase("boundary=")) {
        if (isMultipart(context.contentClass)) takeTopBoundary(context, text);
    } else if (header.attachmentSeen) {
        takeName(allocatorOf(context), text, header.fileName);
    }
}

// KEPT: only the first parameter on the line of a field is examined, here and in parts.
void topContentType(EmlContainerContext& context, Cursor value) {
    context.contentClass = classifyContentType(value);
    skipToParameter(value);
    if (isMultipart(context.contentClass)) {
        takeTopBoundary(context, value);
    } else if (value.startsWithNoCase("charset=")) {
        context.charset = eml2MapCharset(value);
    }
}

void topDisposition(TopHeader& header, Cursor value) {
    if (!value.startsWithNoCase("attachment")) return;
    header.attachmentSeen = true;
    skipToParameter(value);
    takeName(allocatorOf(header.context), value, header.fileName);
}

void topHeaderLine(TopHeader& header, Cursor line) {
    if (isBlank(line.peek())) {
        topContinuation(header, line);
        return;
    }
    switch (acceptField(line)) {
        case Field::kType:
            topContentType(header.context, afterBlanks(line));
            return;
        case Field::kEncoding:
            header.context.encoding = classifyEncoding(line);
            return;
        case Field::kDisposition:
            topDisposition(header, afterBlanks(line));
            return;
        case Field::kOther:
            return;
    }
}

void takePartCharset(EmlSection& section, Cursor text) {
    if (section.charset == 0) section.charset = eml2MapCharset(text);
}

void takePartBoundary(EmlContainerContext& context, EmlSection& section, Cursor text) {
    if (section.boundary != nullptr) return;
    section.boundary = copyBoundary(allocatorOf(context), text, section.boundaryLength);
}

void partContinuation(EmlContainerContext& context, EmlSection& section, Cursor text) {
    text.skipBlanks();
    if (text.startsWithNoCase("charset=")) {
        takePartCharset(section, text);
    } else if (text.startsWithNoCase("boundary=")) {
        takePartBoundary(context, section, text);
    } else {
        takeName(allocatorOf(context), text, section.fileName);
    }
}

void partContentType(EmlContainerContext& context, EmlSection& section, Cursor value) {
    section.contentClass = classifyContentType(value);
    skipToParameter(value);
    if (isMultipart(section.contentClass)) {
        takePartBoundary(context, section, value);
    } else if (section.contentClass == EML_CLASS_MESSAGE) {
        section.flags = EML_SECTION_MESSAGE;
    } else if (value.startsWithNoCase("charset=")) {
        takePartCharset(section, value);
    } else {
        takeName(allocatorOf(context), value, section.fileName);
    }
}

void partDisposition(EmlContainerContext& context, EmlSection& section, Cursor value) {
    if (!value.startsWithNoCase("attachment") && !value.startsWithNoCase("inline")) return;
    skipToParameter(value);
    takeName(allocatorOf(context), value, section.fileName);
}

void partHeaderLine(EmlContainerContext& context, EmlSection& section, Cursor line) {
    if (isBlank(line.peek())) {
        partContinuation(context, section, line);
        return;
    }
    switch (acceptField(line)) {
        case Field::kType:
            partContentType(context, section, afterBlanks(line));
            return;
        case Field::kEncoding:
            section.encoding = classifyEncoding(line);
            return;
        case Field::kDisposition:
            partDisposition(context, section, afterBlanks(line));
            return;
        case Field::kOther:
            return;
    }
}

void finishPartHeader(const EmlContainerContext& context, EmlSection& section) {
    section.bodyStart = context.position;
    section.bodyEnd = section.end;
    const bool named = section.fileName != nullptr || (section.flags & EML_SECTION_MESSAGE) != 0;
    if (named && section.contentClass != EML_CLASS_PKCS7_SIGNATURE) section.isAttachment = true;
}

}  // namespace

void readTopHeader(EmlContainerContext& context, char*& fileName) {
    TopHeader header{context, fileName, false};
    bool lineBegins = true;
    context.position = context.headerStart;
    for (int32_t read = getLine(context); read != 0; read = getLine(context)) {
        if (isEmptyLine(context)) break;
        // KEPT: of a line that is longer than a block only the first piece is examined, at the top alone.
        if (lineBegins) topHeaderLine(header, lineText(context));
        lineBegins = read == 1;
    }
    context.bodyOffset = context.position - context.headerStart;
}

void readPartHeader(EmlContainerContext& context, EmlSection& section) {
    context.position = section.start;
    // The range is tested first: an empty line that begins after it ends no header.
    while (context.position < section.end && getLine(context) != 0) {
        if (isEmptyLine(context)) {
            finishPartHeader(context, section);
            return;
        }
        partHeaderLine(context, section, lineText(context));
    }
}

}  // namespace eml

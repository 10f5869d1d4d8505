#include "container/container_open.h"

#include "container/body_chooser.h"
#include "container/boundary_scan.h"
#include "container/container_calls.h"
#include "container/embedded_name.h"
#include "container/line_reader.h"
#include "container/main_name_date.h"
#include "container/metadata.h"
#include "container/parameters.h"
#include "container/section_header.h"
#include "container/section_list.h"
#include "host/host_file.h"
#include "host/host_memory.h"

namespace eml {

namespace {

// An input that cannot tell its size is read up to here, so that endless data ends.
constexpr int64_t kMaxUnknownSize = INT32_MAX;

// The message as a whole is a section of the class of its Content-Type.
void takeTopFields(const EmlContainerContext& context, EmlSection& section) {
    section.encoding = context.encoding;
    section.charset = context.charset;
    section.contentClass = context.contentClass;
}

// A section that represents the message itself is a body whatever its class.
void takeAsBody(EmlContainerContext& context, EmlSection& section) {
    switch (section.contentClass) {
        case EML_CLASS_HTML:
            context.htmlBody = &section;
            return;
        case EML_CLASS_RTF:
            context.rtfBody = &section;
            return;
        default:
            context.plainBody = &section;
    }
}

// A message whose header names a file: one section for the header, which is the (empty) body, and one for the
// attachment, which owns `fileName` from then on.
EmlResult appendNamedMessage(EmlContainerContext& context, char*& fileName) {
    if (fileName == nullptr) return EML_OK;
    if (EmlResult result = appendSection(context); result != EML_OK) return result;
    EmlSection& header = *context.currentSection;
    header.end = header.bodyStart = header.bodyEnd = context.bodyOffset;
    takeTopFields(context, header);
    takeAsBody(context, header);
    if (EmlResult result = appendSection(context); result != EML_OK) return result;
    EmlSection& attachment = *context.currentSection;
    attachment.start = attachment.bodyStart = context.bodyOffset;
    attachment.end = attachment.bodyEnd = context.fileSize;
    takeTopFields(context, attachment);
    attachment.isAttachment = true;
    attachment.fileName = fileName;
    fileName = nullptr;
    return EML_OK;
}

// When the size of the input is unknown, the header is read until the data ends, and the message ends with
// it.
EmlResult readHeader(EmlContainerContext& context) {
    const int64_t size = seekToEnd(*context.input);
    const bool sizeKnown = size >= 0;
    context.fileSize = sizeKnown ? size : kMaxUnknownSize;
    char* fileName = nullptr;
    readTopHeader(context, fileName);
    if (!sizeKnown) context.fileSize = context.bodyOffset;
    const EmlResult result = appendNamedMessage(context, fileName);
    freeBlock(allocatorOf(context), fileName);
    return result;
}

EmlResult scanParts(EmlContainerContext& context) {
    if (context.boundary == nullptr || !isMultipart(context.contentClass)) return EML_OK;
    const EmlSectionNode* const lastBefore = context.sectionsTail;
    const BoundaryText boundary{context.boundary, context.boundaryLength};
    const EmlResult result = scanSections(context, boundary, context.position, context.fileSize);
    if (result == EML_OK && context.sectionsTail == lastBefore) context.position = context.bodyOffset;
    return result;
}

// When the signed content of a multipart/signed message is a multipart itself, its parts, if any, become the
// section list.
EmlResult openSignedContent(EmlContainerContext& context, const EmlSection& content) {
    DetachedSections outer = detachSections(context);
    const BoundaryText boundary{content.boundary, content.boundaryLength};
    const EmlResult result = scanSections(context, boundary, content.bodyStart, content.bodyEnd);
    if (result == EML_OK && context.sections == nullptr) {
        attachSections(context, outer);
    } else {
        retireSections(context, outer.head);
    }
    return result;
}

EmlResult chooseInSigned(EmlContainerContext& context) {
    EmlSection& first = context.sections->section;
    if (context.boundary == nullptr || first.contentClass != EML_CLASS_MULTIPART ||
        first.boundary == nullptr) {
        return chooseBody(context, first);
    }
    if (EmlResult result = openSignedContent(context, first); result != EML_OK) return result;
    return chooseBody(context, context.sections->section);
}

// Chooses the body among the sections that the scan made. There is at least one.
EmlResult chooseAmongParts(EmlContainerContext& context) {
    switch (context.contentClass) {
        case EML_CLASS_ALTERNATIVE:
            chooseAlternatives(context);
            return EML_OK;
        case EML_CLASS_SIGNED:
            return chooseInSigned(context);
        case EML_CLASS_RELATED:
        case EML_CLASS_MULTIPART:
            return chooseBody(context, context.sections->section);
        default:
            return EML_OK;
    }
}

// A line left by a mail program that stored the attachment elsewhere: an attachment that is not in the file.
EmlResult appendConverted(EmlContainerContext& context, Cursor line) {
    constexpr std::string_view kLabel = "Attachment Converted:";
    if (!line.startsWith(kLabel)) return EML_OK;
    line.skip(kLabel.size());
    char* name = copyQuotedValue(allocatorOf(context), line);
    if (name == nullptr) return EML_OK;
    if (EmlResult result = appendSection(context); result != EML_OK) {
        freeBlock(allocatorOf(context), name);
        return result;
    }
    context.currentSection->isAttachment = true;
    context.currentSection->fileName = name;
    context.currentSection->flags = EML_SECTION_CONVERTED;
    return EML_OK;
}

EmlResult appendConvertedAttachments(EmlContainerContext& context) {
    context.position = context.bodyOffset;
    while (getLine(context) != 0) {
        if (EmlResult result = appendConverted(context, lineText(context)); result != EML_OK) return result;
    }
    return EML_OK;
}

// A message without parts: one section.
EmlResult appendWholeMessage(EmlContainerContext& context) {
    if (EmlResult result = appendSection(context); result != EML_OK) return result;
    EmlSection& section = *context.currentSection;
    section.bodyStart = context.bodyOffset;
    section.end = section.bodyEnd = context.fileSize;
    takeTopFields(context, section);
    takeAsBody(context, section);
    const bool converted = (context.openFlags & EML_OPEN_CONVERTED_ATTACHMENTS) != 0;
    return converted && section.contentClass == EML_CLASS_MULTIPART ? appendConvertedAttachments(context)
                                                                    : EML_OK;
}

void settleCharset(EmlContainerContext& context) {
    if (context.charset == 0 && context.plainBody != nullptr) context.charset = context.plainBody->charset;
    if (context.charset == 0) context.charset = EML_CHARSET_WESTERN;
}

}  // namespace

EmlResult readMessage(EmlContainerContext& context) {
    if (EmlResult result = readHeader(context); result != EML_OK) return result;
    if (EmlResult result = scanParts(context); result != EML_OK) return result;
    const EmlResult chosen =
        context.sections != nullptr ? chooseAmongParts(context) : appendWholeMessage(context);
    if (chosen != EML_OK) return chosen;
    if (EmlResult result = numberAttachments(context); result != EML_OK) return result;
    settleCharset(context);
    const EmlResult described = eml2GetDefaultMetaData(context, allocatorOf(context), context.metaData);
    return described == EML_OK ? eml2GetMainNameDate(context) : described;
}

EmlContainerContext* openContainer(EmlIOobj* input, EmlHostServices* services, uint32_t flags,
                                   EmlResult& status) {
    status = EML_INPUT_NOT_OPENED;
    if (input == nullptr || input->open == nullptr || input->open(input) == 0) return nullptr;
    status = EML_INPUT_UNUSABLE;
    if (input->close == nullptr) return nullptr;
    status = EML_NO_MEMORY;
    if (services == nullptr) return nullptr;
    auto* context = allocateRecords<EmlContainerContext>(services->allocator);
    if (context == nullptr) return nullptr;
    context->services = services;
    context->input = input;
    context->openFlags = flags;
    context->kernels = &chooseKernels();
    context->lineBuffer = static_cast<uint8_t*>(allocateBlock(services->allocator, kLineBufferSize));
    if (context->lineBuffer == nullptr) {
        closeContainer(context);
        return nullptr;
    }
    status = readMessage(*context);
    // An encrypted message lists no attachments, even when a step above failed.
    if (context->contentClass == EML_CLASS_PKCS7_MIME) context->attachmentCount = 0;
    return context;
}

void closeContainer(EmlContainerContext* context) {
    if (context == nullptr || context->services == nullptr) return;
    EmlAllocator& allocator = allocatorOf(*context);
    freeBlock(allocator, context->lineBuffer);
    releaseSections(*context);
    freeBlock(allocator, context->attachments);
    if (context->input->close != nullptr) (void)context->input->close(context->input);
    context->decoded.release(allocator);
    freeBlock(allocator, context->boundary);
    eml2FreeMetaData(*context, context->metaData);
    freeBlock(allocator, context);
}

}  // namespace eml

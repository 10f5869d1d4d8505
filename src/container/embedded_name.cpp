#include "container/embedded_name.h"

#include <cstring>

#include "bytes/fixed_text.h"
#include "bytes/name_characters.h"
#include "container/container_calls.h"
#include "container/line_reader.h"
#include "host/host_memory.h"
#include "host/host_text.h"

namespace eml {

namespace {

constexpr size_t kStemLength = 8;

using EmbeddedName = FixedText<kEmbeddedNameSize>;

// Up to eight characters of the subject that are valid in any file system. A leading blank is replaced by the
// character after it.
EmbeddedName stemOfSubject(Cursor subject) {
    char stem[kStemLength];
    size_t length = 0;
    for (; length < kStemLength && subject.peek() != 0 && !isLineEnd(subject.peek()); subject.skip(1)) {
        const uint8_t byte = subject.peek();
        if (isForbiddenInName(byte) || byte < 0x20 || byte >= 0x80) continue;
        if (length == 1 && stem[0] == ' ') length = 0;
        stem[length++] = static_cast<char>(byte);
    }
    EmbeddedName name;
    name.append({stem, length});
    return name;
}

// The value of the first "Subject:" line in the header of an embedded message; empty without one.
Cursor findSubject(EmlContainerContext& context, const EmlSection& section) {
    context.position = section.bodyStart;
    while (getLine(context) != 0 && context.lineStart < section.bodyEnd && !isEmptyLine(context)) {
        Cursor line = lineText(context);
        if (line.acceptNoCase("Subject:")) return line;
    }
    return {nullptr, nullptr};
}

EmlResult nameEmbeddedMessage(EmlContainerContext& context, EmlSection& section) {
    char name[kEmbeddedNameSize];
    makeEmbeddedName(findSubject(context, section), context.attachmentCount - 1, name);
    section.fileName = duplicateText(*context.services, name);
    return section.fileName != nullptr ? EML_OK : EML_NO_MEMORY;
}

EmlResult tabulateAttachments(EmlContainerContext& context) {
    if (context.attachmentCount == 0) return EML_OK;
    const auto count = static_cast<uint32_t>(context.attachmentCount);
    context.attachments = allocateRecords<EmlSection*>(allocatorOf(context), count);
    if (context.attachments == nullptr) return EML_NO_MEMORY;
    for (EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        if (node->section.isAttachment) context.attachments[context.tabulatedCount++] = &node->section;
    }
    return EML_OK;
}

}  // namespace

void makeEmbeddedName(Cursor subject, int32_t number, char (&name)[kEmbeddedNameSize]) {
    subject.skipBlanks();
    if (!subject.acceptNoCase("Re:")) subject.acceptNoCase("Fw:");
    EmbeddedName text = stemOfSubject(subject);
    if (text.view().empty()) text.append("zt").appendDecimal(number);
    text.append(".eml");
    std::memcpy(name, text.zeroTerminated(), text.view().size() + 1);
}

EmlResult numberAttachments(EmlContainerContext& context) {
    for (EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        EmlSection& section = node->section;
        if (section.isAttachment) ++context.attachmentCount;
        if ((section.flags & EML_SECTION_MESSAGE) == 0 || section.fileName != nullptr) continue;
        if (EmlResult result = nameEmbeddedMessage(context, section); result != EML_OK) return result;
    }
    return tabulateAttachments(context);
}

}  // namespace eml

// The exported names of the MIME reader, each one forward. What is exported is listed in emlmime.map.
#include <emlreader/eml_mime.h>

#include "host/host_checks.h"
#include "mime/content.h"
#include "mime/defects.h"
#include "mime/field_calls.h"
#include "mime/mime_open.h"
#include "mime/part_records.h"

EmlMimeContext* emlMimeOpen(EmlIOobj* input, EmlAllocator* allocator, const EmlMimeOptions* options,
                            EmlResult* result) {
    EmlResult own = EML_OK;
    EmlMimeContext* const context = eml::openMime(input, allocator, options, own);
    if (result != nullptr) *result = own;
    return context;
}

void emlMimeClose(EmlMimeContext* context) { eml::closeMime(context); }

uint32_t emlMimePartCount(const EmlMimeContext* context) {
    return context == nullptr ? 0 : eml::partCount(*context);
}

EmlResult emlMimeGetPart(EmlMimeContext* context, uint32_t number, EmlMimePart* part, uint32_t recordSize) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::describePart(*context, number, part, recordSize);
}

EmlResult emlMimeGetName(EmlMimeContext* context, uint32_t number, EmlMimeText* name) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::partName(*context, number, *name);
}

EmlResult emlMimeFindContentId(EmlMimeContext* context, uint32_t from, const char* contentId,
                               uint32_t* number) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::findContentId(*context, from, contentId, *number);
}

uint32_t emlMimeSpanCount(const EmlMimeContext* context) {
    return context == nullptr ? 0 : eml::recordCount<eml::MimeSpan>(context->spans);
}

EmlResult emlMimeGetSpan(const EmlMimeContext* context, uint32_t index, EmlMimeSpanInfo* span) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::describeSpan(*context, index, *span);
}

EmlResult emlMimeFieldCount(EmlMimeContext* context, uint32_t part, uint32_t* count) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldCount(*context, part, *count);
}

EmlResult emlMimeGetField(EmlMimeContext* context, uint32_t part, uint32_t index, EmlMimeField* field) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::describeField(*context, part, index, *field);
}

EmlResult emlMimeFindField(EmlMimeContext* context, uint32_t part, const char* name, uint32_t index,
                           uint32_t* found) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::findField(*context, part, name, index, *found);
}

EmlResult emlMimeFieldText(EmlMimeContext* context, uint32_t part, uint32_t index, EmlMimeText* text) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldText(*context, part, index, *text);
}

EmlResult emlMimeFieldAddresses(EmlMimeContext* context, uint32_t part, uint32_t index,
                                const EmlMimeAddress** addresses, uint32_t* count) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldAddresses(*context, part, index, *addresses, *count);
}

EmlResult emlMimeFieldDate(EmlMimeContext* context, uint32_t part, uint32_t index, EmlMimeDate* date) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldDate(*context, part, index, *date);
}

EmlResult emlMimeFieldIds(EmlMimeContext* context, uint32_t part, uint32_t index, const EmlMimeText** ids,
                          uint32_t* count) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldIds(*context, part, index, *ids, *count);
}

EmlResult emlMimeFieldParameters(EmlMimeContext* context, uint32_t part, uint32_t index, EmlMimeText* value,
                                 const EmlMimeParameter** parameters, uint32_t* count) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::fieldParameters(*context, part, index, *value, *parameters, *count);
}

EmlResult emlMimeExtract(EmlMimeContext* context, uint32_t part, uint32_t form, EmlIOobj* output,
                         EmlMimeContent* content) {
    if (context == nullptr || form > EML_MIME_TEXT) return EML_INVALID_ARGUMENT;
    if (part >= eml::partCount(*context)) return EML_NO_SUB_FILE;
    if (output != nullptr && !eml::isUsableOutput(output)) return EML_OUTPUT_UNUSABLE;
    EmlMimeContent own{};
    const EmlResult result = eml::extractContent(*context, part, form, output, own);
    if (content != nullptr) *content = own;
    return result;
}

uint32_t emlMimeDefectCount(const EmlMimeContext* context) {
    return context == nullptr ? 0 : eml::recordCount<eml::MimeDefect>(context->defects);
}

EmlResult emlMimeGetDefect(const EmlMimeContext* context, uint32_t index, EmlMimeDefect* defect) {
    if (context == nullptr) return EML_INVALID_ARGUMENT;
    return eml::describeDefect(*context, index, *defect);
}

const char* emlMimeDefectName(uint32_t code) { return eml::defectName(code); }

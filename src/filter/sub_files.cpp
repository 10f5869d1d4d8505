// The filter's description of its sub-files.
#include <cstring>

#include "bytes/unreachable.h"
#include "filter/filter_calls.h"
#include "filter/part_tables.h"
#include "host/container_queries.h"
#include "host/sub_file_records.h"

namespace eml {

namespace {

constexpr size_t kNameBufferSize = 30;
constexpr char kDefaultName[] = "zteml.mail";

uint32_t shownAttachments(const EmlFilterContext& context) {
    return context.encrypted ? 0 : static_cast<uint32_t>(context.parts.attachments.count);
}

EmlResult describeAttachment(EmlFilterContext& context, uint32_t index, EmlSubFileInfo& info,
                             EmlAllocator& allocator) {
    EmlAttachment* const attachment = attachmentAt(context, index);
    // The number has been compared with the count, and a message that opened with an attachment has parts.
    if (EML_NEVER(attachment == nullptr || context.parts.bodies.records == nullptr)) return EML_OBJECT_FAILED;
    const uint32_t shift = rootShift(context.flags);
    const char* prefix = shift != 0 ? kRootPrefix : "";
    if ((context.flags & EML_OPEN_ATTACHMENTS_FOLDER) != 0) prefix = kAttachmentsPrefix;
    info.kind = EML_KIND_ATTACHMENT;
    info.parent = static_cast<int32_t>(shift);
    info.size = measureAttachment(context, *attachment);
    return setName(info, allocator, prefix, attachmentName(context, *attachment));
}

EmlResult describeMessage(EmlFilterContext& context, EmlSubFileInfo& info, EmlAllocator& allocator) {
    const uint32_t shift = rootShift(context.flags);
    info.kind = EML_KIND_MESSAGE;
    info.flags &= ~EML_SUB_FILE_CLEARED_FOR_MESSAGE;
    if (context.encrypted) info.flags |= EML_SUB_FILE_ENCRYPTED;
    info.parent = static_cast<int32_t>(shift) - 1;
    info.size = context.messageSize;
    info.charset = settledCharset(context, info.charsetExtra);
    char name[kNameBufferSize] = {};
    // In the middle of a conversion the header cannot be read again: the name is the default one then.
    (void)mainNameDate(&context, name, info.date);
    if (name[0] == '\0') std::memcpy(name, kDefaultName, sizeof kDefaultName);
    const EmlResult result = setChildren(info, allocator, shift + 1, shownAttachments(context));
    return result == EML_OK ? setName(info, allocator, shift != 0 ? kRootPrefix : "", name) : result;
}

}  // namespace

EmlResult describeFilterSubFile(EmlFilterContext* context, int32_t index, EmlSubFileInfo* info,
                                const EmlHostRecord* hostRecord) {
    if (context == nullptr || info == nullptr || hostRecord == nullptr || hostRecord->allocator == nullptr) {
        return EML_INVALID_ARGUMENT;
    }
    const uint32_t count = subFileCount(shownAttachments(*context), context->flags);
    if (index < 0 || static_cast<uint32_t>(index) >= count) return EML_INVALID_ARGUMENT;
    EmlAllocator& allocator = *hostRecord->allocator;
    const uint32_t message = rootShift(context->flags);
    const auto number = static_cast<uint32_t>(index);
    if (number < message) return describeRootFolder(*info, allocator);
    if (number == message) return describeMessage(*context, *info, allocator);
    return describeAttachment(*context, number - message - 1, *info, allocator);
}

EmlResult attachmentInfo(EmlFilterContext* context, uint32_t index, EmlAttachmentInfo* info) {
    if (context == nullptr || info == nullptr || context->parts.bodies.records == nullptr)
        return EML_OBJECT_FAILED;
    EmlAttachment* const attachment = attachmentAt(*context, index);
    if (attachment == nullptr) return EML_OBJECT_FAILED;
    static_assert(sizeof info->name == kFileNameSize);
    std::memset(info->name, 0, sizeof info->name);
    std::memcpy(info->name, attachmentName(*context, *attachment), attachment->nameLength);
    info->zero1 = 0;
    info->size = measureAttachment(*context, *attachment);
    std::memset(info->zero2, 0, sizeof info->zero2);
    return EML_OK;
}

}  // namespace eml

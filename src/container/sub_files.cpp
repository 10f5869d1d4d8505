#include "container/sub_files.h"

#include "container/container_calls.h"
#include "container/section_body.h"
#include "host/container_queries.h"
#include "host/host_checks.h"
#include "host/sub_file_records.h"

namespace eml {

namespace {

EmlResult describeMessage(const EmlContainerContext& context, EmlSubFileInfo& info, EmlAllocator& allocator) {
    const uint32_t shift = rootShift(context.openFlags);
    info.kind = EML_KIND_MESSAGE;
    info.flags &= ~EML_SUB_FILE_CLEARED_FOR_MESSAGE;
    if (context.contentClass == EML_CLASS_PKCS7_MIME) info.flags |= EML_SUB_FILE_ENCRYPTED;
    info.parent = static_cast<int32_t>(shift) - 1;
    info.charset = context.charset;
    info.date[0] = context.mainDate[0];
    info.date[1] = context.mainDate[1];
    if (const EmlSection* body = context.plainBody) {
        info.size = bodyLength32(*body);
    }
    const auto count = static_cast<uint32_t>(context.attachmentCount);
    if (EmlResult result = setChildren(info, allocator, shift + 1, count); result != EML_OK) return result;
    return setName(info, allocator, shift != 0 ? kRootPrefix : "", context.mainName);
}

const char* attachmentPrefix(uint32_t openFlags) {
    if ((openFlags & EML_OPEN_ATTACHMENTS_FOLDER) != 0) return kAttachmentsPrefix;
    return rootShift(openFlags) != 0 ? kRootPrefix : "";
}

// The flag bits are added to what the caller's record held.
EmlResult describeAttachment(const EmlContainerContext& context, const EmlSection* section,
                             EmlSubFileInfo& info, EmlAllocator& allocator) {
    // An embedded message has no name when the open could not make one.
    if (section == nullptr || section->fileName == nullptr) return EML_NO_SUB_FILE;
    info.kind = EML_KIND_ATTACHMENT;
    info.parent = static_cast<int32_t>(rootShift(context.openFlags));
    info.size = bodyLength32(*section);
    info.flags |= section->flags & (EML_SECTION_MESSAGE | EML_SECTION_CONVERTED);
    if ((section->flags & EML_SECTION_CONVERTED) != 0) info.size = -1;
    return setName(info, allocator, attachmentPrefix(context.openFlags), section->fileName);
}

// For a message whose open ended before the table was made.
EmlSection* walkToAttachment(const EmlContainerContext& context, int64_t k) {
    for (EmlSectionNode* node = context.sections; node != nullptr; node = node->next) {
        if (node->section.isAttachment && --k == 0) return &node->section;
    }
    return nullptr;
}

}  // namespace

EmlSection* findAttachment(const EmlContainerContext& context, int64_t k) {
    if (context.attachments == nullptr) return walkToAttachment(context, k);
    return k >= 1 && k <= context.tabulatedCount ? context.attachments[k - 1] : nullptr;
}

EmlResult containerInfo(const EmlContainerContext* context, EmlContainerInfo* info,
                        const EmlHostRecord* hostRecord) {
    if (context == nullptr || info == nullptr || !isComplete(hostRecord)) return EML_INVALID_ARGUMENT;
    info->charset = context->charset;
    info->subFileCount = subFileCount(static_cast<uint32_t>(context->attachmentCount), context->openFlags);
    return EML_OK;
}

EmlResult describeSubFile(EmlContainerContext* context, int32_t number, EmlSubFileInfo* info,
                          const EmlHostRecord* hostRecord) {
    if (context == nullptr || info == nullptr || !isComplete(hostRecord)) return EML_INVALID_ARGUMENT;
    const uint32_t count = subFileCount(static_cast<uint32_t>(context->attachmentCount), context->openFlags);
    if (number < 0 || static_cast<uint32_t>(number) >= count) return EML_INVALID_ARGUMENT;
    EmlAllocator& allocator = *hostRecord->allocator;
    const int64_t k = int64_t{number} - rootShift(context->openFlags);
    if (k < 0) return describeRootFolder(*info, allocator);
    if (k == 0) return describeMessage(*context, *info, allocator);
    return describeAttachment(*context, findAttachment(*context, k), *info, allocator);
}

}  // namespace eml

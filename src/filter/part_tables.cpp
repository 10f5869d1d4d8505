#include "filter/part_tables.h"

#include <cstring>

#include "bytes/unreachable.h"

namespace eml {

EmlResult makePartRoom(EmlFilterContext& context) {
    return context.parts.bodies.reserveOne(allocatorOf(context));
}

EmlAttachment* attachmentAt(EmlFilterContext& context, uint32_t index) {
    const GrowingArray<EmlAttachment>& attachments = context.parts.attachments;
    if (attachments.records == nullptr || index >= static_cast<uint32_t>(attachments.count)) return nullptr;
    return &attachments.records[index];
}

EmlResult keepName(EmlFilterContext& context, EmlAttachment& attachment, const char* name, uint32_t length) {
    GrowingBuffer& names = context.parts.names;
    EmlAllocator& allocator = allocatorOf(context);
    attachment.name = names.length;
    attachment.nameLength = length;
    if (EmlResult result = names.reserve(allocator, uint64_t{length} + 1); result != EML_OK) return result;
    if (length != 0) std::memcpy(names.data + names.length, name, length);
    names.data[names.length + length] = 0;
    names.length += length + 1;
    return EML_OK;
}

int32_t measureAttachment(const EmlFilterContext& context, EmlAttachment& attachment) {
    attachment.size = 0;
    const GrowingArray<EmlBodyPart>& bodies = context.parts.bodies;
    // A message that opened with an attachment has parts.
    if (EML_NEVER(bodies.records == nullptr)) return attachment.size;
    if (attachment.partIndex < static_cast<uint32_t>(bodies.count)) {
        attachment.size = bodies.records[attachment.partIndex].end - static_cast<int32_t>(attachment.offset);
    }
    return attachment.size;
}

}  // namespace eml

EmlResult checkAttachments(EmlFilterContext& context) {
    return context.parts.attachments.reserveOne(eml::allocatorOf(context));
}

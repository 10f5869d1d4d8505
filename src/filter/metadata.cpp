// The filter's metadata: the header is read again for every list.
#include "filter/filter_calls.h"
#include "filter/header_fields.h"
#include "host/container_queries.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr const char kDefaultNames[][10] = {"Bcc", "Cc", "From", "Priority", "Sent", "Subject", "To"};
constexpr int32_t kDefaultCount = sizeof kDefaultNames / sizeof kDefaultNames[0];

EmlResult makeDefaultEntries(EmlMetaData& list, EmlAllocator& allocator) {
    EmlResult result = makeMetadataList(list, allocator, kDefaultCount);
    for (int32_t i = 0; result == EML_OK && i < kDefaultCount; ++i) {
        result = makeMetadataEntry(list, allocator, i, kDefaultNames[i]);
    }
    return result;
}

// KEPT: a request of another kind ends the call. Its slot and those after it stay NULL, and the list keeps its
// full count.
EmlResult makeRequestedEntries(EmlMetaData& list, EmlAllocator& allocator, int32_t count,
                               EmlMetaDataRequest* const* requests) {
    EmlResult result = makeMetadataList(list, allocator, count);
    for (int32_t i = 0; result == EML_OK && i < count; ++i) {
        const EmlMetaDataRequest* const request = requests[i];
        if (request == nullptr || request->kind != EML_REQUEST_BY_NAME) return EML_OBJECT_FAILED;
        result = makeMetadataEntry(list, allocator, i, request->name);
    }
    return result;
}

EmlResult fillEntries(EmlFilterContext& context, EmlMetaData& list, const EmlHostRecord& hostRecord) {
    EmlAllocator& allocator = allocatorOf(context);
    context.request.value.length = 0;
    EmlResult result = context.request.value.reserve(allocator, kGrowthUnit);
    context.request.hostRecord = &hostRecord;
    context.request.list = &list;
    if (result == EML_OK) result = processEMLheader(context, true);
    context.request.hostRecord = nullptr;
    context.request.list = nullptr;
    context.request.value.release(allocator);
    return result;
}

}  // namespace

EmlResult filterMetadata(EmlFilterContext* context, int32_t index, int32_t requestCount,
                         EmlMetaDataRequest** requests, EmlMetaData* metaData,
                         const EmlHostRecord* hostRecord) {
    if (context == nullptr || metaData == nullptr || hostRecord == nullptr ||
        hostRecord->allocator == nullptr || requestCount < 0) {
        return EML_INVALID_ARGUMENT;
    }
    if (index != static_cast<int32_t>(rootShift(context->flags))) return EML_OK;
    EmlAllocator& allocator = *hostRecord->allocator;
    const EmlResult result = requestCount > 0 && requests != nullptr
                                 ? makeRequestedEntries(*metaData, allocator, requestCount, requests)
                                 : makeDefaultEntries(*metaData, allocator);
    return result == EML_OK ? fillEntries(*context, *metaData, *hostRecord) : result;
}

}  // namespace eml

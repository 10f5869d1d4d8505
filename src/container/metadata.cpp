#include "container/metadata.h"

#include <cstring>

#include "container/container_calls.h"
#include "container/metadata_scan.h"
#include "host/container_queries.h"
#include "host/host_memory.h"
#include "host/metadata_records.h"

namespace eml {

namespace {

constexpr char kNames[kMetadataCount][10] = {"From", "Date", "To", "Cc", "Bcc", "Subject", "Priority"};

// KEPT: hosts see the date under the name "Sent", while the header and the default list have it as "Date".
const char* handedOutName(int32_t index) { return index == kDate ? "Sent" : kNames[index]; }

// The copy of a value has two zero bytes after it. If memory runs out, the entry has no value.
void copyValue(const EmlMetaDataEntry& from, EmlMetaDataEntry& to, EmlAllocator& allocator) {
    to.type = from.type;
    to.hasValue = from.hasValue;
    if (from.value == nullptr || from.valueLength == 0) return;
    to.value = static_cast<char*>(allocateBlock(allocator, uint64_t{from.valueLength} + 2));
    if (to.value == nullptr) return;
    std::memcpy(to.value, from.value, from.valueLength);
    std::memset(to.value + from.valueLength, 0, 2);
    to.valueLength = from.valueLength;
}

EmlResult copyDefaultList(const EmlMetaData& defaults, EmlMetaData& list, EmlAllocator& allocator) {
    if (EmlResult result = makeMetadataList(list, allocator, kMetadataCount); result != EML_OK) return result;
    for (int32_t i = 0; i < kMetadataCount; ++i) {
        if (EmlResult result = makeMetadataEntry(list, allocator, i, handedOutName(i)); result != EML_OK) {
            return result;
        }
        const EmlMetaDataEntry* const from = metadataEntry(defaults, i);
        if (from != nullptr) copyValue(*from, *list.entries[i], allocator);
    }
    return EML_OK;
}

EmlResult lookUpRequests(EmlContainerContext& context, int32_t count, EmlMetaDataRequest* const* requests,
                         EmlMetaData& list, EmlAllocator& allocator) {
    if (EmlResult result = makeMetadataList(list, allocator, count); result != EML_OK) return result;
    for (int32_t i = 0; i < count; ++i) {
        const EmlMetaDataRequest* const request = requests[i];
        const bool byName = request != nullptr && request->kind == EML_REQUEST_BY_NAME;
        if (EmlResult result = makeMetadataEntry(list, allocator, i, byName ? request->name : nullptr);
            result != EML_OK) {
            return result;
        }
    }
    return eml2GetMetaData(context, allocator, list, 0);
}

}  // namespace

const char* metadataName(int32_t index) { return kNames[index]; }

EmlResult subFileMetadata(EmlContainerContext* context, int32_t index, int32_t requestCount,
                          EmlMetaDataRequest** requests, EmlMetaData* metaData,
                          const EmlHostRecord* hostRecord) {
    if (context == nullptr || hostRecord == nullptr || hostRecord->allocator == nullptr ||
        metaData == nullptr) {
        return EML_INVALID_ARGUMENT;
    }
    if (requestCount < 0 || (requestCount > 0 && requests == nullptr)) return EML_INVALID_ARGUMENT;
    if (requestCount == 0 && requests != nullptr) return EML_OK;
    // Only the message itself has metadata.
    if (index != static_cast<int32_t>(rootShift(context->openFlags))) return EML_OK;
    EmlAllocator& allocator = *hostRecord->allocator;
    if (requests == nullptr) return copyDefaultList(context->metaData, *metaData, allocator);
    return lookUpRequests(*context, requestCount, requests, *metaData, allocator);
}

}  // namespace eml

EmlResult eml2GetDefaultMetaData(EmlContainerContext& context, EmlAllocator& allocator, EmlMetaData& list) {
    if (EmlResult result = eml::makeMetadataList(list, allocator, eml::kMetadataCount); result != EML_OK) {
        return result;
    }
    for (int32_t i = 0; i < eml::kMetadataCount; ++i) {
        if (EmlResult result = eml::makeMetadataEntry(list, allocator, i, eml::metadataName(i));
            result != EML_OK) {
            return result;
        }
    }
    return eml2GetMetaData(context, allocator, list, 1);
}

void eml2FreeMetaData(EmlContainerContext& context, EmlMetaData& list) {
    eml::releaseMetadata(list, eml::allocatorOf(context));
}

#include "host/metadata_records.h"

#include <bit>
#include <cstring>

#include "host/host_memory.h"

namespace eml {

namespace {

// Bit t is set when a value of type t is a block that the entry owns.
constexpr uint32_t kOwningTypes = 0xF84;

bool ownsValue(uint32_t type) { return type < 12 && (kOwningTypes >> type & 1) != 0; }

// The size of the block that holds a value of `length` bytes and its terminator. It follows from the length
// alone.
uint64_t valueBlockSize(uint64_t length) { return std::bit_ceil(length + 1); }

EmlResult loseValue(EmlMetaDataEntry& entry) {
    entry.value = nullptr;
    entry.valueLength = 0;
    entry.hasValue = 0;
    return EML_NO_MEMORY;
}

void appendBytes(EmlMetaDataEntry& entry, const void* bytes, size_t length) {
    std::memcpy(entry.value + entry.valueLength, bytes, length);
    entry.valueLength += static_cast<uint32_t>(length);
    entry.value[entry.valueLength] = '\0';
}

}  // namespace

EmlResult makeMetadataList(EmlMetaData& list, EmlAllocator& allocator, int32_t count) {
    list.entries = allocateRecords<EmlMetaDataEntry*>(allocator, static_cast<uint32_t>(count));
    list.count = list.entries != nullptr ? count : 0;
    return list.entries != nullptr ? EML_OK : EML_NO_MEMORY;
}

EmlResult makeMetadataEntry(EmlMetaData& list, EmlAllocator& allocator, int32_t index, const char* name) {
    auto* entry = allocateRecords<EmlMetaDataEntry>(allocator);
    list.entries[index] = entry;
    if (entry == nullptr) return EML_NO_MEMORY;
    entry->type = EML_TYPE_TEXT;
    if (name == nullptr) return EML_OK;
    entry->name = copyText(allocator, name, std::strlen(name));
    return entry->name != nullptr ? EML_OK : EML_NO_MEMORY;
}

EmlResult storeMetadataValue(EmlMetaDataEntry& entry, EmlAllocator& allocator, const uint8_t* value,
                             uint32_t length) {
    if (entry.value == nullptr) {
        entry.value = static_cast<char*>(allocateBlock(allocator, valueBlockSize(length)));
        if (entry.value == nullptr) return loseValue(entry);
        entry.valueLength = 0;
        entry.hasValue = 1;
        appendBytes(entry, value, length);
        return EML_OK;
    }
    const uint64_t joined = uint64_t{entry.valueLength} + kValueSeparator.size() + length;
    if (valueBlockSize(joined) != valueBlockSize(entry.valueLength)) {
        entry.value = static_cast<char*>(reallocateBlock(allocator, entry.value, valueBlockSize(joined)));
        if (entry.value == nullptr) return loseValue(entry);
    }
    appendBytes(entry, kValueSeparator.data(), kValueSeparator.size());
    appendBytes(entry, value, length);
    return EML_OK;
}

Cursor metadataText(const EmlMetaDataEntry* entry, const char* name) {
    if (entry == nullptr || entry->type != EML_TYPE_TEXT || entry->value == nullptr || entry->name == nullptr)
        return {};
    if (std::strcmp(entry->name, name) != 0) return {};
    const auto* value = reinterpret_cast<const uint8_t*>(entry->value);
    return {value, value + entry->valueLength};
}

void releaseMetadata(EmlMetaData& list, EmlAllocator& allocator) {
    if (list.entries == nullptr) return;
    for (int32_t i = 0; i < list.count; ++i) {
        EmlMetaDataEntry* const entry = list.entries[i];
        if (entry == nullptr) continue;
        freeBlock(allocator, entry->name);
        if (ownsValue(entry->type)) freeBlock(allocator, entry->value);
        freeBlock(allocator, entry);
    }
    freeBlock(allocator, list.entries);
    list.entries = nullptr;
    list.count = 0;
}

}  // namespace eml

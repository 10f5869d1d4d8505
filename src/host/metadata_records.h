// Metadata lists, as far as both readers handle them alike.
#pragma once

#include <emlreader/eml_host.h>

#include "bytes/cursor.h"

namespace eml {

// Separates the values of a field that occurs more than once, so that hosts can split them again.
inline constexpr std::string_view kValueSeparator = "#####";

// A list of `count` empty slots. After EML_NO_MEMORY the list has none.
[[nodiscard]] EmlResult makeMetadataList(EmlMetaData& list, EmlAllocator& allocator, int32_t count);

// A text entry at `index`, named by a copy of `name` unless that is NULL.
[[nodiscard]] EmlResult makeMetadataEntry(EmlMetaData& list, EmlAllocator& allocator, int32_t index,
                                          const char* name);

// Stores a value of at least one byte, zero-terminated: as the entry's value, or after the one that it has
// and the separator. Blocks grow in powers of two, so that a field that occurs often is joined in linear
// time. EML_NO_MEMORY leaves the entry without a value.
[[nodiscard]] EmlResult storeMetadataValue(EmlMetaDataEntry& entry, EmlAllocator& allocator,
                                           const uint8_t* value, uint32_t length);

// The entry at `index`, or NULL. Lists may be half built.
[[nodiscard]] inline EmlMetaDataEntry* metadataEntry(const EmlMetaData& list, int32_t index) {
    return list.entries != nullptr && index < list.count ? list.entries[index] : nullptr;
}

// The value of a text entry named exactly `name`; empty without one.
[[nodiscard]] Cursor metadataText(const EmlMetaDataEntry* entry, const char* name);

// Frees entries, names, values and array.
void releaseMetadata(EmlMetaData& list, EmlAllocator& allocator);

}  // namespace eml

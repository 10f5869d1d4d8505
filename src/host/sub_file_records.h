// Fills in EmlSubFileInfo, as far as both readers do so alike.
#pragma once

#include <emlreader/eml_host.h>

namespace eml {

// Prefixes of sub-file names.
inline constexpr char kRootPrefix[] = "root/";
inline constexpr char kAttachmentsPrefix[] = "Attachments/";

// Prefix and name as one text of the host, with room to widen it in place.
[[nodiscard]] EmlResult setName(EmlSubFileInfo& info, EmlAllocator& allocator, const char* prefix,
                                const char* name);

// `count` children numbered from `first` on. No array is made for none.
[[nodiscard]] EmlResult setChildren(EmlSubFileInfo& info, EmlAllocator& allocator, uint32_t first,
                                    uint32_t count);

// The root folder: number 0, whose only child is the message.
[[nodiscard]] EmlResult describeRootFolder(EmlSubFileInfo& info, EmlAllocator& allocator);

}  // namespace eml

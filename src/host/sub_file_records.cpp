#include "host/sub_file_records.h"

#include <cstring>

#include "host/host_memory.h"

namespace eml {

EmlResult setName(EmlSubFileInfo& info, EmlAllocator& allocator, const char* prefix, const char* name) {
    const size_t prefixLength = std::strlen(prefix);
    const size_t nameLength = std::strlen(name);
    // KEPT: the block of a name has four bytes for each character and eight more. Hosts widen names in place.
    const uint64_t size = (uint64_t{prefixLength} + nameLength) * 4 + 8;
    info.name = static_cast<char*>(allocateBlock(allocator, size));
    if (info.name == nullptr) return EML_NO_MEMORY;
    std::memcpy(info.name, prefix, prefixLength);
    std::memcpy(info.name + prefixLength, name, nameLength + 1);
    return EML_OK;
}

EmlResult setChildren(EmlSubFileInfo& info, EmlAllocator& allocator, uint32_t first, uint32_t count) {
    info.childCount = count;
    if (count == 0) return EML_OK;
    info.children = static_cast<uint32_t*>(allocateBlock(allocator, uint64_t{count} * sizeof(uint32_t)));
    if (info.children == nullptr) return EML_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i) info.children[i] = first + i;
    return EML_OK;
}

EmlResult describeRootFolder(EmlSubFileInfo& info, EmlAllocator& allocator) {
    info.kind = EML_KIND_FOLDER;
    info.parent = -1;
    info.flags = 0;
    if (EmlResult result = setChildren(info, allocator, 1, 1); result != EML_OK) return result;
    return setName(info, allocator, kRootPrefix, "");
}

}  // namespace eml

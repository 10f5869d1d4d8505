// Texts of the host: copies and character conversions.
#pragma once

#include <emlreader/eml_host.h>

#include "host/host_memory.h"

namespace eml {

// A copy made by the host, freed with its allocator; NULL when memory runs out.
[[nodiscard]] inline char* duplicateText(EmlHostServices& services, const char* text) {
    return services.duplicateString != nullptr ? services.duplicateString(&services, text) : nullptr;
}

// A converted text, in a block of the services' allocator. Empty when the conversion yielded nothing, memory
// ran out, or the host contradicted itself.
struct ConvertedText {
    uint8_t* bytes;
    uint32_t length;
};

// Converts from `charset` to `target`; characters missing from the target become "?".
[[nodiscard]] ConvertedText convertBetween(EmlHostServices& services, const void* text, uint32_t length,
                                           uint32_t charset, uint32_t target);

// How many bytes convertBetween would give; 0 for nothing.
[[nodiscard]] uint32_t convertedSize(EmlHostServices& services, const void* text, uint32_t length,
                                     uint32_t charset, uint32_t target);

// The same conversion into the bytes of `room`. Returns how many; 0 when the conversion yielded nothing, or
// the host claims to have written more than there is room for.
[[nodiscard]] uint32_t convertInto(EmlHostServices& services, const void* text, uint32_t length,
                                   uint32_t charset, uint32_t target, EmlTextSpan room);

}  // namespace eml

// From `charset` to the host's 16-bit text, with two zero bytes after it. Returns the text and its length in
// bytes, or NULL. The caller frees it with the services' allocator.
[[nodiscard]] uint8_t* eml2ConvertText(EmlHostServices& services, const void* text, uint32_t length,
                                       uint32_t charset, uint32_t& resultLength);

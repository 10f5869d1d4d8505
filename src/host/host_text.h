// Texts of the host: copies and character conversions.
#pragma once

#include <emlreader/eml_host.h>

#include "host/host_memory.h"

namespace eml {

// A copy made by the host, freed with its allocator; NULL when memory is exhausted.
[[nodiscard]] inline char* duplicateText(EmlHostServices& services, const char* text) {
    return services.duplicateString != nullptr ? services.duplicateString(&services, text) : nullptr;
}

// A text that a conversion made, in a block of the services' allocator. Empty when there is none: the
// conversion gave nothing, memory was exhausted, or the host contradicted itself.
struct ConvertedText {
    uint8_t* bytes;
    uint32_t length;
};

// From `charset` to `target`, characters that the target lacks replaced by "?".
[[nodiscard]] ConvertedText convertBetween(EmlHostServices& services, const void* text, uint32_t length,
                                           uint32_t charset, uint32_t target);

}  // namespace eml

// From `charset` to the host's 16-bit text, with two zero bytes behind it. Gives the text and its length in
// bytes, or NULL. The caller frees it with the services' allocator.
[[nodiscard]] uint8_t* eml2ConvertText(EmlHostServices& services, const void* text, uint32_t length,
                                       uint32_t charset, uint32_t& resultLength);

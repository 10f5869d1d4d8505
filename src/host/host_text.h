// Texts of the host.
#pragma once

#include <emlreader/eml_host.h>

namespace eml {

// A copy made by the host, freed with its allocator; NULL when memory is exhausted.
[[nodiscard]] inline char* duplicateText(EmlHostServices& services, const char* text) {
    return services.duplicateString != nullptr ? services.duplicateString(&services, text) : nullptr;
}

}  // namespace eml

// Checks of what the host passes in.
#pragma once

#include <emlreader/eml_host.h>

namespace eml {

// Both fields must be set. The second allocates what the host receives.
[[nodiscard]] inline bool isComplete(const EmlHostRecord* record) {
    return record != nullptr && record->hostOwned != 0 && record->allocator != nullptr;
}

// An output must be writable from the start and closable. Its entries are checked before it is opened,
// so that nothing is left open that cannot be closed.
[[nodiscard]] inline bool isUsableOutput(const EmlIOobj* output) {
    return output != nullptr && output->open != nullptr && output->close != nullptr &&
           output->seek != nullptr && output->write != nullptr;
}

}  // namespace eml

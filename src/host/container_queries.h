// The answers about the container that both readers give alike.
#pragma once

#include <emlreader/eml.h>

namespace eml {

// 1 when number 0 is the root folder and every other number is one higher, else 0.
[[nodiscard]] inline uint32_t rootShift(uint32_t openFlags) {
    return (openFlags & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
}

// The number of sub-files: the message, its attachments, and the root folder if there is one.
[[nodiscard]] inline uint32_t subFileCount(uint32_t attachmentCount, uint32_t openFlags) {
    return attachmentCount + 1 + rootShift(openFlags);
}

}  // namespace eml

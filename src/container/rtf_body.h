// The RTF body of a message, after the header block of a rendering.
#pragma once

#include <emlreader/eml_host.h>

namespace eml {

// Writes the text of a transfer-decoded RTF body, which usually comes packed (MS-OXRTFCP). After a header
// block the text goes on in the group that the block opened. Without memory nothing is written.
void writeRtfBody(EmlAllocator& allocator, const uint8_t* body, uint32_t length, EmlIOobj& output);

}  // namespace eml

// Compressed RTF (MS-OXRTFCP), slowly: what a body unpacks to, and a compressor for round trips.
#pragma once

#include "reference/bytes.h"

namespace reference {

// The 207 bytes that references may reach before the text.
[[nodiscard]] const std::string& rtfDictionary();

// The text of a transfer-decoded RTF body: packed, stored, or what follows 16 bytes.
[[nodiscard]] Bytes textOfRtfBody(const Bytes& body);

// A header of 16 bytes. The two fields that nothing reads hold a pattern.
[[nodiscard]] Bytes packedRtfHeader(std::string_view type, uint32_t rawSize);

// `text` as "LZFu", each place by its longest match; with `literalsOnly` without any reference. An
// end-of-text reference is written, as real writers do.
[[nodiscard]] Bytes packRtf(const Bytes& text, bool literalsOnly = false);

}  // namespace reference

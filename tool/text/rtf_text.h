// The text in RTF, for reading on a terminal or in a page. It is not a word processor: fonts, colours and pictures are
// dropped.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace emltool {

// Groups inside groups deeper than this share their properties with those around them.
inline constexpr size_t kMaxRtfDepth = 1000;

// The text in UTF-8; paragraphs end with LF, cells of a table with a tab. Empty if `rtf` is not RTF, or was
// made from HTML.
std::string rtfToText(std::span<const uint8_t> rtf);

// The HTML that RTF was made from (MS-OXRTFEX), in UTF-8 whatever it says itself; nothing if it was not. It is as
// trustworthy as any HTML in mail.
std::optional<std::string> htmlInRtf(std::span<const uint8_t> rtf);

}  // namespace emltool

/*
 * Sizes as people write them in options.
 */
#ifndef EMLREADER_TOOL_SIZE_TEXT_H
#define EMLREADER_TOOL_SIZE_TEXT_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace emltool {

/* "4096", "64K", "512M", "2G": bytes, or powers of 1024 of them. Nothing for any other text. */
std::optional<uint64_t> parseSize(std::string_view text);

}  // namespace emltool

#endif

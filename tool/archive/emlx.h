// A message in a file of its own whose first line is the number of its bytes. A property list follows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace emltool {

// Where the message is.
struct EmlxPlace {
    uint64_t offset = 0;
    uint64_t length = 0;
};

// As many bytes of a file are enough to see that it is none.
constexpr size_t kEmlxBeginning = 256;

// Puts what is at the position into the room, and returns how much that is.
using BytesAt = std::function<size_t(uint64_t position, std::span<char> room)>;

// Nothing if the file of `size` bytes that begins so is none. The bytes decide: a number alone on the first line, a
// header after it, and at its end nothing or XML. A name that ends with ".emlx" decides where only one of the last two
// is there; such a file may also have been cut off.
std::optional<EmlxPlace> findEmlx(std::string_view beginning, uint64_t size, std::string_view name,
                                  const BytesAt& bytesAt);

}  // namespace emltool

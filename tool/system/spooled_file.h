// Bytes that are written once and then read: in memory, or in a temporary file if there are many.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "standalone/input.h"
#include "standalone/output.h"
#include "standalone/unique_descriptor.h"

namespace emltool {

class SpooledFile final : public emlhost::BufferedOutput {
  public:
    // More bytes than these go to a file without a name.
    static constexpr size_t kMaxInMemory = size_t{4} << 20;

    SpooledFile() : BufferedOutput(Seeking::kAnywhere) {}

    void append(std::string_view text);

    // What was written, moved out. `subject` is what a lack of memory is reported about. Throws Problem if
    // anything could not be written.
    std::unique_ptr<emlhost::Input> takeInput(const std::string& subject);

  private:
    int drain(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
    int restart() noexcept override;
    int moveToFile();

    std::vector<uint8_t> held_;
    emlhost::UniqueDescriptor file_;  // valid once there is too much for memory
};

}  // namespace emltool

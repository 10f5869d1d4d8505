// Where the content of a sub-file comes from.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "standalone/message.h"
#include "standalone/output.h"
#include "tool/message/tree.h"

namespace emltool {

// A sub-file of an open message.
class PartContent final : public SubFileContent {
  public:
    PartContent(emlhost::OpenMessage& message, int32_t number) : message_(message), number_(number) {}

    emlhost::Extraction extract(emlhost::Output& output) override;

    // The first bytes, or fewer if there are no more. They are noted during an extraction, so that the
    // sub-file need not be decoded again.
    std::span<const uint8_t> beginning();

  private:
    class Watch;
    static constexpr size_t kBeginning = 4;

    emlhost::OpenMessage& message_;
    int32_t number_;
    std::array<uint8_t, kBeginning> beginning_{};
    size_t beginningSize_ = 0;
    bool extracted_ = false;
};

// Bytes in memory, which must outlive it.
class BytesContent final : public SubFileContent {
  public:
    explicit BytesContent(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    emlhost::Extraction extract(emlhost::Output& output) override;

  private:
    std::span<const uint8_t> bytes_;
};

}  // namespace emltool

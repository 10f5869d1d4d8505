// The decoded content of a part, as the MIME reader has it.
#pragma once

#include <array>
#include <cstdint>
#include <emlreader/mime.hpp>
#include <span>

#include "tool/message/tree.h"

namespace emltool {

class MimeContent final : public SubFileContent {
  public:
    MimeContent(const emlreader::mime::Message& message, uint32_t part) : message_(message), part_(part) {}

    emlhost::Extraction extract(emlhost::Output& output) override;

    // The first bytes, or fewer if there are no more.
    std::span<const uint8_t> beginning();

  private:
    static constexpr size_t kBeginning = 4;

    const emlreader::mime::Message& message_;
    uint32_t part_;
    std::array<uint8_t, kBeginning> beginning_{};
};

}  // namespace emltool

// An output that keeps only what identifies its bytes.
#pragma once

#include <algorithm>
#include <span>
#include <string>

#include "standalone/output.h"
#include "tool/text/sha256.h"

namespace emltool {

class DigestOutput final : public emlhost::Output {
  public:
    DigestOutput() : Output(Seeking::kNotAtAll) {}

    // Each ends its digest: at most once.
    std::string digest() { return hexText(bytes_.finish()); }

    // The digest without CR, and without line ends at the end: readers differ in these.
    std::string digestOfLines() { return hexText(lines_.finish()); }

    void take(std::span<const uint8_t> bytes) noexcept {
        bytes_.update(bytes);
        while (!bytes.empty()) {
            const auto end = std::ranges::find_if(bytes, [](uint8_t b) { return b == '\r' || b == '\n'; });
            const auto length = static_cast<size_t>(end - bytes.begin());
            if (length != 0) endLines();
            lines_.update(bytes.first(length));
            for (bytes = bytes.subspan(length); !bytes.empty() && (bytes[0] == '\r' || bytes[0] == '\n');
                 bytes = bytes.subspan(1)) {
                if (bytes[0] == '\n') ++lineEnds_;
            }
        }
    }

  private:
    // The line ends before a byte that is none count.
    void endLines() noexcept {
        constexpr uint8_t kLineEnds[64] = {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10,
                                           10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10,
                                           10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10,
                                           10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10};
        while (lineEnds_ > 0) {
            const size_t count = static_cast<size_t>(std::min<uint64_t>(lineEnds_, sizeof kLineEnds));
            lines_.update(std::span(kLineEnds, count));
            lineEnds_ -= count;
        }
    }

    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        take(bytes);
        return 0;
    }
    int restart() noexcept override {
        bytes_.restart();
        lines_.restart();
        lineEnds_ = 0;
        return 0;
    }

    Sha256 bytes_;
    Sha256 lines_;
    uint64_t lineEnds_ = 0;
};

}  // namespace emltool

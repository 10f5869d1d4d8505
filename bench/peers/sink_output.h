// A sink as the stand-alone host's output.
#pragma once

#include "bench/peers/driver.h"
#include "standalone/output.h"

namespace emlbench {

class SinkOutput final : public emlhost::Output {
  public:
    explicit SinkOutput(Sink& sink) noexcept : Output(Seeking::kAnywhere), sink_(sink) {}

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        sink_.take(bytes.data(), bytes.size());
        return 0;
    }

    Sink& sink_;
};

}  // namespace emlbench

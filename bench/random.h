// Numbers for the generator: the same sequence for the same seed on every machine.
#pragma once

#include <cstdint>
#include <random>

namespace emlbench {

class Random {
  public:
    explicit Random(uint64_t seed) : engine_(seed) {}

    // 0 to limit - 1. The standard's distributions differ between libraries; this does not.
    uint64_t below(uint64_t limit) { return engine_() % limit; }

    uint64_t bits() { return engine_(); }

  private:
    std::mt19937_64 engine_;
};

}  // namespace emlbench

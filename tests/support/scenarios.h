// Messages that between them reach every step of the container reader, for tests that disturb the host.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace eml::test {

struct Scenario {
    const char* name;
    std::string message;
    uint32_t flags;
};

[[nodiscard]] const std::vector<Scenario>& scenarios();

}  // namespace eml::test

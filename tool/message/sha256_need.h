// What cannot be done without SHA-256.
#pragma once

#include <string_view>

namespace emltool {

// Throws Problem if this program cannot compute SHA-256, which `what` needs: "--digest".
void needSha256(std::string_view what);

}  // namespace emltool

#pragma once

namespace emltool {

inline constexpr const char* kVersion = EML_VERSION;

}  // namespace emltool

// The charset that HTML says itself that it has.
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// The charset that HTML names in a <meta> of its first kilobytes; empty without one.
std::string metaCharset(std::string_view html);

}  // namespace emltool

#ifndef EMLREADER_TOOL_VERSION_H
#define EMLREADER_TOOL_VERSION_H

namespace emltool {

inline constexpr const char* kVersion = EML_VERSION;

}  // namespace emltool

#endif

#pragma once

namespace emltool {

// The file eml-1.schema.json, which the build puts in here.
extern const char* const kSchemaText;

}  // namespace emltool

#pragma once

namespace emltool {

// The files eml-1.schema.json and eml-2.schema.json, which the build puts in here.
extern const char* const kSchemaText1;
extern const char* const kSchemaText2;

}  // namespace emltool

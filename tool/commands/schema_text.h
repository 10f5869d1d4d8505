#pragma once

namespace emltool {

// The files eml-*.schema.json, which the build puts in here.
extern const char* const kSchemaText1;
extern const char* const kSchemaText2;
extern const char* const kTreeSchemaText;
extern const char* const kCompareSchemaText;
extern const char* const kSearchSchemaText;

}  // namespace emltool

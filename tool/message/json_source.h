// The source of an answer, as all rows have it.
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "tool/message/json_text.h"

namespace emltool {

// Puts the member "source". `schema` is the version of the answers: 2 has more.
void putSource(rapidjson::Writer<rapidjson::StringBuffer>& json, const AnswerSource& source, int schema);

}  // namespace emltool

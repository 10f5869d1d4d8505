#include "tool/message/json_fields.h"

#include "tool/archive/maildir.h"

namespace emltool {

void putSource(JsonWriter& json, const AnswerSource& source, int schema) {
    json.Key("source");
    json.StartObject();
    putField(json, "path", source.path);
    if (!isUtf8(source.path)) putField(json, "path_b64", base64(source.path));
    if (source.index) putNumber(json, "index", *source.index);
    if (source.index && schema != 1) {
        putNumber(json, "offset", source.offset);
        putNumber(json, "length", source.length);
    }
    if (const auto flags = maildirFlags(source.path); flags && schema != 1) {
        json.Key("maildir_flags");
        json.StartArray();
        for (const std::string_view flag : *flags) putText(json, flag);
        json.EndArray();
    }
    json.EndObject();
}

}  // namespace emltool

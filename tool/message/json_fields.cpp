#include "tool/message/json_fields.h"

#include "tool/archive/maildir.h"

namespace emltool {

namespace {

void putMember(JsonWriter& json, std::string_view name) {
    putField(json, "member", name);
    if (!isUtf8(name)) putField(json, "member_b64", base64(name));
}

}  // namespace

void putSource(JsonWriter& json, const AnswerSource& source, int schema) {
    json.Key("source");
    json.StartObject();
    putField(json, "path", source.path);
    if (!isUtf8(source.path)) putField(json, "path_b64", base64(source.path));
    if (source.index) putNumber(json, "index", *source.index);
    if (schema != 1 && source.member) putMember(json, *source.member);
    if (schema != 1 && source.hasPlace) {
        putNumber(json, "offset", source.offset);
        putNumber(json, "length", source.length);
    }
    const auto flags = maildirFlags(source.member ? *source.member : source.path);
    if (flags && schema != 1) {
        json.Key("maildir_flags");
        json.StartArray();
        for (const std::string_view flag : *flags) putText(json, flag);
        json.EndArray();
    }
    json.EndObject();
}

}  // namespace emltool

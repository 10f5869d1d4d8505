#include "tool/message/comparison_json.h"

#include "tool/message/comparison_words.h"
#include "tool/message/json_fields.h"

namespace emltool {

namespace {

constexpr const char* kSchema = "eml-compare/1";
constexpr OfReadings<const char*> kKeys = {"mime", "container", "filter"};

void putPlace(JsonWriter& json, const PartPlace& place) {
    putNumber(json, "part", place.part);
    json.Key("section");
    if (place.section.empty()) {
        json.Null();
    } else {
        putText(json, place.section);
    }
    putField(json, "type", place.type);
    putNumber(json, "offset", place.offset);
    putNumber(json, "stored_size", place.length);
}

void putSighting(JsonWriter& json, size_t reading, const ContentRow& row) {
    json.Key(kKeys[reading]);
    json.StartObject();
    putField(json, "mark", markWord(row.marks[reading]));
    if (row.sightings[reading]) {
        const Sighting& one = *row.sightings[reading];
        putNumber(json, "number", one.number);
        putField(json, "name", one.name);
        putTruth(json, "named", one.isNamed);
        if (one.isInFile) {
            putNumber(json, "size", one.size);
            putField(json, "sha256", one.sha256);
        }
    }
    json.EndObject();
}

void putContent(JsonWriter& json, const ContentRow& row) {
    json.StartObject();
    putField(json, "name", row.name());
    putTruth(json, "agree", row.agrees());
    if (row.place) {
        json.Key("place");
        json.StartObject();
        putPlace(json, *row.place);
        json.EndObject();
    }
    for (size_t i = 0; i < kReadings; ++i) putSighting(json, i, row);
    json.EndObject();
}

void putReadText(JsonWriter& json, const char* key, const Comparison& comparison,
                 ReadText ReadingResult::*which) {
    json.Key(key);
    json.StartObject();
    bool agree = true;
    for (const ReadingResult& one : comparison.readings) agree = agree && (one.*which).agrees;
    putTruth(json, "agree", agree);
    for (size_t i = 0; i < kReadings; ++i) {
        const ReadText& text = comparison.readings[i].*which;
        json.Key(kKeys[i]);
        json.StartObject();
        putTruth(json, "agree", text.agrees);
        putField(json, "text", text.text);
        json.EndObject();
    }
    json.EndObject();
}

void putLeftOut(JsonWriter& json, const LeftOut& one) {
    json.StartObject();
    putPlace(json, one.place);
    putField(json, "name", one.name);
    putNumber(json, "size", one.size);
    putTruth(json, "other_form", one.isOtherForm);
    json.EndObject();
}

// What each reading leaves out, and why.
void putReadings(JsonWriter& json, const Comparison& comparison) {
    json.Key("readings");
    json.StartObject();
    for (size_t i = 0; i < kReadings; ++i) {
        const ReadingResult& one = comparison.readings[i];
        json.Key(kKeys[i]);
        json.StartObject();
        json.Key("problem");
        if (one.problem.empty()) {
            json.Null();
        } else {
            putText(json, one.problem);
        }
        json.Key("left_out");
        json.StartArray();
        for (const LeftOut& part : one.leftOut) putLeftOut(json, part);
        json.EndArray();
        json.EndObject();
    }
    json.EndObject();
}

void putBetweenParts(JsonWriter& json, const Comparison& comparison) {
    json.Key("between_parts");
    json.StartArray();
    for (const BetweenParts& one : comparison.betweenParts) {
        json.StartObject();
        putField(json, "kind", one.isEpilogue ? "epilogue" : "preamble");
        putNumber(json, "part", one.part);
        putNumber(json, "offset", one.offset);
        putNumber(json, "length", one.length);
        putField(json, "beginning", one.beginning);
        json.EndObject();
    }
    json.EndArray();
}

}  // namespace

std::string comparisonLine(std::string_view source, const Comparison& comparison) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putBeginning(json, kSchema, source, nullptr);
    putTruth(json, "agree", comparison.agrees());
    json.Key("contents");
    json.StartArray();
    for (const ContentRow& row : comparison.contents) putContent(json, row);
    json.EndArray();
    putReadText(json, "subject", comparison, &ReadingResult::subject);
    putReadText(json, "text", comparison, &ReadingResult::text);
    putReadings(json, comparison);
    putBetweenParts(json, comparison);
    json.EndObject();
    return lineOf(buffer);
}

std::string comparisonLine(std::string_view source, const Problem& problem) {
    rapidjson::StringBuffer buffer;
    JsonWriter json(buffer);
    json.StartObject();
    putBeginning(json, kSchema, source, &problem);
    json.EndObject();
    return lineOf(buffer);
}

}  // namespace emltool

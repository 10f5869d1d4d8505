#include "tool/batch/row_facts.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <array>

#include "tool/text/base64_text.h"

namespace emltool {

namespace {

// Takes what is wanted where it stands, and returns false to stop the reader once nothing more can come.
class RowHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RowHandler> {
  public:
    RowHandler(RowFacts& facts, bool onlySource) : facts_(facts), onlySource_(onlySource) {}

    bool hasSource() const { return hasSource_; }

    bool StartObject() {
        ++depth_;
        return true;
    }
    bool StartArray() { return StartObject(); }
    bool EndArray(rapidjson::SizeType) {
        --depth_;
        return true;
    }
    bool EndObject(rapidjson::SizeType) {
        hasSource_ = hasSource_ || isAt(2, "source");
        --depth_;
        return !(hasSource_ && onlySource_);
    }

    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (depth_ > keys_.size()) return true;
        std::string& key = keys_[depth_ - 1];
        key.assign(text, length);
        if (!isAt(2, "message")) return true;
        if (key == "references") fields();
        return key != "sub_files";  // these may be many, with messages of their own
    }

    bool String(const char* text, rapidjson::SizeType length, bool) {
        const std::string_view value(text, length);
        if (isAt(2, "source")) {
            if (keys_[1] == "path") facts_.path = value;
            if (keys_[1] == "path_b64") facts_.path = bytesOfBase64(value);
        } else if (isAt(2, "message")) {
            if (keys_[1] == "message_id") fields().messageId = value;
        } else if (isAt(3, "message")) {
            if (keys_[1] == "in_reply_to") fields().inReplyTo.emplace_back(value);
            if (keys_[1] == "references") fields().references.emplace_back(value);
            if (keys_[1] == "metadata" && keys_[2] == "subject") facts_.subject = value;
        }
        return true;
    }
    bool Uint(unsigned value) { return Uint64(value); }
    bool Uint64(uint64_t value) {
        if (isAt(2, "source") && keys_[1] == "index") facts_.index = value;
        return true;
    }

  private:
    // Whether this is inside so many objects and arrays, the second of which is the member `name`.
    bool isAt(size_t depth, std::string_view name) const { return depth_ == depth && keys_[0] == name; }

    ThreadFields& fields() {
        if (!facts_.threadFields) facts_.threadFields.emplace();
        return *facts_.threadFields;
    }

    RowFacts& facts_;
    bool onlySource_;
    bool hasSource_ = false;
    size_t depth_ = 0;
    std::array<std::string, 3> keys_;  // of the outermost objects
};

// Not by recursion: the row may come from anywhere.
bool read(std::string_view row, RowFacts& facts, bool onlySource) {
    facts = {};
    rapidjson::MemoryStream stream(row.data(), row.size());
    rapidjson::Reader reader;
    RowHandler handler(facts, onlySource);
    reader.Parse<rapidjson::kParseIterativeFlag | rapidjson::kParseStopWhenDoneFlag>(stream, handler);
    return handler.hasSource();
}

}  // namespace

bool readRowSource(std::string_view row, RowFacts& facts) { return read(row, facts, true); }

bool readRowFacts(std::string_view row, RowFacts& facts) { return read(row, facts, false); }

}  // namespace emltool

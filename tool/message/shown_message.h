// A message as a person reads it, made from the text records of the message filter.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "standalone/text_records.h"

namespace emltool {

// Receives what is read. Texts are UTF-8, and not safe for a terminal.
class MessageReader {
  public:
    virtual ~MessageReader() = default;

    // A field: "From" and its value.
    virtual void field(std::string_view name, std::string_view value) = 0;

    // The fields have ended.
    virtual void bodyBegins() = 0;

    // A line of the body, without its line end.
    virtual void line(std::string_view text) = 0;
};

// Turns the records of one conversion into fields and lines.
class RecordReader {
  public:
    explicit RecordReader(MessageReader& reader) : reader_(reader) {}

    void take(const emlhost::TextRecord& record);

    // No record follows.
    void finish();

    bool inBody() const { return where_ == Where::kBody; }

  private:
    // kEnded: after a line end that may end a value, or be part of one of its words. kDoubt: after a charset
    // record there, which begins a word of the value or the body.
    enum class Where { kPrologue, kFields, kName, kValue, kEnded, kDoubt, kBody };

    void takeText(std::string_view text);
    void takeCharset(uint32_t charset);
    void takeAttribute(uint32_t attribute);
    void takeLineBreak();
    void goOnWithValue();
    void endValue();
    void beginBody();
    void convertPending();

    MessageReader& reader_;
    Where where_ = Where::kPrologue;
    uint32_t charset_ = 0;
    std::string name_;
    std::string pending_;  // bytes in charset_ that are not converted yet
    std::string text_;     // the value or the line so far, in UTF-8
    bool lineBegun_ = false;
    bool inWord_ = false;  // of a value, in a charset of its own
};

}  // namespace emltool

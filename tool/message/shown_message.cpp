#include "tool/message/shown_message.h"

#include <emlreader/eml_host.h>

#include "tool/text/charset_labels.h"

namespace emltool {

namespace {

using emlhost::RecordTag;

constexpr uint32_t kBoldOn = 0x8001;

std::string_view trimmed(std::string_view text) {
    size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

}  // namespace

void RecordReader::take(const emlhost::TextRecord& record) {
    switch (record.tag) {
        case RecordTag::kText:
            takeText(record.text());
            break;
        case RecordTag::kTab:
            // After a field name there are two, which only align the value.
            if (where_ == Where::kBody || where_ == Where::kDoubt) pending_ += '\t';
            lineBegun_ = true;
            break;
        case RecordTag::kAttribute:
            takeAttribute(record.word());
            break;
        case RecordTag::kLineBreak:
            takeLineBreak();
            break;
        case RecordTag::kCharset:
            takeCharset(record.word());
            break;
        default:
            break;  // the page
    }
}

void RecordReader::takeText(std::string_view text) {
    if (where_ == Where::kEnded) goOnWithValue();
    (where_ == Where::kName ? name_ : pending_) += text;
    lineBegun_ = true;
}

// There is a charset record in the prologue, around words of a value, and where the body begins. After a word
// it is always the default one.
void RecordReader::takeCharset(uint32_t charset) {
    if (where_ == Where::kDoubt) goOnWithValue();  // no body has another one
    if (where_ == Where::kEnded && charset != EML_CHARSET_WESTERN) {
        where_ = Where::kDoubt;
        charset_ = charset;
        lineBegun_ = false;
        return;
    }
    convertPending();
    charset_ = charset;
    inWord_ = where_ == Where::kValue && charset != EML_CHARSET_WESTERN;
    if (where_ == Where::kPrologue) {
        where_ = Where::kFields;
    } else if (where_ == Where::kFields || where_ == Where::kEnded) {
        beginBody();
    }
}

void RecordReader::takeAttribute(uint32_t attribute) {
    inWord_ = false;
    if (where_ == Where::kEnded) endValue();
    if (where_ == Where::kDoubt) beginBody();
    if (attribute == kBoldOn) {
        where_ = Where::kName;
        name_.clear();
    } else if (where_ == Where::kName) {
        where_ = Where::kValue;
    }
}

void RecordReader::takeLineBreak() {
    if (where_ == Where::kDoubt) beginBody();  // hardly any two words in a row contain a line end
    convertPending();
    if (inWord_) {
        text_ += ' ';  // a line end inside an encoded word: the value continues
        return;
    }
    if (where_ == Where::kValue || where_ == Where::kEnded) {
        where_ = Where::kEnded;
        return;
    }
    if (where_ == Where::kBody) reader_.line(text_);
    text_.clear();
    lineBegun_ = false;
}

// The previous line end belongs to the value.
void RecordReader::goOnWithValue() {
    where_ = Where::kValue;
    text_ += ' ';
}

void RecordReader::endValue() {
    while (name_.ends_with(':')) name_.pop_back();
    reader_.field(name_, trimmed(text_));
    text_.clear();
    where_ = Where::kFields;
    lineBegun_ = false;
}

// In doubt the first line has begun already.
void RecordReader::beginBody() {
    bool begun = where_ == Where::kDoubt && lineBegun_;
    if (where_ != Where::kFields) endValue();
    where_ = Where::kBody;
    lineBegun_ = begun;
    reader_.bodyBegins();
}

void RecordReader::convertPending() {
    if (!pending_.empty()) text_ += fromUnlabelledCharset(pending_, charset_);
    pending_.clear();
}

void RecordReader::finish() {
    if (where_ == Where::kEnded) endValue();
    if (where_ == Where::kDoubt) beginBody();
    if (lineBegun_ && where_ == Where::kBody) takeLineBreak();
}

}  // namespace emltool

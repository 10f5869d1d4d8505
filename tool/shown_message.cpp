#include "tool/shown_message.h"

#include <emlreader/eml_host.h>

#include "tool/name_decoding.h"

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
        case RecordTag::Text:
            (where_ == Where::Name ? name_ : pending_) += record.text();
            lineBegun_ = true;
            break;
        case RecordTag::Tab:
            /* Behind a field name there are two, which only align. */
            if (where_ == Where::Body) pending_ += '\t';
            lineBegun_ = true;
            break;
        case RecordTag::Attribute:
            takeAttribute(record.word());
            break;
        case RecordTag::LineBreak:
            takeLineBreak();
            break;
        case RecordTag::Charset:
            takeCharset(record.word());
            break;
        default:
            break; /* the page */
    }
}

/* A charset record stands in the prologue, around words of a value, and where the body begins. Behind a word
 * it is always the default one. */
void RecordReader::takeCharset(uint32_t charset) {
    convertPending();
    charset_ = charset;
    inWord_ = where_ == Where::Value && charset != EML_CHARSET_WESTERN;
    if (where_ == Where::Prologue) {
        where_ = Where::Fields;
    } else if (where_ == Where::Fields) {
        where_ = Where::Body;
        lineBegun_ = false;
        reader_.bodyBegins();
    }
}

void RecordReader::takeAttribute(uint32_t attribute) {
    inWord_ = false;
    if (attribute == kBoldOn) {
        where_ = Where::Name;
        name_.clear();
    } else if (where_ == Where::Name) {
        where_ = Where::Value;
    }
}

void RecordReader::takeLineBreak() {
    convertPending();
    if (inWord_) {
        text_ += ' '; /* a line end that a word encodes: the value goes on */
        return;
    }
    if (where_ == Where::Value) {
        while (name_.ends_with(':')) name_.pop_back();
        reader_.field(name_, trimmed(text_));
        where_ = Where::Fields;
    } else if (where_ == Where::Body) {
        reader_.line(text_);
    }
    text_.clear();
    lineBegun_ = false;
}

void RecordReader::convertPending() {
    if (!pending_.empty()) text_ += fromUnlabelledCharset(pending_, charset_);
    pending_.clear();
}

void RecordReader::finish() {
    if (lineBegun_ && where_ == Where::Body) takeLineBreak();
}

}  // namespace emltool

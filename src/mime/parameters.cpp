#include "mime/parameters.h"

#include <algorithm>
#include <array>

#include "bytes/ascii.h"
#include "bytes/subtext.h"

namespace eml {

namespace {

constexpr size_t kNowhere = std::string_view::npos;
constexpr size_t kMaxSectionDigits = 9;

bool isBlankOrLineEnd(char character) {
    const auto byte = static_cast<uint8_t>(character);
    return isBlank(byte) || isLineEnd(byte);
}

// What ends a name. ":" stands for "=" in some mail.
bool endsName(char character) {
    return isBlankOrLineEnd(character) || std::string_view("=:;,()\"").find(character) != kNowhere;
}

// Names after which a value must have ended, though no ";" says so.
constexpr std::array<std::string_view, 27> kKnownNames = {
    "access-type", "boundary",   "charset", "component",  "creation-date", "delsp",     "differences",
    "expiration",  "filename",   "format",  "id",         "method",        "micalg",    "modification-date",
    "name",        "number",     "padding", "permission", "protocol",      "read-date", "report-type",
    "size",        "smime-type", "start",   "start-info", "total",         "type"};

constexpr std::array<std::string_view, 4> kKnownVendorNames = {"x-apple-part-url", "x-mac-creator",
                                                               "x-mac-type", "x-unix-mode"};

bool isKnownName(std::string_view name) {
    const auto isName = [name](std::string_view known) {
        return known.size() == name.size() &&
               equalNoCase(reinterpret_cast<const uint8_t*>(name.data()), known.data(), known.size());
    };
    return std::any_of(kKnownNames.begin(), kKnownNames.end(), isName) ||
           std::any_of(kKnownVendorNames.begin(), kKnownVendorNames.end(), isName);
}

// Whether a known name and "=" stand at `pos`: another parameter begins.
bool parameterBeginsAt(std::string_view text, size_t pos) {
    constexpr size_t kMaxLength = 40;  // a known name, a section number and blanks
    const std::string_view near = subtext(text, pos, kMaxLength);
    size_t end = 0;
    while (end < near.size() && !endsName(near[end])) ++end;
    const std::string_view name = subtext(near, 0, end);
    while (end < near.size() && isBlankOrLineEnd(near[end])) ++end;
    return end < near.size() && near[end] == '=' && isKnownName(subtext(name, 0, name.find('*')));
}

size_t skipBlanksAt(std::string_view text, size_t pos) {
    while (pos < text.size() && isBlankOrLineEnd(text[pos])) ++pos;
    return pos;
}

// Takes "*" and "*12" off the end of a name.
void splitName(RawParameter& parameter) {
    std::string_view& name = parameter.name;
    parameter.section = -1;
    parameter.extended = name.size() > 1 && name.back() == '*';
    if (parameter.extended) name.remove_suffix(1);
    const size_t star = name.rfind('*');
    if (star == kNowhere || star == 0) return;
    const std::string_view digits = subtext(name, star + 1);
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    if (digits.empty() || digits.size() > kMaxSectionDigits ||
        !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return;
    }
    parameter.section = 0;
    for (const char digit : digits) parameter.section = parameter.section * 10 + (digit - '0');
    name = subtext(name, 0, star);
}

// "name" and "filename" hold what people write: blanks, parentheses.
bool isNameOfFile(std::string_view name) {
    constexpr std::string_view kName = "name";
    return name.size() >= kName.size() &&
           equalNoCase(reinterpret_cast<const uint8_t*>(name.data()) + (name.size() - kName.size()),
                       kName.data(), kName.size());
}

// Whether a value may end with the quote at `pos`.
bool closesValue(std::string_view text, size_t pos) {
    const size_t next = skipBlanksAt(text, pos + 1);
    return next == text.size() || text[next] == ';' || text[next] == '(' || parameterBeginsAt(text, next);
}

bool followsEquals(std::string_view text, size_t pos) {
    while (pos > 0 && isBlankOrLineEnd(text[pos - 1])) --pos;
    return pos > 0 && text[pos - 1] == '=';
}

// Without blanks and ";" at the end.
std::string_view withoutEnd(std::string_view text) {
    while (!text.empty() && (isBlankOrLineEnd(text.back()) || text.back() == ';')) text.remove_suffix(1);
    return text;
}

}  // namespace

// At "(": passes the comment over. False when it does not end: it is none then.
bool ParameterWalk::skipComment() {
    if (openComment_) return false;
    uint32_t depth = 0;
    for (size_t pos = pos_; pos < text_.size(); ++pos) {
        const char character = text_[pos];
        if (character == '\\') ++pos;
        if (character == '(') ++depth;
        if (character == ')' && --depth == 0) {
            pos_ = pos + 1;
            return true;
        }
    }
    openComment_ = true;
    return false;
}

void ParameterWalk::skipBlanksAndComments() {
    for (;;) {
        pos_ = skipBlanksAt(text_, pos_);
        if (pos_ == text_.size() || text_[pos_] != '(' || !skipComment()) return;
    }
}

// Up to the next name. False at the end.
bool ParameterWalk::skipToName() {
    for (;;) {
        skipBlanksAndComments();
        if (pos_ == text_.size()) return false;
        const char character = text_[pos_];
        if (!endsName(character)) break;
        ++pos_;
        // One ";" before each, and a last one, as many programs write. Everything else is stray.
        if (character != ';' || before_ == Before::kSemicolon) problems_ |= kParameterSyntax;
        if (character == ';' || character == ',') before_ = Before::kSemicolon;
    }
    if (before_ != Before::kSemicolon) problems_ |= kParameterSyntax;
    before_ = Before::kParameter;
    return true;
}

bool ParameterWalk::next(RawParameter& parameter) {
    if (!skipToName()) return false;
    parameter = RawParameter{};
    readName(parameter);
    skipBlanksAndComments();
    const char mark = pos_ < text_.size() ? text_[pos_] : '\0';
    if (mark == '=' || mark == ':') {
        ++pos_;
        if (mark == ':') problems_ |= kParameterSyntax;
        skipBlanksAndComments();
        readValue(parameter);
    } else {
        problems_ |= kParameterSyntax;
        if (mark == '"') readValue(parameter);  // only the "=" is missing
    }
    return true;
}

void ParameterWalk::readName(RawParameter& parameter) {
    const size_t start = pos_;
    while (pos_ < text_.size() && !endsName(text_[pos_])) ++pos_;
    parameter.name = subtext(text_, start, pos_ - start);
    splitName(parameter);
}

void ParameterWalk::readValue(RawParameter& parameter) {
    parameter.hasValue = true;
    if (pos_ < text_.size() && text_[pos_] == '"') {
        parameter.quoted = true;
        ++pos_;
        readQuoted(parameter);
    } else {
        readUnquoted(parameter);
    }
}

// A quote closes the value when what follows it may follow a value. One that does not is part of the text
// ("my "great" file.pdf"), provided that another one closes the value before the next ";". A value that is never
// closed, or only by the quote that opens the next value, ends where that parameter begins.
void ParameterWalk::readQuoted(RawParameter& parameter) {
    const std::string_view text = subtext(text_, pos_);
    size_t inner = kNowhere;  // the first quote that did not close
    size_t cut = kNowhere;    // the ";" before what looks like the next parameter
    size_t pos = 0;
    for (; pos < text.size(); ++pos) {
        const char character = text[pos];
        if (character == '\\') {
            ++pos;
        } else if (character == ';' &&
                   inner != kNowhere) {  // NOLINT(bugprone-branch-clone): the order counts
            break;
        } else if (character == ';' && cut == kNowhere) {
            if (parameterBeginsAt(text, skipBlanksAt(text, pos + 1))) cut = pos;
        } else if (character == '"' && closesValue(text, pos)) {
            parameter.value = subtext(text, 0, pos);
            pos_ += pos + 1;
            return;
        } else if (character == '"' && cut != kNowhere && followsEquals(text, pos)) {
            break;
        } else if (character == '"' && inner == kNowhere) {
            inner = pos;
        }
    }
    const bool hasInner = inner < cut;
    problems_ |= hasInner ? kParameterSyntax : kUnterminatedQuote;
    const size_t end = std::min({inner, cut, text.size()});
    parameter.value = hasInner || cut != kNowhere ? subtext(text, 0, end) : withoutEnd(text);
    pos_ += hasInner ? end + 1 : end;
}

// Whether an unquoted value ends at the blank or "(" at `pos`: nothing follows, or comments and then nothing, or the
// next parameter without a ";" before it. Otherwise `pos` goes on to what has not been looked at.
bool ParameterWalk::valueEndsAtBlank(size_t& pos) {
    pos_ = pos;
    skipBlanksAndComments();
    pos = pos_;
    return pos == text_.size() || text_[pos] == ';' || parameterBeginsAt(text_, pos);
}

// Blanks and most of what a token must not hold are part of the value up to a ";".
void ParameterWalk::readUnquoted(RawParameter& parameter) {
    const size_t start = pos_;
    const bool ofFile = isNameOfFile(parameter.name);
    size_t pos = start;
    size_t end = start;
    while (pos < text_.size() && text_[pos] != ';') {
        const char character = text_[pos];
        if (isBlankOrLineEnd(character) || (character == '(' && !ofFile)) {
            if (valueEndsAtBlank(pos)) break;
            if (text_[pos] == '(') ++pos;  // a comment that does not end
        } else if (character == '=') {
            const std::optional<EncodedWord> word = encodedWordAt(subtext(text_, pos));
            pos += word ? word->length : 1;
        } else {
            ++pos;
        }
        end = pos;
    }
    pos_ = pos;
    parameter.value = subtext(text_, start, end - start);
    if (parameter.value.find('"') + 1 == parameter.value.size() && !parameter.value.empty()) {
        parameter.value.remove_suffix(1);  // the quote that opened it is missing
        problems_ |= kUnterminatedQuote;
    }
}

}  // namespace eml

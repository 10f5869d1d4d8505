#include "tool/html/css_tokens.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;

constexpr std::string_view kBlanks = " \t\n\r\f";

bool isBlank(char c) { return kBlanks.find(c) != std::string_view::npos; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLineEnd(char c) { return c == '\n' || c == '\r' || c == '\f'; }

bool isNameCharacter(char c) {
    return (lower(c) >= 'a' && lower(c) <= 'z') || isDigit(c) || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char letter = lower(c);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

class CssTokenizer {
  public:
    explicit CssTokenizer(std::string_view css) : css_(css) {}

    std::vector<CssToken> read() {
        while (position_ < css_.size()) take();
        return std::move(tokens_);
    }

  private:
    char at(size_t position) const { return position < css_.size() ? css_[position] : '\0'; }
    bool beginsEscape(size_t position) const {
        return at(position) == '\\' && position + 1 < css_.size() && !isLineEnd(at(position + 1));
    }
    bool beginsName(size_t position) const;
    bool beginsNumber(size_t position) const;
    void take();
    void takeEscape(std::string& text);
    std::string takeName();
    void takeNumber();
    void takeWord();
    void takeString();
    void takeUrl();
    void takeBlank();
    void add(Kind kind, std::string text) { tokens_.push_back({kind, std::move(text), 0, {}}); }

    std::string_view css_;
    size_t position_ = 0;
    std::vector<CssToken> tokens_;
};

bool CssTokenizer::beginsName(size_t position) const {
    if (at(position) == '-') {
        const char next = at(position + 1);
        return (isNameCharacter(next) && !isDigit(next)) || beginsEscape(position + 1);
    }
    return (position < css_.size() && isNameCharacter(at(position)) && !isDigit(at(position))) ||
           beginsEscape(position);
}

bool CssTokenizer::beginsNumber(size_t position) const {
    if (at(position) == '+' || at(position) == '-') ++position;
    if (at(position) == '.') ++position;
    return isDigit(at(position));
}

void CssTokenizer::takeEscape(std::string& text) {
    ++position_;
    char32_t character = 0;
    size_t digits = 0;
    for (; digits < 6 && hexValue(at(position_)) >= 0; ++digits) {
        character = character * 16 + static_cast<char32_t>(hexValue(css_[position_++]));
    }
    if (digits == 0) {
        const size_t begin = position_;
        nextCharacter(css_, position_);
        text.append(css_, begin, position_ - begin);
        return;
    }
    if (isBlank(at(position_))) ++position_;
    const bool isValid =
        character != 0 && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    appendUtf8(text, isValid ? character : 0xFFFD);
}

std::string CssTokenizer::takeName() {
    std::string name;
    while (position_ < css_.size()) {
        if (isNameCharacter(css_[position_])) {
            name += css_[position_++];
        } else if (beginsEscape(position_)) {
            takeEscape(name);
        } else {
            break;
        }
    }
    return name;
}

void CssTokenizer::takeNumber() {
    const size_t begin = position_;
    const auto takeDigits = [this] {
        while (isDigit(at(position_))) ++position_;
    };
    if (at(position_) == '+' || at(position_) == '-') ++position_;
    takeDigits();
    if (at(position_) == '.' && isDigit(at(position_ + 1))) {
        ++position_;
        takeDigits();
    }
    CssToken token{Kind::kNumber, std::string(css_.substr(begin, position_ - begin)), 0, {}};
    const char* const start = token.text.data() + (token.text.front() == '+' ? 1 : 0);
    // A number that is out of range stays 0.
    std::from_chars(start, token.text.data() + token.text.size(), token.number);
    if (at(position_) == '%') {
        ++position_;
        token.unit.assign(1, '%');
    } else if (beginsName(position_)) {
        token.unit = lowerCase(takeName());
    }
    tokens_.push_back(std::move(token));
}

void CssTokenizer::takeWord() {
    std::string name = takeName();
    if (at(position_) != '(') return add(Kind::kWord, std::move(name));
    ++position_;
    if (equalNoCase(name, "url")) return takeUrl();
    add(Kind::kFunction, lowerCase(name));
}

void CssTokenizer::takeString() {
    const char quote = css_[position_++];
    std::string text;
    while (position_ < css_.size()) {
        const char c = css_[position_];
        if (isLineEnd(c)) return add(Kind::kBroken, "");
        if (c == '\\') {
            if (isLineEnd(at(position_ + 1))) {
                position_ += 2;
            } else if (beginsEscape(position_)) {
                takeEscape(text);
            } else {
                ++position_;  // the last character of all
            }
            continue;
        }
        ++position_;
        if (c == quote) break;
        text += c;
    }
    add(Kind::kString, std::move(text));
}

// What follows "url(".
void CssTokenizer::takeUrl() {
    while (isBlank(at(position_))) ++position_;
    if (at(position_) == '"' || at(position_) == '\'') {
        takeString();
        while (isBlank(at(position_))) ++position_;
        const bool isWhole = at(position_) == ')' || position_ >= css_.size();
        tokens_.back().kind = isWhole && tokens_.back().kind == Kind::kString ? Kind::kUrl : Kind::kBroken;
        position_ = std::min(css_.find(')', position_), css_.size());
        position_ = std::min(position_ + 1, css_.size());
        return;
    }
    std::string url;
    while (position_ < css_.size() && css_[position_] != ')') {
        if (beginsEscape(position_)) {
            takeEscape(url);
        } else {
            url += css_[position_++];
        }
    }
    position_ = std::min(position_ + 1, css_.size());
    const size_t last = url.find_last_not_of(kBlanks);
    url.resize(last == std::string::npos ? 0 : last + 1);
    add(url.find_first_of(" \t\n\r\f\"'(") == std::string::npos ? Kind::kUrl : Kind::kBroken, std::move(url));
}

void CssTokenizer::takeBlank() {
    while (position_ < css_.size()) {
        if (css_.substr(position_).starts_with("/*")) {
            const size_t end = css_.find("*/", position_ + 2);
            position_ = end == std::string_view::npos ? css_.size() : end + 2;
        } else if (isBlank(css_[position_])) {
            ++position_;
        } else {
            break;
        }
    }
    if (tokens_.empty() || tokens_.back().kind != Kind::kBlank) add(Kind::kBlank, " ");
}

void CssTokenizer::take() {
    const char c = css_[position_];
    const std::string_view rest = css_.substr(position_);
    if (isBlank(c) || rest.starts_with("/*")) {
        takeBlank();
    } else if (rest.starts_with("<!--")) {
        position_ += 4;
    } else if (rest.starts_with("-->")) {
        position_ += 3;
    } else if (c == '"' || c == '\'') {
        takeString();
    } else if (beginsNumber(position_)) {
        takeNumber();
    } else if (beginsName(position_)) {
        takeWord();
    } else if ((c == '#' && (isNameCharacter(at(position_ + 1)) || beginsEscape(position_ + 1))) ||
               (c == '@' && beginsName(position_ + 1))) {
        ++position_;
        std::string name = takeName();
        add(c == '#' ? Kind::kHash : Kind::kAtWord, c == '#' ? std::move(name) : lowerCase(name));
    } else {
        ++position_;
        add(Kind::kSign, std::string(1, c));
    }
}

// A name that is read as the same name: what is not a letter, digit, "-" or "_" is escaped.
std::string cssName(std::string_view name) {
    std::string text;
    for (size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        const bool isFirstDigit = isDigit(c) && (i == 0 || (i == 1 && name[0] == '-'));
        if (isNameCharacter(c) && !isFirstDigit && name != "-") {
            text += c;
        } else {
            text += formatted("\\{:x} ", static_cast<unsigned>(static_cast<unsigned char>(c)));
        }
    }
    return text;
}

std::string hashName(std::string_view name) {
    const bool isPlain = std::all_of(name.begin(), name.end(), isNameCharacter);
    return isPlain ? std::string(name) : cssName(name);
}

}  // namespace

std::vector<CssToken> cssTokens(std::string_view css) { return CssTokenizer(css).read(); }

std::string cssString(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || c == '"' || c == '\\' || c == '<' || c == '>' || c == '&') {
            quoted += formatted("\\{:x} ", static_cast<unsigned>(byte));
        } else {
            quoted += c;
        }
    }
    return quoted + '"';
}

std::string cssText(const CssToken& token) {
    switch (token.kind) {
        case Kind::kWord:
            return cssName(token.text);
        case Kind::kFunction:
            return cssName(token.text) + '(';
        case Kind::kAtWord:
            return '@' + cssName(token.text);
        case Kind::kHash:
            return '#' + hashName(token.text);
        case Kind::kString:
            return cssString(token.text);
        case Kind::kNumber:
            return token.text + (token.unit == "%" ? "%" : cssName(token.unit));
        case Kind::kBlank:
            return " ";
        case Kind::kSign:
            return token.text == "<" || token.text == "\\" ? "" : token.text;
        case Kind::kUrl:
        case Kind::kBroken:
            break;
    }
    return "";
}

}  // namespace emltool

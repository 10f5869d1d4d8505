#include "tool/text/html_tokens.h"

#include <algorithm>
#include <array>

#include "tool/text/ascii.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

// More attributes than these are no layout; they are passed over.
constexpr size_t kMaxAttributes = 64;

constexpr std::string_view kBlanks = " \t\n\r\f";

// Elements whose content has no tags. Nothing follows <plaintext>.
constexpr std::array<std::string_view, 9> kRawElements = {"script", "style",    "title",   "textarea", "xmp",
                                                          "iframe", "noframes", "noembed", "plaintext"};

bool isLetter(char c) { return (lower(c) >= 'a' && lower(c) <= 'z'); }
bool isBlank(char c) { return c != '\0' && kBlanks.find(c) != std::string_view::npos; }

struct NamedCharacter {
    std::string_view name;
    char character;
};
constexpr std::array<NamedCharacter, 26> kNamedCharacters = {{
    {"amp", '&'},   {"AMP", '&'},    {"lt", '<'},     {"LT", '<'},    {"gt", '>'},       {"GT", '>'},
    {"quot", '"'},  {"QUOT", '"'},   {"apos", '\''},  {"colon", ':'}, {"semi", ';'},     {"sol", '/'},
    {"bsol", '\\'}, {"num", '#'},    {"lpar", '('},   {"rpar", ')'},  {"comma", ','},    {"period", '.'},
    {"quest", '?'}, {"percnt", '%'}, {"commat", '@'}, {"Tab", '\t'},  {"NewLine", '\n'}, {"equals", '='},
    {"excl", '!'},  {"plus", '+'},
}};

// The reference at the beginning of `text`, which begins with "&": appends its character and returns its length; 0
// if it is none that is resolved here.
size_t takeNamed(std::string_view text, std::string& result) {
    size_t end = 1;
    while (end < text.size() && end < 12 && isLetter(text[end])) ++end;
    if (end == text.size() || text[end] != ';') return 0;
    const std::string_view name = text.substr(1, end - 1);
    const auto* found = std::find_if(kNamedCharacters.begin(), kNamedCharacters.end(),
                                     [&](const NamedCharacter& each) { return each.name == name; });
    if (found == kNamedCharacters.end()) return 0;
    result += found->character;
    return end + 1;
}

unsigned digitOf(char c, unsigned base) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    const char letter = lower(c);
    return base == 16 && letter >= 'a' && letter <= 'f' ? static_cast<unsigned>(letter - 'a') + 10 : 99;
}

size_t takeNumbered(std::string_view text, std::string& result) {
    const bool isHex = text.size() > 2 && lower(text[2]) == 'x';
    const unsigned base = isHex ? 16 : 10;
    const size_t start = isHex ? 3 : 2;
    size_t end = start;
    char32_t number = 0;
    while (end < text.size() && digitOf(text[end], base) < base) {
        if (number < 0x110000) number = number * base + digitOf(text[end], base);
        ++end;
    }
    if (end == start) return 0;
    const bool isCharacter = number != 0 && number < 0x110000 && (number < 0xD800 || number > 0xDFFF);
    appendUtf8(result, isCharacter ? number : U'\uFFFD');
    return end + (end < text.size() && text[end] == ';' ? 1 : 0);
}

}  // namespace

const std::string_view* HtmlToken::find(std::string_view attribute) const {
    for (const HtmlAttribute& each : attributes) {
        if (each.name == attribute) return &each.value;
    }
    return nullptr;
}

void HtmlTokenizer::skipBlanks() {
    position_ = std::min(html_.find_first_not_of(kBlanks, position_), html_.size());
}

bool HtmlTokenizer::next(HtmlToken& token) {
    if (!rawName_.empty() && takeRawText(token)) return true;
    while (position_ < html_.size()) {
        if (html_[position_] == '<') {
            const size_t before = position_;
            if (takeMarkup(token)) return true;
            if (position_ != before) continue;
        }
        const size_t start = position_;
        position_ = std::min(html_.find('<', start + 1), html_.size());
        token.kind = HtmlToken::Kind::kText;
        token.text = html_.substr(start, position_ - start);
        return true;
    }
    return false;
}

// At "<". False if no tag begins here: then what was passed over is a comment; nothing was if "<" is text.
bool HtmlTokenizer::takeMarkup(HtmlToken& token) {
    const char second = at(position_ + 1);
    if (isLetter(second)) {
        ++position_;
        takeTag(token, HtmlToken::Kind::kStart);
        return true;
    }
    if (second == '/' && isLetter(at(position_ + 2))) {
        position_ += 2;
        takeTag(token, HtmlToken::Kind::kEnd);
        return true;
    }
    if (second == '!' || second == '?' || (second == '/' && position_ + 2 < html_.size())) skipComment();
    return false;
}

void HtmlTokenizer::skipComment() {
    const std::string_view rest = html_.substr(position_);
    if (!rest.starts_with("<!--")) {
        position_ += std::min(rest.find('>'), rest.size() - 1) + 1;
        return;
    }
    for (std::string_view empty : {"<!-->", "<!--->"}) {
        if (rest.starts_with(empty)) {
            position_ += empty.size();
            return;
        }
    }
    for (size_t i = rest.find("--", 4); i != std::string_view::npos; i = rest.find("--", i + 1)) {
        const size_t end = i + 2 + (i + 2 < rest.size() && rest[i + 2] == '!' ? 1 : 0);
        if (end < rest.size() && rest[end] == '>') {
            position_ += end + 1;
            return;
        }
    }
    position_ = html_.size();
}

void HtmlTokenizer::takeTag(HtmlToken& token, HtmlToken::Kind kind) {
    token.kind = kind;
    token.text = {};
    token.attributes.clear();
    const size_t end = std::min(html_.find_first_of(" \t\n\r\f/>", position_), html_.size());
    token.name = lowerCase(html_.substr(position_, end - position_));
    position_ = end;
    for (;;) {
        position_ = std::min(html_.find_first_not_of(" \t\n\r\f/", position_), html_.size());
        if (position_ == html_.size()) return;
        if (html_[position_] == '>') break;
        takeAttribute(token);
    }
    ++position_;
    const bool isRaw = std::find(kRawElements.begin(), kRawElements.end(), token.name) != kRawElements.end();
    if (kind == HtmlToken::Kind::kStart && isRaw) rawName_ = token.name;
}

void HtmlTokenizer::takeAttribute(HtmlToken& token) {
    const size_t start = position_;
    position_ = std::min(html_.find_first_of(" \t\n\r\f/>=", start + 1), html_.size());
    const std::string_view name = html_.substr(start, position_ - start);
    skipBlanks();
    std::string_view value;
    if (at(position_) == '=') {
        ++position_;
        skipBlanks();
        const char quote = at(position_);
        if (quote == '"' || quote == '\'') {
            const size_t end = std::min(html_.find(quote, position_ + 1), html_.size());
            value = html_.substr(position_ + 1, end - position_ - 1);
            position_ = std::min(end + 1, html_.size());
        } else {
            const size_t end = std::min(html_.find_first_of(" \t\n\r\f>", position_), html_.size());
            value = html_.substr(position_, end - position_);
            position_ = end;
        }
    }
    if (token.attributes.size() == kMaxAttributes) return;
    std::string lowered = lowerCase(name);
    if (token.find(lowered) == nullptr) token.attributes.push_back({std::move(lowered), value});
}

// The content of an element without tags: up to its end tag, or to the end. False if it is empty.
bool HtmlTokenizer::takeRawText(HtmlToken& token) {
    const size_t start = position_;
    size_t end = start;
    for (;; ++end) {
        end = rawName_ == "plaintext" ? html_.size() : std::min(html_.find("</", end), html_.size());
        if (end == html_.size()) break;
        const size_t after = end + 2 + rawName_.size();
        if (!startsWithNoCase(html_.substr(end + 2), rawName_)) continue;
        if (at(after) == '/' || at(after) == '>' || isBlank(at(after))) break;
    }
    token.kind = HtmlToken::Kind::kRawText;
    token.name = std::move(rawName_);
    token.attributes.clear();
    token.text = html_.substr(start, end - start);
    rawName_.clear();
    position_ = end;
    return !token.text.empty();
}

std::string withoutReferences(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        size_t length = 0;
        if (text[i] == '&') {
            const bool isNumber = i + 1 < text.size() && text[i + 1] == '#';
            length = isNumber ? takeNumbered(text.substr(i), result) : takeNamed(text.substr(i), result);
        }
        if (length == 0) result += text[i];
        i += std::max<size_t>(length, 1);
    }
    return result;
}

}  // namespace emltool

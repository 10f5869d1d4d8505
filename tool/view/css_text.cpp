#include "tool/view/css_text.h"

#include <algorithm>
#include <array>
#include <vector>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr std::string_view kBlanks = " \t\n\r\f";

bool isNameCharacter(char c) {
    return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char letter = lower(c);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

std::string_view trimmed(std::string_view text) {
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

// Functions whose strings are URLs; an unknown function makes its declaration invalid.
constexpr std::array<std::string_view, 6> kLoadingFunctions = {
    "image-set", "-webkit-image-set", "image", "src", "element", "cross-fade"};

// Rules that load something or change what names mean.
constexpr std::array<std::string_view, 4> kLoadingRules = {"import", "font-face", "namespace", "charset"};

// Rules whose blocks hold rules.
constexpr std::array<std::string_view, 5> kGroupingRules = {"media", "supports", "layer", "container",
                                                            "scope"};

constexpr std::array<std::string_view, 3> kColourProperties = {"color", "background", "background-color"};

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

class CssFilter {
  public:
    CssFilter(std::string_view css, bool isSheet, const ReferenceFinder& find, CssFindings& findings)
        : css_(css), inSelector_(isSheet), isSheet_(isSheet), find_(find), findings_(findings) {}

    std::string filter() {
        result_.reserve(css_.size());
        while (position_ < css_.size()) step();
        return std::move(result_);
    }

  private:
    void step();
    void takeString();
    void takeName();
    void takeFunction(char before, const std::string& text, const std::string& word);
    bool takeElementName(char before, const std::string& word);
    void takeAtRule();
    void takeUrl();
    void takePunctuation(char c);
    std::string name();
    char at(size_t position) const { return position < css_.size() ? css_[position] : '\0'; }
    bool beginsName() const {
        const char c = css_[position_];
        return isNameCharacter(c) || (c == '\\' && position_ + 1 < css_.size() && at(position_ + 1) != '\n');
    }

    std::string_view css_;
    size_t position_ = 0;
    bool inSelector_;  // before the "{" of a rule
    bool isSheet_;
    bool inGroupRule_ = false;  // before the "{" of @media
    bool inOtherRule_ = false;  // before the "{" or ";" of another at-rule
    size_t brackets_ = 0;       // open "["
    std::vector<bool> blocks_;  // open "{": whether rules are inside
    const ReferenceFinder& find_;
    CssFindings& findings_;
    std::string result_;
};

void CssFilter::step() {
    const char c = css_[position_];
    const std::string_view rest = css_.substr(position_);
    if (rest.starts_with("/*")) {
        const size_t end = rest.find("*/", 2);
        position_ += end == std::string_view::npos ? rest.size() : end + 2;
        result_ += ' ';
    } else if (rest.starts_with("<!--") || rest.starts_with("-->")) {
        position_ += c == '<' ? 4 : 3;
    } else if (c == '"' || c == '\'') {
        takeString();
    } else if (c == '@') {
        takeAtRule();
    } else if (beginsName()) {
        takeName();
    } else {
        takePunctuation(c);
    }
}

// A string cannot hold the beginning of a tag as it is.
void CssFilter::takeString() {
    const char quote = css_[position_++];
    result_ += quote;
    while (position_ < css_.size()) {
        const char c = css_[position_++];
        if (c == '\n' || c == '\r' || c == '\f') {
            --position_;  // the string is broken off
            return;
        }
        if (c == '\\') {
            result_ += c;
            if (position_ < css_.size() && css_[position_] != '<') result_ += css_[position_++];
            continue;
        }
        if (c == '<') {
            result_ += "\\3c ";
            continue;
        }
        result_ += c;
        if (c == quote) return;
    }
    result_ += quote;
}

// A name, with escapes that stand for letters resolved, so that none can be hidden.
std::string CssFilter::name() {
    std::string text;
    while (position_ < css_.size() && beginsName()) {
        if (css_[position_] != '\\') {
            text += css_[position_++];
            continue;
        }
        unsigned number = 0;
        size_t end = position_ + 1;
        while (end < css_.size() && end < position_ + 7 && hexValue(css_[end]) >= 0) {
            number = number * 16 + static_cast<unsigned>(hexValue(css_[end++]));
        }
        const bool isHex = end != position_ + 1;
        if (!isHex) number = static_cast<unsigned char>(css_[end++]);
        if (isHex && end < css_.size() && kBlanks.find(css_[end]) != std::string_view::npos) ++end;
        const bool isLetter = number < 0x80 && lower(static_cast<char>(number)) >= 'a' &&
                              lower(static_cast<char>(number)) <= 'z';
        if (isLetter) {
            text += static_cast<char>(number);
        } else if (number == '<') {
            text += "\\3c ";
        } else {
            text.append(css_, position_, end - position_);
        }
        position_ = end;
    }
    return text;
}

void CssFilter::takeName() {
    const char before = result_.empty() ? '\0' : result_.back();
    const std::string text = name();
    const std::string word = lowerCase(text);
    if (at(position_) == '(') return takeFunction(before, text, word);
    if (inGroupRule_) findings_.dark = findings_.dark || word == "prefers-color-scheme";
    if (inSelector_ && brackets_ == 0) {
        if (takeElementName(before, word)) return;
    } else if (!inSelector_ && !inGroupRule_ && isOneOf(word, kColourProperties)) {
        const size_t next = css_.find_first_not_of(kBlanks, position_);
        if (next != std::string_view::npos && css_[next] == ':') findings_.colours = true;
    }
    result_ += text;
}

// A name with "(" after it.
void CssFilter::takeFunction(char before, const std::string& text, const std::string& word) {
    if (word == "url" || word == "url-prefix") return takeUrl();
    if (isOneOf(word, kLoadingFunctions)) result_ += "x-";
    if (before == ':' && (word == "host" || word == "host-context")) result_ += "x-";
    result_ += text;
}

// In a selector: the elements that the frame has no longer are classes. False if the name is another one.
bool CssFilter::takeElementName(char before, const std::string& word) {
    const bool isType = std::string_view(".#:").find(before) == std::string_view::npos || before == '\0';
    if (isType && (word == "body" || word == "html")) {
        result_.append(1, '.').append(word == "body" ? kBodyClass : kHtmlClass);
        return true;
    }
    if (before == ':' && word == "root") {
        result_.back() = '.';
        result_ += kHtmlClass;
        return true;
    }
    if (before == ':' && word == "host") result_ += "x-";
    return false;
}

void CssFilter::takeAtRule() {
    ++position_;
    const std::string word = lowerCase(name());
    const bool loads = isOneOf(word, kLoadingRules);
    // With "url(" it is counted there.
    const size_t next = css_.find_first_not_of(kBlanks, position_);
    const bool isString = next != std::string_view::npos && (css_[next] == '"' || css_[next] == '\'');
    if (word == "import" && isString) ++findings_.remote;
    result_.append(loads ? "@x-" : "@").append(word);
    inGroupRule_ = isOneOf(word, kGroupingRules);
    inOtherRule_ = !inGroupRule_;
    inSelector_ = false;
}

// "url(" with what follows up to its ")".
void CssFilter::takeUrl() {
    ++position_;
    position_ = std::min(css_.find_first_not_of(kBlanks, position_), css_.size());
    const char quote = at(position_);
    std::string_view url;
    if (quote == '"' || quote == '\'') {
        const size_t end = std::min(css_.find(quote, position_ + 1), css_.size());
        url = css_.substr(position_ + 1, end - position_ - 1);
        position_ = std::min(end + 1, css_.size());
        position_ = std::min(css_.find_first_not_of(kBlanks, position_), css_.size());
        if (at(position_) == ')') ++position_;
    } else {
        const size_t end = std::min(css_.find(')', position_), css_.size());
        url = css_.substr(position_, end - position_);
        position_ = std::min(end + 1, css_.size());
    }
    url = trimmed(url);
    if (isRemoteUrl(url)) ++findings_.remote;
    std::optional<std::string> found = isImageData(url) ? std::string(url)
                                       : find_          ? find_(url)
                                                        : std::nullopt;
    if (!found && startsWithNoCase(url, "cid:")) ++findings_.unresolved;
    result_.append("url(\"").append(found.value_or("data:,")).append("\")");
}

void CssFilter::takePunctuation(char c) {
    ++position_;
    if (c == '<') {
        result_ += at(position_) == '/' || at(position_) == '!' ? "\\3c " : "<";
        return;
    }
    result_ += c;
    if (c == '[') ++brackets_;
    if (c == ']' && brackets_ != 0) --brackets_;
    if (!isSheet_) return;
    if (c == '{') {
        blocks_.push_back(inGroupRule_);
        inSelector_ = inGroupRule_;
        inGroupRule_ = inOtherRule_ = false;
        brackets_ = 0;
    } else if (c == '}') {
        if (!blocks_.empty()) blocks_.pop_back();
        inSelector_ = blocks_.empty() || blocks_.back();
        brackets_ = 0;
    } else if (c == ';' && (inOtherRule_ || inGroupRule_)) {
        inOtherRule_ = inGroupRule_ = false;
        inSelector_ = blocks_.empty() || blocks_.back();
    }
}

}  // namespace

std::string inertStyleSheet(std::string_view css, const ReferenceFinder& find, CssFindings& findings) {
    return CssFilter(css, true, find, findings).filter();
}

std::string inertDeclarations(std::string_view css, const ReferenceFinder& find, CssFindings& findings) {
    return CssFilter(css, false, find, findings).filter();
}

bool isRemoteUrl(std::string_view url) {
    return startsWithNoCase(url, "http:") || startsWithNoCase(url, "https:") || startsWithNoCase(url, "//") ||
           startsWithNoCase(url, "\\\\") || startsWithNoCase(url, "ftp:");
}

bool isImageData(std::string_view url) {
    constexpr std::array<std::string_view, 7> kTypes = {"png", "gif", "jpeg", "jpg", "webp", "bmp", "avif"};
    constexpr std::string_view kStart = "data:image/";
    if (!startsWithNoCase(url, kStart)) return false;
    const std::string_view rest = url.substr(kStart.size());
    const size_t end = rest.find_first_of(";,");
    if (end == std::string_view::npos || !isOneOf(lowerCase(rest.substr(0, end)), kTypes)) return false;
    return std::all_of(url.begin(), url.end(), [](char c) {
        return isNameCharacter(c) ? static_cast<unsigned char>(c) < 0x80
                                  : std::string_view(":;,+/=%.").find(c) != std::string_view::npos;
    });
}

}  // namespace emltool

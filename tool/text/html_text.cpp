#include "tool/text/html_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <optional>

#include "tool/text/ascii.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

constexpr std::string_view kSpaces = " \t\r\n\f";

// Elements that begin a new line, and those that have an empty line before them.
constexpr std::array<std::string_view, 18> kBlocks = {"br", "div", "tr", "li", "table", "ul",
                                                      "ol", "dt",  "dd", "hr", "h1",    "h2",
                                                      "h3", "h4",  "h5", "h6", "form",  "title"};
constexpr std::array<std::string_view, 3> kParagraphs = {"p", "blockquote", "pre"};
// Elements whose content is not text.
constexpr std::array<std::string_view, 4> kHidden = {"script", "style", "head", "template"};

struct Entity {
    std::string_view name;
    char32_t character;
};

constexpr std::array<Entity, 22> kEntities = {
    {{"amp", '&'},       {"lt", '<'},       {"gt", '>'},       {"quot", '"'},     {"apos", '\''},
     {"nbsp", ' '},      {"copy", 0xA9},    {"reg", 0xAE},     {"trade", 0x2122}, {"euro", 0x20AC},
     {"hellip", 0x2026}, {"ndash", 0x2013}, {"mdash", 0x2014}, {"lsquo", 0x2018}, {"rsquo", 0x2019},
     {"ldquo", 0x201C},  {"rdquo", 0x201D}, {"bull", 0x2022},  {"auml", 0xE4},    {"ouml", 0xF6},
     {"uuml", 0xFC},     {"szlig", 0xDF}}};

template <typename List>
bool contains(const List& list, std::string_view name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

// The character that `name` stands for, written without "&" and ";".
std::optional<char32_t> entity(std::string_view name) {
    if (name.starts_with('#')) {
        bool hex = name.size() > 1 && lower(name[1]) == 'x';
        std::string_view digits = name.substr(hex ? 2 : 1);
        uint32_t code = 0;
        auto [end, failure] =
            std::from_chars(digits.data(), digits.data() + digits.size(), code, hex ? 16 : 10);
        bool valid = failure == std::errc{} && end == digits.data() + digits.size() && code >= 0x20 &&
                     code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        return valid ? std::optional<char32_t>(code) : std::nullopt;
    }
    for (const Entity& known : kEntities) {
        if (known.name == name) return known.character;
    }
    return std::nullopt;
}

class HtmlText {
  public:
    explicit HtmlText(std::string_view html) : html_(html) {}

    std::vector<std::string> read() {
        while (at_ < html_.size()) {
            char c = html_[at_];
            if (c == '<') {
                readTag();
            } else if (c == '&') {
                readEntity();
            } else {
                ++at_;
                put(c);
            }
        }
        endLine();
        while (!lines_.empty() && lines_.back().empty()) lines_.pop_back();
        return std::move(lines_);
    }

  private:
    void put(char c) {
        if (kSpaces.find(c) != std::string_view::npos) {
            blank_ = !line_.empty() && line_.back() != ' ';
            return;
        }
        if (blank_) line_ += ' ';
        blank_ = false;
        line_ += c;
    }

    void endLine() {
        blank_ = false;
        if (line_.ends_with(' ')) line_.pop_back();  // after the mark of a list item
        if (!line_.empty()) lines_.push_back(std::move(line_));
        line_.clear();
    }

    void emptyLine() {
        endLine();
        if (!lines_.empty() && !lines_.back().empty()) lines_.emplace_back();
    }

    void readEntity() {
        constexpr size_t kMaxLength = 10;
        std::string_view name = html_.substr(at_ + 1, kMaxLength + 1);
        size_t length = name.find(';');
        std::optional<char32_t> character;
        if (length != std::string_view::npos) character = entity(name.substr(0, length));
        if (!character) {
            put('&');
            ++at_;
            return;
        }
        at_ += length + 2;
        std::string text;
        appendUtf8(text, *character);
        for (char c : text) put(c);
    }

    // Moves past `text`, or to the end if there is none.
    void skipBehind(std::string_view text) {
        size_t found = html_.find(text, at_);
        at_ = found == std::string_view::npos ? html_.size() : found + text.size();
    }

    void readTag() {
        if (html_.substr(at_).starts_with("<!--")) {
            skipBehind("-->");
            return;
        }
        size_t begin = at_ + 1;
        bool closing = begin < html_.size() && html_[begin] == '/';
        if (closing) ++begin;
        size_t end = begin;
        while (end < html_.size() && (std::isalnum(static_cast<unsigned char>(html_[end])) != 0)) ++end;
        bool isName = end > begin && std::isalpha(static_cast<unsigned char>(html_[begin])) != 0;
        bool isTag = isName || html_.substr(begin).starts_with('!') || html_.substr(begin).starts_with('?');
        if (!isTag) {
            put('<');
            ++at_;
            return;
        }
        std::string name = lowerCase(html_.substr(begin, end - begin));
        skipBehind(">");
        if (!closing && contains(kHidden, name)) skipElement(name);
        if (contains(kBlocks, name)) endLine();
        if (contains(kParagraphs, name)) emptyLine();
        if (name == "td" || name == "th") put(' ');
        if (name == "li" && !closing) line_ = "* ";
    }

    // Moves past the closing tag. If it is missing, nothing is hidden, and it is not searched for again.
    void skipElement(const std::string& name) {
        if (contains(unclosed_, name)) return;
        std::string wanted = "</" + name;
        for (size_t at = html_.find("</", at_); at != std::string_view::npos; at = html_.find("</", at + 2)) {
            size_t end = at + wanted.size();
            if (lowerCase(html_.substr(at, wanted.size())) != wanted) continue;
            if (end < html_.size() && std::isalnum(static_cast<unsigned char>(html_[end])) != 0) continue;
            at_ = at;
            skipBehind(">");
            return;
        }
        unclosed_.push_back(name);
    }

    std::string_view html_;
    size_t at_ = 0;
    std::string line_;
    bool blank_ = false;
    std::vector<std::string> lines_;
    std::vector<std::string> unclosed_;  // hidden elements without a closing tag from here on
};

}  // namespace

bool looksLikeHtml(std::string_view firstLine) {
    constexpr std::array<std::string_view, 14> kOpenings = {"<html", "<!doctype", "<head", "<body",  "<meta",
                                                            "<div",  "<p>",       "<p ",   "<table", "<span",
                                                            "<font", "<br",       "<b>",   "<h1"};
    size_t begin = firstLine.find_first_not_of(kSpaces);
    if (begin == std::string_view::npos) return false;
    std::string start = lowerCase(firstLine.substr(begin, 10));
    return std::any_of(kOpenings.begin(), kOpenings.end(),
                       [&](std::string_view opening) { return start.starts_with(opening); });
}

std::vector<std::string> htmlToLines(std::string_view html) { return HtmlText(html).read(); }

std::string linesOfHtml(std::string_view html) {
    std::string text;
    for (const std::string& line : htmlToLines(html)) (text += line) += '\n';
    return text;
}

}  // namespace emltool

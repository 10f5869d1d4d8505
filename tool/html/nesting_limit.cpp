#include "tool/html/nesting_limit.h"

#include <algorithm>
#include <array>
#include <vector>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr std::string_view kBlanks = " \t\n\f\r";

// Elements that have no content, and those that end the one before them: their number is bounded by that of others.
constexpr std::array<std::string_view, 33> kUncounted = {
    "area", "base",  "body",   "br",    "col",   "colgroup", "dd", "dt",    "embed", "frame",    "head",
    "hr",   "html",  "image",  "img",   "input", "keygen",   "li", "link",  "meta",  "optgroup", "option",
    "p",    "param", "source", "tbody", "td",    "tfoot",    "th", "thead", "tr",    "track",    "wbr"};

// An end tag inside one of these does not end what is around it.
constexpr std::array<std::string_view, 11> kBarriers = {"applet",  "button", "caption", "foreignobject",
                                                        "marquee", "math",   "object",  "select",
                                                        "svg",     "table",  "template"};

// Elements whose end tag, out of order, ends them and leaves open what is inside.
constexpr std::array<std::string_view, 14> kFormatting = {
    "a", "b", "big", "code", "em", "font", "i", "nobr", "s", "small", "strike", "strong", "tt", "u"};

// Elements whose content has no tags but their own end tag.
constexpr std::array<std::string_view, 9> kRaw = {"iframe", "noembed",  "noframes", "plaintext", "script",
                                                  "style",  "textarea", "title",    "xmp"};

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isBlank(char c) { return kBlanks.find(c) != std::string_view::npos; }
bool isLetter(char c) { return lower(c) >= 'a' && lower(c) <= 'z'; }

class NestingLimiter {
  public:
    explicit NestingLimiter(std::string_view html) : html_(html) {}

    LimitedHtml limit();

  private:
    char at(size_t position) const { return position < html_.size() ? html_[position] : '\0'; }
    size_t commentEnd(size_t position) const;
    void takeMarkup();
    void takeTag(bool isEnd);
    size_t attributesEnd(size_t position, size_t& cut) const;
    bool startsElement(const std::string& name);
    bool endsElement(const std::string& name);
    void leaveOut(size_t begin, size_t end);

    std::string_view html_;
    size_t position_ = 0;
    size_t kept_ = 0;  // up to here `result_` has what is kept
    LimitedHtml result_;
    std::vector<std::string> open_;
    size_t openLeftOut_ = 0;
    std::string raw_;  // the element whose content is being read and has no tags
};

void NestingLimiter::leaveOut(size_t begin, size_t end) {
    result_.html.append(html_, kept_, begin - kept_);
    kept_ = end;
    result_.anyLeftOut = true;
}

// Behind the comment that begins at `position`.
size_t NestingLimiter::commentEnd(size_t position) const {
    size_t at = position + 4;
    if (html_.substr(at).starts_with(">")) return at + 1;
    if (html_.substr(at).starts_with("->")) return at + 2;
    while ((at = html_.find("--", at)) != std::string_view::npos) {
        const std::string_view rest = html_.substr(at + 2);
        if (rest.starts_with(">")) return at + 3;
        if (rest.starts_with("!>")) return at + 4;
        ++at;
    }
    return html_.size();
}

// Behind the tag whose name has ended at `position`. `cut` is where there are too many attributes.
size_t NestingLimiter::attributesEnd(size_t position, size_t& cut) const {
    size_t count = 0;
    while (position < html_.size() && html_[position] != '>') {
        if (isBlank(html_[position]) || html_[position] == '/') {
            ++position;
            continue;
        }
        if (++count == kMaxAttributes + 1) cut = position;
        position = html_.find_first_of(" \t\n\f\r/>=", position + 1);
        position = std::min(html_.find_first_not_of(kBlanks, std::min(position, html_.size())), html_.size());
        if (at(position) != '=') continue;
        position = std::min(html_.find_first_not_of(kBlanks, position + 1), html_.size());
        const char quote = at(position);
        if (quote == '"' || quote == '\'') {
            const size_t end = html_.find(quote, position + 1);
            position = end == std::string_view::npos ? html_.size() : end + 1;
        } else {
            position = std::min(html_.find_first_of(" \t\n\f\r>", position), html_.size());
        }
    }
    return std::min(position + 1, html_.size());
}

// Whether the tag stays.
bool NestingLimiter::startsElement(const std::string& name) {
    if (isOneOf(name, kUncounted)) return true;
    if (open_.size() == kMaxOpenElements) {
        ++openLeftOut_;
        return false;
    }
    open_.push_back(name);
    return true;
}

bool NestingLimiter::endsElement(const std::string& name) {
    if (isOneOf(name, kUncounted)) return true;
    if (openLeftOut_ != 0) {
        --openLeftOut_;
        return false;
    }
    if (!open_.empty() && open_.back() == name) {
        open_.pop_back();
        return true;
    }
    if (isOneOf(name, kFormatting)) return true;
    for (size_t i = open_.size(); i-- != 0;) {
        if (open_[i] == name) {
            open_.resize(i);
            break;
        }
        if (isOneOf(open_[i], kBarriers)) break;
    }
    return true;
}

void NestingLimiter::takeTag(bool isEnd) {
    const size_t begin = position_;
    const size_t nameBegin = begin + (isEnd ? 2 : 1);
    const size_t nameEnd = std::min(html_.find_first_of(" \t\n\f\r/>", nameBegin), html_.size());
    const std::string name = lowerCase(html_.substr(nameBegin, nameEnd - nameBegin));
    if (!raw_.empty() && !(isEnd && name == raw_)) {
        // Where the parser sees tags here after all, they are counted.
        position_ = nameBegin;
        if (!isEnd && !startsElement(name)) leaveOut(begin, nameBegin);
        return;
    }
    raw_.clear();
    size_t cut = std::string_view::npos;
    position_ = attributesEnd(nameEnd, cut);
    const bool stays = isEnd ? endsElement(name) : startsElement(name);
    if (!stays) {
        leaveOut(begin, position_);
    } else if (cut != std::string_view::npos) {
        const bool isClosed = html_[position_ - 1] == '>';
        leaveOut(cut, position_ - (isClosed ? 1 : 0));
    }
    if (!isEnd && stays && isOneOf(name, kRaw)) raw_ = name;
}

void NestingLimiter::takeMarkup() {
    const bool isEnd = at(position_ + 1) == '/';
    const char first = at(position_ + (isEnd ? 2 : 1));
    if (isLetter(first)) return takeTag(isEnd);
    const bool isComment = isEnd || first == '!' || first == '?';
    if (!raw_.empty() || !isComment) {
        ++position_;
    } else if (html_.substr(position_).starts_with("<!--")) {
        position_ = commentEnd(position_);
    } else {
        const size_t end = html_.find('>', position_);
        position_ = end == std::string_view::npos ? html_.size() : end + 1;
    }
}

LimitedHtml NestingLimiter::limit() {
    while (position_ < html_.size()) {
        position_ = std::min(html_.find('<', position_), html_.size());
        if (position_ < html_.size()) takeMarkup();
    }
    result_.html.append(html_, kept_);
    return std::move(result_);
}

}  // namespace

LimitedHtml limitNesting(std::string_view html) { return NestingLimiter(html).limit(); }

}  // namespace emltool

#include "tool/view/inert_html.h"

#include <algorithm>
#include <array>
#include <vector>

#include "tool/text/ascii.h"
#include "tool/text/html_tokens.h"
#include "tool/view/html_elements.h"

namespace emltool {

namespace {

// Elements inside more than these are left out; their text stays.
constexpr size_t kMaxDepth = 200;

// Attributes that are passed on as they are. None of them loads or runs anything.
constexpr std::array<std::string_view, 35> kAttributes = {
    "abbr",        "align", "alt",     "bgcolor", "border",   "bordercolor", "cellpadding",
    "cellspacing", "class", "clear",   "color",   "cols",     "colspan",     "compact",
    "datetime",    "dir",   "face",    "frame",   "headers",  "height",      "hspace",
    "id",          "lang",  "noshade", "nowrap",  "reversed", "rowspan",     "rules",
    "scope",       "size",  "span",    "start",   "summary",  "title",       "type"};
constexpr std::array<std::string_view, 4> kMoreAttributes = {"valign", "value", "vspace", "width"};

// Attributes with a URL that a browser loads by itself.
constexpr std::array<std::string_view, 6> kLoading = {"src",    "srcset", "background",
                                                      "poster", "data",   "dynsrc"};

constexpr std::array<std::string_view, 3> kColourAttributes = {"bgcolor", "color", "text"};

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// Character references stay.
void appendText(std::string& html, std::string_view text) {
    for (char c : text) {
        if (c == '<') {
            html += "&lt;";
        } else if (c == '>') {
            html += "&gt;";
        } else if (c == '"') {
            html += "&quot;";
        } else {
            html += c;
        }
    }
}

void appendAttribute(std::string& html, std::string_view name, std::string_view value) {
    html.append(1, ' ').append(name).append("=\"");
    appendText(html, value);
    html += '"';
}

// A colour in an attribute, as a value in a style sheet.
std::string colourOf(std::string_view value) {
    std::string colour;
    for (char c : value) {
        const bool isHex = (c >= '0' && c <= '9') || (lower(c) >= 'a' && lower(c) <= 'z') || c == '#';
        if (isHex) colour += c;
    }
    const bool isNumber = colour.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return isNumber && (colour.size() == 3 || colour.size() == 6) ? "#" + colour : colour;
}

class InertBuilder {
  public:
    explicit InertBuilder(const ReferenceFinder& find) : find_(find) {}

    InertHtml build(std::string_view html);

  private:
    struct Open {
        std::string name;  // in the source
        const HtmlElement* element;
        bool isEnded;  // its end tag has come, inside elements that stay open
    };

    void take(const HtmlToken& token);
    void takeRawText(const HtmlToken& token);
    void start(const HtmlToken& token);
    void startShell(const HtmlToken& token);
    void end(const HtmlToken& token);
    void closeImplied(const HtmlElement& element);
    void count(const HtmlToken& token);
    void appendAttributes(const HtmlToken& token, const HtmlElement& element);
    void appendImage(const HtmlToken& token);
    std::string styleOf(const HtmlToken& token);
    void pop();
    void popTo(size_t depth) {
        while (open_.size() > depth) pop();
    }

    const ReferenceFinder& find_;
    InertHtml inert_;
    CssFindings css_;
    std::string body_;
    std::string shellAttributes_;  // of the element that stands for <html>: language and direction
    std::string bodyClass_;
    std::string bodyStyle_;
    std::vector<Open> open_;
    size_t tooDeep_ = 0;  // elements that were left out and are open
};

void InertBuilder::pop() {
    do {
        body_.append("</").append(open_.back().element->emitted).append(1, '>');
        open_.pop_back();
    } while (!open_.empty() && open_.back().isEnded);
}

void InertBuilder::count(const HtmlToken& token) {
    BlockedContent& blocked = inert_.blocked;
    if (token.name == "script") ++blocked.scripts;
    if (token.name == "form") ++blocked.forms;
    if (token.name == "link" && token.find("href") != nullptr) ++blocked.remote;
    for (const HtmlAttribute& attribute : token.attributes) {
        if (attribute.name.starts_with("on") && attribute.name.size() > 4) ++blocked.scripts;
        if (isOneOf(attribute.name, kColourAttributes)) inert_.hasColours = true;
        if (!isOneOf(attribute.name, kLoading)) continue;
        std::string url = withoutReferences(attribute.value);
        url.erase(0, std::min(url.find_first_not_of(" \t\r\n"), url.size()));
        if (isRemoteUrl(url)) ++blocked.remote;
    }
}

// The value of "style", with what other attributes say that only a style sheet can say here.
std::string InertBuilder::styleOf(const HtmlToken& token) {
    std::string style;
    if (const std::string_view* background = token.find("background")) {
        const std::string url = withoutReferences(*background);
        std::optional<std::string> found = find_ && !isRemoteUrl(url) ? find_(url) : std::nullopt;
        if (found) style += "background-image:url(\"" + *found + "\");";
        if (!found && startsWithNoCase(url, "cid:")) ++inert_.blocked.missingImages;
    }
    if (const std::string_view* written = token.find("style")) {
        style += inertDeclarations(withoutReferences(*written), find_, css_);
    }
    return style;
}

void InertBuilder::appendImage(const HtmlToken& token) {
    const std::string_view* source = token.find("src");
    if (source == nullptr) return;
    std::string url = withoutReferences(*source);
    std::erase_if(url, [](char c) { return c == '\n' || c == '\r' || c == '\t'; });
    url.erase(0, std::min(url.find_first_not_of(' '), url.size()));
    std::optional<std::string> found;
    if (isImageData(url)) {
        found = url;
    } else if (find_) {
        found = find_(url);
    }
    if (found) {
        appendAttribute(body_, "src", *found);
        inert_.anyText = true;
    } else if (startsWithNoCase(url, "cid:")) {
        ++inert_.blocked.missingImages;
    }
}

void InertBuilder::appendAttributes(const HtmlToken& token, const HtmlElement& element) {
    for (const HtmlAttribute& attribute : token.attributes) {
        if (isOneOf(attribute.name, kAttributes) || isOneOf(attribute.name, kMoreAttributes)) {
            // A link has its target there.
            if (attribute.name == "title" && token.name == "a" && token.find("href") != nullptr) continue;
            appendAttribute(body_, attribute.name, attribute.value);
        }
    }
    const std::string style = styleOf(token);
    if (!style.empty()) body_.append(" style=\"").append(escapeHtml(style)).append(1, '"');
    if (token.name == "img") appendImage(token);
    if (token.name == "a") {
        // Where the link leads, for the eye alone.
        if (const std::string_view* target = token.find("href")) appendAttribute(body_, "title", *target);
    }
    if (element.kind == ElementKind::kReplaced) inert_.anyText = true;
}

// <html> and <body> are there once, whatever the sender wrote; of more of them the attributes are joined.
void InertBuilder::startShell(const HtmlToken& token) {
    for (const std::string_view name : {"lang", "dir"}) {
        const std::string_view* value = token.find(name);
        if (value != nullptr && shellAttributes_.find(name) == std::string::npos) {
            appendAttribute(shellAttributes_, name, *value);
        }
    }
    if (token.name != "body") return;
    if (const std::string_view* names = token.find("class")) (bodyClass_ += ' ').append(*names);
    if (const std::string_view* colour = token.find("bgcolor")) {
        bodyStyle_ += "background-color:" + colourOf(withoutReferences(*colour)) + ";";
    }
    if (const std::string_view* colour = token.find("text")) {
        bodyStyle_ += "color:" + colourOf(withoutReferences(*colour)) + ";";
    }
    bodyStyle_ += styleOf(token);
}

// Closes what the beginning of an element ends: a paragraph, an item, a cell, a row.
void InertBuilder::closeImplied(const HtmlElement& element) {
    if (element.closing == 0) return;
    for (size_t i = open_.size(); i-- != 0;) {
        if (i >= open_.size()) continue;  // ended together with the one after it
        const HtmlElement& each = *open_[i].element;
        const bool isClosed = each.closedBy != 0 && (element.closing & each.closedBy) != 0;
        const bool isBarred = (each.bars & element.closing) != 0;
        if (isClosed) popTo(i);
        if (isBarred) return;
    }
}

void InertBuilder::start(const HtmlToken& token) {
    if (token.name == "html" || token.name == "body") return startShell(token);
    const HtmlElement* element = findElement(token.name);
    if (element == nullptr) return;
    closeImplied(*element);
    const bool isVoid = element->kind == ElementKind::kVoid || element->kind == ElementKind::kReplaced;
    if (!isVoid && open_.size() == kMaxDepth) {
        ++tooDeep_;
        return;
    }
    body_.append(1, '<').append(element->emitted);
    appendAttributes(token, *element);
    body_ += '>';
    if (!isVoid) open_.push_back({token.name, element, false});
}

void InertBuilder::end(const HtmlToken& token) {
    const HtmlElement* element = findElement(token.name);
    if (element == nullptr) return;
    if (tooDeep_ != 0) {
        --tooDeep_;
        return;
    }
    bool isInsideBlock = false;
    for (size_t i = open_.size(); i-- != 0;) {
        Open& open = open_[i];
        if (open.name == token.name && !open.isEnded) {
            if (isInsideBlock && element->kind == ElementKind::kInline) {
                open.isEnded = true;
            } else {
                popTo(i);
            }
            return;
        }
        // An end tag inside a cell does not end what is around the table.
        if (open.element->kind == ElementKind::kCell && element->kind != ElementKind::kCell &&
            element->kind != ElementKind::kTable) {
            return;
        }
        isInsideBlock = isInsideBlock || open.element->kind != ElementKind::kInline;
    }
}

void InertBuilder::takeRawText(const HtmlToken& token) {
    if (token.name == "style") {
        (inert_.styles += inertStyleSheet(token.text, find_, css_)) += '\n';
        return;
    }
    const bool isText = token.name == "textarea" || token.name == "xmp" || token.name == "plaintext";
    if (!isText) return;
    body_ += escapeHtml(token.text);
    inert_.anyText = true;
}

void InertBuilder::take(const HtmlToken& token) {
    switch (token.kind) {
        case HtmlToken::Kind::kText:
            appendText(body_, token.text);
            if (token.text.find_first_not_of(" \t\r\n") != std::string_view::npos) inert_.anyText = true;
            break;
        case HtmlToken::Kind::kRawText:
            takeRawText(token);
            break;
        case HtmlToken::Kind::kStart:
            count(token);
            start(token);
            break;
        case HtmlToken::Kind::kEnd:
            end(token);
            break;
    }
}

InertHtml InertBuilder::build(std::string_view html) {
    HtmlTokenizer tokenizer(html);
    for (HtmlToken token; tokenizer.next(token);) take(token);
    popTo(0);
    inert_.html = "<div class=\"" + std::string(kHtmlClass) + "\"" + shellAttributes_ + "><div";
    appendAttribute(inert_.html, "class", std::string(kBodyClass) + bodyClass_);
    if (!bodyStyle_.empty()) inert_.html += " style=\"" + escapeHtml(bodyStyle_) + "\"";
    inert_.html.append(1, '>').append(body_).append("</div></div>");
    inert_.blocked.remote += css_.remote;
    inert_.blocked.missingImages += css_.unresolved;
    inert_.hasColours = inert_.hasColours || css_.colours;
    inert_.hasDarkForm = css_.dark;
    return std::move(inert_);
}

}  // namespace

InertHtml makeInert(std::string_view html, const ReferenceFinder& find) {
    // Browsers treat zero bytes differently. All are removed first, so that none can hide a name.
    std::string whole(html);
    std::erase(whole, '\0');
    return InertBuilder(find).build(whole);
}

std::string escapeHtml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            case '\0':
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace emltool

#include "tool/view/inert_html.h"

#include <algorithm>
#include <array>
#include <vector>

#include "tool/html/link_target.h"
#include "tool/text/ascii.h"
#include "tool/view/html_elements.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 3> kColourAttributes = {"bgcolor", "color", "text"};

void appendAttribute(std::string& html, std::string_view name, std::string_view value) {
    html.append(1, ' ').append(name).append("=\"").append(escapeHtml(value)).append(1, '"');
}

// A colour in an attribute, as a value in a style sheet.
std::string colourOf(std::string_view value) {
    std::string colour;
    for (char c : value) {
        const bool isWord = (c >= '0' && c <= '9') || (lower(c) >= 'a' && lower(c) <= 'z') || c == '#';
        if (isWord) colour += c;
    }
    const bool isNumber = colour.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return isNumber && (colour.size() == 3 || colour.size() == 6) ? "#" + colour : colour;
}

// A URL as browsers read it.
std::string urlOf(std::string_view written) {
    std::string url(written);
    std::erase_if(url, [](char c) { return c == '\n' || c == '\r' || c == '\t'; });
    url.erase(0, std::min(url.find_first_not_of(' '), url.size()));
    return url;
}

// What is open around a place, and would be ended by what comes there when the copy is read. The tree of the sender's
// HTML can have an element in such a place all the same: tables put what does not belong in them before them, and some
// elements that keep others open are none in the copy.
struct OpenElements {
    bool paragraph = false;
    bool item = false;        // <li>
    bool definition = false;  // <dt>, <dd>
    bool link = false;
    bool button = false;
    bool heading = false;  // right around the place

    bool areEndedBy(std::string_view name) const {
        return (paragraph && endsParagraph(name)) || (item && name == "li") ||
               (definition && isDefinition(name)) || (link && name == "a") || (button && name == "button") ||
               (heading && isHeading(name));
    }
    void enter(std::string_view name) {
        heading = isHeading(name);
        if (name == "td" || name == "th" || name == "caption") paragraph = link = button = false;
        if (name == "button") paragraph = false;
        if (name == "button") button = true;
        if (name == "p") paragraph = true;
        if (name == "a") link = true;
        if (showsItems(name)) return;
        item = name == "li";
        definition = isDefinition(name);
    }

  private:
    static bool isHeading(std::string_view name) {
        return name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6';
    }
    static bool isDefinition(std::string_view name) { return name == "dt" || name == "dd"; }
};

// What makes a <span> look like that element.
std::string_view styleAsSpan(std::string_view name) {
    if (name == "pre") return "display:block;white-space:pre;";
    if (name == "a" || name == "button") return "";
    return name == "li" ? "display:list-item;" : "display:block;";
}

class InertBuilder {
  public:
    InertBuilder(const HtmlTree& tree, const ReferenceFinder& find) : tree_(tree), find_(find) {}

    InertHtml build();

  private:
    void countAll();
    void count(uint32_t node);
    void addInside(uint32_t node);
    void addNode(uint32_t node);
    void addElement(uint32_t node, const HtmlElement& element);
    void addShell(uint32_t node);
    void addStyleSheet(uint32_t node);
    void addAttributes(uint32_t node, std::string_view emitted, std::string_view first);
    void addImage(uint32_t node);
    void addLink(uint32_t node);
    std::string styleOf(uint32_t node);
    std::optional<std::string> resolved(std::string_view url);

    const HtmlTree& tree_;
    const ReferenceFinder& find_;
    InertHtml inert_;
    CssFindings css_;
    std::string body_;
    std::string shellAttributes_;  // of the element that stands for <html>: language and direction
    std::string bodyClass_;
    std::string bodyStyle_;
    OpenElements open_;
};

void InertBuilder::count(uint32_t node) {
    BlockedContent& blocked = inert_.blocked;
    const std::string_view name = tree_.name(node);
    if (name == "script") ++blocked.scripts;
    if (name == "form") ++blocked.forms;
    if (name == "link" && tree_.find(node, "href")) ++blocked.remote;
    const bool isForeign = tree_[node].space != HtmlNamespace::kHtml;
    for (size_t i = 0; i < tree_.attributeCount(node); ++i) {
        const HtmlAttribute attribute = tree_.attribute(node, i);
        if (attribute.name.starts_with("on") && attribute.name.size() > 4) ++blocked.scripts;
        const auto* const colour =
            std::find(kColourAttributes.begin(), kColourAttributes.end(), attribute.name);
        if (colour != kColourAttributes.end()) inert_.hasColours = true;
        const bool loads =
            isLoadingAttribute(attribute.name) || (isForeign && attribute.name.ends_with("href"));
        if (loads && isRemoteUrl(urlOf(attribute.value))) ++blocked.remote;
    }
}

// Of what is left out, too.
void InertBuilder::countAll() {
    for (uint32_t node = 0; node < tree_.size(); ++node) {
        if (tree_[node].isElement) count(node);
    }
}

// What a reference inside the message means.
std::optional<std::string> InertBuilder::resolved(std::string_view url) {
    std::optional<std::string> found;
    if (isImageData(url)) {
        found = url;
    } else if (find_ && !isRemoteUrl(url)) {
        found = find_(url);
    }
    if (!found && startsWithNoCase(url, "cid:")) ++inert_.blocked.missingImages;
    return found;
}

// The value of "style", with what other attributes say that only a style sheet can say here.
std::string InertBuilder::styleOf(uint32_t node) {
    std::string style;
    if (const auto background = tree_.find(node, "background")) {
        if (const auto found = resolved(urlOf(*background))) {
            style += "background-image:url(\"" + *found + "\");";
        }
    }
    if (const auto written = tree_.find(node, "style")) style += inertDeclarations(*written, find_, css_);
    return style;
}

void InertBuilder::addImage(uint32_t node) {
    const auto source = tree_.find(node, "src");
    if (!source) return;
    if (const auto found = resolved(urlOf(*source))) {
        appendAttribute(body_, "src", *found);
        inert_.anyText = true;
    }
}

// It leads where it says, in a window of its own that knows nothing of this one.
void InertBuilder::addLink(uint32_t node) {
    const auto href = tree_.find(node, "href");
    if (!href) return;
    const std::string target = linkTarget(*href);
    if (target.empty()) return appendAttribute(body_, "title", *href);
    appendAttribute(body_, "href", target);
    appendAttribute(body_, "title", target);
    body_ += " target=\"_blank\" rel=\"noopener noreferrer nofollow\"";
}

void InertBuilder::addAttributes(uint32_t node, std::string_view emitted, std::string_view first) {
    const bool isLink = emitted == "a" && tree_.find(node, "href");
    for (size_t i = 0; i < tree_.attributeCount(node); ++i) {
        const HtmlAttribute attribute = tree_.attribute(node, i);
        // A link has its target there.
        const bool isTaken = isLink && attribute.name == "title";
        if (isKeptAttribute(attribute.name) && !isTaken)
            appendAttribute(body_, attribute.name, attribute.value);
    }
    const std::string style = std::string(first) + styleOf(node);
    if (!style.empty()) appendAttribute(body_, "style", style);
    if (emitted == "img") addImage(node);
    if (isLink) addLink(node);
}

// <html> and <body> are there once, as elements that are none.
void InertBuilder::addShell(uint32_t node) {
    for (const std::string_view name : {"lang", "dir"}) {
        const auto value = tree_.find(node, name);
        if (value && shellAttributes_.find(name) == std::string::npos) {
            appendAttribute(shellAttributes_, name, *value);
        }
    }
    if (tree_.name(node) != "body") return;
    if (const auto names = tree_.find(node, "class")) (bodyClass_ += ' ').append(*names);
    if (const auto colour = tree_.find(node, "bgcolor")) {
        bodyStyle_ += "background-color:" + colourOf(*colour) + ";";
    }
    if (const auto colour = tree_.find(node, "text")) bodyStyle_ += "color:" + colourOf(*colour) + ";";
    bodyStyle_ += styleOf(node);
}

void InertBuilder::addStyleSheet(uint32_t node) {
    std::string css;
    for (uint32_t child = node + 1; child < tree_[node].end; ++child) css += tree_.text(child);
    const auto media = tree_.find(node, "media");
    if (media && !media->empty()) css = "@media " + std::string(*media) + '{' + css + '}';
    inert_.styles += inertStyleSheet(css, find_, css_);
}

void InertBuilder::addElement(uint32_t node, const HtmlElement& element) {
    const bool wouldEnd = open_.areEndedBy(element.emitted);
    const std::string_view name = wouldEnd ? "span" : element.emitted;
    body_.append(1, '<').append(name);
    // One inside another, which tables bring about, would end it.
    const bool isUnbroken = element.name == "nobr";
    addAttributes(node, name,
                  wouldEnd     ? styleAsSpan(element.emitted)
                  : isUnbroken ? "white-space:nowrap;"
                               : "");
    body_ += '>';
    if (element.name == "hr") inert_.anyText = true;
    if (element.isVoid) return;
    const OpenElements around = open_;
    open_.enter(name);
    const uint32_t first = node + 1;
    const bool beginsLine = name == "pre" && first < tree_[node].end && !tree_[first].isElement &&
                            tree_.text(first).starts_with('\n');
    if (beginsLine) body_ += '\n';  // the first one is not read
    addInside(node);
    open_ = around;
    body_.append("</").append(name).append(1, '>');
}

void InertBuilder::addNode(uint32_t node) {
    if (!tree_[node].isElement) {
        const std::string_view text = tree_.text(node);
        body_ += escapeHtml(text);
        if (text.find_first_not_of(" \t\r\n") != std::string_view::npos) inert_.anyText = true;
        return;
    }
    if (tree_[node].space != HtmlNamespace::kHtml) return;
    const std::string_view name = tree_.name(node);
    if (name == "style") return addStyleSheet(node);
    if (name == "head") return addInside(node);
    // A form in a table is there without content, and nothing else may stand in its place.
    if (name == "form" && tree_[node].end == node + 1) return;
    const HtmlElement* element = nullptr;
    switch (useOf(name, element)) {
        case ElementUse::kKept:
            addElement(node, *element);
            break;
        case ElementUse::kInside:
            if (name == "html" || name == "body") addShell(node);
            addInside(node);
            break;
        case ElementUse::kDropped:
            break;
    }
}

// As deep as the tree, at most.
void InertBuilder::addInside(uint32_t node) {
    for (uint32_t child = node + 1; child < tree_[node].end; child = tree_[child].end) addNode(child);
}

InertHtml InertBuilder::build() {
    countAll();
    if (!tree_.empty()) addNode(0);
    inert_.html = "<div class=\"" + std::string(kHtmlClass) + "\"" + shellAttributes_ + "><div";
    appendAttribute(inert_.html, "class", std::string(kBodyClass) + bodyClass_);
    if (!bodyStyle_.empty()) appendAttribute(inert_.html, "style", bodyStyle_);
    inert_.html.append(1, '>').append(body_).append("</div></div>");
    inert_.blocked.remote += css_.remote;
    inert_.blocked.missingImages += css_.unresolved;
    inert_.hasColours = inert_.hasColours || css_.colours;
    inert_.hasDarkForm = css_.dark;
    return std::move(inert_);
}

}  // namespace

InertHtml makeInert(const HtmlTree& tree, const ReferenceFinder& find) {
    return InertBuilder(tree, find).build();
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

#include "tool/view/html_elements.h"

#include <algorithm>
#include <array>

namespace emltool {

namespace {

constexpr std::array<HtmlElement, 89> kElements = {{
    {"a", "a"},
    {"abbr", "abbr"},
    {"acronym", "acronym"},
    {"address", "address"},
    {"article", "article"},
    {"aside", "aside"},
    {"b", "b"},
    {"bdi", "bdi"},
    {"bdo", "bdo"},
    {"big", "big"},
    {"blockquote", "blockquote"},
    {"br", "br", true},
    {"button", "button"},
    {"caption", "caption"},
    {"center", "center"},
    {"cite", "cite"},
    {"code", "code"},
    {"col", "col", true},
    {"colgroup", "colgroup"},
    {"dd", "dd"},
    {"del", "del"},
    {"details", "section"},
    {"dfn", "dfn"},
    {"dir", "dir"},
    {"div", "div"},
    {"dl", "dl"},
    {"dt", "dt"},
    {"em", "em"},
    {"fieldset", "fieldset"},
    {"figcaption", "figcaption"},
    {"figure", "figure"},
    {"font", "font"},
    {"footer", "footer"},
    {"form", "section"},
    {"h1", "h1"},
    {"h2", "h2"},
    {"h3", "h3"},
    {"h4", "h4"},
    {"h5", "h5"},
    {"h6", "h6"},
    {"header", "header"},
    {"hgroup", "hgroup"},
    {"hr", "hr", true},
    {"i", "i"},
    {"img", "img", true},
    {"ins", "ins"},
    {"kbd", "kbd"},
    {"legend", "legend"},
    {"li", "li"},
    {"listing", "pre"},
    {"main", "main"},
    {"mark", "mark"},
    {"menu", "menu"},
    {"nav", "nav"},
    {"nobr", "span"},
    {"noscript", "span"},
    {"ol", "ol"},
    {"p", "p"},
    {"plaintext", "pre"},
    {"pre", "pre"},
    {"q", "q"},
    {"rp", "rp"},
    {"rt", "rt"},
    {"ruby", "ruby"},
    {"s", "s"},
    {"samp", "samp"},
    {"section", "section"},
    {"small", "small"},
    {"span", "span"},
    {"strike", "strike"},
    {"strong", "strong"},
    {"sub", "sub"},
    {"summary", "section"},
    {"sup", "sup"},
    {"table", "table"},
    {"tbody", "tbody"},
    {"td", "td"},
    {"textarea", "pre"},
    {"tfoot", "tfoot"},
    {"th", "th"},
    {"thead", "thead"},
    {"time", "time"},
    {"tr", "tr"},
    {"tt", "tt"},
    {"u", "u"},
    {"ul", "ul"},
    {"var", "var"},
    {"wbr", "wbr", true},
    {"xmp", "pre"},
}};

constexpr bool byName(const HtmlElement& a, const HtmlElement& b) { return a.name < b.name; }
static_assert(std::is_sorted(kElements.begin(), kElements.end(), byName));

// Elements that are never shown, or whose content is for a program that cannot show them.
constexpr std::array<std::string_view, 25> kDroppedNames = {
    "applet", "audio",  "base",   "basefont", "bgsound",  "canvas",  "datalist", "embed",  "frame",
    "head",   "iframe", "input",  "link",     "meta",     "noembed", "noframes", "object", "param",
    "script", "select", "source", "style",    "template", "title",   "video"};
static_assert(std::is_sorted(kDroppedNames.begin(), kDroppedNames.end()));

// What else a browser knows and shows as nothing but its content.
constexpr std::array<std::string_view, 3> kInsideOnly = {"body", "frameset", "html"};

// Elements that end a paragraph in which they stand.
constexpr std::array<std::string_view, 34> kParagraphEnds = {
    "address", "article",  "aside",      "blockquote", "center",  "dd",      "dir",  "div",  "dl",
    "dt",      "fieldset", "figcaption", "figure",     "footer",  "h1",      "h2",   "h3",   "h4",
    "h5",      "h6",       "header",     "hgroup",     "li",      "listing", "main", "menu", "nav",
    "ol",      "p",        "pre",        "section",    "summary", "ul",      "xmp"};
static_assert(std::is_sorted(kParagraphEnds.begin(), kParagraphEnds.end()));

// Elements through which an item of a list is still seen, when HTML is read, and ended by the next.
constexpr std::array<std::string_view, 37> kShowItems = {
    "a",      "abbr", "acronym", "address", "b",    "bdi", "bdo",  "big",   "cite",   "code",
    "del",    "dfn",  "div",     "em",      "font", "i",   "ins",  "kbd",   "legend", "mark",
    "p",      "q",    "rp",      "rt",      "ruby", "s",   "samp", "small", "span",   "strike",
    "strong", "sub",  "sup",     "time",    "tt",   "u",   "var"};
static_assert(std::is_sorted(kShowItems.begin(), kShowItems.end()));

constexpr HtmlElement kUnknown = {"span", "span"};

constexpr std::array<std::string_view, 38> kAttributes = {
    "abbr",        "align", "alt",     "axis",    "bgcolor",  "border",  "bordercolor", "cellpadding",
    "cellspacing", "char",  "class",   "clear",   "color",    "cols",    "colspan",     "compact",
    "datetime",    "dir",   "face",    "frame",   "headers",  "height",  "hidden",      "hspace",
    "id",          "lang",  "noshade", "nowrap",  "reversed", "rowspan", "rules",       "scope",
    "size",        "span",  "start",   "summary", "title",    "type"};
static_assert(std::is_sorted(kAttributes.begin(), kAttributes.end()));
constexpr std::array<std::string_view, 4> kMoreAttributes = {"valign", "value", "vspace", "width"};

constexpr std::array<std::string_view, 6> kLoading = {"background", "data", "dynsrc",
                                                      "poster",     "src",  "srcset"};

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& sorted) {
    return std::binary_search(sorted.begin(), sorted.end(), word);
}

}  // namespace

ElementUse useOf(std::string_view name, const HtmlElement*& element) {
    if (isOneOf(name, kDroppedNames)) return ElementUse::kDropped;
    if (isOneOf(name, kInsideOnly)) return ElementUse::kInside;
    const auto* const found =
        std::lower_bound(kElements.begin(), kElements.end(), name,
                         [](const HtmlElement& each, std::string_view key) { return each.name < key; });
    // An element that nobody knows is shown as text around it is.
    element = found != kElements.end() && found->name == name ? &*found : &kUnknown;
    return ElementUse::kKept;
}

bool endsParagraph(std::string_view emitted) { return isOneOf(emitted, kParagraphEnds); }

bool showsItems(std::string_view emitted) { return isOneOf(emitted, kShowItems); }

bool isKeptAttribute(std::string_view name) {
    return isOneOf(name, kAttributes) || isOneOf(name, kMoreAttributes);
}

bool isLoadingAttribute(std::string_view name) { return isOneOf(name, kLoading); }

}  // namespace emltool

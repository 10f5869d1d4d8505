#include "tool/view/html_elements.h"

#include <algorithm>
#include <array>

namespace emltool {

namespace {

using enum ElementKind;

constexpr ElementGroups kAll = kParagraphs | kItems | kTerms | kCells | kRows | kRowGroups;
constexpr ElementGroups kInsideCell = kParagraphs | kItems | kTerms;

constexpr HtmlElement block(std::string_view name) { return {name, name, kBlock, kParagraphs, 0, 0}; }
constexpr HtmlElement inlined(std::string_view name) { return {name, name, kInline, 0, 0, 0}; }

// In the order of their names.
constexpr std::array kElements = {
    HtmlElement{"a", "x-a", kInline, 0, 0, 0},
    inlined("abbr"),
    inlined("acronym"),
    block("address"),
    block("article"),
    block("aside"),
    inlined("b"),
    inlined("bdi"),
    inlined("bdo"),
    inlined("big"),
    block("blockquote"),
    HtmlElement{"br", "br", kVoid, 0, 0, 0},
    HtmlElement{"caption", "caption", kCell, kCells | kRows, 0, kInsideCell},
    block("center"),
    inlined("cite"),
    inlined("code"),
    HtmlElement{"col", "col", kVoid, 0, 0, 0},
    HtmlElement{"colgroup", "colgroup", kCell, 0, 0, 0},
    HtmlElement{"dd", "dd", kBlock, kParagraphs | kTerms, kTerms, 0},
    inlined("del"),
    HtmlElement{"details", "div", kBlock, kParagraphs, 0, 0},
    inlined("dfn"),
    block("dir"),
    block("div"),
    HtmlElement{"dl", "dl", kBlock, kParagraphs, 0, kTerms},
    HtmlElement{"dt", "dt", kBlock, kParagraphs | kTerms, kTerms, 0},
    inlined("em"),
    block("fieldset"),
    block("figcaption"),
    block("figure"),
    inlined("font"),
    block("footer"),
    HtmlElement{"form", "div", kBlock, kParagraphs, 0, 0},
    block("h1"),
    block("h2"),
    block("h3"),
    block("h4"),
    block("h5"),
    block("h6"),
    block("header"),
    block("hgroup"),
    HtmlElement{"hr", "hr", kReplaced, kParagraphs, 0, 0},
    inlined("i"),
    HtmlElement{"img", "img", kVoid, 0, 0, 0},
    inlined("ins"),
    inlined("kbd"),
    HtmlElement{"li", "li", kBlock, kParagraphs | kItems, kItems, 0},
    HtmlElement{"listing", "pre", kBlock, kParagraphs, 0, 0},
    block("main"),
    inlined("mark"),
    HtmlElement{"menu", "menu", kBlock, kParagraphs, 0, kItems},
    block("nav"),
    inlined("nobr"),
    HtmlElement{"ol", "ol", kBlock, kParagraphs, 0, kItems},
    HtmlElement{"p", "p", kBlock, kParagraphs, kParagraphs, 0},
    HtmlElement{"plaintext", "pre", kBlock, kParagraphs, 0, 0},
    block("pre"),
    inlined("q"),
    inlined("rp"),
    inlined("rt"),
    inlined("ruby"),
    inlined("s"),
    inlined("samp"),
    block("section"),
    inlined("small"),
    inlined("span"),
    inlined("strike"),
    inlined("strong"),
    inlined("sub"),
    HtmlElement{"summary", "div", kBlock, kParagraphs, 0, 0},
    inlined("sup"),
    HtmlElement{"table", "table", kTable, kParagraphs, 0, kAll},
    HtmlElement{"tbody", "tbody", kCell, kCells | kRows | kRowGroups, kRowGroups, kInsideCell},
    HtmlElement{"td", "td", kCell, kCells, kCells, kInsideCell},
    HtmlElement{"textarea", "pre", kBlock, kParagraphs, 0, 0},
    HtmlElement{"tfoot", "tfoot", kCell, kCells | kRows | kRowGroups, kRowGroups, kInsideCell},
    HtmlElement{"th", "th", kCell, kCells, kCells, kInsideCell},
    HtmlElement{"thead", "thead", kCell, kCells | kRows | kRowGroups, kRowGroups, kInsideCell},
    inlined("time"),
    HtmlElement{"tr", "tr", kCell, kCells | kRows, kRows, kInsideCell},
    inlined("tt"),
    inlined("u"),
    HtmlElement{"ul", "ul", kBlock, kParagraphs, 0, kItems},
    inlined("var"),
    HtmlElement{"wbr", "wbr", kVoid, 0, 0, 0},
    HtmlElement{"xmp", "pre", kBlock, kParagraphs, 0, 0},
};

constexpr bool byName(const HtmlElement& a, const HtmlElement& b) { return a.name < b.name; }
static_assert(std::is_sorted(kElements.begin(), kElements.end(), byName));

// Elements of which only the content stays, if they have any.
constexpr std::array<std::string_view, 38> kWithoutTags = {
    "applet",   "area",     "audio", "base",     "basefont", "bgsound", "body",    "canvas",
    "datalist", "embed",    "frame", "frameset", "head",     "html",    "iframe",  "input",
    "isindex",  "keygen",   "link",  "map",      "math",     "meta",    "noembed", "noframes",
    "noscript", "object",   "param", "picture",  "script",   "select",  "source",  "style",
    "svg",      "template", "title", "track",    "video",    "portal"};

constexpr HtmlElement kUnknown = {"span", "span", kInline, 0, 0, 0};

}  // namespace

const HtmlElement* findElement(std::string_view name) {
    const auto* found =
        std::lower_bound(kElements.begin(), kElements.end(), name,
                         [](const HtmlElement& each, std::string_view key) { return each.name < key; });
    if (found != kElements.end() && found->name == name) return &*found;
    if (std::find(kWithoutTags.begin(), kWithoutTags.end(), name) != kWithoutTags.end()) return nullptr;
    return &kUnknown;
}

}  // namespace emltool

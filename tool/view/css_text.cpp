#include "tool/view/css_text.h"

#include <algorithm>
#include <array>
#include <vector>

#include "tool/html/css_sheet.h"
#include "tool/html/css_tokens.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;

// Properties by their names, or by the beginning of their names before "-".
constexpr std::array<std::string_view, 52> kProperties = {"align-items",
                                                          "align-self",
                                                          "border-collapse",
                                                          "border-spacing",
                                                          "bottom",
                                                          "box-shadow",
                                                          "box-sizing",
                                                          "caption-side",
                                                          "clear",
                                                          "clip",
                                                          "clip-path",
                                                          "color",
                                                          "color-scheme",
                                                          "column-gap",
                                                          "direction",
                                                          "display",
                                                          "empty-cells",
                                                          "flex",
                                                          "float",
                                                          "gap",
                                                          "height",
                                                          "hyphens",
                                                          "justify-content",
                                                          "justify-items",
                                                          "left",
                                                          "letter-spacing",
                                                          "line-height",
                                                          "max-height",
                                                          "max-width",
                                                          "min-height",
                                                          "min-width",
                                                          "object-fit",
                                                          "opacity",
                                                          "order",
                                                          "orphans",
                                                          "position",
                                                          "quotes",
                                                          "right",
                                                          "row-gap",
                                                          "tab-size",
                                                          "table-layout",
                                                          "top",
                                                          "transform",
                                                          "unicode-bidi",
                                                          "vertical-align",
                                                          "visibility",
                                                          "white-space",
                                                          "widows",
                                                          "width",
                                                          "word-break",
                                                          "word-spacing",
                                                          "word-wrap"};
static_assert(std::is_sorted(kProperties.begin(), kProperties.end()));

constexpr std::array<std::string_view, 12> kFamilies = {"background", "border",     "flex",    "font",
                                                        "list-style", "margin",     "outline", "overflow",
                                                        "padding",    "page-break", "text",    "z-index"};

// Functions that compute a value from what is written in them.
constexpr std::array<std::string_view, 26> kFunctions = {"calc",
                                                         "circle",
                                                         "clamp",
                                                         "ellipse",
                                                         "hsl",
                                                         "hsla",
                                                         "inset",
                                                         "linear-gradient",
                                                         "max",
                                                         "min",
                                                         "polygon",
                                                         "radial-gradient",
                                                         "rect",
                                                         "repeating-linear-gradient",
                                                         "repeating-radial-gradient",
                                                         "rgb",
                                                         "rgba",
                                                         "rotate",
                                                         "scale",
                                                         "scalex",
                                                         "scaley",
                                                         "skewx",
                                                         "skewy",
                                                         "translate",
                                                         "translatex",
                                                         "translatey"};
static_assert(std::is_sorted(kFunctions.begin(), kFunctions.end()));

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& sorted) {
    return std::binary_search(sorted.begin(), sorted.end(), word);
}

bool isKeptProperty(std::string_view name) {
    if (isOneOf(name, kProperties)) return true;
    return std::any_of(kFamilies.begin(), kFamilies.end(), [&](std::string_view family) {
        return name.starts_with(family) && (name.size() == family.size() || name[family.size()] == '-');
    });
}

class CssWriter {
  public:
    CssWriter(const ReferenceFinder& find, CssFindings& findings) : find_(find), findings_(findings) {}

    std::string declarations(const std::vector<CssDeclaration>& declarations);
    std::string sheet(const CssSheet& sheet);

  private:
    std::optional<std::string> value(const CssDeclaration& declaration);
    std::string url(std::string_view url);
    static std::string selectorText(const CssSelector& selector);
    static std::string compoundText(const CssCompound& compound);
    bool mediaText(const std::vector<CssToken>& query, std::string& text);

    const ReferenceFinder& find_;
    CssFindings& findings_;
};

std::string CssWriter::url(std::string_view url) {
    if (isRemoteUrl(url)) ++findings_.remote;
    std::optional<std::string> found;
    if (isImageData(url)) {
        found = url;
    } else if (find_) {
        found = find_(url);
    }
    if (!found && startsWithNoCase(url, "cid:")) ++findings_.unresolved;
    return "url(" + cssString(found.value_or("data:,")) + ")";
}

// Nothing if some of it is not known.
std::optional<std::string> CssWriter::value(const CssDeclaration& declaration) {
    std::string text;
    for (const CssToken& token : declaration.value) {
        const bool isSign = token.kind == Kind::kSign &&
                            std::string_view("(),/+-*").find(token.text) != std::string_view::npos;
        switch (token.kind) {
            case Kind::kUrl:
                text += url(token.text);
                break;
            case Kind::kFunction:
                if (!isOneOf(token.text, kFunctions)) return std::nullopt;
                text += cssText(token);
                break;
            case Kind::kWord:
            case Kind::kHash:
            case Kind::kString:
            case Kind::kNumber:
            case Kind::kBlank:
                text += cssText(token);
                break;
            default:
                if (!isSign) return std::nullopt;
                text += token.text;
        }
    }
    const bool isFixed =
        declaration.property == "position" && lowerCase(text).find("fixed") != std::string::npos;
    return isFixed ? std::nullopt : std::optional<std::string>(std::move(text));
}

std::string CssWriter::declarations(const std::vector<CssDeclaration>& declarations) {
    std::string text;
    for (const CssDeclaration& each : declarations) {
        // What is left out is counted all the same.
        const std::optional<std::string> value = this->value(each);
        if (!value || !isKeptProperty(each.property)) continue;
        if (each.property == "color" || each.property == "background" ||
            each.property == "background-color") {
            findings_.colours = true;
        }
        if (!text.empty()) text += ';';
        text.append(each.property).append(1, ':').append(*value);
        if (each.isImportant) text += " !important";
    }
    return text;
}

std::string CssWriter::compoundText(const CssCompound& compound) {
    std::string text;
    if (compound.element == "html" || compound.element == "body") {
        text = '.' + std::string(compound.element == "body" ? kBodyClass : kHtmlClass);
    } else if (!compound.element.empty()) {
        text = cssText({Kind::kWord, compound.element, 0, {}});
    }
    for (const std::string& id : compound.ids) text += '#' + cssText({Kind::kWord, id, 0, {}});
    for (const std::string& name : compound.classes) text += '.' + cssText({Kind::kWord, name, 0, {}});
    for (const CssCompound::Attribute& attribute : compound.attributes) {
        text += '[' + cssText({Kind::kWord, attribute.name, 0, {}});
        if (attribute.relation != '\0') {
            if (attribute.relation != '=') text += attribute.relation;
            text += '=' + cssString(attribute.value) + (attribute.anyCase ? " i" : "");
        }
        text += ']';
    }
    for (const CssCompound::Test& test : compound.tests) {
        text += test.pseudo == CssCompound::Pseudo::kRoot ? '.' + std::string(kHtmlClass) : ':' + test.text;
    }
    return text.empty() ? "*" : text;
}

std::string CssWriter::selectorText(const CssSelector& selector) {
    std::string text;
    for (const CssCompound& compound : selector.compounds) {
        if (!text.empty()) {
            text +=
                compound.combinator == ' ' ? std::string(" ") : std::string(" ") + compound.combinator + ' ';
        }
        text += compoundText(compound);
    }
    return text;
}

bool CssWriter::mediaText(const std::vector<CssToken>& query, std::string& text) {
    for (const CssToken& token : query) {
        const bool isSign =
            token.kind == Kind::kSign && std::string_view("(),:/").find(token.text) != std::string_view::npos;
        const bool isKnown =
            isSign || token.kind == Kind::kWord || token.kind == Kind::kNumber || token.kind == Kind::kBlank;
        if (!isKnown) return false;
        if (token.kind == Kind::kWord && equalNoCase(token.text, "prefers-color-scheme"))
            findings_.dark = true;
        text += cssText(token);
    }
    return true;
}

std::string CssWriter::sheet(const CssSheet& sheet) {
    findings_.remote += sheet.imports;
    std::string text;
    for (const CssRule& rule : sheet.rules) {
        std::string rules;
        for (const CssSelector& selector : rule.selectors) {
            if (!rules.empty()) rules += ',';
            rules += selectorText(selector);
        }
        const std::string inside = declarations(rule.declarations);
        if (inside.empty()) continue;
        rules += '{' + inside + '}';
        bool isKnown = true;
        std::string media;
        for (const std::vector<CssToken>& query : rule.media) {
            media += "@media ";
            isKnown = isKnown && mediaText(query, media);
            media += '{';
        }
        rules = media + rules + std::string(rule.media.size(), '}');
        if (isKnown) text += rules + '\n';
    }
    return text;
}

}  // namespace

std::string inertStyleSheet(std::string_view css, const ReferenceFinder& find, CssFindings& findings) {
    return CssWriter(find, findings).sheet(readSheet(css));
}

std::string inertDeclarations(std::string_view css, const ReferenceFinder& find, CssFindings& findings) {
    return CssWriter(find, findings).declarations(readDeclarations(css));
}

bool isRemoteUrl(std::string_view url) {
    return startsWithNoCase(url, "http:") || startsWithNoCase(url, "https:") || startsWithNoCase(url, "//") ||
           startsWithNoCase(url, "\\\\") || startsWithNoCase(url, "ftp:");
}

bool isImageData(std::string_view url) {
    constexpr std::array<std::string_view, 7> kTypes = {"avif", "bmp", "gif", "jpeg", "jpg", "png", "webp"};
    constexpr std::string_view kStart = "data:image/";
    if (!startsWithNoCase(url, kStart)) return false;
    const std::string_view rest = url.substr(kStart.size());
    const size_t end = rest.find_first_of(";,");
    if (end == std::string_view::npos || !isOneOf(lowerCase(rest.substr(0, end)), kTypes)) return false;
    return std::all_of(url.begin(), url.end(), [](char c) {
        return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9') ||
               std::string_view("-_:;,+/=%.").find(c) != std::string_view::npos;
    });
}

}  // namespace emltool

#include "tool/html/element_style.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tool/html/css_sheet.h"
#include "tool/html/rule_index.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;
using Value = std::span<const CssToken>;

// Properties that decide what is seen. Their names are sorted.
enum Property : size_t {
    kBackground,
    kBackgroundColor,
    kBackgroundImage,
    kClip,
    kClipPath,
    kColor,
    kDisplay,
    kFloat,
    kFont,
    kFontSize,
    kFontStyle,
    kFontWeight,
    kHeight,
    kLeft,
    kMargin,
    kMarginLeft,
    kMarginTop,
    kMaxHeight,
    kMaxWidth,
    kMinHeight,
    kMinWidth,
    kOpacity,
    kOverflow,
    kOverflowX,
    kOverflowY,
    kPosition,
    kRight,
    kTextIndent,
    kTop,
    kTransform,
    kVisibility,
    kWhiteSpace,
    kWidth,
    kProperties
};

constexpr std::array<std::string_view, kProperties> kPropertyNames = {"background",
                                                                      "background-color",
                                                                      "background-image",
                                                                      "clip",
                                                                      "clip-path",
                                                                      "color",
                                                                      "display",
                                                                      "float",
                                                                      "font",
                                                                      "font-size",
                                                                      "font-style",
                                                                      "font-weight",
                                                                      "height",
                                                                      "left",
                                                                      "margin",
                                                                      "margin-left",
                                                                      "margin-top",
                                                                      "max-height",
                                                                      "max-width",
                                                                      "min-height",
                                                                      "min-width",
                                                                      "opacity",
                                                                      "overflow",
                                                                      "overflow-x",
                                                                      "overflow-y",
                                                                      "position",
                                                                      "right",
                                                                      "text-indent",
                                                                      "top",
                                                                      "transform",
                                                                      "visibility",
                                                                      "white-space",
                                                                      "width"};
static_assert(std::is_sorted(kPropertyNames.begin(), kPropertyNames.end()));

std::optional<Property> propertyOf(std::string_view name) {
    const auto* const found = std::lower_bound(kPropertyNames.begin(), kPropertyNames.end(), name);
    if (found == kPropertyNames.end() || *found != name) return std::nullopt;
    return static_cast<Property>(found - kPropertyNames.begin());
}

// Elements that are blocks, and those that are never shown, whatever a sheet says.
constexpr std::array<std::string_view, 46> kBlocks = {
    "address", "article", "aside",    "blockquote", "body",   "center",   "dd",         "details",
    "dialog",  "dir",     "div",      "dl",         "dt",     "fieldset", "figcaption", "figure",
    "footer",  "form",    "frameset", "h1",         "h2",     "h3",       "h4",         "h5",
    "h6",      "header",  "hgroup",   "hr",         "html",   "legend",   "listing",    "main",
    "menu",    "nav",     "ol",       "optgroup",   "option", "p",        "plaintext",  "pre",
    "search",  "section", "summary",  "textarea",   "ul",     "xmp"};
static_assert(std::is_sorted(kBlocks.begin(), kBlocks.end()));

constexpr std::array<std::string_view, 28> kNeverShown = {
    "applet", "area",   "audio",  "base",  "basefont", "canvas",  "datalist", "embed",  "frame", "head",
    "iframe", "input",  "link",   "math",  "meta",     "noembed", "noframes", "object", "param", "rp",
    "script", "select", "source", "style", "template", "title",   "track",    "video"};
static_assert(std::is_sorted(kNeverShown.begin(), kNeverShown.end()));

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& sorted) {
    return std::binary_search(sorted.begin(), sorted.end(), word);
}

Display ownDisplay(std::string_view name) {
    if (isOneOf(name, kBlocks)) return Display::kBlock;
    if (name == "li") return Display::kListItem;
    if (name == "table") return Display::kTable;
    if (name == "tr") return Display::kTableRow;
    if (name == "td" || name == "th") return Display::kTableCell;
    if (name == "tbody" || name == "thead" || name == "tfoot" || name == "caption" || name == "colgroup" ||
        name == "col") {
        return Display::kTablePart;
    }
    return isOneOf(name, kNeverShown) ? Display::kNone : Display::kInline;
}

struct DisplayWord {
    std::string_view word;
    Display display;
};

constexpr std::array<DisplayWord, 16> kDisplays = {{{"none", Display::kNone},
                                                    {"inline", Display::kInline},
                                                    {"contents", Display::kInline},
                                                    {"block", Display::kBlock},
                                                    {"flex", Display::kBlock},
                                                    {"grid", Display::kBlock},
                                                    {"flow-root", Display::kBlock},
                                                    {"list-item", Display::kListItem},
                                                    {"inline-block", Display::kInlineBlock},
                                                    {"inline-flex", Display::kInlineBlock},
                                                    {"inline-table", Display::kInlineBlock},
                                                    {"table", Display::kTable},
                                                    {"table-row", Display::kTableRow},
                                                    {"table-cell", Display::kTableCell},
                                                    {"table-row-group", Display::kTablePart},
                                                    {"table-caption", Display::kTablePart}}};

// The declarations that win for one element.
class Cascade {
  public:
    void clear() { won_.fill({}); }

    void add(const CssDeclaration& declaration, bool isInline, uint32_t specificity, uint32_t order) {
        const std::optional<Property> property = propertyOf(declaration.property);
        if (!property) return;
        const uint64_t rank = (declaration.isImportant ? uint64_t{1} << 62 : 0) |
                              (isInline ? uint64_t{1} << 61 : 0) | uint64_t{specificity} << 32 | order;
        if (won_[*property].value == nullptr || rank >= won_[*property].rank) {
            won_[*property] = {&declaration, rank};
        }
    }

    Value operator[](Property property) const {
        const CssDeclaration* const value = won_[property].value;
        return value == nullptr ? Value() : Value(value->value);
    }
    bool beats(Property one, Property other) const {
        return won_[one].value != nullptr &&
               (won_[other].value == nullptr || won_[one].rank > won_[other].rank);
    }

    std::string word(Property property) const {
        const Value value = (*this)[property];
        return value.empty() || value[0].kind != Kind::kWord ? "" : lowerCase(value[0].text);
    }

  private:
    struct Won {
        const CssDeclaration* value = nullptr;
        uint64_t rank = 0;
    };
    std::array<Won, kProperties> won_{};
};

// A length in CSS pixels; nothing if it is none, or depends on the size of the window.
std::optional<double> pixels(Value value, double fontSize) {
    if (value.size() != 1 || value[0].kind != Kind::kNumber) return std::nullopt;
    const CssToken& token = value[0];
    if (token.unit.empty() || token.unit == "px") return token.number;
    if (token.unit == "em") return token.number * fontSize;
    if (token.unit == "ex" || token.unit == "ch") return token.number * fontSize / 2;
    if (token.unit == "rem") return token.number * 16;
    if (token.unit == "pt") return token.number * 96 / 72;
    if (token.unit == "pc") return token.number * 16;
    if (token.unit == "in") return token.number * 96;
    if (token.unit == "cm") return token.number * 96 / 2.54;
    if (token.unit == "mm") return token.number * 96 / 25.4;
    if (token.unit == "vw" || token.unit == "vh" || token.unit == "%") return token.number * 8;
    return std::nullopt;
}

struct SizeWord {
    std::string_view word;
    double pixels;
};
constexpr std::array<SizeWord, 8> kSizes = {{{"xx-small", 9},
                                             {"x-small", 10},
                                             {"small", 13},
                                             {"medium", 16},
                                             {"large", 18},
                                             {"x-large", 24},
                                             {"xx-large", 32},
                                             {"xxx-large", 48}}};

std::optional<double> fontSizeOf(const CssToken& token, double around) {
    if (token.kind == Kind::kWord) {
        const std::string word = lowerCase(token.text);
        for (const SizeWord& size : kSizes) {
            if (size.word == word) return size.pixels;
        }
        if (word == "smaller") return around / 1.2;
        if (word == "larger") return around * 1.2;
        return std::nullopt;
    }
    if (token.kind == Kind::kNumber && token.unit == "%") return token.number * around / 100;
    return pixels({&token, 1}, around);
}

// "font: bold 12px/1.5 Arial".
std::optional<double> fontSizeOf(Value font, double around) {
    for (const CssToken& token : font) {
        const bool isWeight = token.kind == Kind::kNumber && token.unit.empty() && token.number >= 100;
        if (isWeight) continue;
        if (const auto size = fontSizeOf(token, around)) return size;
    }
    return std::nullopt;
}

// So far that no screen shows it. Margins of a few hundred pixels, and shifts by a share of the size, centre boxes.
constexpr double kFar = 800;
constexpr double kFarMargin = 2000;

// The numbers of the function that a value begins with, if its name is one of `names`, or begins with one.
std::vector<const CssToken*> numbersOf(Value value, std::initializer_list<std::string_view> names) {
    std::vector<const CssToken*> numbers;
    const bool isKnown = !value.empty() && value[0].kind == Kind::kFunction &&
                         std::any_of(names.begin(), names.end(),
                                     [&](std::string_view name) { return value[0].text.starts_with(name); });
    for (const CssToken& token : value) {
        if (isKnown && token.kind == Kind::kNumber) numbers.push_back(&token);
    }
    return numbers;
}

// clip: rect(0,0,0,0)
bool isEmptyClip(Value clip) {
    const auto sides = numbersOf(clip, {"rect"});
    return sides.size() == 4 &&
           (sides[2]->number - sides[0]->number <= 1 || sides[1]->number - sides[3]->number <= 1);
}

// clip-path: inset(50%), circle(0)
bool isEmptyPath(Value path) {
    const auto inset = numbersOf(path, {"inset"});
    if (!inset.empty() && inset[0]->unit == "%" && inset[0]->number >= 50) return true;
    const auto radius = numbersOf(path, {"circle", "ellipse"});
    return !radius.empty() && radius[0]->number <= 0;
}

// transform: scale(0), translate(-9999px)
bool movesAway(Value transform) {
    const auto factors = numbersOf(transform, {"scale"});
    const auto ways = numbersOf(transform, {"translate"});
    const auto isNothing = [](const CssToken* factor) {
        return factor->number > -0.02 && factor->number < 0.02;
    };
    const auto isFar = [](const CssToken* way) {
        const double length = pixels({way, 1}, 16).value_or(0) / (way->unit == "%" ? 2 : 1);
        return length <= -kFar || length >= 10 * kFar;
    };
    return std::any_of(factors.begin(), factors.end(), isNothing) ||
           std::any_of(ways.begin(), ways.end(), isFar);
}

class Styler {
  public:
    explicit Styler(const HtmlTree& tree) : tree_(tree) {}

    ElementStyles style();

  private:
    void readSheets();
    void styleElement(uint32_t node);
    void gather(uint32_t node);
    void setDisplay(uint32_t node, ElementStyle& style) const;
    void setFont(ElementStyle& style, double around) const;
    void setColours(uint32_t node, ElementStyle& style) const;
    void setGround(uint32_t node, ElementStyle& style) const;
    void setBlanks(uint32_t node, ElementStyle& style) const;
    void setSight(ElementStyle& style) const;
    bool isOffScreen(const ElementStyle& style) const;
    bool hasNoSize(const ElementStyle& style) const;
    bool isClipped() const;
    bool hidesOverflow() const;

    const HtmlTree& tree_;
    CssSheet sheet_;
    std::vector<CssDeclaration> inline_;
    Cascade cascade_;
    std::optional<RuleIndex> index_;
    ElementStyles result_;
};

// Sheets beyond this length are not read.
constexpr size_t kMaxSheets = size_t{4} << 20;

void Styler::readSheets() {
    std::string css;
    for (uint32_t node = 0; node < tree_.size(); ++node) {
        if (tree_.name(node) != "style") continue;
        const auto media = tree_.find(node, "media");
        if (media && !media->empty() && !meetsMedia(cssTokens(*media))) continue;
        for (uint32_t child = node + 1; child < tree_[node].end; ++child) {
            if (!tree_[child].isElement) (css += tree_.text(child)) += '\n';
        }
    }
    if (css.size() > kMaxSheets) {
        css.resize(kMaxSheets);
        result_.isComplete = false;
    }
    sheet_ = readSheet(css);
}

void Styler::gather(uint32_t node) {
    cascade_.clear();
    inline_.clear();
    for (const RuleIndex::Match& match : index_->matches(node)) {
        for (const CssDeclaration& declaration : match.rule->declarations) {
            cascade_.add(declaration, false, match.specificity, match.order);
        }
    }
    const auto style = tree_.find(node, "style");
    if (!style) return;
    inline_ = readDeclarations(*style);
    for (size_t i = 0; i < inline_.size(); ++i) cascade_.add(inline_[i], true, 0, static_cast<uint32_t>(i));
}

void Styler::setDisplay(uint32_t node, ElementStyle& style) const {
    const bool isHtml = tree_[node].space == HtmlNamespace::kHtml;
    style.display = isHtml ? ownDisplay(tree_.name(node)) : Display::kNone;
    if (style.display == Display::kNone) return;
    const bool isClosed = tree_.name(node) == "dialog" && !tree_.find(node, "open");
    if (tree_.find(node, "hidden") || isClosed) style.display = Display::kNone;
    const std::string word = cascade_.word(kDisplay);
    for (const DisplayWord& known : kDisplays) {
        if (known.word == word) style.display = known.display;
    }
    const std::string floats = cascade_.word(kFloat);
    const std::string position = cascade_.word(kPosition);
    const bool isBlock =
        floats == "left" || floats == "right" || position == "absolute" || position == "fixed";
    const bool isInline = style.display == Display::kInline || style.display == Display::kInlineBlock;
    if (isBlock && isInline) style.display = Display::kBlock;
}

void Styler::setFont(ElementStyle& style, double around) const {
    std::optional<double> size = fontSizeOf(cascade_[kFontSize], around);
    if (cascade_.beats(kFont, kFontSize)) size = fontSizeOf(cascade_[kFont], around);
    if (size) style.fontSize = std::max(0.0, *size);
    const Value weight = cascade_[kFontWeight];
    if (!weight.empty()) {
        const std::string word = cascade_.word(kFontWeight);
        style.isBold = word == "bold" || word == "bolder" || weight[0].number >= 600;
    }
    const std::string slant = cascade_.word(kFontStyle);
    if (!slant.empty()) style.isItalic = slant == "italic" || slant == "oblique";
}

void Styler::setColours(uint32_t node, ElementStyle& style) const {
    const std::string_view name = tree_.name(node);
    if (name == "a" && tree_.find(node, "href")) style.colour = {0, 0, 238, 1};
    if (name == "mark") {
        style.colour = {0, 0, 0, 1};
        style.ground = {255, 255, 0, 1};
    }
    if (const auto text = tree_.find(node, name == "body" ? "text" : "color")) {
        if (const auto colour = attributeColour(*text); colour && (name == "body" || name == "font")) {
            style.colour = *colour;
        }
    }
    if (const auto colour = findColour(cascade_[kColor])) style.colour = *colour;
    setGround(node, style);
}

void Styler::setGround(uint32_t node, ElementStyle& style) const {
    if (const auto attribute = tree_.find(node, "bgcolor")) {
        if (const auto colour = attributeColour(*attribute)) {
            style.ground = *colour;
            style.knowsGround = true;
        }
    }
    const bool isShort = cascade_.beats(kBackground, kBackgroundColor);
    const std::optional<Colour> colour = findColour(cascade_[isShort ? kBackground : kBackgroundColor]);
    if (colour && colour->alpha > 0.5) {
        style.ground = *colour;
        style.knowsGround = true;
    }
    const auto isPicture = [](const CssToken& token) {
        return token.kind == Kind::kUrl || token.kind == Kind::kBroken ||
               (token.kind == Kind::kFunction && token.text.find("gradient") != std::string::npos);
    };
    for (const Property property : {kBackground, kBackgroundImage}) {
        const Value value = cascade_[property];
        if (std::any_of(value.begin(), value.end(), isPicture)) style.knowsGround = false;
    }
    if (tree_.find(node, "background")) style.knowsGround = false;
}

void Styler::setBlanks(uint32_t node, ElementStyle& style) const {
    const std::string_view name = tree_.name(node);
    if (name == "pre" || name == "listing" || name == "xmp" || name == "plaintext" || name == "textarea") {
        style.keepsBlanks = style.keepsLines = true;
    }
    const std::string word = cascade_.word(kWhiteSpace);
    if (word.empty()) return;
    style.keepsBlanks = word == "pre" || word == "pre-wrap" || word == "break-spaces";
    style.keepsLines = style.keepsBlanks || word == "pre-line";
}

bool Styler::hidesOverflow() const {
    constexpr std::array<Property, 3> kOverflows = {kOverflow, kOverflowX, kOverflowY};
    return std::any_of(kOverflows.begin(), kOverflows.end(), [&](Property property) {
        const std::string word = cascade_.word(property);
        return word == "hidden" || word == "clip" || word == "scroll" || word == "auto";
    });
}

bool Styler::isOffScreen(const ElementStyle& style) const {
    const auto at = [&](Property property) { return pixels(cascade_[property], style.fontSize).value_or(0); };
    const std::string position = cascade_.word(kPosition);
    if (position == "absolute" || position == "fixed" || position == "relative") {
        if (at(kLeft) <= -kFar || at(kTop) <= -kFar || at(kRight) <= -kFar) return true;
        if (at(kLeft) >= 10 * kFar || at(kTop) >= 100 * kFar) return true;
    }
    if (at(kMarginLeft) <= -kFarMargin || at(kMarginTop) <= -kFarMargin) return true;
    const Value margin = cascade_[kMargin];
    return std::any_of(margin.begin(), margin.end(), [&](const CssToken& token) {
        return pixels({&token, 1}, style.fontSize).value_or(0) <= -kFarMargin;
    });
}

bool Styler::hasNoSize(const ElementStyle& style) const {
    if (style.display == Display::kInline || !hidesOverflow()) return false;
    const auto isNothing = [&](Property property) {
        return pixels(cascade_[property], style.fontSize).value_or(2) <= 1;
    };
    const auto isNothingAtLeast = [&](Property property) {
        return pixels(cascade_[property], style.fontSize).value_or(0) <= 1;
    };
    return ((isNothing(kHeight) || isNothing(kMaxHeight)) && isNothingAtLeast(kMinHeight)) ||
           ((isNothing(kWidth) || isNothing(kMaxWidth)) && isNothingAtLeast(kMinWidth));
}

bool Styler::isClipped() const {
    const std::string position = cascade_.word(kPosition);
    const bool canBeClipped = position == "absolute" || position == "fixed";
    return (canBeClipped && isEmptyClip(cascade_[kClip])) || isEmptyPath(cascade_[kClipPath]) ||
           movesAway(cascade_[kTransform]);
}

void Styler::setSight(ElementStyle& style) const {
    if (style.display == Display::kNone) style.isGone = true;
    const std::string visibility = cascade_.word(kVisibility);
    if (visibility == "hidden" || visibility == "collapse") style.isInvisible = true;
    if (visibility == "visible") style.isInvisible = false;
    const Value opacity = cascade_[kOpacity];
    if (!opacity.empty() && opacity[0].kind == Kind::kNumber) {
        style.opacity *=
            std::clamp(opacity[0].unit == "%" ? opacity[0].number / 100 : opacity[0].number, 0.0, 1.0);
    }
    if (const auto indent = pixels(cascade_[kTextIndent], style.fontSize)) style.indent = *indent;
    constexpr double kTransparent = 0.06;
    if (style.opacity < kTransparent || isOffScreen(style) || hasNoSize(style) || isClipped()) {
        style.isOutOfSight = true;
    }
}

void Styler::styleElement(uint32_t node) {
    ElementStyle style = result_.styles[tree_[node].parent];
    const double around = style.fontSize;
    gather(node);
    const std::string_view name = tree_.name(node);
    if (name == "b" || name == "strong" || name == "th") style.isBold = true;
    if (name == "i" || name == "em" || name == "cite" || name == "address") style.isItalic = true;
    setDisplay(node, style);
    setFont(style, around);
    setColours(node, style);
    setBlanks(node, style);
    setSight(style);
    result_.styles[node] = style;
}

ElementStyles Styler::style() {
    readSheets();
    index_.emplace(tree_, sheet_.rules);
    result_.styles.resize(tree_.size());
    for (uint32_t node = 0; node < tree_.size(); ++node) {
        if (tree_[node].isElement) {
            styleElement(node);
        } else {
            result_.styles[node] = result_.styles[tree_[node].parent];
        }
    }
    result_.isComplete = result_.isComplete && index_->isComplete();
    return std::move(result_);
}

}  // namespace

bool ElementStyle::hidesText() const {
    constexpr double kLegible = 1.5;
    return hidesPictures() || fontSize < kLegible || indent <= -kFar ||
           (knowsGround && looksSame(colour, ground));
}

ElementStyles styleElements(const HtmlTree& tree) { return Styler(tree).style(); }

}  // namespace emltool

#include "tool/html/css_sheet.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <span>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;
using Tokens = std::span<const CssToken>;

constexpr size_t kMaxMediaDepth = 8;
constexpr size_t kMaxCompounds = 16;  // of one selector; no sheet that people write has more

Tokens trimmed(Tokens tokens) {
    while (!tokens.empty() && tokens.front().kind == Kind::kBlank) tokens = tokens.subspan(1);
    while (!tokens.empty() && tokens.back().kind == Kind::kBlank) tokens = tokens.first(tokens.size() - 1);
    return tokens;
}

int depthChange(const CssToken& token) {
    if (token.kind == Kind::kFunction || token.is('(') || token.is('[') || token.is('{')) return 1;
    return token.is(')') || token.is(']') || token.is('}') ? -1 : 0;
}

// The first `sign` outside of brackets; the number of tokens if there is none.
size_t findSign(Tokens tokens, char sign) {
    int depth = 0;
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (depth == 0 && tokens[i].is(sign)) return i;
        depth = std::max(0, depth + depthChange(tokens[i]));
    }
    return tokens.size();
}

std::optional<CssDeclaration> readDeclaration(Tokens tokens) {
    tokens = trimmed(tokens);
    if (tokens.size() < 3 || tokens[0].kind != Kind::kWord) return std::nullopt;
    CssDeclaration declaration;
    declaration.property = lowerCase(tokens[0].text);
    tokens = trimmed(tokens.subspan(1));
    if (tokens.empty() || !tokens[0].is(':')) return std::nullopt;
    Tokens value = trimmed(tokens.subspan(1));
    if (!value.empty() && value.back().kind == Kind::kWord && equalNoCase(value.back().text, "important")) {
        const Tokens before = trimmed(value.first(value.size() - 1));
        if (!before.empty() && before.back().is('!')) {
            declaration.isImportant = true;
            value = trimmed(before.first(before.size() - 1));
        }
    }
    if (value.empty()) return std::nullopt;
    declaration.value.assign(value.begin(), value.end());
    return declaration;
}

std::vector<CssDeclaration> readDeclarations(Tokens tokens) {
    std::vector<CssDeclaration> declarations;
    while (!tokens.empty()) {
        const size_t end = findSign(tokens, ';');
        if (std::optional<CssDeclaration> read = readDeclaration(tokens.first(end))) {
            declarations.push_back(std::move(*read));
        }
        tokens = tokens.subspan(std::min(end + 1, tokens.size()));
    }
    return declarations;
}

class SelectorReader {
  public:
    explicit SelectorReader(Tokens tokens) : tokens_(trimmed(tokens)) {}

    // Nothing if it is invalid, or if nothing here understands it.
    std::optional<CssSelector> read();

  private:
    bool takeCompound(CssCompound& compound);
    bool takeSimple(CssCompound& compound);
    bool takeAttribute(CssCompound& compound);
    bool takePseudo(CssCompound& compound);
    bool takeNth(CssCompound& compound);
    char takeCombinator();
    bool has(char sign) const { return at_ < tokens_.size() && tokens_[at_].is(sign); }
    bool has(Kind kind) const { return at_ < tokens_.size() && tokens_[at_].kind == kind; }
    void skipBlanks() {
        while (has(Kind::kBlank)) ++at_;
    }

    Tokens tokens_;
    size_t at_ = 0;
};

std::optional<CssSelector> SelectorReader::read() {
    CssSelector selector;
    char combinator = ' ';
    while (at_ < tokens_.size()) {
        CssCompound compound;
        compound.combinator = combinator;
        if (selector.compounds.size() == kMaxCompounds || !takeCompound(compound)) return std::nullopt;
        const size_t ids = compound.ids.size();
        const size_t others = compound.classes.size() + compound.attributes.size() + compound.tests.size();
        selector.specificity +=
            static_cast<uint32_t>(std::min<size_t>(ids, 15) << 16 | std::min<size_t>(others, 15) << 8 |
                                  (compound.element.empty() ? 0U : 1U));
        selector.compounds.push_back(std::move(compound));
        if (at_ == tokens_.size()) return selector;
        combinator = takeCombinator();
        if (combinator == '\0') return std::nullopt;
    }
    return std::nullopt;
}

char SelectorReader::takeCombinator() {
    const size_t before = at_;
    skipBlanks();
    for (const char sign : {'>', '+', '~'}) {
        if (!has(sign)) continue;
        ++at_;
        skipBlanks();
        return sign;
    }
    return at_ != before ? ' ' : '\0';
}

bool SelectorReader::takeCompound(CssCompound& compound) {
    const size_t before = at_;
    if (has('*')) {
        ++at_;
    } else if (has(Kind::kWord)) {
        compound.element = lowerCase(tokens_[at_++].text);
    }
    while (at_ < tokens_.size() && !has(Kind::kBlank) && !has('>') && !has('+') && !has('~')) {
        if (!takeSimple(compound)) return false;
    }
    return at_ != before;
}

bool SelectorReader::takeSimple(CssCompound& compound) {
    if (has(Kind::kHash)) {
        compound.ids.push_back(tokens_[at_++].text);
        return true;
    }
    if (has('.')) {
        ++at_;
        if (!has(Kind::kWord)) return false;
        compound.classes.push_back(tokens_[at_++].text);
        return true;
    }
    if (has('[')) return takeAttribute(compound);
    return has(':') && takePseudo(compound);
}

bool SelectorReader::takeAttribute(CssCompound& compound) {
    ++at_;
    skipBlanks();
    if (!has(Kind::kWord)) return false;
    CssCompound::Attribute attribute{lowerCase(tokens_[at_++].text), "", '\0', false};
    skipBlanks();
    if (has(']')) {
        ++at_;
        compound.attributes.push_back(std::move(attribute));
        return true;
    }
    attribute.relation = '=';
    for (const char sign : {'~', '|', '^', '$', '*'}) {
        if (!has(sign)) continue;
        attribute.relation = sign;
        ++at_;
        break;
    }
    if (!has('=')) return false;
    ++at_;
    skipBlanks();
    if (!has(Kind::kWord) && !has(Kind::kString)) return false;
    attribute.value = tokens_[at_++].text;
    skipBlanks();
    if (has(Kind::kWord)) {
        attribute.anyCase = equalNoCase(tokens_[at_].text, "i");
        if (!attribute.anyCase && !equalNoCase(tokens_[at_].text, "s")) return false;
        ++at_;
        skipBlanks();
    }
    if (!has(']')) return false;
    ++at_;
    compound.attributes.push_back(std::move(attribute));
    return true;
}

struct KnownPseudo {
    std::string_view name;
    CssCompound::Pseudo pseudo;
};

// What a reader does to a page never holds here.
constexpr std::array<KnownPseudo, 11> kPseudos = {{{"root", CssCompound::Pseudo::kRoot},
                                                   {"link", CssCompound::Pseudo::kLink},
                                                   {"any-link", CssCompound::Pseudo::kLink},
                                                   {"first-child", CssCompound::Pseudo::kFirstChild},
                                                   {"last-child", CssCompound::Pseudo::kLastChild},
                                                   {"only-child", CssCompound::Pseudo::kOnlyChild},
                                                   {"empty", CssCompound::Pseudo::kEmpty},
                                                   {"hover", CssCompound::Pseudo::kNever},
                                                   {"active", CssCompound::Pseudo::kNever},
                                                   {"focus", CssCompound::Pseudo::kNever},
                                                   {"visited", CssCompound::Pseudo::kNever}}};

bool SelectorReader::takePseudo(CssCompound& compound) {
    ++at_;
    if (has(Kind::kFunction) && tokens_[at_].text == "nth-child") return takeNth(compound);
    if (!has(Kind::kWord)) return false;
    const std::string name = lowerCase(tokens_[at_++].text);
    for (const KnownPseudo& known : kPseudos) {
        if (known.name != name) continue;
        compound.tests.push_back({known.pseudo, 0, 0, name});
        return true;
    }
    return false;
}

std::optional<int> wholeNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    int number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = failure == std::errc{} && end == text.data() + text.size();
    // Nobody counts further, and sums stay small.
    return isNumber && number >= -1000000 && number <= 1000000 ? std::optional<int>(number) : std::nullopt;
}

// "odd", "even", "3", "2n", "-n+3", "2n + 1".
bool readNth(std::string text, CssCompound::Test& test) {
    std::erase(text, ' ');
    text = lowerCase(text);
    if (text == "odd" || text == "even") {
        test.step = 2;
        test.start = text == "odd" ? 1 : 0;
        return true;
    }
    const size_t n = text.find('n');
    std::string step = n == std::string::npos ? "0" : text.substr(0, n);
    if (step.empty() || step == "+" || step == "-") step += '1';
    const std::string start = n == std::string::npos ? text : text.substr(n + 1);
    const std::optional<int> stepNumber = wholeNumber(step);
    const std::optional<int> startNumber = start.empty() ? 0 : wholeNumber(start);
    if (!stepNumber || !startNumber) return false;
    test.step = *stepNumber;
    test.start = *startNumber;
    return true;
}

bool SelectorReader::takeNth(CssCompound& compound) {
    ++at_;
    std::string text;
    while (at_ < tokens_.size() && !has(')')) {
        const CssToken& token = tokens_[at_++];
        const bool isPart = token.kind == Kind::kWord || token.kind == Kind::kNumber || token.is('+') ||
                            token.is('-') || token.kind == Kind::kBlank;
        if (!isPart) return false;
        text += token.text + token.unit;
    }
    if (!has(')')) return false;
    ++at_;
    CssCompound::Test test{CssCompound::Pseudo::kNthChild, 0, 0, ""};
    if (!readNth(text, test)) return false;
    test.text = "nth-child(" + std::to_string(test.step) + "n" + (test.start < 0 ? "" : "+") +
                std::to_string(test.start) + ")";
    compound.tests.push_back(std::move(test));
    return true;
}

class SheetReader {
  public:
    CssSheet read(std::string_view css) {
        const std::vector<CssToken> tokens = cssTokens(css);
        readRules(tokens, 0);
        return std::move(sheet_);
    }

  private:
    void readRules(Tokens tokens, size_t depth);
    void readAtRule(Tokens prelude, Tokens block, size_t depth);
    void readRule(Tokens prelude, Tokens block);

    CssSheet sheet_;
    std::vector<std::vector<CssToken>> media_;
};

void SheetReader::readRules(Tokens tokens, size_t depth) {
    for (tokens = trimmed(tokens); !tokens.empty(); tokens = trimmed(tokens)) {
        const bool isAtRule = tokens[0].kind == Kind::kAtWord;
        const size_t begin = findSign(tokens, '{');
        const size_t semicolon = isAtRule ? findSign(tokens.first(begin), ';') : begin;
        if (semicolon != begin) {
            if (tokens[0].text == "import") ++sheet_.imports;
            tokens = tokens.subspan(semicolon + 1);
            continue;
        }
        if (begin == tokens.size()) {
            if (isAtRule && tokens[0].text == "import") ++sheet_.imports;
            return;
        }
        const Tokens inside = tokens.subspan(begin + 1);
        const size_t end = findSign(inside, '}');
        if (isAtRule) {
            readAtRule(tokens.first(begin), inside.first(end), depth);
        } else {
            readRule(tokens.first(begin), inside.first(end));
        }
        tokens = inside.subspan(std::min(end + 1, inside.size()));
    }
}

void SheetReader::readAtRule(Tokens prelude, Tokens block, size_t depth) {
    const bool loads = std::any_of(block.begin(), block.end(),
                                   [](const CssToken& token) { return token.kind == Kind::kUrl; });
    if (prelude[0].text == "font-face" && loads) ++sheet_.imports;
    if (prelude[0].text != "media" || depth == kMaxMediaDepth) return;
    const Tokens query = trimmed(prelude.subspan(1));
    media_.emplace_back(query.begin(), query.end());
    readRules(block, depth + 1);
    media_.pop_back();
}

void SheetReader::readRule(Tokens prelude, Tokens block) {
    CssRule rule;
    while (!prelude.empty()) {
        const size_t end = findSign(prelude, ',');
        // One that is invalid makes the rule invalid for a browser, but what is hidden by the others in some mail
        // programs must not be shown as text.
        if (std::optional<CssSelector> read = SelectorReader(prelude.first(end)).read()) {
            rule.selectors.push_back(std::move(*read));
        }
        prelude = prelude.subspan(std::min(end + 1, prelude.size()));
    }
    if (rule.selectors.empty()) return;
    rule.declarations = readDeclarations(block);
    if (rule.declarations.empty()) return;
    rule.media = media_;
    sheet_.rules.push_back(std::move(rule));
}

}  // namespace

CssSheet readSheet(std::string_view css) { return SheetReader().read(css); }

std::vector<CssDeclaration> readDeclarations(std::string_view css) {
    return readDeclarations(Tokens(cssTokens(css)));
}

}  // namespace emltool

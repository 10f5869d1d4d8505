#include "tool/html/rule_index.h"

#include <algorithm>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

// Comparisons for each node of the document, and for each document. A newsletter needs a few hundred.
constexpr uint64_t kStepsPerNode = 4000;
constexpr uint64_t kSteps = 4'000'000;

bool hasClass(std::string_view classes, std::string_view wanted) {
    bool found = false;
    forEachClass(classes, [&](std::string_view each) { found = found || each == wanted; });
    return found;
}

bool compares(std::string_view value, const CssCompound::Attribute& attribute) {
    const std::string lowered = attribute.anyCase ? lowerCase(value) : "";
    const std::string wantedLowered = attribute.anyCase ? lowerCase(attribute.value) : "";
    const std::string_view text = attribute.anyCase ? lowered : value;
    const std::string_view wanted = attribute.anyCase ? wantedLowered : attribute.value;
    switch (attribute.relation) {
        case '\0':
            return true;
        case '=':
            return text == wanted;
        case '~':
            return !wanted.empty() && hasClass(text, wanted);
        case '|':
            return text.starts_with(wanted) && (text.size() == wanted.size() || text[wanted.size()] == '-');
        case '^':
            return !wanted.empty() && text.starts_with(wanted);
        case '$':
            return !wanted.empty() && text.ends_with(wanted);
        default:
            return !wanted.empty() && text.find(wanted) != std::string_view::npos;
    }
}

}  // namespace

RuleIndex::RuleIndex(const HtmlTree& tree, const std::vector<CssRule>& rules)
    : tree_(tree), steps_(kSteps + kStepsPerNode * tree.size()) {
    findPlaces();
    uint32_t order = 0;
    for (const CssRule& rule : rules) {
        if (!std::all_of(rule.media.begin(), rule.media.end(), meetsMedia)) continue;
        for (const CssSelector& selector : rule.selectors) addKey(rule, selector, order++);
    }
}

void RuleIndex::findPlaces() {
    places_.resize(tree_.size());
    std::vector<uint32_t> last(tree_.size(),
                               0);  // by parent: its last element so far; 0 is the root, no child
    for (uint32_t node = 0; node < tree_.size(); ++node) {
        if (!tree_[node].isElement) continue;
        const uint32_t parent = tree_[node].parent;
        const uint32_t before = node == 0 ? 0 : last[parent];
        places_[node] = {before == 0 ? node : before, before == 0 ? 1 : places_[before].number + 1, true};
        if (before != 0) places_[before].isLast = false;
        if (node != 0) last[parent] = node;
    }
}

void RuleIndex::addKey(const CssRule& rule, const CssSelector& selector, uint32_t order) {
    const CssCompound& last = selector.compounds.back();
    std::string key = "*";
    if (!last.ids.empty()) {
        key = '#' + last.ids.front();
    } else if (!last.classes.empty()) {
        key = '.' + last.classes.front();
    } else if (!last.element.empty()) {
        key = last.element;
    }
    entries_[key].push_back({&rule, &selector, order});
}

const std::vector<RuleIndex::Match>& RuleIndex::matches(uint32_t node) {
    matches_.clear();
    if (entries_.empty()) return matches_;
    tryEntries("*", node);
    tryEntries(std::string(tree_.name(node)), node);
    if (const auto id = tree_.find(node, "id")) tryEntries('#' + std::string(*id), node);
    if (const auto classes = tree_.find(node, "class")) {
        forEachClass(*classes, [&](std::string_view each) { tryEntries('.' + std::string(each), node); });
    }
    return matches_;
}

void RuleIndex::tryEntries(const std::string& key, uint32_t node) {
    steps_ -= std::min<uint64_t>(steps_, 1);
    const auto found = entries_.find(key);
    if (found == entries_.end()) return;
    for (const Entry& entry : found->second) {
        if (steps_ == 0) return;
        const CssSelector& selector = *entry.selector;
        if (meets(selector, selector.compounds.size() - 1, node)) {
            matches_.push_back({entry.rule, selector.specificity, entry.order});
        }
    }
}

// At most as deep as a selector has compounds.
bool RuleIndex::meets(const CssSelector& selector, size_t compound, uint32_t node) {
    if (!meetsCompound(selector.compounds[compound], node)) return false;
    return compound == 0 || meetsBefore(selector, compound, node);
}

bool RuleIndex::meetsBefore(const CssSelector& selector, size_t compound, uint32_t node) {
    const char combinator = selector.compounds[compound].combinator;
    const bool goesUp = combinator == ' ' || combinator == '>';
    for (uint32_t at = node; steps_ != 0;) {
        const uint32_t next = goesUp ? tree_[at].parent : places_[at].before;
        if (next == at) return false;
        at = next;
        if (meets(selector, compound - 1, at)) return true;
        if (combinator == '>' || combinator == '+') return false;
    }
    return false;
}

bool RuleIndex::meetsCompound(const CssCompound& compound, uint32_t node) {
    if (steps_ == 0) return false;
    --steps_;
    if (!compound.element.empty() && compound.element != tree_.name(node)) return false;
    for (const std::string& id : compound.ids) {
        if (tree_.find(node, "id") != std::string_view(id)) return false;
    }
    for (const std::string& name : compound.classes) {
        const auto classes = tree_.find(node, "class");
        if (!classes || !hasClass(*classes, name)) return false;
        steps_ -= std::min<uint64_t>(steps_, classes->size() / 64);
    }
    for (const CssCompound::Attribute& attribute : compound.attributes) {
        const auto value = tree_.find(node, attribute.name);
        if (!value || !compares(*value, attribute)) return false;
        steps_ -= std::min<uint64_t>(steps_, value->size() / 64);
    }
    return std::all_of(compound.tests.begin(), compound.tests.end(),
                       [&](const CssCompound::Test& test) { return meetsTest(test, node); });
}

bool RuleIndex::meetsTest(const CssCompound::Test& test, uint32_t node) const {
    const Place& place = places_[node];
    switch (test.pseudo) {
        case CssCompound::Pseudo::kNever:
            return false;
        case CssCompound::Pseudo::kRoot:
            return node == 0;
        case CssCompound::Pseudo::kLink:
            return tree_.name(node) == "a" && tree_.find(node, "href").has_value();
        case CssCompound::Pseudo::kFirstChild:
            return place.number == 1;
        case CssCompound::Pseudo::kLastChild:
            return place.isLast;
        case CssCompound::Pseudo::kOnlyChild:
            return place.number == 1 && place.isLast;
        case CssCompound::Pseudo::kEmpty:
            return tree_[node].end == node + 1;
        case CssCompound::Pseudo::kNthChild:
            break;
    }
    const int64_t offset = int64_t{place.number} - test.start;
    if (test.step == 0) return offset == 0;
    return offset % test.step == 0 && offset / test.step >= 0;
}

}  // namespace emltool

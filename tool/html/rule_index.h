// Which rules of the style sheets of a document an element meets (Selectors Level 3).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tool/html/css_sheet.h"
#include "tool/html/html_tree.h"

namespace emltool {

class RuleIndex {
  public:
    // Rules for other media are left out.
    RuleIndex(const HtmlTree& tree, const std::vector<CssRule>& rules);

    struct Match {
        const CssRule* rule;
        uint32_t specificity;
        uint32_t order;  // of the selector among all
    };

    // The rules that the element meets; each may be there several times. The result is valid until the next call.
    const std::vector<Match>& matches(uint32_t node);

    // Whether all comparisons were made: their number is bounded by the length of the document.
    bool isComplete() const { return steps_ != 0; }

  private:
    struct Entry {
        const CssRule* rule;
        const CssSelector* selector;
        uint32_t order;
    };
    struct Place {
        uint32_t before;  // the element before it among its siblings; itself if it is the first
        uint32_t number;  // among them, from 1
        bool isLast;
    };

    void findPlaces();
    void addKey(const CssRule& rule, const CssSelector& selector, uint32_t order);
    void tryEntries(const std::string& key, uint32_t node);
    bool meets(const CssSelector& selector, size_t compound, uint32_t node);
    bool meetsBefore(const CssSelector& selector, size_t compound, uint32_t node);
    bool meetsCompound(const CssCompound& compound, uint32_t node);
    bool meetsTest(const CssCompound::Test& test, uint32_t node) const;

    const HtmlTree& tree_;
    std::vector<Place> places_;
    std::unordered_map<std::string, std::vector<Entry>> entries_;  // by ".class", "#id", "element", "*"
    std::vector<Match> matches_;
    uint64_t steps_;
};

// Calls take(word) for each word of a class attribute.
template <typename Take>
void forEachClass(std::string_view classes, Take take) {
    constexpr std::string_view kBlanks = " \t\n\r\f";
    for (size_t begin = classes.find_first_not_of(kBlanks); begin < classes.size();
         begin = classes.find_first_not_of(kBlanks, begin)) {
        const size_t end = std::min(classes.find_first_of(kBlanks, begin), classes.size());
        take(classes.substr(begin, end - begin));
        begin = end;
    }
}

}  // namespace emltool

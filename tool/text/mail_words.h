// What mail programs write around a text, in a form in which it can be compared.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// `text` in lower case, with single blanks between its words, none at its ends, and without invisible characters. The
// wide colon of East Asian text is a colon.
std::string comparable(std::string_view text);

// The lines of `text`, without their LF.
std::vector<std::string_view> linesOf(std::string_view text);

// The words of a comparable text.
std::vector<std::string_view> wordsOf(std::string_view text);

// `word` without punctuation at its ends.
std::string_view bareWord(std::string_view word);

// Calls take(entry) for each entry of `list`, which "|" separates.
template <typename Take>
void forEachListed(std::string_view list, Take take) {
    while (!list.empty()) {
        const size_t end = std::min(list.find('|'), list.size());
        if (end > 0) take(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

// Whether `text` is an entry of such a list, begins with one, or has one in it.
bool isListed(std::string_view list, std::string_view text);
bool beginsWithListed(std::string_view list, std::string_view text);
bool containsListed(std::string_view list, std::string_view text);

// Whether nothing of `line` can be seen.
bool isBlankLine(std::string_view line);

}  // namespace emltool

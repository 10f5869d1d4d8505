#include "tool/cli/choices.h"

#include <algorithm>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {

std::string Choices::list() const {
    return formatted("{} or {}", joined(words.first(words.size() - 1), ", "), words.back());
}

std::optional<size_t> Choices::find(std::string_view word) const {
    const auto found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) return std::nullopt;
    return static_cast<size_t>(found - words.begin());
}

size_t Choices::parse(std::string_view word) const {
    const std::optional<size_t> place = find(word);
    if (!place) throw usageProblem(formatted("--{}={}: no such {}; it is {}", option, word, noun, list()));
    return *place;
}

}  // namespace emltool

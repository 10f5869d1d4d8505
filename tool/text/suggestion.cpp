#include "tool/text/suggestion.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

// A word may have one error, and one more for every three letters beyond the first three.
size_t toleratedErrors(std::string_view word) { return std::max<size_t>(1, word.size() / 3); }

constexpr size_t kMaxWordLength = 255;

}  // namespace

size_t typingErrors(std::string_view a, std::string_view b) {
    // Rows of the table of distances between all beginnings of both: the current one and two before.
    std::vector<size_t> beforeLast(b.size() + 1);
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            bool same = lower(a[i - 1]) == lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            bool swapped =
                i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]);
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::string closest(std::string_view word, std::span<const std::string> candidates) {
    return closest(word, candidates, toleratedErrors(word));
}

std::string closest(std::string_view word, std::span<const std::string> candidates, size_t maxErrors) {
    std::string best;
    size_t fewest = maxErrors + 1;
    if (word.empty() || word.size() > kMaxWordLength) return best;
    for (const std::string& candidate : candidates) {
        if (candidate.size() > kMaxWordLength) continue;
        size_t errors = typingErrors(word, candidate);
        // Of equals the first in the alphabet, since folders are listed in any order.
        if (errors < fewest || (errors == fewest && !best.empty() && candidate < best)) {
            fewest = errors;
            best = candidate;
        }
    }
    return best;
}

std::string closestFile(const std::string& path) {
    namespace fs = std::filesystem;
    constexpr size_t kMaxEntries = 10000;
    fs::path folder = fs::path(path).parent_path();
    std::error_code error;
    std::vector<std::string> names;
    fs::directory_iterator entry(folder.empty() ? "." : folder, error);
    for (; !error && entry != fs::directory_iterator() && names.size() < kMaxEntries;
         entry.increment(error)) {
        std::error_code ignored;
        if (!entry->is_directory(ignored)) names.push_back(entry->path().filename().string());
    }
    // The extension is usually the same: it must not make up for errors in the name.
    const fs::path wanted(path);
    std::string name = closest(wanted.filename().string(), names, toleratedErrors(wanted.stem().string()));
    return name.empty() ? name : (folder / name).string();
}

}  // namespace emltool

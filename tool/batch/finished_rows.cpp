#include "tool/batch/finished_rows.h"

#include <algorithm>

#include "tool/batch/row_facts.h"
#include "tool/batch/row_lines.h"
#include "tool/terminal/problem.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

// Of either version.
constexpr std::array<std::string_view, 2> kRowBegins = {R"({"schema":"eml/1","source":{"path":")",
                                                        R"({"schema":"eml/2","source":{"path":")"};

bool takeRow(std::string_view line, FinishedRows& finished) {
    const bool begins = std::any_of(kRowBegins.begin(), kRowBegins.end(),
                                    [&](std::string_view beginning) { return line.starts_with(beginning); });
    if (!begins || !line.ends_with('}')) return false;
    RowFacts source;
    if (!readRowSource(line, source)) return false;
    finished.add(source.path, source.index);
    return true;
}

}  // namespace

FinishedRows::Key FinishedRows::keyOf(std::string_view path, std::optional<uint64_t> index) {
    std::string text(path);
    if (index) text += formatted("{}{}", '\0', *index);
    Sha256::Digest digest = Sha256::of(text);
    Key key{};
    std::copy_n(digest.begin(), key.size(), key.begin());
    return key;
}

void FinishedRows::add(std::string_view path, std::optional<uint64_t> index) {
    keys_.push_back(keyOf(path, index));
}

void FinishedRows::seal() {
    std::sort(keys_.begin(), keys_.end());
    taken_.assign(keys_.size(), false);
}

bool FinishedRows::take(std::string_view path, std::optional<uint64_t> index) {
    if (keys_.empty()) return false;
    Key key = keyOf(path, index);
    auto found = std::lower_bound(keys_.begin(), keys_.end(), key);
    for (; found != keys_.end() && *found == key; ++found) {
        auto place = static_cast<size_t>(found - keys_.begin());
        if (taken_[place]) continue;
        taken_[place] = true;
        return true;
    }
    return false;
}

uint64_t readFinishedRows(int descriptor, const std::string& name, FinishedRows& finished) {
    RowLines lines(descriptor, name);
    uint64_t line = 1;
    for (std::string_view row; lines.next(row); ++line) {
        if (!takeRow(row, finished)) throw noRow(name, line, "eml batch");
    }
    if (!isTornRow(lines.rest(), kRowBegins)) throw noRow(name, line, "eml batch");
    finished.seal();
    return lines.wholeLength();
}

}  // namespace emltool

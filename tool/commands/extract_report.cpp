#include "tool/commands/extract_report.h"

#include <algorithm>

#include "tool/message/json_text.h"
#include "tool/text/format.h"
#include "tool/text/size_text.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kAllReadings = 3;

std::string plural(uint64_t count, std::string_view noun) {
    return formatted("{} {}{}", count, noun, count == 1 ? "" : "s");
}

void gatherResults(const MessageTree& tree, std::vector<const SubFileEntry*>& results) {
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.outcome != Outcome::kNone) results.push_back(&entry);
        if (entry.message != nullptr) gatherResults(*entry.message, results);
    }
}

// That only some of the readings offer the file, where all were asked.
std::string readingsNote(const SubFileEntry& entry) {
    std::vector<std::string> words;
    for (const Reading reading : entry.readings) words.emplace_back(readerWord(reading));
    const bool isPlain = entry.readings.empty() || entry.readings.size() == kAllReadings;
    return isPlain ? "" : formatted("only {}", joined(words, " and "));
}

std::string noteOf(const SubFileEntry& entry, bool isUnion) {
    std::vector<std::string> notes;
    if (entry.outcome == Outcome::kSkipped) {
        notes.emplace_back("skipped, the file exists");
    } else if (entry.safeName != entry.name) {
        notes.push_back(formatted("renamed; the message said {}", visible(entry.name)));
    }
    if (entry.path.size() > 1) notes.push_back("sub-file " + dotted(entry.path));
    if (const std::string note = isUnion ? readingsNote(entry) : ""; !note.empty()) notes.push_back(note);
    return joined(notes, "; ");
}

bool isListed(const SubFileEntry* entry) { return entry->outcome != Outcome::kFailed; }

}  // namespace

std::vector<const SubFileEntry*> resultsOf(const MessageTree& tree) {
    std::vector<const SubFileEntry*> results;
    gatherResults(tree, results);
    return results;
}

void ExtractReport::printRows(const std::vector<const SubFileEntry*>& results) const {
    constexpr size_t kSizeWidth = 8;
    const Style& style = console_.style();
    size_t pathWidth = 0;
    std::vector<std::string> paths;
    for (const SubFileEntry* entry : results) {
        paths.push_back(isListed(entry) ? visible(entry->filePath) : "");
        pathWidth = std::max(pathWidth, displayWidth(paths.back()));
    }
    for (size_t i = 0; i < results.size(); ++i) {
        const SubFileEntry* const entry = results[i];
        if (!isListed(entry)) continue;
        uint64_t size = entry->size.value_or(0);
        std::string sizeText = console_.verbose() ? formatted("{} B ", size) : humanSize(size);
        std::string note = noteOf(*entry, isUnion_);
        if (entry->outcome == Outcome::kSkipped) sizeText = "-   ";
        std::string row = paths[i];
        row.append(pathWidth - displayWidth(row) + 2, ' ');
        row.append(kSizeWidth - std::min(kSizeWidth, sizeText.size()), ' ');
        row += sizeText;
        if (!note.empty()) row += "  " + style.note("(" + note + ")");
        while (row.ends_with(' ')) row.pop_back();
        console_.print(row + "\n");
    }
}

void ExtractReport::count(const std::vector<const SubFileEntry*>& results) {
    ++messages_;
    if (!results.empty()) ++messagesWithFiles_;
    for (const SubFileEntry* entry : results) {
        if (!isListed(entry)) continue;
        const bool isSkipped = entry->outcome == Outcome::kSkipped;
        ++(isSkipped ? skipped_ : written_);
        if (!isSkipped) bytes_ += entry->size.value_or(0);
    }
}

void ExtractReport::printSum(bool ofMany) const {
    std::string text = sum();
    if (ofMany && !text.empty()) {
        text += formatted(", from {} of {}", messagesWithFiles_, plural(messages_, "message"));
    } else if (ofMany && messagesWithFiles_ == 0 && (messages_ > 0 || done_ == 0)) {
        text = formatted("no attachments in {}", plural(messages_, "message"));
    }
    if (done_ > 0) {
        text += formatted("{}{} done by an earlier run", text.empty() ? "" : "; ",
                          plural(done_, messages_ > 0 ? "more message" : "message"));
    }
    if (!text.empty()) console_.print(console_.style().note(text) + "\n");
}

std::string ExtractReport::sumOfStore() const {
    if (written_ + skipped_ == 0) return "";
    std::string size = humanSize(bytes_);
    while (size.ends_with(' ')) size.pop_back();
    return formatted("{}: {} new in {}, {}; {} there already", plural(written_ + skipped_, "attachment"),
                     written_, visible(request_.store), size, skipped_);
}

std::string ExtractReport::sum() const {
    if (!request_.store.empty()) return sumOfStore();
    std::string text;
    if (written_ > 0) {
        std::string size = humanSize(bytes_);
        while (size.ends_with(' ')) size.pop_back();
        const std::string& folder = request_.folder;
        bool here = folder.empty() || folder == "." || folder == "-";
        text = formatted("{}, {}, {} to {}", plural(written_, "attachment"), size,
                         request_.onlyList ? "would be written" : "written",
                         here ? "the current folder" : visible(folder));
    }
    if (skipped_ > 0) text += formatted("{}{} skipped", text.empty() ? "" : "; ", skipped_);
    return text;
}

}  // namespace emltool

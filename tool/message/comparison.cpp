#include "tool/message/comparison.h"

#include <algorithm>
#include <cstring>
#include <emlreader/mime.hpp>
#include <unordered_map>
#include <unordered_set>

#include "standalone/filter.h"
#include "tool/message/comparison_findings.h"
#include "tool/terminal/problem.h"
#include "tool/text/significant_text.h"

namespace emltool {

namespace {

constexpr size_t kMime = static_cast<size_t>(Reading::kMime);
constexpr size_t kContainer = static_cast<size_t>(Reading::kContainer);
constexpr size_t kFilter = static_cast<size_t>(Reading::kFilter);

// What a text search may cost for one message, in bytes that are looked at.
constexpr uint64_t kSearchBudget = uint64_t{1} << 30;

// Rows by one of their properties; each is given out once.
class RowIndex {
  public:
    void add(const std::string& key, size_t row) { rows_[key].push_back(row); }

    // The first row with this key that `taken` does not have.
    std::optional<size_t> take(const std::string& key, const std::vector<bool>& taken) {
        const auto found = rows_.find(key);
        if (found == rows_.end()) return std::nullopt;
        size_t& next = next_[key];
        while (next < found->second.size() && taken[found->second[next]]) ++next;
        return next < found->second.size() ? std::optional<size_t>(found->second[next]) : std::nullopt;
    }

  private:
    std::unordered_map<std::string, std::vector<size_t>> rows_;
    std::unordered_map<std::string, size_t> next_;  // where rows of a key begin that may be free
};

// By content and name, by content, by content but for line ends, and by name, in this order. Empty: matches nothing.
enum class Stage { kBoth, kBytes, kLines, kName };

std::string keyOf(const Sighting& sighting, Stage stage) {
    if (!sighting.isInFile) return stage == Stage::kName ? sighting.name : std::string();
    switch (stage) {
        case Stage::kBoth:
            return sighting.sha256 + sighting.name;
        case Stage::kBytes:
            return sighting.sha256;
        case Stage::kLines:
            return sighting.linesDigest;
        case Stage::kName:
            break;
    }
    return sighting.name;
}

class Comparer {
  public:
    explicit Comparer(MessageFile& file)
        : mime_(findByMime(file)), engines_{EngineFindings{}, findByContainer(file), findByFilter(file)} {}

    Comparison compare();

  private:
    // The text of a body, in the forms in which a reading has it.
    struct Texts {
        std::string plain;
        std::string rich;
    };

    void makeRows();
    void match(size_t reading);
    void matchBy(Stage stage, size_t reading, std::vector<bool>& rowTaken, std::vector<bool>& fileMatched);
    Mark markOf(size_t row, size_t reading);
    bool finds(std::string_view whole, std::string_view text);
    bool shows(size_t reading, const std::string& text);
    bool showsSome(size_t reading, const std::string& text);
    bool isPart(const std::string& text) const;
    void findLeftOut(size_t reading, ReadingResult& result) const;
    void compareTexts(Comparison& comparison);

    MimeFindings mime_;
    OfReadings<EngineFindings> engines_;
    OfReadings<Texts> texts_;
    std::vector<ContentRow> rows_;  // the parts of the MIME reader first
    size_t bodies_ = 0;  // of its parts, those that are text to be shown; forms of one text count once
    uint64_t searched_ = 0;
};

void Comparer::makeRows() {
    std::unordered_set<uint32_t> alternatives;
    for (const FoundPart& part : mime_.parts) {
        const bool isNew = !part.hasAlternative || alternatives.insert(part.alternative).second;
        if (!part.isFile && isNew) ++bodies_;
        ContentRow row;
        row.sightings[kMime] = part.sighting;
        row.place = part.place;
        rows_.push_back(std::move(row));
    }
}

void Comparer::matchBy(Stage stage, size_t reading, std::vector<bool>& rowTaken,
                       std::vector<bool>& fileMatched) {
    RowIndex index;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (rowTaken[i]) continue;
        for (const std::optional<Sighting>& other : rows_[i].sightings) {
            if (other) index.add(keyOf(*other, stage), i);
        }
    }
    const std::vector<Sighting>& files = engines_[reading].files;
    for (size_t i = 0; i < files.size(); ++i) {
        if (fileMatched[i]) continue;
        const std::string key = keyOf(files[i], stage);
        const std::optional<size_t> row = key.empty() ? std::nullopt : index.take(key, rowTaken);
        if (!row) continue;
        rows_[*row].sightings[reading] = files[i];
        rowTaken[*row] = true;
        fileMatched[i] = true;
    }
}

// Gives each file of a reading the row of the same content, or else of the same name, or else one of its own.
void Comparer::match(size_t reading) {
    const std::vector<Sighting>& files = engines_[reading].files;
    std::vector<bool> rowTaken(rows_.size());
    std::vector<bool> fileMatched(files.size());
    for (const Stage stage : {Stage::kBoth, Stage::kBytes, Stage::kLines, Stage::kName}) {
        matchBy(stage, reading, rowTaken, fileMatched);
    }
    for (size_t i = 0; i < files.size(); ++i) {
        if (fileMatched[i]) continue;
        ContentRow row;
        row.sightings[reading] = files[i];
        rows_.push_back(std::move(row));
    }
}

// Beyond the budget nothing is looked for, as if it were not there.
bool Comparer::finds(std::string_view whole, std::string_view text) {
    if (whole.size() < text.size()) return false;
    searched_ += whole.size();
    return searched_ <= kSearchBudget &&
           ::memmem(whole.data(), whole.size(), text.data(), text.size()) != nullptr;
}

// Whether a reading's text has this one in it.
bool Comparer::shows(size_t reading, const std::string& text) {
    if (text.empty()) return false;
    return finds(texts_[reading].plain, text) || finds(texts_[reading].rich, text);
}

// Whether it has a piece of this one in it, or has something where there is only one text.
bool Comparer::showsSome(size_t reading, const std::string& text) {
    constexpr size_t kSample = 24;
    constexpr size_t kSamples = 8;
    const Texts& own = texts_[reading];
    if (text.empty() || (own.plain.empty() && own.rich.empty())) return false;
    if (bodies_ == 1) return true;
    for (size_t i = 0; i < kSamples && text.size() > kSample; ++i) {
        const std::string_view sample =
            std::string_view(text).substr((text.size() - kSample) / (kSamples - 1) * i, kSample);
        if (finds(own.plain, sample) || finds(own.rich, sample)) return true;
    }
    return false;
}

Mark Comparer::markOf(size_t row, size_t reading) {
    const ContentRow& content = rows_[row];
    const FoundPart* part = row < mime_.parts.size() ? &mime_.parts[row] : nullptr;
    if (!content.sightings[reading]) {
        if (part == nullptr || reading == kMime) return Mark::kNo;
        if (shows(reading, part->text)) return Mark::kText;
        return !part->isFile && showsSome(reading, part->text) ? Mark::kOtherText : Mark::kNo;
    }
    const Sighting& own = *content.sightings[reading];
    if (reading == kMime) return part->isFile ? Mark::kYes : Mark::kText;
    if (!own.isInFile) return Mark::kNamedOnly;
    const Sighting& first = content.first();
    // A name that the message does not give is made up by each reading in its own way.
    const bool sameName = own.name == first.name || (part != nullptr && !first.isNamed);
    if (own.sha256 == first.sha256) return sameName ? Mark::kYes : Mark::kOtherName;
    if (own.linesDigest == first.linesDigest) return sameName ? Mark::kLineEnds : Mark::kOtherName;
    return Mark::kOtherBytes;
}

// The parts that a reading gives neither as a file nor in its text.
void Comparer::findLeftOut(size_t reading, ReadingResult& result) const {
    std::unordered_set<uint32_t> shownAlternatives;
    for (size_t i = 0; i < mime_.parts.size(); ++i) {
        const FoundPart& part = mime_.parts[i];
        if (part.hasAlternative && rows_[i].marks[reading] != Mark::kNo)
            shownAlternatives.insert(part.alternative);
    }
    for (size_t i = 0; i < mime_.parts.size(); ++i) {
        const FoundPart& part = mime_.parts[i];
        const bool isEmpty = part.sighting.size == 0 || (!part.isFile && part.text.empty());
        if (rows_[i].marks[reading] != Mark::kNo || isEmpty) continue;
        const bool isOtherForm =
            !part.isFile && part.hasAlternative && shownAlternatives.contains(part.alternative);
        result.leftOut.push_back({part.place, part.shownName, part.sighting.size, isOtherForm});
    }
}

// Whether this is the text of one part, for instance of a calendar, which the MIME reader offers as a file.
bool Comparer::isPart(const std::string& text) const {
    return std::ranges::any_of(mime_.parts, [&text](const FoundPart& part) { return part.text == text; });
}

void Comparer::compareTexts(Comparison& comparison) {
    const std::string significantSubject = significantText(mime_.subject);
    comparison.readings[kMime].subject.text = mime_.subject;
    // Of a message that has both, either form is its text.
    const std::string plain = significantText(mime_.text);
    const std::string html = significantText(mime_.html);
    comparison.readings[kMime].text.text = plain.empty() ? mime_.html : mime_.text;
    const std::string& main = plain.empty() ? html : plain;
    for (const size_t reading : {kContainer, kFilter}) {
        ReadingResult& result = comparison.readings[reading];
        result.problem = engines_[reading].problem;
        result.subject.text = engines_[reading].subject;
        result.subject.agrees = significantText(result.subject.text) == significantSubject;
        result.text.text = engines_[reading].text;
        const std::string& own = texts_[reading].plain;
        result.text.agrees = own == main || (!html.empty() && own == html) || (main.empty() && isPart(own));
        if (!result.text.agrees) result.text.differsAt = firstDifference(own, main);
    }
}

Comparison Comparer::compare() {
    Comparison comparison;
    for (const size_t reading : {kContainer, kFilter}) {
        texts_[reading] = {significantText(engines_[reading].text),
                           significantText(engines_[reading].richText)};
    }
    makeRows();
    match(kContainer);
    match(kFilter);
    for (size_t i = 0; i < rows_.size(); ++i) {
        for (size_t reading = 0; reading < kReadings; ++reading) rows_[i].marks[reading] = markOf(i, reading);
    }
    compareTexts(comparison);
    for (const size_t reading : {kContainer, kFilter}) findLeftOut(reading, comparison.readings[reading]);
    comparison.betweenParts = std::move(mime_.betweenParts);
    for (size_t i = 0; i < rows_.size(); ++i) {
        const bool isPart = i < mime_.parts.size();
        ContentRow& row = rows_[i];
        const bool isShown =
            !isPart || mime_.parts[i].isFile || row.sightings[kContainer] || row.sightings[kFilter];
        if (isPart) row.sightings[kMime]->name = mime_.parts[i].shownName;
        if (isShown) comparison.contents.push_back(std::move(row));
    }
    return comparison;
}

// ----------------------------------------------------------------------------------------------------------
// The union

// Writes those contents that are from one reading.
template <typename Extract>
void writeAll(const std::vector<FoundContent>& contents, Reading reading, const ContentWork& work,
              Extract extract) {
    for (const FoundContent& content : contents) {
        if (content.reading != reading) continue;
        work(content, [&](emlhost::Output& output) { extract(content.number, output); });
    }
}

bool anyOf(const std::vector<FoundContent>& contents, Reading reading) {
    return std::ranges::any_of(contents,
                               [reading](const FoundContent& content) { return content.reading == reading; });
}

void extractByFilter(MessageFile& file, const std::vector<FoundContent>& contents, const ContentWork& work) {
    emlhost::MessageFilter filter(file.input(), file.services());
    writeAll(contents, Reading::kFilter, work, [&](uint32_t number, emlhost::Output& output) {
        emlExtractSubFileToIOobjEx(filter.context(), static_cast<int32_t>(number), output.object(), 0, 0, 0);
        file.checkReads();
    });
}

}  // namespace

bool ContentRow::agrees() const {
    const auto isThere = [](const std::optional<Sighting>& one) { return one && one->isInFile; };
    return std::ranges::none_of(sightings, isThere) || std::ranges::all_of(marks, isAgreement);
}

const Sighting& ContentRow::first() const {
    size_t reading = 0;
    while (!sightings[reading] && reading + 1 < kReadings) ++reading;
    return *sightings[reading];
}

std::string ContentRow::name() const {
    for (const std::optional<Sighting>& one : sightings) {
        if (one && !one->name.empty()) return one->name;
    }
    return {};
}

bool Comparison::agrees() const {
    return std::ranges::all_of(contents, [](const ContentRow& row) { return row.agrees(); }) &&
           std::ranges::all_of(readings, [](const ReadingResult& one) {
               const bool isComplete = std::ranges::all_of(one.leftOut, &LeftOut::isOtherForm);
               return one.subject.agrees && one.text.agrees && isComplete;
           });
}

const char* readingName(Reading reading) {
    constexpr std::array<const char*, kReadings> kNames = {"MIME", "container", "filter"};
    return kNames[static_cast<size_t>(reading)];
}

Comparison compareReadings(MessageFile& file) { return Comparer(file).compare(); }

std::vector<FoundContent> unionOf(const Comparison& comparison) {
    std::vector<FoundContent> contents;
    std::unordered_map<std::string, size_t> known;  // by digest
    for (size_t reading = 0; reading < kReadings; ++reading) {
        for (const ContentRow& row : comparison.contents) {
            const std::optional<Sighting>& one = row.sightings[reading];
            if (!one || !one->isInFile || row.marks[reading] == Mark::kText) continue;  // a text, no file
            const auto [place, isNew] = known.try_emplace(one->sha256, contents.size());
            if (isNew) {
                std::string name = one->name.empty() ? row.name() : one->name;
                if (name.empty()) name = "part-" + std::to_string(one->number);
                contents.push_back({std::move(name),
                                    one->size,
                                    one->sha256,
                                    static_cast<Reading>(reading),
                                    one->number,
                                    {}});
            }
            contents[place->second].offeredBy[reading] = true;
        }
    }
    return contents;
}

void extractUnion(MessageFile& file, const std::vector<FoundContent>& contents, const ContentWork& work) {
    if (anyOf(contents, Reading::kMime)) {
        withMime(file, [&](const emlreader::mime::Message& message) {
            writeAll(contents, Reading::kMime, work, [&](uint32_t number, emlhost::Output& output) {
                EmlMimeContext* const context = message.context();
                const EmlResult result =
                    emlMimeExtract(context, number, EML_MIME_DECODED, output.object(), nullptr);
                file.checkReads();
                if (result == EML_NO_MEMORY) throw outOfMemory(file.name());
            });
        });
    }
    if (anyOf(contents, Reading::kContainer)) {
        writeAll(contents, Reading::kContainer, work, [&](uint32_t number, emlhost::Output& output) {
            const emlhost::Extraction extraction =
                file.message().extract(static_cast<int32_t>(number), output);
            file.checkReads();
            if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file.name());
        });
    }
    if (anyOf(contents, Reading::kFilter)) extractByFilter(file, contents, work);
}

}  // namespace emltool

#include "tool/message/comparison_text.h"

#include <algorithm>

#include "tool/message/comparison_words.h"
#include "tool/text/format.h"
#include "tool/text/significant_text.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr size_t kMarkWidth = 11;
constexpr size_t kSizeWidth = 9;
constexpr size_t kShownText = 56;    // characters of a text that differs
constexpr size_t kShownBefore = 12;  // of them, bytes that do not differ yet

constexpr OfReadings<Reading> kAll = {Reading::kMime, Reading::kContainer, Reading::kFilter};

std::string exactSize(uint64_t size) { return formatted("{} B", size); }

class Printer {
  public:
    Printer(Console& console, const Comparison& comparison)
        : console_(console), style_(console.style()), comparison_(comparison) {}

    void print() {
        const std::string heading =
            formatted("{:>{}}  {:<{}}  {:<{}}  {:<{}}  {}", "SIZE", kSizeWidth, "MIME", kMarkWidth,
                      "CONTAINER", kMarkWidth, "FILTER", kMarkWidth, "CONTENT");
        console_.print(style_.label(heading) + "\n");
        for (const ContentRow& row : comparison_.contents) printContent(row);
        printText("Subject", &ReadingResult::subject);
        printText("Text", &ReadingResult::text);
        for (const Reading reading : kAll) printProblem(reading);
        for (const Reading reading : kAll) printLeftOut(reading);
        printBetweenParts();
        printResult();
    }

  private:
    std::string marked(std::string_view word, bool good) const {
        const std::string padded = formatted("{:<{}}", word, kMarkWidth);
        return good ? padded : style_.warning(padded);
    }

    void printRow(const std::string& size, const OfReadings<std::string_view>& words,
                  const OfReadings<bool>& good, const std::string& what) {
        std::string line = formatted("{:>{}}", size, kSizeWidth);
        for (size_t i = 0; i < kReadings; ++i) line += "  " + marked(words[i], good[i]);
        console_.print(line + "  " + what + "\n");
    }

    void printDetail(const std::string& text) {
        console_.print(std::string(kSizeWidth + 2, ' ') + style_.note(text) + "\n");
    }

    void printContent(const ContentRow& row) {
        OfReadings<std::string_view> words;
        OfReadings<bool> good{};
        for (size_t i = 0; i < kReadings; ++i) {
            words[i] = markText(row.marks[i]);
            good[i] = isAgreement(row.marks[i]) || row.agrees();
        }
        const Sighting& first = row.first();
        std::string what = visible(row.name());
        if (what.empty()) what = style_.note("(no name)");
        if (row.place) what += style_.note(formatted("  {}", visible(row.place->type)));
        printRow(console_.verbose() ? exactSize(first.size) + " " : humanSize(first.size), words, good, what);
        for (size_t i = 0; i < kReadings; ++i) {
            if (row.sightings[i] && !isAgreement(row.marks[i])) printDetail(difference(i, row));
        }
        if (console_.verbose()) printDetail("SHA-256 " + first.sha256);
    }

    // What one reading gives that the first does not.
    static std::string difference(size_t reading, const ContentRow& row) {
        const Sighting& own = *row.sightings[reading];
        const char* who = readingName(kAll[reading]);
        const Sighting& first = row.first();
        const std::string named = own.name.empty() ? "no name" : formatted("the name {}", visible(own.name));
        if (row.marks[reading] == Mark::kOtherName) return formatted("{}: gives it {}", who, named);
        std::string text =
            formatted("{}: {} of content {}, not {} of {}", who, exactSize(own.size),
                      own.sha256.substr(0, 12), exactSize(first.size), first.sha256.substr(0, 12));
        if (own.name != first.name && first.isNamed) text += formatted("; gives it {}", named);
        return text;
    }

    void printText(const char* what, ReadText ReadingResult::*which) {
        OfReadings<std::string_view> words;
        OfReadings<bool> good{};
        const bool none = std::ranges::all_of(
            comparison_.readings, [which](const ReadingResult& one) { return (one.*which).text.empty(); });
        if (none) return;
        for (size_t i = 0; i < kReadings; ++i) {
            const ReadText& text = comparison_.readings[i].*which;
            good[i] = text.agrees;
            words[i] = text.text.empty() ? "none" : text.agrees ? "yes" : "other text";
        }
        const std::string& mime = (comparison_.readings[0].*which).text;
        const bool isSubject = which == &ReadingResult::subject;
        const std::string shown =
            isSubject && !mime.empty() ? formatted("{}: {}", what, visible(mime)) : what;
        printRow(isSubject || mime.empty() ? "" : humanSize(mime.size()), words, good, shown);
        for (size_t i = 1; i < kReadings; ++i) {
            const ReadText& text = comparison_.readings[i].*which;
            if (text.agrees || text.text.empty()) continue;
            if (isSubject) {
                printDetail(formatted("{}: {}", readingName(kAll[i]), visible(text.text)));
            } else {
                printTextDifference(i, text, mime);
            }
        }
    }

    void printTextDifference(size_t reading, const ReadText& text, const std::string& mime) {
        const std::string own = excerptAt(text.text, text.differsAt, kShownText);
        const std::string other = excerptAt(mime, text.differsAt, kShownText);
        const char* who = readingName(kAll[reading]);
        const auto quoted = [&](std::string_view all, const std::string& piece) {
            // A little of what both have, so that the place can be found.
            const size_t before = std::min(text.differsAt, kShownBefore);
            return formatted(
                "\"{}{}\"", before < text.differsAt ? "..." : "",
                visible(piece.empty() ? piece : excerptAt(all, text.differsAt - before, kShownText)));
        };
        if (own.empty()) {
            printDetail(formatted("{}: ends before {}", who, quoted(mime, other)));
        } else if (other.empty()) {
            printDetail(formatted("{}: goes on {}", who, quoted(text.text, own)));
        } else {
            printDetail(
                formatted("{}: {} where MIME has {}", who, quoted(text.text, own), quoted(mime, other)));
        }
    }

    void printProblem(Reading reading) {
        const std::string& problem = comparison_.readings[static_cast<size_t>(reading)].problem;
        if (!problem.empty())
            console_.print(formatted("The {} reading: {}.\n", readingName(reading), problem));
    }

    void printLeftOut(Reading reading) {
        const std::vector<LeftOut>& all = comparison_.readings[static_cast<size_t>(reading)].leftOut;
        if (all.empty()) return;
        console_.print(
            style_.label(formatted("Left out by the {} reading (in no file and no text that it gives):",
                                   readingName(reading))) +
            "\n");
        for (const LeftOut& one : all) {
            std::string size = humanSize(one.size);
            while (size.ends_with(' ')) size.pop_back();
            const std::string where = one.place.section.empty() ? "" : formatted(" {}", one.place.section);
            console_.print(
                formatted("  part{}, {}, {}, {}, at byte {}{}\n", where, visible(one.name),
                          visible(one.place.type), size, one.place.offset,
                          one.isOtherForm ? style_.note("  (another form of the text that it gives)") : ""));
        }
    }

    void printBetweenParts() {
        bool isFirst = true;
        for (const BetweenParts& one : comparison_.betweenParts) {
            if (one.beginning.empty()) continue;  // white space
            if (isFirst) console_.print(style_.label("Text that is in no part:") + "\n");
            isFirst = false;
            console_.print(formatted("  {} B at byte {}, {} the parts: \"{}\"\n", one.length, one.offset,
                                     one.isEpilogue ? "after" : "before", visible(one.beginning)));
        }
    }

    void printResult() {
        if (comparison_.agrees()) {
            console_.print("The readings agree.\n");
            return;
        }
        console_.print(style_.warning("The readings disagree") +
                       formatted(": {}.\n", disagreement(comparison_)));
    }

    Console& console_;
    const Style& style_;
    const Comparison& comparison_;
};

}  // namespace

void printComparison(Console& console, const Comparison& comparison) { Printer(console, comparison).print(); }

}  // namespace emltool

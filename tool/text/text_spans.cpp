#include "tool/text/text_spans.h"

#include <algorithm>
#include <optional>
#include <string>

#include "tool/text/attribution.h"
#include "tool/text/mail_footer.h"
#include "tool/text/mail_words.h"
#include "tool/text/quote_marks.h"
#include "tool/text/quoted_message.h"

namespace emltool {

namespace {

constexpr size_t kLinesOfAttribution = 4;
constexpr size_t kBlanksAfterAttribution = 3;
constexpr size_t kLinesOfSignature = 25;       // after "-- "
constexpr size_t kLinesOfShortSignature = 10;  // after "--" alone, which may be a line of the text
constexpr size_t kLinesOfArmour = 100;

std::string_view withoutBlanksAtEnd(std::string_view line) {
    return line.substr(0, line.find_last_not_of(" \t\r") + 1);  // 0 if there is nothing else
}

// Also as it stands inside an OpenPGP signature, where dashes at the beginning of a line are escaped.
bool isSignatureLine(std::string_view line) { return line == "-- " || line == "- -- "; }

bool isLikeSignatureLine(std::string_view line) {
    const std::string_view text = withoutBlanksAtEnd(line);
    return text == "--" || text == "- --";
}

bool isIndented(std::string_view line) { return line.starts_with(' ') || line.starts_with('\t'); }

// "Thanks." ends a sentence, "Mar." and "maalisk." do not.
bool endsSentence(std::string_view line) {
    constexpr size_t kLongestAbbreviation = 5;
    constexpr std::string_view kLongAbbreviations =
        "tammik|helmik|maalisk|huhtik|toukok|heinäk|marrask|jouluk";
    const std::string text = comparable(line);
    if (text.ends_with('!') || text.ends_with('?')) return true;
    if (!text.ends_with('.')) return false;
    const std::string_view word = bareWord(wordsOf(text).back());
    const auto isBegin = [](char c) { return (static_cast<uint8_t>(c) & 0xC0) != 0x80; };  // of a character
    return std::ranges::count_if(word, isBegin) > ptrdiff_t{kLongestAbbreviation} &&
           !isListed(kLongAbbreviations, word);
}

class TextMarker {
  public:
    explicit TextMarker(std::string_view text)
        : lines_(linesOf(text)), quoted_(quotedLines(lines_)), kinds_(lines_.size(), SpanKind::kOwn) {}

    std::vector<TextSpan> spans() {
        markQuotes();
        markEnds();
        return joined();
    }

  private:
    std::span<const std::string_view> from(size_t line) const { return std::span(lines_).subspan(line); }

    size_t mark(size_t begin, size_t end, SpanKind kind) {
        std::fill(kinds_.begin() + static_cast<ptrdiff_t>(begin),
                  kinds_.begin() + static_cast<ptrdiff_t>(end), kind);
        return end;
    }

    size_t afterBlanks(size_t line) const {
        while (line < lines_.size() && isBlankLine(lines_[line])) ++line;
        return line;
    }

    void markQuotes();
    size_t markAt(size_t line);
    size_t headerEnd(size_t line);
    size_t indentedEnd(size_t line) const;
    size_t markMessage(size_t line, size_t end);
    size_t markAttribution(size_t line);
    std::optional<size_t> lastOfAttribution(size_t line) const;
    size_t attributionEnd(size_t line, AttributionForm& form) const;
    bool beginsAttribution(size_t line) const;
    size_t armourEnd(size_t line) const;
    void markEnds();
    void markEndsOf(size_t begin, size_t end);
    size_t signatureStart(size_t begin, size_t end) const;
    std::vector<TextSpan> joined() const;

    std::vector<std::string_view> lines_;
    std::vector<bool> quoted_;  // by marks
    std::vector<SpanKind> kinds_;
    size_t noHeaderBefore_ = 0;    // this line no fields of a message begin
    bool ownBefore_ = false;       // while quotes are marked: some of the lines before are the sender's own
    bool ownAfter_ = false;        // while ends are marked: some of those after
    size_t openQuote_ = SIZE_MAX;  // where a quote without marks begins that goes on to the end
};

// From the top down: each line that nothing else claims is the sender's own.
void TextMarker::markQuotes() {
    for (size_t i = 0; i < lines_.size();) {
        if (isBlankLine(lines_[i])) {
            if (i > 0) kinds_[i] = kinds_[i - 1];
            ++i;
        } else {
            i = markAt(i);
        }
    }
}

// Marks what begins at `line`, and returns where it ends.
size_t TextMarker::markAt(size_t line) {
    if (quoted_[line]) return mark(line, line + 1, SpanKind::kQuote);
    if (const size_t end = armourEnd(line); end != 0) return mark(line, end, SpanKind::kSignature);
    if (beginsQuotedMessage(lines_[line])) return markMessage(line, line + 1);
    if (const size_t end = headerEnd(line); end != 0) return markMessage(line, end);
    if (const size_t end = markAttribution(line); end != 0) return end;
    ownBefore_ = true;
    return line + 1;
}

// The end of the main fields of a message from `line` on; 0 without them. The sender's own text may begin with such
// fields, in a form that was filled in for instance.
size_t TextMarker::headerEnd(size_t line) {
    if (line < noHeaderBefore_) return 0;
    const QuotedHeader header = quotedHeader(from(line));
    if (header.isOfMessage && (ownBefore_ || header.isByProgram)) return line + header.lines;
    noHeaderBefore_ = line + header.lines;
    return 0;
}

// The end of the lines from `line` on that are indented.
size_t TextMarker::indentedEnd(size_t line) const {
    while (line < lines_.size() && (isIndented(lines_[line]) || isBlankLine(lines_[line]))) ++line;
    return line;
}

// A message whose title or fields are from `line` to `end`. It goes on to the end of the text, or to a line that says so;
// if its lines are marked or indented, they alone are its.
size_t TextMarker::markMessage(size_t line, size_t end) {
    size_t textBegin = afterBlanks(end);
    if (const QuotedHeader header = quotedHeader(from(textBegin)); header.isOfMessage) {
        textBegin = afterBlanks(textBegin + header.lines);
    }
    if (textBegin < lines_.size() && quoted_[textBegin]) {
        end = textBegin;
        return mark(line, end, SpanKind::kQuote);
    }
    if (isIndented(lines_[line])) return mark(line, indentedEnd(line), SpanKind::kQuote);
    while (end < lines_.size() && !endsQuotedMessage(lines_[end])) ++end;
    if (end < lines_.size()) return mark(line, end + 1, SpanKind::kQuote);
    openQuote_ = line;
    return mark(line, end, SpanKind::kQuote);
}

// Marks an attribution that begins at `line`, and what it introduces unless that has marks; 0 without one.
size_t TextMarker::markAttribution(size_t line) {
    auto form = AttributionForm::kNone;
    const size_t end = attributionEnd(line, form);
    if (end == 0) return 0;
    const size_t next = afterBlanks(end);
    if (next < lines_.size() && next - end > kBlanksAfterAttribution) return 0;
    if (next < lines_.size() && quoted_[next]) return mark(line, end, SpanKind::kAttribution);
    if (form == AttributionForm::kVerbAlone) return 0;
    if (const size_t count = quotedAfterAttribution(from(next)); count != 0) {
        mark(line, next, SpanKind::kAttribution);
        return mark(next, next + count, SpanKind::kQuote);
    }
    if (form != AttributionForm::kComplete || !ownBefore_) return 0;
    mark(line, next, SpanKind::kAttribution);
    if (next == lines_.size() || isLikeSignatureLine(lines_[next])) return next;
    openQuote_ = next;
    return mark(next, lines_.size(), SpanKind::kQuote);
}

// The line that may end an attribution from `line` on; none if there is none soon.
std::optional<size_t> TextMarker::lastOfAttribution(size_t line) const {
    for (size_t i = line; i < std::min(lines_.size(), line + kLinesOfAttribution); ++i) {
        if (quoted_[i] || lines_[i].size() > kLongestAttribution || isBlankLine(lines_[i])) break;
        if (mayEndAttribution(lines_[i])) return i;
    }
    return std::nullopt;
}

// Where the attribution ends that begins at `line`; 0 if there is none.
size_t TextMarker::attributionEnd(size_t line, AttributionForm& form) const {
    const std::optional<size_t> last = lastOfAttribution(line);
    if (!last) return 0;
    std::string text;
    for (size_t i = line; i <= *last; ++i) {
        if (i > line && opensWithDate(lines_[i])) return 0;  // it begins here
        if (i < *last && endsSentence(lines_[i])) return 0;
        text.append(lines_[i]) += ' ';
    }
    form = attributionForm(text);
    const bool isPossible = *last == line || (form >= AttributionForm::kDated && beginsAttribution(line));
    return form != AttributionForm::kNone && isPossible ? *last + 1 : 0;
}

// Of several lines: the first must not be the end of the sender's own text.
bool TextMarker::beginsAttribution(size_t line) const {
    if (opensAttribution(lines_[line])) return true;
    const bool beginsParagraph =
        line == 0 || isBlankLine(lines_[line - 1]) || kinds_[line - 1] != SpanKind::kOwn;
    return beginsParagraph && mayBeginAttribution(lines_[line]);
}

// The end of an OpenPGP signature (RFC 9580 section 6.2); 0 if `line` begins none.
size_t TextMarker::armourEnd(size_t line) const {
    if (withoutBlanksAtEnd(lines_[line]) != "-----BEGIN PGP SIGNATURE-----") return 0;
    for (size_t i = line; i < std::min(lines_.size(), line + kLinesOfArmour); ++i) {
        if (withoutBlanksAtEnd(lines_[i]) == "-----END PGP SIGNATURE-----") return i + 1;
    }
    return 0;
}

// From the bottom up: signatures and footers are at the ends of what is left.
void TextMarker::markEnds() {
    if (openQuote_ < lines_.size()) {
        mark(footerStart(lines_, openQuote_, true), lines_.size(), SpanKind::kFooter);
    }
    for (size_t end = lines_.size(); end > 0;) {
        size_t begin = end;
        while (begin > 0 && kinds_[begin - 1] == kinds_[end - 1]) --begin;
        if (kinds_[end - 1] == SpanKind::kOwn) markEndsOf(begin, end);
        end = begin;
    }
}

// Of own lines below others of the sender's own nothing but a whole signature is taken away.
void TextMarker::markEndsOf(size_t begin, size_t end) {
    if (!ownAfter_) {
        const size_t start = footerStart(std::span(lines_).first(end), begin, false);
        mark(start, end, SpanKind::kFooter);
        end = start;
    }
    size_t start = signatureStart(begin, end);
    if (start == end && !ownAfter_) {
        size_t last = end;
        while (last > begin && isBlankLine(lines_[last - 1])) --last;
        if (last > begin && isDeviceLine(lines_[last - 1])) start = last - 1;
    }
    mark(start, end, SpanKind::kSignature);
    ownAfter_ = ownAfter_ || afterBlanks(begin) < start;
}

size_t TextMarker::signatureStart(size_t begin, size_t end) const {
    size_t start = end;
    size_t after = 0;  // lines that are not empty
    for (size_t i = end; i-- > begin && after <= kLinesOfSignature;) {
        if (isBlankLine(lines_[i])) continue;
        const bool isLike = isLikeSignatureLine(lines_[i]) && !ownAfter_;
        if (isSignatureLine(lines_[i]) || (isLike && after > 0 && after <= kLinesOfShortSignature)) start = i;
        ++after;
    }
    return start;
}

std::vector<TextSpan> TextMarker::joined() const {
    std::vector<TextSpan> spans;
    const size_t first = afterBlanks(0);
    for (size_t i = 0; i < lines_.size(); ++i) {
        // Empty lines before all others belong to what follows.
        const SpanKind kind = kinds_[i < first && first < lines_.size() ? first : i];
        const TextSpan line{kind, 1, 1};
        appendSpans(spans, {&line, 1});
    }
    return spans;
}

}  // namespace

std::vector<TextSpan> textSpans(std::string_view text) { return TextMarker(text).spans(); }

void appendSpans(std::vector<TextSpan>& spans, std::span<const TextSpan> more) {
    for (const TextSpan& each : more) {
        if (!spans.empty() && spans.back().kind == each.kind) {
            spans.back().lines += each.lines;
        } else {
            const size_t line = spans.empty() ? 1 : spans.back().firstLine + spans.back().lines;
            spans.push_back({each.kind, line, each.lines});
        }
    }
}

std::string_view nameOf(SpanKind kind) {
    switch (kind) {
        case SpanKind::kQuote:
            return "quote";
        case SpanKind::kAttribution:
            return "attribution";
        case SpanKind::kSignature:
            return "signature";
        case SpanKind::kFooter:
            return "footer";
        case SpanKind::kOwn:
            break;
    }
    return "own";
}

}  // namespace emltool

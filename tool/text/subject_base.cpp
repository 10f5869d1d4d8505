#include "tool/text/subject_base.h"

#include <algorithm>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Whether withSingleBlanks would change nothing, as is usual.
bool hasSingleBlanks(std::string_view subject) {
    char before = 'x';
    return std::ranges::all_of(subject, [&before](char c) {
        const bool isSingle = !isBlank(c) || (c == ' ' && before != ' ');
        before = c;
        return isSingle;
    });
}

// Blanks, tabs and line ends as one blank each, however many there are.
std::string withSingleBlanks(std::string_view subject) {
    std::string text;
    text.reserve(subject.size());
    for (const char c : subject) {
        if (!isBlank(c)) {
            text += c;
        } else if (!text.ends_with(' ')) {
            text += ' ';
        }
    }
    return text;
}

size_t afterBlanks(std::string_view text, size_t at) {
    while (at < text.size() && text[at] == ' ') ++at;
    return at;
}

// The place after "[...]" and blanks at `at`; `at` itself if there is none. No bracket may stand between the two.
size_t afterBlob(std::string_view text, size_t at) {
    if (at >= text.size() || text[at] != '[') return at;
    const size_t end = text.find_first_of("[]", at + 1);
    if (end == std::string_view::npos || text[end] != ']') return at;
    return afterBlanks(text, end + 1);
}

// The place after "re:", "fw [...]:" and the like at `at`; `at` itself if there is none.
size_t afterMark(std::string_view text, size_t at) {
    size_t end = at;
    for (const std::string_view word : {"re", "fwd", "fw"}) {
        if (!startsWithNoCase(text.substr(at), word)) continue;
        end = at + word.size();
        break;
    }
    if (end == at) return at;
    end = afterBlob(text, afterBlanks(text, end));
    return end < text.size() && text[end] == ':' ? end + 1 : at;
}

// Each step moves one end of the text inwards, and each bracket is looked at twice at most: what has failed once ends
// the work on that end.
class SubjectTrimmer {
  public:
    explicit SubjectTrimmer(std::string_view text) : text_(text) {}

    void trim() {
        do {
            trimEnd();
            trimBegin();
        } while (unwrap());
    }

    std::string_view text() const { return text_; }
    bool isReplyOrForward() const { return isReplyOrForward_; }

  private:
    void trimEnd() {
        constexpr std::string_view kForwarded = "(fwd)";
        for (;;) {
            if (text_.ends_with(' ')) {
                text_.remove_suffix(1);
            } else if (text_.size() >= kForwarded.size() &&
                       equalNoCase(text_.substr(text_.size() - kForwarded.size()), kForwarded)) {
                text_.remove_suffix(kForwarded.size());
                isReplyOrForward_ = true;
            } else {
                return;
            }
        }
    }

    // A blob goes with the mark after it, and without one if it is not the last thing that there is. Either way all of
    // several go one after the other.
    void trimBegin() {
        for (;;) {
            const size_t begin = afterBlanks(text_, 0);
            size_t end = afterMark(text_, begin);
            if (end > begin) {
                isReplyOrForward_ = true;
            } else {
                end = afterBlob(text_, begin);
                if (end == text_.size()) end = begin;
            }
            text_.remove_prefix(end);
            if (end == 0) return;
        }
    }

    bool unwrap() {
        constexpr std::string_view kOpening = "[fwd:";
        if (!startsWithNoCase(text_, kOpening) || !text_.ends_with(']')) return false;
        text_.remove_prefix(kOpening.size());
        text_.remove_suffix(1);
        isReplyOrForward_ = true;
        return true;
    }

    std::string_view text_;
    bool isReplyOrForward_ = false;
};

}  // namespace

SubjectBase subjectBase(std::string_view subject) {
    std::string text;
    if (!hasSingleBlanks(subject)) subject = text = withSingleBlanks(subject);
    SubjectTrimmer trimmer(subject);
    trimmer.trim();
    return {std::string(trimmer.text()), trimmer.isReplyOrForward()};
}

}  // namespace emltool

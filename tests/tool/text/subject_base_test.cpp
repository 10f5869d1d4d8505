#include "tool/text/subject_base.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/text/ascii.h"

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* subject;
    const char* base;
    bool isReplyOrForward;
};

constexpr std::array kRows = std::to_array<Row>({
    {"nothing", "", "", false},
    {"a subject without marks stays", "Plan for May", "Plan for May", false},
    {"blanks, tabs and line ends are one blank", " Plan\t \r\n for   May ", "Plan for May", false},
    {"a blank of another kind is text", "\xC2\xA0Plan", "\xC2\xA0Plan", false},
    {"nothing but blanks", " \t ", "", false},

    {"a reply", "Re: Plan", "Plan", true},
    {"in any case, without blanks", "rE:Plan", "Plan", true},
    {"blanks before the colon", "Re \t: Plan", "Plan", true},
    {"several", "Re: RE: re: Plan", "Plan", true},
    {"both marks of forwards", "Fw: Fwd: Plan", "Plan", true},
    {"a blob inside the mark", "Re[2]: Plan", "Plan", true},
    {"blanks around that blob", "Fwd [2] : Plan", "Plan", true},
    {"two blobs inside are no mark", "Re[1][2]: Plan", "Re[1][2]: Plan", false},
    {"a reply to nothing", "Re:", "", true},
    {"a word that begins like a mark", "Regarding: Plan", "Regarding: Plan", false},
    {"a mark without a colon", "Re Plan", "Re Plan", false},
    {"a mark further on is text", "Plan Re: May", "Plan Re: May", false},
    {"one d is enough", "Fwdd: Plan", "Fwdd: Plan", false},
    {"a blob in the mark that does not end", "Re[2: Plan", "Re[2: Plan", false},
    {"prefixes of other languages are text", "AW: Plan", "AW: Plan", false},
    {"and hide what stands behind", "Sv: Re: Plan", "Sv: Re: Plan", false},
    {"another colon is text", "Re\xEF\xBC\x9A Plan", "Re\xEF\xBC\x9A Plan", false},

    {"the name of a list", "[list] Plan", "Plan", false},
    {"several names", "[list][team] [x]  Plan", "Plan", false},
    {"names between marks", "[list] Re: [list] Fwd: Plan", "Plan", true},
    {"names before one mark", "[a][b] Re: Plan", "Plan", true},
    {"an empty name", "[] Plan", "Plan", false},
    {"a name alone is the subject", "[list]", "[list]", false},
    {"the last of several names is the subject", "[a] [b]", "[b]", false},
    {"a name alone after a mark", "Re: [list]", "[list]", true},
    {"a name before a mark alone goes with it", "[list] Re:", "", true},
    {"a name at the end is text", "Plan [2]", "Plan [2]", false},
    {"a name with a bracket in it is none", "[a [b] c] Plan", "[a [b] c] Plan", false},
    {"a name that does not end", "[list Plan", "[list Plan", false},
    {"an end without a beginning", "] Plan", "] Plan", false},
    {"a name right before text", "[list]Plan", "Plan", false},

    {"a mark at the end", "Plan (fwd)", "Plan", true},
    {"several, in any case, without blanks", "Plan(FWD) (Fwd)", "Plan", true},
    {"the mark at the end alone", "(fwd)", "", true},
    {"inside it is text", "Plan (fwd) B", "Plan (fwd) B", false},
    {"with blanks in it is text", "Plan ( fwd )", "Plan ( fwd )", false},
    {"a name alone before it", "[list] (fwd)", "[list]", true},

    {"a forward in brackets", "[Fwd: Plan]", "Plan", true},
    {"with marks inside", "[fwd: Re: [list] Plan (fwd)]", "Plan", true},
    {"one in the other", "[fwd: [Fwd:[FWD: Plan] ]]", "Plan", true},
    {"of nothing", "[fwd:]", "", true},
    {"after a mark", "Re: [Fwd: Plan]", "Plan", true},
    {"with a mark behind", "[Fwd: Plan] (fwd)", "Plan", true},
    {"with text behind is a name", "[Fwd: Plan] B", "B", false},
    {"ends behind another bracket", "[fwd: a] b]", "b]", false},
    {"without an end", "[fwd: Plan", "[fwd: Plan", false},
    {"a blank before the colon makes a name", "[fwd : Plan]", "[fwd : Plan]", false},
});

TEST(SubjectBase, Rules) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        const SubjectBase base = subjectBase(row.subject);
        EXPECT_EQ(base.text, row.base) << row.subject;
        EXPECT_EQ(base.isReplyOrForward, row.isReplyOrForward) << row.subject;
    }
}

// The steps of the RFC one by one, on a copy each: slow and plain.
class PlainSteps {
  public:
    explicit PlainSteps(std::string subject) : text_(std::move(subject)) {}

    std::string base() {
        do {
            while (removeTrailer()) continue;
            while (removeLeader() || removeBlob()) continue;
        } while (removeForward());
        return text_;
    }
    bool isReplyOrForward() const { return isReplyOrForward_; }

  private:
    bool has(size_t at, const std::string& word) const {
        return lowerCase(text_.substr(std::min(at, text_.size()), word.size())) == word;
    }
    size_t blanks(size_t at) const {
        while (has(at, " ")) ++at;
        return at;
    }
    size_t blob(size_t at) const {
        if (!has(at, "[")) return at;
        size_t end = at + 1;
        while (end < text_.size() && !has(end, "[") && !has(end, "]")) ++end;
        return has(end, "]") ? blanks(end + 1) : at;
    }
    size_t mark(size_t at) const {
        for (const char* word : {"fwd", "fw", "re"}) {
            if (!has(at, word)) continue;
            const size_t colon = blob(blanks(at + std::string(word).size()));
            if (has(colon, ":")) return colon + 1;
        }
        return at;
    }
    bool removeTrailer() {
        if (text_.ends_with(' ')) {
            text_.pop_back();
            return true;
        }
        if (text_.size() < 5 || !has(text_.size() - 5, "(fwd)")) return false;
        text_.resize(text_.size() - 5);
        return isReplyOrForward_ = true;
    }
    bool removeLeader() {
        if (has(0, " ")) {
            text_.erase(0, 1);
            return true;
        }
        size_t at = 0;
        for (size_t end = blob(at); end != at; end = blob(at)) at = end;
        const size_t end = mark(at);
        if (end == at) return false;
        text_.erase(0, end);
        return isReplyOrForward_ = true;
    }
    bool removeBlob() {
        const size_t end = blob(0);
        if (end == 0 || end == text_.size()) return false;
        text_.erase(0, end);
        return true;
    }
    bool removeForward() {
        if (!has(0, "[fwd:") || !text_.ends_with(']')) return false;
        text_ = text_.substr(5, text_.size() - 6);
        return isReplyOrForward_ = true;
    }

    std::string text_;
    bool isReplyOrForward_ = false;
};

TEST(SubjectBase, IsThatOfTheStepsOneByOneForEachShortSequence) {
    constexpr std::array<const char*, 10> kWords = {"re", "Fw", "d",     ":",     "[",
                                                    "]",  " ",  "(fwd)", "[fwd:", "x"};
    constexpr size_t kLength = 5;
    size_t replies = 0;
    for (size_t number = 0; number < 100'000; ++number) {
        std::string subject;
        size_t rest = number;
        for (size_t i = 0; i < kLength; ++i, rest /= kWords.size()) {
            const char* word = kWords[rest % kWords.size()];
            const bool isDoubleBlank = *word == ' ' && subject.ends_with(' ');
            if (!isDoubleBlank) subject += word;
        }
        PlainSteps steps(subject);
        const std::string expected = steps.base();
        const SubjectBase base = subjectBase(subject);
        ASSERT_EQ(base.text, expected) << subject;
        ASSERT_EQ(base.isReplyOrForward, steps.isReplyOrForward()) << subject;
        if (base.isReplyOrForward) ++replies;
    }
    EXPECT_GT(replies, 1000u);
}

std::string repeated(std::string_view text, size_t count) {
    std::string all;
    for (size_t i = 0; i < count; ++i) all += text;
    return all;
}

// With work for each of these that grew with the length of the rest, this would take hours.
TEST(SubjectBase, TakesLinearTime) {
    constexpr size_t kMany = 200'000;
    const struct {
        const char* what;
        std::string subject;
        std::string base;
    } rows[] = {
        {"names", repeated("[a]", kMany) + "x", "x"},
        {"names alone", repeated("[a]", kMany), "[a]"},
        {"names before a mark", repeated("[a] ", kMany) + "re: x", "x"},
        {"marks", repeated("re: ", kMany) + "x", "x"},
        {"marks with names", repeated("[a] re [b]: ", kMany) + "x", "x"},
        {"forwards", repeated("[fwd: ", kMany) + "x" + repeated("]", kMany), "x"},
        {"forwards with marks", repeated("[fwd: re: ", kMany) + "x" + repeated(" (fwd)]", kMany), "x"},
        {"marks behind", "x" + repeated(" (fwd)", kMany), "x"},
        {"blanks", "x" + repeated(" \t", kMany) + "y", "x y"},
        {"names that do not end", repeated("[a", kMany), repeated("[a", kMany)},
        {"marks that do not end", repeated("re[", kMany), repeated("re[", kMany)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(subjectBase(row.subject).text == row.base, true);
    }
}

}  // namespace
}  // namespace emltool

#include "tool/database/search_query.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

#include "tool/terminal/problem.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/suggestion.h"
#include "tool/text/utf8.h"

namespace emltool {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

struct Term {
    std::string field;  // in lower case; empty without one
    std::string text;
    bool isExcluded = false;
    bool isPrefix = false;
    bool isQuoted = false;
    bool isOr = false;  // the word OR
};

struct TextField {
    std::string_view name;
    std::string_view columns;  // of the full-text index
};

constexpr std::array<TextField, 10> kTextFields = {{{"subject", "subject"},
                                                    {"from", "sender"},
                                                    {"to", "recipients"},
                                                    {"cc", "recipients"},
                                                    {"bcc", "recipients"},
                                                    {"people", "{sender recipients}"},
                                                    {"body", "body"},
                                                    {"text", "body"},
                                                    {"filename", "attachments"},
                                                    {"attachment", "attachments"}}};

constexpr std::array<std::string_view, 8> kOtherFields = {"after", "before", "has",    "list",
                                                          "is",    "id",     "thread", "status"};

[[noreturn]] void fail(const std::string& text) { throw usageProblem("search: " + text); }

void addPiece(std::string& list, std::string_view between, const std::string& piece) {
    if (!list.empty()) list += between;
    list += piece;
}

bool isWordByte(char c) {
    const char letter = lower(c);
    return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') || (c & '\x80') != 0;
}

bool hasWord(std::string_view text) { return std::any_of(text.begin(), text.end(), isWordByte); }

// Cuts the text into its terms.
class Terms {
  public:
    explicit Terms(std::string_view text) : rest_(text) {}

    bool next(Term& term) {
        skipBlanks();
        if (rest_.empty()) return false;
        term = {};
        if (rest_.starts_with('-') && rest_.size() > 1 && kBlanks.find(rest_[1]) == std::string_view::npos) {
            term.isExcluded = true;
            rest_.remove_prefix(1);
        }
        takeField(term);
        takeText(term);
        term.isOr = term.text == "OR" && term.field.empty() && !term.isQuoted && !term.isExcluded;
        return true;
    }

  private:
    void skipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size())); }

    // Letters and a colon; what has "//" after it is a URL.
    void takeField(Term& term) {
        size_t end = 0;
        while (end < rest_.size() && lower(rest_[end]) >= 'a' && lower(rest_[end]) <= 'z') ++end;
        if (end == 0 || end + 1 >= rest_.size() || rest_[end] != ':' ||
            rest_.substr(end + 1).starts_with("//"))
            return;
        if (kBlanks.find(rest_[end + 1]) != std::string_view::npos) return;
        term.field = lowerCase(rest_.substr(0, end));
        rest_.remove_prefix(end + 1);
    }

    void takeText(Term& term) {
        if (rest_.starts_with('"')) {
            rest_.remove_prefix(1);
            const size_t end = rest_.find('"');
            if (end == std::string_view::npos) fail("a quote that does not end");
            term.text = rest_.substr(0, end);
            term.isQuoted = true;
            rest_.remove_prefix(end + 1);
        } else {
            const size_t end = std::min(rest_.find_first_of(kBlanks), rest_.size());
            term.text = rest_.substr(0, end);
            rest_.remove_prefix(end);
        }
        const bool isPrefix = term.isQuoted ? rest_.starts_with('*') : term.text.ends_with('*');
        if (!isPrefix) return;
        term.isPrefix = true;
        if (term.isQuoted) {
            rest_.remove_prefix(1);
        } else {
            term.text.pop_back();
        }
    }

    std::string_view rest_;
};

// A string of the full-text index, whose words are looked for one after the other.
std::string ftsString(const Term& term) {
    std::string text = "\"";
    for (const char c : term.text) {
        if (c == '\0') continue;
        if (c == '"') text += '"';
        text += c;
    }
    text += '"';
    if (term.isPrefix) text += '*';
    return text;
}

// Of the full-text index; empty if `field` is none of them.
std::string_view columnsOf(std::string_view field) {
    const auto* const found = std::ranges::find(kTextFields, field, &TextField::name);
    return found == kTextFields.end() ? std::string_view() : found->columns;
}

std::string ftsTerm(const Term& term) {
    const std::string_view columns = columnsOf(term.field);
    return columns.empty() ? ftsString(term) : formatted("{} : {}", columns, ftsString(term));
}

bool isTextField(const std::string& name) { return name.empty() || !columnsOf(name).empty(); }

// Of Chinese, Japanese, Thai and their neighbours. The index has what stands between two blanks as one word, which in
// these scripts is a whole sentence.
bool isOfUnspacedScript(char32_t c) {
    struct Range {
        char32_t first;
        char32_t last;
    };
    constexpr std::array<Range, 6> kRanges = {{{0x0E00, 0x0EFF},
                                               {0x1000, 0x109F},
                                               {0x1780, 0x17FF},
                                               {0x2E80, 0x9FFF},
                                               {0xF900, 0xFAFF},
                                               {0x20000, 0x3FFFF}}};
    return std::ranges::any_of(kRanges,
                               [c](const Range& range) { return c >= range.first && c <= range.last; });
}

bool hasUnspacedScript(std::string_view text) {
    for (size_t at = 0; at < text.size();) {
        if (isOfUnspacedScript(nextCharacter(text, at))) return true;
    }
    return false;
}

// The characters of the term wherever they are, in the texts themselves.
SearchCondition substringCondition(const Term& term) {
    struct Place {
        std::string_view columns;
        std::string_view text;
    };
    constexpr std::array<Place, 5> kPlaces = {{{"subject", "t.subject"},
                                               {"sender", "t.sender"},
                                               {"recipients", "t.recipients"},
                                               {"body", "t.body"},
                                               {"attachments", "t.attachments"}}};
    const std::string_view columns = columnsOf(term.field);
    std::string text;
    for (const Place& place : kPlaces) {
        if (columns.empty() || columns.find(place.columns) != std::string_view::npos)
            addPiece(text, " || char(10) || ", formatted("coalesce({}, '')", place.text));
    }
    return {formatted("m.id IN (SELECT t.id FROM texts t WHERE instr(lower({}), ?) > 0)", text),
            lowerCase(term.text)};
}

int64_t dateOf(const Term& term) {
    const auto time = beginningOfDate(term.text);
    if (!time) fail(formatted("{}:{}: not a date like 2024, 2024-03 or 2024-03-15", term.field, term.text));
    return *time;
}

SearchCondition conditionOf(const Term& term) {
    constexpr std::array<std::string_view, 6> kFlags = {"seen",    "replied", "flagged",
                                                        "trashed", "draft",   "passed"};
    const std::string word = lowerCase(term.text);
    if (term.field == "after") return {"m.time >= ?", dateOf(term)};
    if (term.field == "before") return {"m.time < ?", dateOf(term)};
    if (term.field == "id") return {"m.message_id = ?", term.text};
    if (term.field == "thread") return {"m.thread = ?", word};
    if (term.field == "list") return {"lower(m.list_id) = ?", word};
    if (term.field == "status") return {"m.status = ?", word};
    if (term.field == "has") {
        if (word == "attachment" || word == "attachments") return {"m.attachments >= ?", int64_t{1}};
        fail(formatted("has:{}: there is has:attachment", term.text));
    }
    if (word == "encrypted") return {"m.encrypted = ?", int64_t{1}};
    if (std::ranges::find(kFlags, word) == kFlags.end())
        fail(formatted("is:{}: there are encrypted, seen, replied, flagged, trashed, draft and passed",
                       term.text));
    return {"instr(' ' || coalesce(m.maildir_flags, '') || ' ', ?) > 0", ' ' + word + ' '};
}

[[noreturn]] void failForField(const Term& term) {
    std::vector<std::string> names(kOtherFields.begin(), kOtherFields.end());
    for (const TextField& field : kTextFields) names.emplace_back(field.name);
    const std::string near = closest(term.field, names);
    fail(formatted("{0}: is no field to search{1}; in quotes, \"{0}:{2}\" is text", term.field,
                   near.empty() ? "" : formatted("; did you mean {}:?", near), term.text));
}

class QueryBuilder {
  public:
    void add(const Term& term) {
        if (term.isOr) {
            if (!mayJoin_) failForOr();
            joins_ = true;
            mayJoin_ = false;
            return;
        }
        if (!isTextField(term.field)) {
            if (std::ranges::find(kOtherFields, term.field) == kOtherFields.end()) failForField(term);
            addCondition(term, conditionOf(term));
        } else if (hasUnspacedScript(term.text)) {
            addCondition(term, substringCondition(term));
        } else {
            addText(term);
        }
    }

    SearchQuery finish() {
        if (joins_) failForOr();
        for (const std::string& each : wanted_) addPiece(query_.match, " AND ", formatted("({})", each));
        if (!query_.match.empty() && !excluded_.empty()) {
            query_.match = formatted("({}) NOT ({})", query_.match, excluded_);
        } else {
            query_.exclude = std::move(excluded_);
        }
        return std::move(query_);
    }

  private:
    [[noreturn]] static void failForOr() { fail("OR stands between two words"); }

    void addCondition(const Term& term, SearchCondition condition) {
        if (joins_) failForOr();
        // A message of which this is unknown is not excluded.
        if (term.isExcluded) condition.sql = formatted("coalesce(NOT ({}), 1)", condition.sql);
        query_.conditions.push_back(std::move(condition));
        mayJoin_ = false;
    }

    // Punctuation alone is not in the index.
    void addText(const Term& term) {
        const bool says = hasWord(term.text);
        if (joins_ && (term.isExcluded || !says)) failForOr();
        mayJoin_ = says && !term.isExcluded;
        if (!says) return;
        const std::string text = formatted("({})", ftsTerm(term));
        if (term.isExcluded) {
            addPiece(excluded_, " OR ", text);
        } else if (joins_) {
            addPiece(wanted_.back(), " OR ", text);
        } else {
            wanted_.push_back(text);
        }
        joins_ = false;
    }

    SearchQuery query_;
    std::vector<std::string> wanted_;  // each of which may be several with OR between
    std::string excluded_;
    bool mayJoin_ = false;  // OR may come now
    bool joins_ = false;    // it has come
};

}  // namespace

std::optional<int64_t> beginningOfDate(std::string_view text) {
    using namespace std::chrono;
    constexpr std::array<size_t, 3> kLengths = {4, 7, 10};
    if (std::ranges::find(kLengths, text.size()) == kLengths.end()) return std::nullopt;
    std::array<unsigned, 3> numbers = {0, 1, 1};
    constexpr std::array<size_t, 3> kBegins = {0, 5, 8};
    for (size_t i = 0; i < numbers.size() && kBegins[i] < text.size(); ++i) {
        if (i != 0 && text[kBegins[i] - 1] != '-') return std::nullopt;
        const std::string_view digits = text.substr(kBegins[i], i == 0 ? 4 : 2);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), numbers[i]);
        if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    }
    const year_month_day date{year{static_cast<int>(numbers[0])}, month{numbers[1]}, day{numbers[2]}};
    if (!date.ok()) return std::nullopt;
    return duration_cast<seconds>(sys_days{date}.time_since_epoch()).count();
}

SearchQuery parseSearch(std::string_view text) {
    QueryBuilder builder;
    Terms terms(text);
    for (Term term; terms.next(term);) builder.add(term);
    return builder.finish();
}

}  // namespace emltool

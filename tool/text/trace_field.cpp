#include "tool/text/trace_field.h"

#include <array>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

struct Clause {
    std::string_view word;
    std::string TraceField::*value;
};

constexpr std::array<Clause, 6> kClauses = {{{"from", &TraceField::from},
                                             {"by", &TraceField::by},
                                             {"via", &TraceField::via},
                                             {"with", &TraceField::with},
                                             {"id", &TraceField::id},
                                             {"for", &TraceField::recipient}}};

bool isBlank(char c) { return kBlanks.find(c) != std::string_view::npos; }

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

std::string withOneBlank(std::string_view text) {
    std::string result;
    for (const char c : trimmed(text)) {
        if (!isBlank(c)) {
            result += c;
        } else if (!result.ends_with(' ')) {
            result += ' ';
        }
    }
    return result;
}

// Walks over text, and knows what is inside of comments, quotes and angle brackets.
class Walk {
  public:
    explicit Walk(std::string_view text) : text_(text) {}

    bool atEnd() const { return at_ >= text_.size(); }
    size_t at() const { return at_; }
    char character() const { return text_[at_]; }
    bool isOutside() const { return depth_ == 0 && !quoted_ && !angle_; }

    void step() {
        const char c = text_[at_++];
        if (c == '\\' && (depth_ > 0 || quoted_)) {
            if (at_ < text_.size()) ++at_;
        } else if (quoted_) {
            quoted_ = c != '"';
        } else if (c == '(') {
            ++depth_;
        } else if (depth_ > 0) {
            if (c == ')') --depth_;
        } else if (c == '"') {
            quoted_ = true;
        } else if (c == '<' || c == '>') {
            angle_ = c == '<';
        }
    }

  private:
    std::string_view text_;
    size_t at_ = 0;
    size_t depth_ = 0;  // of comments
    bool quoted_ = false;
    bool angle_ = false;
};

// Where the last semicolon is; the end if there is none. One that is in a comment that never ends counts too.
size_t endOfClauses(std::string_view text) {
    size_t end = std::string_view::npos;
    for (Walk walk(text); !walk.atEnd(); walk.step()) {
        if (walk.isOutside() && walk.character() == ';') end = walk.at();
    }
    if (end == std::string_view::npos) end = text.rfind(';');
    return end == std::string_view::npos ? text.size() : end;
}

const Clause* clauseOf(std::string_view word) {
    for (const Clause& clause : kClauses) {
        if (equalNoCase(word, clause.word)) return &clause;
    }
    return nullptr;
}

class Clauses {
  public:
    explicit Clauses(TraceField& field) : field_(field) {}

    // `before` is what came since the last word that begins a clause.
    void begin(const Clause* clause, std::string_view before) {
        (current_ == nullptr ? field_.other : field_.*(current_->value)) = withOneBlank(before);
        current_ = clause;
    }
    bool isNew(const Clause* clause) const {
        return clause != nullptr && clause != current_ && (field_.*(clause->value)).empty();
    }

  private:
    TraceField& field_;
    const Clause* current_ = nullptr;
};

void readClauses(std::string_view text, TraceField& field) {
    Clauses clauses(field);
    size_t value = 0;
    for (Walk walk(text); !walk.atEnd();) {
        const bool isOutside = walk.isOutside();
        const size_t begin = walk.at();
        if (!isOutside || isBlank(walk.character())) {
            walk.step();
            continue;
        }
        while (!walk.atEnd() && !(walk.isOutside() && isBlank(walk.character()))) walk.step();
        const Clause* const clause = clauseOf(text.substr(begin, walk.at() - begin));
        if (!clauses.isNew(clause)) continue;
        clauses.begin(clause, text.substr(value, begin - value));
        value = walk.at();
    }
    clauses.begin(nullptr, text.substr(value));
}

std::string withoutAngles(const std::string& text) {
    const bool isInAngles = text.size() > 2 && text.front() == '<' && text.find('>') == text.size() - 1;
    return isInAngles ? std::string(trimmed(std::string_view(text).substr(1, text.size() - 2))) : text;
}

}  // namespace

TraceField parseTraceField(std::string_view text) {
    TraceField field;
    const size_t end = endOfClauses(text);
    readClauses(text.substr(0, end), field);
    field.recipient = withoutAngles(field.recipient);
    if (end < text.size()) field.date = trimmed(text.substr(end + 1));
    return field;
}

}  // namespace emltool

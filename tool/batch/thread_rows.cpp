#include "tool/batch/thread_rows.h"

#include <span>

#include "tool/text/subject_base.h"

namespace emltool {

namespace {

constexpr std::string_view kMember = R"(,"thread":")";
constexpr std::string_view kMemberEnd = R"("})";
constexpr size_t kDigits = 16;

// The row without the end of its object. A quote inside of a string would have a backslash, so what looks like the
// member at the end of a row is it.
std::string_view openRow(std::string_view row) {
    constexpr size_t kLength = kMember.size() + kDigits + kMemberEnd.size();
    if (row.ends_with(kMemberEnd) && row.size() > kLength &&
        row.substr(row.size() - kLength).starts_with(kMember)) {
        return row.substr(0, row.size() - kLength);
    }
    return row.substr(0, row.size() - (row.ends_with('}') ? 1 : 0));
}

// RFC 5256 section 3: the first id of In-Reply-To stands for references that are not there; the others are often
// addresses.
std::span<const std::string> answeredIds(const ThreadFields& fields) {
    if (!fields.references.empty()) return fields.references;
    return std::span(fields.inReplyTo).first(fields.inReplyTo.empty() ? 0 : 1);
}

}  // namespace

void ThreadRows::add(std::string_view row) {
    RowFacts facts;
    if (!readRowFacts(row, facts)) facts = {};
    add(facts);
}

void ThreadRows::add(const RowFacts& facts) {
    hasThread_.push_back(facts.threadFields.has_value());
    if (!facts.threadFields) return;
    const SubjectBase subject = subjectBase(facts.subject);
    finder_.add({facts.path, facts.index, facts.threadFields->messageId, answeredIds(*facts.threadFields),
                 subject.text, subject.isReplyOrForward});
}

void ThreadRows::complete(std::string_view row, std::string& out) {
    const std::string thread = next();
    out += openRow(row);
    if (!thread.empty()) {
        out += kMember;
        out += thread;
        out += '"';
    }
    out += "}\n";
}

// There may be more rows than were added, if somebody has written to the file meanwhile.
std::string ThreadRows::next() {
    const bool hasThread = row_ < hasThread_.size() && hasThread_[row_++];
    return hasThread ? threadText(threads_[thread_++]) : std::string();
}

}  // namespace emltool

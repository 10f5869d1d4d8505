#include "tool/database/mail_search.h"

#include <algorithm>

#include "tool/database/mail_schema.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// So many hits are sorted by time. If there are more, messages are looked at in the order of their time instead, which
// soon finds enough of them.
constexpr size_t kMaxSorted = 10'000;

constexpr char kHitBegin = '\x02';  // in snippets; neither is in a text that a person reads
constexpr char kHitEnd = '\x03';

std::string whereOf(const SearchQuery& query, bool withMatch) {
    std::string where = withMatch && !query.match.empty() ? "search MATCH ?" : "1";
    if (!query.exclude.empty()) where += " AND m.id NOT IN (SELECT rowid FROM search WHERE search MATCH ?)";
    for (const SearchCondition& condition : query.conditions) where += " AND " + condition.sql;
    return where;
}

// Binds in the order of whereOf; the number of the next parameter.
int bindWhere(const SearchQuery& query, bool withMatch, Statement& statement) {
    int next = 1;
    if (withMatch && !query.match.empty()) statement.bind(next++, query.match);
    if (!query.exclude.empty()) statement.bind(next++, query.exclude);
    for (const SearchCondition& condition : query.conditions) {
        if (const auto* const number = std::get_if<int64_t>(&condition.value)) {
            statement.bindNumber(next++, *number);
        } else {
            statement.bind(next++, std::get<std::string>(condition.value));
        }
    }
    return next;
}

const char* directionOf(SearchOrder order) { return order == SearchOrder::kOldest ? "ASC" : "DESC"; }

// Messages without a date come last.
bool isBefore(SearchOrder order, int64_t oneTime, int64_t one, int64_t otherTime, int64_t other) {
    if (oneTime == otherTime) return one < other;
    if (oneTime == INT64_MIN || otherTime == INT64_MIN) return otherTime == INT64_MIN;
    return order == SearchOrder::kOldest ? oneTime < otherTime : oneTime > otherTime;
}

std::vector<SnippetPiece> piecesOf(std::string_view text) {
    std::vector<SnippetPiece> pieces;
    bool isHit = false;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(isHit ? kHitEnd : kHitBegin, begin), text.size());
        if (end > begin) pieces.push_back({std::string(text.substr(begin, end - begin)), isHit});
        isHit = !isHit;
        begin = end + 1;
    }
    return pieces;
}

}  // namespace

MailSearch::MailSearch(const std::string& path) : database_(path, Database::Mode::kRead) {
    if (database_.value("PRAGMA application_id") != kApplicationId) {
        throw Problem(ExitCode::kInput, "not-database", path,
                      formatted("is no database of messages; \"eml batch -o {} FOLDER\" makes one", path));
    }
    if (database_.value("PRAGMA user_version") != kSchemaVersion) {
        throw Problem(ExitCode::kInput, "other-version", path, "was made by another version of eml");
    }
}

int64_t MailSearch::size() { return database_.value("SELECT count(*) FROM messages").value_or(0); }

// Messages in the order of their time, each of which is held against the text that is wanted.
std::vector<int64_t> MailSearch::walk(const SearchQuery& query, SearchOrder order, size_t limit) {
    Statement all = database_.prepare(
        formatted("SELECT m.id FROM messages m WHERE {} ORDER BY m.time IS NULL, m.time {}, m.id",
                  whereOf(query, false), directionOf(order)));
    bindWhere(query, false, all);
    Statement fits = database_.prepare("SELECT 1 FROM search WHERE search MATCH ?1 AND rowid = ?2");
    std::vector<int64_t> ids;
    while (ids.size() < limit && all.step()) {
        const int64_t id = all.number(0);
        if (!query.match.empty()) {
            fits.reset();
            fits.bind(1, query.match).bindNumber(2, id);
            if (!fits.step()) continue;
        }
        ids.push_back(id);
    }
    return ids;
}

std::vector<int64_t> MailSearch::byTime(const SearchQuery& query, SearchOrder order, size_t limit,
                                        SearchResult& result) {
    const bool wantsAll = limit > kMaxSorted;
    const int64_t most = wantsAll ? -1 : int64_t{kMaxSorted} + 1;
    Statement found = database_.prepare(
        query.match.empty()
            ? formatted("SELECT m.id, m.time FROM messages m WHERE {} LIMIT {}", whereOf(query, true), most)
            : formatted(
                  "SELECT m.id, m.time FROM search JOIN messages m ON m.id = search.rowid WHERE {} LIMIT {}",
                  whereOf(query, true), most));
    bindWhere(query, true, found);
    std::vector<Candidate> candidates;
    while (found.step())
        candidates.push_back({found.number(0), found.isNull(1) ? INT64_MIN : found.number(1)});
    result.areMore = !wantsAll && candidates.size() > kMaxSorted;
    result.count = candidates.size() - (result.areMore ? 1 : 0);
    if (result.areMore) return walk(query, order, limit);
    std::ranges::sort(candidates, [order](const Candidate& one, const Candidate& other) {
        return isBefore(order, one.time, one.id, other.time, other.id);
    });
    std::vector<int64_t> ids;
    for (size_t i = 0; i < std::min(limit, candidates.size()); ++i) ids.push_back(candidates[i].id);
    return ids;
}

std::vector<int64_t> MailSearch::byRelevance(const SearchQuery& query, size_t limit, SearchResult& result) {
    Statement found = database_.prepare(formatted(
        "SELECT m.id FROM search JOIN messages m ON m.id = search.rowid WHERE {} ORDER BY rank, m.id",
        whereOf(query, true)));
    bindWhere(query, true, found);
    std::vector<int64_t> ids;
    while (found.step()) {
        ++result.count;
        if (ids.size() < limit) ids.push_back(found.number(0));
    }
    return ids;
}

// Of the text if it has a hit, or else of what has one.
std::vector<SnippetPiece> MailSearch::snippet(const std::string& match, int64_t id) {
    Statement found = database_.prepare(
        "SELECT snippet(search, 3, char(2), char(3), '\xE2\x80\xA6', 16), "
        "snippet(search, -1, char(2), char(3), '\xE2\x80\xA6', 16) FROM search "
        "WHERE search MATCH ?1 AND rowid = ?2");
    found.bind(1, match).bindNumber(2, id);
    if (!found.step()) return {};
    const std::string body = found.text(0);
    return piecesOf(body.find(kHitBegin) != std::string::npos ? body : found.text(1));
}

SearchHit MailSearch::hit(const SearchQuery& query, int64_t id) {
    SearchHit hit;
    hit.id = id;
    if (auto found = place(id)) hit.place = std::move(*found);
    Statement row = database_.prepare(
        "SELECT date, sender, subject, attachments, error_text FROM messages WHERE id = ?1");
    row.bindNumber(1, id);
    if (row.step()) {
        hit.date = row.text(0);
        hit.sender = row.text(1);
        hit.subject = row.text(2);
        hit.attachments = row.number(3);
        hit.error = row.text(4);
    }
    if (!query.match.empty()) hit.snippet = snippet(query.match, id);
    return hit;
}

SearchResult MailSearch::find(const SearchQuery& query, SearchOrder order, size_t limit) {
    SearchResult result;
    // Without words nothing is more relevant than anything else.
    const bool ranks = order == SearchOrder::kRelevance && !query.match.empty();
    const std::vector<int64_t> ids =
        ranks ? byRelevance(query, limit, result) : byTime(query, order, limit, result);
    for (const int64_t id : ids) result.hits.push_back(hit(query, id));
    return result;
}

std::optional<FoundPlace> MailSearch::place(int64_t id) {
    Statement row = database_.prepare(
        "SELECT path, path_b64, mbox_index, member, folder FROM messages JOIN runs ON runs.id = messages.run "
        "WHERE messages.id = ?1");
    row.bindNumber(1, id);
    if (!row.step()) return std::nullopt;
    return FoundPlace{storedPlace(row, 0), row.text(3), row.text(4)};
}

}  // namespace emltool

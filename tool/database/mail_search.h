// Finds messages in a database.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/database/database.h"
#include "tool/database/search_query.h"
#include "tool/database/stored_place.h"

namespace emltool {

struct FoundPlace : StoredPlace {
    std::string member;  // of an archive; empty without one
    std::string folder;  // where the batch ran
};

// A piece of a text, with the words that were looked for apart.
struct SnippetPiece {
    std::string text;
    bool isHit = false;
};

struct SearchHit {
    int64_t id = 0;
    FoundPlace place;
    std::string date;  // empty without one, as all texts
    std::string sender;
    std::string subject;
    std::string error;  // why it could not be read
    int64_t attachments = 0;
    std::vector<SnippetPiece> snippet;
};

struct SearchResult {
    std::vector<SearchHit> hits;
    uint64_t count = 0;    // of all that fit
    bool areMore = false;  // there are still more; they were not counted
};

enum class SearchOrder { kNewest, kOldest, kRelevance };

class MailSearch {
  public:
    // Throws Problem, also if the file is a database of something else.
    explicit MailSearch(const std::string& path);

    // At most `limit` hits. Throws Problem.
    SearchResult find(const SearchQuery& query, SearchOrder order, size_t limit);

    // Nothing if there is no such message. Throws Problem.
    std::optional<FoundPlace> place(int64_t id);

    // The number of messages.
    int64_t size();

  private:
    struct Candidate {
        int64_t id;
        int64_t time;
    };

    std::vector<int64_t> byTime(const SearchQuery& query, SearchOrder order, size_t limit,
                                SearchResult& result);
    std::vector<int64_t> byRelevance(const SearchQuery& query, size_t limit, SearchResult& result);
    std::vector<int64_t> walk(const SearchQuery& query, SearchOrder order, size_t limit);
    std::vector<SnippetPiece> snippet(const std::string& match, int64_t id);
    SearchHit hit(const SearchQuery& query, int64_t id);

    Database database_;
};

}  // namespace emltool

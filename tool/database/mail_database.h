// Rows of a batch as a database of messages.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/database/database.h"
#include "tool/database/stored_place.h"

namespace emltool {

// Takes rows. What has been added is in the file after commit(), all of it or, if that is never called, nothing. Others
// may read meanwhile.
class MailDatabase {
  public:
    // Creates the tables, or continues with those that are there. `folder` is what paths are relative to. Throws Problem.
    MailDatabase(const std::string& path, const std::string& folder);
    ~MailDatabase();
    MailDatabase(const MailDatabase&) = delete;
    MailDatabase& operator=(const MailDatabase&) = delete;

    // A row of version 2 of the answers, with or without its line end. Throws Problem.
    void add(std::string_view row);

    void commit();

    // The places of all messages that are there, in their order.
    using TakePlace = std::function<void(const StoredPlace& place)>;
    void forEachPlace(const TakePlace& take);

    // What tells conversations apart, in that order.
    struct ThreadFacts {
        StoredPlace place;
        std::string messageId;
        std::vector<std::string> inReplyTo;
        std::vector<std::string> references;
        std::string subject;
    };
    using TakeFacts = std::function<bool(int64_t id, const ThreadFacts& facts)>;
    // False if `take` did not go on.
    bool forEachThreadFacts(const TakeFacts& take);
    void setThread(int64_t id, std::string_view thread);

    // The last commit, after which the database is one file, unless somebody is reading it.
    void finish();

  private:
    class Writer;

    void begin();

    Database database_;
    std::unique_ptr<Writer> writer_;
    std::optional<Statement> setThread_;
    int64_t run_ = 0;
    bool inTransaction_ = false;
};

}  // namespace emltool

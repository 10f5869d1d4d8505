// The rows of a batch as a database.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "standalone/unique_descriptor.h"
#include "tool/batch/finished_rows.h"
#include "tool/batch/row_sink.h"
#include "tool/database/mail_database.h"

namespace emltool {

// Whether rows for `path` become a database, by its name; or by what it holds, if it is there.
bool isDatabasePath(const std::string& path);

class DatabaseOutput final : public RowSink {
  public:
    // With `resume` an existing database is continued, and its messages are added to `finished`; else the file must
    // not exist. Throws Problem.
    DatabaseOutput(const std::string& path, bool resume, FinishedRows& finished);

    void write(std::string_view lines) override;
    bool addThreads(const std::function<bool()>& goesOn) override;
    void finish() override { database_->finish(); }

    bool isFile() const override { return true; }
    bool isSameFile(const struct stat& file) const override;

  private:
    struct Identity {
        dev_t device;
        ino_t inode;
    };

    void lock(const std::string& path, bool resume);
    void noteFiles(const std::string& path);

    // Between two transactions of SQLite another writer could come. Closed after the database: closing it earlier would
    // end the locks of SQLite.
    emlhost::UniqueDescriptor lock_;
    std::unique_ptr<MailDatabase> database_;
    std::vector<Identity> files_;
    std::chrono::steady_clock::time_point committed_;
};

}  // namespace emltool

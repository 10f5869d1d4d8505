// A database in one file. SQLite does the work; it is loaded when it is first needed.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tool/terminal/problem.h"

namespace emltool {

// Why there is no SQLite, "built without SQLite"; empty if there is.
std::string databaseLack();

// Whether a file that begins with these bytes is one.
bool beginsDatabase(std::string_view beginning);

// One statement, to be run any number of times. Must not outlive its database. Parameters and columns count from 1 and
// 0, as in SQLite.
class Statement {
  public:
    Statement(Statement&&) noexcept = default;
    Statement& operator=(Statement&&) noexcept = default;

    // The text must stay until the next reset.
    Statement& bind(int parameter, std::string_view text);
    Statement& bindNumber(int parameter, int64_t number);
    Statement& bindNull(int parameter);

    // Nothing is NULL; so is an empty text.
    Statement& bindOptional(int parameter, std::string_view text);
    Statement& bindOptional(int parameter, const std::optional<uint64_t>& number);

    // The next row. False after the last one, and for statements that return none. Throws Problem.
    bool step();

    // Ready for another run; what was bound is forgotten.
    void reset();

    // Runs a statement without rows, and resets it. Throws Problem.
    void run();

    bool isNull(int column) const;
    int64_t number(int column) const;
    std::optional<uint64_t> optionalNumber(int column) const;
    std::string text(int column) const;

  private:
    friend class Database;
    struct Handle;
    struct Deleter {
        void operator()(Handle* handle) const;
    };

    explicit Statement(std::unique_ptr<Handle, Deleter> handle) : handle_(std::move(handle)) {}

    std::unique_ptr<Handle, Deleter> handle_;
};

class Database {
  public:
    enum class Mode {
        kRead,   // one that exists, which may come from anyone
        kWrite,  // created where it does not exist
    };

    // Throws Problem.
    Database(std::string path, Mode mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& path() const { return path_; }

    // Runs statements that return nothing. Throws Problem.
    void run(const char* statements);

    // Throws Problem.
    Statement prepare(std::string_view statement);

    // The only value that the statement returns; nothing without a row. Throws Problem.
    std::optional<int64_t> value(std::string_view statement);

    // Of the row that was inserted last.
    int64_t lastRow() const;

  private:
    friend class Statement;
    struct Connection;

    std::string path_;
    std::unique_ptr<Connection> connection_;
};

}  // namespace emltool

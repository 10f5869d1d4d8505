#include "tool/database/database.h"

#ifdef EML_WITH_SQLITE

#include <sqlite3.h>

#include <climits>
#include <type_traits>

#include "tool/loading/shared_library.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

struct Library {
    decltype(::sqlite3_open_v2)* open = nullptr;
    decltype(::sqlite3_close_v2)* close = nullptr;
    decltype(::sqlite3_db_config)* configure = nullptr;
    decltype(::sqlite3_busy_timeout)* busyTimeout = nullptr;
    decltype(::sqlite3_exec)* exec = nullptr;
    decltype(::sqlite3_prepare_v2)* prepare = nullptr;
    decltype(::sqlite3_finalize)* finalize = nullptr;
    decltype(::sqlite3_step)* step = nullptr;
    decltype(::sqlite3_reset)* reset = nullptr;
    decltype(::sqlite3_clear_bindings)* clear = nullptr;
    decltype(::sqlite3_bind_text)* bindText = nullptr;
    decltype(::sqlite3_bind_int64)* bindNumber = nullptr;
    decltype(::sqlite3_bind_null)* bindNull = nullptr;
    decltype(::sqlite3_column_type)* type = nullptr;
    decltype(::sqlite3_column_int64)* number = nullptr;
    decltype(::sqlite3_column_text)* text = nullptr;
    decltype(::sqlite3_column_bytes)* bytes = nullptr;
    decltype(::sqlite3_extended_errcode)* error = nullptr;
    decltype(::sqlite3_errmsg)* message = nullptr;
    decltype(::sqlite3_system_errno)* systemError = nullptr;
    decltype(::sqlite3_last_insert_rowid)* lastRow = nullptr;
    bool isLoaded = false;

    Library() {
        SharedLibrary library(EML_SQLITE_LIBRARY);
        library.get(open, "sqlite3_open_v2")
            .get(close, "sqlite3_close_v2")
            .get(configure, "sqlite3_db_config");
        library.get(busyTimeout, "sqlite3_busy_timeout").get(exec, "sqlite3_exec");
        library.get(prepare, "sqlite3_prepare_v2")
            .get(finalize, "sqlite3_finalize")
            .get(step, "sqlite3_step");
        library.get(reset, "sqlite3_reset").get(clear, "sqlite3_clear_bindings");
        library.get(bindText, "sqlite3_bind_text").get(bindNumber, "sqlite3_bind_int64");
        library.get(bindNull, "sqlite3_bind_null").get(type, "sqlite3_column_type");
        library.get(number, "sqlite3_column_int64").get(text, "sqlite3_column_text");
        library.get(bytes, "sqlite3_column_bytes").get(error, "sqlite3_extended_errcode");
        library.get(message, "sqlite3_errmsg").get(systemError, "sqlite3_system_errno");
        isLoaded = library.get(lastRow, "sqlite3_last_insert_rowid").isComplete();
    }
};

const Library& library() {
    static const Library loaded;
    return loaded;
}

constexpr const char* kContinued = "; what was written so far is whole, --resume continues it";

// `database` is NULL where there was no memory for it.
Problem problemOf(const std::string& path, sqlite3* database) {
    if (database == nullptr) return outOfMemory(path);
    const int code = library().error(database);
    switch (code & 0xFF) {
        case SQLITE_NOMEM:
            return outOfMemory(path);
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return {ExitCode::kOutput, "in-use", path, "another program is writing it"};
        case SQLITE_NOTADB:
            return {ExitCode::kInput, "not-database", path, "is no database of eml"};
        case SQLITE_CORRUPT:
            return {ExitCode::kInput, "damaged-database", path,
                    "is damaged; the messages are still where they were, so it can be made again"};
        case SQLITE_FULL:
            return {ExitCode::kOutput, "write-failed", path,
                    formatted("no space left on device{}", kContinued)};
        case SQLITE_READONLY:
            return {ExitCode::kOutput, "write-failed", path, "cannot be written"};
        default:
            break;
    }
    const int cause = library().systemError(database);
    const std::string words =
        cause != 0 ? describe({cause, std::system_category()}) : std::string(library().message(database));
    if ((code & 0xFF) == SQLITE_CANTOPEN || code == SQLITE_IOERR_READ)
        return {ExitCode::kInput, "cannot-read", path, words};
    return {ExitCode::kOutput, "write-failed", path,
            (code & 0xFF) == SQLITE_IOERR ? words + kContinued : words};
}

}  // namespace

struct Database::Connection {
    explicit Connection(const std::string& name) : path(name) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { library().close(handle); }

    [[noreturn]] void fail() const { throw problemOf(path, handle); }

    const std::string& path;
    sqlite3* handle = nullptr;
};

struct Statement::Handle {
    const Database::Connection& connection;
    sqlite3_stmt* statement;

    void check(int result) const {
        if (result != SQLITE_OK) connection.fail();
    }
};

void Statement::Deleter::operator()(Handle* handle) const {
    library().finalize(handle->statement);
    delete handle;
}

std::string databaseLack() {
    return library().isLoaded ? "" : formatted("cannot load {}", EML_SQLITE_LIBRARY);
}

bool beginsDatabase(std::string_view beginning) {
    return beginning.starts_with(std::string_view("SQLite format 3\0", 16));
}

// What comes from someone else may hold a schema with traps.
Database::Database(std::string path, Mode mode)
    : path_(std::move(path)), connection_(std::make_unique<Connection>(path_)) {
    if (const std::string lack = databaseLack(); !lack.empty())
        throw usageProblem(formatted("{}: databases need SQLite: {}", path_, lack));
    const int flags = mode == Mode::kRead ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    // A path that begins with ":" would have a meaning of its own.
    const std::string name = path_.starts_with('/') ? path_ : "./" + path_;
    if (library().open(name.c_str(), &connection_->handle, flags | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        connection_->fail();
    constexpr int kPatience = 5000;  // ms
    library().busyTimeout(connection_->handle, kPatience);
    library().configure(connection_->handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    library().configure(connection_->handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    run("PRAGMA cell_size_check=ON");
}

Database::~Database() = default;

void Database::run(const char* statements) {
    if (library().exec(connection_->handle, statements, nullptr, nullptr, nullptr) != SQLITE_OK)
        connection_->fail();
}

Statement Database::prepare(std::string_view statement) {
    sqlite3_stmt* prepared = nullptr;
    const int length = static_cast<int>(statement.size());
    if (library().prepare(connection_->handle, statement.data(), length, &prepared, nullptr) != SQLITE_OK)
        connection_->fail();
    auto* const handle = new (std::nothrow) Statement::Handle{*connection_, prepared};
    if (handle == nullptr) library().finalize(prepared);
    if (handle == nullptr) throw outOfMemory(path_);
    return Statement(std::unique_ptr<Statement::Handle, Statement::Deleter>(handle));
}

std::optional<int64_t> Database::value(std::string_view statement) {
    Statement prepared = prepare(statement);
    if (!prepared.step()) return std::nullopt;
    return prepared.number(0);
}

int64_t Database::lastRow() const { return library().lastRow(connection_->handle); }

Statement& Statement::bind(int parameter, std::string_view text) {
    if (text.size() > INT_MAX) throw outOfMemory(handle_->connection.path);
    const char* const bytes = text.data() == nullptr ? "" : text.data();
    handle_->check(library().bindText(handle_->statement, parameter, bytes, static_cast<int>(text.size()),
                                      SQLITE_STATIC));
    return *this;
}

Statement& Statement::bindNumber(int parameter, int64_t number) {
    handle_->check(library().bindNumber(handle_->statement, parameter, number));
    return *this;
}

Statement& Statement::bindNull(int parameter) {
    handle_->check(library().bindNull(handle_->statement, parameter));
    return *this;
}

bool Statement::step() {
    const int result = library().step(handle_->statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) handle_->connection.fail();
    return result == SQLITE_ROW;
}

// The result is that of the step before, which has been looked at.
void Statement::reset() {
    library().reset(handle_->statement);
    library().clear(handle_->statement);
}

bool Statement::isNull(int column) const { return library().type(handle_->statement, column) == SQLITE_NULL; }

int64_t Statement::number(int column) const { return library().number(handle_->statement, column); }

std::string Statement::text(int column) const {
    const unsigned char* const bytes = library().text(handle_->statement, column);
    if (bytes == nullptr) return {};
    const int length = library().bytes(handle_->statement, column);
    return {reinterpret_cast<const char*>(bytes), static_cast<size_t>(length)};
}

}  // namespace emltool

#else

namespace emltool {

struct Database::Connection {};
struct Statement::Handle {};

namespace {

[[noreturn]] void fail() { throw usageProblem("databases need SQLite: " + databaseLack()); }

}  // namespace

void Statement::Deleter::operator()(Handle* handle) const { delete handle; }

std::string databaseLack() { return "this program was built without it"; }

bool beginsDatabase(std::string_view beginning) {
    return beginning.starts_with(std::string_view("SQLite format 3\0", 16));
}

Database::Database(std::string path, Mode) : path_(std::move(path)) { fail(); }
Database::~Database() = default;
void Database::run(const char*) { fail(); }
Statement Database::prepare(std::string_view) { fail(); }
std::optional<int64_t> Database::value(std::string_view) { fail(); }
int64_t Database::lastRow() const { fail(); }
Statement& Statement::bind(int, std::string_view) { fail(); }
Statement& Statement::bindNumber(int, int64_t) { fail(); }
Statement& Statement::bindNull(int) { fail(); }
bool Statement::step() { fail(); }
void Statement::reset() { fail(); }
bool Statement::isNull(int) const { fail(); }
int64_t Statement::number(int) const { fail(); }
std::string Statement::text(int) const { fail(); }

}  // namespace emltool

#endif

namespace emltool {

Statement& Statement::bindOptional(int parameter, std::string_view text) {
    return text.empty() ? bindNull(parameter) : bind(parameter, text);
}

Statement& Statement::bindOptional(int parameter, const std::optional<uint64_t>& number) {
    return number ? bindNumber(parameter, static_cast<int64_t>(*number)) : bindNull(parameter);
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

std::optional<uint64_t> Statement::optionalNumber(int column) const {
    if (isNull(column) || number(column) < 0) return std::nullopt;
    return static_cast<uint64_t>(number(column));
}

}  // namespace emltool

#include "store/SqliteConnection.h"

#include <sqlite3.h>

#include <filesystem>
#include <utility>

namespace folvane {

SqliteConnection::SqliteConnection(sqlite3* handle, std::string path)
    : handle_(handle), path_(std::move(path)) {}

SqliteConnection::~SqliteConnection() {
    sqlite3_close_v2(handle_);
}

std::shared_ptr<SqliteConnection> SqliteConnection::open(const std::string& path) {
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &handle,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (code != SQLITE_OK) {
        std::string message = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code);
        sqlite3_close_v2(handle);
        throw DatabaseError(message);
    }
    sqlite3_busy_timeout(handle, 5000);
    return std::shared_ptr<SqliteConnection>(new SqliteConnection(handle, path));
}

std::shared_ptr<SqliteConnection> SqliteConnection::create(const std::string& path) {
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(
        path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
        nullptr);
    if (code != SQLITE_OK) {
        std::string message = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code);
        sqlite3_close_v2(handle);
        throw DatabaseError(message);
    }
    return std::shared_ptr<SqliteConnection>(new SqliteConnection(handle, path));
}

namespace {

// The library's words for a failure, led by what it means to the user where the
// library's own words name no cause they could act on.
std::string failureText(int code, const char* detail, const std::string& path) {
    const std::string name = std::filesystem::path(path).filename().string();
    const std::string library = detail && *detail ? detail : sqlite3_errstr(code);
    switch (code & 0xff) {
        case SQLITE_READONLY:
            return "The change could not be saved: " + name + " cannot be written (" + library +
                   ").";
        case SQLITE_FULL:
            return "The change could not be saved: the disk is full (" + library + ").";
        case SQLITE_CANTOPEN:
            return "The change could not be saved: the folder of " + name + " cannot be written (" +
                   library + ").";
        case SQLITE_IOERR:
            return "The database " + name + " could not be read or written (" + library + ").";
        default:
            return library;
    }
}

}  // namespace

void SqliteConnection::fail(int code) const {
    const int extended = sqlite3_extended_errcode(handle_);
    throw DatabaseError(failureText(extended ? extended : code, sqlite3_errmsg(handle_), path_));
}

Statement SqliteConnection::prepare(std::string_view sql) {
    return Statement(*this, sql);
}

void SqliteConnection::execute(std::string_view sql) {
    std::lock_guard guard(mutex_);
    const std::string text(sql);
    char* error = nullptr;
    if (sqlite3_exec(handle_, text.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::string message = failureText(sqlite3_extended_errcode(handle_), error, path_);
        sqlite3_free(error);
        throw DatabaseError(message);
    }
}

int SqliteConnection::userVersion() {
    auto statement = prepare("PRAGMA user_version");
    if (!statement.step()) throw DatabaseError("user_version returned no row");
    return int(statement.int64(0));
}

void SqliteConnection::setUserVersion(int version) {
    execute("PRAGMA user_version = " + std::to_string(version));
}

Statement::Statement(SqliteConnection& connection, std::string_view sql)
    : connection_(&connection), hold_(connection.mutex_) {
    const int code =
        sqlite3_prepare_v2(connection.handle_, sql.data(), int(sql.size()), &statement_, nullptr);
    if (code != SQLITE_OK) connection.fail(code);
}

Statement::Statement(Statement&& other) noexcept
    : connection_(other.connection_),
      hold_(std::move(other.hold_)),
      statement_(std::exchange(other.statement_, nullptr)),
      nextIndex_(other.nextIndex_) {}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

bool Statement::step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    connection_->fail(code);
}

void Statement::run() {
    while (step()) {
    }
}

int64_t Statement::insertedRowId() const {
    return sqlite3_last_insert_rowid(connection_->handle_);
}

void Statement::bindOne(Null) {
    if (int code = sqlite3_bind_null(statement_, nextIndex_++); code != SQLITE_OK) {
        connection_->fail(code);
    }
}

void Statement::bindOne(int64_t value) {
    if (int code = sqlite3_bind_int64(statement_, nextIndex_++, value); code != SQLITE_OK) {
        connection_->fail(code);
    }
}

void Statement::bindOne(double value) {
    if (int code = sqlite3_bind_double(statement_, nextIndex_++, value); code != SQLITE_OK) {
        connection_->fail(code);
    }
}

void Statement::bindOne(std::string_view value) {
    if (int code = sqlite3_bind_text64(statement_, nextIndex_++, value.data(), value.size(),
                                       SQLITE_TRANSIENT, SQLITE_UTF8);
        code != SQLITE_OK) {
        connection_->fail(code);
    }
}

void Statement::bindOne(const std::vector<uint8_t>& value) {
    // A zero-length blob must still bind as a blob, not as NULL.
    static const uint8_t empty = 0;
    if (int code =
            sqlite3_bind_blob64(statement_, nextIndex_++, value.empty() ? &empty : value.data(),
                                value.size(), SQLITE_TRANSIENT);
        code != SQLITE_OK) {
        connection_->fail(code);
    }
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

int64_t Statement::int64(int column) const {
    return sqlite3_column_int64(statement_, column);
}

double Statement::real(int column) const {
    return sqlite3_column_double(statement_, column);
}

std::string Statement::text(int column) const {
    const auto* bytes = sqlite3_column_text(statement_, column);
    const int size = sqlite3_column_bytes(statement_, column);
    return bytes ? std::string(reinterpret_cast<const char*>(bytes), size_t(size)) : std::string();
}

std::vector<uint8_t> Statement::blob(int column) const {
    const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(statement_, column));
    const int size = sqlite3_column_bytes(statement_, column);
    return bytes ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>();
}

std::optional<std::string> Statement::optionalText(int column) const {
    if (isNull(column)) return std::nullopt;
    return text(column);
}

std::optional<int64_t> Statement::optionalInt64(int column) const {
    if (isNull(column)) return std::nullopt;
    return int64(column);
}

std::optional<double> Statement::optionalReal(int column) const {
    if (isNull(column)) return std::nullopt;
    return real(column);
}

}  // namespace folvane

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace folvane {

// A failure of the store. what() is the user's words: a write that the disk or
// the file refuses says so ("the disk is full", "cannot be written"), followed
// by the library's own message.
class DatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Statement;

// The one connection to db.sqlite3. It is shared by every table model and used
// from the main thread and from background tasks; its calls run one at a time,
// each statement holding the connection from preparation to its end.
class SqliteConnection {
  public:
    // Opens an existing file read-write (never creates one). Throws DatabaseError.
    static std::shared_ptr<SqliteConnection> open(const std::string& path);
    // Opens or creates a file; for tests and tools that make databases.
    static std::shared_ptr<SqliteConnection> create(const std::string& path);

    ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    Statement prepare(std::string_view sql);
    // Runs any number of statements separated by semicolons.
    void execute(std::string_view sql);

    int userVersion();
    void setUserVersion(int version);

    // Runs body inside BEGIN/COMMIT, rolling back when it throws. Other callers
    // wait until the transaction ends.
    template <typename Body>
    auto transaction(Body&& body) {
        std::unique_lock guard(mutex_);
        execute("BEGIN IMMEDIATE");
        try {
            if constexpr (std::is_void_v<decltype(body())>) {
                body();
                execute("COMMIT");
            } else {
                auto result = body();
                execute("COMMIT");
                return result;
            }
        } catch (...) {
            try {
                execute("ROLLBACK");
            } catch (...) {
            }
            throw;
        }
    }

    std::string path() const { return path_; }

  private:
    friend class Statement;
    SqliteConnection(sqlite3* handle, std::string path);
    [[noreturn]] void fail(int code) const;

    sqlite3* handle_;
    std::string path_;
    std::recursive_mutex mutex_;
};

struct Null {};

// A prepared statement. Bind with bind(...) in parameter order, then either
// step() through rows or run() it. Holds the connection until destroyed.
class Statement {
  public:
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&&) = delete;
    ~Statement();

    template <typename... Values>
    Statement& bind(const Values&... values) {
        (bindOne(values), ...);
        return *this;
    }

    // Advances to the next row; false when there is none.
    bool step();
    // Runs the statement to its end.
    void run();
    // The row id of the last insert on this connection, read under the same hold.
    int64_t insertedRowId() const;

    bool isNull(int column) const;
    int64_t int64(int column) const;
    double real(int column) const;
    std::string text(int column) const;
    std::vector<uint8_t> blob(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::optional<int64_t> optionalInt64(int column) const;
    std::optional<double> optionalReal(int column) const;

  private:
    friend class SqliteConnection;
    Statement(SqliteConnection& connection, std::string_view sql);

    void bindOne(Null);
    void bindOne(int64_t value);
    void bindOne(int value) { bindOne(int64_t{value}); }
    void bindOne(bool value) { bindOne(int64_t{value ? 1 : 0}); }
    void bindOne(double value);
    void bindOne(std::string_view value);
    void bindOne(const std::string& value) { bindOne(std::string_view(value)); }
    void bindOne(const char* value) { bindOne(std::string_view(value)); }
    void bindOne(const std::vector<uint8_t>& value);
    template <typename T>
    void bindOne(const std::optional<T>& value) {
        if (value) {
            bindOne(*value);
        } else {
            bindOne(Null{});
        }
    }

    SqliteConnection* connection_;
    std::unique_lock<std::recursive_mutex> hold_;
    sqlite3_stmt* statement_ = nullptr;
    int nextIndex_ = 1;
};

}  // namespace folvane

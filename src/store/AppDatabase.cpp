#include "store/AppDatabase.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "store/BookmarkModel.h"
#include "store/EmbeddingModel.h"
#include "store/FatalError.h"

namespace folvane {

namespace fs = std::filesystem;

namespace {

// The name the version-3 step gives the vectors of documents that went to OpenAI.
constexpr const char* openAIEmbeddingModel = "text-embedding-ada-002";

std::string readText(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        throw std::runtime_error("The file “" + path.filename().string() +
                                 "” couldn’t be opened because there is no such file.");
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in || !text) {
        throw std::runtime_error("The file “" + path.filename().string() + "” couldn’t be read.");
    }
    return text.str();
}

// Flushes a file or a folder to the disk; a failure only weakens the promise
// against a power cut, not against a stopped process, so it is not reported.
void syncFile(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

AppDatabase::AppDatabase(const AppPaths& paths, const AppPreferences& preferences,
                         const PdfPageCounter& pageCounter)
    : paths_(paths), preferences_(preferences), pageCounter_(pageCounter) {}

std::shared_ptr<SqliteConnection> AppDatabase::connect() {
    const fs::path seed = fs::path(paths_.resourceDirectory) / databaseName;
    std::error_code error;
    if (!fs::exists(seed, error)) throw FatalError("Failed to load db.sqlite3");

    // Throws filesystem_error, which the caller reports as a failed connection.
    fs::create_directories(paths_.dataDirectory);
    log(paths_.dataDirectory);

    const fs::path path = fs::path(paths_.dataDirectory) / databaseName;
    removeAbandonedDrafts();
    const auto status = fs::symlink_status(path, error);
    // An empty file is what a start stopped in the middle of a plain copy
    // leaves; it holds nothing of the user's.
    const bool empty = fs::is_regular_file(status) && fs::file_size(path, error) == 0 && !error;
    if (!fs::exists(status) || empty) createDatabase(seed, path, empty);

    db_ = openDatabase(path);
    // Dates need no per-connection setting: CURRENT_TIMESTAMP and formatDate
    // both write "yyyy-MM-dd HH:mm:ss" in UTC.

    migrateDatabase();
    fixDemoBookmark();
    return db_;
}

std::shared_ptr<SqliteConnection> AppDatabase::openDatabase(const fs::path& path) {
    try {
        auto db = SqliteConnection::open(path.string());
        // SQLite opens lazily; reading the header now turns a file that is not
        // a database into this stop instead of an empty chat list later.
        db->userVersion();
        return db;
    } catch (const DatabaseError& openError) {
        log(openError.what());
        throw FatalError("Failed to load db.sqlite3");
    }
}

fs::path AppDatabase::draftPath(long processId) const {
    return fs::path(paths_.dataDirectory) /
           (std::string(databaseName) + "." + std::to_string(processId) + ".new");
}

void AppDatabase::removeAbandonedDrafts() const {
    // A draft carries the id of the process that builds it; one whose process
    // is gone was stopped before it was put in place.
    const std::string prefix = std::string(databaseName) + ".";
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(paths_.dataDirectory, error)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(prefix, 0) != 0) continue;
        const auto end = name.find(".new", prefix.size());
        if (end == std::string::npos) continue;
        const std::string digits = name.substr(prefix.size(), end - prefix.size());
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) continue;
        const long owner = std::stol(digits);
        const bool ours = owner == long(::getpid());
        const bool gone = !ours && ::kill(pid_t(owner), 0) != 0 && errno == ESRCH;
        if (!ours && !gone) continue;
        fs::remove(entry.path(), error);
    }
}

void AppDatabase::createDatabase(const fs::path& seed, const fs::path& path, bool replaceEmpty) {
    log("Creating db.sqlite3");
    // The new database is seeded and migrated under a name of its own and only
    // then renamed into place, so a start that is stopped half-way leaves no
    // database at all, never half of one.
    const fs::path draft = draftPath(long(::getpid()));
    const auto discardDraft = [&] {
        std::error_code ignored;
        fs::remove(draft, ignored);
        fs::remove(draft.string() + "-journal", ignored);
    };
    discardDraft();
    try {
        fs::copy_file(seed, draft);
        // An installed seed may be read-only; the user's copy must not be.
        fs::permissions(draft, fs::perms::owner_read | fs::perms::owner_write,
                        fs::perm_options::add);
    } catch (const std::exception& copyError) {
        log(std::string("error during file copy: ") + copyError.what());
        discardDraft();
        throw FatalError("Failed to copy db.sqlite3");
    }

    try {
        db_ = openDatabase(draft);
        migrateDatabase();
        db_.reset();
        syncFile(draft);
        placeDraft(draft, path, replaceEmpty);
    } catch (...) {
        db_.reset();
        discardDraft();
        throw;
    }
}

void AppDatabase::placeDraft(const fs::path& draft, const fs::path& path, bool replaceEmpty) {
    // What SQLite kept beside a database that is not there would be applied to
    // the new one.
    std::error_code error;
    for (const char* suffix : {"-journal", "-wal", "-shm"}) {
        fs::remove(path.string() + suffix, error);
    }
    int result = 0;
    if (replaceEmpty) {
        result = ::rename(draft.c_str(), path.c_str());
    } else {
        // Never over a database that another start put in place meanwhile.
        result = ::renameat2(AT_FDCWD, draft.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE);
        if (result != 0 && errno == EINVAL) {
            // A file system without the flag: a hard link fails the same way
            // when the name is taken.
            result = ::link(draft.c_str(), path.c_str());
            if (result == 0) ::unlink(draft.c_str());
        }
        if (result != 0 && errno == EEXIST) {
            fs::remove(draft, error);
            log("db.sqlite3 was created by another start");
            return;
        }
    }
    if (result != 0) {
        const std::string reason = std::strerror(errno);
        log("error during file copy: " + reason);
        throw FatalError("Failed to copy db.sqlite3");
    }
    syncFile(path.parent_path());
}

void AppDatabase::migrateDatabase() {
    log("migrateDatabase");

    // Read afresh before each step, so that a step that ran records its version
    // before the next one looks. An unreadable version runs nothing.
    const auto version = [this]() -> std::optional<int> {
        try {
            return db_->userVersion();
        } catch (const DatabaseError& error) {
            log(error.what());
            return std::nullopt;
        }
    };

    if (version() == 0) runMigration(1);

    if (const auto v = version(); v && *v <= 1) {
        runMigration(3, [this] { migrateBookmarks(); });
    } else if (v == 2) {
        // Script 3 alone: the data step belongs to databases that come from version 1.
        runMigration(3);
    }

    if (const auto v = version(); v && *v < 4) runMigration(4);
    if (const auto v = version(); v && *v < 5) runMigration(5);
}

void AppDatabase::runMigration(int version, const std::function<void()>& dataStep) {
    const std::string name = "migration_" + std::to_string(version);
    try {
        const std::string script = readText(fs::path(paths_.resourceDirectory) / (name + ".sql"));
        // The script, its data step and its version are one change: a start
        // stopped in the middle finds the database as it was before the step.
        db_->transaction([&] {
            db_->execute(script);
            if (dataStep) dataStep();
            db_->setUserVersion(version);
            log(name + ".sql");
        });
    } catch (const std::exception& error) {
        log(error.what());
        throw FatalError("Failed to load " + name + ".sql");
    }
}

void AppDatabase::migrateBookmarks() {
    const BookmarkModel bookmarks(db_);
    std::vector<int64_t> openAIIndexed;
    for (const Bookmark& bookmark : bookmarks.getAll()) {
        ResolvedBookmark resolved;
        try {
            resolved = FileBookmark::resolve(bookmark.data);
        } catch (const FileError&) {
            log("Failed to migrate bookmark id " + std::to_string(bookmark.id));
            continue;
        }
        const auto pages = pageCounter_.pageCount(resolved.path);
        if (!pages) continue;

        switch (preferences_.dataIngestionStrategy()) {
            case DataIngestionStrategy::local:
                break;
            case DataIngestionStrategy::openai:
                openAIIndexed.push_back(bookmark.id);
                break;
            case DataIngestionStrategy::smart:
                if (*pages <= preferences_.pageCountThreshold()) {
                    openAIIndexed.push_back(bookmark.id);
                }
                break;
        }
    }

    const EmbeddingModel embeddings(db_);
    for (int64_t id : openAIIndexed) {
        try {
            embeddings.setEmbeddingModel(id, openAIEmbeddingModel);
        } catch (const std::exception& error) {
            // The remaining documents keep the script's default; the version
            // moves on all the same.
            log(error.what());
            return;
        }
    }
}

void AppDatabase::fixDemoBookmark() {
    const fs::path target = fs::path(paths_.dataDirectory) / demoDocumentName;
    const fs::path resource = fs::path(paths_.resourceDirectory) / demoDocumentName;

    std::error_code error;
    if (fs::exists(resource, error) && !fs::exists(fs::symlink_status(target, error))) {
        try {
            fs::copy_file(resource, target);
        } catch (const std::exception& copyError) {
            log(std::string("error during file copy: ") + copyError.what());
            return;
        }
    }

    try {
        std::vector<uint8_t> data = FileBookmark::make(target.string());
        const std::string url = fileUrlFromPath(target.string());

        const BookmarkModel bookmarks(db_);
        auto demo = bookmarks.find(1);
        // Row 1 of an old database may be the user's own document.
        if (!demo || demo->hash != demoBookmarkHash) return;
        demo->filePath = url;
        demo->data = std::move(data);
        bookmarks.update(*demo);
    } catch (const std::exception& failure) {
        // The demo chat only loses its document; the program goes on.
        log(failure.what());
    }
}

}  // namespace folvane

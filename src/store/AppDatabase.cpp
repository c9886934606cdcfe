#include "store/AppDatabase.h"

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
    if (!fs::exists(fs::symlink_status(path, error))) {
        try {
            fs::copy_file(seed, path);
            // An installed seed may be read-only; the user's copy must not be.
            fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write,
                            fs::perm_options::add, error);
        } catch (const std::exception& copyError) {
            log(std::string("error during file copy: ") + copyError.what());
            throw FatalError("Failed to copy db.sqlite3");
        }
    }

    try {
        db_ = SqliteConnection::open(path.string());
        // SQLite opens lazily; reading the header now turns a file that is not
        // a database into this stop instead of an empty chat list later.
        db_->userVersion();
    } catch (const DatabaseError& openError) {
        log(openError.what());
        throw FatalError("Failed to load db.sqlite3");
    }
    // Dates need no per-connection setting: CURRENT_TIMESTAMP and formatDate
    // both write "yyyy-MM-dd HH:mm:ss" in UTC.

    migrateDatabase();
    fixDemoBookmark();
    return db_;
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
        runMigration(3);
        migrateBookmarks();
        try {
            db_->setUserVersion(3);
        } catch (const DatabaseError& error) {
            log(error.what());
        }
    } else if (v == 2) {
        // Script 3 alone: the data step belongs to databases that come from version 1.
        runMigration(3);
    }

    if (const auto v = version(); v && *v < 4) runMigration(4);
    if (const auto v = version(); v && *v < 5) runMigration(5);
}

void AppDatabase::runMigration(int version) {
    const std::string name = "migration_" + std::to_string(version);
    try {
        db_->execute(readText(fs::path(paths_.resourceDirectory) / (name + ".sql")));
        db_->setUserVersion(version);
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

#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "platform/AppPaths.h"
#include "platform/PdfPageCounter.h"
#include "store/AppPreferences.h"
#include "store/SqliteConnection.h"

namespace folvane {

// Puts db.sqlite3 in place on first run, opens the one connection, brings the
// schema to the current version and points the demo bookmark at the demo
// document in the data directory. The only code that knows where the database
// lies.
//
// The first run builds the seeded, migrated database under a temporary name in
// the data directory and renames it into place; an empty db.sqlite3 counts as
// none. Each later schema step is one transaction with its version, so a
// program stopped at any point starts again cleanly. A file that is there and
// is not a database is never replaced.
//
// connect() throws FatalError with the user's message when the program cannot
// go on ("Failed to load db.sqlite3", "Failed to copy db.sqlite3",
// "Failed to load migration_N.sql"); a data directory that cannot be created
// throws std::filesystem::filesystem_error.
class AppDatabase {
  public:
    static constexpr int currentVersion = 5;
    // The digest of the demo document, as bookmark row 1 of the seed holds it.
    static constexpr const char* demoBookmarkHash = "37db35fb1801d1081987327f398f8cde";
    static constexpr const char* demoDocumentName = "Bitcoin Whitepaper.pdf";
    static constexpr const char* databaseName = "db.sqlite3";

    // preferences and pageCounter must outlive connect().
    AppDatabase(const AppPaths& paths, const AppPreferences& preferences,
                const PdfPageCounter& pageCounter);

    std::shared_ptr<SqliteConnection> connect();
    // The connection that connect() opened; null before.
    std::shared_ptr<SqliteConnection> db() const { return db_; }

  private:
    std::shared_ptr<SqliteConnection> openDatabase(const std::filesystem::path& path);
    std::filesystem::path draftPath(long processId) const;
    void removeAbandonedDrafts() const;
    void createDatabase(const std::filesystem::path& seed, const std::filesystem::path& path,
                        bool replaceEmpty);
    void placeDraft(const std::filesystem::path& draft, const std::filesystem::path& path,
                    bool replaceEmpty);
    void migrateDatabase();
    // Runs one script, then the data step when there is one, then records the
    // version, all in one transaction.
    void runMigration(int version, const std::function<void()>& dataStep = {});
    void migrateBookmarks();
    void fixDemoBookmark();

    AppPaths paths_;
    const AppPreferences& preferences_;
    const PdfPageCounter& pageCounter_;
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane

#pragma once

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
    void migrateDatabase();
    void runMigration(int version);
    void migrateBookmarks();
    void fixDemoBookmark();

    AppPaths paths_;
    const AppPreferences& preferences_;
    const PdfPageCounter& pageCounter_;
    std::shared_ptr<SqliteConnection> db_;
};

}  // namespace folvane

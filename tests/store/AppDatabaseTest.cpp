#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "documents/DocumentDigest.h"
#include "platform/FileBookmark.h"
#include "platform/FileUrl.h"
#include "platform/Log.h"
#include "platform/MuPdfPageCounter.h"
#include "store/AppDatabase.h"
#include "store/FatalError.h"
#include "support/TempDir.h"
#include "support/TestDatabase.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using ::testing::HasSubstr;

const std::map<std::string, std::string> finalTables = {
    {"conversations",
     "id title bookmarkId extraBookmarkIds model temperature languageCode useWebSearch isDemo "
     "latestMessage messageCount suggestedQuestion1 suggestedQuestion2 suggestedQuestion3 cost "
     "customModelId contextLimit presencePenalty frequencyPenalty contextSince createdAt "
     "updatedAt"},
    {"messages",
     "id conversationId role content model name functionName functionArguments references "
     "contextMode stringContext documentContext imageURLs speechFileURL createdAt updatedAt"},
    {"bookmarks", "id filePath data hash indexingStatus tags createdAt updatedAt"},
    {"embeddings", "id indexItem bookmarkId embeddingModel"},
    {"prompts", "id name prompt enable sortOrder"},
    {"custom_models",
     "id provider name apiEndpoint modelId contextLength useStream headers deleted createdAt "
     "updatedAt"},
};
const std::map<std::string, std::set<std::string>> finalSchema = [] {
    std::map<std::string, std::set<std::string>> schema;
    for (const auto& [table, columns] : finalTables) {
        std::istringstream words(columns);
        for (std::string column; words >> column;) schema[table].insert(column);
    }
    return schema;
}();

std::map<std::string, std::set<std::string>> schemaOf(SqliteConnection& db) {
    std::map<std::string, std::set<std::string>> schema;
    std::vector<std::string> names;
    {
        auto tables = db.prepare("SELECT name FROM sqlite_master WHERE type = 'table'");
        while (tables.step()) names.push_back(tables.text(0));
    }
    for (const auto& table : names) {
        auto columns = db.prepare("SELECT name FROM pragma_table_info(?)");
        columns.bind(table);
        while (columns.step()) schema[table].insert(columns.text(0));
    }
    return schema;
}

class AppDatabaseTest : public ::testing::Test {
  protected:
    void SetUp() override {
        paths.dataDirectory = (temp.path() / "home/.local/share/co.tessavel.Folvane").string();
        paths.configDirectory = (temp.path() / "config").string();
        paths.resourceDirectory = (temp.path() / "resources").string();
        fs::copy(test::resourceDir(), paths.resourceDirectory, fs::copy_options::recursive);
        setLogSink([this](std::string_view line) { logLines.emplace_back(line); });
    }
    void TearDown() override { setLogSink(nullptr); }

    std::shared_ptr<SqliteConnection> connect() {
        AppDatabase database(paths, preferences, pageCounter);
        return database.connect();
    }

    std::string databasePath() const { return paths.dataDirectory + "/db.sqlite3"; }
    std::string demoPath() const { return paths.dataDirectory + "/Bitcoin Whitepaper.pdf"; }
    fs::path resource(const std::string& name) const {
        return fs::path(paths.resourceDirectory) / name;
    }

    // An existing user database at the given version, made from the seed and
    // the scripts up to that version.
    std::shared_ptr<SqliteConnection> placeDatabase(int version) {
        fs::create_directories(paths.dataDirectory);
        return test::makeDatabase(databasePath(), version);
    }

    // A document with two stored vectors, from before the vectors named their
    // model. Returns its bookmark id.
    int64_t addDocument(SqliteConnection& db, const std::vector<uint8_t>& data,
                        const std::string& createdAt = "2023-01-01 00:00:00") {
        int64_t id = 0;
        {
            auto insert = db.prepare(
                "INSERT INTO bookmarks (filePath, data, hash, indexingStatus, createdAt) "
                "VALUES ('file:///doc.pdf', ?, 'hash', 'indexed', ?)");
            insert.bind(data, createdAt).run();
            id = insert.insertedRowId();
        }
        db.execute("INSERT INTO embeddings (indexItem, bookmarkId) VALUES ('{}', " +
                   std::to_string(id) + "), ('{}', " + std::to_string(id) + ")");
        return id;
    }
    int64_t addPdf(SqliteConnection& db, const std::string& name, int pages,
                   const std::string& createdAt = "2023-01-01 00:00:00") {
        const auto path = temp.path() / name;
        test::writePdf(path, pages);
        return addDocument(db, FileBookmark::make(path.string()), createdAt);
    }

    // The embeddingModel values of a document's vectors, joined.
    static std::string modelsOf(SqliteConnection& db, int64_t bookmarkId) {
        auto query = db.prepare(
            "SELECT group_concat(DISTINCT embeddingModel) FROM embeddings WHERE bookmarkId = ?");
        query.bind(bookmarkId);
        query.step();
        return query.text(0);
    }

    void expectFatal(const std::string& what) {
        try {
            connect();
            ADD_FAILURE() << "no FatalError";
        } catch (const FatalError& error) {
            EXPECT_EQ(error.what(), what);
        }
    }

    bool logged(const std::string& text) const {
        for (const auto& line : logLines) {
            if (line.find(text) != std::string::npos) return true;
        }
        return false;
    }

    TempDir temp;
    AppPaths paths;
    AppPreferences preferences;
    MuPdfPageCounter pageCounter;
    std::vector<std::string> logLines;
};

TEST_F(AppDatabaseTest, FirstRunCopiesTheSeedAndBringsItToTheCurrentSchema) {
    auto db = connect();
    ASSERT_TRUE(db);
    EXPECT_TRUE(fs::is_regular_file(databasePath()));
    EXPECT_EQ(db->userVersion(), AppDatabase::currentVersion);
    EXPECT_EQ(schemaOf(*db), finalSchema);
    EXPECT_TRUE(logged(paths.dataDirectory));
    EXPECT_TRUE(logged("migrateDatabase"));

    auto demo = db->prepare("SELECT title, bookmarkId, isDemo FROM conversations WHERE id = 1");
    ASSERT_TRUE(demo.step());
    EXPECT_EQ(demo.text(0), "Example Chat");
    EXPECT_EQ(demo.int64(1), 1);
    EXPECT_EQ(demo.int64(2), 1);
}

TEST_F(AppDatabaseTest, OnlyVersionOneGetsTheDataStepOfVersionThree) {
    preferences.setDataIngestionStrategy(DataIngestionStrategy::openai);
    for (auto [version, expected] :
         {std::pair{1, "text-embedding-ada-002"}, std::pair{2, "distilbert"}}) {
        SCOPED_TRACE(version);
        fs::remove_all(paths.dataDirectory);
        const int64_t id = addPdf(*placeDatabase(version), "doc.pdf", 2);
        auto db = connect();
        EXPECT_EQ(modelsOf(*db, id), expected);
        EXPECT_EQ(db->userVersion(), 5);
    }
}

TEST_F(AppDatabaseTest, DataStepMarksTheDocumentsThatTheStrategySentToOpenAI) {
    struct Case {
        DataIngestionStrategy strategy;
        bool two, three, four;  // documents of 2, 3 and 4 pages marked
    };
    const Case cases[] = {
        {DataIngestionStrategy::local, false, false, false},
        {DataIngestionStrategy::openai, true, true, true},
        {DataIngestionStrategy::smart, true, true, false},  // threshold 3 counts as OpenAI
    };
    const auto model = [](bool marked) { return marked ? "text-embedding-ada-002" : "distilbert"; };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(rawValue(c.strategy)));
        fs::remove_all(paths.dataDirectory);
        logLines.clear();
        preferences.setDataIngestionStrategy(c.strategy);
        preferences.setPageCountThreshold(3);

        auto old = placeDatabase(1);
        const int64_t two = addPdf(*old, "two.pdf", 2);
        const int64_t three = addPdf(*old, "three.pdf", 3);
        const int64_t four = addPdf(*old, "four.pdf", 4);
        test::writeFile(temp.path() / "notes.pdf", "plain text, not a PDF");
        const int64_t notPdf =
            addDocument(*old, FileBookmark::make((temp.path() / "notes.pdf").string()));
        const int64_t gone = addPdf(*old, "gone.pdf", 1);
        fs::remove(temp.path() / "gone.pdf");
        const int64_t badData = addDocument(*old, {'n', 'o', 'p', 'e'});
        old.reset();

        auto db = connect();
        EXPECT_EQ(modelsOf(*db, two), model(c.two));
        EXPECT_EQ(modelsOf(*db, three), model(c.three));
        EXPECT_EQ(modelsOf(*db, four), model(c.four));
        for (int64_t skipped : {notPdf, gone, badData}) {
            EXPECT_EQ(modelsOf(*db, skipped), "distilbert") << skipped;
        }
        EXPECT_TRUE(logged("Failed to migrate bookmark id " + std::to_string(badData)));
        EXPECT_FALSE(logged("Failed to migrate bookmark id " + std::to_string(gone)));
        EXPECT_FALSE(logged("Failed to migrate bookmark id " + std::to_string(notPdf)));
        EXPECT_EQ(db->userVersion(), 5);
    }
}

TEST_F(AppDatabaseTest, AFailedUpdateEndsTheDataStepButNotTheMigration) {
    preferences.setDataIngestionStrategy(DataIngestionStrategy::openai);
    auto old = placeDatabase(1);
    // Bookmarks are visited newest first.
    const int64_t oldest = addPdf(*old, "a.pdf", 1, "2020-01-01 00:00:00");
    const int64_t middle = addPdf(*old, "b.pdf", 1, "2021-01-01 00:00:00");
    const int64_t newest = addPdf(*old, "c.pdf", 1, "2022-01-01 00:00:00");
    old->execute("CREATE TRIGGER refuse BEFORE UPDATE ON embeddings WHEN OLD.bookmarkId = " +
                 std::to_string(middle) + " BEGIN SELECT RAISE(ABORT, 'refused by the test'); END");
    old.reset();

    auto db = connect();
    EXPECT_EQ(modelsOf(*db, newest), "text-embedding-ada-002");
    EXPECT_EQ(modelsOf(*db, middle), "distilbert");
    EXPECT_EQ(modelsOf(*db, oldest), "distilbert");
    EXPECT_TRUE(logged("refused by the test"));
    EXPECT_EQ(db->userVersion(), 5);
}

TEST_F(AppDatabaseTest, ACurrentOrNewerDatabaseIsUsedAsItStandsWithoutScripts) {
    connect()->execute("INSERT INTO prompts (name, prompt) VALUES ('mine', 'kept')");
    for (int version : {1, 3, 4, 5})
        fs::remove(resource("migration_" + std::to_string(version) + ".sql"));
    logLines.clear();

    auto db = connect();
    EXPECT_EQ(db->userVersion(), 5);
    auto mine = db->prepare("SELECT prompt FROM prompts WHERE name = 'mine'");
    ASSERT_TRUE(mine.step());
    EXPECT_EQ(mine.text(0), "kept");
    EXPECT_FALSE(logged("error during file copy"));

    db->setUserVersion(9);
    EXPECT_EQ(connect()->userVersion(), 9);
}

TEST_F(AppDatabaseTest, AScriptThatCannotBeRunStopsWithItsNameAndKeepsTheStepsDone) {
    struct Case {
        int from;
        int script;
        int versionAfter;  // each step is recorded as soon as it is done
    };
    const Case cases[] = {{0, 1, 0}, {1, 3, 1}, {2, 3, 2}, {0, 4, 3},
                          {3, 4, 3}, {1, 5, 4}, {4, 5, 4}};
    for (const auto& c : cases) {
        for (bool missing : {true, false}) {
            SCOPED_TRACE(testing::Message() << "from " << c.from << " script " << c.script
                                            << (missing ? " missing" : " failing"));
            fs::remove_all(paths.dataDirectory);
            placeDatabase(c.from);
            const auto script = resource("migration_" + std::to_string(c.script) + ".sql");
            const std::string original = test::readFile(script);
            if (missing) {
                fs::remove(script);
            } else {
                // The script's own statements run before the broken one; the
                // step must leave none of them behind.
                test::writeFile(script, original + "\nCREATE TABLE broken (;");
            }
            expectFatal("Failed to load migration_" + std::to_string(c.script) + ".sql");
            EXPECT_EQ(SqliteConnection::open(databasePath())->userVersion(), c.versionAfter);

            // With the script back the next start goes on from there.
            test::writeFile(script, original);
            auto db = connect();
            EXPECT_EQ(db->userVersion(), 5);
            EXPECT_EQ(schemaOf(*db), finalSchema);
        }
    }
}

// The drafts of first starts that were left in the data directory.
std::vector<std::string> draftsIn(const std::string& directory) {
    std::vector<std::string> drafts;
    for (const auto& entry : fs::directory_iterator(directory)) {
        const auto name = entry.path().filename().string();
        if (name.find(".new") != std::string::npos) drafts.push_back(name);
    }
    return drafts;
}

TEST_F(AppDatabaseTest, AFirstStartStoppedAtAnyPointLeavesAStoreThatTheNextStartUses) {
    for (int signal : {SIGKILL, SIGTERM}) {
        // Every log line of a first start is a point to stop at; most fall
        // inside a schema step's transaction.
        for (int line = 1;; ++line) {
            SCOPED_TRACE(testing::Message() << "signal " << signal << " at line " << line);
            fs::remove_all(paths.dataDirectory);
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                int seen = 0;
                setLogSink([&](std::string_view) {
                    if (++seen == line) std::raise(signal);
                });
                try {
                    connect();
                } catch (...) {
                    _exit(3);
                }
                _exit(0);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            const bool stopped = WIFSIGNALED(status);
            if (!stopped) {
                ASSERT_EQ(WEXITSTATUS(status), 0);
            }

            auto db = connect();
            EXPECT_EQ(db->userVersion(), AppDatabase::currentVersion);
            EXPECT_EQ(schemaOf(*db), finalSchema);
            EXPECT_THAT(draftsIn(paths.dataDirectory), ::testing::IsEmpty());
            if (!stopped) break;
            ASSERT_LT(line, 50);
        }
    }
}

TEST_F(AppDatabaseTest, AnEmptyFileIsNoDatabase) {
    fs::create_directories(paths.dataDirectory);
    test::writeFile(databasePath(), "");
    EXPECT_EQ(connect()->userVersion(), AppDatabase::currentVersion);
    auto again = connect();
    EXPECT_EQ(again->userVersion(), AppDatabase::currentVersion);
    EXPECT_EQ(schemaOf(*again), finalSchema);
}

TEST_F(AppDatabaseTest, AFirstStartThatFailsLeavesNothingBehind) {
    test::writeFile(resource("migration_4.sql"), "CREATE TABLE broken (;");
    EXPECT_THROW(connect(), FatalError);
    EXPECT_FALSE(fs::exists(databasePath()));
    EXPECT_THAT(draftsIn(paths.dataDirectory), ::testing::IsEmpty());
}

TEST_F(AppDatabaseTest, AnUnusableSeedOrDatabaseStopsAndLeavesTheUsersFileAsItIs) {
    const std::string notADatabase = "these bytes are not a database, and they are the user's";
    struct Case {
        std::function<void()> make;
        const char* what;
    };
    const Case cases[] = {
        {[&] { fs::create_directories(databasePath()); }, "Failed to load db.sqlite3"},
        {[&] { test::writeFile(databasePath(), notADatabase + std::string(4096, 'x')); },
         "Failed to load db.sqlite3"},
        {[&] { fs::remove(resource("db.sqlite3")); }, "Failed to load db.sqlite3"},
        {[&] { fs::create_directories(resource("db.sqlite3")); }, "Failed to copy db.sqlite3"},
    };
    for (const auto& c : cases) {
        fs::remove_all(databasePath());
        c.make();
        expectFatal(c.what);
        if (fs::is_regular_file(databasePath())) {
            EXPECT_THAT(test::readFile(databasePath()), ::testing::StartsWith(notADatabase));
        }
    }
    EXPECT_TRUE(logged("error during file copy: "));
    EXPECT_FALSE(fs::exists(databasePath())) << "a failed seed copy leaves no database";
}

TEST_F(AppDatabaseTest, ADataDirectoryThatCannotBeMadeIsAnotherError) {
    test::writeFile(temp.path() / "blocker", "a file where a folder should be");
    paths.dataDirectory = (temp.path() / "blocker/co.tessavel.Folvane").string();
    EXPECT_THROW(connect(), fs::filesystem_error);
}

TEST_F(AppDatabaseTest, PointsTheDemoBookmarkAtItsCopyInTheDataDirectory) {
    auto db = connect();
    EXPECT_EQ(test::readFile(demoPath()), test::readFile(resource("Bitcoin Whitepaper.pdf")));
    auto row =
        db->prepare("SELECT filePath, data, hash, indexingStatus FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), fileUrlFromPath(demoPath()));
    EXPECT_EQ(FileBookmark::resolve(row.blob(1)).path, demoPath());
    EXPECT_EQ(row.text(2), AppDatabase::demoBookmarkHash);
    EXPECT_EQ(row.text(3), "none");
    EXPECT_EQ(documentDigest(demoPath()), AppDatabase::demoBookmarkHash);
    auto seed = test::makeDatabase((temp.path() / "seed.sqlite3").string(), 0);
    auto seedRow = seed->prepare("SELECT hash FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(seedRow.step());
    EXPECT_EQ(seedRow.text(0), AppDatabase::demoBookmarkHash);
}

TEST_F(AppDatabaseTest, TheDemoStepLeavesARowOneThatIsAUsersAndAddsNoneWhenItIsGone) {
    placeDatabase(5)->execute(
        "UPDATE bookmarks SET hash = '0123456789abcdef0123456789abcdef', "
        "filePath = 'file:///home/u/mine.pdf', data = X'01' WHERE id = 1");
    auto row = connect()->prepare("SELECT filePath, hex(data) FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), "file:///home/u/mine.pdf");
    EXPECT_EQ(row.text(1), "01");

    fs::remove_all(paths.dataDirectory);
    placeDatabase(5)->execute("DELETE FROM bookmarks WHERE id = 1");
    auto count = connect()->prepare("SELECT count(*) FROM bookmarks");
    ASSERT_TRUE(count.step());
    EXPECT_EQ(count.int64(0), 0);
    EXPECT_TRUE(fs::exists(demoPath())) << "the document is still put in place";
}

TEST_F(AppDatabaseTest, KeepsAPresentDemoDocumentButMakesItsAccessDataAnew) {
    connect()->execute(
        "UPDATE bookmarks SET data = X'', filePath = 'file:///old.pdf' WHERE id = 1");
    fs::remove(demoPath());
    test::writePdf(demoPath(), 2);
    const std::string present = test::readFile(demoPath());

    auto db = connect();
    EXPECT_EQ(test::readFile(demoPath()), present);
    auto row = db->prepare("SELECT filePath, data FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), fileUrlFromPath(demoPath()));
    EXPECT_EQ(row.blob(1), FileBookmark::make(demoPath()));
}

TEST_F(AppDatabaseTest, AFailedDemoCopyOnlyEndsTheDemoStep) {
    fs::remove(resource("Bitcoin Whitepaper.pdf"));
    fs::create_directories(resource("Bitcoin Whitepaper.pdf"));
    auto db = connect();
    EXPECT_TRUE(logged("error during file copy: "));
    EXPECT_EQ(db->userVersion(), 5);
    auto row = db->prepare("SELECT filePath FROM bookmarks WHERE id = 1");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), "file:///Bitcoin%20Whitepaper.pdf");
}

}  // namespace
}  // namespace folvane

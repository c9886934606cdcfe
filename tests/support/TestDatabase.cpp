#include "support/TestDatabase.h"

#include "support/TempDir.h"

namespace folvane::test {

std::shared_ptr<SqliteConnection> makeDatabase(const std::string& path, int version) {
    const std::string resources = FOLVANE_TEST_SOURCE_DIR "/../resources/";
    auto db = SqliteConnection::create(path);
    db->execute(readFile(resources + "seed.sql"));
    for (int step : {1, 3, 4, 5}) {
        if (step > version) break;
        db->execute(readFile(resources + "migration_" + std::to_string(step) + ".sql"));
    }
    db->setUserVersion(version);
    return db;
}

}  // namespace folvane::test

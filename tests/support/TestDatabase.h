#pragma once

#include <memory>
#include <string>

#include "store/SqliteConnection.h"

namespace folvane::test {

// A database file at the given schema version, built from the project's own
// seed and migration scripts (without the data step of version 3), so that the
// tests exercise the very schema users get.
std::shared_ptr<SqliteConnection> makeDatabase(const std::string& path, int version = 5);

}  // namespace folvane::test

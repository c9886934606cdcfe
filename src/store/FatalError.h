#pragma once

#include <stdexcept>

namespace folvane {

// A failure of the store at start that the program cannot run past. what() is
// the fixed message the user is shown before the program stops, such as
// "Failed to load db.sqlite3".
class FatalError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace folvane

#pragma once

#include <stdexcept>

namespace folvane {

// A setting that could not be kept: its file cannot be written. what() is the
// user's words, which say that the change was not saved.
class SettingsError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace folvane

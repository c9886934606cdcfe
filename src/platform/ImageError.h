#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A picture file that cannot be read; what() is the user's words.
class ImageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace folvane

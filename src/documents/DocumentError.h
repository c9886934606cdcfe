#pragma once

#include <stdexcept>
#include <string>

namespace folvane {

// A document that cannot be taken in or indexed for what it is (not a PDF,
// protected by a password, damaged, without text); what() names the document
// and says why in the user's words.
class DocumentError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace folvane

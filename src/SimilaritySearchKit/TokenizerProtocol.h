#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// Text to tokens and back. Implementations hold no mutable state after
// construction, so one instance may serve several threads.
class TokenizerProtocol {
  public:
    virtual ~TokenizerProtocol() = default;

    virtual std::vector<std::string> tokenize(std::string_view text) const = 0;
    virtual std::string detokenize(const std::vector<std::string>& tokens) const = 0;
};

}  // namespace folvane

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace folvane {

// The first stage of BERT tokenization: folds accents away, cuts at spaces and
// tabs (not at line ends), lower-cases, and splits every piece into runs of
// letters, numbers and "°", with each other character a token of its own. A
// piece equal to an entry of `neverSplit` stays whole, with its case.
class BasicTokenizer {
  public:
    explicit BasicTokenizer(std::vector<std::string> neverSplit = {});

    std::vector<std::string> tokenize(std::string_view text) const;

    const std::vector<std::string>& neverSplit() const { return neverSplit_; }

  private:
    std::vector<std::string> neverSplit_;
};

// `text` with its diacritics removed (canonical decomposition, nonspacing marks
// dropped, recomposition), with no regard to any locale.
std::string foldDiacritics(std::string_view text);

}  // namespace folvane

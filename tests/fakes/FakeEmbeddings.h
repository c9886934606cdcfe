#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "SimilaritySearchKit/EmbeddingsProtocol.h"

namespace folvane::test {

// A deterministic embedder for tests. A text gets the vector set for it, else
// a vector derived from its hash; texts marked as failing (or all of them)
// give no vector. `onEncode`, if set, runs inside each encoding, before it
// answers, so that tests can hold encodings back.
class FakeEmbeddings : public EmbeddingsProtocol {
  public:
    explicit FakeEmbeddings(int dimension = 4) : dimension_(dimension) {}

    std::optional<std::vector<float>> encode(const std::string& sentence) override;

    void set(const std::string& text, std::vector<float> vector);
    void fail(const std::string& text);
    void failAll(bool failing) { failAll_ = failing; }
    int calls() const { return calls_; }

    std::function<void(const std::string& text)> onEncode;

  private:
    const int dimension_;
    std::atomic<bool> failAll_ = false;
    std::atomic<int> calls_ = 0;
    std::mutex mutex_;
    std::map<std::string, std::vector<float>> vectors_;
    std::set<std::string> failing_;
};

}  // namespace folvane::test

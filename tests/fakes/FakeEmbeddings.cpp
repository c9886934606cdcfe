#include "fakes/FakeEmbeddings.h"

#include <cstdint>

namespace folvane::test {

std::optional<std::vector<float>> FakeEmbeddings::encode(const std::string& sentence) {
    ++calls_;
    if (onEncode) onEncode(sentence);
    std::scoped_lock lock(mutex_);
    if (failAll_ || failing_.count(sentence)) return std::nullopt;
    if (const auto found = vectors_.find(sentence); found != vectors_.end()) return found->second;
    std::uint64_t state = 1469598103934665603ull;  // FNV-1a of the text seeds the elements
    for (const unsigned char c : sentence) state = (state ^ c) * 1099511628211ull;
    std::vector<float> vector(static_cast<std::size_t>(dimension_));
    for (auto& element : vector) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        element =
            static_cast<float>(static_cast<std::int64_t>(state >> 40) - (1 << 23)) / (1 << 23);
    }
    return vector;
}

void FakeEmbeddings::set(const std::string& text, std::vector<float> vector) {
    std::scoped_lock lock(mutex_);
    vectors_[text] = std::move(vector);
}

void FakeEmbeddings::fail(const std::string& text) {
    std::scoped_lock lock(mutex_);
    failing_.insert(text);
}

}  // namespace folvane::test

#include "SimilaritySearchKit/VectorKernels.h"

#include <array>

#include "platform/Log.h"

// The kernels pass vectors by value only inside this file, so the calling
// convention of such values in other units does not matter.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace folvane::kernels {

namespace {

namespace baseline {
#include "SimilaritySearchKit/VectorKernelBodies.inc"
}  // namespace baseline

#if defined(__x86_64__) && !defined(__clang__)
#pragma GCC push_options
#pragma GCC target("avx2")
namespace wide {
#include "SimilaritySearchKit/VectorKernelBodies.inc"
}  // namespace wide
#pragma GCC pop_options
#endif

struct KernelSet {
    float (*dot)(const float*, const float*, std::size_t);
    float (*sumOfSquares)(const float*, std::size_t);
    float (*squaredDistance)(const float*, const float*, std::size_t);
    DotAndSquares (*dotAndSquares)(const float*, const float*, std::size_t);
};

constexpr KernelSet baselineSet{baseline::dot, baseline::sumOfSquares, baseline::squaredDistance,
                                baseline::dotAndSquares};

// Small whole numbers sum exactly in floats, so every correct kernel set gives
// the same answers bit for bit. A processor that claims AVX2 is trusted with it
// only after it computes these right: some virtual machines have been seen to
// get 256-bit sums wrong.
bool computesLikeBaseline(const KernelSet& set) {
    std::array<float, 37> a{}, b{};
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = float(int(i % 7) - 3);
        b[i] = float(int(i % 5) - 1);
    }
    for (const std::size_t count : {std::size_t{0}, std::size_t{3}, std::size_t{16}, a.size()}) {
        const auto got = set.dotAndSquares(a.data(), b.data(), count);
        const auto want = baselineSet.dotAndSquares(a.data(), b.data(), count);
        if (set.dot(a.data(), b.data(), count) != baselineSet.dot(a.data(), b.data(), count) ||
            set.sumOfSquares(a.data(), count) != baselineSet.sumOfSquares(a.data(), count) ||
            set.squaredDistance(a.data(), b.data(), count) !=
                baselineSet.squaredDistance(a.data(), b.data(), count) ||
            got.dot != want.dot || got.squaresOfB != want.squaresOfB)
            return false;
    }
    return true;
}

KernelSet chooseKernels() {
#if defined(__x86_64__) && !defined(__clang__)
    if (__builtin_cpu_supports("avx2")) {
        const KernelSet wideSet{wide::dot, wide::sumOfSquares, wide::squaredDistance,
                                wide::dotAndSquares};
        if (computesLikeBaseline(wideSet)) return wideSet;
        log("The processor claims AVX2 but computes its sums wrongly; vector search uses SSE2.");
    }
#endif
    return baselineSet;
}

const KernelSet& kernelSet() {
    static const KernelSet chosen = chooseKernels();
    return chosen;
}

}  // namespace

float dot(const float* a, const float* b, std::size_t count) {
    return kernelSet().dot(a, b, count);
}

float sumOfSquares(const float* a, std::size_t count) {
    return kernelSet().sumOfSquares(a, count);
}

float squaredDistance(const float* a, const float* b, std::size_t count) {
    return kernelSet().squaredDistance(a, b, count);
}

DotAndSquares dotAndSquares(const float* a, const float* b, std::size_t count) {
    return kernelSet().dotAndSquares(a, b, count);
}

}  // namespace folvane::kernels

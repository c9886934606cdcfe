#include "SimilaritySearchKit/VectorKernels.h"

// The helpers below pass vectors by value only inside this file, so the
// calling convention of such values in other units does not matter.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace folvane::kernels {

namespace {

// Eight floats, one register of the 256-bit unit or two of the 128-bit one.
// Sums held in these are independent per lane, so the loops below need no
// licence to reorder additions to run on vector instructions.
typedef float Lanes __attribute__((vector_size(32)));
constexpr std::size_t width = sizeof(Lanes) / sizeof(float);

inline Lanes load(const float* p) {
    Lanes lanes;
    __builtin_memcpy(&lanes, p, sizeof lanes);
    return lanes;
}

inline float total(Lanes lanes) {
    float sum = 0;
    for (std::size_t j = 0; j < width; ++j) sum += lanes[j];
    return sum;
}

}  // namespace

// On x86-64 each kernel is built twice, for AVX2 and for the baseline unit;
// the loader picks one by the processor at start.
#if defined(__x86_64__) && !defined(__clang__)
#define FOLVANE_KERNEL __attribute__((target_clones("avx2", "default")))
#else
#define FOLVANE_KERNEL
#endif

FOLVANE_KERNEL float dot(const float* a, const float* b, std::size_t count) {
    Lanes first = {}, second = {};
    std::size_t i = 0;
    for (; i + 2 * width <= count; i += 2 * width) {
        first += load(a + i) * load(b + i);
        second += load(a + i + width) * load(b + i + width);
    }
    float sum = total(first + second);
    for (; i < count; ++i) sum += a[i] * b[i];
    return sum;
}

FOLVANE_KERNEL float sumOfSquares(const float* a, std::size_t count) {
    Lanes first = {}, second = {};
    std::size_t i = 0;
    for (; i + 2 * width <= count; i += 2 * width) {
        const Lanes x = load(a + i), y = load(a + i + width);
        first += x * x;
        second += y * y;
    }
    float sum = total(first + second);
    for (; i < count; ++i) sum += a[i] * a[i];
    return sum;
}

FOLVANE_KERNEL float squaredDistance(const float* a, const float* b, std::size_t count) {
    Lanes first = {}, second = {};
    std::size_t i = 0;
    for (; i + 2 * width <= count; i += 2 * width) {
        const Lanes x = load(a + i) - load(b + i);
        const Lanes y = load(a + i + width) - load(b + i + width);
        first += x * x;
        second += y * y;
    }
    float sum = total(first + second);
    for (; i < count; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return sum;
}

FOLVANE_KERNEL DotAndSquares dotAndSquares(const float* a, const float* b, std::size_t count) {
    Lanes products = {}, moreProducts = {}, squares = {}, moreSquares = {};
    std::size_t i = 0;
    for (; i + 2 * width <= count; i += 2 * width) {
        const Lanes x = load(b + i), y = load(b + i + width);
        products += load(a + i) * x;
        moreProducts += load(a + i + width) * y;
        squares += x * x;
        moreSquares += y * y;
    }
    DotAndSquares result{total(products + moreProducts), total(squares + moreSquares)};
    for (; i < count; ++i) {
        result.dot += a[i] * b[i];
        result.squaresOfB += b[i] * b[i];
    }
    return result;
}

}  // namespace folvane::kernels

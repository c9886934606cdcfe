#pragma once

#include <cstddef>

// The inner loops of the metrics. Each keeps several independent partial sums,
// so that the compiler can turn the loop into vector instructions without being
// allowed to reorder floating-point additions on its own.
namespace folvane::kernels {

float dot(const float* a, const float* b, std::size_t count);
float sumOfSquares(const float* a, std::size_t count);
float squaredDistance(const float* a, const float* b, std::size_t count);

struct DotAndSquares {
    float dot = 0;
    float squaresOfB = 0;
};
// The dot product of a and b and the sum of squares of b, in one read of b.
DotAndSquares dotAndSquares(const float* a, const float* b, std::size_t count);

}  // namespace folvane::kernels

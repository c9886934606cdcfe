#include "SimilaritySearchKit/VectorKernels.h"

namespace folvane::kernels {

namespace {

// Independent partial sums per loop step: enough to fill two vector registers
// of the widest unit and to hide the latency of the additions.
constexpr std::size_t lanes = 16;

float total(const float (&partial)[lanes]) {
    float sum = 0;
    for (std::size_t j = 0; j < lanes; ++j) sum += partial[j];
    return sum;
}

}  // namespace

float dot(const float* a, const float* b, std::size_t count) {
    float partial[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        for (std::size_t j = 0; j < lanes; ++j) partial[j] += a[i + j] * b[i + j];
    }
    float tail = 0;
    for (; i < count; ++i) tail += a[i] * b[i];
    return total(partial) + tail;
}

float sumOfSquares(const float* a, std::size_t count) {
    float partial[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        for (std::size_t j = 0; j < lanes; ++j) partial[j] += a[i + j] * a[i + j];
    }
    float tail = 0;
    for (; i < count; ++i) tail += a[i] * a[i];
    return total(partial) + tail;
}

float squaredDistance(const float* a, const float* b, std::size_t count) {
    float partial[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        for (std::size_t j = 0; j < lanes; ++j) {
            const float difference = a[i + j] - b[i + j];
            partial[j] += difference * difference;
        }
    }
    float tail = 0;
    for (; i < count; ++i) tail += (a[i] - b[i]) * (a[i] - b[i]);
    return total(partial) + tail;
}

DotAndSquares dotAndSquares(const float* a, const float* b, std::size_t count) {
    float products[lanes] = {};
    float squares[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        for (std::size_t j = 0; j < lanes; ++j) {
            products[j] += a[i + j] * b[i + j];
            squares[j] += b[i + j] * b[i + j];
        }
    }
    float productTail = 0;
    float squareTail = 0;
    for (; i < count; ++i) {
        productTail += a[i] * b[i];
        squareTail += b[i] * b[i];
    }
    return {total(products) + productTail, total(squares) + squareTail};
}

}  // namespace folvane::kernels

#pragma once

#include <cstdint>

#include "SimilaritySearchKit/BertWeights.h"

namespace folvane::bertforward {

// One forward pass over the first `length` positions of `ids`. Keys whose
// `mask` entry is 0 take no part in attention, as padding would not. Writes
// the last layer's output, hidden-size floats per position, position after
// position: of every position, or only of the first when `firstOnly` (the last
// layer then computes queries, attention and feed-forward for that position
// alone). Every id must be below the vocabulary size and `length` at most the
// number of positions; the caller checks.
using Function = void (*)(const BertWeights& weights, const int32_t* ids, const int32_t* mask,
                          int length, bool firstOnly, float* output);

// C = A B with A row-major [rows, inner] (as weights are stored) and B and C
// column-major [inner, columns] and [rows, columns]: the product that the pass
// spends its time in, offered so that a benchmark can measure its rate.
using Multiply = void (*)(const float* a, const float* b, float* c, int rows, int inner,
                          int columns);

struct Kernels {
    Function forward;
    Multiply multiply;
};

// The kernels built for each instruction set, or nullptr where this build has
// none. The caller decides whether the processor can run them.
const Kernels* baseline();
const Kernels* avx2();
const Kernels* avx512();

}  // namespace folvane::bertforward

// The forward pass for processors with AVX-512 (F, VL, DQ, BW). src/CMakeLists.txt
// builds this file with those flags; without them it offers no pass.
//
// GCC 12's AVX-512 intrinsics leave a vector undefined on purpose where they
// build one, which its own flow analysis then reports from inside its header.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#if defined(__AVX512F__) && defined(__AVX512VL__) && defined(__AVX512DQ__) && \
    defined(__AVX512BW__) && defined(__FMA__)
#define Eigen FolvaneEigenAvx512
#define FOLVANE_BERT_FORWARD_NAME avx512
#include "SimilaritySearchKit/BertForwardBody.inc"
#else
#include "SimilaritySearchKit/BertKernels.h"
const folvane::bertforward::Kernels* folvane::bertforward::avx512() {
    return nullptr;
}
#endif

// The forward pass for processors with AVX2 and FMA. src/CMakeLists.txt builds
// this file with -mavx2 -mfma; without those flags it offers no pass.
#if defined(__AVX2__) && defined(__FMA__)
#define Eigen FolvaneEigenAvx2
#define FOLVANE_BERT_FORWARD_NAME avx2
#include "SimilaritySearchKit/BertForwardBody.inc"
#else
#include "SimilaritySearchKit/BertKernels.h"
const folvane::bertforward::Kernels* folvane::bertforward::avx2() {
    return nullptr;
}
#endif

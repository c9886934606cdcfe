// The forward pass for any processor this program runs on.
#define Eigen FolvaneEigenBaseline
#define FOLVANE_BERT_FORWARD_NAME baseline
#include "SimilaritySearchKit/BertForwardBody.inc"

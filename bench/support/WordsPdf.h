#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace folvane::bench {

// At least `length` characters of made-up words, drawn from random.
std::string madeUpWords(std::mt19937& random, size_t length);

// The bytes of a PDF of `pages` pages, each showing `lines` lines of about 80
// characters of made-up words in Helvetica, the same for the same seed.
std::string makeWordsPdf(int pages, int lines, double fontSize, unsigned seed);

}  // namespace folvane::bench

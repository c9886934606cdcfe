#include "support/WordsPdf.h"

#include <iterator>
#include <vector>

#include "support/TestPdf.h"

namespace folvane::bench {

std::string madeUpWords(std::mt19937& random, size_t length) {
    static const char* const words[] = {
        "ledger", "block", "signature", "network", "proof",   "work", "chain",  "node",
        "coin",   "owner", "time",      "stamp",   "server",  "hash", "the",    "of",
        "and",    "a",     "payment",   "record",  "harbour", "tide", "market", "river"};
    std::uniform_int_distribution<size_t> pick(0, std::size(words) - 1);
    std::string text;
    while (text.size() < length) text += std::string(words[pick(random)]) + " ";
    return text;
}

std::string makeWordsPdf(int pages, int lines, double fontSize, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<test::TestPage> shown;
    for (int page = 0; page < pages; ++page) {
        std::vector<std::string> text;
        for (int line = 0; line < lines; ++line) text.push_back(madeUpWords(random, 80));
        shown.emplace_back(std::move(text), fontSize);
    }
    return test::makePdfWithPages(shown);
}

}  // namespace folvane::bench

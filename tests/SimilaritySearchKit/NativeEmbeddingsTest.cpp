#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "SimilaritySearchKit/NativeEmbeddings.h"
#include "SimilaritySearchKit/SimilarityIndex.h"

namespace folvane {
namespace {

float norm(const std::vector<float>& v) {
    double sum = 0;
    for (float x : v) sum += static_cast<double>(x) * x;
    return static_cast<float>(std::sqrt(sum));
}

float cosine(const std::vector<float>& a, const std::vector<float>& b) {
    double dot = 0;
    for (size_t i = 0; i < a.size(); ++i) dot += static_cast<double>(a[i]) * b[i];
    return static_cast<float>(dot / (norm(a) * norm(b)));
}

std::vector<float> embed(const std::string& text) {
    return NativeEmbeddings().encode(text).value();
}

// Stored rows named "native" are compared with queries encoded in later runs,
// maybe on another machine: the values must never drift. These are the first
// non-zero buckets of one sentence, pinned.
TEST(NativeEmbeddings, IsTheSameOnEveryRunAndMachine) {
    const auto vector = embed("Proof of work secures the ledger against double spending.");
    std::vector<std::pair<size_t, float>> nonZero;
    for (size_t i = 0; i < vector.size() && nonZero.size() < 4; ++i) {
        if (vector[i] != 0) nonZero.emplace_back(i, vector[i]);
    }
    const std::vector<std::pair<size_t, float>> pinned = {
        {20, -0.213200718f}, {48, -0.35533452f}, {99, 0.213200718f}, {108, 0.0710669085f}};
    EXPECT_NEAR(norm(vector), 1.0f, 1e-5f);
    ASSERT_EQ(nonZero.size(), pinned.size());
    for (size_t i = 0; i < pinned.size(); ++i) {
        EXPECT_EQ(nonZero[i].first, pinned[i].first);
        EXPECT_NEAR(nonZero[i].second, pinned[i].second, 1e-6f);
    }
    EXPECT_EQ(embed("Proof of work secures the ledger against double spending."), vector);
}

TEST(NativeEmbeddings, FoldsCaseAccentsLigaturesAndEnglishEndings) {
    const NativeEmbeddings model;
    const std::vector<std::pair<std::string, std::string>> same{
        {"Documents", "document"}, {"Café", "cafe"},
        {"ﬁle", "file"},           {"RUNNING", "run"},
        {"indexed", "indexing"},   {"studies", "study"},
        {"encoded", "encode"},     {"Ｆｕｌｌ", "full"},
        {"classes", "class"},      {"ÉTÉ", "ete"},
    };
    for (const auto& [a, b] : same) {
        EXPECT_EQ(model.normalizedWord(a), model.normalizedWord(b)) << a << " / " << b;
    }
    const std::vector<std::pair<std::string, std::string>> different{
        {"status", "state"}, {"analysis", "analys"}, {"bank", "banker"}, {"2023", "2024"}};
    for (const auto& [a, b] : different) {
        EXPECT_NE(model.normalizedWord(a), model.normalizedWord(b)) << a << " / " << b;
    }
    // Only English is stemmed.
    EXPECT_EQ(NativeEmbeddings("de").normalizedWord("Häuser"), "hauser");
    EXPECT_EQ(embed("THE DOCUMENTS"), embed("the document"));
}

TEST(NativeEmbeddings, TextsWithoutWords) {
    NativeEmbeddings model;
    // Blank: one fixed direction, far from any text's.
    const auto blank = model.encode("").value();
    EXPECT_NEAR(norm(blank), 1.0f, 1e-5f);
    EXPECT_EQ(model.encode(" \n\t "), blank);
    EXPECT_LT(std::abs(cosine(blank, model.encode("a few words").value())), 0.5f);
    // Only symbols: still a direction, and different symbols differ.
    const auto stars = model.encode("* * * —").value();
    ASSERT_EQ(stars.size(), 512u);
    EXPECT_NEAR(norm(stars), 1.0f, 1e-5f);
    EXPECT_LT(cosine(stars, model.encode("# # #").value()), 0.5f);
    // Only stop words: still a direction.
    EXPECT_NEAR(norm(model.encode("of the and").value()), 1.0f, 1e-5f);
}

TEST(NativeEmbeddings, WordEmbeddingTakesExactlyOneWord) {
    NativeEmbeddings words("en", NativeEmbeddingType::wordEmbedding);
    const auto one = words.encode("Banks").value();
    EXPECT_EQ(one.size(), 512u);
    EXPECT_EQ(words.encode("bank"), one);
    EXPECT_FALSE(words.encode("two words"));
    EXPECT_FALSE(words.encode("..."));
}

TEST(NativeEmbeddings, WordOrderCountsALittle) {
    const auto a = embed("the dog bites the man");
    const auto b = embed("the man bites the dog");
    EXPECT_NE(a, b);
    EXPECT_GT(cosine(a, b), 0.6f);
    EXPECT_LT(cosine(a, b), 0.99f);
}

TEST(NativeEmbeddings, EncodesFromManyThreadsAlike) {
    NativeEmbeddings model;
    const std::string text = "Concurrent encodings of the same paragraph agree, café and all.";
    const auto expected = model.encode(text);
    std::vector<std::optional<std::vector<float>>> results(8);
    {
        std::vector<std::jthread> threads;
        for (auto& result : results) {
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i) result = model.encode(text);
            });
        }
    }
    for (const auto& result : results) EXPECT_EQ(result, expected);
}

TEST(NativeEmbeddings, ServesAnIndexEvenWithBlankItems) {
    SimilarityIndex index("native", std::make_shared<NativeEmbeddings>());
    EXPECT_EQ(index.dimension(), 512);
    index.addItem("blank", "   ", {});
    index.addItem("stars", "* * *", {});
    index.addItem("cats", "Cats sleep most of the day.", {});
    const auto results = index.search("How long do cats sleep?", 3);
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results.front().id, "cats");
    for (const auto& result : results) EXPECT_FALSE(std::isnan(result.score)) << result.id;
    EXPECT_EQ(index.search("", 1).at(0).id, "blank");
}

// A small library of paragraphs and questions that say the same thing in
// other words; the paragraph that answers must come first for nearly all.
TEST(NativeEmbeddings, FindsTheParagraphThatAnswersAQuestion) {
    const std::vector<std::string> paragraphs{
        // 0
        "Bitcoin transactions are grouped into blocks. Each block contains the hash of the "
        "previous block, forming a chain that cannot be altered without redoing the proof of "
        "work for every later block.",
        // 1
        "Photosynthesis converts light energy into chemical energy. Plants absorb carbon dioxide "
        "through their leaves and release oxygen, storing the energy as glucose.",
        // 2
        "The French Revolution began in 1789 with the storming of the Bastille. It abolished the "
        "monarchy and proclaimed a republic, changing European politics for a century.",
        // 3
        "To reset your password, open the account settings, choose Security, and follow the link "
        "sent to your registered email address. The link expires after 24 hours.",
        // 4
        "Regular aerobic exercise strengthens the heart, lowers blood pressure and improves "
        "sleep. Adults should aim for 150 minutes of moderate activity each week.",
        // 5
        "The invoice must be paid within thirty days of receipt. Late payments incur an interest "
        "charge of two percent per month on the outstanding balance.",
        // 6
        "Volcanoes erupt when magma rises through cracks in the earth's crust. Pressure from "
        "dissolved gases drives the molten rock to the surface.",
        // 7
        "Our return policy allows customers to send back unused products within fourteen days "
        "for a full refund, provided the original receipt is included.",
        // 8
        "Neural networks learn by adjusting the weights of connections between neurons, using "
        "gradient descent to minimise the error on training examples.",
        // 9
        "The tenant is responsible for minor repairs in the apartment, while the landlord pays "
        "for structural repairs to the roof, walls and heating system.",
        // 10
        "Encryption protects data by encoding it so that only holders of the key can read it. "
        "Public key cryptography uses a pair of keys, one public and one private.",
        // 11
        "The museum is open from nine in the morning until six in the evening, every day except "
        "Mondays and public holidays. Admission is free for children.",
    };
    const std::vector<std::pair<std::string, size_t>> questions{
        {"How are blocks linked together in the chain?", 0},
        {"What gas do plants give off when they absorb light?", 1},
        {"When did the revolution in France start?", 2},
        {"I forgot my password, how can I reset it?", 3},
        {"How much exercise should an adult do per week?", 4},
        {"What happens if I pay the invoice late?", 5},
        {"Why do volcanoes erupt?", 6},
        {"Can I return a product and get a refund?", 7},
        {"How does a neural network learn its weights?", 8},
        {"Who pays for repairs to the heating?", 9},
        {"What is public key encryption?", 10},
        {"What are the museum's opening hours?", 11},
        {"Is the museum open on Monday?", 11},
        {"Which documents encrypt data with a private key?", 10},
        {"How many days do I have to return an item?", 7},
    };

    SimilarityIndex index("library", std::make_shared<NativeEmbeddings>());
    for (size_t i = 0; i < paragraphs.size(); ++i) {
        index.addItem(std::to_string(i), paragraphs[i], {});
    }
    size_t found = 0;
    std::string misses;
    for (const auto& [question, expected] : questions) {
        const auto results = index.search(question, 1);
        ASSERT_EQ(results.size(), 1u);
        if (results.front().id == std::to_string(expected)) {
            ++found;
        } else {
            misses += "\n\"" + question + "\" found paragraph " + results.front().id + " before " +
                      std::to_string(expected);
        }
    }
    EXPECT_GE(found, questions.size() - 1) << misses;
}

}  // namespace
}  // namespace folvane

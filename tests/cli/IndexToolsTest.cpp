#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "SimilaritySearchKit/DistilbertEmbeddings.h"
#include "store/SqliteConnection.h"
#include "support/CliUser.h"
#include "support/SafetensorsWriter.h"
#include "support/TestPdf.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

// The commands that show the index module's other parts: splitters, metrics,
// index files and the contextual embedder, on a chat indexed here.
class IndexToolsTest : public test::CliUser {
  protected:
    std::string pdf() {
        test::writeFile(home / "tides.pdf",
                        test::makePdf({"The tides rise twice a day along the northern coast.",
                                       "Mining secures the chain with proof of work.",
                                       "Harbour fees are due at the end of each month."}));
        return home / "tides.pdf";
    }
};

TEST_F(IndexToolsTest, EverySplitterCutsThePagesAndKeepsTheirNumbers) {
    const std::string file = pdf();
    for (const char* splitter : {"custom", "recursive-token", "token", "recursive", "character"}) {
        const auto result = cli({"chunks", file, "--json", "--splitter", splitter, "--size", "8"});
        ASSERT_EQ(result.exitCode, 0) << splitter << ": " << result.err;
        const auto rows = lines(result.out);
        ASSERT_FALSE(rows.empty()) << splitter;
        int lastPage = 0;
        for (const auto& row : rows) {
            const int page = nlohmann::json::parse(row)["page"].get<int>();
            EXPECT_GE(page, lastPage) << splitter;
            lastPage = page;
        }
        EXPECT_EQ(lastPage, 3) << splitter;
        // All but the indexing splitter take --size: eight units cut most pages in two.
        if (std::string(splitter) != "custom") {
            EXPECT_GT(rows.size(), 3u) << splitter;
        }
    }
    const auto unknown = cli({"chunks", file, "--splitter", "sentence"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_THAT(unknown.err, HasSubstr("Unknown splitter: sentence"));
}

TEST_F(IndexToolsTest, RetrieveRanksByTheChosenMetric) {
    const std::string chat = openKeylessChat({pdf()});
    for (const char* metric : {"cosine", "dotproduct", "euclidian"}) {
        const auto result = cli({"retrieve", chat, "proof of work mining", "--metric", metric});
        ASSERT_EQ(result.exitCode, 0) << metric << ": " << result.err;
        const auto rows = lines(result.out);
        ASSERT_EQ(rows.size(), 3u) << result.out;
        EXPECT_THAT(rows[0], HasSubstr("\tpage 2\tMining secures the chain")) << metric;
        std::vector<double> scores;
        for (const auto& row : rows) {
            EXPECT_EQ(row.rfind("PDF-Local-Index\t", 0), 0u) << row;
            scores.push_back(std::stod(row.substr(row.find('\t') + 1)));
        }
        // Similarities fall, distances grow.
        const bool distance = std::string(metric) == "euclidian";
        EXPECT_TRUE(distance ? scores[0] <= scores[2] : scores[0] >= scores[2]) << result.out;
    }
    EXPECT_EQ(lines(cli({"retrieve", chat, "tides", "--top", "1"}).out).size(), 1u);
    const auto unknown = cli({"retrieve", chat, "tides", "--metric", "manhattan"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_THAT(unknown.err, HasSubstr("Unknown metric: manhattan"));
}

TEST_F(IndexToolsTest, ExportIndexWritesEachFormat) {
    const std::string chat = openKeylessChat({pdf()});
    const auto csv = cli({"export-index", chat});
    ASSERT_EQ(csv.exitCode, 0) << csv.err;
    EXPECT_EQ(csv.out, home / "documents/PDF-Local-Index.csv" + "\n");
    const std::string text = test::readFile(home / "documents/PDF-Local-Index.csv");
    EXPECT_EQ(text.rfind("id,text,embedding,metadata\n", 0), 0u);
    EXPECT_THAT(text, HasSubstr("Harbour fees"));

    const auto json = cli({"export-index", chat, "--format", "json", "-o", home / "out"});
    ASSERT_EQ(json.exitCode, 0) << json.err;
    const auto items = nlohmann::json::parse(test::readFile(home / "out/PDF-Local-Index.json"));
    EXPECT_EQ(items.size(), 3u);

    const auto binary = cli({"export-index", chat, "--format", "binary", "-o", home / "out"});
    ASSERT_EQ(binary.exitCode, 0) << binary.err;
    const std::string written = lines(binary.out).at(0);
    EXPECT_EQ(std::filesystem::path(written).parent_path(), home / "out");
    EXPECT_GT(std::filesystem::file_size(written), 0u);

    EXPECT_EQ(cli({"export-index", chat, "--format", "xml"}).exitCode, 2);
}

TEST_F(IndexToolsTest, TheContextualEmbedderAveragesTheEncodersTokenVectors) {
    const auto missing = cli({"embed", "--model", "contextual", "text"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("Failed to load the Core ML model. Error: "));

    std::filesystem::create_directories(dataDir + "/models");
    std::filesystem::copy_file(test::tinyBertPath(),
                               dataDir + "/models/" + DistilbertEmbeddings::weightsFileName);
    const auto result = cli({"embed", "--model", "contextual", "Where is the invoice total?"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(lines(result.out).at(0), "model: contextual");
    EXPECT_EQ(lines(result.out).at(1), "dimension: 24");
}

// The re-embedding itself is the indexer's (tests/documents); here the
// command's words. The tiny test encoder is 24 wide where the program's loader
// wants the real model's 768, so it stands for weights that do not load.
TEST_F(IndexToolsTest, ReprocessWithTheLocalEmbedderNeedsTheDownloadedModel) {
    const std::string chat = openKeylessChat({pdf()});
    const auto stored = [&] {
        auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
        auto query = db->prepare("SELECT DISTINCT embeddingModel FROM embeddings");
        std::vector<std::string> names;
        while (query.step()) names.push_back(query.text(0));
        return names;
    };
    const auto mainDocument = [&] {
        auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
        auto query = db->prepare("SELECT bookmarkId FROM conversations WHERE id = " + chat);
        EXPECT_TRUE(query.step());
        return std::to_string(query.int64(0));
    };
    ASSERT_EQ(cli({"index", chat}).exitCode, 0);
    ASSERT_EQ(stored(), std::vector<std::string>{"native"});
    const std::string document = mainDocument();

    const auto missing = cli({"reprocess", chat, document, "--embedder", "local"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_THAT(missing.err, HasSubstr("The local model is not downloaded; run "
                                       "\"folvane-cli model download\" first."));
    EXPECT_EQ(cli({"reprocess", chat, document, "--embedder", "remote"}).exitCode, 2);
    EXPECT_EQ(cli({"reprocess", chat, document, "--embedder", "local", "--ocr"}).exitCode, 2);

    std::filesystem::create_directories(dataDir + "/models");
    std::filesystem::copy_file(test::tinyBertPath(),
                               dataDir + "/models/" + DistilbertEmbeddings::weightsFileName);
    const auto refused = cli({"reprocess", chat, document, "--embedder", "local"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("The local model could not be loaded"));
    EXPECT_EQ(stored(), std::vector<std::string>{"native"}) << "the old rows stay";
}

TEST_F(IndexToolsTest, ADocumentOfAChatThatCannotIndexCanStillBeRemoved) {
    // No key and no custom model: the chat cannot index, its documents still leave.
    const std::string second = home / "second.pdf";
    test::writeFile(second, test::makePdf({"A second document."}));
    const auto opened = cli({"open", pdf(), second});
    ASSERT_EQ(opened.exitCode, 0) << opened.err;
    const std::string chat = opened.out.substr(0, opened.out.find('\n'));
    const auto extras = [&] {
        auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
        auto query = db->prepare(
            "SELECT IFNULL(extraBookmarkIds, '') FROM conversations WHERE id = " + chat);
        EXPECT_TRUE(query.step());
        return query.text(0);
    };
    const auto ids = nlohmann::json::parse(extras());
    ASSERT_EQ(ids.size(), 1u);
    EXPECT_EQ(cli({"index", chat}).exitCode, 1);
    const auto removed = cli({"remove-document", chat, std::to_string(ids[0].get<int64_t>())});
    EXPECT_EQ(removed.exitCode, 0) << removed.err;
    EXPECT_EQ(nlohmann::json::parse(extras()).size(), 0u);

    // The first document stays: the chat is opened on it.
    auto db = SqliteConnection::open(dataDir + "/db.sqlite3");
    auto query = db->prepare("SELECT bookmarkId FROM conversations WHERE id = " + chat);
    ASSERT_TRUE(query.step());
    const std::string main = std::to_string(query.int64(0));
    const auto refused = cli({"remove-document", chat, main});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("is the one the chat was opened with"));
}

}  // namespace
}  // namespace folvane

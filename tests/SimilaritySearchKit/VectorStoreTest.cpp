#include <gtest/gtest.h>
#include <lzma.h>

#include <cstdint>
#include <memory>

#include "SimilaritySearchKit/BinaryStore.h"
#include "SimilaritySearchKit/Files.h"
#include "SimilaritySearchKit/JsonStore.h"
#include "SimilaritySearchKit/SimilarityIndex.h"
#include "fakes/FakeEmbeddings.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using test::FakeEmbeddings;
using test::LogCapture;
using test::TempDir;

const std::vector<IndexItem> sampleItems{
    {"a1", "Text with \"quotes\", commas\nand lines", {0.1f, -2.5f, 3e-8f}, {{"page", "1"}}},
    {"b2", "ünïcödé", {}, {}},
    {"c3", "", {1, 2, 3}, {{"bookmarkId", "4"}, {"page", "Optional(2)"}}},
};

std::string lzmaDecode(const std::string& compressed) {
    std::string out(1 << 20, '\0');
    std::size_t inPosition = 0, outPosition = 0;
    std::uint64_t memoryLimit = UINT64_MAX;
    const auto result = lzma_stream_buffer_decode(
        &memoryLimit, 0, nullptr, reinterpret_cast<const std::uint8_t*>(compressed.data()),
        &inPosition, compressed.size(), reinterpret_cast<std::uint8_t*>(out.data()), &outPosition,
        out.size());
    EXPECT_EQ(result, LZMA_OK);
    out.resize(outPosition);
    return out;
}

std::string lzmaEncode(const std::string& body) {
    std::string out(lzma_stream_buffer_bound(body.size()), '\0');
    std::size_t written = 0;
    lzma_easy_buffer_encode(6, LZMA_CHECK_CRC64, nullptr,
                            reinterpret_cast<const std::uint8_t*>(body.data()), body.size(),
                            reinterpret_cast<std::uint8_t*>(out.data()), &written, out.size());
    out.resize(written);
    return out;
}

std::string record(const std::string& json) {
    std::string out;
    for (int shift = 0; shift < 32; shift += 8) out.push_back(char(json.size() >> shift));
    return out + json;
}

struct StoreCase {
    const char* name;
    std::function<std::unique_ptr<VectorStoreProtocol>()> make;
    const char* extension;
    const char* otherExtension;
};

const StoreCase stores[] = {
    {"json", [] { return std::make_unique<JsonStore>(); }, ".json", ".dat"},
    {"binary", [] { return std::make_unique<BinaryStore>(); }, ".dat", ".json"},
};

TEST(VectorStores, RoundTripItemsIncludingAnEmptyList) {
    for (const auto& c : stores) {
        TempDir dir;
        auto store = c.make();
        const auto file = store->saveIndex(sampleItems, dir.path(), "my index");
        EXPECT_EQ(file, dir.path() / (std::string("my index") + c.extension)) << c.name;
        EXPECT_EQ(store->loadIndex(file), sampleItems) << c.name;
        const auto empty = store->saveIndex({}, dir.path(), "empty");
        EXPECT_TRUE(store->loadIndex(empty).empty()) << c.name;
    }
}

TEST(VectorStores, ListOnlyTheirOwnExtensionAndLogAListingFailure) {
    for (const auto& c : stores) {
        TempDir dir;
        for (const char* name : {"b", "a"})
            test::writeFile(dir.path() / (name + std::string(c.extension)), "");
        test::writeFile(dir.path() / ("c" + std::string(c.otherExtension)), "");
        test::writeFile(dir.path() / "d.txt", "");
        auto store = c.make();
        EXPECT_EQ(
            store->listIndexes(dir.path()),
            (std::vector<std::filesystem::path>{dir.path() / ("a" + std::string(c.extension)),
                                                dir.path() / ("b" + std::string(c.extension))}))
            << c.name;

        LogCapture log;
        EXPECT_TRUE(store->listIndexes(dir.path() / "missing").empty()) << c.name;
        ASSERT_EQ(log.lines().size(), 1u) << c.name;
        EXPECT_EQ(log.lines()[0].rfind("Error listing indexes: ", 0), 0u) << c.name;
    }
}

TEST(VectorStores, LoadingAMissingOrDamagedFileThrows) {
    for (const auto& c : stores) {
        TempDir dir;
        auto store = c.make();
        EXPECT_THROW(store->loadIndex(dir.path() / "none"), std::exception) << c.name;
        test::writeFile(dir.path() / "bad", "not an index at all");
        EXPECT_THROW(store->loadIndex(dir.path() / "bad"), std::exception) << c.name;
    }
}

TEST(BinaryStore, WritesLengthPrefixedJsonRecordsCompressedWithLzma) {
    LogCapture log;
    TempDir dir;
    BinaryStore store;
    EXPECT_TRUE(log.contains("Initted new BinaryStore"));
    const auto file = store.saveIndex(sampleItems, dir.path(), "x");
    std::string expected;
    for (const auto& item : sampleItems) expected += record(toJson(item).dump());
    EXPECT_EQ(lzmaDecode(test::readFile(file)), expected);
}

TEST(BinaryStore, CutsABodyLongerThanFiveTimesTheFileAndDropsTheCutRecord) {
    // Long repetitive texts compress far better than five to one.
    std::vector<std::string> records;
    std::string body;
    for (int i = 0; i < 2000; ++i) {
        records.push_back(
            record(toJson(IndexItem{std::to_string(i), std::string(100, 'x'), {}, {}}).dump()));
        body += records.back();
    }
    const std::string compressed = lzmaEncode(body);
    const std::size_t bound = compressed.size() * 5;
    ASSERT_LT(bound, body.size());
    std::size_t whole = 0;
    for (std::size_t used = 0; used + records[whole].size() <= bound; ++whole) {
        used += records[whole].size();
    }
    TempDir dir;
    test::writeFile(dir.path() / "big.dat", compressed);
    const auto items = BinaryStore().loadIndex(dir.path() / "big.dat");
    ASSERT_GT(whole, 0u);
    EXPECT_EQ(items.size(), whole);
    EXPECT_EQ(items.back().id, std::to_string(whole - 1));
}

TEST(SimilarityIndexFiles, SavesUnderTheIndexNameAndLoadsTheFirstFileContainingAName) {
    LogCapture log;
    TempDir dir;
    auto model = std::make_shared<FakeEmbeddings>(3);
    SimilarityIndex source("notes", model);
    source.addItem("1", "one", {{"page", "1"}}, std::vector<float>{1, 2, 3});
    const auto saved = source.saveIndex(dir.path() / "nested" / "folder");
    EXPECT_EQ(saved, dir.path() / "nested" / "folder" / "notes.json");
    EXPECT_TRUE(log.contains("Saved 1 index items to " + saved.string()));

    source.addItem("2", "two", {}, std::vector<float>{4, 5, 6});
    source.saveIndex(dir.path(), "my-notes-old");
    source.saveIndex(dir.path(), "notes");

    SimilarityIndex target("notes", model);
    EXPECT_FALSE(target.loadIndex(dir.path(), "absent"));
    // "my-notes-old.json" sorts before "notes.json": the first match wins.
    const auto loaded = target.loadIndex(dir.path(), "notes");
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->size(), 2u);
    target.waitForPendingLoads();
    EXPECT_EQ(target.indexItems(), source.indexItems());
    EXPECT_TRUE(
        log.contains("Loaded 2 index items from " + (dir.path() / "my-notes-old.json").string()));
}

TEST(FilesCsv, QuotesIdAndTextWritesShortestFloatsJoinsMetadataAndSavesToDocuments) {
    EXPECT_EQ(Files::csvText({}), "id,text,embedding,metadata");
    EXPECT_EQ(
        Files::csvText(sampleItems),
        "id,text,embedding,metadata\n"
        "\"a1\",\"Text with \"\"quotes\"\", commas\nand lines\",\"0.1 -2.5 3e-08\",\"page: 1\"\n"
        "\"b2\",\"ünïcödé\",\"\",\"\"\n"
        "\"c3\",\"\",\"1 2 3\",\"bookmarkId: 4; page: Optional(2)\"");
}

}  // namespace
}  // namespace folvane

// ModelDownload against a real HTTP server on the loopback, into real files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>

#include "SimilaritySearchKit/ModelDownload.h"
#include "platform/CurlHttpClient.h"
#include "support/LoopbackServer.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

using test::readFile;
using test::writeFile;
using ::testing::HasSubstr;
using Kind = ModelDownloadError::Kind;

// 300 000 bytes that differ from place to place, so a misplaced piece shows.
std::string modelBytes() {
    std::string bytes(300'000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 131 + i / 7) % 251);
    return bytes;
}

std::string digestOf(const std::string& bytes) {
    test::TempDir dir;
    writeFile(dir.path() / "f", bytes);
    return ModelDownload::sha256OfFile(dir.path() / "f");
}

// How the test's file server behaves.
struct ServerBehaviour {
    bool honoursRange = true;
    // The first answer without a Range header is cut after this many bytes.
    std::optional<size_t> dropFirstAfter;
};

// Serves `body` in 64 KiB chunks; a Range request gets a 206 with the rest
// when the server honours ranges, else the whole body with 200.
test::LoopbackServer::Handler fileServer(std::string body, ServerBehaviour behaviour) {
    auto dropped = std::make_shared<std::atomic<bool>>(false);
    return [=](const test::RecordedRequest& request, httplib::Response& response) {
        size_t start = 0;
        const auto range = request.header("Range");
        if (range && behaviour.honoursRange) start = std::stoul(range->substr(6));
        std::string slice = body.substr(start);
        bool drop = false;
        if (!range && behaviour.dropFirstAfter && !dropped->exchange(true)) {
            slice.resize(*behaviour.dropFirstAfter);
            drop = true;
        }
        std::vector<std::string> pieces;
        for (size_t at = 0; at < slice.size(); at += 65'536)
            pieces.push_back(slice.substr(at, 65'536));
        std::vector<std::pair<std::string, std::string>> headers;
        int status = 200;
        if (start > 0) {
            status = 206;
            headers.emplace_back("Content-Range", "bytes " + std::to_string(start) + "-" +
                                                      std::to_string(body.size() - 1) + "/" +
                                                      std::to_string(body.size()));
        }
        test::chunkedResponse(pieces, status, headers, std::chrono::milliseconds(0), drop)(
            request, response);
    };
}

class ModelDownloadTest : public ::testing::Test {
  protected:
    test::LoopbackServer server;
    test::TempDir dir;
    std::filesystem::path models = dir.path() / "models";
    std::filesystem::path target = models / "model.safetensors";
    std::filesystem::path part = models / "model.safetensors.part";
    std::string body = modelBytes();
    std::string digest = digestOf(body);

    ModelDownloadResult download(const std::string& expected,
                                 const ModelDownload::ProgressHandler& onProgress = {},
                                 std::stop_token stop = {}) {
        ModelDownload download(std::make_shared<CurlHttpClient>());
        return download.run({server.baseURL() + "/model", models, "model.safetensors", expected},
                            onProgress, stop);
    }

    // The error a download ends with.
    ModelDownloadError failure(const std::string& expected) {
        try {
            download(expected);
        } catch (const ModelDownloadError& error) {
            return error;
        }
        ADD_FAILURE() << "the download succeeded";
        return ModelDownloadError(Kind::file, "");
    }
};

TEST_F(ModelDownloadTest, CompleteDownloadLandsInModelsWithProgress) {
    server.setHandler(fileServer(body, {}));
    std::vector<ModelDownloadProgress> reports;
    // Upper case: the setting may be pasted either way.
    std::string upper = digest;
    for (char& c : upper) c = static_cast<char>(std::toupper(c));
    const auto result =
        download(upper, [&](const ModelDownloadProgress& p) { reports.push_back(p); });

    EXPECT_EQ(result.path, target);
    EXPECT_EQ(result.sha256, digest);
    EXPECT_EQ(readFile(target), body);
    EXPECT_FALSE(std::filesystem::exists(part));
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back().bytesDone, body.size());
    for (size_t i = 1; i < reports.size(); ++i)
        EXPECT_GE(reports[i].bytesDone, reports[i - 1].bytesDone);
    EXPECT_FALSE(server.lastRequest().header("Range"));
}

TEST_F(ModelDownloadTest, InterruptedTransferResumesWithRange) {
    server.setHandler(fileServer(body, {.dropFirstAfter = 100'000}));

    const auto first = failure(digest);
    EXPECT_EQ(first.kind(), Kind::interrupted) << first.what();
    EXPECT_THAT(first.what(), HasSubstr("resumes"));
    EXPECT_FALSE(std::filesystem::exists(target));
    ASSERT_EQ(std::filesystem::file_size(part), 100'000u);

    std::vector<ModelDownloadProgress> reports;
    const auto result =
        download(digest, [&](const ModelDownloadProgress& p) { reports.push_back(p); });
    EXPECT_EQ(server.lastRequest().header("Range"), "bytes=100000-");
    EXPECT_EQ(result.sha256, digest);
    EXPECT_EQ(readFile(target), body);
    EXPECT_FALSE(std::filesystem::exists(part));
    // The resumed run counts the whole file: what was kept and what came.
    ASSERT_FALSE(reports.empty());
    EXPECT_GT(reports.front().bytesDone, 100'000u);
    EXPECT_EQ(reports.front().totalBytes, body.size());
}

TEST_F(ModelDownloadTest, ServerIgnoringRangeRestartsFromZero) {
    server.setHandler(fileServer(body, {.honoursRange = false, .dropFirstAfter = std::nullopt}));
    writeFile(part, "stale bytes of an older, other file");

    const auto result = download(digest);
    EXPECT_TRUE(server.lastRequest().header("Range"));
    EXPECT_EQ(result.sha256, digest);
    EXPECT_EQ(readFile(target), body);
}

TEST_F(ModelDownloadTest, CancelledDownloadKeepsItsPartAndResumes) {
    server.setHandler(fileServer(body, {}));
    std::stop_source stop;
    try {
        download(
            digest, [&](const ModelDownloadProgress&) { stop.request_stop(); }, stop.get_token());
        FAIL() << "the download was not cancelled";
    } catch (const ModelDownloadError& error) {
        EXPECT_EQ(error.kind(), Kind::cancelled);
    }
    const auto kept = std::filesystem::file_size(part);
    EXPECT_GT(kept, 0u);
    EXPECT_LT(kept, body.size());

    EXPECT_EQ(download(digest).sha256, digest);
    EXPECT_EQ(server.lastRequest().header("Range"), "bytes=" + std::to_string(kept) + "-");
    EXPECT_EQ(readFile(target), body);
}

TEST_F(ModelDownloadTest, EmptyDigestAcceptsTheFileAndGivesItsDigest) {
    // The standard's own example, so the digest is SHA-256 and not merely stable.
    EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    server.setHandler(fileServer(body, {}));
    EXPECT_EQ(download("").sha256, digest);
    EXPECT_EQ(readFile(target), body);
}

TEST_F(ModelDownloadTest, FailuresLeaveNoModelAndSayWhy) {
    const std::string wrong(64, 'a');
    struct Case {
        const char* name;
        test::LoopbackServer::Handler handler;
        std::function<void(const std::filesystem::path& part)> prepare;
        Kind kind;
        const char* words;
        bool keepsPart;
    };
    const std::vector<Case> cases = {
        {"wrong digest",
         fileServer(body, {}),
         {},
         Kind::digestMismatch,
         "The downloaded file does not match its expected SHA-256 digest",
         false},
        {"HTTP error",
         test::plainResponse("gone", 404, "text/plain"),
         {},
         Kind::http,
         "HTTP status 404",
         false},
        // Writes to /dev/full fail as on a full disk.
        {"no space", fileServer(body, {}),
         [](const std::filesystem::path& path) {
             std::filesystem::create_directories(path.parent_path());
             std::filesystem::create_symlink("/dev/full", path);
         },
         Kind::noSpace, "There is not enough space on the device", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove_all(models);
        if (c.prepare) c.prepare(part);
        server.setHandler(c.handler);
        const auto error = failure(c.kind == Kind::digestMismatch ? wrong : digest);
        EXPECT_EQ(error.kind(), c.kind) << error.what();
        EXPECT_THAT(error.what(), HasSubstr(c.words));
        EXPECT_FALSE(std::filesystem::exists(target));
        EXPECT_EQ(std::filesystem::is_symlink(part) || std::filesystem::exists(part), c.keepsPart);
    }
}

}  // namespace
}  // namespace folvane

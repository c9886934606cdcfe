// folvane-cli model download, run as a program against a file server on the
// loopback.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliUser.h"
#include "support/LoopbackServer.h"

namespace folvane {
namespace {

using ::testing::HasSubstr;

class ModelDownloadCommandTest : public test::CliUser {
  protected:
    test::LoopbackServer server;
    std::string model = dataDir + "/models/msmarco-distilbert-base-tas-b.safetensors";

    void serve(const std::string& bytes) {
        server.setHandler(test::plainResponse(bytes, 200, "application/octet-stream"));
    }
};

TEST_F(ModelDownloadCommandTest, FirstDownloadStoresTheDigestThatLaterOnesMustMatch) {
    ASSERT_EQ(cli({"settings", "set", "embeddingModelURL", server.baseURL() + "/m"}).exitCode, 0);
    const std::string weights(200'000, 'w');
    serve(weights);

    const auto first = cli({"model", "download"});
    ASSERT_EQ(first.exitCode, 0) << first.err;
    const std::string digest = cli({"settings", "get", "embeddingModelSHA256"}).out;
    ASSERT_EQ(digest.size(), 65u) << digest;
    EXPECT_EQ(first.out, model + "\nSHA-256 " + digest);
    EXPECT_EQ(test::readFile(model), weights);
    EXPECT_THAT(first.err, HasSubstr("Downloaded 0.2 MB of 0.2 MB (100%)"));
    EXPECT_THAT(first.err, HasSubstr("embeddingModelSHA256"));

    // Another file under the same address: refused, and the model in place stays.
    serve(std::string(200'000, 'x'));
    const auto second = cli({"model", "download"});
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_THAT(second.err,
                HasSubstr("The downloaded file does not match its expected SHA-256 digest"));
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(test::readFile(model), weights);
    EXPECT_FALSE(std::filesystem::exists(model + ".part"));
}

TEST_F(ModelDownloadCommandTest, FailuresExitWithTheirWords) {
    ASSERT_EQ(cli({"settings", "set", "embeddingModelURL", server.baseURL() + "/m"}).exitCode, 0);
    server.setHandler(test::plainResponse("no", 503, "text/plain"));
    const auto unavailable = cli({"model", "download"});
    EXPECT_EQ(unavailable.exitCode, 1);
    EXPECT_THAT(unavailable.err, HasSubstr("HTTP status 503"));
    EXPECT_FALSE(std::filesystem::exists(model));

    EXPECT_EQ(cli({"model", "fetch"}).exitCode, 2);
    EXPECT_EQ(cli({"model"}).exitCode, 2);
}

}  // namespace
}  // namespace folvane

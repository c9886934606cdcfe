#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "platform/FileBookmark.h"
#include "platform/XattrFileTagStore.h"
#include "support/TempDir.h"

namespace folvane {
namespace {

TEST(XattrFileTagStoreTest, TagsAreTheCommaSeparatedAttribute) {
    test::TempDir dir;
    const std::string path = dir / "a.pdf";
    test::writeFile(path, "%PDF-1.4");
    const XattrFileTagStore store;
    EXPECT_TRUE(store.tags(path).empty());

    const struct {
        std::string raw;
        std::vector<std::string> tags;
    } cases[] = {{"Blue", {"Blue"}},
                 {"Red,Blue", {"Red", "Blue"}},
                 {",Red,,Blue,", {"Red", "Blue"}},
                 {"", {}},
                 {"Work in progress,Blue", {"Work in progress", "Blue"}}};
    for (const auto& c : cases) {
        ASSERT_EQ(::setxattr(path.c_str(), "user.xdg.tags", c.raw.data(), c.raw.size(), 0), 0);
        EXPECT_EQ(store.tags(path), c.tags) << c.raw;
    }

    store.setTags(path, {"Green", "Blue"});
    char raw[32] = {};
    ASSERT_EQ(::getxattr(path.c_str(), "user.xdg.tags", raw, sizeof raw - 1), 10);
    EXPECT_STREQ(raw, "Green,Blue");

    EXPECT_THROW(store.tags(dir / "missing.pdf"), FileError);
    EXPECT_THROW(store.setTags(dir / "missing.pdf", {"Blue"}), FileError);
}

}  // namespace
}  // namespace folvane

#pragma once

#include "platform/FileTagStore.h"

namespace folvane {

// File tags in the extended attribute "user.xdg.tags": the tags joined by
// commas, as Linux file managers read and write them.
class XattrFileTagStore final : public FileTagStore {
  public:
    static constexpr const char* attributeName = "user.xdg.tags";

    std::vector<std::string> tags(const std::string& path) const override;
    void setTags(const std::string& path, const std::vector<std::string>& tags) const override;
};

}  // namespace folvane

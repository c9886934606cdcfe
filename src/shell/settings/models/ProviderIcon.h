#pragma once

#include <QIcon>
#include <string_view>

namespace folvane {

// The icon of a model in the Models list, by the asset name that modelIcon
// gives ("IconMistral", "IconGPT4"...): a coloured disc with the provider's
// initials, drawn here so that the list needs no image files.
QIcon providerIcon(std::string_view iconName);

}  // namespace folvane

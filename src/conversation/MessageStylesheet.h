#pragma once

#include <optional>
#include <string>

#include "store/AppFontLeading.h"

namespace folvane {

class AppPreferences;

// The style that every rendered message gets: the stylesheet text made from
// the font settings, and the names of the code themes for light and dark.
struct MessageStylesheet {
    std::string stylesheet;
    std::string lightTheme;
    std::string darkTheme;

    // From the settings, given the desktop's font size in points.
    static MessageStylesheet from(const AppPreferences& preferences, double systemFontSize);

    // Two rules, one for message text and one for code. An absent family
    // falls back to the generic one; the size is written with a fraction.
    static std::string build(const std::optional<std::string>& fontName,
                             const std::optional<std::string>& codeFontName, double size,
                             AppFontLeading leading);
};

}  // namespace folvane

#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace folvane {

// The space between lines of message text, relative to the text size.
enum class AppFontLeading { tight, standard, loose };

inline constexpr std::array allAppFontLeadings = {AppFontLeading::tight, AppFontLeading::standard,
                                                  AppFontLeading::loose};

std::string_view rawValue(AppFontLeading value);
std::optional<AppFontLeading> appFontLeadingFromRaw(std::string_view raw);

}  // namespace folvane

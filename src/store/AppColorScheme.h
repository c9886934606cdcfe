#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace folvane {

// The application's appearance: follow the desktop, or force light or dark.
enum class AppColorScheme { system, light, dark };

inline constexpr std::array allAppColorSchemes = {AppColorScheme::system, AppColorScheme::light,
                                                  AppColorScheme::dark};

std::string_view rawValue(AppColorScheme value);
std::optional<AppColorScheme> appColorSchemeFromRaw(std::string_view raw);

}  // namespace folvane

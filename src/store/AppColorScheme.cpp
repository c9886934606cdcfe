#include "store/AppColorScheme.h"

namespace folvane {

std::string_view rawValue(AppColorScheme value) {
    switch (value) {
        case AppColorScheme::system:
            return "system";
        case AppColorScheme::light:
            return "light";
        case AppColorScheme::dark:
            return "dark";
    }
    return "system";
}

std::optional<AppColorScheme> appColorSchemeFromRaw(std::string_view raw) {
    for (auto value : allAppColorSchemes) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

}  // namespace folvane

#include "store/AppFontLeading.h"

namespace folvane {

std::string_view rawValue(AppFontLeading value) {
    switch (value) {
        case AppFontLeading::tight:
            return "tight";
        case AppFontLeading::standard:
            return "standard";
        case AppFontLeading::loose:
            return "loose";
    }
    return "standard";
}

std::optional<AppFontLeading> appFontLeadingFromRaw(std::string_view raw) {
    for (auto value : allAppFontLeadings) {
        if (rawValue(value) == raw) return value;
    }
    return std::nullopt;
}

}  // namespace folvane

#include "conversation/MessageStylesheet.h"

#include <charconv>

#include "store/AppPreferences.h"
#include "store/CodeBlockColorScheme.h"

namespace folvane {

namespace {

// The shortest text that reads back as the same double, with ".0" added
// when it would otherwise look like an integer.
std::string decimal(double value) {
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string text(buffer, error == std::errc() ? end : buffer);
    if (text.find_first_of(".eEn") == std::string::npos) text += ".0";
    return text;
}

const char* lineHeight(AppFontLeading leading) {
    switch (leading) {
        case AppFontLeading::tight:
            return "1.25";
        case AppFontLeading::standard:
            return "1.5";
        case AppFontLeading::loose:
            return "1.75";
    }
    return "1.5";
}

}  // namespace

std::string MessageStylesheet::build(const std::optional<std::string>& fontName,
                                     const std::optional<std::string>& codeFontName, double size,
                                     AppFontLeading leading) {
    std::string text = "* {\n    font-family: \"";
    text += fontName.value_or("system-ui");
    text += "\", system-ui;\n    font-size: ";
    text += decimal(size);
    text += "px;\n    line-height: ";
    text += lineHeight(leading);
    text += ";\n}";
    text += "pre, code, kbd, tt, samp, pre *, code * {\n    font-family: \"";
    text += codeFontName.value_or("ui-monospace");
    text += "\", ui-monospace;\n}";
    return text;
}

MessageStylesheet MessageStylesheet::from(const AppPreferences& preferences,
                                          double systemFontSize) {
    return MessageStylesheet{
        build(preferences.fontName(), preferences.codeFontName(),
              preferences.textSize(systemFontSize), preferences.fontLeading()),
        std::string(rawValue(preferences.codeColorSchemeLight())),
        std::string(rawValue(preferences.codeColorSchemeDark())),
    };
}

}  // namespace folvane

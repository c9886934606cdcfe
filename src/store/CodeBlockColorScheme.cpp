#include "store/CodeBlockColorScheme.h"

#include <array>
#include <string>

namespace folvane {
namespace {

constexpr std::array<std::string_view, codeBlockColorSchemeCount> caseNames = {
    "defaultTheme",
    "a11yDark",
    "a11yLight",
    "agate",
    "anOldHope",
    "androidstudio",
    "arduinoLight",
    "arta",
    "ascetic",
    "atomOneDarkReasonable",
    "atomOneDark",
    "atomOneLight",
    "codepenEmbed",
    "colorBrewer",
    "dark",
    "devibeans",
    "docco",
    "far",
    "felipec",
    "foundation",
    "githubDarkDimmed",
    "githubDark",
    "github",
    "gml",
    "googlecode",
    "gradientDark",
    "gradientLight",
    "grayscale",
    "hybrid",
    "idea",
    "intellijLight",
    "irBlack",
    "isblEditorDark",
    "isblEditorLight",
    "kimbieDark",
    "kimbieLight",
    "lightfair",
    "lioshi",
    "magula",
    "monoBlue",
    "monokaiSublime",
    "monokai",
    "nightOwl",
    "nnfxDark",
    "nnfxLight",
    "nord",
    "obsidian",
    "pandaSyntaxDark",
    "pandaSyntaxLight",
    "paraisoDark",
    "paraisoLight",
    "pojoaque",
    "purebasic",
    "qtcreatorDark",
    "qtcreatorLight",
    "rainbow",
    "routeros",
    "schoolBook",
    "shadesOfPurple",
    "srcery",
    "stackoverflowDark",
    "stackoverflowLight",
    "sunburst",
    "tokyoNightDark",
    "tokyoNightLight",
    "tomorrowNightBlue",
    "tomorrowNightBright",
    "vs",
    "vs2015",
    "xcode",
    "xt256",
};

static_assert(static_cast<std::size_t>(CodeBlockColorScheme::xt256) + 1 ==
              codeBlockColorSchemeCount);

// A case name in lower case with a hyphen before each letter that was upper case.
std::string styleFileName(std::string_view name) {
    std::string raw;
    for (char c : name) {
        if (c >= 'A' && c <= 'Z') {
            raw += '-';
            raw += static_cast<char>(c - 'A' + 'a');
        } else {
            raw += c;
        }
    }
    return raw;
}

const std::array<std::string, codeBlockColorSchemeCount>& rawValues() {
    static const auto values = [] {
        std::array<std::string, codeBlockColorSchemeCount> result;
        for (std::size_t i = 0; i < codeBlockColorSchemeCount; ++i) {
            result[i] = styleFileName(caseNames[i]);
        }
        result[static_cast<std::size_t>(CodeBlockColorScheme::defaultTheme)] = "default";
        return result;
    }();
    return values;
}

std::size_t indexOf(CodeBlockColorScheme value) {
    const auto index = static_cast<std::size_t>(value);
    return index < codeBlockColorSchemeCount ? index : 0;
}

}  // namespace

std::string_view caseName(CodeBlockColorScheme value) {
    return caseNames[indexOf(value)];
}

std::string_view rawValue(CodeBlockColorScheme value) {
    return rawValues()[indexOf(value)];
}

std::optional<CodeBlockColorScheme> codeBlockColorSchemeFromRaw(std::string_view raw) {
    const auto& values = rawValues();
    for (std::size_t i = 0; i < codeBlockColorSchemeCount; ++i) {
        if (values[i] == raw) return codeBlockColorSchemeAt(i);
    }
    return std::nullopt;
}

}  // namespace folvane

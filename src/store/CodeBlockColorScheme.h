#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace folvane {

// The highlighting style of code blocks in messages. Each case names a style
// sheet of the web page; the raw string is that sheet's file name.
enum class CodeBlockColorScheme {
    defaultTheme,
    a11yDark,
    a11yLight,
    agate,
    anOldHope,
    androidstudio,
    arduinoLight,
    arta,
    ascetic,
    atomOneDarkReasonable,
    atomOneDark,
    atomOneLight,
    codepenEmbed,
    colorBrewer,
    dark,
    devibeans,
    docco,
    far,
    felipec,
    foundation,
    githubDarkDimmed,
    githubDark,
    github,
    gml,
    googlecode,
    gradientDark,
    gradientLight,
    grayscale,
    hybrid,
    idea,
    intellijLight,
    irBlack,
    isblEditorDark,
    isblEditorLight,
    kimbieDark,
    kimbieLight,
    lightfair,
    lioshi,
    magula,
    monoBlue,
    monokaiSublime,
    monokai,
    nightOwl,
    nnfxDark,
    nnfxLight,
    nord,
    obsidian,
    pandaSyntaxDark,
    pandaSyntaxLight,
    paraisoDark,
    paraisoLight,
    pojoaque,
    purebasic,
    qtcreatorDark,
    qtcreatorLight,
    rainbow,
    routeros,
    schoolBook,
    shadesOfPurple,
    srcery,
    stackoverflowDark,
    stackoverflowLight,
    sunburst,
    tokyoNightDark,
    tokyoNightLight,
    tomorrowNightBlue,
    tomorrowNightBright,
    vs,
    vs2015,
    xcode,
    xt256,
};

inline constexpr std::size_t codeBlockColorSchemeCount = 71;

// The case at a position of the declaration order; index < codeBlockColorSchemeCount.
constexpr CodeBlockColorScheme codeBlockColorSchemeAt(std::size_t index) {
    return static_cast<CodeBlockColorScheme>(index);
}

// The case's name as declared, e.g. "atomOneDarkReasonable".
std::string_view caseName(CodeBlockColorScheme value);
// The style's file name, e.g. "atom-one-dark-reasonable"; "default" for defaultTheme.
std::string_view rawValue(CodeBlockColorScheme value);
std::optional<CodeBlockColorScheme> codeBlockColorSchemeFromRaw(std::string_view raw);

}  // namespace folvane

#include "shell/app/ColorSchemePalette.h"

#include <QApplication>
#include <QStyle>

#include "store/AppPreferences.h"

namespace folvane {

namespace {

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

}  // namespace

ColorSchemePalette::ColorSchemePalette(AppPreferences& preferences, QObject* parent)
    : QObject(parent), preferences_(preferences), desktopPalette_(QApplication::palette()) {
    subscription_ = preferences_.subscribe([this](std::string_view key) {
        if (key == "colorScheme") apply();
    });
    apply();
}

QPalette ColorSchemePalette::darkPalette() {
    const QColor window(0x2b, 0x2b, 0x2b), base(0x1e, 0x1e, 0x1e), text(0xe6, 0xe6, 0xe6);
    const QColor button(0x35, 0x35, 0x35), dimmed(0x80, 0x80, 0x80);
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, dimmed);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x4a));
    palette.setColor(QPalette::Midlight, QColor(0x40, 0x40, 0x40));
    palette.setColor(QPalette::Mid, QColor(0x30, 0x30, 0x30));
    palette.setColor(QPalette::Dark, QColor(0x20, 0x20, 0x20));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x82, 0xda));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x5a, 0xa0, 0xff));
    palette.setColor(QPalette::Disabled, QPalette::Text, dimmed);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, dimmed);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, dimmed);
    return palette;
}

void ColorSchemePalette::apply() {
    QPalette palette = desktopPalette_;
    switch (preferences_.colorScheme()) {
        case AppColorScheme::system:
            break;
        case AppColorScheme::dark:
            if (!isDark(desktopPalette_)) palette = darkPalette();
            break;
        case AppColorScheme::light:
            if (isDark(desktopPalette_)) palette = QApplication::style()->standardPalette();
            break;
    }
    QApplication::setPalette(palette);
}

}  // namespace folvane

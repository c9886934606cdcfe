#include "shell/settings/models/ProviderIcon.h"

#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <array>
#include <cstring>

namespace folvane {
namespace {

struct IconLook {
    std::string_view name;
    const char* initials;
    QRgb colour;
};

constexpr std::array<IconLook, 13> looks{{
    {"IconGPT3", "3.5", 0xff10a37f},
    {"IconGPT4", "4", 0xff7c4dff},
    {"IconMistral", "M", 0xfffa520f},
    {"IconPerplexity", "P", 0xff1f8a8a},
    {"IconMeta", "Me", 0xff0866ff},
    {"IconTogether", "T", 0xff0f6fff},
    {"IconFolvane", "F", 0xff5b6b7a},
    {"IconAnthropic", "A", 0xffc2714f},
    {"IconOllama", "O", 0xff2b2b2b},
    {"IconGroq", "G", 0xfff55036},
    {"IconGemini", "Ge", 0xff4285f4},
    {"IconGoogle", "G", 0xff34a853},
    {"IconOpenRouter", "OR", 0xff6467f2},
}};

QPixmap disc(const IconLook& look, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(look.colour));
    painter.drawEllipse(QRectF(0.5, 0.5, size - 1.0, size - 1.0));
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(std::max(6, int(size * (std::strlen(look.initials) > 1 ? 0.36 : 0.5))));
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRect(0, 0, size, size), Qt::AlignCenter, QString::fromLatin1(look.initials));
    return pixmap;
}

}  // namespace

QIcon providerIcon(std::string_view iconName) {
    const IconLook* look = &looks.front();
    for (const auto& candidate : looks) {
        if (candidate.name == iconName) look = &candidate;
    }
    QIcon icon;
    for (int size : {16, 24, 32, 48}) icon.addPixmap(disc(*look, size));
    return icon;
}

}  // namespace folvane

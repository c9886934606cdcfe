#include "shell/app/QtClipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace folvane {

void QtClipboard::setText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

}  // namespace folvane

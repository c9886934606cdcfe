#pragma once

#include <QObject>
#include <QPalette>

#include "runtime/ObserverList.h"

namespace folvane {

class AppPreferences;

// Keeps the application's palette in step with the colorScheme setting: the
// desktop's own palette for "system", a light or a dark one when the user
// chose. Every window follows a change at once.
class ColorSchemePalette final : public QObject {
    Q_OBJECT
  public:
    explicit ColorSchemePalette(AppPreferences& preferences, QObject* parent = nullptr);

    static QPalette darkPalette();

  private:
    void apply();

    AppPreferences& preferences_;
    const QPalette desktopPalette_;
    Subscription subscription_;
};

}  // namespace folvane

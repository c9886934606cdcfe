#include <QApplication>
#include <QtTest>

#include "shell/app/ColorSchemePalette.h"
#include "store/AppPreferences.h"

using namespace folvane;

class ColorSchemePaletteTest : public QObject {
    Q_OBJECT
  private slots:
    void everyWindowFollowsTheSettingAtOnceAndSystemGivesTheDesktopBack() {
        const QColor desktopWindow = QApplication::palette().color(QPalette::Window);
        AppPreferences preferences;
        const ColorSchemePalette palette(preferences);
        QWidget window;
        // The palette reaches the widgets by posted events.
        const auto lightness = [&] {
            QCoreApplication::sendPostedEvents();
            return window.palette().color(QPalette::Window).lightness();
        };

        preferences.setColorScheme(AppColorScheme::dark);
        QVERIFY(lightness() < 128);
        QVERIFY(window.palette().color(QPalette::WindowText).lightness() > 128);
        preferences.setColorScheme(AppColorScheme::light);
        QVERIFY(lightness() >= 128);
        preferences.setColorScheme(AppColorScheme::system);
        QCOMPARE(lightness(), desktopWindow.lightness());
    }
};

QTEST_MAIN(ColorSchemePaletteTest)
#include "ColorSchemePaletteTest.moc"

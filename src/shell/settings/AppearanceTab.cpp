#include "shell/settings/AppearanceTab.h"

#include <QApplication>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>

#include "store/AppPreferences.h"

namespace folvane {
namespace {

// How far the text size goes each way, in steps of 2 points.
constexpr int smallestStep = -3;
constexpr int largestStep = 10;

const QString systemFont = QStringLiteral("System Font");

QComboBox* makeFontPicker(const QString& name, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setAccessibleName(name);
    box->addItem(systemFont, QString());
    for (const QString& family : QFontDatabase::families()) {
        if (QFontDatabase::isPrivateFamily(family)) continue;
        box->addItem(family, family);
    }
    box->setMaxVisibleItems(20);
    return box;
}

// Shows a family, adding it when the desktop does not have it (a font that was
// removed since, or set from the command line).
void showFamily(QComboBox* box, const std::optional<std::string>& family) {
    const QSignalBlocker blocker(box);
    const QString wanted = family ? QString::fromStdString(*family) : QString();
    int index = box->findData(wanted);
    if (index < 0) {
        box->addItem(wanted, wanted);
        index = box->count() - 1;
    }
    box->setCurrentIndex(index);
}

std::optional<std::string> chosenFamily(QComboBox* box, int index) {
    const QString family = box->itemData(index).toString();
    if (family.isEmpty()) return std::nullopt;
    return family.toStdString();
}

QComboBox* makeThemePicker(const QString& name, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setAccessibleName(name);
    for (std::size_t i = 0; i < codeBlockColorSchemeCount; ++i) {
        const CodeBlockColorScheme scheme = codeBlockColorSchemeAt(i);
        box->addItem(AppearanceTab::themeTitle(rawValue(scheme)), int(i));
    }
    box->setMaxVisibleItems(20);
    return box;
}

void showTheme(QComboBox* box, CodeBlockColorScheme scheme) {
    const QSignalBlocker blocker(box);
    box->setCurrentIndex(box->findData(int(scheme)));
}

}  // namespace

QString AppearanceTab::themeTitle(std::string_view rawValue) {
    // Words that are names, spelled as their owners spell them.
    static const QHash<QString, QString> names = {
        {"androidstudio", "Android Studio"},
        {"codepen", "CodePen"},
        {"github", "GitHub"},
        {"gml", "GML"},
        {"googlecode", "Google Code"},
        {"intellij", "IntelliJ"},
        {"ir", "IR"},
        {"isbl", "ISBL"},
        {"nnfx", "NNFX"},
        {"purebasic", "PureBASIC"},
        {"qtcreator", "Qt Creator"},
        {"routeros", "RouterOS"},
        {"stackoverflow", "Stack Overflow"},
        {"vs", "VS"},
        {"vs2015", "VS 2015"},
        {"xt256", "XT256"},
    };
    QStringList words = QString::fromUtf8(rawValue.data(), qsizetype(rawValue.size()))
                            .split(QLatin1Char('-'), Qt::SkipEmptyParts);
    for (QString& word : words) {
        const auto name = names.constFind(word);
        if (name != names.constEnd()) {
            word = *name;
        } else {
            word[0] = word[0].toUpper();
        }
    }
    return words.join(QLatin1Char(' '));
}

AppearanceTab::AppearanceTab(AppPreferences& preferences, QWidget* parent)
    : SettingsPage(preferences, parent) {
    QFormLayout* form = makeForm(this);

    auto* scheme = new QComboBox(this);
    scheme->setAccessibleName(QStringLiteral("Color Scheme"));
    scheme->addItem(QStringLiteral("System"), int(AppColorScheme::system));
    scheme->addItem(QStringLiteral("Light"), int(AppColorScheme::light));
    scheme->addItem(QStringLiteral("Dark"), int(AppColorScheme::dark));
    addRow(form, QStringLiteral("Color Scheme:"), scheme);
    connect(scheme, &QComboBox::activated, this, [this, scheme](int index) {
        const auto value = AppColorScheme(scheme->itemData(index).toInt());
        write([&] { this->preferences().setColorScheme(value); });
    });
    follow({Setting::colorScheme}, [this, scheme] {
        const QSignalBlocker blocker(scheme);
        scheme->setCurrentIndex(scheme->findData(int(this->preferences().colorScheme())));
    });

    // Text size: steps of 2 points over the desktop's size, and back to it.
    auto* sizeRow = new QWidget(this);
    sizeRow->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    auto* sizeLayout = new QHBoxLayout(sizeRow);
    sizeLayout->setContentsMargins(0, 0, 0, 0);
    auto* size = new QSlider(Qt::Horizontal, sizeRow);
    size->setAccessibleName(QStringLiteral("Text Size"));
    size->setRange(smallestStep, largestStep);
    size->setPageStep(1);
    size->setTickPosition(QSlider::TicksBelow);
    size->setTickInterval(1);
    size->setFocusPolicy(Qt::StrongFocus);
    auto* points = new QLabel(sizeRow);
    points->setMinimumWidth(points->fontMetrics().horizontalAdvance(QStringLiteral("00.0 pt  ")));
    auto* reset = new QPushButton(QStringLiteral("Reset"), sizeRow);
    reset->setAccessibleName(reset->text());
    reset->setToolTip(QStringLiteral("Use the desktop's text size"));
    sizeLayout->addWidget(size, 1);
    sizeLayout->addWidget(points);
    sizeLayout->addWidget(reset);
    addRow(form, QStringLiteral("Text Size:"),
           withHelp(sizeRow, QStringLiteral("The size of message text; each step is 2 points.")),
           reset);
    connect(size, &QSlider::valueChanged, this, [this](int steps) {
        write([&] { this->preferences().setTextSizeAdjustment(steps); });
    });
    connect(reset, &QPushButton::clicked, this,
            [this] { write([&] { this->preferences().setTextSizeAdjustment(0); }); });
    follow({Setting::textSizeAdjustment}, [this, size, points, reset] {
        const int steps = this->preferences().textSizeAdjustment();
        {
            const QSignalBlocker blocker(size);
            // A size set elsewhere beyond the slider's ends still shows.
            size->setRange(std::min(smallestStep, steps), std::max(largestStep, steps));
            size->setValue(steps);
        }
        const double pointSize = this->preferences().textSize(QApplication::font().pointSizeF());
        points->setText(QStringLiteral("%1 pt").arg(pointSize));
        size->setAccessibleDescription(
            QStringLiteral("%1 pt, %2 steps from the desktop's size").arg(pointSize).arg(steps));
        reset->setEnabled(steps != 0);
    });

    auto* leading = new QComboBox(this);
    leading->setAccessibleName(QStringLiteral("Line Spacing"));
    leading->addItem(QStringLiteral("Tight"), int(AppFontLeading::tight));
    leading->addItem(QStringLiteral("Standard"), int(AppFontLeading::standard));
    leading->addItem(QStringLiteral("Loose"), int(AppFontLeading::loose));
    addRow(form, QStringLiteral("Line Spacing:"), leading);
    connect(leading, &QComboBox::activated, this, [this, leading](int index) {
        const auto value = AppFontLeading(leading->itemData(index).toInt());
        write([&] { this->preferences().setFontLeading(value); });
    });
    follow({Setting::fontLeading}, [this, leading] {
        const QSignalBlocker blocker(leading);
        leading->setCurrentIndex(leading->findData(int(this->preferences().fontLeading())));
    });

    auto* font = makeFontPicker(QStringLiteral("Message Font"), this);
    addRow(form, QStringLiteral("Message Font:"), font);
    connect(font, &QComboBox::activated, this, [this, font](int index) {
        const auto family = chosenFamily(font, index);
        write([&] { this->preferences().setFontName(family); });
    });
    follow({Setting::fontName}, [this, font] { showFamily(font, this->preferences().fontName()); });

    auto* codeFont = makeFontPicker(QStringLiteral("Code Font"), this);
    addRow(form, QStringLiteral("Code Font:"), codeFont);
    connect(codeFont, &QComboBox::activated, this, [this, codeFont](int index) {
        const auto family = chosenFamily(codeFont, index);
        write([&] { this->preferences().setCodeFontName(family); });
    });
    follow({Setting::codeFontName},
           [this, codeFont] { showFamily(codeFont, this->preferences().codeFontName()); });

    auto* lightTheme = makeThemePicker(QStringLiteral("Code Theme in Light"), this);
    addRow(form, QStringLiteral("Code Theme in Light:"), lightTheme);
    connect(lightTheme, &QComboBox::activated, this, [this, lightTheme](int index) {
        const auto value = codeBlockColorSchemeAt(std::size_t(lightTheme->itemData(index).toInt()));
        write([&] { this->preferences().setCodeColorSchemeLight(value); });
    });
    follow({Setting::codeColorSchemeLight}, [this, lightTheme] {
        showTheme(lightTheme, this->preferences().codeColorSchemeLight());
    });

    auto* darkTheme = makeThemePicker(QStringLiteral("Code Theme in Dark"), this);
    addRow(form, QStringLiteral("Code Theme in Dark:"), darkTheme);
    connect(darkTheme, &QComboBox::activated, this, [this, darkTheme](int index) {
        const auto value = codeBlockColorSchemeAt(std::size_t(darkTheme->itemData(index).toInt()));
        write([&] { this->preferences().setCodeColorSchemeDark(value); });
    });
    follow({Setting::codeColorSchemeDark},
           [this, darkTheme] { showTheme(darkTheme, this->preferences().codeColorSchemeDark()); });
}

}  // namespace folvane

#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSet>
#include <QtTest>
#include <nlohmann/json.hpp>

#include "conversation/ProviderFormViewModel.h"
#include "support/LoopbackServer.h"

namespace folvane::test {

inline const char* chatAnswer =
    R"({"id":"c1","object":"chat.completion","created":1,"model":"m","choices":[{"index":0,"message":{"role":"assistant","content":"Hi"},"finish_reason":"stop"}]})";

inline std::string openAIError(const std::string& message, const std::string& type) {
    return nlohmann::json{{"error", {{"message", message}, {"type", type}, {"code", nullptr}}}}
        .dump();
}

inline const std::string quotaWords =
    "You exceeded your current quota, please check your plan and billing details. For more "
    "information on this error, read the docs.";

// Every provider's checks and lists go to the loopback server.
inline ProviderEndpoints loopbackEndpoints(const LoopbackServer& server) {
    const std::string base = server.baseURL();
    return {base, base, base, base, base, base, base, base};
}

inline bool isControl(QWidget* widget) {
    return qobject_cast<QAbstractButton*>(widget) || qobject_cast<QComboBox*>(widget) ||
           qobject_cast<QAbstractSpinBox*>(widget) || qobject_cast<QLineEdit*>(widget) ||
           qobject_cast<QAbstractItemView*>(widget);
}

// The texts a user sees in the widget: labels, placeholders, button texts.
inline QStringList shownTexts(QWidget* root) {
    QStringList texts;
    for (auto* label : root->findChildren<QLabel*>())
        if (!label->isHidden()) texts << label->text();
    for (auto* field : root->findChildren<QLineEdit*>())
        texts << field->placeholderText() << field->text();
    for (auto* button : root->findChildren<QAbstractButton*>())
        if (!button->isHidden()) texts << button->text();
    return texts;
}

// Every visible, enabled control in the window has an accessible name and is
// reached from the first one by pressing Tab.
inline void verifyControlsNamedAndReachable(QWidget* window, int minimum) {
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
    QList<QWidget*> controls;
    for (auto* widget : window->findChildren<QWidget*>()) {
        if (!isControl(widget) || !widget->isVisible() || !widget->isEnabled()) continue;
        // The line edit inside an editable picker or a spin box is reached through it.
        const auto* owner = widget->parentWidget();
        if (qobject_cast<QLineEdit*>(widget) &&
            (qobject_cast<const QComboBox*>(owner) || qobject_cast<const QAbstractSpinBox*>(owner)))
            continue;
        auto* button = qobject_cast<QAbstractButton*>(widget);
        const QString name = !widget->accessibleName().isEmpty() ? widget->accessibleName()
                             : button                            ? button->text()
                                                                 : QString();
        QVERIFY2(!name.isEmpty(), widget->metaObject()->className());
        QVERIFY2(widget->focusPolicy() & Qt::TabFocus, qPrintable(name));
        controls << widget;
    }
    QVERIFY2(controls.size() >= minimum, qPrintable(QString::number(controls.size())));
    QSet<QWidget*> reached;
    controls.front()->setFocus(Qt::TabFocusReason);
    for (int i = 0; i < controls.size() * 3; ++i) {
        QWidget* focus = QApplication::focusWidget();
        QVERIFY(focus);
        reached << focus;
        if (focus->parentWidget()) reached << focus->parentWidget();
        QTest::keyClick(focus, Qt::Key_Tab);
    }
    for (auto* control : controls) {
        QVERIFY2(reached.contains(control) ||
                     (control->focusProxy() && reached.contains(control->focusProxy())),
                 qPrintable(control->accessibleName()));
    }
}

}  // namespace folvane::test

#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/ObserverList.h"
#include "store/SettingDescriptor.h"

class QButtonGroup;
class QCheckBox;
class QFormLayout;
class QLabel;

namespace folvane {

class AppPreferences;

// What every settings tab shares. A control shows its setting and writes it at
// once through the preferences; a change made anywhere else (another window,
// the command line) moves the control. A write that the store refuses is shown
// in the user's words, and the control goes back to the value that is stored.
class SettingsPage : public QWidget {
    Q_OBJECT
  public:
    explicit SettingsPage(AppPreferences& preferences, QWidget* parent = nullptr);

    // A small, dimmed note under a control, also given to the control as its
    // accessible description.
    static QLabel* makeHelp(const QString& text, QWidget* describes, QWidget* parent);
    // Tab stops once in a group of choices: at the chosen one, from where the
    // arrow keys move between them. Call it whenever the choice is shown.
    static void makeTabStopAtChoice(QButtonGroup* group);

  protected:
    // One of a group of choices, with its note under it.
    struct Choice {
        QString text;
        QString note;
        int id;
    };

    AppPreferences& preferences() const { return preferences_; }

    // Runs `show` now and again whenever one of `settings` changes. `show`
    // sets its controls with their signals blocked.
    void follow(std::vector<Setting> settings, std::function<void()> show);
    // Runs a write. A SettingsError goes to the user in a message box; then,
    // with `restoreOnFailure`, every control shows the stored values again (a text
    // field keeps what the user typed and passes false). True when it wrote.
    bool write(const std::function<void()>& change, bool restoreOnFailure = true);
    // Every control shows its stored value again.
    void showStored();

    // A form with its labels to the right, as every tab lays out its rows.
    QFormLayout* makeForm(QWidget* parent);
    // A check box named by its text, bound to a boolean setting, with its help
    // under it when there is one.
    QCheckBox* addToggle(QFormLayout* form, const QString& text, Setting setting,
                         const QString& help = {});
    // A row of the form: its label, right-aligned and centred on the control
    // (the field itself, or the first control in it) and naming it.
    QLabel* addRow(QFormLayout* form, const QString& text, QWidget* field,
                   QWidget* control = nullptr);
    // Radio buttons named by their text, each with its note, in a widget of
    // their own (the group's parent); a button's id in the group is its
    // choice's id.
    QButtonGroup* makeChoices(const std::vector<Choice>& choices);
    // The control with its help note under it, lined up with a check box's
    // text when it describes one.
    QWidget* withHelp(QWidget* control, const QString& help);

  private:
    struct Follower {
        std::vector<std::string> keys;
        std::function<void()> show;
    };

    void showChange(std::string_view key);

    AppPreferences& preferences_;
    std::vector<Follower> followers_;
    Subscription subscription_;
};

}  // namespace folvane

#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "conversation/ProviderFormViewModel.h"
#include "providers/ModelCatalogue.h"
#include "runtime/ObserverList.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QMessageBox;
class QProgressBar;
class QPushButton;

namespace folvane {

class AppPreferences;
class ErrorPopover;

using ProviderFormRef = ViewModel<ProviderFormState, ProviderFormInput>;

// What every provider form of the Models tab shares: the name and key fields
// (a saved key shows masked, with "Change"), the picker "Default Model:", the
// save button with its busy indicator, "Set as Default" or the mark
// "DEFAULT", the error popover and the quota alert. A form adds its rows in
// its constructor, in order, and calls finish() last.
//
// The fields keep what the user types; the view model only hears of them when
// the save button (or "Refresh") sends them.
class ProviderFormView : public QWidget {
    Q_OBJECT
  public:
    ~ProviderFormView() override;

    const ProviderFormState& state() const;
    // The row the form edits; 0 for the OpenAI form.
    int64_t rowId() const;
    // The fields as typed, as the save button sends them.
    virtual ProviderFormFields fields() const;
    void send(ProviderFormInput input);

    // Null when the form has no such control.
    QLineEdit* nameField() const { return name_; }
    QLineEdit* endpointField() const { return endpoint_; }
    QLineEdit* keyField() const { return key_; }
    QPushButton* changeKeyButton() const { return changeKey_; }
    QComboBox* modelPicker() const { return model_; }
    QLineEdit* modelField() const { return modelText_; }
    QLineEdit* contextField() const { return context_; }
    QCheckBox* streamField() const { return stream_; }
    QPushButton* refreshButton() const { return refresh_; }
    QPushButton* saveButton() const { return save_; }
    QPushButton* setDefaultButton() const { return setDefault_; }
    QLabel* defaultMark() const { return defaultMark_; }
    QProgressBar* busyIndicator() const { return busy_; }
    // The popover while it shows; null otherwise.
    ErrorPopover* visibleErrorPopover() const;
    // The quota alert while it is open; null otherwise.
    QMessageBox* quotaAlert() const { return quotaAlert_; }

  protected:
    ProviderFormView(std::unique_ptr<ProviderFormRef> viewModel, AppPreferences& preferences,
                     const QString& title, QWidget* parent);

    AppPreferences& preferences() const { return preferences_; }
    // The row's provider, or "OpenAI" for the OpenAI form.
    std::string provider() const;
    QFormLayout* form() const { return form_; }

    // Each adds one row to the form, labelled; the field's accessible name is
    // its label without the colon and the asterisk.
    void addRow(const QString& label, QWidget* field);
    QLineEdit* addNameField(const QString& label = QStringLiteral("Name:"));
    QLineEdit* addEndpointField(const QString& label, const QString& text,
                                const QString& placeholder = {});
    QLineEdit* addKeyField(const QString& hint, const QString& placeholder = {});
    // The picker "Default Model:" over these entries, the given one chosen.
    // With withRefresh a "Refresh" button beside it asks for the remote list.
    QComboBox* addModelPicker(const std::vector<ModelSection>& sections,
                              const std::string& selected, bool withRefresh = false);
    // A free-text model id, for providers without a list.
    QLineEdit* addModelField(const QString& label, const QString& text,
                             const QString& placeholder = {});
    QLineEdit* addContextField(const QString& text, const QString& placeholder = {});
    QCheckBox* addStreamField(const QString& label, bool checked);
    // Small grey text under the row above.
    QLabel* addHint(const QString& text);
    // A note across the whole form.
    QLabel* addNote(const QString& text);
    // The endpoint that a form without an endpoint field sends.
    void setFixedEndpoint(std::string endpoint) { fixedEndpoint_ = std::move(endpoint); }
    // Offers these entries in the model picker, keeping the current choice.
    void setModelChoices(const std::vector<ModelSection>& sections);
    // The model the picker (or the model field) holds.
    std::string chosenModel() const;

    // The buttons, then the first render and the subscription. Last in each
    // form's constructor.
    void finish();
    // The picker's entries as the settings hold them now; read again whenever
    // a custom model or a stored catalogue changes. None: the picker stays.
    virtual std::vector<ModelSection> modelChoices() const { return {}; }
    // The row's model, or the form's default when the row has none yet.
    std::string rowModelId(const std::string& fallback) const;
    // The row's endpoint without its scheme, or the fallback when it is empty.
    QString rowHost(const std::string& fallback) const;
    // A form's own part of each render.
    virtual void renderFields(const ProviderFormState& state) { (void)state; }
    // "Set as Default" pressed.
    virtual void setAsDefault();

  private:
    void render();
    void renderKey(const ProviderFormState& state);
    void renderError(const ProviderFormState& state);

    std::unique_ptr<ProviderFormRef> viewModel_;
    AppPreferences& preferences_;
    QFormLayout* form_;
    QLineEdit* name_ = nullptr;
    QLineEdit* endpoint_ = nullptr;
    QLineEdit* key_ = nullptr;
    QPushButton* changeKey_ = nullptr;
    QString keyPlaceholder_;
    QComboBox* model_ = nullptr;
    QLineEdit* modelText_ = nullptr;
    QLineEdit* context_ = nullptr;
    QCheckBox* stream_ = nullptr;
    QPushButton* refresh_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* setDefault_ = nullptr;
    QLabel* defaultMark_ = nullptr;
    QProgressBar* busy_ = nullptr;
    ErrorPopover* popover_ = nullptr;
    QPointer<QMessageBox> quotaAlert_;
    std::string fixedEndpoint_;
    // The key field is open for typing: no key is saved, or "Change" was pressed.
    bool editingKey_ = true;
    bool wasChecking_ = false;
    bool hadSavedKey_ = false;
    std::vector<std::string> shownAvailableModels_;
    Subscription subscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane

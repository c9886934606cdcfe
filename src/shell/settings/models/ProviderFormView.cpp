#include "shell/settings/models/ProviderFormView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include "providers/ModelNames.h"
#include "shell/settings/models/ErrorPopover.h"
#include "shell/settings/models/QuotaAlert.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr int modelRole = Qt::UserRole;

QString accessibleLabel(QString label) {
    return label.remove(QLatin1Char(':')).remove(QLatin1Char('*')).trimmed();
}

QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

ProviderFormView::ProviderFormView(std::unique_ptr<ProviderFormRef> viewModel,
                                   AppPreferences& preferences, const QString& title,
                                   QWidget* parent)
    : QWidget(parent), viewModel_(std::move(viewModel)), preferences_(preferences) {
    setAccessibleName(title);
    auto* outer = new QVBoxLayout(this);
    auto* heading = new QLabel(title, this);
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.25);
    heading->setFont(font);
    outer->addWidget(heading);
    form_ = new QFormLayout;
    form_->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form_->setRowWrapPolicy(QFormLayout::DontWrapRows);
    outer->addLayout(form_);
    popover_ = new ErrorPopover(this);
    connect(popover_, &ErrorPopover::dismissed, this,
            [this] { send(provider_form_input::DismissError{}); });
}

ProviderFormView::~ProviderFormView() {
    // Nothing reaches the view model while the children go.
    subscription_.cancel();
    preferencesSubscription_.cancel();
    popover_->disconnect(this);
    if (quotaAlert_) quotaAlert_->disconnect();
}

const ProviderFormState& ProviderFormView::state() const {
    return viewModel_->state();
}

int64_t ProviderFormView::rowId() const {
    const auto& model = state().model;
    return model ? model->id.value_or(0) : 0;
}

std::string ProviderFormView::provider() const {
    const auto& model = state().model;
    return model ? model->provider : std::string(providers::openAI);
}

void ProviderFormView::send(ProviderFormInput input) {
    viewModel_->trigger(std::move(input));
}

ErrorPopover* ProviderFormView::visibleErrorPopover() const {
    return popover_->isVisible() ? popover_ : nullptr;
}

void ProviderFormView::addRow(const QString& label, QWidget* field) {
    if (field->accessibleName().isEmpty()) field->setAccessibleName(accessibleLabel(label));
    form_->addRow(label, field);
}

QLineEdit* ProviderFormView::addNameField(const QString& label) {
    name_ = new QLineEdit(this);
    if (const auto& model = state().model) name_->setText(qs(model->name));
    addRow(label, name_);
    return name_;
}

QLineEdit* ProviderFormView::addEndpointField(const QString& label, const QString& text,
                                              const QString& placeholder) {
    endpoint_ = new QLineEdit(text, this);
    endpoint_->setPlaceholderText(placeholder);
    addRow(label, endpoint_);
    return endpoint_;
}

QLineEdit* ProviderFormView::addKeyField(const QString& hint, const QString& placeholder) {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    key_ = new QLineEdit(row);
    key_->setEchoMode(QLineEdit::Password);
    key_->setAccessibleName(QStringLiteral("API Key"));
    keyPlaceholder_ = placeholder;
    key_->setPlaceholderText(placeholder);
    layout->addWidget(key_, 1);
    changeKey_ = new QPushButton(QStringLiteral("Change"), row);
    changeKey_->setAccessibleName(changeKey_->text());
    changeKey_->setAccessibleDescription(QStringLiteral("Type a new API key"));
    changeKey_->hide();
    layout->addWidget(changeKey_);
    connect(changeKey_, &QPushButton::clicked, this, [this] {
        editingKey_ = true;
        renderKey(state());
        key_->setFocus(Qt::OtherFocusReason);
    });
    form_->addRow(QStringLiteral("API Key:"), row);
    if (!hint.isEmpty()) addHint(hint);
    return key_;
}

QComboBox* ProviderFormView::addModelPicker(const std::vector<ModelSection>& sections,
                                            const std::string& selected, bool withRefresh) {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    model_ = new QComboBox(row);
    model_->setAccessibleName(QStringLiteral("Default Model"));
    model_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    layout->addWidget(model_, 1);
    if (withRefresh) {
        refresh_ = new QPushButton(QStringLiteral("Refresh"), row);
        refresh_->setAccessibleName(refresh_->text());
        layout->addWidget(refresh_);
        connect(refresh_, &QPushButton::clicked, this,
                [this] { send(provider_form_input::RefreshModels{fields()}); });
    }
    form_->addRow(QStringLiteral("Default Model:"), row);
    setModelChoices(sections);
    const int index = model_->findData(qs(selected), modelRole);
    if (index >= 0) {
        model_->setCurrentIndex(index);
    } else if (!selected.empty()) {
        // A model that the list does not offer still shows as chosen.
        model_->addItem(qs(modelDisplayName(selected, provider())), qs(selected));
        model_->setCurrentIndex(model_->count() - 1);
    }
    return model_;
}

void ProviderFormView::setModelChoices(const std::vector<ModelSection>& sections) {
    const std::string current = model_->count() > 0 ? chosenModel() : std::string();
    const std::string shownProvider = provider();
    auto* items = new QStandardItemModel(model_);
    int firstModel = -1;
    for (const auto& section : sections) {
        if (!section.title.empty()) {
            auto* heading = new QStandardItem(qs(section.title));
            heading->setFlags(Qt::NoItemFlags);
            QFont font = heading->font();
            font.setBold(true);
            heading->setFont(font);
            items->appendRow(heading);
        }
        for (const auto& model : section.models) {
            auto* item = new QStandardItem(qs(modelDisplayName(model, shownProvider)));
            item->setData(qs(model), modelRole);
            items->appendRow(item);
            if (firstModel < 0) firstModel = items->rowCount() - 1;
        }
    }
    const QString editText = model_->isEditable() ? model_->currentText() : QString();
    model_->setModel(items);
    int index = current.empty() ? -1 : model_->findData(qs(current), modelRole);
    if (index < 0 && !current.empty()) {
        auto* item = new QStandardItem(qs(modelDisplayName(current, shownProvider)));
        item->setData(qs(current), modelRole);
        items->appendRow(item);
        index = items->rowCount() - 1;
    }
    model_->setCurrentIndex(index >= 0 ? index : firstModel);
    if (model_->isEditable() && index < 0 && !editText.isEmpty()) model_->setEditText(editText);
}

std::string ProviderFormView::chosenModel() const {
    if (modelText_) return modelText_->text().trimmed().toStdString();
    if (!model_) return {};
    const int index = model_->currentIndex();
    if (model_->isEditable() && (index < 0 || model_->itemText(index) != model_->currentText()))
        return model_->currentText().trimmed().toStdString();
    return index < 0 ? std::string() : model_->itemData(index, modelRole).toString().toStdString();
}

QLineEdit* ProviderFormView::addModelField(const QString& label, const QString& text,
                                           const QString& placeholder) {
    modelText_ = new QLineEdit(text, this);
    modelText_->setPlaceholderText(placeholder);
    addRow(label, modelText_);
    return modelText_;
}

QLineEdit* ProviderFormView::addContextField(const QString& text, const QString& placeholder) {
    context_ = new QLineEdit(text, this);
    context_->setPlaceholderText(placeholder);
    addRow(QStringLiteral("Context Length:"), context_);
    return context_;
}

QCheckBox* ProviderFormView::addStreamField(const QString& label, bool checked) {
    stream_ = new QCheckBox(label, this);
    stream_->setAccessibleName(label);
    stream_->setChecked(checked);
    form_->addRow(QString(), stream_);
    return stream_;
}

QLabel* ProviderFormView::addHint(const QString& text) {
    auto* hint = new QLabel(text, this);
    hint->setTextFormat(Qt::PlainText);
    hint->setForegroundRole(QPalette::PlaceholderText);
    QFont font = hint->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    hint->setFont(font);
    form_->addRow(QString(), hint);
    return hint;
}

QLabel* ProviderFormView::addNote(const QString& text) {
    auto* note = new QLabel(text, this);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    form_->addRow(note);
    return note;
}

void ProviderFormView::finish() {
    auto* outer = static_cast<QVBoxLayout*>(layout());
    auto* buttons = new QHBoxLayout;
    save_ = new QPushButton(QStringLiteral("Save"), this);
    save_->setAccessibleName(save_->text());
    save_->setAccessibleDescription(QStringLiteral("Check the settings and save them"));
    save_->setDefault(true);
    buttons->addWidget(save_);
    busy_ = new QProgressBar(this);
    busy_->setRange(0, 0);
    busy_->setTextVisible(false);
    busy_->setMaximumWidth(90);
    busy_->setAccessibleName(QStringLiteral("Checking"));
    busy_->hide();
    buttons->addWidget(busy_);
    buttons->addStretch();
    setDefault_ = new QPushButton(QStringLiteral("Set as Default"), this);
    setDefault_->setAccessibleName(setDefault_->text());
    buttons->addWidget(setDefault_);
    defaultMark_ = new QLabel(QStringLiteral("DEFAULT"), this);
    defaultMark_->setAccessibleName(defaultMark_->text());
    QFont font = defaultMark_->font();
    font.setBold(true);
    defaultMark_->setFont(font);
    defaultMark_->setForegroundRole(QPalette::Highlight);
    buttons->addWidget(defaultMark_);
    outer->addLayout(buttons);
    outer->addStretch();

    connect(save_, &QPushButton::clicked, this,
            [this] { send(provider_form_input::CheckAndSave{fields()}); });
    connect(setDefault_, &QPushButton::clicked, this, [this] { setAsDefault(); });
    hadSavedKey_ = state().hasSavedKey;
    editingKey_ = !hadSavedKey_;
    subscription_ = viewModel_->subscribe([this] { render(); });
    preferencesSubscription_ = preferences_.subscribe([this](std::string_view key) {
        const bool catalogueChanged = key == AppPreferences::lastUpdatedKey ||
                                      key == "openrouterModels" || key == "mistralModels" ||
                                      key == "ollamaModels";
        if (!catalogueChanged || !model_) return;
        const auto sections = modelChoices();
        if (!sections.empty()) setModelChoices(sections);
    });
    render();
}

std::string ProviderFormView::rowModelId(const std::string& fallback) const {
    const auto& model = state().model;
    return model && !model->modelId.empty() ? model->modelId : fallback;
}

QString ProviderFormView::rowHost(const std::string& fallback) const {
    const auto& model = state().model;
    QString host = qs(model && !model->apiEndpoint.empty() ? model->apiEndpoint : fallback);
    for (const QString& scheme : {QStringLiteral("https://"), QStringLiteral("http://")}) {
        if (host.startsWith(scheme)) return host.mid(scheme.size());
    }
    return host;
}

void ProviderFormView::setAsDefault() {
    send(provider_form_input::SetAsDefault{});
}

ProviderFormFields ProviderFormView::fields() const {
    ProviderFormFields fields;
    if (name_) fields.name = name_->text().trimmed().toStdString();
    fields.apiEndpoint = endpoint_ ? endpoint_->text().trimmed().toStdString() : fixedEndpoint_;
    if (key_ && editingKey_) fields.apiKey = key_->text().toStdString();
    fields.modelId = chosenModel();
    if (context_) fields.contextLength = context_->text().trimmed().toStdString();
    if (stream_) fields.useStream = stream_->isChecked();
    return fields;
}

void ProviderFormView::render() {
    const auto& state = this->state();
    // A key that has just been stored (or checked again) goes back to masked;
    // with none stored the field is open.
    const bool checkPassed = wasChecking_ && !state.isCheckingAPIKey && state.isAPIKeyValid;
    if (state.hasSavedKey != hadSavedKey_ || checkPassed) editingKey_ = !state.hasSavedKey;
    wasChecking_ = state.isCheckingAPIKey;
    hadSavedKey_ = state.hasSavedKey;

    renderKey(state);
    save_->setEnabled(!state.isCheckingAPIKey);
    busy_->setVisible(state.isCheckingAPIKey || state.loadingModelList);
    busy_->setAccessibleName(state.loadingModelList ? QStringLiteral("Loading models")
                                                    : QStringLiteral("Checking"));
    setDefault_->setVisible(!state.isDefault);
    defaultMark_->setVisible(state.isDefault);
    if (refresh_) {
        refresh_->setEnabled(!state.loadingModelList);
        if (!state.availableModels.empty() && state.availableModels != shownAvailableModels_) {
            shownAvailableModels_ = state.availableModels;
            setModelChoices({ModelSection{"", state.availableModels}});
        }
    }
    renderError(state);
    renderFields(state);
}

void ProviderFormView::renderKey(const ProviderFormState& state) {
    if (!key_) return;
    const bool masked = state.hasSavedKey && !editingKey_;
    if (masked) {
        key_->clear();
        key_->setPlaceholderText(QStringLiteral("••••••••••••••••  (saved)"));
    } else {
        key_->setPlaceholderText(keyPlaceholder_);
    }
    key_->setEnabled(!masked);
    changeKey_->setVisible(masked);
}

void ProviderFormView::renderError(const ProviderFormState& state) {
    if (state.showErrorPopover && !state.errorMessage.empty()) {
        const QString message = qs(state.errorMessage);
        if (!popover_->isVisible() || popover_->message() != message)
            popover_->showMessage(message, save_);
    } else if (popover_->isVisible()) {
        popover_->withdraw();
    }
    if (state.showQuotaAlert && !quotaAlert_) {
        quotaAlert_ = openQuotaAlert(this, [this] { send(provider_form_input::DismissError{}); });
    }
}

}  // namespace folvane

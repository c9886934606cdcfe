#include "shell/settings/models/ModelsTab.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "conversation/AppCore.h"
#include "conversation/CustomModelListViewModel.h"
#include "conversation/ProviderFormViewModel.h"
#include "providers/CustomModelDefaults.h"
#include "providers/ModelNames.h"
#include "shell/settings/models/ProviderFormViewFactory.h"
#include "shell/settings/models/ProviderIcon.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr int idRole = Qt::UserRole;

// The provider as the list names it. The providers that chats cannot use yet
// keep their own names here rather than the generic "OpenAI".
QString providerLabel(std::string_view provider) {
    if (provider == providers::anthropicAI || provider == providers::anthropic)
        return QStringLiteral("Anthropic");
    if (provider == providers::googleAI) return QStringLiteral("Google AI");
    const auto name = providerDisplayName(provider);
    return QString::fromUtf8(name.data(), qsizetype(name.size()));
}

// The second line of an entry: the provider, and the model once there is one.
QString entryDetail(const QString& provider, const std::string& model,
                    std::string_view modelProvider) {
    if (model.empty()) return provider + QStringLiteral(" · no model chosen yet");
    return provider + QStringLiteral(" · ") +
           QString::fromStdString(modelDisplayName(model, modelProvider));
}

// The mark goes beside the name: a long model on the second line would push
// it out of the list's width.
QString entryText(const QString& name, const QString& detail, bool isDefault) {
    QString text = name;
    if (isDefault) text += QStringLiteral("  ·  DEFAULT");
    return text + QLatin1Char('\n') + detail;
}

}  // namespace

ModelsTab::ModelsTab(AppCore& core, QWidget* parent)
    : QWidget(parent), core_(core), models_(core.makeCustomModelList()) {
    setAccessibleName(QStringLiteral("Models"));
    auto* outer = new QVBoxLayout(this);

    secretNote_ = new QLabel(
        QStringLiteral("No Secret Service is reachable: API keys you save here are kept only "
                       "until Folvane quits."),
        this);
    secretNote_->setWordWrap(true);
    secretNote_->setVisible(!core_.preferences().isSecretStoreAvailable());
    outer->addWidget(secretNote_);
    alert_ = new QLabel(this);
    alert_->setWordWrap(true);
    alert_->setTextFormat(Qt::PlainText);
    alert_->setStyleSheet(QStringLiteral("color: #c62828"));
    alert_->hide();
    outer->addWidget(alert_);

    auto* columns = new QHBoxLayout;
    outer->addLayout(columns, 1);
    auto* left = new QVBoxLayout;
    columns->addLayout(left);
    list_ = new QListWidget(this);
    list_->setAccessibleName(QStringLiteral("Models"));
    list_->setIconSize(QSize(28, 28));
    list_->setSpacing(2);
    list_->setMinimumWidth(210);
    list_->setMaximumWidth(260);
    left->addWidget(list_, 1);
    connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (!rendering_ && item) showForm(item->data(idRole).toLongLong());
    });

    auto* buttons = new QHBoxLayout;
    left->addLayout(buttons);
    add_ = new QPushButton(QStringLiteral("Add"), this);
    add_->setAccessibleName(add_->text());
    add_->setToolTip(QStringLiteral("Add a model of another provider"));
    auto* menu = new QMenu(add_);
    for (const auto provider : CustomModelDefaults::addableProviders()) {
        const auto title = CustomModelDefaults::addMenuTitle(provider);
        auto* action = menu->addAction(QString::fromUtf8(title.data(), qsizetype(title.size())));
        action->setIcon(providerIcon(modelIcon("", provider)));
        connect(action, &QAction::triggered, this,
                [this, provider] { addModel(std::string(provider)); });
    }
    add_->setMenu(menu);
    buttons->addWidget(add_);
    delete_ = new QPushButton(QStringLiteral("Delete"), this);
    delete_->setAccessibleName(delete_->text());
    connect(delete_, &QPushButton::clicked, this, &ModelsTab::askToDelete);
    buttons->addWidget(delete_);
    buttons->addStretch();

    formArea_ = new QScrollArea(this);
    formArea_->setWidgetResizable(true);
    formArea_->setFrameShape(QFrame::NoFrame);
    columns->addWidget(formArea_, 1);

    modelsSubscription_ = models_->subscribe([this] { renderList(); });
    preferencesSubscription_ = core_.preferences().subscribe([this](std::string_view key) {
        if (key == AppPreferences::lastUpdatedKey) {
            // A form saved its row: names and models may have changed.
            models_->trigger(custom_model_list_input::Sync{});
        } else if (key == "customModelId" || key == "defaultModel" ||
                   key == AppPreferences::openAIKeyKey) {
            renderList();
        }
    });
    models_->trigger(custom_model_list_input::Sync{});
    select(0);
}

ModelsTab::~ModelsTab() {
    modelsSubscription_.cancel();
    preferencesSubscription_.cancel();
}

void ModelsTab::renderList() {
    auto& preferences = core_.preferences();
    const int64_t defaultId = preferences.customModelId();
    const auto& state = models_->state();
    rendering_ = true;
    list_->clear();
    auto* openAI = new QListWidgetItem(
        providerIcon(modelIcon(preferences.defaultModel(), providers::openAI)),
        entryText(
            QStringLiteral("OpenAI"),
            entryDetail(QStringLiteral("Built-in"), preferences.defaultModel(), providers::openAI),
            defaultId == 0),
        list_);
    openAI->setData(idRole, qlonglong{0});
    bool selectedShown = formId_ == 0;
    for (const auto& entry : state.models) {
        const auto& model = entry.state().model;
        const int64_t id = entry.id();
        auto* item = new QListWidgetItem(
            providerIcon(modelIcon(model.modelId, model.provider)),
            entryText(QString::fromStdString(model.name),
                      entryDetail(providerLabel(model.provider), model.modelId, model.provider),
                      id == defaultId),
            list_);
        item->setData(idRole, qlonglong{id});
        if (id == formId_) {
            list_->setCurrentItem(item);
            selectedShown = true;
        }
    }
    if (formId_ == 0) list_->setCurrentItem(openAI);
    rendering_ = false;

    alert_->setText(state.alert ? QString::fromStdString(*state.alert) : QString());
    alert_->setVisible(state.alert.has_value());
    // The OpenAI entry can be deleted only while a key is stored.
    delete_->setEnabled(formId_ != 0 || !preferences.openAIKey().empty());
    // The shown row went away: back to the OpenAI entry.
    if (!selectedShown && formId_ > 0) select(0);
}

void ModelsTab::select(int64_t id) {
    for (int row = 0; row < list_->count(); ++row) {
        auto* item = list_->item(row);
        if (item->data(idRole).toLongLong() == id) {
            list_->setCurrentItem(item);
            if (formId_ != id) showForm(id);
            return;
        }
    }
    if (list_->count() == 0) renderList();
    if (id != 0) select(0);
}

void ModelsTab::showForm(int64_t id) {
    if (id == formId_ && form_) return;
    std::unique_ptr<ProviderFormView> view;
    auto& preferences = core_.preferences();
    if (id == 0) {
        view = makeProviderFormView(ProviderForm::openAI,
                                    core_.makeProviderForm(ProviderForm::openAI), preferences);
    } else {
        for (const auto& entry : models_->state().models) {
            if (entry.id() != id) continue;
            const auto& model = entry.state().model;
            view = makeProviderFormView(providerFormFor(model.provider),
                                        core_.makeProviderForm(model), preferences);
            break;
        }
    }
    if (!view) return;
    // The scroll area deletes the form it held.
    form_ = view.release();
    formId_ = id;
    formArea_->setWidget(form_);
    delete_->setEnabled(formId_ != 0 || !preferences.openAIKey().empty());
}

void ModelsTab::addModel(const std::string& provider) {
    models_->trigger(custom_model_list_input::AddNew{provider});
    const auto& state = models_->state();
    if (!state.alert && !state.models.empty()) select(state.models.back().id());
}

void ModelsTab::askToDelete() {
    const int64_t id = formId_;
    if (id < 0) return;
    auto* question = new QMessageBox(
        QMessageBox::Warning, QStringLiteral("Delete"),
        id == 0 ? QStringLiteral("Are you sure you want to delete this OpenAI API key?")
                : QStringLiteral("Are you sure you want to delete this custom model?"),
        QMessageBox::NoButton, this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    auto* remove = question->addButton(QStringLiteral("Delete"), QMessageBox::DestructiveRole);
    auto* cancel = question->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    remove->setAccessibleName(remove->text());
    cancel->setAccessibleName(cancel->text());
    question->setDefaultButton(cancel);
    question->setEscapeButton(cancel);
    connect(question, &QMessageBox::finished, this, [this, question, remove, id] {
        if (question->clickedButton() != remove || id != formId_) return;
        if (id == 0) {
            form_->send(provider_form_input::DeleteOpenAIKey{});
        } else {
            models_->trigger(custom_model_list_input::Remove{id});
        }
    });
    question->open();
}

}  // namespace folvane

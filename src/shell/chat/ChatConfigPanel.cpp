#include "shell/chat/ChatConfigPanel.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QStandardItemModel>

#include "chat/Language.h"
#include "providers/ModelCatalogue.h"
#include "providers/ModelNames.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

QDoubleSpinBox* makeSpinBox(double minimum, double maximum, QWidget* parent) {
    auto* box = new QDoubleSpinBox(parent);
    box->setRange(minimum, maximum);
    box->setSingleStep(0.1);
    box->setDecimals(1);
    box->setKeyboardTracking(false);
    return box;
}

// Selects the entry whose data is `value`; none when there is no such entry.
void selectData(QComboBox* box, const QVariant& value) {
    box->setCurrentIndex(box->findData(value));
}

bool isOpenAIChatModel(const std::string& model) {
    for (const auto& section : chatModelChoices(providers::openAI, {}, {}))
        for (const auto& candidate : section.models)
            if (candidate == model) return true;
    return false;
}

std::string providerOf(const ChatDetailState& state) {
    return state.customModel ? state.customModel->provider : std::string(providers::openAI);
}

}  // namespace

ChatConfigPanel::ChatConfigPanel(ChatDetailRef chat, CustomModelListRef& customModels,
                                 AppPreferences& preferences, QWidget* parent)
    : QWidget(parent),
      chat_(std::move(chat)),
      customModels_(customModels),
      preferences_(preferences) {
    auto* form = new QFormLayout(this);
    const auto addRow = [&](const QString& label, QWidget* field) {
        field->setAccessibleName(QString(label).remove(QLatin1Char(':')));
        form->addRow(label, field);
    };

    provider_ = new QComboBox(this);
    addRow(QStringLiteral("API Provider:"), provider_);
    connect(provider_, &QComboBox::activated, this, [this](int index) {
        const int64_t id = provider_->itemData(index).toLongLong();
        chat_.trigger(chat_input::UpdateCustomModel{id});
        // A model of one's own answers as its row's model: the chat takes it.
        for (const auto& model : customModels_.state().models) {
            const std::string& modelId = model.state().model.modelId;
            if (model.id() == id && !modelId.empty())
                chat_.trigger(chat_input::UpdateModel{modelId});
        }
        // Back on OpenAI, a model of another provider's would be asked of
        // OpenAI by name: the chat takes the default model instead.
        if (id == 0) {
            const std::string current = chat_.state().conversation.model;
            if (!isOpenAIChatModel(current))
                chat_.trigger(chat_input::UpdateModel{isOpenAIChatModel(preferences_.defaultModel())
                                                          ? preferences_.defaultModel()
                                                          : Conversation{}.model});
        }
    });

    auto* modelBox = new QWidget(this);
    auto* modelLayout = new QVBoxLayout(modelBox);
    modelLayout->setContentsMargins(0, 0, 0, 0);
    model_ = new QComboBox(modelBox);
    model_->setAccessibleName(QStringLiteral("GPT Model"));
    fixedModel_ = new QLabel(modelBox);
    fixedModel_->setTextFormat(Qt::PlainText);
    fixedModel_->setTextInteractionFlags(Qt::TextSelectableByKeyboard | Qt::TextSelectableByMouse);
    modelLayout->addWidget(model_);
    modelLayout->addWidget(fixedModel_);
    form->addRow(QStringLiteral("GPT Model:"), modelBox);
    connect(model_, &QComboBox::activated, this, [this](int index) {
        const QString model = model_->itemData(index).toString();
        if (!model.isEmpty()) chat_.trigger(chat_input::UpdateModel{model.toStdString()});
    });

    temperature_ = makeSpinBox(0.0, 2.0, this);
    addRow(QStringLiteral("Temperature:"), temperature_);
    connect(temperature_, &QDoubleSpinBox::valueChanged, this, [this](double value) {
        if (!rendering_) chat_.trigger(chat_input::UpdateTemperature{value});
    });

    language_ = new QComboBox(this);
    language_->addItem(QStringLiteral("Auto"), QString());
    for (const auto& entry : Language::all()) {
        language_->addItem(
            QString::fromUtf8(entry.flag.data(), qsizetype(entry.flag.size())) + QLatin1Char(' ') +
                QString::fromUtf8(entry.label.data(), qsizetype(entry.label.size())),
            QString::fromUtf8(entry.isoCode.data(), qsizetype(entry.isoCode.size())));
    }
    addRow(QStringLiteral("Answer Language:"), language_);
    connect(language_, &QComboBox::activated, this, [this](int index) {
        chat_.trigger(
            chat_input::UpdateLanguageCode{language_->itemData(index).toString().toStdString()});
    });

    contextLimit_ = new QComboBox(this);
    contextLimit_->addItem(QStringLiteral("All Previous Messages"), 0);
    contextLimit_->addItem(QStringLiteral("Last 1 message"), 1);
    for (int n = 2; n <= 10; ++n)
        contextLimit_->addItem(QStringLiteral("Last %1 messages").arg(n), n);
    addRow(QStringLiteral("Context Limit:"), contextLimit_);
    connect(contextLimit_, &QComboBox::activated, this, [this](int index) {
        chat_.trigger(chat_input::UpdateContextLimit{contextLimit_->itemData(index).toInt()});
    });

    presencePenalty_ = makeSpinBox(-2.0, 2.0, this);
    addRow(QStringLiteral("Presence Penalty:"), presencePenalty_);
    connect(presencePenalty_, &QDoubleSpinBox::valueChanged, this, [this](double value) {
        if (!rendering_) chat_.trigger(chat_input::UpdatePresencePenalty{value});
    });
    frequencyPenalty_ = makeSpinBox(-2.0, 2.0, this);
    addRow(QStringLiteral("Frequency Penalty:"), frequencyPenalty_);
    connect(frequencyPenalty_, &QDoubleSpinBox::valueChanged, this, [this](double value) {
        if (!rendering_) chat_.trigger(chat_input::UpdateFrequencyPenalty{value});
    });

    chatSubscription_ = chat_.subscribe([this] { render(); });
    modelsSubscription_ = customModels_.subscribe([this] { render(); });
    preferencesSubscription_ = preferences_.subscribe([this](std::string_view key) {
        if (key == AppPreferences::lastUpdatedKey) {
            customModels_.trigger(custom_model_list_input::Sync{});
        } else {
            render(true);
        }
    });
    customModels_.trigger(custom_model_list_input::Sync{});
    render();
}

void ChatConfigPanel::render(bool force) {
    // A reply changes the chat's state at every block: redraw only when what
    // the panel shows has changed.
    const auto& state = chat_.state();
    const auto& conversation = state.conversation;
    std::vector<std::pair<int64_t, std::string>> rows;
    for (const auto& model : customModels_.state().models)
        rows.emplace_back(model.id(), model.state().model.name);
    Shown shown{
        conversation.customModelId,    conversation.model,        conversation.temperature,
        conversation.languageCode,     conversation.contextLimit, conversation.presencePenalty,
        conversation.frequencyPenalty, state.customModel,         std::move(rows)};
    if (!force && shown_ == shown) return;
    shown_ = std::move(shown);
    rendering_ = true;
    fillProviders();
    fillModels();
    {
        const QSignalBlocker blockers[] = {
            QSignalBlocker(temperature_), QSignalBlocker(language_), QSignalBlocker(contextLimit_),
            QSignalBlocker(presencePenalty_), QSignalBlocker(frequencyPenalty_)};
        temperature_->setValue(conversation.temperature);
        selectData(language_, QString::fromStdString(conversation.languageCode));
        selectData(contextLimit_, conversation.contextLimit);
        presencePenalty_->setValue(conversation.presencePenalty);
        frequencyPenalty_->setValue(conversation.frequencyPenalty);
    }
    rendering_ = false;
}

void ChatConfigPanel::fillProviders() {
    const QSignalBlocker blocker(provider_);
    provider_->clear();
    provider_->addItem(QStringLiteral("OpenAI"), qlonglong{0});
    for (const auto& model : customModels_.state().models) {
        provider_->addItem(QString::fromStdString(model.state().model.name), qlonglong{model.id()});
    }
    selectData(provider_, qlonglong{chat_.state().conversation.customModelId});
}

void ChatConfigPanel::fillModels() {
    const auto& state = chat_.state();
    const std::string provider = providerOf(state);
    const auto sections =
        chatModelChoices(provider, preferences_.openRouterModels(), preferences_.ollamaModels());
    const QSignalBlocker blocker(model_);
    model_->clear();
    model_->setVisible(!sections.empty());
    fixedModel_->setVisible(sections.empty());
    if (sections.empty()) {
        const std::string model =
            state.customModel ? state.customModel->modelId : state.conversation.model;
        fixedModel_->setText(QString::fromStdString(modelDisplayName(model, provider)));
        return;
    }
    auto* items = new QStandardItemModel(model_);
    for (const auto& section : sections) {
        if (!section.title.empty()) {
            auto* heading = new QStandardItem(QString::fromStdString(section.title));
            heading->setFlags(Qt::NoItemFlags);
            QFont font = heading->font();
            font.setBold(true);
            heading->setFont(font);
            items->appendRow(heading);
        }
        for (const auto& model : section.models) {
            auto* item =
                new QStandardItem(QString::fromStdString(modelDisplayName(model, provider)));
            item->setData(QString::fromStdString(model), Qt::UserRole);
            items->appendRow(item);
        }
    }
    model_->setModel(items);
    const int current = model_->findData(QString::fromStdString(state.conversation.model));
    if (current < 0) {
        // A model that the list does not offer still shows as chosen.
        auto* item = new QStandardItem(
            QString::fromStdString(modelDisplayName(state.conversation.model, provider)));
        item->setData(QString::fromStdString(state.conversation.model), Qt::UserRole);
        items->appendRow(item);
        model_->setCurrentIndex(items->rowCount() - 1);
    } else {
        model_->setCurrentIndex(current);
    }
}

}  // namespace folvane

#pragma once

#include <QWidget>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "conversation/ChatListViewModel.h"
#include "conversation/CustomModelListViewModel.h"
#include "runtime/ObserverList.h"

class QComboBox;
class QDoubleSpinBox;
class QLabel;

namespace folvane {

class AppPreferences;

using CustomModelListRef = ViewModel<CustomModelListState, CustomModelListInput>;

// The chat's own settings: which provider and model answer, the temperature,
// the language of the answers, how many earlier messages a request carries,
// and the two penalties. Every change is an input of the chat.
class ChatConfigPanel final : public QWidget {
    Q_OBJECT
  public:
    ChatConfigPanel(ChatDetailRef chat, CustomModelListRef& customModels,
                    AppPreferences& preferences, QWidget* parent = nullptr);

    QComboBox* providerPicker() const { return provider_; }
    QComboBox* modelPicker() const { return model_; }
    QComboBox* languagePicker() const { return language_; }
    QComboBox* contextLimitPicker() const { return contextLimit_; }
    QDoubleSpinBox* temperatureField() const { return temperature_; }
    QDoubleSpinBox* presencePenaltyField() const { return presencePenalty_; }
    QDoubleSpinBox* frequencyPenaltyField() const { return frequencyPenalty_; }

  private:
    struct Shown {
        int64_t customModelId = 0;
        std::string model;
        double temperature = 0;
        std::string languageCode;
        int contextLimit = 0;
        double presencePenalty = 0;
        double frequencyPenalty = 0;
        std::optional<CustomModel> customModel;
        std::vector<std::pair<int64_t, std::string>> customModels;
        bool operator==(const Shown&) const = default;
    };

    void render(bool force = false);
    void fillProviders();
    void fillModels();

    ChatDetailRef chat_;
    CustomModelListRef& customModels_;
    AppPreferences& preferences_;
    QComboBox* provider_;
    QComboBox* model_;
    QLabel* fixedModel_;
    QDoubleSpinBox* temperature_;
    QComboBox* language_;
    QComboBox* contextLimit_;
    QDoubleSpinBox* presencePenalty_;
    QDoubleSpinBox* frequencyPenalty_;
    bool rendering_ = false;
    std::optional<Shown> shown_;
    Subscription chatSubscription_;
    Subscription modelsSubscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane

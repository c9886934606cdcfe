#include "conversation/CustomModelListViewModel.h"

#include <algorithm>
#include <memory>

#include "chat/ChatService.h"
#include "platform/Log.h"
#include "providers/CustomModelDefaults.h"
#include "store/AppPreferences.h"

namespace folvane {

namespace input = custom_model_list_input;

CustomModelListViewModel::CustomModelListViewModel(ChatService& service,
                                                   AppPreferences& preferences)
    : service_(service), preferences_(preferences) {
    log("CustomModelListState.init()");
}

void CustomModelListViewModel::trigger(CustomModelListInput input) {
    std::optional<std::string> failure;
    try {
        std::visit(
            [this](auto&& value) {
                using Case = std::decay_t<decltype(value)>;
                if constexpr (std::is_same_v<Case, input::AddNew>) {
                    addNew(value.provider);
                } else if constexpr (std::is_same_v<Case, input::Remove>) {
                    remove(value.id);
                } else {
                    sync();
                }
            },
            input);
    } catch (const std::exception& error) {
        log(error.what());
        failure = error.what();
    }
    if (failure || state().alert)
        updateState([&](CustomModelListState& next) { next.alert = failure; });
}

AnyViewModel<CustomModelDetailState, CustomModelDetailInput> CustomModelListViewModel::wrap(
    CustomModel model) {
    return AnyViewModel<CustomModelDetailState, CustomModelDetailInput>(
        std::make_shared<CustomModelViewModel>(service_, std::move(model)));
}

void CustomModelListViewModel::addNew(const std::string& provider) {
    const int64_t id = service_.insertCustomModel(CustomModelDefaults::newRow(provider));
    log("rowId " + std::to_string(id));
    const auto stored = service_.getCustomModel(id);
    if (!stored) return;
    updateState([&](CustomModelListState& next) { next.models.push_back(wrap(*stored)); });
}

void CustomModelListViewModel::remove(int64_t id) {
    log("handleRemoveCustomModel " + std::to_string(id));
    service_.deleteCustomModel(id);
    updateState([&](CustomModelListState& next) {
        auto found = std::find_if(next.models.begin(), next.models.end(),
                                  [id](const auto& model) { return model.id() == id; });
        if (found != next.models.end()) next.models.erase(found);
    });
    // New chats go back to the built-in route when their default goes.
    if (preferences_.customModelId() == id) preferences_.setCustomModelId(0);
    service_.clearClientCaches();
}

void CustomModelListViewModel::sync() {
    std::vector<AnyViewModel<CustomModelDetailState, CustomModelDetailInput>> models;
    for (auto& model : service_.getCustomModels()) models.push_back(wrap(std::move(model)));
    updateState([&](CustomModelListState& next) { next.models = std::move(models); });
}

}  // namespace folvane

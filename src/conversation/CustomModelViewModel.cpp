#include "conversation/CustomModelViewModel.h"

#include "chat/ChatService.h"
#include "platform/Log.h"

namespace folvane {

CustomModelViewModel::CustomModelViewModel(ChatService& service, CustomModel model)
    : PublishingViewModel(CustomModelDetailState{std::move(model), std::nullopt}),
      service_(service) {}

void CustomModelViewModel::trigger(CustomModelDetailInput input) {
    std::visit([this](const custom_model_input::Save& fields) { save(fields); }, input);
}

void CustomModelViewModel::save(const custom_model_input::Save& fields) {
    const auto id = state().model.id;
    if (!id) return;
    const auto fail = [this](const std::string& words) {
        log("Failed to save the custom model: " + words);
        updateState([&](CustomModelDetailState& next) { next.alert = words; });
    };
    if (fields.contextLength < 1) {
        fail("The context length must be a whole number of tokens above 0.");
        return;
    }
    try {
        service_.updateCustomModel(*id, fields.name, fields.apiEndpoint, fields.modelId,
                                   fields.contextLength, fields.headers, fields.useStream);
    } catch (const std::exception& error) {
        fail(error.what());
        return;
    }
    updateState([&](CustomModelDetailState& next) {
        next.alert.reset();
        next.model.name = fields.name;
        next.model.apiEndpoint = fields.apiEndpoint;
        next.model.modelId = fields.modelId;
        next.model.contextLength = fields.contextLength;
        next.model.headers = fields.headers;
        next.model.useStream = fields.useStream;
    });
    service_.clearClientCaches();
}

}  // namespace folvane

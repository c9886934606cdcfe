#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "conversation/ViewModel.h"
#include "store/CustomModel.h"

namespace folvane {

class ChatService;

// One custom model as its settings form shows it. Identified by the row's id.
struct CustomModelDetailState {
    CustomModel model;
    // The words of the last save's failure; cleared by the next save.
    std::optional<std::string> alert;

    int64_t id() const { return model.id.value_or(0); }
};

namespace custom_model_input {
// The form's fields, written into the row.
struct Save {
    std::string name;
    std::string apiEndpoint;
    std::string modelId;
    int contextLength = 0;
    std::vector<CustomModelHeaderEntry> headers;
    bool useStream = true;
};
}  // namespace custom_model_input

using CustomModelDetailInput = std::variant<custom_model_input::Save>;

// The view model behind one custom model's form. Runs on the main thread.
class CustomModelViewModel final
    : public PublishingViewModel<CustomModelDetailState, CustomModelDetailInput> {
  public:
    CustomModelViewModel(ChatService& service, CustomModel model);

    // save: updates the row, then the state, then empties the service's client
    // caches so that the very next request uses the new values. A context
    // length below 1 is refused; a refused or failed save changes nothing but
    // the alert.
    void trigger(CustomModelDetailInput input) override;

  private:
    void save(const custom_model_input::Save& fields);

    ChatService& service_;
};

}  // namespace folvane

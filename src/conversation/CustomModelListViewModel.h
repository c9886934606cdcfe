#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "conversation/AnyViewModel.h"
#include "conversation/CustomModelViewModel.h"
#include "conversation/ViewModel.h"

namespace folvane {

class AppPreferences;
class ChatService;

struct CustomModelListState {
    // One for each live row, oldest first.
    std::vector<AnyViewModel<CustomModelDetailState, CustomModelDetailInput>> models;
    // The words of the last input's failure; cleared by the next input.
    std::optional<std::string> alert;
};

namespace custom_model_list_input {
struct AddNew {
    std::string provider;
};
struct Remove {
    int64_t id = 0;
};
struct Sync {};
}  // namespace custom_model_list_input

using CustomModelListInput =
    std::variant<custom_model_list_input::AddNew, custom_model_list_input::Remove,
                 custom_model_list_input::Sync>;

// The custom models of the settings' "Models" tab. Runs on the main thread;
// its store calls are synchronous, and a store failure becomes the alert.
class CustomModelListViewModel final
    : public PublishingViewModel<CustomModelListState, CustomModelListInput> {
  public:
    CustomModelListViewModel(ChatService& service, AppPreferences& preferences);

    void trigger(CustomModelListInput input) override;

  private:
    void addNew(const std::string& provider);
    void remove(int64_t id);
    void sync();
    AnyViewModel<CustomModelDetailState, CustomModelDetailInput> wrap(CustomModel model);

    ChatService& service_;
    AppPreferences& preferences_;
};

}  // namespace folvane

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "conversation/UsageEvents.h"
#include "conversation/ViewModel.h"
#include "providers/ProviderForm.h"
#include "store/CustomModel.h"

namespace folvane {

class AppPreferences;
class ChatService;
class HttpClient;
class MainQueue;

// What one provider's settings form shows. The form's own fields (what the
// user is typing) stay in the view until a check passes; this is what the
// check, the model lists and the default mark make of them.
struct ProviderFormState {
    ProviderForm form = ProviderForm::custom;
    // The row the form edits; absent for the OpenAI form and the key modal.
    std::optional<CustomModel> model;
    // The saved key of the row (or the OpenAI key) exists: the view shows a
    // masked field with "Change" instead of the key itself.
    bool hasSavedKey = false;
    // The row is the default for new chats (the OpenAI form: customModelId 0).
    bool isDefault = false;

    bool isCheckingAPIKey = false;
    bool isAPIKeyValid = false;
    // The failure of the last check, in the words the error popover shows.
    std::string errorMessage;
    bool showErrorPopover = false;
    // "OpenAI Rejected This API Key": the key's account has no quota left.
    bool showQuotaAlert = false;
    // The last validation problem of the fields ("no name", "invalid
    // endpoint"...): the check did not run. Logged; the form stays as it is.
    std::optional<std::string> validationProblem;
    // The key modal closes once its check has passed and the key is stored.
    bool finished = false;

    // Mistral and Ollama: the remote model list of "Refresh".
    bool loadingModelList = false;
    bool isCheckingEndpoint = false;
    bool isOnline = false;
    std::vector<std::string> availableModels;
    // The OpenAI form: the account can use "gpt-4".
    bool supportGPT4 = false;
};

// The fields of a form as typed. Each form fills the ones it has.
struct ProviderFormFields {
    std::string name;
    // The endpoint, base URL or host, as the form's field calls it.
    std::string apiEndpoint;
    // Empty: keep the saved key (the masked field was not changed).
    std::string apiKey;
    std::string modelId;
    std::string contextLength;
    bool useStream = true;
    // The OpenAI form.
    double temperature = 0.1;
    std::string organizationIdentifier;
};

namespace provider_form_input {
// The form's save button: validate, run the provider's check, and only when
// it passes save the row (or, for OpenAI, the key and settings).
struct CheckAndSave {
    ProviderFormFields fields;
};
// "Refresh" of Mistral and Ollama: fetch the remote model list.
struct RefreshModels {
    ProviderFormFields fields;
};
// "Set as Default".
struct SetAsDefault {};
// The popover or the quota alert was closed.
struct DismissError {};
// The OpenAI key's "Delete": removes the key from the secret store.
struct DeleteOpenAIKey {};
}  // namespace provider_form_input

using ProviderFormInput =
    std::variant<provider_form_input::CheckAndSave, provider_form_input::RefreshModels,
                 provider_form_input::SetAsDefault, provider_form_input::DismissError,
                 provider_form_input::DeleteOpenAIKey>;

// The view model behind every provider form of the settings' Models tab and
// behind the OpenAI key modal. Inputs arrive on the main thread; checks and
// model lists run on a worker and post their results to the main queue.
class ProviderFormViewModel final
    : public PublishingViewModel<ProviderFormState, ProviderFormInput> {
  public:
    // A form over a custom model's row.
    ProviderFormViewModel(ChatService& service, AppPreferences& preferences,
                          std::shared_ptr<HttpClient> http, MainQueue& mainQueue,
                          ProviderEndpoints endpoints, CustomModel model);
    // The OpenAI form (ProviderForm::openAI) or the key modal
    // (ProviderForm::openAIKeyModal): no row.
    ProviderFormViewModel(ChatService& service, AppPreferences& preferences,
                          std::shared_ptr<HttpClient> http, MainQueue& mainQueue,
                          ProviderEndpoints endpoints, ProviderForm form);
    // Stops a running check; its result is dropped.
    ~ProviderFormViewModel() override;

    void trigger(ProviderFormInput input) override;

    // Where the milestone "onboarding_setup" goes when a key first passes its
    // check; none: the milestone's flag moves and nothing is reported.
    void setUsageEventSender(UsageEventSender send);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace folvane

#include "conversation/ProviderFormViewModel.h"

#include <chrono>
#include <functional>

#include "chat/ChatService.h"
#include "conversation/Milestones.h"
#include "platform/HttpClient.h"
#include "platform/Log.h"
#include "providers/APIErrorResponse.h"
#include "providers/CustomModelFormCheck.h"
#include "providers/MistralModelList.h"
#include "providers/ProviderFormRow.h"
#include "providers/ProviderKeyCheck.h"
#include "runtime/DebounceTimer.h"
#include "runtime/MainQueue.h"
#include "store/AppPreferences.h"
#include "store/CustomModelSecrets.h"

namespace folvane {

namespace input = provider_form_input;

namespace {

constexpr std::string_view quotaText =
    "You exceeded your current quota, please check your plan and billing details";
constexpr std::string_view openAIRejection =
    "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: ";
constexpr std::string_view ollamaFailure =
    "Failed to validate the Ollama API Endpoint. Make sure you're on the latest version. Error "
    "message: ";
constexpr std::chrono::milliseconds popoverDelay{100};

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) return "";
    const auto last = text.find_last_not_of(" \t\r\n");
    return std::string(text.substr(first, last - first + 1));
}

// How a failed check or list reaches the main queue: its words, and for an
// error body of the API its message alone.
struct Failure {
    std::string description;
    std::optional<std::string> apiMessage;
};

// Runs work on the calling worker and catches at its boundary.
template <typename Result, typename Work>
std::variant<Result, Failure> attempt(Work&& work) {
    try {
        return work();
    } catch (const APIErrorResponse& error) {
        return Failure{error.what(), error.error().message};
    } catch (const std::exception& error) {
        return Failure{error.what(), std::nullopt};
    }
}

std::string keyOf(const CustomModel& model, const std::string& header) {
    if (header.empty() || !model.headers) return "";
    std::string value;
    for (const auto& entry : *model.headers) {
        if (entry.key == header) value = entry.value;
    }
    return value;
}

CustomModel withoutSecrets(CustomModel model) {
    model.headers = CustomModelSecrets::withoutSecrets(std::move(model.headers));
    return model;
}

std::vector<std::string> storedOllamaNames(const nlohmann::json& setting) {
    std::vector<std::string> names;
    if (!setting.is_array()) return names;
    for (const auto& entry : setting) {
        if (entry.is_object() && entry.contains("name") && entry["name"].is_string()) {
            names.push_back(entry["name"].get<std::string>());
        }
    }
    return names;
}

}  // namespace

struct ProviderFormViewModel::Impl {
    Impl(ProviderFormViewModel& owner, ChatService& service, AppPreferences& preferences,
         std::shared_ptr<HttpClient> http, MainQueue& mainQueue, ProviderEndpoints endpoints,
         std::optional<CustomModel> model);
    ~Impl();

    bool isRowForm() const { return row.has_value(); }
    void update(const std::function<void(ProviderFormState&)>& change) {
        owner.updateState(change);
    }
    void refreshMarks();

    void checkAndSave(const ProviderFormFields& fields);
    void checkRow(const ProviderFormFields& fields);
    void checkOpenAI(const ProviderFormFields& fields);
    void refreshModels(const ProviderFormFields& fields);
    void setAsDefault();
    void deleteOpenAIKey();

    void startCheck(std::function<ProviderCheckResult(std::stop_token)> check,
                    std::function<void(const ProviderCheckResult&)> onPass);
    void finishRowCheck(const CustomModel& saved, const std::string& key,
                        const ProviderCheckResult& result);
    void finishOpenAICheck(const OpenAISettings& settings, const ProviderFormFields& fields,
                           const ProviderCheckResult& result);
    void failCheck(const Failure& failure);
    // Runs a list fetch on the list worker; the result lands on the main queue.
    template <typename Result>
    void startList(std::function<Result(std::stop_token)> fetch,
                   std::function<void(const std::variant<Result, Failure>&)> land);
    void showError(const std::string& words);
    void markOnboardingSetup();

    ProviderFormViewModel& owner;
    ChatService& service;
    AppPreferences& preferences;
    std::shared_ptr<HttpClient> http;
    MainQueue& mainQueue;
    ProviderEndpoints endpoints;
    // The row with its secret values, as last saved; the state holds it
    // without them.
    std::optional<CustomModel> row;
    std::string savedKey;
    UsageEventSender sendEvent;

    // Posted blocks hold it weakly: a block that outlives the view model does nothing.
    std::shared_ptr<Impl*> alive = std::make_shared<Impl*>(this);
    uint64_t checkGeneration = 0;
    uint64_t listGeneration = 0;
    DebounceTimer popoverTimer;
    Subscription preferencesSubscription;
    // Last: stopped and joined before the members above go.
    std::jthread checkWorker;
    std::jthread listWorker;
};

ProviderFormViewModel::Impl::Impl(ProviderFormViewModel& ownerModel, ChatService& chatService,
                                  AppPreferences& settings, std::shared_ptr<HttpClient> client,
                                  MainQueue& queue, ProviderEndpoints hosts,
                                  std::optional<CustomModel> model)
    : owner(ownerModel),
      service(chatService),
      preferences(settings),
      http(std::move(client)),
      mainQueue(queue),
      endpoints(std::move(hosts)),
      row(std::move(model)),
      popoverTimer(queue, popoverDelay) {
    if (row) savedKey = keyOf(*row, providerKeyHeader(owner.state().form));
    preferencesSubscription = preferences.subscribe([this](std::string_view key) {
        if (key == "customModelId" || key == AppPreferences::openAIKeyKey) refreshMarks();
    });
}

ProviderFormViewModel::Impl::~Impl() {
    alive.reset();
    popoverTimer.cancel();
}

void ProviderFormViewModel::Impl::refreshMarks() {
    const int64_t defaultId = preferences.customModelId();
    const bool isDefault = row ? row->id && *row->id == defaultId : defaultId == 0;
    const bool hasSavedKey = row ? !savedKey.empty() : !preferences.openAIKey().empty();
    const auto& current = owner.state();
    if (current.isDefault == isDefault && current.hasSavedKey == hasSavedKey) return;
    update([&](ProviderFormState& next) {
        next.isDefault = isDefault;
        next.hasSavedKey = hasSavedKey;
    });
}

void ProviderFormViewModel::Impl::showError(const std::string& words) {
    update([&](ProviderFormState& next) {
        next.errorMessage = words;
        next.showErrorPopover = false;
    });
    popoverTimer.start(
        [this] { update([](ProviderFormState& next) { next.showErrorPopover = true; }); });
}

void ProviderFormViewModel::Impl::markOnboardingSetup() {
    // Set-up means a key of a hosted provider: a server of the user's own
    // (Ollama, a compatible server) or a routed account (Azure, OpenRouter)
    // is not counted; their first message will be.
    switch (owner.state().form) {
        case ProviderForm::custom:
        case ProviderForm::ollama:
        case ProviderForm::azure:
        case ProviderForm::openRouter:
            return;
        default:
            Milestones::keyPassed(preferences, sendEvent);
    }
}

void ProviderFormViewModel::Impl::checkAndSave(const ProviderFormFields& fields) {
    if (isRowForm()) {
        checkRow(fields);
    } else {
        checkOpenAI(fields);
    }
}

void ProviderFormViewModel::Impl::checkRow(const ProviderFormFields& fields) {
    const ProviderForm form = owner.state().form;
    std::string key = trimmed(fields.apiKey);
    if (key.empty()) key = savedKey;
    // The custom server's key may be left blank, and Ollama has none.
    const bool needsKey = form != ProviderForm::custom && form != ProviderForm::ollama;
    if (key.empty() && needsKey) return;

    const ProviderFormValues values{
        fields.name,    trimmed(fields.apiEndpoint),   key,
        fields.modelId, trimmed(fields.contextLength), fields.useStream};
    const ProviderFormRow planned = providerFormRow(form, *row, values, endpoints);
    auto problem = CustomModelFormCheck::problem(row->provider, planned.row.name,
                                                 planned.validatedEndpoint, planned.contextText);
    if (!problem && planned.row.contextLength < 1) {
        problem = "The context length must be a whole number of tokens above 0.";
    }
    if (problem) {
        log(*problem);
        update([&](ProviderFormState& next) { next.validationProblem = problem; });
        return;
    }

    const CustomModel saved = planned.row;
    const ProviderKeyCheck check(http, endpoints);
    if (form == ProviderForm::ollama) {
        update([](ProviderFormState& next) { next.isCheckingEndpoint = true; });
    }
    startCheck([check, form, saved,
                key](std::stop_token stop) { return check.checkRow(form, saved, key, stop); },
               [this, saved, key](const ProviderCheckResult& result) {
                   finishRowCheck(saved, key, result);
               });
}

void ProviderFormViewModel::Impl::checkOpenAI(const ProviderFormFields& fields) {
    const bool keyModal = owner.state().form == ProviderForm::openAIKeyModal;
    std::string key = trimmed(fields.apiKey);
    if (key.empty() && !keyModal) key = preferences.openAIKey();
    if (key.empty()) return;

    const OpenAISettings settings{trimmed(fields.apiEndpoint),
                                  trimmed(fields.organizationIdentifier), key};
    const ProviderKeyCheck check(http, endpoints);
    startCheck([check, settings, keyModal](
                   std::stop_token stop) { return check.checkOpenAI(settings, keyModal, stop); },
               [this, settings, fields](const ProviderCheckResult& result) {
                   finishOpenAICheck(settings, fields, result);
               });
}

void ProviderFormViewModel::Impl::startCheck(
    std::function<ProviderCheckResult(std::stop_token)> check,
    std::function<void(const ProviderCheckResult&)> onPass) {
    const uint64_t generation = ++checkGeneration;
    popoverTimer.cancel();
    update([](ProviderFormState& next) {
        next.isCheckingAPIKey = true;
        next.isAPIKeyValid = false;
        next.errorMessage.clear();
        next.showErrorPopover = false;
        next.showQuotaAlert = false;
        next.validationProblem.reset();
        next.finished = false;
    });
    std::weak_ptr<Impl*> weak = alive;
    checkWorker = std::jthread([weak, generation, check = std::move(check),
                                onPass = std::move(onPass),
                                &queue = mainQueue](std::stop_token stop) mutable {
        auto outcome = attempt<ProviderCheckResult>([&] { return check(stop); });
        if (stop.stop_requested()) return;
        queue.post([weak, generation, outcome = std::move(outcome), onPass = std::move(onPass)] {
            const auto self = weak.lock();
            if (!self || (*self)->checkGeneration != generation) return;
            if (const auto* failure = std::get_if<Failure>(&outcome)) {
                (*self)->failCheck(*failure);
            } else {
                onPass(std::get<ProviderCheckResult>(outcome));
            }
        });
    });
}

void ProviderFormViewModel::Impl::finishRowCheck(const CustomModel& saved, const std::string& key,
                                                 const ProviderCheckResult& result) {
    const ProviderForm form = owner.state().form;
    update([&](ProviderFormState& next) {
        next.isAPIKeyValid = true;
        next.isCheckingAPIKey = false;
        if (form == ProviderForm::ollama) {
            next.isCheckingEndpoint = false;
            next.isOnline = true;
            next.availableModels = result.ollamaModels;
        }
    });
    try {
        markOnboardingSetup();
        if (!saved.id) throw std::runtime_error("The custom model has not been stored yet.");
        service.updateCustomModel(*saved.id, saved.name, saved.apiEndpoint, saved.modelId,
                                  saved.contextLength, saved.headers, saved.useStream);
        row = saved;
        savedKey = key;
        update([&](ProviderFormState& next) { next.model = withoutSecrets(saved); });
        service.clearClientCaches();
        if (form == ProviderForm::ollama) {
            auto names = nlohmann::json::array();
            for (const auto& name : result.ollamaModels) names.push_back({{"name", name}});
            preferences.setOllamaModels(std::move(names));
        }
        // The first model that works becomes the default while nothing else is.
        if (preferences.customModelId() == 0 && preferences.openAIKey().empty()) {
            preferences.setCustomModelId(*saved.id);
        }
        preferences.setLastUpdated(std::chrono::system_clock::now());
    } catch (const std::exception& error) {
        log("Failed to save the custom model: " + std::string(error.what()));
        showError(error.what());
    }
    refreshMarks();
}

void ProviderFormViewModel::Impl::finishOpenAICheck(const OpenAISettings& settings,
                                                    const ProviderFormFields& fields,
                                                    const ProviderCheckResult& result) {
    const bool keyModal = owner.state().form == ProviderForm::openAIKeyModal;
    update([&](ProviderFormState& next) {
        next.isAPIKeyValid = true;
        next.isCheckingAPIKey = false;
        next.supportGPT4 = result.supportGPT4;
    });
    try {
        markOnboardingSetup();
        if (preferences.openAIKey() != settings.apiKey) preferences.setOpenAIKey(settings.apiKey);
        if (!keyModal) {
            preferences.setCustomHost(settings.customHost);
            preferences.setOrganizationIdentifier(settings.organizationIdentifier);
            preferences.setDefaultTemperature(fields.temperature);
            if (!fields.modelId.empty()) preferences.setDefaultModel(fields.modelId);
            preferences.setLastUpdated(std::chrono::system_clock::now());
        }
    } catch (const std::exception& error) {
        log("Failed to save the OpenAI settings: " + std::string(error.what()));
        showError(error.what());
        return;
    }
    if (keyModal) update([](ProviderFormState& next) { next.finished = true; });
}

void ProviderFormViewModel::Impl::failCheck(const Failure& failure) {
    const ProviderForm form = owner.state().form;
    const bool quota = failure.description.find(quotaText) != std::string::npos;
    update([&](ProviderFormState& next) {
        next.isCheckingAPIKey = false;
        next.isAPIKeyValid = false;
        if (form == ProviderForm::ollama) {
            next.isCheckingEndpoint = false;
            next.isOnline = false;
        }
        next.showQuotaAlert = quota;
    });
    if (quota) return;
    std::string words = failure.apiMessage ? std::string(openAIRejection) + *failure.apiMessage
                                           : failure.description;
    if (form == ProviderForm::ollama) words = std::string(ollamaFailure) + failure.description;
    if (form == ProviderForm::openAIKeyModal) {
        // The key modal shows the words in the form itself.
        update([&](ProviderFormState& next) { next.errorMessage = "ERROR: " + words; });
        return;
    }
    showError(words);
}

template <typename Result>
void ProviderFormViewModel::Impl::startList(
    std::function<Result(std::stop_token)> fetch,
    std::function<void(const std::variant<Result, Failure>&)> land) {
    const uint64_t generation = ++listGeneration;
    std::weak_ptr<Impl*> weak = alive;
    listWorker = std::jthread([weak, generation, fetch = std::move(fetch), land = std::move(land),
                               &queue = mainQueue](std::stop_token stop) mutable {
        auto outcome = attempt<Result>([&] { return fetch(stop); });
        if (stop.stop_requested()) return;
        queue.post([weak, generation, outcome = std::move(outcome), land = std::move(land)] {
            const auto self = weak.lock();
            if (!self || (*self)->listGeneration != generation) return;
            land(outcome);
        });
    });
}

void ProviderFormViewModel::Impl::refreshModels(const ProviderFormFields& fields) {
    const ProviderForm form = owner.state().form;
    const ProviderKeyCheck check(http, endpoints);
    if (form == ProviderForm::mistral) {
        std::string key = trimmed(fields.apiKey);
        if (key.empty()) key = savedKey;
        update([](ProviderFormState& next) { next.loadingModelList = true; });
        startList<std::vector<MistralModel>>(
            [check, key](std::stop_token stop) { return check.mistralModels(key, stop); },
            [this](const std::variant<std::vector<MistralModel>, Failure>& outcome) {
                update([](ProviderFormState& next) { next.loadingModelList = false; });
                if (const auto* failure = std::get_if<Failure>(&outcome)) {
                    // The stored list stays: the form keeps offering it.
                    showError(failure->description);
                    return;
                }
                const auto& models = std::get<std::vector<MistralModel>>(outcome);
                std::vector<std::string> ids;
                for (const auto& model : models) ids.push_back(model.id);
                update([&](ProviderFormState& next) { next.availableModels = ids; });
                try {
                    preferences.setMistralModels(MistralModelList::toJson(models));
                } catch (const std::exception& error) {
                    showError(error.what());
                }
            });
    } else if (form == ProviderForm::ollama) {
        std::string endpoint = trimmed(fields.apiEndpoint);
        if (endpoint.empty()) endpoint = row->apiEndpoint;
        update([](ProviderFormState& next) { next.isCheckingEndpoint = true; });
        startList<std::vector<std::string>>(
            [check, endpoint](std::stop_token stop) { return check.ollamaModels(endpoint, stop); },
            [this](const std::variant<std::vector<std::string>, Failure>& outcome) {
                if (const auto* failure = std::get_if<Failure>(&outcome)) {
                    update([](ProviderFormState& next) {
                        next.isCheckingEndpoint = false;
                        next.isOnline = false;
                    });
                    showError(std::string(ollamaFailure) + failure->description);
                    return;
                }
                const auto& names = std::get<std::vector<std::string>>(outcome);
                update([&](ProviderFormState& next) {
                    next.isCheckingEndpoint = false;
                    next.isOnline = true;
                    next.availableModels = names;
                });
                auto stored = nlohmann::json::array();
                for (const auto& name : names) stored.push_back({{"name", name}});
                try {
                    preferences.setOllamaModels(std::move(stored));
                } catch (const std::exception& error) {
                    showError(error.what());
                }
            });
    }
}

void ProviderFormViewModel::Impl::setAsDefault() {
    try {
        if (row) {
            if (row->id) preferences.setCustomModelId(*row->id);
            return;
        }
        preferences.setCustomModelId(0);
    } catch (const std::exception& error) {
        showError(error.what());
        return;
    }
    if (preferences.openAIKey().empty()) {
        // The built-in route needs a key: check the one the form holds, which
        // with nothing typed is nothing at all.
        ProviderFormFields fields;
        fields.apiEndpoint = preferences.customHost();
        fields.organizationIdentifier = preferences.organizationIdentifier();
        fields.temperature = preferences.defaultTemperature();
        checkAndSave(fields);
    }
}

void ProviderFormViewModel::Impl::deleteOpenAIKey() {
    if (row) return;
    preferences.setOpenAIKey("");
}

ProviderFormViewModel::ProviderFormViewModel(ChatService& service, AppPreferences& preferences,
                                             std::shared_ptr<HttpClient> http, MainQueue& mainQueue,
                                             ProviderEndpoints endpoints, CustomModel model) {
    ProviderForm form = providerFormFor(model.provider);
    // A row is always edited by a row's form.
    if (form == ProviderForm::openAI || form == ProviderForm::openAIKeyModal) {
        form = ProviderForm::custom;
    }
    ProviderFormState initial;
    initial.form = form;
    initial.model = withoutSecrets(model);
    if (form == ProviderForm::ollama) {
        initial.availableModels = storedOllamaNames(preferences.ollamaModels());
    } else if (form == ProviderForm::mistral) {
        for (const auto& stored : MistralModelList::fromSetting(preferences.mistralModels())) {
            initial.availableModels.push_back(stored.id);
        }
    }
    setState(std::move(initial));
    impl_ = std::make_unique<Impl>(*this, service, preferences, std::move(http), mainQueue,
                                   std::move(endpoints), std::move(model));
    impl_->refreshMarks();
}

ProviderFormViewModel::ProviderFormViewModel(ChatService& service, AppPreferences& preferences,
                                             std::shared_ptr<HttpClient> http, MainQueue& mainQueue,
                                             ProviderEndpoints endpoints, ProviderForm form) {
    ProviderFormState initial;
    initial.form = form == ProviderForm::openAIKeyModal ? form : ProviderForm::openAI;
    setState(std::move(initial));
    impl_ = std::make_unique<Impl>(*this, service, preferences, std::move(http), mainQueue,
                                   std::move(endpoints), std::nullopt);
    impl_->refreshMarks();
}

ProviderFormViewModel::~ProviderFormViewModel() = default;

void ProviderFormViewModel::setUsageEventSender(UsageEventSender send) {
    impl_->sendEvent = std::move(send);
}

void ProviderFormViewModel::trigger(ProviderFormInput input) {
    std::visit(
        [this](auto&& value) {
            using Case = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Case, input::CheckAndSave>) {
                impl_->checkAndSave(value.fields);
            } else if constexpr (std::is_same_v<Case, input::RefreshModels>) {
                impl_->refreshModels(value.fields);
            } else if constexpr (std::is_same_v<Case, input::SetAsDefault>) {
                impl_->setAsDefault();
            } else if constexpr (std::is_same_v<Case, input::DismissError>) {
                impl_->popoverTimer.cancel();
                updateState([](ProviderFormState& next) {
                    next.showErrorPopover = false;
                    next.showQuotaAlert = false;
                });
            } else {
                impl_->deleteOpenAIKey();
            }
        },
        input);
}

}  // namespace folvane

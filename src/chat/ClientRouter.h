#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "store/Conversation.h"
#include "store/CustomModel.h"
#include "store/CustomModelHelper.h"
#include "store/CustomModelSecrets.h"

namespace folvane {

class AppPreferences;
class HttpClient;
class OpenAI;

// Which client carries a chat's request, and how many tokens it may hold.
// Only the built-in route's client is kept (made at its first use, never
// rebuilt); a custom model's client is made for each request, so an edited
// endpoint takes effect at the next message. Safe to use from several tasks.
class ClientRouter {
  public:
    struct Route {
        std::shared_ptr<OpenAI> client;
        std::optional<CustomModel> customModel;
        int contextLength = 0;
    };
    using HttpClientFactory = std::function<std::shared_ptr<HttpClient>()>;

    // The secrets fill a custom model's key headers before its client is made.
    ClientRouter(const AppPreferences& preferences, CustomModelHelper customModels,
                 CustomModelSecrets secrets, HttpClientFactory makeHttpClient);

    // Throws AppChatServiceError: initError when the chat's custom model is
    // gone or unusable, unsupportedApiProvider for a provider a chat can't use.
    Route resolveClient(const Conversation& conversation);
    // The context length of the chat's route, without making its client: what
    // fits the history and what the check before retrieval allows. Throws
    // as resolveClient does for a custom model that is gone or refused.
    int contextLength(const Conversation& conversation);
    // The client for speech and transcription, always OpenAI's. Throws
    // apiKeyMissing without a key.
    std::shared_ptr<OpenAI> defaultClient();
    // Forgets the kept clients and custom models, so that the next request
    // reads the settings and the table again (after a custom model changes).
    void clearCaches();

  private:
    std::shared_ptr<OpenAI> builtInClient(bool requireKey);
    // The chat's custom model (none for the built-in route), checked.
    std::optional<CustomModel> customModelOf(const Conversation& conversation);
    int contextLengthOf(const Conversation& conversation,
                        const std::optional<CustomModel>& custom) const;

    const AppPreferences& preferences_;
    CustomModelHelper customModelHelper_;
    CustomModelSecrets secrets_;
    HttpClientFactory makeHttpClient_;
    std::mutex mutex_;
    std::map<int64_t, std::shared_ptr<OpenAI>> openAIClients_;
    std::map<int64_t, CustomModel> customModels_;  // looked at before the table
};

}  // namespace folvane

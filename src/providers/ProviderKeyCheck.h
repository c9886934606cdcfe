#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "providers/ChatQuery.h"
#include "providers/MistralModelList.h"
#include "providers/OpenAISettings.h"
#include "providers/ProviderForm.h"
#include "store/CustomModel.h"

namespace folvane {

class HttpClient;

// What a passing check learnt on the way.
struct ProviderCheckResult {
    // The OpenAI form: the account lists "gpt-4".
    bool supportGPT4 = false;
    // The Ollama form: the names of the models the server holds.
    std::vector<std::string> ollamaModels;
};

// The check that each provider form runs on its key or endpoint before it
// saves: one small request through the provider's own client. A check that
// returns passed; a failing one throws the client's error, whose what() is
// the words the form shows. Runs on the caller's thread (a worker).
class ProviderKeyCheck {
  public:
    ProviderKeyCheck(std::shared_ptr<HttpClient> http, ProviderEndpoints endpoints);

    // The OpenAI form: "Say hi." to "gpt-3.5-turbo" with the key, through the
    // custom host (and organization) when one is set, then the account's
    // model list. With tokenAlone (the key modal) the host is ignored and the
    // model list is not read.
    ProviderCheckResult checkOpenAI(const OpenAISettings& settings, bool tokenAlone,
                                    std::stop_token stop = {}) const;

    // A row's form, given the row as it would be saved and the key.
    ProviderCheckResult checkRow(ProviderForm form, const CustomModel& row,
                                 const std::string& apiKey, std::stop_token stop = {}) const;

    // The model lists behind "Refresh".
    std::vector<std::string> ollamaModels(const std::string& baseURL,
                                          std::stop_token stop = {}) const;
    std::vector<MistralModel> mistralModels(const std::string& apiKey,
                                            std::stop_token stop = {}) const;

    // One user message, every optional field absent, not streamed.
    static ChatQuery checkQuery(std::string model, std::string text);

  private:
    void chatCheck(const Configuration& configuration, const ChatQuery& query, bool requireChoices,
                   std::stop_token stop) const;

    std::shared_ptr<HttpClient> http_;
    ProviderEndpoints endpoints_;
};

}  // namespace folvane

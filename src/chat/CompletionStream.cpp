#include "chat/CompletionStream.h"

#include <algorithm>

#include "chat/ChatService.h"
#include "platform/HttpClient.h"
#include "platform/Log.h"
#include "providers/APIErrorResponse.h"
#include "providers/ReferenceSeparator.h"
#include "runtime/Throttler.h"

namespace folvane {

namespace {

constexpr std::string_view rejectionLeadIn =
    "Sorry, OpenAI has rejected your request. Here is the error message from OpenAI: ";

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

bool isCancellation(const std::exception& error) {
    const auto* transport = dynamic_cast<const HttpTransportError*>(&error);
    return transport && transport->kind() == HttpTransportError::Kind::cancelled;
}

}  // namespace

std::string errorText(const std::exception& error) {
    if (const auto* rejection = dynamic_cast<const APIErrorResponse*>(&error)) {
        return std::string(rejectionLeadIn) + rejection->error().message;
    }
    return error.what();
}

std::string errorText(std::exception_ptr error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& caught) {
        return errorText(caught);
    } catch (...) {
        return "An unknown error occurred.";
    }
}

CompletionStream::CompletionStream(ChatService& service, std::shared_ptr<CompletionSink> sink,
                                   FunctionStep functionStep,
                                   std::chrono::duration<double> throttleDelay)
    : service_(service),
      sink_(std::move(sink)),
      functionStep_(std::move(functionStep)),
      throttler_(std::make_unique<Throttler>(throttleDelay)) {}

CompletionStream::~CompletionStream() = default;

void CompletionStream::split(const std::string& text, std::string& answer, std::string& pageLine) {
    constexpr std::string_view separator = referenceSeparator;
    const size_t first = text.find(separator);
    if (first == std::string::npos) {
        answer = text;
        return;
    }
    // Two cuts at most: whatever follows a third separator stays in the last
    // piece.
    std::vector<std::string_view> pieces;
    const std::string_view whole(text);
    pieces.push_back(whole.substr(0, first));
    size_t rest = first + separator.size();
    const size_t second = whole.find(separator, rest);
    if (second == std::string::npos) {
        pieces.push_back(whole.substr(rest));
    } else {
        pieces.push_back(whole.substr(rest, second - rest));
        pieces.push_back(whole.substr(second + separator.size()));
    }
    std::erase_if(pieces, [](std::string_view piece) { return piece.empty(); });
    if (pieces.empty()) {
        answer = text;
        return;
    }
    answer = trimmed(pieces.front());
    pageLine = trimmed(pieces.back());
}

std::string CompletionStream::settledText(const std::string& answer) {
    constexpr std::string_view separator = referenceSeparator;
    const std::string_view view(answer);
    size_t end = answer.size();
    for (size_t length = std::min(separator.size(), answer.size()); length > 0; --length) {
        if (separator.starts_with(view.substr(answer.size() - length))) {
            end = answer.size() - length;
            break;
        }
    }
    while (end > 0 && isBlank(answer[end - 1])) --end;
    return answer.substr(0, end);
}

void CompletionStream::announce(AssistantState state) {
    if (announced_) return;
    announced_ = true;
    sink_->setAssistantState(state);
}

void CompletionStream::showLiveText() {
    std::string live =
        text_.find(referenceSeparator) == std::string::npos ? settledText(answer_) : answer_;
    uint64_t number = 0;
    {
        std::lock_guard lock(liveWrites_->mutex);
        number = ++liveWrites_->latest;
    }
    throttler_->throttle([sink = sink_, writes = liveWrites_, live = std::move(live), number] {
        std::lock_guard lock(writes->mutex);
        if (number == writes->latest) sink->showLiveText(live);
    });
}

void CompletionStream::showFinalText() {
    std::lock_guard lock(liveWrites_->mutex);
    ++liveWrites_->latest;
    sink_->showAnswer(answer_);
}

void CompletionStream::receive(const ChatStreamResult& chunk) {
    if (chunk.choices.empty()) return;
    const ChatStreamResult::Choice& choice = chunk.choices.front();

    if (choice.finishReason) {
        const std::string reason = *choice.finishReason;
        if (reason == "function_call") {
            if (functionStep_) {
                FunctionStepResult result = functionStep_(functionName_, functionArguments_);
                for (auto& message : result.extraMessages) {
                    extraMessages_.push_back(std::move(message));
                }
                functionName_.clear();
                functionArguments_.clear();
                if (result.succeeded) functionCalled_ = true;
            }
        } else {
            reasonSeen_ = true;
        }
        sink_->setLastFinishReason(reason);
        return;
    }

    const ChatStreamResult::Delta& delta = choice.delta;
    if (delta.functionCall) {
        if (delta.functionCall->name) functionName_ = *delta.functionCall->name;
        if (delta.functionCall->arguments) functionArguments_ += *delta.functionCall->arguments;
        announce(AssistantState::reading);
    } else if (delta.content) {
        text_ += *delta.content;
        announce(AssistantState::typing);
        split(text_, answer_, pageLine_);
        showLiveText();
    }
}

CompletionStream::PassEnd CompletionStream::runPass(const std::string& systemInstruction,
                                                    const std::vector<Message>& history,
                                                    const Conversation& conversation,
                                                    std::stop_token stop) {
    std::vector<Message> messages = history;
    messages.insert(messages.end(), extraMessages_.begin(), extraMessages_.end());
    service_.chatStream(
        systemInstruction, messages, conversation,
        [this](const ChatStreamResult& chunk) { receive(chunk); }, stop);
    return stop.stop_requested() ? PassEnd::stopped : PassEnd::ended;
}

CompletionStream::Ending CompletionStream::run(const std::string& systemInstruction,
                                               const std::vector<Message>& history,
                                               const Conversation& conversation,
                                               std::stop_token stop) {
    Ending ending = Ending::finished;
    try {
        for (;;) {
            ++passCount_;
            reasonSeen_ = false;
            announced_ = false;
            const PassEnd passEnd = runPass(systemInstruction, history, conversation, stop);
            split(text_, answer_, pageLine_);
            showFinalText();
            if (passEnd == PassEnd::stopped) {
                ending = Ending::cancelled;
                break;
            }
            if (reasonSeen_ || !functionCalled_ || stop.stop_requested()) break;
            if (passCount_ >= maximumPasses) {
                log("The model still calls functions after " + std::to_string(passCount_) +
                    " passes; the request ends here");
                break;
            }
        }
    } catch (const std::exception& error) {
        // What arrived until the failure still reaches the live message.
        split(text_, answer_, pageLine_);
        showFinalText();
        if (isCancellation(error) || stop.stop_requested()) {
            ending = Ending::cancelled;
        } else {
            errorWords_ = errorText(error);
            log(errorWords_);
            sink_->fail(errorWords_);
            return dynamic_cast<const APIErrorResponse*>(&error) ? Ending::rejected
                                                                 : Ending::failed;
        }
    }
    if (ending == Ending::finished && stop.stop_requested()) ending = Ending::cancelled;
    sink_->setAssistantState(AssistantState::idle);
    return ending;
}

}  // namespace folvane

#include "conversation/MessageRequest.h"

#include <algorithm>
#include <cctype>

#include "chat/ChatService.h"
#include "chat/CompletionStream.h"
#include "conversation/RequestSink.h"
#include "conversation/ToolCallHandler.h"
#include "documents/ContextBuilder.h"
#include "platform/Log.h"
#include "providers/GPTEncoder.h"
#include "providers/TokenHelper.h"

namespace folvane {

namespace {

std::string trimmed(std::string_view text) {
    const auto blank = [](unsigned char c) { return std::isspace(c) != 0; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return std::string(text);
}

}  // namespace

MessageRequest::MessageRequest(RequestSetup setup, ChatService& service, const GPTEncoder& encoder,
                               std::function<std::shared_ptr<EmbeddingsProtocol>()> localEmbedder,
                               std::shared_ptr<RequestSink> sink)
    : setup_(std::move(setup)),
      service_(service),
      encoder_(encoder),
      localEmbedder_(std::move(localEmbedder)),
      sink_(std::move(sink)) {}

void MessageRequest::run(std::stop_token stop) {
    std::string systemInstruction;
    std::vector<Message> history;
    if (!buildContext(systemInstruction, history)) return;

    sink_->change([](ChatDetailState& s) {
        s.contextMode = ChatContextMode::all;
        s.stringContext.clear();
    });

    std::string answer;
    std::vector<Reference> toolReferences;
    if (stop.stop_requested()) {
        sink_->change([](ChatDetailState& s) { s.assistantState = AssistantState::idle; });
    } else {
        auto tools = std::make_shared<ToolCallHandler>(setup_.conversation, setup_.bookmarks);
        CompletionStream stream(service_, sink_,
                                [tools](const std::string& name, const std::string& arguments) {
                                    return CompletionStream::FunctionStepResult{
                                        true, tools->call(name, arguments).messages};
                                });
        const auto ending = stream.run(systemInstruction, history, setup_.conversation, stop);
        answer = stream.answer();
        toolReferences = tools->toolReferences();
        if (ending == CompletionStream::Ending::rejected) {
            // The server ended the answer with an error: what came before it is
            // no answer and is not stored, as when the server refuses at once.
            // The question stays and the error's words are in lastError.
            sink_->change([](ChatDetailState& s) { s.liveMessage.reset(); });
        } else if (!answer.empty()) {
            auto references = replyReferences(answer, stream.pageLine(), toolReferences);
            sink_->change([references = std::move(references)](ChatDetailState& s) {
                if (s.liveMessage) s.liveMessage->references = references;
            });
        }
    }
    sink_->finish(RequestSink::Outcome{promptCost(systemInstruction)});
}

bool MessageRequest::buildContext(std::string& systemInstruction, std::vector<Message>& history) {
    if (setup_.messages.empty()) {
        sink_->change([](ChatDetailState& s) {
            s.assistantState = AssistantState::idle;
            s.liveMessage.reset();
        });
        return false;
    }
    Message lastMessage = setup_.messages.back();
    history.assign(setup_.messages.begin(), setup_.messages.end() - 1);
    const auto fail = [this](std::string words) {
        sink_->change([words = std::move(words)](ChatDetailState& s) {
            s.assistantState = AssistantState::failed;
            s.lastError = words;
            s.liveMessage.reset();
        });
    };

    // The question is checked against what the chat's route may hold.
    int contextLength = 0;
    if (setup_.contextMode == ChatContextMode::all) {
        try {
            contextLength = service_.contextLength(setup_.conversation);
        } catch (const std::exception& error) {
            fail(errorText(error));
            return false;
        }
    }
    const ContextBuilder builder(setup_.indexes, setup_.bookmarks, encoder_, contextLength,
                                 setup_.redaction);
    switch (setup_.contextMode) {
        case ChatContextMode::all: {
            ContextBuilder::Instruction context;
            try {
                context = builder.generateSystemInstructionForQuery(
                    setup_.content, setup_.conversation.model, retrievalCount);
            } catch (const std::exception& error) {
                fail(errorText(error));
                return false;
            }
            if (context.results.empty()) {
                fail(noRelevantContent);
                return false;
            }
            systemInstruction = context.instruction;
            applyUserInstruction(setup_.userInstruction, setup_.appendUserInstruction,
                                 systemInstruction, lastMessage);
            systemInstruction += "\n\n" + context.contentBlock;
            history.push_back(lastMessage);
            for (const auto& result : context.results) {
                if (auto reference = makeReference(result)) references_.push_back(*reference);
            }
            std::stable_sort(references_.begin(), references_.end(),
                             [](const Reference& a, const Reference& b) {
                                 return a.page.value_or(0) < b.page.value_or(0);
                             });
            candidates_ = std::move(context.results);
            sink_->change([references = references_](ChatDetailState& s) {
                if (s.liveMessage) s.liveMessage->references = references;
            });
            break;
        }
        case ChatContextMode::quotedContent:
            systemInstruction = builder.quotedContentInstruction();
            applyUserInstruction(setup_.userInstruction, setup_.appendUserInstruction,
                                 systemInstruction, lastMessage);
            systemInstruction += "\n\n" + ContextBuilder::contentBlock(setup_.stringContext);
            history = {lastMessage};
            break;
        case ChatContextMode::images:
            systemInstruction = imageInstruction;
            applyUserInstruction(setup_.userInstruction, setup_.appendUserInstruction,
                                 systemInstruction, lastMessage);
            history = {lastMessage};
            break;
        case ChatContextMode::singleDocument:
            // Nothing builds a context for it: the message goes alone.
            history = {lastMessage};
            break;
    }
    return true;
}

void MessageRequest::applyUserInstruction(const std::string& userInstruction, bool appendToMessage,
                                          std::string& systemInstruction, Message& lastMessage) {
    if (userInstruction.empty()) return;
    if (appendToMessage) {
        lastMessage.content += "\n\n" + userInstruction;
    } else {
        systemInstruction += "\n\n=====\nADDITIONAL INSTRUCTION:\n=====\n" + userInstruction;
    }
}

std::vector<std::string> MessageRequest::pagesFromPageLine(std::string pageLine) {
    if (pageLine.starts_with("Page:")) {
        for (size_t at = pageLine.find("Page:"); at != std::string::npos;
             at = pageLine.find("Page:", at)) {
            pageLine.erase(at, 5);
        }
        pageLine = trimmed(pageLine);
    }
    std::vector<std::string> pages;
    size_t from = 0;
    while (from <= pageLine.size()) {
        size_t comma = pageLine.find(',', from);
        if (comma == std::string::npos) comma = pageLine.size();
        const std::string piece = pageLine.substr(from, comma - from);
        if (!piece.empty()) {
            std::string digits;
            for (char c : trimmed(piece)) {
                if (std::isdigit(static_cast<unsigned char>(c))) digits += c;
            }
            pages.push_back(std::move(digits));
        }
        from = comma + 1;
    }
    return pages;
}

std::vector<Reference> MessageRequest::referencesOnPages(const std::vector<Reference>& references,
                                                         const std::vector<std::string>& pages) {
    std::vector<Reference> kept;
    for (const auto& reference : references) {
        if (!reference.page) continue;
        if (std::find(pages.begin(), pages.end(), std::to_string(*reference.page)) != pages.end()) {
            kept.push_back(reference);
        }
    }
    return kept;
}

std::vector<Reference> MessageRequest::replyReferences(
    const std::string& answer, const std::string& pageLine,
    const std::vector<Reference>& toolReferences) {
    if (!toolReferences.empty()) return toolReferences;
    const auto pages = pagesFromPageLine(pageLine);
    if (!pages.empty()) return referencesOnPages(references_, pages);
    if (candidates_.empty() || !localEmbedder_) return {};
    std::vector<Reference> chosen;
    for (const auto& result : checkReferenceScore(localEmbedder_(), answer, candidates_)) {
        if (auto reference = makeReference(result, true)) chosen.push_back(*reference);
    }
    return chosen;
}

double MessageRequest::promptCost(const std::string& systemInstruction) const {
    const auto price = [this](const std::string& content, const std::string& model,
                              const std::string& role) {
        return static_cast<double>(encoder_.count(content)) * tokenPrice(model, role);
    };
    double cost = price(systemInstruction, setup_.requestModel, "system");
    for (const auto& message : setup_.messages) {
        cost += price(message.content, message.model, message.role);
    }
    return cost;
}

}  // namespace folvane

#include "shell/chat/TranscriptView.h"

#include <QTextBrowser>
#include <QVBoxLayout>

namespace folvane {

TranscriptView::TranscriptView(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent)
    : QWidget(parent),
      chat_(std::move(chat)),
      preferences_(preferences),
      text_(new QTextBrowser(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text_);
    subscription_ = chat_.subscribe([this] { render(); });
    render();
}

void TranscriptView::render() {
    QString text;
    const auto& state = chat_.state();
    for (const auto& message : state.messages)
        text += QString::fromStdString(message.content) + "\n\n";
    if (state.liveMessage) text += QString::fromStdString(state.liveMessage->content);
    text_->setPlainText(text);
}

}  // namespace folvane

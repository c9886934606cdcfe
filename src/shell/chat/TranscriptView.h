#pragma once

#include <QWidget>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QTextBrowser;

namespace folvane {

class AppPreferences;

// The messages of one chat, redrawn from its state.
class TranscriptView final : public QWidget {
    Q_OBJECT
  public:
    TranscriptView(ChatDetailRef chat, AppPreferences& preferences, QWidget* parent = nullptr);

  private:
    void render();

    ChatDetailRef chat_;
    AppPreferences& preferences_;
    QTextBrowser* text_;
    Subscription subscription_;
};

}  // namespace folvane

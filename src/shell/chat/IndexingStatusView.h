#pragma once

#include <QWidget>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace folvane {

// How far a chat's documents are, above its messages: the progress of a first
// indexing, the loading of stored rows, or the failure with "Try Again".
// Hidden when the documents are ready or nothing has started.
class IndexingStatusView final : public QWidget {
    Q_OBJECT
  public:
    explicit IndexingStatusView(ChatDetailRef chat, QWidget* parent = nullptr);

  private:
    void render();

    ChatDetailRef chat_;
    QLabel* headline_;
    QProgressBar* progress_;
    QLabel* detail_;
    QPushButton* tryAgain_;
    Subscription subscription_;
};

}  // namespace folvane

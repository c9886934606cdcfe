#pragma once

#include <QWidget>

#include "conversation/ChatListViewModel.h"

class QLineEdit;

namespace folvane {

// The find field above the messages: what is typed narrows the transcript to
// the messages that hold it, as it is typed; Escape or "Done" clears the
// search, so that every message shows again, and closes the bar.
class ChatSearchBar final : public QWidget {
    Q_OBJECT
  public:
    explicit ChatSearchBar(ChatDetailRef chat, QWidget* parent = nullptr);

    QLineEdit* field() const { return field_; }
    // Shows the bar with its text selected and the focus in the field.
    void open();

  signals:
    void closed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void close();

    ChatDetailRef chat_;
    QLineEdit* field_;
};

}  // namespace folvane

#pragma once

#include <QWidget>

#include "runtime/ObserverList.h"

class QListWidget;

namespace folvane {

class WindowManager;

// "Welcome to Folvane": the list of chats, newest first.
class StartWindow final : public QWidget {
    Q_OBJECT
  public:
    explicit StartWindow(WindowManager& windows, QWidget* parent = nullptr);

  private:
    void render();

    WindowManager& windows_;
    QListWidget* list_;
    Subscription subscription_;
};

}  // namespace folvane

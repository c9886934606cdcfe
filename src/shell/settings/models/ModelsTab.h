#pragma once

#include <QWidget>

namespace folvane {

class AppCore;

// The settings' Models tab: the OpenAI entry and the custom models on the
// left, the selected one's form on the right.
class ModelsTab final : public QWidget {
    Q_OBJECT
  public:
    explicit ModelsTab(AppCore& core, QWidget* parent = nullptr);
    ~ModelsTab() override;

  private:
    AppCore& core_;
};

}  // namespace folvane

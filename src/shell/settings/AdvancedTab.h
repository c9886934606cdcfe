#pragma once

#include <filesystem>
#include <memory>
#include <thread>

#include "shell/settings/SettingsPage.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace folvane {

class HttpClient;

// The Advanced tab: how documents are indexed. Where the vectors are made (on
// this machine, by OpenAI, or by OpenAI up to a page count), that page count,
// and how many indexing tasks run side by side. A change applies to documents
// processed afterwards. With an HTTP client, also the download of the local
// model's weights into the models folder, on a worker thread, with its
// progress and a Cancel button.
class AdvancedTab final : public SettingsPage {
    Q_OBJECT
  public:
    explicit AdvancedTab(AppPreferences& preferences, QWidget* parent = nullptr);
    AdvancedTab(AppPreferences& preferences, std::shared_ptr<HttpClient> http,
                std::filesystem::path modelsDirectory, QWidget* parent = nullptr);
    ~AdvancedTab() override;

  private:
    // Asks before indexing with OpenAI, which costs money; true to go on.
    bool confirmOpenAI();
    void addModelDownload(QFormLayout* form);
    void startDownload();

    std::shared_ptr<HttpClient> http_;
    std::filesystem::path modelsDirectory_;
    QPushButton* downloadButton_ = nullptr;
    QPushButton* cancelButton_ = nullptr;
    QProgressBar* downloadBar_ = nullptr;
    QLabel* downloadStatus_ = nullptr;
    // Last, so that it stops and joins before the widgets go.
    std::jthread worker_;
};

}  // namespace folvane

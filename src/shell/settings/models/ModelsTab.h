#pragma once

#include <QWidget>
#include <cstdint>
#include <memory>
#include <string>

#include "runtime/ObserverList.h"

class QLabel;
class QListWidget;
class QPushButton;
class QScrollArea;

namespace folvane {

class AppCore;
class CustomModelListViewModel;
class ProviderFormView;

// The settings' Models tab: on the left the OpenAI entry, then every custom
// model by name with its provider, the default one marked "DEFAULT"; "Add"
// and "Delete" under the list. On the right the selected entry's form.
class ModelsTab final : public QWidget {
    Q_OBJECT
  public:
    explicit ModelsTab(AppCore& core, QWidget* parent = nullptr);
    ~ModelsTab() override;

    QListWidget* modelList() const { return list_; }
    QPushButton* addButton() const { return add_; }
    QPushButton* deleteButton() const { return delete_; }
    // The form of the selected entry.
    ProviderFormView* currentForm() const { return form_; }
    // Shown when no Secret Service is reachable.
    QLabel* secretStoreNote() const { return secretNote_; }
    // Selects the entry of a row; 0 selects the OpenAI entry.
    void select(int64_t id);
    // The id of the selected entry (0: OpenAI).
    int64_t selectedId() const { return formId_; }

  private:
    void renderList();
    void showForm(int64_t id);
    void addModel(const std::string& provider);
    void askToDelete();

    AppCore& core_;
    std::unique_ptr<CustomModelListViewModel> models_;
    QListWidget* list_;
    QPushButton* add_;
    QPushButton* delete_;
    QLabel* secretNote_;
    QLabel* alert_;
    QScrollArea* formArea_;
    ProviderFormView* form_ = nullptr;
    int64_t formId_ = -1;
    bool rendering_ = false;
    Subscription modelsSubscription_;
    Subscription preferencesSubscription_;
};

}  // namespace folvane

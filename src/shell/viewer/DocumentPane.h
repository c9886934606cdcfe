#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "conversation/ChatListViewModel.h"
#include "runtime/ObserverList.h"

class QKeyEvent;
class QLabel;
class QStackedWidget;

namespace folvane {

class DocumentView;
class FindBar;
class GoToPageDialog;
class PageNavigator;

// The viewer beside the chat: the shown document's pages with the find bar
// and the page number, "No document selected" when there is none, or the
// failure with "Locate..." when the file cannot be opened. It shows the chat's
// first document until another is chosen, and the document of a page
// reference when one is followed.
class DocumentPane final : public QWidget {
    Q_OBJECT
  public:
    // Asks for the new place of a moved document; empty: cancelled. Tests set it.
    using LocateFile = std::function<QString(QWidget* parent, const QString& oldPath)>;
    // How long a followed reference waits for the viewer of another document.
    static constexpr int switchDelayMs = 100;

    explicit DocumentPane(ChatDetailRef chat, QWidget* parent = nullptr);
    ~DocumentPane() override;

    void showDocument(int64_t bookmarkId);
    std::optional<int64_t> shownBookmarkId() const { return shown_; }
    // The view of the open document; null when none is open.
    DocumentView* view() const { return view_; }
    FindBar* findBar() const { return findBar_; }
    void setLocateFile(LocateFile locate) { locateFile_ = std::move(locate); }
    void goToReference(const Reference& reference);

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    enum class Zoom { none, in, out, fit };
    // What a key does to the pages: Ctrl with "+" or "=", "-" or 0.
    static Zoom zoomOf(const QKeyEvent& event);

    void render();
    void open(const DocumentInfo& document);
    void showFailure();
    void locate();
    void showGoToForm();
    void addShortcuts();
    void updateStatus();

    ChatDetailRef chat_;
    std::shared_ptr<PageNavigator> navigator_;
    QStackedWidget* stack_;
    QWidget* empty_;
    QWidget* failure_;
    QWidget* viewer_;
    QLabel* status_;
    FindBar* findBar_;
    DocumentView* view_ = nullptr;
    GoToPageDialog* goTo_ = nullptr;
    std::optional<int64_t> shown_;
    std::optional<DocumentInfo> opened_;
    LocateFile locateFile_;
    Subscription subscription_;
};

}  // namespace folvane

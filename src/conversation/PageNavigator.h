#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "runtime/ObserverList.h"
#include "store/Reference.h"

namespace folvane {

// The one link from a chat to its document viewer. The view model sends on its
// channels and the viewer listens; neither holds the other. A channel keeps no
// value: a send reaches those who listen at that moment, and a send with no
// receiver does nothing. Sends and receivers run on the main thread.
class PageNavigator {
  public:
    using GoToReference = std::function<void(const Reference&)>;

    // A page counted from 1, with the text to highlight on it, if any.
    ObserverList<int, std::optional<std::string>> goToPage;
    ObserverList<> goToPreviousPage;
    ObserverList<> goToNextPage;
    ObserverList<> goBack;
    ObserverList<> goForward;
    ObserverList<> zoomIn;
    ObserverList<> zoomOut;
    ObserverList<std::string> find;
    ObserverList<> findNext;
    ObserverList<> findPrevious;
    ObserverList<int> highlightSearchResultAtIndex;

    // Set by the chat's view, called by a page-reference button.
    const GoToReference& goToReference() const { return goToReference_; }
    void setGoToReference(GoToReference handler) {
        goToReference_ = std::move(handler);
        changed_.notify();
    }
    // Told when goToReference is set.
    [[nodiscard]] Subscription subscribe(std::function<void()> observer) {
        return changed_.subscribe(std::move(observer));
    }

  private:
    GoToReference goToReference_;
    ObserverList<> changed_;
};

}  // namespace folvane

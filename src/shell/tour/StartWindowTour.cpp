#include "shell/tour/StartWindowTour.h"

#include <QEvent>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>

#include "conversation/AppCore.h"
#include "conversation/ChatListViewModel.h"
#include "shell/app/WindowManager.h"
#include "shell/tour/TourCardView.h"
#include "store/AppPreferences.h"

namespace folvane {
namespace {

constexpr int welcomeDelayMs = 1000;

}  // namespace

StartWindowTour::StartWindowTour(QWidget* window, QListWidget* chats, QPushButton* newChat,
                                 WindowManager& windows)
    : QObject(window),
      window_(window),
      chats_(chats),
      newChat_(newChat),
      windows_(windows),
      card_(new TourCardView(window)) {
    window->installEventFilter(this);
    connect(card_, &TourCardView::continued, this, &StartWindowTour::onContinue);
    connect(card_, &TourCardView::ended, this, [this](TourCard card) {
        OnboardingTour::store(windows_.core().preferences(),
                              OnboardingTour::afterEnd(card, facts()));
    });
    connect(card_, &TourCardView::closed, this, [this](TourCard card) {
        OnboardingTour::store(windows_.core().preferences(),
                              OnboardingTour::afterClose(card, facts()));
    });
    preferencesSubscription_ =
        windows_.core().preferences().subscribe([this](std::string_view) { recheck(); });
    listSubscription_ = windows_.core().chatList().subscribe([this] { recheck(); });
}

TourFacts StartWindowTour::facts() const {
    auto& core = windows_.core();
    return OnboardingTour::facts(core.preferences(), core.chatList().state().chats.size());
}

bool StartWindowTour::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_ && event->type() == QEvent::Show) {
        check(TourCard::openDocuments);
        QTimer::singleShot(welcomeDelayMs, this, [this] { check(TourCard::welcome); });
    }
    return QObject::eventFilter(watched, event);
}

void StartWindowTour::check(TourCard card) {
    if (card_->isPresented() || !window_->isVisible()) return;
    if (!OnboardingTour::holds(card, facts())) return;
    if (card == TourCard::welcome) {
        QListWidget* list = chats_;
        // At the first chat of the list, or the top of an empty one.
        card_->present(card, list, TourCardView::Side::below, [list] {
            QRect row = list->count() ? list->visualItemRect(list->item(0)) : QRect();
            if (row.isEmpty()) row = QRect(0, 0, list->viewport()->width(), 1);
            return QRect(list->viewport()->mapTo(list, row.topLeft()), row.size());
        });
    } else {
        card_->present(card, newChat_, TourCardView::Side::below);
    }
}

void StartWindowTour::recheck() {
    if (card_->isPresented() && !OnboardingTour::holds(card_->card(), facts())) {
        card_->withdraw();
    }
}

void StartWindowTour::chatOpening() {
    OnboardingTour::chatOpened(windows_.core().preferences(),
                               windows_.core().chatList().state().chats.size());
}

void StartWindowTour::onContinue(TourCard card) {
    AppPreferences& preferences = windows_.core().preferences();
    const TourFacts before = facts();
    if (card == TourCard::welcome) {
        OnboardingTour::store(preferences, OnboardingTour::afterContinue(card, before));
        const auto& chats = windows_.core().chatList().state().chats;
        if (!chats.empty()) windows_.openChat(chats.front().id());
    } else {
        // The card has closed; then the button's own work, the file panel, which
        // waits for the user; then the end. The settings outlive the window.
        OnboardingTour::store(preferences, OnboardingTour::afterClose(card, before));
        newChat_->click();
        OnboardingTour::store(preferences, OnboardingTour::afterContinue(card, before));
    }
}

}  // namespace folvane

#pragma once

#include <functional>
#include <utility>

#include "runtime/ObserverList.h"

namespace folvane {

// The frame of every screen with behaviour: one published State value, one
// kind of Input. A view reads state() and sends trigger(input); it never writes
// the state and never calls the service. Observers are told after each change,
// on the main thread, where all state is written.
template <typename StateT, typename InputT>
class ViewModel {
  public:
    using State = StateT;
    using Input = InputT;

    virtual ~ViewModel() = default;
    virtual const State& state() const = 0;
    virtual void trigger(Input input) = 0;
    [[nodiscard]] virtual Subscription subscribe(std::function<void()> observer) = 0;
};

// The state-holding half that implementations share: the whole value is
// written at once, and every write tells the observers.
template <typename StateT, typename InputT>
class PublishingViewModel : public ViewModel<StateT, InputT> {
  public:
    const StateT& state() const override { return state_; }
    [[nodiscard]] Subscription subscribe(std::function<void()> observer) override {
        return observers_.subscribe(std::move(observer));
    }

  protected:
    explicit PublishingViewModel(StateT initial = {}) : state_(std::move(initial)) {}

    void setState(StateT state) {
        state_ = std::move(state);
        observers_.notify();
    }
    // Reads the current state, lets change() edit a copy, and writes it back.
    template <typename Change>
    void updateState(Change&& change) {
        StateT next = state_;
        change(next);
        setState(std::move(next));
    }

  private:
    StateT state_;
    ObserverList<> observers_;
};

}  // namespace folvane

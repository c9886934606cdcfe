#pragma once

#include <memory>

#include "conversation/ViewModel.h"

namespace folvane {

// A view model of any class behind one type for its State and Input, as the
// views and lists hold them. When State has an identity (an id() member), the
// wrapper has the same one, so lists of wrapped view models keep stable ids.
template <typename StateT, typename InputT>
class AnyViewModel final : public ViewModel<StateT, InputT> {
  public:
    explicit AnyViewModel(std::shared_ptr<ViewModel<StateT, InputT>> wrapped)
        : wrapped_(std::move(wrapped)) {}

    const StateT& state() const override { return wrapped_->state(); }
    void trigger(InputT input) override { wrapped_->trigger(std::move(input)); }
    [[nodiscard]] Subscription subscribe(std::function<void()> observer) override {
        return wrapped_->subscribe(std::move(observer));
    }

    auto id() const requires requires(const StateT& state) { state.id(); }
    { return state().id(); }

    const std::shared_ptr<ViewModel<StateT, InputT>>& wrapped() const { return wrapped_; }

  private:
    std::shared_ptr<ViewModel<StateT, InputT>> wrapped_;
};

}  // namespace folvane

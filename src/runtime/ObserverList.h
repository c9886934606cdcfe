#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace folvane {

// Keeps an observer subscribed for as long as it lives. It may outlive what it
// observes, and may be cancelled or destroyed inside a notification.
class Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            cancel();
            cancel_ = std::exchange(other.cancel_, {});
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { cancel(); }

    void cancel() {
        if (auto cancel = std::exchange(cancel_, {})) cancel();
    }

  private:
    std::function<void()> cancel_;
};

// The observers of one thing. Notifying calls each observer that is still
// subscribed at the moment of its call, outside the list's lock, so an
// observer may subscribe or cancel from inside its callback.
template <typename... Args>
class ObserverList {
  public:
    using Observer = std::function<void(Args...)>;

    [[nodiscard]] Subscription subscribe(Observer observer) {
        std::lock_guard lock(shared_->mutex);
        const uint64_t id = shared_->nextId++;
        shared_->observers.emplace(id, std::make_shared<Observer>(std::move(observer)));
        return Subscription([weak = std::weak_ptr<Shared>(shared_), id] {
            if (auto shared = weak.lock()) {
                std::lock_guard guard(shared->mutex);
                shared->observers.erase(id);
            }
        });
    }

    void notify(const Args&... args) const {
        std::vector<std::pair<uint64_t, std::shared_ptr<Observer>>> current;
        {
            std::lock_guard lock(shared_->mutex);
            current.assign(shared_->observers.begin(), shared_->observers.end());
        }
        for (const auto& [id, observer] : current) {
            {
                std::lock_guard lock(shared_->mutex);
                if (!shared_->observers.contains(id)) continue;
            }
            (*observer)(args...);
        }
    }

  private:
    struct Shared {
        std::mutex mutex;
        std::map<uint64_t, std::shared_ptr<Observer>> observers;
        uint64_t nextId = 1;
    };
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace folvane

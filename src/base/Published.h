#pragma once

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/MainThread.h"

namespace halvenor {

namespace detail {

struct Listener {
    bool active = true;
};

}  // namespace detail

/// Ends its listening when it goes out of scope. Move-only; main thread.
class [[nodiscard]] Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<detail::Listener> listener)
        : listener_(std::move(listener)) {}
    Subscription(Subscription&& other) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            end();
            listener_ = std::move(other.listener_);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { end(); }

    /// Ends it early; nothing is delivered afterwards, not even what was already posted.
    void end() {
        if (listener_) {
            listener_->active = false;
            listener_.reset();
        }
    }

  private:
    std::shared_ptr<detail::Listener> listener_;
};

/// A set of subscriptions that end with their owner.
using Subscriptions = std::vector<Subscription>;

/// A value that tells its observers of every assignment, equal values included.
///
/// An observer runs synchronously, after the new value is in place. It may subscribe, end any
/// subscription (its own too) and assign again while it runs: then every observer hears of the
/// inner value first, and those that were still to hear of the outer one get the inner one again.
/// It must not destroy the Published. Main thread.
template <class T>
class Published {
  public:
    Published() = default;
    explicit Published(T initial) : value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& value() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    Published& operator=(T value) {
        set(std::move(value));
        return *this;
    }
    void set(T value) {
        value_ = std::move(value);
        notify();
    }
    /// Changes the value in place, then notifies once.
    template <class Change>
    void mutate(Change change) {
        change(value_);
        notify();
    }

    /// Calls `observer` with the value on each assignment from now on.
    Subscription subscribe(std::function<void(const T&)> observer) {
        auto listener = std::make_shared<Entry>();
        listener->observer = std::move(observer);
        add(listener);
        return Subscription(listener);
    }

    /// The present value and every later one, each delivered in a later turn of the main event
    /// loop, in order.
    Subscription subscribeQueued(std::function<void(const T&)> observer) {
        auto shared = std::make_shared<std::function<void(const T&)>>(std::move(observer));
        auto listener = std::make_shared<Entry>();
        const std::weak_ptr<Entry> weak = listener;
        listener->observer = [weak, shared](const T& value) {
            postToMainThread([weak, shared, value] {
                const auto alive = weak.lock();
                if (alive && alive->active) {
                    (*shared)(value);
                }
            });
        };
        add(listener);
        listener->observer(value_);
        return Subscription(listener);
    }

  private:
    struct Entry : detail::Listener {
        std::function<void(const T&)> observer;
    };

    void add(std::shared_ptr<Entry> entry) {
        // Observers that come and go between assignments must not pile up.
        if (entries_.size() == entries_.capacity()) {
            removeEnded();
        }
        entries_.push_back(std::move(entry));
    }

    void removeEnded() {
        if (depth_ == 0) {
            std::erase_if(entries_, [](const auto& entry) { return !entry->active; });
        }
    }

    void notify() {
        ++depth_;
        // By index: observers may add entries. Those wait for the next assignment.
        const size_t count = entries_.size();
        for (size_t i = 0; i < count; ++i) {
            const std::shared_ptr<Entry> entry = entries_[i];
            if (entry->active) {
                entry->observer(value_);
            }
        }
        --depth_;
        removeEnded();
    }

    T value_{};
    std::vector<std::shared_ptr<Entry>> entries_;
    int depth_ = 0;
};

}  // namespace halvenor

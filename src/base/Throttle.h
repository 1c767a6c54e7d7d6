#pragma once

#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace halvenor {

/// Lets at most one value through in each interval, always the latest. The first passes at once;
/// one that comes too soon waits for the interval to end. Main thread.
template <class T>
class Throttle {
  public:
    Throttle(std::chrono::milliseconds interval, std::function<void(const T&)> deliver)
        : deliver_(std::move(deliver)) {
        pause_.setSingleShot(true);
        pause_.setInterval(interval);
        QObject::connect(&pause_, &QTimer::timeout, &pause_, [this] {
            if (const auto value = std::exchange(waiting_, std::nullopt)) {
                pass(*value);
            }
        });
    }

    void push(const T& value) {
        if (pause_.isActive()) {
            waiting_ = value;
        } else {
            pass(value);
        }
    }

  private:
    void pass(const T& value) {
        pause_.start();
        deliver_(value);
    }

    std::function<void(const T&)> deliver_;
    std::optional<T> waiting_;
    QTimer pause_;
};

}  // namespace halvenor

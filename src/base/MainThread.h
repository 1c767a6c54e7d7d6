#pragma once

#include <QCoreApplication>
#include <QMetaObject>

#include <mutex>
#include <utility>

namespace halvenor {

namespace detail {

/// Holds the application object alive while a thread posts to it: its destructor waits until this
/// is gone. Any thread.
class ApplicationLock {
  public:
    ApplicationLock();
    /// Null before the application object is made and once its end has begun.
    QCoreApplication* application() const { return application_; }

  private:
    std::unique_lock<std::mutex> lock_;
    QCoreApplication* application_ = nullptr;
};

}  // namespace detail

/// Runs `work` in a later turn of the main event loop. Any thread. Work posted before the
/// application object is made, or after its end has begun, is dropped.
template <class Work>
void postToMainThread(Work work) {
    const detail::ApplicationLock lock;
    if (QCoreApplication* application = lock.application()) {
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
    }
}

}  // namespace halvenor

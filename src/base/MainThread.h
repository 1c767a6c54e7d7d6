#pragma once

#include <QCoreApplication>
#include <QMetaObject>

#include <utility>

namespace halvenor {

/// Runs `work` in a later turn of the main event loop. Any thread. Work posted after the
/// application object is gone is dropped.
template <class Work>
void postToMainThread(Work work) {
    if (QCoreApplication* application = QCoreApplication::instance()) {
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
    }
}

}  // namespace halvenor

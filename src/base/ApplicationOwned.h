#pragma once

#include <QCoreApplication>

namespace halvenor {

/// The one object of its type that is made when it is first asked for and ends as the application
/// object begins to end. For services whose workers load libraries: a static one would end after
/// those libraries' own statics, with its worker still among them. Main thread, and not once the
/// application has ended.
template <class Object>
Object& applicationOwned() {
    static Object* object = nullptr;
    if (object == nullptr) {
        object = new Object;
        qAddPostRoutine([] {
            delete object;
            object = nullptr;
        });
    }
    return *object;
}

}  // namespace halvenor

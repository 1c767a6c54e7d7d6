#pragma once

#include <QList>
#include <QPointer>
#include <QString>

#include "base/Task.h"
#include "state/AppState.h"

namespace halvenor {

/// How a save of several files went.
struct TagSaveOutcome {
    TagSaveOutcome() = default;

    /// As they were written.
    QList<Track> updated;
    /// Names of the files that could not be written.
    QList<QString> failedNames;

    /// What to tell the user about the failures; absent without any.
    std::optional<QString> message() const;
};

/// Writes the tags of `tracks` into their files, one after another, and brings the state up to
/// date with those that were written. A failure does not stop the others. The save goes on when
/// its editor is closed. Main thread.
Task<TagSaveOutcome> saveTags(QPointer<AppState> state, QList<Track> tracks);

}  // namespace halvenor

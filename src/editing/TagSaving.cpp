#include "editing/TagSaving.h"

#include "tags/TagService.h"

namespace halvenor {

namespace {

// Whether the tags are in the file now. The editor tells which files failed, not why.
Task<bool> isWritten(Track track) {
    auto job = TagService::shared().writeMetadata(track);
    bool isDone = false;
    try {
        co_await job;
        isDone = true;
    } catch (const std::exception& error) {
        qWarning("The tags of %s could not be written: %s", track.id().constData(), error.what());
    }
    co_return isDone;
}

}  // namespace

std::optional<QString> TagSaveOutcome::message() const {
    constexpr qsizetype mostNames = 3;
    if (failedNames.isEmpty()) {
        return std::nullopt;
    }
    return QStringLiteral("Could not update %1 file(s): %2")
        .arg(QString::number(failedNames.size()),
             failedNames.first(std::min(mostNames, failedNames.size())).join(QStringLiteral(", ")));
}

Task<TagSaveOutcome> saveTags(QPointer<AppState> state, QList<Track> tracks) {
    TagSaveOutcome outcome;
    for (const Track& track : tracks) {
        bool hasWritten = false;
        if (TagService::supportsTagWriting(track.url())) {
            auto writing = isWritten(track);
            hasWritten = co_await writing;
        }
        if (!hasWritten) {
            outcome.failedNames.append(displayText(track.url().lastPathComponent()));
            continue;
        }
        outcome.updated.append(track);
        if (state) {
            state->fileWasReplaced(track.url());
        }
    }
    auto flushing = TagService::shared().flushWrites();
    co_await flushing;
    if (state) {
        state->applyMetadataUpdates(outcome.updated);
    }
    co_return outcome;
}

}  // namespace halvenor

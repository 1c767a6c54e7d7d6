#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

#include "state/AppState.h"
#include "support/EventLoop.h"
#include "support/ManualOutput.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

/// A real AppState on a real, temporary folder of music, with an output that is pulled by hand.
class AppStateFixture : public testing::Test {
  protected:
    AppStateFixture();
    ~AppStateFixture() override;

    /// Ends the state there is, settings saved, and starts another on the same settings.
    void startState();
    /// Ends the state, settings saved.
    void endState();
    /// Starts anew with this text for all settings.
    void startWith(const QByteArray& settings);
    AppState& state() { return *state_; }
    AudioEngineManager& engine() { return state_->audioEngine(); }

    FileUrl folder(const QByteArray& relative) const { return directory_.at(relative); }
    /// Makes the folder and, in it, a short stereo WAV file for each name.
    void makeFolder(const QByteArray& relative, const std::vector<QByteArray>& files = {});

    void makeFile(const QByteArray& relative, const QByteArray& contents) const {
        directory_.makeFile(relative, contents);
    }

    FolderItem item(const QByteArray& relative) const { return FolderItem(folder(relative), true); }
    /// A record of what is there, as if it had been listed.
    Track track(const QByteArray& relative) const;
    QList<Track> tracks(const std::vector<QByteArray>& relative) const;
    Playlist makePlaylist(const std::vector<QByteArray>& relative);
    /// Moves it, into a folder that is made.
    void moveItem(const QByteArray& from, const QByteArray& to);
    /// Takes all bytes but the first ones from a file that was made.
    void truncate(const QByteArray& relative, int bytesLeft = 0) const;

    /// Opens the folder, made with these files, and waits until it is listed and its tags are read.
    void openAndRead(const QByteArray& relative, const std::vector<QByteArray>& files = {});
    /// Adds the Location, made with these files, and waits until it is listed.
    void addLocation(const QByteArray& relative, const std::vector<QByteArray>& files = {});

    /// Adds the Location "lib" of these folders, each with its files, and waits until it is listed.
    void addLibrary(const std::vector<std::pair<QByteArray, std::vector<QByteArray>>>& folders);

    /// Plays to the end of the current track, and on into the next or to the end of all.
    void playTrackToItsEnd();

    /// The file name, without its extension, of the track that the engine has current; "none".
    QByteArray current();
    /// The same of the track queued behind it.
    QByteArray queued();

    /// The track in this row of the list on show.
    Track shown(qsizetype row) { return state().playbackQueue->at(row); }

    /// Waits until the user is told of a failure, and dismisses it. @return its text, empty if none
    QString takeFailure();

    Settings storedSettings();

    SystemAppearance appearance_ = SystemAppearance::light;
    ManualOutput* output_ = nullptr;

  private:
    TemporaryFolder directory_;
    std::unique_ptr<AppState> state_;
};

/// The files' names without their extensions, in order, joined by blanks.
QByteArray titles(const TrackList& tracks);
/// The folders' names in order, joined by blanks.
QByteArray names(const FolderList& folders);

/// Frames in each file that makeFolder makes, at 44,100 Hz.
inline constexpr int64_t framesPerTrack = 2000;

}  // namespace halvenor::test

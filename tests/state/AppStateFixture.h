#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string_view>
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
    AppState& state() { return *state_; }
    AudioEngineManager& engine() { return state_->audioEngine(); }

    FileUrl folder(const QByteArray& relative) const { return directory_.at(relative); }
    /// Makes the folder and, in it, a short stereo WAV file for each name.
    void makeFolder(const QByteArray& relative, const std::vector<QByteArray>& files = {});

    void makeFile(const QByteArray& relative, const QByteArray& contents) const {
        directory_.makeFile(relative, contents);
    }

    FolderItem item(const QByteArray& relative) const { return FolderItem(folder(relative), true); }
    /// Opens the folder and waits until it is listed and its tags are read.
    void openAndRead(const QByteArray& relative);
    /// Adds the Location and waits until it is listed.
    void addLocation(const QByteArray& relative);

    /// Plays to the end of the current track, and on into the next or to the end of all.
    void playTrackToItsEnd();

    /// The file name, without its extension, of the track that the engine has current; "none".
    QByteArray current();
    /// The same of the track queued behind it.
    QByteArray queued();

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

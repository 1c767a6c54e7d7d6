#pragma once

#include <QTemporaryDir>

#include <functional>
#include <vector>

#include "base/Task.h"
#include "state/AppState.h"

namespace halvenor {

/// Where a self-test lives: a temporary folder for its music and its settings, and the sound it
/// plays on: the sound server if one answers, otherwise a silent output that keeps real time.
/// Everything in it is gone with the object.
class SelfTestHome {
  public:
    SelfTestHome();

    FileUrl musicFolder() const;
    AppState::Dependencies dependencies();
    /// Whether dependencies() has found a sound server.
    bool hasSoundServer() const { return hasSoundServer_; }

  private:
    QTemporaryDir directory_;
    bool hasSoundServer_ = false;
};

/// Uses the program as a user would, on the AppState that the window shows: lists the output
/// devices where there is a sound server, makes a small music folder, adds it, lists it, reads its
/// tags, and plays the joins of it end to end. Prints one line for each step with what was seen,
/// then "N passed, N failed". Main thread.
class SelfTest {
  public:
    SelfTest(AppState& state, const SelfTestHome& home);

    /// Runs in the background of the event loop, and calls `finished` at the end.
    void start(std::function<void()> finished);

  private:
    Task<> run(std::function<void()> finished);
    Task<> listOutputDevices();
    Task<> makeMusic();
    Task<> addLocation();
    Task<> listAndReadTags(QByteArray folderName, qsizetype expectedTracks);
    Task<> playFolder(QByteArray folderName);
    Task<bool> waitUntil(std::function<bool()> condition, std::chrono::milliseconds limit);
    void report(bool passed, const QString& line);

    AppState& state_;
    const SelfTestHome& home_;
    int passed_ = 0;
    int failed_ = 0;
};

}  // namespace halvenor

#pragma once

#include <QTimer>
#include <QUuid>

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/MoveTable.h"
#include "base/Published.h"
#include "model/Track.h"
#include "platform/audio/AudioEngine.h"
#include "platform/audio/AudioOutputDevices.h"
#include "platform/audio/PlayerNode.h"
#include "platform/settings/Settings.h"
#include "playback/PlaybackFile.h"

namespace halvenor {

/// The one playback object: gapless playing of a short schedule on one player node.
///
/// It knows nothing of queues or folders. The schedule holds the file that sounds and at most one
/// queued behind it; the owner says which track follows (setNextTrack) and is told through three
/// callbacks what happened. A failure goes to onLoadFailed and never skips on by itself.
///
/// Completions of the node arrive on its own thread and only post here; there a generation counter
/// and the identity of the head of the schedule tell the stale ones. Main thread throughout.
class AudioEngineManager {
  public:
    using FileOpener = halvenor::FileOpener;

    /// Opens nothing yet: the output is opened by the first load.
    /// @param openFile how files are opened for reading; throws what it fails with
    /// @param devices  what knows the system's output devices; null: there is no choice
    /// @param settings where the chosen device is remembered; outlives this object. Null: nowhere
    explicit AudioEngineManager(std::unique_ptr<AudioOutput> output,
                                FileOpener openFile = &AudioFile::open,
                                std::unique_ptr<AudioOutputDeviceService> devices = nullptr,
                                Settings* settings = nullptr);
    ~AudioEngineManager();
    AudioEngineManager(const AudioEngineManager&) = delete;
    AudioEngineManager& operator=(const AudioEngineManager&) = delete;

    /// From the moment play was asked of the node until pause, stop or the end of the last file.
    Published<bool> isPlaying{false};
    /// Seconds into the current track.
    Published<double> currentTime{0};
    /// Seconds, as the decoder measures the current track.
    Published<double> duration{0};
    /// The track that sounds or is loaded. Stays set after stop().
    Published<std::optional<Track>> currentTrack;
    /// The user's volume, 0...1; stays at its value while muted. Set it through setVolume.
    Published<float> volume{1.0F};
    Published<bool> isMuted{false};

    /// The devices that can be chosen, by name. Nobody is asked for them before the first load or
    /// the first refreshOutputDevices(); they arrive some moments later.
    Published<QList<AudioOutputDevice>> outputDevices;
    /// The UID of the chosen device; empty: the system's default is followed.
    Published<QString> selectedOutputDeviceUID;
    Published<QString> defaultOutputDeviceName{QStringLiteral("System Default")};
    /// Why the last attempt to change the device failed; absent after one that succeeded.
    Published<std::optional<QString>> outputDeviceError;

    /// A track could not be opened, or the engine could not start.
    std::function<void(const Track&, std::exception_ptr)> onLoadFailed;
    /// The last scheduled file has played to its end.
    std::function<void()> onPlaybackEnded;
    /// The node has moved by itself into the next file; carries the track that sounds now.
    std::function<void(const Track&)> onGaplessTransition;

    /// Replaces everything with this track at `position` seconds. A position at or past the end is
    /// the beginning.
    void load(Track track, double position, bool autoplay);
    void loadAndPlay(const Track& track) { load(track, 0, true); }
    void resume();
    void pause();
    void togglePlayPause();
    void stop();
    /// To `time` seconds, held within the track. What is queued next stays queued.
    void seek(double time);

    /// Declares which track must follow the current one; absent means none.
    void setNextTrack(const std::optional<Track>& next);
    /// Queues the track only if nothing is queued yet.
    void preloadNextTrackIfNeeded(const Track& track);

    /// Any volume above 0 unmutes; 0 does not mute.
    void setVolume(float value);
    void toggleMute();

    /// Reads the devices anew, and moves the music if its device is gone or, while the default is
    /// followed, another has become that.
    void refreshOutputDevices();
    /// Sends the sound to the device with this UID, empty for the system's default; it goes on at
    /// the same place. A failure is told in outputDeviceError, and everything stays as it was.
    void selectOutputDevice(const QString& uid);

    /// Rewrites the records of what is loaded after files have moved. The audio goes on.
    void relocatePaths(const MoveTable& moves);

    /// Brings currentTime up to what is heard now. The progress timer does this ten times a second
    /// while playing.
    void updateCurrentTime();

    /// The track queued behind the current one.
    std::optional<Track> queuedTrack() const;

    /// Waits until the node has nothing left to do at this moment of the output's clock; what it
    /// then has to tell is posted. For tests, which move that clock by hand.
    void waitUntilIdle();

  private:
    struct ScheduledTrack {
        /// Of this one scheduling: a file that is scheduled twice has two.
        QUuid id;
        Track track;
        PlaybackFile opened;
        double duration = 0;
    };
    /// Opens the track's file; a failure goes to onLoadFailed and gives nothing.
    std::optional<PlaybackFile> openOrReport(const Track& track);
    static ScheduledTrack makeEntry(const Track& track, PlaybackFile opened);
    void schedule(ScheduledTrack entry, double position);
    void scheduledTrackFinished(const QUuid& id, uint64_t generation);
    void appendNextTrack(const Track& track);
    void restartCurrentTrack(double position, const std::optional<Track>& next);
    void invalidateSchedule();
    void startEngineIfNeeded();
    void startPlaying();
    void setPlaying(bool playing);
    void setTimeline(double basePosition, std::optional<int64_t> startSample);
    void applyNodeVolume();
    void reportFailure(const Track& track, const std::exception_ptr& error) const;
    void outputChangedItsFormat();
    void reopenOutput(const QString& device);
    void outputFailed(const std::exception_ptr& error);

    // AudioEngineDevices.cpp
    void startDevices();
    void refreshOutputDevicesWithoutFallback();
    void followSelection(const QString& selected);
    void followDefault();
    void defaultMoved();
    void deviceLost();
    bool applyOutputDeviceSelection(const QString& uid, bool force);
    bool tryHardwareOutputDevice(const QString& uid);
    void setHardwareOutputDevice(const QString& uid);
    void setSelectedOutputDevice(const QString& uid);
    void startOnChosenDevice();

    /// The key of the chosen device's UID in the settings; absent while the default is followed.
    static constexpr std::string_view outputDeviceDefaultsKey = "PlayerAudioOutputDeviceUID";

    FileOpener openFile_;
    PlayerNode playerNode_;
    AudioEngine engine_;
    /// Element 0 sounds, element 1 is queued behind it; never more.
    std::vector<ScheduledTrack> scheduledTracks_;
    /// One more each time the schedule is thrown away.
    uint64_t scheduleGeneration_ = 0;
    QTimer progressTimer_;
    float volumeBeforeMute_ = 1.0F;
    /// Seconds into the track that the node's timelineStartSample_ stands for.
    double timelineBasePosition_ = 0;
    /// Absent: the next reading of the node's sample time supplies it.
    std::optional<int64_t> timelineStartSample_;
    bool leftoverAliasesRemoved_ = false;

    std::unique_ptr<AudioOutputDeviceService> deviceService_;
    Settings* settings_;
    /// As read last.
    AudioOutputDeviceList deviceList_;
    /// What the output was told: the selected device, or empty where that could not be had.
    QString requestedDevice_;
    /// The device that the output was set to last, or that it has followed the default to.
    std::optional<uint32_t> activeOutputDeviceID_;
    HardwareChangeListener hardwareChangeListener_;
    /// True within applyOutputDeviceSelection, in which no news of devices is acted upon.
    bool isChangingOutputDevice_ = false;
    /// Runs while the sound server may still be moving the sound to a new default by itself.
    QTimer followTimer_;

    /// What posted work holds weakly; ends with the manager, first of all.
    std::shared_ptr<AudioEngineManager*> self_;
};

}  // namespace halvenor

#include "state/AppState.h"

#include <QPointer>

#include <chrono>
#include <utility>

#include "base/Error.h"
#include "platform/mediacontrols/NowPlayingService.h"
#include "platform/userfolders/UserFolders.h"
#include "state/SettingsKeys.h"

namespace halvenor {

namespace {

constexpr std::chrono::seconds relocationCheckInterval{15};

}  // namespace

AppState::Dependencies::Dependencies(std::unique_ptr<AudioOutput> output, FileUrl settings,
                                     FileUrl data, std::function<SystemAppearance()> appearance)
    : audioOutput(std::move(output)),
      settingsFile(std::move(settings)),
      dataFolder(std::move(data)),
      systemAppearance(std::move(appearance)) {}

// The order of these steps is the program's start order. Load failures during the restoring steps
// are not reported, so the callback for them is installed last.
AppState::AppState(Dependencies dependencies)
    : settings_(dependencies.settingsFile),
      systemAppearance_(std::move(dependencies.systemAppearance)),
      audioEngine_(std::move(dependencies.audioOutput), &AudioFile::open,
                   std::move(dependencies.outputDevices), &settings_),
      playlistManager_(dependencies.dataFolder.appendingPathComponent("playlists.json")),
      relocationStore_(dependencies.dataFolder.appendingPathComponent("relocation.json")),
      nowPlayingService_(std::make_unique<NowPlayingService>()),
      bookmarkResolver_(std::make_shared<BookmarkResolver>()) {
    connectChangeHandlers();
    restoreSettings();
    loadLibraryBookmarks();
    subscribeToPlaylists();
    subscribeToEngine();
    setupMediaKeys();
    restorePlayer();
    restoreLibraryFolders();
    restoreLastPlaybackSession();
    checkRelocations();
    relocationTimer_.callOnTimeout(this, [this] { checkRelocations(); });
    relocationTimer_.start(relocationCheckInterval);
    installLoadFailureReport();
}

FileUrl AppState::defaultDataFolder() {
    return dataHome().appendingPathComponent("Halvenor");
}

void AppState::willTerminate() {
    audioEngine_.updateCurrentTime();
    persistPlayer();
    settings_.flush();
    playlistManager_.flush();
    relocationStore_.flush();
}

AppState::~AppState() {
    relocationTask_.cancel();  // A search that is under way must not hold up the end.
    // The engine outlives the first members to go; nothing may call back into a half-gone object.
    audioEngine_.onLoadFailed = nullptr;
    audioEngine_.onPlaybackEnded = nullptr;
    audioEngine_.onGaplessTransition = nullptr;
    settings_.setAboutToWriteHandler(nullptr);
}

void AppState::connectChangeHandlers() {
    subscriptions_.push_back(selectedTheme.subscribe([this](AppTheme theme) {
        settings_.setString(settingsKeys::selectedTheme, rawValue(theme));
    }));
    subscriptions_.push_back(followOSTheme.subscribe([this](bool follow) {
        settings_.setBoolean(settingsKeys::followOSTheme, follow);
        if (follow) {
            followAppearance(systemAppearance_());
        }
    }));
    subscriptions_.push_back(showWaveform.subscribe([this](bool on) {
        settings_.setBoolean(settingsKeys::showWaveform, on);
        if (on) {
            ensureWaveformLoaded();
        }
    }));
    subscriptions_.push_back(useLiquidTitanWaveform.subscribe(
        [this](bool on) { settings_.setBoolean(settingsKeys::useLiquidTitanWaveform, on); }));
    subscriptions_.push_back(showMarkedFoldersOnly.subscribe(
        [this](bool on) { settings_.setBoolean(settingsKeys::showMarkedFoldersOnly, on); }));
    subscriptions_.push_back(
        searchQuery.subscribe([this](const QString&) { scheduleFolderSearch(); }));
    subscriptions_.push_back(
        repeatMode.subscribe([this](RepeatMode mode) { repeatModeChanged(mode); }));
}

void AppState::restoreSettings() {
    if (const auto show = settings_.boolean(settingsKeys::showWaveform)) {
        showWaveform = *show;
    }
    if (const auto use = settings_.boolean(settingsKeys::useLiquidTitanWaveform)) {
        useLiquidTitanWaveform = *use;
    }
    const auto storedTheme = settings_.string(settingsKeys::selectedTheme);
    if (const auto theme = themeFromRawValue(storedTheme.value_or(QString()))) {
        selectedTheme = *theme;
    }
    if (const auto follow = settings_.boolean(settingsKeys::followOSTheme)) {
        followOSTheme = *follow;
    } else {
        followAppearance(systemAppearance_());
    }
    const auto marked =
        settings_.paths(settingsKeys::markedFolderPaths).value_or(QList<QByteArray>());
    markedFolderIDs = QSet<QByteArray>(marked.begin(), marked.end());
    if (settings_.contains(settingsKeys::showMarkedFoldersOnly)) {
        showMarkedFoldersOnly =
            settings_.boolean(settingsKeys::showMarkedFoldersOnly).value_or(false);
    }
}

void AppState::subscribeToEngine() {
    subscriptions_.push_back(
        audioEngine_.currentTrack.subscribeQueued([this](const std::optional<Track>& track) {
            selectedTrack = track;
            if (track) {
                settings_.setPath(settingsKeys::lastTrackPath, track->url().standardized().path());
                if (*showWaveform) {
                    loadWaveform(*track);
                }
                updateNowPlaying(*track);
            }
        }));
    subscriptions_.push_back(audioEngine_.currentTime.subscribe([this](double seconds) {
        if (*audioEngine_.currentTrack) {
            settings_.setNumber(settingsKeys::lastPosition, seconds);
        }
    }));
    // What is put on the disk is the position of that moment, not that of the last display.
    settings_.setAboutToWriteHandler([this] { audioEngine_.updateCurrentTime(); });

    // Each callback runs in a turn of its own, after the step of the engine that called it.
    const QPointer<AppState> self(this);
    audioEngine_.onPlaybackEnded = [self] {
        postToMainThread([self] {
            if (self) {
                self->addToPlaybackHistory(*self->audioEngine_.currentTrack);
                self->playNext();
            }
        });
    };
    audioEngine_.onGaplessTransition = [self](const Track& track) {
        postToMainThread([self, track] {
            if (self) {
                self->handleGaplessTransition(track);
            }
        });
    };

    subscriptions_.push_back(audioEngine_.volume.subscribeQueued([this](float volume) {
        settings_.setNumber(settingsKeys::volume, static_cast<double>(volume));
    }));
    subscriptions_.push_back(audioEngine_.isMuted.subscribeQueued(
        [this](bool muted) { settings_.setBoolean(settingsKeys::isMuted, muted); }));
}

void AppState::installLoadFailureReport() {
    const QPointer<AppState> self(this);
    audioEngine_.onLoadFailed = [self](const Track& track, std::exception_ptr error) {
        const QString message = QStringLiteral("Could not play \"") + track.title() +
                                QStringLiteral("\": ") + localizedDescription(error);
        postToMainThread([self, message] {
            if (self) {
                self->playbackErrorMessage = message;
            }
        });
    };
}

}  // namespace halvenor

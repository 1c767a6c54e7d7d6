#include "selftest/SelfTest.h"

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "base/Error.h"
#include "platform/audio/AudioOutputDevices.h"
#include "platform/audio/Outputs.h"
#include "selftest/SampleMusic.h"

namespace halvenor {

using namespace std::chrono_literals;

namespace {

/// Open, or null where no sound server answers.
std::unique_ptr<AudioOutput> soundServer() {
    auto server = makeSystemOutput(QStringLiteral("Halvenor self-test"));
    try {
        const AudioFormat format = server->open();
        std::printf("sound: the sound server's default sink, %d Hz, %d channels\n",
                    format.sampleRate, format.channels);
        return server;
    } catch (const Error& error) {
        std::printf("sound: silent output in real time (%s)\n", error.what());
        return nullptr;
    }
}

std::optional<FolderItem> childNamed(const AppState& state, const QByteArray& name) {
    for (const FolderItem& root : *state.rootFolders) {
        for (const FolderItem& child : state.children(root)) {
            if (child.name() == name) {
                return child;
            }
        }
    }
    return std::nullopt;
}

double totalDuration(const TrackList& tracks) {
    double seconds = 0;
    for (const Track& track : tracks) {
        seconds += track.duration();
    }
    return seconds;
}

}  // namespace

SelfTestHome::SelfTestHome() {
    if (!directory_.isValid()) {
        throw Error(ErrorKind::io, QStringLiteral("No temporary folder can be made."));
    }
}

FileUrl SelfTestHome::musicFolder() const {
    return FileUrl(QFile::encodeName(directory_.path())).appendingPathComponent("Music");
}

AppState::Dependencies SelfTestHome::dependencies() {
    const FileUrl home(QFile::encodeName(directory_.path()));
    auto server = soundServer();
    hasSoundServer_ = server != nullptr;
    AppState::Dependencies own(hasSoundServer_ ? std::move(server) : makeSilentOutput(),
                               home.appendingPathComponent("settings.json"), home,
                               [] { return SystemAppearance::dark; });
    if (hasSoundServer_) {
        own.outputDevices = makeSystemOutputDevices(QStringLiteral("Halvenor self-test"));
    }
    return own;
}

SelfTest::SelfTest(AppState& state, const SelfTestHome& home) : state_(state), home_(home) {}

void SelfTest::start(std::function<void()> finished) {
    spawn(run(std::move(finished)));
}

void SelfTest::report(bool passed, const QString& line) {
    ++(passed ? passed_ : failed_);
    std::printf("%s  %s\n", passed ? "ok  " : "FAIL", qUtf8Printable(line));
    std::fflush(stdout);
}

Task<> SelfTest::run(std::function<void()> finished) {
    try {
        if (home_.hasSoundServer()) {
            auto devices = listOutputDevices();
            co_await devices;
        }
        auto making = makeMusic();
        co_await making;
        auto adding = addLocation();
        co_await adding;
        for (const SampleFolder& folder : sampleFolders()) {
            auto listing = listAndReadTags(folder.name, folder.trackCount());
            co_await listing;
            auto playing = playFolder(folder.name);
            co_await playing;
        }
    } catch (const std::exception& error) {
        report(false, QStringLiteral("stopped: ") + QString::fromUtf8(error.what()));
    }
    std::printf("%d passed, %d failed\n", passed_, failed_);
    std::fflush(stdout);
    finished();
}

Task<bool> SelfTest::waitUntil(std::function<bool()> condition, std::chrono::milliseconds limit) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > limit.count()) {
            co_return false;
        }
        co_await sleepFor(20ms);
    }
    co_return true;
}

Task<> SelfTest::listOutputDevices() {
    AudioEngineManager& engine = state_.audioEngine();
    engine.refreshOutputDevices();
    auto waiting = waitUntil([&] { return !engine.outputDevices->isEmpty(); }, 5s);
    const bool isListed = co_await waiting;
    report(isListed, QStringLiteral("found %1 output devices, the default is \"%2\"")
                         .arg(engine.outputDevices->size())
                         .arg(*engine.defaultOutputDeviceName));
}

Task<> SelfTest::makeMusic() {
    const QList<QByteArray> files = writeSampleMusic(home_.musicFolder());
    report(!files.isEmpty(), QStringLiteral("made %1 files: %2")
                                 .arg(files.size())
                                 .arg(QString::fromUtf8(files.join(", "))));
    co_return;
}

Task<> SelfTest::addLocation() {
    state_.openDirectory(home_.musicFolder());
    const FolderItem root(home_.musicFolder().standardized(), true);
    auto waiting = waitUntil([&] { return state_.isFolderLoaded(root); }, 5s);
    const bool isLoaded = co_await waiting;
    const auto found = static_cast<qsizetype>(state_.children(root).size());
    report(isLoaded && found == static_cast<qsizetype>(sampleFolders().size()),
           QStringLiteral("added the Location, %1 folders in it").arg(found));
}

Task<> SelfTest::listAndReadTags(QByteArray folderName, qsizetype expectedTracks) {
    const auto folder = childNamed(state_, folderName);
    if (!folder) {
        report(false, QStringLiteral("no folder %1").arg(displayText(folderName)));
        co_return;
    }
    state_.openFolder(*folder);
    auto waiting = waitUntil(
        [&] {
            return state_.isFolderLoaded(*folder) && !state_.metadataLoadingFolderID->has_value();
        },
        10s);
    const bool isRead = co_await waiting;
    const TrackList& tracks = *state_.playbackQueue;
    const bool areTagged = std::all_of(tracks.begin(), tracks.end(), [&](const Track& track) {
        return track.duration() > 0 && track.album() == displayText(folderName);
    });
    report(isRead && areTagged && tracks.size() == expectedTracks,
           QStringLiteral("listed %1: %2 tracks, tags read, %3 s of music")
               .arg(displayText(folderName))
               .arg(tracks.size())
               .arg(totalDuration(tracks), 0, 'f', 2));
}

// The folder must be heard to its end in the time that its music lasts, with one transition at each
// join and no stop between: anything more is a gap.
Task<> SelfTest::playFolder(QByteArray folderName) {
    const TrackList tracks = *state_.playbackQueue;
    if (tracks.isEmpty()) {
        report(false, QStringLiteral("nothing to play in %1").arg(displayText(folderName)));
        co_return;
    }
    AudioEngineManager& engine = state_.audioEngine();
    qsizetype tracksHeard = 0;
    qsizetype stops = 0;
    bool wasPlaying = false;
    const Subscription tracksSeen =
        engine.currentTrack.subscribe([&](const auto&) { ++tracksHeard; });
    const Subscription stopsSeen = engine.isPlaying.subscribe([&](bool isPlaying) {
        stops += wasPlaying && !isPlaying;
        wasPlaying = isPlaying;
    });
    QElapsedTimer clock;
    clock.start();
    state_.play(tracks.first());
    const double expected = totalDuration(tracks);
    const auto limit = std::chrono::milliseconds(static_cast<int64_t>(expected * 1000) + 5000);
    auto waiting = waitUntil([&] { return !*engine.isPlaying; }, limit);
    const bool hasEnded = co_await waiting;
    const double elapsed = static_cast<double>(clock.elapsed()) / 1000;
    const bool isOnTime = elapsed > expected - 0.25 && elapsed < expected + 1.0;
    report(hasEnded && isOnTime && tracksHeard == tracks.size() && stops == 1,
           QStringLiteral("played %1: %2 tracks, %3 joins without a stop, %4 s for %5 s of music")
               .arg(displayText(folderName))
               .arg(tracksHeard)
               .arg(tracksHeard - 1)
               .arg(elapsed, 0, 'f', 2)
               .arg(expected, 0, 'f', 2));
}

}  // namespace halvenor

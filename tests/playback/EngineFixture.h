#pragma once

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "base/Error.h"
#include "model/ID3WriterError.h"
#include "playback/AudioEngineManager.h"
#include "support/ManualOutput.h"
#include "support/MemoryFile.h"
#include "support/Samples.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

inline constexpr AudioFormat cd{44100, 2};

/// Files whose samples lie in memory. Their names are real: an empty file stands for each.
class NoiseFiles {
  public:
    /// A file of noise. @param taggedDuration seconds that its record claims
    Track add(const QByteArray& name, int64_t frames, AudioFormat format = cd,
              double taggedDuration = 0) {
        sounds_[name] = makeNoise(format, frames, static_cast<unsigned>(sounds_.size()) + 1);
        TrackFields fields;
        fields.url = folder_.makeFile(name);
        fields.duration = taggedDuration;
        return Track(fields);
    }
    /// A file of nothing but full scale, to see the volume by.
    Track addSteady(const QByteArray& name, int64_t frames) {
        const Track track = add(name, 0);
        sounds_[name] = std::make_shared<MemoryFile>(cd, std::vector<float>(frames * 2, 1.0F));
        return track;
    }
    /// An MP4 by its first bytes that is refused under any name but one ending in ".m4a".
    Track addMisnamedMp4(const QByteArray& name, int64_t frames) {
        const Track track = add(name, frames);
        folder_.makeFile(name, "abcdftypM4A ");
        refused.push_back(name);
        return track;
    }
    /// One that is gone again.
    Track addMissing(const QByteArray& name) {
        const Track track = add(name, 100);
        erase(track);
        return track;
    }
    /// One that exists and can't be opened.
    Track addUnreadable(const QByteArray& name) {
        refused.push_back(name);
        return add(name, 100);
    }
    /// What length() tells of the file, whatever is true.
    void claimLength(const Track& track, int64_t frames) {
        sounds_.at(track.url().lastPathComponent())->claimedLength = frames;
    }
    void erase(const Track& track) { ::unlink(track.url().path().constData()); }
    FileUrl place(const QByteArray& name) const { return folder_.at(name); }

    const MemoryFile& soundOf(const Track& track) const {
        return *sounds_.at(track.url().lastPathComponent());
    }
    /// The samples of a file from a frame on, up to another.
    std::vector<float> samplesOf(const Track& track, int64_t from = 0, int64_t to = -1) const {
        const MemoryFile& file = soundOf(track);
        const int channels = file.processingFormat().channels;
        const auto begin = file.samples().begin();
        return {begin + from * channels, to < 0 ? file.samples().end() : begin + to * channels};
    }

    std::shared_ptr<AudioFile> open(const FileUrl& url) const {
        const QByteArray path = QFile::symLinkTarget(QFile::decodeName(url.path())).toUtf8();
        const auto found = sounds_.find((path.isEmpty() ? url : FileUrl(path)).lastPathComponent());
        const bool isRefused =
            std::find(refused.begin(), refused.end(), url.lastPathComponent()) != refused.end();
        if (found == sounds_.end() || isRefused) {
            throw Error(ErrorKind::unsupported, QStringLiteral("unreadable"));
        }
        const MemoryFile& sound = *found->second;
        auto file = std::make_shared<MemoryFile>(sound.processingFormat(), sound.samples());
        file->claimedLength = sound.claimedLength;
        return file;
    }

    /// Names that can't be opened, though they exist.
    std::vector<QByteArray> refused;

  private:
    TemporaryFolder folder_;
    std::map<QByteArray, std::shared_ptr<MemoryFile>> sounds_;
};

inline std::vector<float> operator+(std::vector<float> a, const std::vector<float>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The names of the second names that stand in the folder for them.
inline std::vector<std::string> aliases() {
    std::vector<std::string> names;
    const std::string directory = PlaybackAlias::directory().path().toStdString();
    if (std::filesystem::exists(directory)) {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            names.push_back(entry.path().filename());
        }
    }
    return names;
}

/// The engine on an output pulled by hand, with files whose samples lie in memory.
class EngineFixture : public NoiseFiles {
  public:
    /// @param savedDevice what the settings hold from an earlier run
    explicit EngineFixture(AudioFormat format = cd, const QString& savedDevice = {}) {
        qputenv("TMPDIR", place("").path());
        auto made = std::make_unique<ManualOutput>(format);
        output = made.get();
        settings.emplace(place("settings.json"));
        if (!savedDevice.isEmpty()) {
            settings->setString(deviceKey, savedDevice);
        }
        auto madeDevices = std::make_unique<ManualDevices>();
        devices = madeDevices.get();
        engine = std::make_unique<AudioEngineManager>(
            std::move(made), [this](const FileUrl& url) { return open(url); },
            std::move(madeDevices), &*settings);
        engine->onLoadFailed = [this](const Track& track, const std::exception_ptr& error) {
            log.push_back("failed " + nameOf(track) + ": " + textOf(error));
        };
        engine->onPlaybackEnded = [this] { log.push_back("ended"); };
        engine->onGaplessTransition = [this](const Track& track) {
            log.push_back("now " + nameOf(track));
            if (afterTransition) {
                afterTransition(track);
            }
        };
    }
    ~EngineFixture() {
        engine.reset();
        qunsetenv("TMPDIR");
    }

    /// Plays one track with another queued behind it.
    void playBoth(const Track& first, const Track& second) {
        engine->loadAndPlay(first);
        engine->setNextTrack(second);
    }
    std::pair<Track, Track> playTwo(int64_t framesOfA, int64_t framesOfB) {
        const Track a = add("a", framesOfA);
        const Track b = add("b", framesOfB);
        playBoth(a, b);
        return {a, b};
    }

    /// Lets the node do all it can, the main thread hear of it, and the node do what follows.
    void settle() {
        engine->waitUntilIdle();
        QCoreApplication::processEvents();
        engine->waitUntilIdle();
    }
    /// Lets `frames` frames be heard, or those that there are.
    void play(int64_t frames) {
        hearOnly(frames);
        settle();
    }
    /// The same, while the main thread hears of nothing.
    void hearOnly(int64_t frames) {
        engine->waitUntilIdle();
        output->play(frames);
        engine->waitUntilIdle();
    }
    void playToEnd(int64_t portion = 997) {
        do {
            settle();
        } while (output->play(portion) > 0);
        settle();
    }
    /// Plays to the end. All that was ever heard must be this, sample by sample.
    void expectHeard(const std::vector<float>& expected) {
        playToEnd();
        EXPECT_EQ(firstDifference(output->heard(), expected), -1);
    }
    /// The server is another, or works in another format.
    void changeConfiguration() {
        output->onConfigurationChange();
        settle();
    }
    double position() {
        engine->updateCurrentTime();
        return *engine->currentTime;
    }
    QString selected() const { return *engine->selectedOutputDeviceUID; }
    QString deviceError() const { return engine->outputDeviceError->value_or(QString()); }
    /// What the next run would take up; null where nothing is kept.
    QString savedDevice() const { return settings->string(deviceKey).value_or(QString()); }
    /// The name of the queued track, or nothing.
    std::string queued() const {
        const auto track = engine->queuedTrack();
        return track ? nameOf(*track) : "";
    }
    static std::string nameOf(const Track& track) {
        return track.url().lastPathComponent().toStdString();
    }

    ManualOutput* output = nullptr;
    ManualDevices* devices = nullptr;
    static constexpr std::string_view deviceKey = "PlayerAudioOutputDeviceUID";
    std::optional<Settings> settings;
    std::unique_ptr<AudioEngineManager> engine;
    /// The callbacks, in order.
    std::vector<std::string> log;
    std::function<void(const Track&)> afterTransition;

  private:
    static std::string textOf(const std::exception_ptr& error) {
        try {
            std::rethrow_exception(error);
        } catch (const ID3WriterError& writerError) {
            return writerError.message().toStdString();
        } catch (const Error& other) {
            return other.text().toStdString();
        }
    }
};

/// An engine for each test.
struct EngineTest : testing::Test, EngineFixture {};

}  // namespace halvenor::test

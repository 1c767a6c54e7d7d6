// Thousands of tracks through the real engine: half a second each, every kind of file that encoders
// make, in a made-up order, as fast as the sound can be taken. In the first half the user seeks,
// pauses, changes the volume, or starts another track now and then.
//
// From a tenth of the way on (of 10,000 tracks, from the 1,000th) memory must stay flat and files
// must not stay open; nothing may fail; and in the second half as many frames must come out as the
// files have.
//
// Usage: bench_soak [TRACKS]
#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "DrainingOutput.h"
#include "ProcessUse.h"
#include "playback/AudioEngineManager.h"
#include "support/Measure.h"
#include "support/MediaLibrary.h"
#include "support/Report.h"

namespace {

using namespace halvenor;
using bench::ProcessUse;

/// Of memory, in kilobytes: what allocators need to settle. One block of samples lost with every
/// track would be many times as much.
constexpr int64_t allowedGrowth = 4096;
/// The file that plays and the one behind it may be open at one moment and not yet at the other.
constexpr int allowedDescriptors = 2;
/// For each track: lengths are rounded to whole frames where the rate changes. Where a track begins
/// is seen a block late.
constexpr double allowedFramesOff = 1;
constexpr int64_t blockFrames = 4096;

struct Sound {
    Track track;
    double frames = 0;  ///< at the output's rate
};

std::vector<Sound> makeSounds() {
    std::vector<Sound> sounds;
    for (const test::MediaKind& kind : test::mediaKinds()) {
        for (const int rate : {44100, 48000}) {
            TrackFields fields;
            fields.url = test::MediaLibrary::shared().file(kind.name, rate / 2, rate);
            const auto file = AudioFile::open(fields.url);
            sounds.push_back({Track(fields), static_cast<double>(file->length()) *
                                                 bench::DrainingOutput::format.sampleRate /
                                                 file->processingFormat().sampleRate});
        }
    }
    return sounds;
}

class Soak {
  public:
    explicit Soak(int tracks)
        : trackCount_(tracks), warmUp_(tracks / 10), engine_(makeOutput(), &AudioFile::open) {
        engine_.onLoadFailed = [this](const Track& track, const std::exception_ptr&) {
            std::fprintf(stderr, "failed: %s\n", track.url().path().constData());
            ++failures_;
        };
        engine_.onGaplessTransition = [this](const Track&) {
            ++joins_;
            begun();
        };
        engine_.onPlaybackEnded = [this] {
            std::fprintf(stderr, "the music ended at track %d\n", begun_);
            ++failures_;
            start();
        };
    }

    bool run() {
        const double taken = bench::seconds([this] {
            start();
            while (begun_ <= trackCount_) {
                output_->drain(blockFrames);
                engine_.waitUntilIdle();  // Or the news of a join might come tracks later.
                QCoreApplication::processEvents();
                actAsUser();
            }
        });
        std::printf("%d tracks in %.0f s, %d joins, %.0f s of music; %d failures\n", trackCount_,
                    taken, joins_, static_cast<double>(output_->drained()) / 44100, failures_);
        const bool isSteady = isUseSteady();
        const bool isWhole = areFramesRight();
        return isSteady && isWhole && failures_ == 0;
    }

  private:
    std::unique_ptr<AudioOutput> makeOutput() {
        auto made = std::make_unique<bench::DrainingOutput>();
        output_ = made.get();
        return made;
    }

    const Sound& any() {
        return sounds_[std::uniform_int_distribution<size_t>(0, sounds_.size() - 1)(random_)];
    }

    void start() {
        const Sound& sound = any();
        next_ = &sound;
        engine_.loadAndPlay(sound.track);
        begun();
    }

    // A track sounds: what it should give is counted, and the next one declared.
    void begun() {
        ++begun_;
        if (begun_ == trackCount_ / 2) {
            countedFrom_ = output_->drained();
            expected_ = 0;
        }
        expected_ += next_->frames;
        next_ = &any();
        engine_.setNextTrack(next_->track);
        hasActed_ = false;
        const int interval = std::max(1, trackCount_ / 10);
        if (begun_ >= warmUp_ && begun_ % interval == 0) {
            note();
        }
    }

    // In the midst of some tracks.
    void actAsUser() {
        engine_.updateCurrentTime();
        if (hasActed_ || begun_ >= trackCount_ / 2 || *engine_.currentTime < 0.1) {
            return;
        }
        hasActed_ = true;
        switch (begun_ % 50) {
            case 10:
                engine_.pause();
                engine_.resume();
                break;
            case 20:
                engine_.setVolume(static_cast<float>(begun_ % 100) / 100);
                break;
            case 30:
                engine_.seek(0.05);
                break;
            case 40:
                start();
                break;
            default:
                break;
        }
    }

    void note() {
        uses_.push_back(ProcessUse::now());
        const ProcessUse& use = uses_.back();
        std::printf("track %6d: %lld kB, %d descriptors, %d threads\n", begun_,
                    static_cast<long long>(use.resident), use.descriptors, use.threads);
        std::fflush(stdout);
    }

    bool isUseSteady() const {
        const auto most = std::ranges::max(uses_, {}, &ProcessUse::resident);
        const auto [leastOpen, mostOpen] = std::ranges::minmax(uses_, {}, &ProcessUse::descriptors);
        const int64_t growth = most.resident - uses_.front().resident;
        const int descriptors = mostOpen.descriptors - leastOpen.descriptors;
        std::printf("memory grew by %lld kB (bound %lld), descriptors vary by %d (bound %d)\n",
                    static_cast<long long>(growth), static_cast<long long>(allowedGrowth),
                    descriptors, allowedDescriptors);
        const bool isMemoryFlat = bench::report(
            {.work = "growth of memory over " + std::to_string(trackCount_) + " tracks",
             .unit = "kB",
             .ours = static_cast<double>(growth),
             .bound = static_cast<double>(allowedGrowth)});
        return isMemoryFlat && descriptors <= allowedDescriptors;
    }

    bool areFramesRight() {
        engine_.updateCurrentTime();
        const double remaining = (*engine_.duration - *engine_.currentTime) * 44100;
        const auto given = static_cast<double>(output_->drained() - countedFrom_);
        const double off = std::abs(given - (expected_ - remaining));
        const double allowed = allowedFramesOff * (begun_ - trackCount_ / 2) + 2 * blockFrames;
        std::printf("%.0f frames more or less than the files have (bound %.0f)\n", off, allowed);
        return off <= allowed;
    }

    const int trackCount_;
    const int warmUp_;
    const std::vector<Sound> sounds_ = makeSounds();
    std::minstd_rand random_{1};
    bench::DrainingOutput* output_ = nullptr;
    AudioEngineManager engine_;
    const Sound* next_ = nullptr;
    int64_t countedFrom_ = 0;
    double expected_ = 0;  ///< frames from there to the end of the track that sounds
    std::vector<ProcessUse> uses_;
    int begun_ = 0;
    int joins_ = 0;
    int failures_ = 0;
    bool hasActed_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const int tracks = std::max(10, argc > 1 ? std::atoi(argv[1]) : 10'000);
    Soak soak(tracks);
    return soak.run() ? 0 : 1;
}

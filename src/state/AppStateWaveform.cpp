// The waveform of the track that plays.
#include <QPointer>

#include "state/AppState.h"
#include "waveform/WaveformExtractor.h"

namespace halvenor {

namespace {
constexpr int peakCount = 160;
}  // namespace

void AppState::loadWaveform(const Track& track) {
    waveformPeaks = QList<float>();
    waveformTask_.start([&](std::stop_token token) { return waveformTask(track, token); });
}

void AppState::ensureWaveformLoaded() {
    const auto& track = *audioEngine_.currentTrack;
    if (*showWaveform && waveformPeaks->isEmpty() && track) {
        loadWaveform(*track);
    }
}

Task<> AppState::waveformTask(Track track, std::stop_token token) {
    const QPointer<AppState> self(this);
    auto extraction = WaveformExtractor::shared().extractPeaks(track.url(), peakCount, token);
    const QList<float> peaks = co_await extraction;
    if (token.stop_requested() || !self || !*audioEngine_.currentTrack ||
        (*audioEngine_.currentTrack)->id() != track.id()) {
        co_return;
    }
    waveformPeaks = peaks;
}

}  // namespace halvenor

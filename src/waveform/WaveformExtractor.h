#pragma once

#include <QHash>
#include <QList>

#include <stop_token>

#include "base/ApplicationOwned.h"
#include "base/FileUrl.h"
#include "base/Task.h"

namespace halvenor {

/// Turns audio files into waveforms to draw: a fixed number of values between 0 and 1, the loudest
/// of which is 1 (PeakBuckets). A service: files are decoded off the main thread, one at a time, on
/// the cores that are idle; what was made is kept to the end of the process. Main thread.
class WaveformExtractor {
  public:
    /// Ends, and waits for what its workers do, as the application object ends.
    static WaveformExtractor& shared();

    /// The waveform of a file in `count` values. Never fails: a file that can't be read, or has no
    /// frames, gives a plain wave, which is not kept, so that the next request looks again.
    /// @param token a stop ends the work within some milliseconds, so that the next file need not
    /// wait for it; the wait then throws Cancelled
    Task<QList<float>> extractPeaks(FileUrl url, int count, std::stop_token token = {});

  private:
    friend WaveformExtractor& applicationOwned<WaveformExtractor>();
    WaveformExtractor() = default;

    /// By path and number of values.
    QHash<QByteArray, QList<float>> cache_;
    Service service_;
};

}  // namespace halvenor

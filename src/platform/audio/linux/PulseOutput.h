#pragma once

#include <QByteArray>

#include <memory>
#include <optional>

#include "platform/audio/AudioOutput.h"
#include "platform/audio/PlaybackClock.h"
#include "platform/audio/linux/PulseConnection.h"

namespace halvenor {

/// A sink of the sound server, through libpulse (PulseAudio and PipeWire alike).
///
/// A stream for no sink in particular is put on the default one by the server, and moved when the
/// default changes or goes away; the user's mixer may move it too. PulseAudio drops some frames in
/// that, so they are given again from the one that was heard last; PipeWire takes them along. A
/// stream for a chosen sink stays there, and ends with it.
///
/// One stream for as long as the server lives, in the format of the sink. The server holds about
/// two seconds and asks for more once a second, so that both sides sleep most of the time. What
/// makes that bearable: a pause corks the stream, a new source flushes it, and a change of volume
/// writes the frames that the server has not passed on yet a second time, over the first ones. The
/// stream stops at an underrun and goes on with the next frame, so no frame is ever dropped.
///
/// PipeWire passes on whole portions of its own size and would keep the rest of the last one for
/// ever. So silence is put behind the last frames when the end comes near, and what comes late
/// after all is written over it.
///
/// How far the sound has come follows from what the server tells: frames written, less what its
/// buffer and the device still hold. It is asked whenever it asks us, and after every change.
///
/// When the server goes away, frames that were not heard are taken back from the source, and the
/// connection is sought again; until then all calls only note what is wanted.
///
/// Threads: calls come from the main thread and take the mainloop's lock; callbacks and rendering
/// run on the mainloop's thread, which holds it.
class PulseOutput final : public AudioOutput {
  public:
    explicit PulseOutput(QByteArray applicationName);
    ~PulseOutput() override;

    AudioFormat open() override;
    void close() override;
    bool isOpen() const override { return connection_ != nullptr; }
    void setSource(std::shared_ptr<RenderSource> source) override;
    void resume() override;
    void suspend() override;
    void rerender() override;
    void wake() override;
    int64_t framesHeard() const override { return clock_.heard(); }
    void setDevice(const QString& uid) override;
    QString device() const override;
    void deviceGone() override;

  private:
    using Time = PlaybackClock::Time;

    // Which sink.
    void askForChosenSink();
    void noSuchSink();
    void connected(const pa_sink_info& sink);
    void moved();

    // The connection, and the stream on it.
    void waitForFirstConnection();
    void connectStream();
    void streamChanged();
    enum class Failure { noServer, noDevice, refused };
    void lost(Failure why);
    [[noreturn]] void throwFailure() const;
    void takeBackUnheard();
    void dropStream();
    bool isStreamReady() const;

    // Rendering.
    void fill();
    int64_t write(int64_t frames, int64_t takenBack);
    void woken();
    void rerenderNow();
    void prepareForTheEnd();
    void corkAfterSilence();
    void pad();
    void forgetPadding();

    // Standing still and position.
    void updateCork();
    void askForTiming();
    void timingArrived();
    void startEmpty();
    void flush();
    int64_t framesReadAt(Time now) const;
    int64_t framesWithoutPadding(int64_t written) const;

    int64_t frameBytes() const { return int64_t{format_.channels} * int64_t{sizeof(float)}; }

    const QByteArray applicationName_;
    std::unique_ptr<PulseConnection> connection_;
    AudioFormat format_;
    enum class Phase { opening, open, failed } phase_ = Phase::opening;
    /// Why an opening failed, with the server's number where it refused.
    Failure failure_ = Failure::noServer;
    int refusal_ = 0;

    /// The chosen sink's name, or empty; and that of the one the stream is on.
    QByteArray device_;
    QByteArray sinkName_;
    /// The server is PipeWire's.
    bool isPipeWire_ = false;
    /// Since when the server has been there without the chosen sink.
    std::optional<Time> missingSince_;

    pa_stream* stream_ = nullptr;
    std::shared_ptr<RenderSource> source_;
    PlaybackClock clock_;
    /// Frames taken from the source, less those given back to it.
    int64_t given_ = 0;

    bool isResumed_ = false;
    /// Corked because there is nothing to hear, so that the server may sleep.
    bool isIdle_ = false;
    bool isCorked_ = true;
    /// The server has run out of frames since the last ones were written.
    bool isUnderrun_ = false;
    /// render() had less than was asked for.
    bool isDry_ = false;
    /// Flushes whose effect the server's timing does not show yet.
    int pendingFlushes_ = 0;

    /// What the server's device had taken at readTime_, and how long it holds frames; absent while
    /// nothing is known of the present source.
    std::optional<int64_t> framesRead_;
    Time readTime_;
    int64_t deviceFrames_ = 0;

    /// Frames of silence that stand in the server's buffer behind frame paddedAt_.
    int64_t padding_ = 0;
    int64_t paddedAt_ = 0;

    PulseTimer paddingTimer_;
    PulseTimer silenceTimer_;
    PulseTimer timingTimer_;
    PulseTimer rerenderTimer_;
    Time lastRerender_;
    bool isRerenderWanted_ = false;

    /// Lets wake() reach the mainloop without a lock.
    int wakeDescriptor_ = -1;
    pa_io_event* wakeEvent_ = nullptr;
};

}  // namespace halvenor

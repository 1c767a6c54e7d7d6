#pragma once

#include <QByteArray>
#include <QTemporaryDir>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/decode/AudioFormat.h"
#include "support/ChildProcess.h"

namespace halvenor::test {

enum class SoundServerKind { pulseAudio, pipeWire };

/// A private sound server with one sink ("main", the default) that plays into nothing in real time
/// and passes every frame to its monitor unchanged: PulseAudio, or PipeWire behind its PulseAudio
/// server, with a session manager and a bus of their own.
///
/// While it lives, PULSE_SERVER points clients of this process at it. It is started and stopped by
/// process id, in a temporary runtime directory.
class SoundServer {
  public:
    /// Starts the server and waits until it answers. isRunning() tells whether it did.
    explicit SoundServer(AudioFormat sinkFormat = {44100, 2},
                         SoundServerKind kind = SoundServerKind::pulseAudio);
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    /// Whether the programs that it takes are installed.
    static bool isInstalled(SoundServerKind kind);

    bool isRunning() { return isAnswering_ && process_.isRunning(); }
    /// Ends the server as a crash would.
    void kill();
    /// Starts it again after kill(), at the same address; its sink may have another format.
    void start(AudioFormat sinkFormat);
    void start() { start(format_); }

    /// Adds a sink. @return the number to unload it by
    QByteArray loadSink(const QByteArray& name, AudioFormat format);
    void unloadModule(const QByteArray& number);
    /// Asks once for another default sink.
    void setDefaultSink(const QByteArray& name);
    /// Asks until the server itself names the sink as its default: PipeWire's session manager,
    /// which decides on it, may be late for a sink that was just made. @return whether it did in
    /// time
    bool makeDefaultSink(const QByteArray& name);
    /// Runs pactl on this server. @return its output
    QByteArray pactl(const std::vector<std::string>& arguments) const;

    AudioFormat format() const { return format_; }

  private:
    friend class SoundRecorder;
    std::map<std::string, std::string> environment() const;

    std::string root() const { return directory_.path().toStdString(); }
    std::string socket() const;
    ChildProcess run(std::vector<std::string> command) const;
    void startPulseAudio();
    void startPipeWire();

    QTemporaryDir directory_;
    QByteArray previousServer_;
    AudioFormat format_;
    SoundServerKind kind_;
    bool isAnswering_ = false;
    /// What PipeWire needs beside the server that clients talk to; ended after it, last first.
    std::vector<ChildProcess> helpers_;
    ChildProcess process_;
};

/// Records what a sink plays, from construction to finish().
class SoundRecorder {
  public:
    explicit SoundRecorder(SoundServer& server, const QByteArray& sink = "main");

    /// Frames recorded so far.
    int64_t frames() const;
    /// Waits until the recorder has frames beyond what it has now, so that all that was heard up to
    /// this moment is in it, then ends it. @return samples, interleaved
    std::vector<float> finish();

  private:
    AudioFormat format_;
    QTemporaryDir directory_;
    ChildProcess process_;
};

/// How a recording differs from what should be in it.
struct Comparison {
    /// Frames of silence before the first frame; -1 when it was not found.
    int64_t leadIn = -1;
    /// Frames of the expected sound found in their order.
    int64_t matched = 0;
    /// Places where silence was put in, and its frames in all.
    int64_t gaps = 0;
    int64_t insertedZeros = 0;
    /// Frames that are missing: the recording goes on further along.
    int64_t lost = 0;
    /// Frames heard a second time.
    int64_t repeated = 0;
    /// Frames that are neither silence nor anything expected. The comparison gives up at 100.
    int64_t changed = 0;
    /// Where in the expected sound it first went wrong, in frames; -1: nowhere.
    int64_t firstMismatch = -1;
    /// Frames of anything but silence after the end.
    int64_t excess = 0;

    bool isExact(int64_t expectedFrames) const {
        return leadIn >= 0 && matched == expectedFrames && firstMismatch < 0 && excess == 0;
    }
    std::string text() const;
};

/// Frames of silence at the beginning; -1 when there is nothing else.
int64_t leadInOf(const std::vector<float>& recording, int channels);

/// Finds `expected` in `recording` and follows it to its end, over gaps, losses and repetitions.
/// Frames of `expected` should be distinct and not silent (noise); both have `channels` channels.
Comparison compare(const std::vector<float>& expected, const std::vector<float>& recording,
                   int channels);

}  // namespace halvenor::test

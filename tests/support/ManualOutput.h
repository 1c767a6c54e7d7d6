#pragma once

#include <QStringList>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio/AudioOutput.h"
#include "platform/audio/AudioOutputDevices.h"

namespace halvenor::test {

/// An output pulled by hand, with a clock moved by hand: frames go from the source into the device
/// (pull), wait there, and are heard (hear). What was heard is kept for comparison.
///
/// One thread, but for framesHeard() and wake(). Between two pulls a test lets the node catch up
/// with PlayerNode::waitUntilIdle(); no time passes but by these calls.
class ManualOutput : public AudioOutput {
  public:
    explicit ManualOutput(AudioFormat format = {44100, 2}) : format_(format) {}

    // AudioOutput
    AudioFormat open() override;
    void close() override;
    bool isOpen() const override { return isOpen_; }
    void setSource(std::shared_ptr<RenderSource> source) override;
    void resume() override;
    void suspend() override;
    void rerender() override;
    void wake() override { ++wakeCount; }
    int64_t framesHeard() const override { return heardCount_; }
    void setDevice(const QString& uid) override { chosenDevice = uid; }
    QString device() const override { return isOpen_ ? soundingDevice : QString(); }

    /// Takes up to `frames` frames into the device. @return frames taken; 0 while suspended
    int64_t pull(int64_t frames);
    /// Lets `frames` frames (or those that there are) of the device be heard. @return how many
    int64_t hear(int64_t frames);
    /// Pulls and hears, leaving what was in the device before in front.
    int64_t play(int64_t frames) {
        pull(frames);
        return hear(frames);
    }
    /// The server dies: frames in the device are gone, and the source is asked to give them again.
    void loseDevice();

    /// Frames in the device.
    int64_t framesWaiting() const;
    /// Every sample heard since open(), across sources.
    const std::vector<float>& heard() const { return heard_; }
    AudioFormat format() const { return format_; }
    /// The format that the next open() gives.
    void setFormat(AudioFormat format) { format_ = format; }

    /// open() throws an Error (unavailable) with this text while it is not empty.
    std::string openFailure;
    /// What setDevice() was told, and what a server made of it: open() puts the sound there, or on
    /// the default one.
    QString chosenDevice;
    QString defaultDevice;
    QString soundingDevice;
    /// Devices that open() refuses, with the server's number 7, and those that it does not find.
    QStringList refusedDevices;
    QStringList missingDevices;
    int openCount = 0;
    int setSourceCount = 0;
    int resumeCount = 0;
    int suspendCount = 0;
    int rerenderCount = 0;
    std::atomic<int> wakeCount = 0;
    bool isRunning = false;

  private:
    AudioFormat format_;
    bool isOpen_ = false;
    std::shared_ptr<RenderSource> source_;
    std::deque<float> device_;
    std::vector<float> heard_;
    std::atomic<int64_t> heardCount_ = 0;
};

/// A list of devices that a test makes up.
class ManualDevices : public AudioOutputDeviceService {
  public:
    void start() override { ++startCount; }
    const AudioOutputDeviceList& availableDevices() const override { return list_; }

    /// Tells of these devices: UIDs, each of which is its name in small letters. The first is the
    /// default one. What is posted at that is done when it returns.
    void tell(const QStringList& names, bool isSettled = true, bool isConnected = true);

    /// Tells that something has changed, and lets nobody act on it yet.
    void announce() { tellListeners(); }

    int startCount = 0;

  private:
    AudioOutputDeviceList list_;
    QSet<QString> seen_;
};

}  // namespace halvenor::test

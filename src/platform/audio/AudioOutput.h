#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/decode/AudioFormat.h"

namespace halvenor {

/// Where an output takes its samples from. Called on the output's own thread, which must never
/// wait: no lock, no allocation, no file access, no logging behind these.
class RenderSource {
  public:
    virtual ~RenderSource() = default;
    /// Writes up to `frames` frames in the output's format.
    /// @return frames written; fewer than asked when nothing more is ready
    virtual int64_t render(float* samples, int64_t frames) = 0;
    /// Takes back the last `frames` frames given by render(): they were thrown away unheard, and
    /// the next render() gives them again, as they are by now (volume). At most the source's
    /// history; returns how many were really taken back.
    virtual int64_t rewind(int64_t frames) = 0;
};

/// A sound device or what stands for one: it pulls frames from a RenderSource and tells how many
/// of them have been heard. Three exist: the sound server's, a silent one that keeps real time,
/// and one pulled by hand for tests. Methods: main thread, unless they say otherwise.
class AudioOutput {
  public:
    virtual ~AudioOutput() = default;

    /// Connects and settles the format, which stays until close().
    /// @throws AudioOutputSelectionError when the device is not there or refuses; Error
    /// (unavailable) when there is no sound at all. Both carry a sentence for the user
    virtual AudioFormat open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    /// Puts `source` in the place of the one before and throws away every frame not yet heard.
    /// When it returns, the old source is not being called and never will be. Null gives silence.
    virtual void setSource(std::shared_ptr<RenderSource> source) = 0;

    /// Starts pulling and sounding.
    virtual void resume() = 0;
    /// Stops sounding at once. Frames already pulled stay, and are heard after resume().
    virtual void suspend() = 0;
    /// Throws away what was pulled and can still be replaced, and pulls it again (RenderSource's
    /// rewind): a change of volume is heard now and not after the buffer.
    virtual void rerender() = 0;

    /// More frames are ready after render() came up short. Any thread; never waits.
    virtual void wake() = 0;
    /// Frames given by the present source that have been heard by now (those taken back count
    /// once). Stands still while suspended. Any thread; never waits.
    virtual int64_t framesHeard() const = 0;

    /// Chooses where to sound, by a device's UID (AudioOutputDevices.h); empty is the system's
    /// default, wherever that goes. Takes effect at the next open(). Outputs that are not devices
    /// of the system ignore it.
    virtual void setDevice(const QString& uid) { static_cast<void>(uid); }
    /// The UID of the device that sounds, as the system tells; empty while none does.
    virtual QString device() const { return {}; }
    /// The chosen device is known to be gone, though the output may not have noticed: what may not
    /// have been heard counts as not heard.
    virtual void deviceGone() {}

    /// Called (on a thread of the output's own) when the sound has come onto a device of another
    /// format: the owner opens anew on the main thread.
    std::function<void()> onConfigurationChange;
    /// Called likewise when the chosen device is gone, though its server is there.
    std::function<void()> onDeviceLost;
};

}  // namespace halvenor

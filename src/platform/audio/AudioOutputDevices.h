#pragma once

#include <QHashFunctions>
#include <QList>
#include <QSet>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Error.h"

namespace halvenor {

/// A device that sound can be sent to.
struct AudioOutputDevice {
    /// What it is known by, on every day: its UID.
    QString id;
    /// For people. Two devices may have the same.
    QString name;
    /// The sound server's number for it, valid while both live.
    uint32_t deviceID = 0;

    bool operator==(const AudioOutputDevice&) const = default;
    friend size_t qHash(const AudioOutputDevice& device, size_t seed = 0) noexcept {
        return qHashMulti(seed, device.id, device.name, device.deviceID);
    }
};

/// The devices of one moment.
struct AudioOutputDeviceList {
    /// By name, as people sort.
    QList<AudioOutputDevice> devices;
    /// The UID of the default one; empty when there is none.
    QString defaultID;
    /// Whether the sound server is there. While it is away the devices are those it had.
    bool isConnected = false;
    /// Every UID seen since the server was found.
    QSet<QString> seen;
    /// Whether the server is beyond the seconds in which a new one finds its devices.
    bool isSettled = false;

    bool operator==(const AudioOutputDeviceList&) const = default;

    const AudioOutputDevice* find(const QString& id) const;
    bool contains(const QString& id) const { return find(id) != nullptr; }
    /// Whether the device has been taken away, or is not to be expected any more. One that is
    /// merely late, or whose server is away, is not gone.
    bool isGone(const QString& id) const;
    /// Null when there is none.
    const AudioOutputDevice* defaultDevice() const { return find(defaultID); }
};

/// Why an output device could not be taken. The text is for the user.
class AudioOutputSelectionError : public Error {
  public:
    /// There is no such device. @param device its UID or name
    static AudioOutputSelectionError deviceUnavailable(const QString& device);
    /// The sound system refused. @param status its error number
    static AudioOutputSelectionError coreAudio(int status);
    /// There is nothing that could sound: no sound server.
    static AudioOutputSelectionError outputUnitUnavailable();

  private:
    using Error::Error;
};

/// Told that devices came or went, or that another is the default one. Known by its address.
using HardwareChangeListener = std::shared_ptr<const std::function<void()>>;

/// Knows the devices that sound can be sent to, and hears of changes. It works on a thread of its
/// own and never keeps the main thread waiting. Main thread.
class AudioOutputDeviceService {
  public:
    virtual ~AudioOutputDeviceService() = default;

    /// Begins to look for the sound server, and goes on for ever; another call does nothing. Until
    /// then nothing is loaded, and nobody is asked.
    virtual void start() = 0;
    /// What the server told last, by name as people sort; empty until it has answered.
    virtual const AudioOutputDeviceList& availableDevices() const = 0;
    /// From now on `listener` is called on the main thread, in a turn of its own, whenever
    /// availableDevices() has changed.
    void addHardwareChangeListener(HardwareChangeListener listener);
    void removeHardwareChangeListener(const HardwareChangeListener& listener);

  protected:
    void tellListeners() const;

  private:
    std::vector<HardwareChangeListener> listeners_;
};

/// The sinks of the desktop's sound server. A sink's UID is its name, its name its description.
/// @param applicationName what the server's mixer shows
std::unique_ptr<AudioOutputDeviceService> makeSystemOutputDevices(const QString& applicationName);

}  // namespace halvenor

// Which device the music goes to: the one that the user has chosen, or the system's default.
//
// The list of devices comes from a service that never keeps anybody waiting; it may be old by some
// milliseconds, and the sound server may be away. So nothing is concluded from a device's absence
// before it is certain (AudioOutputDeviceList::isGone): a server that is away takes no selection
// with it, and one that has just come back gets time to find its devices.
//
// A change of device closes the output and opens it again. The player node keeps its schedule and
// its place meanwhile, so the sound goes on with the frame after the one that was heard last, and
// what is queued stays queued.
#include <QScopedValueRollback>

#include <chrono>
#include <utility>

#include "base/MainThread.h"
#include "playback/AudioEngineManager.h"

namespace halvenor {

namespace {

/// Sound servers move the music to a new default by themselves, as a rule.
constexpr std::chrono::milliseconds serverMovesWithin{300};

const QString systemDefault = QStringLiteral("System Default");

}  // namespace

void AudioEngineManager::startDevices() {
    engine_.onDeviceLost = [this] { deviceLost(); };
    followTimer_.setSingleShot(true);
    followTimer_.setInterval(serverMovesWithin);
    QObject::connect(&followTimer_, &QTimer::timeout, &followTimer_, [this] { defaultMoved(); });
    if (!deviceService_) {
        return;
    }
    // Whether the device of an earlier run is still there shows with the first list.
    if (settings_) {
        requestedDevice_ = settings_->string(outputDeviceDefaultsKey).value_or(QString());
        engine_.output().setDevice(requestedDevice_);
        selectedOutputDeviceUID = requestedDevice_;
    }
    const std::weak_ptr<AudioEngineManager*> self = self_;
    hardwareChangeListener_ = std::make_shared<const std::function<void()>>([self] {
        postToMainThread([self] {
            const auto manager = self.lock();
            if (manager && !(*manager)->isChangingOutputDevice_) {
                (*manager)->refreshOutputDevices();
            }
        });
    });
    deviceService_->addHardwareChangeListener(hardwareChangeListener_);
}

void AudioEngineManager::refreshOutputDevices() {
    if (!deviceService_) {
        return;
    }
    deviceService_->start();
    refreshOutputDevicesWithoutFallback();
    const QString selected = *selectedOutputDeviceUID;
    if (selected.isEmpty()) {
        followDefault();
    } else {
        followSelection(selected);
    }
}

void AudioEngineManager::refreshOutputDevicesWithoutFallback() {
    if (!deviceService_) {
        return;
    }
    deviceList_ = deviceService_->availableDevices();
    const AudioOutputDevice* known = deviceList_.defaultDevice();
    const QString name = known ? known->name : systemDefault;
    if (*outputDevices != deviceList_.devices) {
        outputDevices = deviceList_.devices;
    }
    if (*defaultOutputDeviceName != name) {
        defaultOutputDeviceName = name;
    }
}

void AudioEngineManager::selectOutputDevice(const QString& uid) {
    applyOutputDeviceSelection(uid, false);
}

void AudioEngineManager::followSelection(const QString& selected) {
    if (deviceList_.isGone(selected)) {
        if (requestedDevice_.isEmpty()) {
            setSelectedOutputDevice({});  // That of an earlier run; it was never had.
        } else {
            engine_.output().deviceGone();
            applyOutputDeviceSelection({}, false);
        }
    } else if (deviceList_.isConnected && requestedDevice_ != selected) {
        // It has come later than the first load.
        if (deviceList_.contains(selected) && !applyOutputDeviceSelection(selected, true)) {
            setSelectedOutputDevice({});
        }
    }
}

void AudioEngineManager::followDefault() {
    if (!engine_.isRunning() || !deviceList_.isConnected) {
        return;
    }
    if (const AudioOutputDevice* device = deviceList_.defaultDevice(); !device) {
        activeOutputDeviceID_.reset();
        const QString error = AudioOutputSelectionError::deviceUnavailable(systemDefault).text();
        if (*outputDeviceError != error) {
            outputDeviceError = error;
        }
    } else if (activeOutputDeviceID_ != device->deviceID) {
        followTimer_.start();
    }
}

/// The server has had its time: moves what it has left where it was.
void AudioEngineManager::defaultMoved() {
    const AudioOutputDevice* device = deviceList_.defaultDevice();
    if (!selectedOutputDeviceUID->isEmpty() || !engine_.isRunning() || !deviceList_.isConnected ||
        !device) {
        return;
    }
    if (engine_.output().device() != device->id) {
        applyOutputDeviceSelection({}, true);
        return;
    }
    activeOutputDeviceID_ = device->deviceID;
    if (*outputDeviceError == AudioOutputSelectionError::deviceUnavailable(systemDefault).text()) {
        outputDeviceError = std::nullopt;
    }
}

/// The output has waited for its device long enough.
void AudioEngineManager::deviceLost() {
    refreshOutputDevicesWithoutFallback();
    const QString selected = *selectedOutputDeviceUID;
    if (!selected.isEmpty() && !deviceList_.contains(selected)) {
        applyOutputDeviceSelection({}, false);
    }
}

/// @return whether the selection is in force
bool AudioEngineManager::applyOutputDeviceSelection(const QString& uid, bool force) {
    refreshOutputDevicesWithoutFallback();
    if (!force && uid == *selectedOutputDeviceUID) {
        return true;
    }
    const QScopedValueRollback changing(isChangingOutputDevice_, true);
    updateCurrentTime();
    const double position = *currentTime;
    const bool wasPlaying = *isPlaying;
    const bool isSwitched = tryHardwareOutputDevice(uid);
    if (isSwitched) {
        setSelectedOutputDevice(uid);
        if (*outputDeviceError) {
            outputDeviceError = std::nullopt;
        }
    }
    const std::optional<Track> track = *currentTrack;
    if (track && scheduledTracks_.empty()) {
        load(*track, position, wasPlaying);
    } else if (track && !engine_.isRunning()) {
        setPlaying(false);
        if (wasPlaying) {
            resume();
        }
    }
    return isSwitched;
}

/// Sets the device, or tells why that failed and sets the one before, as far as that goes.
bool AudioEngineManager::tryHardwareOutputDevice(const QString& uid) {
    const QString previous = requestedDevice_;
    try {
        setHardwareOutputDevice(uid);
        return true;
    } catch (const AudioOutputSelectionError& failure) {
        outputDeviceError = failure.text();
    }
    if (requestedDevice_ != previous) {
        try {
            reopenOutput(previous);
        } catch (const Error&) {
            // The caller sees that nothing runs.
        }
    }
    return false;
}

void AudioEngineManager::setHardwareOutputDevice(const QString& uid) {
    const AudioOutputDevice* device =
        uid.isEmpty() ? deviceList_.defaultDevice() : deviceList_.find(uid);
    // Whether there is a default one is known only while the server is there.
    if (!device && (!uid.isEmpty() || deviceList_.isConnected)) {
        throw AudioOutputSelectionError::deviceUnavailable(uid.isEmpty() ? systemDefault : uid);
    }
    const std::optional<uint32_t> deviceID =
        device ? std::optional(device->deviceID) : std::nullopt;
    try {
        reopenOutput(uid);
    } catch (const AudioOutputSelectionError&) {
        throw;
    } catch (const Error&) {
        throw AudioOutputSelectionError::outputUnitUnavailable();
    }
    activeOutputDeviceID_ = deviceID;
}

/// Remembers the choice: from here on, and in the settings.
void AudioEngineManager::setSelectedOutputDevice(const QString& uid) {
    if (uid != *selectedOutputDeviceUID) {
        selectedOutputDeviceUID = uid;
    }
    if (!settings_) {
        return;
    }
    if (uid.isEmpty()) {
        settings_->remove(outputDeviceDefaultsKey);
    } else {
        settings_->setString(outputDeviceDefaultsKey, uid);
    }
}

/// The first start with a device of an earlier run, which may not be there, or not yet.
void AudioEngineManager::startOnChosenDevice() {
    if (deviceService_) {
        deviceService_->start();
    }
    try {
        engine_.start();
        return;
    } catch (const AudioOutputSelectionError&) {
        if (requestedDevice_.isEmpty()) {
            throw;
        }
    }
    requestedDevice_.clear();
    engine_.output().setDevice({});
    engine_.start();
}

}  // namespace halvenor

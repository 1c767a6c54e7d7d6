#include "platform/audio/AudioOutputDevices.h"

#include <algorithm>
#include <utility>

namespace halvenor {

const AudioOutputDevice* AudioOutputDeviceList::find(const QString& id) const {
    const auto found = std::ranges::find(devices, id, &AudioOutputDevice::id);
    return found == devices.end() ? nullptr : &*found;
}

bool AudioOutputDeviceList::isGone(const QString& id) const {
    return isConnected && !contains(id) && (isSettled || seen.contains(id));
}

void AudioOutputDeviceService::addHardwareChangeListener(HardwareChangeListener listener) {
    listeners_.push_back(std::move(listener));
}

void AudioOutputDeviceService::removeHardwareChangeListener(
    const HardwareChangeListener& listener) {
    std::erase(listeners_, listener);
}

void AudioOutputDeviceService::tellListeners() const {
    for (const HardwareChangeListener& listener : std::vector(listeners_)) {
        (*listener)();
    }
}

AudioOutputSelectionError AudioOutputSelectionError::deviceUnavailable(const QString& device) {
    return {ErrorKind::unavailable,
            QStringLiteral("Audio output device is unavailable: ") + device};
}

AudioOutputSelectionError AudioOutputSelectionError::coreAudio(int status) {
    return {ErrorKind::unavailable,
            QStringLiteral("Could not switch the audio output device (Core Audio error %1).")
                .arg(status)};
}

AudioOutputSelectionError AudioOutputSelectionError::outputUnitUnavailable() {
    return {ErrorKind::unavailable, QStringLiteral("The audio output unit is unavailable.")};
}

}  // namespace halvenor

#include "support/ManualOutput.h"

#include <QCoreApplication>

#include <algorithm>

#include "base/Error.h"

namespace halvenor::test {

AudioFormat ManualOutput::open() {
    ++openCount;
    if (!openFailure.empty()) {
        throw Error(ErrorKind::unavailable, QString::fromStdString(openFailure));
    }
    if (missingDevices.contains(chosenDevice)) {
        throw AudioOutputSelectionError::deviceUnavailable(chosenDevice);
    }
    if (refusedDevices.contains(chosenDevice)) {
        throw AudioOutputSelectionError::coreAudio(7);
    }
    soundingDevice = chosenDevice.isEmpty() ? defaultDevice : chosenDevice;
    isOpen_ = true;
    return format_;
}

void ManualOutput::close() {
    setSource(nullptr);
    isRunning = false;
    isOpen_ = false;
}

void ManualOutput::setSource(std::shared_ptr<RenderSource> source) {
    ++setSourceCount;
    source_ = std::move(source);
    device_.clear();
    heardCount_ = 0;
}

void ManualOutput::resume() {
    ++resumeCount;
    isRunning = true;
}

void ManualOutput::suspend() {
    ++suspendCount;
    isRunning = false;
}

void ManualOutput::rerender() {
    ++rerenderCount;
    const int64_t waiting = framesWaiting();
    const int64_t back = source_ ? source_->rewind(waiting) : 0;
    device_.erase(device_.end() - back * format_.channels, device_.end());
    const bool wasRunning = std::exchange(isRunning, true);
    pull(back);
    isRunning = wasRunning;
}

int64_t ManualOutput::pull(int64_t frames) {
    if (!source_ || !isRunning) {
        return 0;
    }
    std::vector<float> samples(frames * format_.channels);
    const int64_t given = source_->render(samples.data(), frames);
    device_.insert(device_.end(), samples.begin(), samples.begin() + given * format_.channels);
    return given;
}

int64_t ManualOutput::hear(int64_t frames) {
    const int64_t count = isRunning ? std::min(frames, framesWaiting()) : 0;
    const auto end = device_.begin() + count * format_.channels;
    heard_.insert(heard_.end(), device_.begin(), end);
    device_.erase(device_.begin(), end);
    heardCount_ += count;
    return count;
}

void ManualOutput::loseDevice() {
    const int64_t lost = framesWaiting();
    device_.clear();
    if (source_) {
        source_->rewind(lost);
    }
}

int64_t ManualOutput::framesWaiting() const {
    return static_cast<int64_t>(device_.size()) / format_.channels;
}

void ManualDevices::tell(const QStringList& names, bool isSettled, bool isConnected) {
    AudioOutputDeviceList list;
    for (const QString& name : names) {
        const auto number = static_cast<uint32_t>(list.devices.size());
        list.devices.append({.id = name.toLower(), .name = name, .deviceID = number});
        seen_.insert(name.toLower());
    }
    list.defaultID = names.value(0).toLower();
    list.isConnected = isConnected;
    list.isSettled = isSettled;
    list.seen = seen_;
    if (!isConnected) {
        seen_.clear();
    }
    list_ = std::move(list);
    tellListeners();
    QCoreApplication::processEvents();
}

}  // namespace halvenor::test

#include "platform/settings/Settings.h"

#include <QTimer>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>

#include "base/StoreFile.h"
#include "platform/settings/SettingsValue.h"
#include "platform/userfolders/UserFolders.h"

namespace halvenor {

using settings::Json;
using settings::Values;

namespace {

// At most one write in this time, and no change waits for longer to be on its way.
constexpr std::chrono::seconds writeInterval{1};

}  // namespace

class Settings::Impl {
  public:
    explicit Impl(const FileUrl& file) : file_(file) {
        file_.read([this](const QByteArray& text) { values_ = settings::valuesFromText(text); });
        timer_.setTimerType(Qt::PreciseTimer);  // A coarse one may be early.
        timer_.setInterval(writeInterval);
        timer_.callOnTimeout(&timer_, [this] { writeInTime(); });
    }

    const Json* find(std::string_view key) const {
        const auto found = values_.find(key);
        return found == values_.end() ? nullptr : &found->second;
    }

    void set(std::string_view key, Json value) {
        const Json* const present = find(key);
        if (!present || *present != value) {
            values_.insert_or_assign(std::string(key), std::move(value));
            noteChange();
        }
    }

    void remove(std::string_view key) {
        const auto found = values_.find(key);
        if (found != values_.end()) {
            values_.erase(found);
            noteChange();
        }
    }

    bool flush() {
        if (hasChanged_) {
            save();
            if (timer_.isActive()) {
                timer_.start();  // The next write is due a whole interval from this one.
            }
        }
        return file_.flush();
    }

    std::function<void()> onAboutToWrite;

  private:
    // The time goes on after a write, until one ends in which nothing has changed: so a change
    // that follows a write is on its way an interval after that one, not after itself.
    void writeInTime() {
        if (!hasChanged_) {
            timer_.stop();
            return;
        }
        if (onAboutToWrite) {
            onAboutToWrite();
        }
        save();
    }

    void save() {
        hasChanged_ = false;
        file_.save([values = values_] { return settings::textFromValues(values); });
    }

    // The first change starts the time; later ones do not put it off.
    void noteChange() {
        hasChanged_ = true;
        if (!timer_.isActive()) {
            timer_.start();
        }
    }

    StoreFile file_;
    Values values_;
    bool hasChanged_ = false;
    QTimer timer_;
};

Settings::Settings(const FileUrl& file) : impl_(std::make_unique<Impl>(file)) {}

Settings::~Settings() {
    impl_->flush();
}

FileUrl Settings::defaultFile() {
    return configurationHome()
        .appendingPathComponent("Halvenor")
        .appendingPathComponent("settings.json");
}

bool Settings::contains(std::string_view key) const {
    return impl_->find(key);
}

std::optional<bool> Settings::boolean(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value && value->is_boolean() ? std::optional(value->get<bool>()) : std::nullopt;
}

std::optional<double> Settings::number(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value && value->is_number() ? std::optional(value->get<double>()) : std::nullopt;
}

std::optional<QString> Settings::string(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toString(*value) : std::nullopt;
}

std::optional<QByteArray> Settings::path(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toPath(*value) : std::nullopt;
}

std::optional<QList<QByteArray>> Settings::paths(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toPaths(*value) : std::nullopt;
}

std::optional<QByteArray> Settings::data(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toData(*value) : std::nullopt;
}

std::optional<QList<QByteArray>> Settings::dataList(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toDataList(*value) : std::nullopt;
}

std::optional<QHash<QByteArray, QByteArray>> Settings::dataByPath(std::string_view key) const {
    const Json* const value = impl_->find(key);
    return value ? settings::toDataByPath(*value) : std::nullopt;
}

void Settings::setBoolean(std::string_view key, bool value) {
    impl_->set(key, Json(value));
}

void Settings::setNumber(std::string_view key, double value) {
    if (std::isfinite(value)) {
        impl_->set(key, Json(value));
    }
}

void Settings::setString(std::string_view key, const QString& value) {
    impl_->set(key, settings::fromString(value));
}

void Settings::setPath(std::string_view key, const QByteArray& path) {
    impl_->set(key, settings::fromPath(path));
}

void Settings::setPaths(std::string_view key, const QList<QByteArray>& paths) {
    impl_->set(key, settings::fromPaths(paths));
}

void Settings::setData(std::string_view key, const QByteArray& data) {
    impl_->set(key, settings::fromData(data));
}

void Settings::setDataList(std::string_view key, const QList<QByteArray>& list) {
    impl_->set(key, settings::fromDataList(list));
}

void Settings::setDataByPath(std::string_view key, const QHash<QByteArray, QByteArray>& map) {
    impl_->set(key, settings::fromDataByPath(map));
}

void Settings::remove(std::string_view key) {
    impl_->remove(key);
}

void Settings::setAboutToWriteHandler(std::function<void()> handler) {
    impl_->onAboutToWrite = std::move(handler);
}

bool Settings::flush() {
    return impl_->flush();
}

}  // namespace halvenor

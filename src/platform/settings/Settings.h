#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "base/FileUrl.h"

namespace halvenor {

/// The user's settings: typed values under string keys, in one readable JSON file.
///
/// An absent key is told from a stored false or an empty list; a value of another type reads as
/// absent. Reads and writes are of memory. A change is on its way into the file within a second,
/// and the file is written at most once in that time: as a whole, and off the main thread, which a
/// slow disk does not hold up. Setting an equal value writes nothing. A file that can't be read as
/// settings is kept aside before it is first overwritten. Paths keep their exact bytes.
/// docs/settings.md tells the form of the file. Main thread.
class Settings {
  public:
    /// Reads `file`; a missing one is an empty store.
    explicit Settings(const FileUrl& file);
    /// Flushes.
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    /// "Halvenor/settings.json" in the user's configuration folder (XDG_CONFIG_HOME).
    static FileUrl defaultFile();

    bool contains(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;
    std::optional<QString> string(std::string_view key) const;
    std::optional<QByteArray> path(std::string_view key) const;
    std::optional<QList<QByteArray>> paths(std::string_view key) const;
    std::optional<QByteArray> data(std::string_view key) const;
    /// Absent unless every element is data.
    std::optional<QList<QByteArray>> dataList(std::string_view key) const;
    /// From path to data. Absent unless every value is data.
    std::optional<QHash<QByteArray, QByteArray>> dataByPath(std::string_view key) const;

    void setBoolean(std::string_view key, bool value);
    /// A value that is not finite changes nothing: the file can't hold it.
    void setNumber(std::string_view key, double value);
    void setString(std::string_view key, const QString& value);
    void setPath(std::string_view key, const QByteArray& path);
    void setPaths(std::string_view key, const QList<QByteArray>& paths);
    void setData(std::string_view key, const QByteArray& data);
    void setDataList(std::string_view key, const QList<QByteArray>& list);
    void setDataByPath(std::string_view key, const QHash<QByteArray, QByteArray>& map);
    void remove(std::string_view key);

    /// Called right before a write that time has brought, not before that of flush(): what goes
    /// stale by itself can be set once more.
    void setAboutToWriteHandler(std::function<void()> handler);

    /// Writes now what has changed and waits for it. A failure keeps the values in memory, to be
    /// tried again by the next change or flush. @return whether the file is up to date
    bool flush();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace halvenor

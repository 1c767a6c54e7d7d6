#pragma once

#include <QDBusArgument>
#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>

#include <chrono>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>

#include "platform/mediacontrols/NowPlayingService.h"
#include "support/BusDaemon.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {

/// The signals that clients of the player receive, in their order.
class SignalLog final : public QObject {
    Q_OBJECT

  public:
    explicit SignalLog(BusClient& client);

    struct Signal {
        QString name;            ///< "PropertiesChanged" or "Seeked"
        QVariantMap changed;     ///< of PropertiesChanged
        qlonglong position = 0;  ///< of Seeked, in microseconds
    };
    const std::vector<Signal>& all() const { return signals_; }
    std::vector<Signal> named(const char* name) const;
    /// How often a property was told.
    int count(const char* property) const;
    void clear() { signals_.clear(); }

  public Q_SLOTS:
    void received(const QDBusMessage& message);

  private:
    std::vector<Signal> signals_;
};

/// A player that does nothing but remember what it was asked for.
struct FakePlayer {
    FakePlayer();
    MediaPlayer asMediaPlayer();
    void setUp(NowPlayingService& service);

    MediaPlayerState state;
    /// "play", "seek 12.5", "volume 0.25", ...
    std::vector<std::string> log;
};

inline QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

/// The signature of a value as it came from the bus.
QString signatureOf(const QVariant& value);

/// The bytes of an image in one colour.
QByteArray imageOf(Qt::GlobalColor colour, int side = 8, const char* format = "PNG");

/// What any file holds; empty when it can't be read.
QByteArray contentsOf(const FileUrl& url);

/// A service on a private bus, with clients that look at it from outside.
class MprisTest : public testing::Test {
  protected:
    MprisTest();

    /// Puts the service on the bus. @return whether it came
    bool start();
    void stop() { service_.reset(); }
    NowPlayingService& service() { return *service_; }

    QDBusMessage callPlayer(const char* method, const QVariantList& arguments = {});
    QDBusMessage callRoot(const char* method, const QVariantList& arguments = {});
    QVariant property(const char* name);
    QVariantMap properties(const QString& interface);
    /// The error's name; empty for none.
    QString setProperty(const char* name, const QVariant& value);
    /// Waits until everything that was sent up to now has arrived.
    void settle();
    QVariantMap metadata();
    QVariant metadata(const char* key) { return metadata().value(text(key)); }

    /// Runs a program to its end while the event loop runs. @return its standard output
    QByteArray run(const std::vector<std::string>& command);

    static inline const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
    static inline const QString rootInterface = QStringLiteral("org.mpris.MediaPlayer2");
    static inline const QString path = QStringLiteral("/org/mpris/MediaPlayer2");
    QString name_ = QStringLiteral("org.mpris.MediaPlayer2.halvenor");

    BusDaemon bus_;
    TemporaryFolder folder_;
    FakePlayer player_;
    std::optional<BusClient> client_;
    std::optional<NowPlayingService> service_;
};

/// A track of this title, with nothing else that tells it from others.
Track makeTrack(const QString& title, const Artwork& artwork = {});

}  // namespace halvenor::test

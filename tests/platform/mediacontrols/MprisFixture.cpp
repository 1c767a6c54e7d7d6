#include "MprisFixture.h"

#include <QBuffer>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QFile>
#include <QImage>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "support/ChildProcess.h"
#include "support/EventLoop.h"

namespace halvenor::test {

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

template <class... Parts>
std::string words(const Parts&... parts) {
    std::ostringstream text;
    ((text << parts << ' '), ...);
    std::string line = text.str();
    line.pop_back();
    return line;
}

}  // namespace

SignalLog::SignalLog(BusClient& client) {
    for (const QString& interface :
         {propertiesInterface, QStringLiteral("org.mpris.MediaPlayer2.Player")}) {
        client.connection().connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"), interface,
                                    QString(), this, SLOT(received(QDBusMessage)));
    }
}

void SignalLog::received(const QDBusMessage& message) {
    Signal signal{message.member(), {}, 0};
    if (signal.name == QLatin1String("Seeked")) {
        signal.position = message.arguments().at(0).toLongLong();
    } else {
        EXPECT_EQ(message.signature(), QLatin1String("sa{sv}as"));
        signal.changed = qdbus_cast<QVariantMap>(message.arguments().at(1));
        EXPECT_TRUE(message.arguments().at(2).toStringList().isEmpty());
    }
    signals_.push_back(std::move(signal));
}

std::vector<SignalLog::Signal> SignalLog::named(const char* name) const {
    std::vector<Signal> found;
    std::ranges::copy_if(signals_, std::back_inserter(found),
                         [&](const Signal& signal) { return signal.name == text(name); });
    return found;
}

int SignalLog::count(const char* property) const {
    return static_cast<int>(std::ranges::count_if(
        signals_, [&](const Signal& signal) { return signal.changed.contains(text(property)); }));
}

FakePlayer::FakePlayer() {
    state.status = PlaybackStatus::paused;
    state.position = 60;
    state.volume = 0.5;
    state.canPlay = state.canPause = state.canSeek = true;
    state.canGoNext = state.canGoPrevious = true;
}

MediaPlayer FakePlayer::asMediaPlayer() {
    MediaPlayer player;
    player.state = [this] { return state; };
    player.onStop = [this] { log.emplace_back("stop"); };
    player.onSeek = [this](double seconds) { log.push_back(words("seek", seconds)); };
    player.onSetVolume = [this](double volume) { log.push_back(words("volume", volume)); };
    player.onSetLoopMode = [this](LoopMode mode) {
        log.push_back(words("loop", static_cast<int>(mode)));
    };
    player.onSetShuffling = [this](bool on) { log.push_back(words("shuffle", on)); };
    player.onRaise = [this] { log.emplace_back("raise"); };
    player.onQuit = [this] { log.emplace_back("quit"); };
    player.onOpen = [this](const FileUrl& url) {
        log.push_back(words("open", url.path().toStdString()));
    };
    return player;
}

void FakePlayer::setUp(NowPlayingService& service) {
    const auto note = [this](const char* word) { return [this, word] { log.emplace_back(word); }; };
    service.setupRemoteCommands(note("play"), note("pause"), note("toggle"), note("next"),
                                note("previous"));
    service.setupPlayer(asMediaPlayer());
}

QString signatureOf(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        return value.value<QDBusArgument>().currentSignature();
    }
    return QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
}

QByteArray imageOf(Qt::GlobalColor colour, int side, const char* format) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer buffer;
    image.save(&buffer, format);
    return buffer.data();
}

QByteArray contentsOf(const FileUrl& url) {
    QFile file(QFile::decodeName(url.path()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Track makeTrack(const QString& title, const Artwork& artwork) {
    TrackFields fields;
    fields.url = FileUrl("/music/" + title.toUtf8() + ".flac");
    fields.title = title;
    fields.artworkData = artwork;
    return Track(fields);
}

MprisTest::MprisTest() {
    qputenv("XDG_CACHE_HOME", folder_.path("cache"));
    service_.emplace();
    player_.setUp(*service_);
}

bool MprisTest::start() {
    client_.emplace(bus_);
    service_->start(std::chrono::milliseconds(0));
    return spinUntil([this] { return !client_->ownerOf(name_).isEmpty(); });
}

QDBusMessage MprisTest::callPlayer(const char* method, const QVariantList& arguments) {
    return client_->call(name_, path, playerInterface, text(method), arguments);
}

QDBusMessage MprisTest::callRoot(const char* method, const QVariantList& arguments) {
    return client_->call(name_, path, rootInterface, text(method), arguments);
}

QVariant MprisTest::property(const char* name) {
    const QDBusMessage answer = client_->call(name_, path, propertiesInterface,
                                              QStringLiteral("Get"), {playerInterface, text(name)});
    EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << qPrintable(answer.errorMessage());
    return answer.arguments().value(0).value<QDBusVariant>().variant();
}

QVariantMap MprisTest::properties(const QString& interface) {
    const QDBusMessage answer =
        client_->call(name_, path, propertiesInterface, QStringLiteral("GetAll"), {interface});
    return qdbus_cast<QVariantMap>(answer.arguments().value(0));
}

QString MprisTest::setProperty(const char* name, const QVariant& value) {
    return client_
        ->call(name_, path, propertiesInterface, QStringLiteral("Set"),
               {playerInterface, text(name), QVariant::fromValue(QDBusVariant(value))})
        .errorName();
}

QVariantMap MprisTest::metadata() {
    return qdbus_cast<QVariantMap>(property("Metadata"));
}

// Its turn of the event loop and those of its timers, then one call there and back: the bus keeps
// the order.
void MprisTest::settle() {
    spinFor(std::chrono::milliseconds(5));
    client_->call(name_, path, QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
}

QByteArray MprisTest::run(const std::vector<std::string>& command) {
    const FileUrl output = folder_.at("output");
    ChildProcess process({.command = command, .outputFile = output.path().toStdString()});
    spinUntil([&] { return !process.isRunning(); });
    return contentsOf(output);
}

}  // namespace halvenor::test

#include "support/SoundServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

#include <cstring>
#include <sys/stat.h>

#include "support/Programs.h"

namespace halvenor::test {

namespace {

constexpr int patience = 20000;  // milliseconds until something that should happen has failed

/// Polls, as the things waited for are other processes. @return whether it came true in time
template <class Condition>
bool waitFor(Condition condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > patience) {
            return false;
        }
        QThread::msleep(10);
    }
    return true;
}

std::string sinkArguments(const std::string& name, AudioFormat format) {
    // Without rewinding the monitor gets each frame once, and what it gets is what was heard.
    return "sink_name=" + name + " rate=" + std::to_string(format.sampleRate) +
           " channels=" + std::to_string(format.channels) + " format=float32le norewinds=1";
}

}  // namespace

SoundServer::SoundServer(AudioFormat sinkFormat, SoundServerKind kind)
    : previousServer_(qgetenv("PULSE_SERVER")), format_(sinkFormat), kind_(kind) {
    qputenv("PULSE_SERVER", QByteArray::fromStdString("unix:" + socket()));
    start();
}

SoundServer::~SoundServer() {
    kill();
    if (previousServer_.isEmpty()) {
        qunsetenv("PULSE_SERVER");
    } else {
        qputenv("PULSE_SERVER", previousServer_);
    }
}

bool SoundServer::isInstalled(SoundServerKind kind) {
    const auto isThere = [](const char* program) {
        return !QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
    };
    return kind == SoundServerKind::pulseAudio
               ? isThere("pulseaudio")
               : isThere("pipewire") && isThere("pipewire-pulse") && isThere("wireplumber") &&
                     isThere("dbus-daemon");
}

std::string SoundServer::socket() const {
    return root() + (kind_ == SoundServerKind::pulseAudio ? "/socket" : "/pulse/native");
}

std::map<std::string, std::string> SoundServer::environment() const {
    const bool hasBus = kind_ == SoundServerKind::pipeWire;
    return {{"HOME", root()},
            {"XDG_RUNTIME_DIR", root()},
            {"XDG_CONFIG_HOME", root() + "/config"},
            {"XDG_STATE_HOME", root() + "/state"},
            {"DISPLAY", ""},
            {"PULSE_RUNTIME_PATH", root() + "/pulse"},
            {"PULSE_STATE_PATH", root() + "/state"},
            {"PULSE_COOKIE", root() + "/cookie"},
            {"PULSE_SERVER", "unix:" + socket()},
            {"DBUS_SESSION_BUS_ADDRESS", hasBus ? "unix:path=" + root() + "/bus" : ""}};
}

ChildProcess SoundServer::run(std::vector<std::string> command) const {
    return ChildProcess({
        .command = std::move(command),
        .environment = environment(),
        .outputFile = root() + "/output",
    });
}

void SoundServer::start(AudioFormat sinkFormat) {
    format_ = sinkFormat;
    if (kind_ == SoundServerKind::pulseAudio) {
        startPulseAudio();
    } else {
        startPipeWire();
    }
    isAnswering_ = waitFor([&] { return pactl({"info"}).contains("Default Sink: main"); });
}

void SoundServer::startPulseAudio() {
    process_ = run({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                    "--use-pid-file=no", "--log-level=error", "--realtime=no", "--high-priority=no",
                    "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket(), "-L",
                    "module-null-sink " + sinkArguments("main", format_)});
}

void SoundServer::startPipeWire() {
    QDir(directory_.path()).mkpath(QStringLiteral("config/pipewire/pipewire.conf.d"));
    QFile settings(
        directory_.filePath(QStringLiteral("config/pipewire/pipewire.conf.d/test.conf")));
    if (settings.open(QIODevice::WriteOnly)) {
        settings.write("context.properties = { default.clock.rate = " +
                       QByteArray::number(format_.sampleRate) +
                       " default.clock.allowed-rates = [ 44100 48000 ] }\n"
                       "context.objects = [ { factory = adapter args = {\n"
                       "  factory.name = support.null-audio-sink node.name = main\n"
                       "  node.description = main media.class = Audio/Sink\n"
                       "  object.linger = true audio.position = [ FL FR ] } } ]\n");
        settings.close();
    }
    const auto isThere = [this](const char* file) {
        return QFileInfo::exists(directory_.filePath(QString::fromLatin1(file)));
    };
    helpers_.push_back(run({"dbus-daemon", "--session", "--nofork", "--nopidfile",
                            "--address=unix:path=" + root() + "/bus"}));
    waitFor([&] { return isThere("bus"); });
    helpers_.push_back(run({"pipewire"}));
    waitFor([&] { return isThere("pipewire-0"); });
    helpers_.push_back(run({"wireplumber"}));
    process_ = run({"pipewire-pulse"});
}

void SoundServer::kill() {
    process_.kill();
    while (!helpers_.empty()) {
        helpers_.pop_back();
    }
    // What a crash leaves behind would look like a server that has started.
    for (const char* left : {"bus", "pipewire-0", "pulse/native"}) {
        QFile::remove(directory_.filePath(QString::fromLatin1(left)));
    }
    isAnswering_ = false;
}

QByteArray SoundServer::pactl(const std::vector<std::string>& arguments) const {
    ChildProcess::Setup setup{.command = {"pactl"}, .environment = environment()};
    setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
    return runToEnd(setup).output;
}

QByteArray SoundServer::loadSink(const QByteArray& name, AudioFormat format) {
    return pactl({"load-module", "module-null-sink", sinkArguments(name.toStdString(), format)})
        .trimmed();
}

void SoundServer::unloadModule(const QByteArray& number) {
    pactl({"unload-module", number.toStdString()});
}

void SoundServer::setDefaultSink(const QByteArray& name) {
    pactl({"set-default-sink", name.toStdString()});
}

bool SoundServer::makeDefaultSink(const QByteArray& name) {
    const auto isDefault = [&] { return pactl({"get-default-sink"}).trimmed() == name; };
    for (int attempt = 0; attempt < 3; ++attempt) {
        setDefaultSink(name);
        if (waitFor(isDefault)) {
            return true;
        }
        setDefaultSink("main");  // Asked for the same once more, a server does nothing.
    }
    return false;
}

SoundRecorder::SoundRecorder(SoundServer& server, const QByteArray& sink)
    : format_(server.format()),
      process_({.command = {"parec", "-d", sink.toStdString() + ".monitor", "--format=float32le",
                            "--rate=" + std::to_string(format_.sampleRate),
                            "--channels=" + std::to_string(format_.channels), "--latency-msec=20",
                            "--raw"},
                .environment = server.environment(),
                .outputFile = directory_.filePath(QStringLiteral("samples")).toStdString()}) {
    waitFor([&] { return frames() > 0; });
}

int64_t SoundRecorder::frames() const {
    struct stat info {};
    const QByteArray path = QFile::encodeName(directory_.filePath(QStringLiteral("samples")));
    if (stat(path.constData(), &info) != 0) {
        return 0;
    }
    return info.st_size / static_cast<int64_t>(format_.channels * sizeof(float));
}

std::vector<float> SoundRecorder::finish() {
    const int64_t until = frames() + format_.sampleRate / 5;
    waitFor([&] { return frames() >= until || !process_.isRunning(); });
    process_.kill();
    QFile file(directory_.filePath(QStringLiteral("samples")));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.readAll();
    std::vector<float> samples(bytes.size() / sizeof(float));
    if (!samples.empty()) {
        std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    }
    return samples;
}

}  // namespace halvenor::test

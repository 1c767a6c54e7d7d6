#include "support/SoundServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cstring>
#include <sys/stat.h>

namespace halvenor::test {

namespace {

constexpr int patience = 5000;  // milliseconds until something that should happen has failed

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

/// Runs a program to its end. @return its standard output
QByteArray outputOf(ChildProcess::Setup setup) {
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("output"));
    setup.outputFile = path.toStdString();
    ChildProcess(setup).wait();
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

SoundServer::SoundServer(AudioFormat sinkFormat)
    : previousServer_(qgetenv("PULSE_SERVER")), format_(sinkFormat) {
    qputenv("PULSE_SERVER", "unix:" + directory_.path().toUtf8() + "/socket");
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

std::map<std::string, std::string> SoundServer::environment() const {
    const std::string root = directory_.path().toStdString();
    return {{"HOME", root},
            {"XDG_RUNTIME_DIR", root},
            {"PULSE_RUNTIME_PATH", root + "/pulse"},
            {"PULSE_STATE_PATH", root + "/state"},
            {"PULSE_COOKIE", root + "/cookie"},
            {"PULSE_SERVER", "unix:" + root + "/socket"},
            {"DBUS_SESSION_BUS_ADDRESS", ""}};
}

void SoundServer::start(AudioFormat sinkFormat) {
    format_ = sinkFormat;
    const std::string socket = directory_.path().toStdString() + "/socket";
    process_ =
        ChildProcess({.command = {"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                                  "--use-pid-file=no", "--log-level=error", "--realtime=no",
                                  "--high-priority=no", "-L",
                                  "module-native-protocol-unix auth-anonymous=1 socket=" + socket,
                                  "-L", "module-null-sink " + sinkArguments("main", format_)},
                      .environment = environment()});
    waitFor([&] { return pactl({"info"}).contains("Default Sink: main"); });
}

void SoundServer::kill() {
    process_.kill();
}

QByteArray SoundServer::pactl(const std::vector<std::string>& arguments) const {
    ChildProcess::Setup setup{.command = {"pactl"}, .environment = environment()};
    setup.command.insert(setup.command.end(), arguments.begin(), arguments.end());
    return outputOf(setup);
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
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(float));
    return samples;
}

}  // namespace halvenor::test

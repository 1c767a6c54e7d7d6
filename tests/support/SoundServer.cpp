#include "support/SoundServer.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <csignal>
#include <cstring>
#include <sys/prctl.h>
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

/// Not even a test that is killed leaves a process behind.
void endWithThisProcess(QProcess& process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

QByteArray sinkArguments(const QByteArray& name, AudioFormat format) {
    // Without rewinding the monitor gets each frame once, and what it gets is what was heard.
    return "sink_name=" + name + " rate=" + QByteArray::number(format.sampleRate) +
           " channels=" + QByteArray::number(format.channels) + " format=float32le norewinds=1";
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

QProcessEnvironment SoundServer::environment() const {
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    const QString root = directory_.path();
    variables.insert(QStringLiteral("HOME"), root);
    variables.insert(QStringLiteral("XDG_RUNTIME_DIR"), root);
    variables.insert(QStringLiteral("PULSE_RUNTIME_PATH"), root + QStringLiteral("/pulse"));
    variables.insert(QStringLiteral("PULSE_STATE_PATH"), root + QStringLiteral("/state"));
    variables.insert(QStringLiteral("PULSE_COOKIE"), root + QStringLiteral("/cookie"));
    variables.insert(QStringLiteral("PULSE_SERVER"),
                     QStringLiteral("unix:") + root + QStringLiteral("/socket"));
    variables.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
    return variables;
}

void SoundServer::start(AudioFormat sinkFormat) {
    format_ = sinkFormat;
    const QString socket = directory_.filePath(QStringLiteral("socket"));
    process_ = std::make_unique<QProcess>();
    process_->setProcessEnvironment(environment());
    endWithThisProcess(*process_);
    // It logs errors about the recorder's shared memory, which it works around.
    process_->setStandardErrorFile(QProcess::nullDevice());
    const auto module = [](const QByteArray& text) { return QString::fromUtf8(text); };
    process_->start(
        QStringLiteral("pulseaudio"),
        {QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
         QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--use-pid-file=no"),
         QStringLiteral("--log-level=error"), QStringLiteral("--realtime=no"),
         QStringLiteral("--high-priority=no"), QStringLiteral("-L"),
         QStringLiteral("module-native-protocol-unix auth-anonymous=1 socket=") + socket,
         QStringLiteral("-L"), module("module-null-sink " + sinkArguments("main", format_))});
    if (process_->waitForStarted(patience)) {
        waitFor([&] { return pactl({QStringLiteral("info")}).contains("Default Sink: main"); });
    }
}

void SoundServer::kill() {
    if (process_) {
        process_->kill();
        process_->waitForFinished(patience);
        process_.reset();
    }
}

QByteArray SoundServer::pactl(const QStringList& arguments) const {
    QProcess process;
    process.setProcessEnvironment(environment());
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(QStringLiteral("pactl"), arguments);
    process.waitForFinished(patience);
    return process.readAllStandardOutput();
}

QByteArray SoundServer::loadSink(const QByteArray& name, AudioFormat format) {
    return pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                  QString::fromUtf8(sinkArguments(name, format))})
        .trimmed();
}

void SoundServer::unloadModule(const QByteArray& number) {
    pactl({QStringLiteral("unload-module"), QString::fromUtf8(number)});
}

void SoundServer::setDefaultSink(const QByteArray& name) {
    pactl({QStringLiteral("set-default-sink"), QString::fromUtf8(name)});
}

SoundRecorder::SoundRecorder(SoundServer& server, const QByteArray& sink)
    : format_(server.format()) {
    process_.setProcessEnvironment(server.environment());
    endWithThisProcess(process_);
    process_.setStandardOutputFile(directory_.filePath(QStringLiteral("samples")));
    process_.start(
        QStringLiteral("parec"),
        {QStringLiteral("-d"), QString::fromUtf8(sink + ".monitor"),
         QStringLiteral("--format=float32le"), QStringLiteral("--rate=%1").arg(format_.sampleRate),
         QStringLiteral("--channels=%1").arg(format_.channels), QStringLiteral("--latency-msec=20"),
         QStringLiteral("--raw")});
    process_.waitForStarted(patience);
    waitFor([&] { return frames() > 0; });
}

SoundRecorder::~SoundRecorder() {
    end();
}

int64_t SoundRecorder::frames() const {
    struct stat info {};
    const QByteArray path = QFile::encodeName(directory_.filePath(QStringLiteral("samples")));
    if (stat(path.constData(), &info) != 0) {
        return 0;
    }
    return info.st_size / static_cast<int64_t>(format_.channels * sizeof(float));
}

void SoundRecorder::end() {
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished(patience);
    }
}

std::vector<float> SoundRecorder::finish() {
    const int64_t until = frames() + format_.sampleRate / 5;
    if (process_.state() == QProcess::Running) {
        waitFor([&] { return frames() >= until || process_.waitForFinished(0); });
    }
    end();
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

// The entry: the state first, then the window on it, then what the command line names. With
// "--test" the program plays through a small library of its own, prints what it saw, and ends.
#include <QApplication>
#include <QSessionManager>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/FileStatus.h"
#include "commandline/CommandLine.h"
#include "platform/appearance/DesktopPreferences.h"
#include "platform/audio/AudioOutputDevices.h"
#include "platform/audio/Outputs.h"
#include "platform/desktop/Memory.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/mediacontrols/NowPlayingService.h"
#include "platform/settings/Settings.h"
#include "platform/singleinstance/SingleInstance.h"
#include "selftest/SelfTest.h"
#include "state/AppState.h"
#include "ui/shell/ApplicationShell.h"
#include "ui/theme/FontPreload.h"
#include "ui/theme/ThemeInstaller.h"

namespace {

using namespace halvenor;

bool hasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

// As the kernel tells it, which is bytes. Without one (it was removed) the root stands in.
FileUrl workingFolder() {
    const std::unique_ptr<char, decltype(&std::free)> path(::getcwd(nullptr, 0), &std::free);
    return FileUrl(path ? QByteArray(path.get()) : QByteArray("/"));
}

/// What needs neither a display nor another process: the exit code; absent for all else.
std::optional<int> answerAtOnce(const CommandLine& commandLine) {
    switch (commandLine.task) {
        case CommandLine::Task::help:
            std::fputs(CommandLine::helpText().constData(), stdout);
            return 0;
        case CommandLine::Task::version:
            std::fputs(CommandLine::versionText().constData(), stdout);
            return 0;
        case CommandLine::Task::refuse:
            std::fputs(commandLine.problem.constData(), stderr);
            return 2;
        case CommandLine::Task::open:
        case CommandLine::Task::selfTest:
            break;
    }
    return std::nullopt;
}

LaunchRequest requestFor(const CommandLine& commandLine) {
    LaunchRequest request = LaunchRequest::fromEnvironment();
    request.places = commandLine.places;
    return request;
}

// Every folder becomes a Location; of several files one can play.
void open(AppState& state, const std::vector<FileUrl>& places) {
    bool hasFile = false;
    for (const FileUrl& place : places) {
        const auto status = fileStatus(place);
        const bool isFolder = status && status->kind == FileStatus::Kind::folder;
        if (isFolder || !std::exchange(hasFile, true)) {
            state.openFromOutside(place);
        }
    }
}

AppState::Dependencies userDependencies(const DesktopPreferences& preferences) {
    AppState::Dependencies user(makeSystemOutput(QStringLiteral("Halvenor")),
                                Settings::defaultFile(), AppState::defaultDataFolder(),
                                [&preferences] { return *preferences.appearance; });
    user.outputDevices = makeSystemOutputDevices(QStringLiteral("Halvenor"));
    return user;
}

// A launch while another process of this user runs is that one's: it shows its window and opens
// what was asked for.
int handOver(const SingleInstance& instance) {
    if (instance.role() == SingleInstance::Role::unanswered) {
        qWarning("%s", qPrintable(instance.problem()));
        return 1;
    }
    return 0;
}

// The desktop lets a window come to the front for whoever shows the token of a user's action.
void takeActivationToken(const LaunchRequest& request) {
    if (!request.activationToken.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", request.activationToken);
    }
}

// Everything is saved when the program ends, and when the desktop session asks for that before it
// ends itself. By then the window system may be gone at any moment.
void followLifecycle(AppState& state, QApplication& application) {
    QObject::connect(&application, &QApplication::applicationStateChanged, &state,
                     [&state](Qt::ApplicationState now) {
                         if (now == Qt::ApplicationActive) {
                             state.becameActive();
                         }
                     });
    QObject::connect(
        &application, &QApplication::commitDataRequest, &state,
        [&state](QSessionManager&) { state.willTerminate(); }, Qt::DirectConnection);
    QObject::connect(&application, &QApplication::aboutToQuit, &state, [&state] {
        // The disk may take its time: nothing is to be heard beyond the place that is saved.
        state.audioEngine().pause();
        state.willTerminate();
    });
}

}  // namespace

int main(int argc, char** argv) {
    const CommandLine commandLine =
        CommandLine::parse({argv, static_cast<size_t>(argc)}, workingFolder());
    if (const auto exitCode = answerAtOnce(commandLine)) {
        return *exitCode;
    }
    const bool isSelfTest = commandLine.task == CommandLine::Task::selfTest;
    std::optional<SingleInstance> instance;
    if (!isSelfTest) {
        instance.emplace(requestFor(commandLine));
        if (instance->role() != SingleInstance::Role::first) {
            return handOver(*instance);
        }
    }
    if (isSelfTest && !hasDisplay()) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    FontPreload fonts;  // Its thread reads the environment, which is not changed from here on.
    QApplication application(argc, argv);
    fonts.applicationIsReady();
    // Closing the window leaves the music playing.
    QApplication::setQuitOnLastWindowClosed(false);
    // Not quit(), which a window may refuse.
    const TerminationSignals signals([] { QApplication::exit(0); });
    QApplication::setApplicationName(QStringLiteral("Halvenor"));
    QApplication::setDesktopFileName(QStringLiteral("halvenor"));
    DesktopPreferences preferences;

    // The self-test has a home of its own: the user's settings are neither read nor written.
    std::optional<SelfTestHome> selfTestHome;
    if (isSelfTest) {
        selfTestHome.emplace();
    }
    AppState state(isSelfTest ? selfTestHome->dependencies() : userDependencies(preferences));
    state.onTerminate = [] { QApplication::exit(0); };
    followLifecycle(state, application);
    installTheme(state, application);
    ApplicationShell shell(state, preferences);
    shell.showMainWindow();
    fonts.finish();
    QTimer::singleShot(std::chrono::seconds(1), &returnUnusedMemory);

    std::optional<SelfTest> selfTest;
    if (isSelfTest) {
        selfTest.emplace(state, *selfTestHome);
        selfTest->start([] { QApplication::exit(0); });
    } else {
        open(state, commandLine.places);
        instance->setOnLaunch([&](const LaunchRequest& request) {
            takeActivationToken(request);
            open(state, request.places);
            shell.showMainWindow();
        });
        preferences.start();
        state.nowPlayingService().start();
        shell.startStatusItem(std::chrono::milliseconds(400));
    }
    return QApplication::exec();
}

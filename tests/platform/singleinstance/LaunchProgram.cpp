// A program that is launched more than once: it prints its role, and as the first what each later
// launch hands it.
//
// Usage: test_launch FOLDER PATIENCE serve|hang|end-after MILLISECONDS
//   serve      as the first: answer for ever
//   hang       as the first: never come to the event loop
//   end-after  as the first: end after so long without ever answering
#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "platform/singleinstance/SingleInstance.h"

using namespace halvenor;

int main(int argc, char** argv) {
    if (argc < 4) {
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string_view manner = argv[3];
    SingleInstance instance(LaunchRequest::fromEnvironment(),
                            std::chrono::milliseconds(std::atoi(argv[2])), FileUrl(argv[1]));
    switch (instance.role()) {
        case SingleInstance::Role::second:
            std::puts("second");
            return 0;
        case SingleInstance::Role::unanswered:
            std::printf("unanswered %s\n", qPrintable(instance.problem()));
            return 1;
        case SingleInstance::Role::first:
            std::puts("first");
    }
    if (manner != "serve") {
        std::this_thread::sleep_for(manner == "hang"
                                        ? std::chrono::milliseconds(600'000)
                                        : std::chrono::milliseconds(std::atoi(argv[4])));
        return 0;
    }
    const QCoreApplication application(argc, argv);
    instance.setOnLaunch([](const LaunchRequest& request) {
        std::printf("launch %s %s", request.activationToken.constData(),
                    request.startupId.constData());
        for (const FileUrl& place : request.places) {
            std::printf(" %s", place.encoded().constData());
        }
        std::puts("");
    });
    return QCoreApplication::exec();
}

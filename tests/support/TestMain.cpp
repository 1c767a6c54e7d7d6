// The main() of every test program: an application object, and a home that is thrown away, so that
// no test reads or writes what belongs to the user who runs it.
#include <QStandardPaths>
#include <QTemporaryDir>
#ifdef HALVENOR_TEST_GUI
#include <QApplication>
#else
#include <QCoreApplication>
#endif

#include <gmock/gmock.h>

#include "support/EventLoop.h"

int main(int argc, char** argv) {
    const QTemporaryDir home;
    if (!home.isValid()) {
        return 1;
    }
    const QByteArray root = home.path().toUtf8();
    for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_CACHE_HOME", "XDG_STATE_HOME"}) {
        qputenv(variable, root);
    }
#ifdef HALVENOR_TEST_GUI
    const QApplication application(argc, argv);
#else
    const QCoreApplication application(argc, argv);
#endif
    testing::InitGoogleMock(&argc, argv);
    const int result = RUN_ALL_TESTS();
    // A coroutine that waits for a job would never end, and be called a leak.
    halvenor::test::spinUntil([] { return halvenor::Service::jobsUnderWay() == 0; });
    return result;
}

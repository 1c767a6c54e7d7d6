#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/MediaLibrary.h"
#include "support/TemporaryFolder.h"

namespace halvenor::test {
namespace {

// Whatever the workers do at that moment, they are done before the libraries that they use, some of
// them loaded by the workers themselves, take down what they keep.
TEST(Leaving, endsInOrderWhileTheServicesWork) {
    const TemporaryFolder folder;
    const Signal music = makeSignal(int64_t{5} * 44100);
    mediaKind("flac 16").write(folder.at("a.flac"), music);
    mediaKind("mp3").write(folder.at("b.mp3"), music);
    mediaKind("vorbis").write(folder.at("c.ogg"), music);
    for (const char* manner : {"stop", "leave"}) {
        for (const char* milliseconds : {"0", "1", "3", "10", "20", "40", "80", "150", "300"}) {
            ChildProcess::Setup setup;
            setup.command = {HALVENOR_LEAVE_PROGRAM, folder.url().path().toStdString(),
                             milliseconds, manner};
            // Coroutines that wait are never resumed at the end; their frames are left behind.
            setup.environment = {{"ASAN_OPTIONS", "detect_leaks=0"}};
            ChildProcess program(setup);
            EXPECT_EQ(program.waitFor(std::chrono::seconds(60)), 0)
                << manner << " after " << milliseconds << " ms";
        }
    }
}

}  // namespace
}  // namespace halvenor::test

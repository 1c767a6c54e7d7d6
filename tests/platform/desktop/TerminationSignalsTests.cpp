#include <csignal>
#include <gtest/gtest.h>
#include <thread>

#include "platform/desktop/TerminationSignals.h"
#include "support/ChildProcess.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

// Takes the signals for its lifetime, as a program does that has no use for TerminationSignals.
class OwnHandlers {
  public:
    explicit OwnHandlers(void (*handler)(int)) {
        for (size_t i = 0; i < signals.size(); ++i) {
            earlier_[i] = ::signal(signals[i], handler);
        }
    }
    OwnHandlers(const OwnHandlers&) = delete;
    OwnHandlers& operator=(const OwnHandlers&) = delete;
    ~OwnHandlers() {
        for (size_t i = 0; i < signals.size(); ++i) {
            ::signal(signals[i], earlier_[i]);
        }
    }

  private:
    static constexpr std::array signals = {SIGTERM, SIGINT, SIGHUP};
    std::array<void (*)(int), signals.size()> earlier_{};
};

volatile std::sig_atomic_t uncaught = 0;
void countUncaught(int) {
    uncaught = uncaught + 1;
}

class TerminationSignalsTest : public testing::TestWithParam<int> {
  protected:
    TerminationSignalsTest() { uncaught = 0; }
    OwnHandlers handlers_{&countUncaught};
    int requests_ = 0;
};

TEST_P(TerminationSignalsTest, tellOnceFromTheEventLoopWhateverThreadIsInterrupted) {
    {
        const TerminationSignals signals([&] { ++requests_; });
        std::thread([] { ::raise(GetParam()); }).join();
        EXPECT_EQ(requests_, 0) << "nothing is done within the handler";
        ASSERT_TRUE(spinUntil([&] { return requests_ == 1; }));
        for (int i = 0; i < 100'000; ++i) {
            ::raise(GetParam());  // More than a pipe takes: the sender must not be held up.
        }
        spinFor(20ms);
        EXPECT_EQ(requests_, 1);
    }
    EXPECT_EQ(uncaught, 0);
    ::raise(GetParam());
    EXPECT_EQ(uncaught, 1) << "what there was before is back";
}

TEST_P(TerminationSignalsTest, childrenEndByThem) {
    const TerminationSignals signals([&] { ++requests_; });
    ChildProcess child({.command = {"sleep", "100"}});
    ASSERT_TRUE(child.send(GetParam()));
    EXPECT_EQ(child.waitFor(10s), -1);
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& one) { return std::string(sigabbrev_np(one.param)); });

TEST(TerminationSignals, anIgnoredHangupStaysIgnored) {
    const OwnHandlers ignored(SIG_IGN);
    int requests = 0;
    const TerminationSignals signals([&] { ++requests; });
    ::raise(SIGHUP);
    spinFor(20ms);
    EXPECT_EQ(requests, 0);
    ::raise(SIGINT);
    EXPECT_TRUE(spinUntil([&] { return requests == 1; }));
}

}  // namespace
}  // namespace halvenor::test

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "support/EventLoop.h"

namespace halvenor {
namespace {

using testing::ElementsAre;

TEST(Published, TellsOfEveryAssignmentAndOfNoneBefore) {
    Published<int> number(1);
    std::vector<int> seen;
    const Subscription subscription = number.subscribe([&](int value) {
        EXPECT_EQ(number.value(), value) << "the value is in place when observers run";
        seen.push_back(value);
    });
    number = 2;
    number = 2;
    number.mutate([](int& value) { value += 5; });
    EXPECT_THAT(seen, ElementsAre(2, 2, 7));
}

TEST(Published, ASubscriptionMayEndDuringTheNotification) {
    Published<int> number(0);
    std::vector<int> first;
    std::vector<int> second;
    Subscription victim;
    std::optional<Subscription> self;
    self = number.subscribe([&](int value) {
        first.push_back(value);
        victim.end();
        self.reset();
    });
    victim = number.subscribe([&](int value) { second.push_back(value); });
    number = 1;
    number = 2;
    EXPECT_THAT(first, ElementsAre(1));
    EXPECT_TRUE(second.empty());
}

TEST(Published, AnObserverMayAssignAndSubscribe) {
    Published<int> number(0);
    std::vector<int> seen;
    std::vector<int> late;
    Subscriptions subscriptions;
    subscriptions.push_back(number.subscribe([&](int value) {
        if (value == 1) {
            // Enough of them to move what the notification goes through.
            for (int i = 0; i < 50; ++i) {
                subscriptions.push_back(number.subscribe([&](int v) { late.push_back(v); }));
            }
            number = 10;
        }
    }));
    subscriptions.push_back(number.subscribe([&](int value) { seen.push_back(value); }));
    number = 1;
    EXPECT_THAT(seen, ElementsAre(10, 10)) << "nobody is told an outdated value";
    EXPECT_EQ(late, std::vector<int>(50, 10)) << "new observers hear of later assignments only";
}

TEST(Published, QueuedObserversGetThePresentValueAndAllLaterOnesInOrder) {
    Published<int> number(1);
    std::vector<int> seen;
    Subscription subscription = number.subscribeQueued([&](int value) { seen.push_back(value); });
    number = 2;
    number = 3;
    EXPECT_TRUE(seen.empty());
    EXPECT_TRUE(test::spinUntil([&] { return seen.size() == 3; }));
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
    number = 4;
    subscription.end();
    test::spinFor(std::chrono::milliseconds(5));
    EXPECT_EQ(seen.size(), 3U) << "what was posted before the end is not delivered after it";
}

TEST(Published, ObserversThatComeAndGoDoNotPileUp) {
    Published<int> number(0);
    const auto witness = std::make_shared<int>(0);
    for (int i = 0; i < 1000; ++i) {
        const Subscription brief = number.subscribe([witness](int) {});
    }
    EXPECT_LT(witness.use_count(), 20);
}

TEST(Subscription, AssigningEndsTheOneBefore) {
    Published<int> number(0);
    int calls = 0;
    Subscription subscription = number.subscribe([&](int) { ++calls; });
    subscription = number.subscribe([&](int) { calls += 100; });
    Subscription moved = std::move(subscription);
    number = 1;
    EXPECT_EQ(calls, 100);
    moved = Subscription();
    number = 2;
    EXPECT_EQ(calls, 100);
}

}  // namespace
}  // namespace halvenor

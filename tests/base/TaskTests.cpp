#include <QThread>

#include <atomic>
#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/Task.h"
#include "support/EventLoop.h"

namespace halvenor {
namespace {

using std::chrono::milliseconds;
using test::runToCompletion;
using test::spinFor;
using test::spinUntil;

Task<std::string> described(Service& service, std::string prefix) {
    auto job = service.run([prefix](std::stop_token) { return prefix + "-worked"; });
    const std::string made = co_await job;
    co_return made + "-resumed";
}

TEST(Task, ComesBackToTheMainThreadWithTheValue) {
    Service service;
    EXPECT_EQ(runToCompletion(described(service, "a long enough text to be on the heap")),
              "a long enough text to be on the heap-worked-resumed");
    std::atomic<QThread*> worker = nullptr;
    runToCompletion(service.run([&](std::stop_token) { worker = QThread::currentThread(); }));
    EXPECT_NE(worker, QThread::currentThread());
}

TEST(Service, RunsJobsAloneAndInOrder) {
    Service service;
    std::vector<int> order;  // No lock: only one job runs at a time.
    std::atomic<int> running = 0;
    std::vector<Job<std::monostate>> jobs;
    for (int number = 0; number < 50; ++number) {
        jobs.push_back(service.run([&, number](std::stop_token) {
            EXPECT_EQ(++running, 1);
            order.push_back(number);
            --running;
        }));
    }
    runToCompletion(jobs.back());
    ASSERT_EQ(order.size(), 50U);
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(Service, HandsOverMoveOnlyResultsAndExceptions) {
    Service service;
    const auto made = runToCompletion(
        service.run([](std::stop_token) { return std::make_unique<std::string>("owned"); }));
    EXPECT_EQ(*made, "owned");
    EXPECT_THROW(runToCompletion(service.run(
                     [](std::stop_token) -> int { throw std::runtime_error("broken"); })),
                 std::runtime_error);
}

TEST(Service, AStoppedJobDoesNothingAndItsWaiterIsTold) {
    Service service;
    std::stop_source source;
    source.request_stop();
    bool hasRun = false;
    const auto job =
        service.run([&](std::stop_token) { return hasRun = true; }, source.get_token());
    EXPECT_THROW(runToCompletion(job), Cancelled);
    EXPECT_FALSE(hasRun);
}

TEST(Service, ARunningJobSeesTheRequestToStop) {
    Service service;
    std::stop_source source;
    std::atomic<bool> hasBegun = false;
    auto job = service.run(
        [&](std::stop_token token) {
            hasBegun = true;
            while (!token.stop_requested()) {
                std::this_thread::sleep_for(milliseconds(1));
            }
            return 7;
        },
        source.get_token());
    ASSERT_TRUE(spinUntil([&] { return hasBegun.load(); }));
    source.request_stop();
    EXPECT_EQ(runToCompletion(job), 7);
}

TEST(Service, ItsEndWaitsForTheRunningJobAndCancelsTheQueue) {
    std::atomic<bool> mayEnd = false;
    std::atomic<bool> hasBegun = false;
    std::atomic<int> later = 0;
    auto service = std::make_unique<Service>();
    auto first = service->run([&](std::stop_token) {
        hasBegun = true;
        while (!mayEnd) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        return 1;
    });
    std::vector<Job<int>> queued;
    for (int i = 0; i < 20; ++i) {
        queued.push_back(service->run([&](std::stop_token) { return ++later; }));
    }
    ASSERT_TRUE(spinUntil([&] { return hasBegun.load(); }));
    std::thread release([&] {
        std::this_thread::sleep_for(milliseconds(20));
        mayEnd = true;
    });
    service.reset();
    release.join();
    EXPECT_EQ(later, 0);
    EXPECT_EQ(runToCompletion(first), 1) << "a result that was made is still delivered";
    EXPECT_THROW(runToCompletion(queued.back()), Cancelled);
}

// What a job holds is destroyed on the worker, before its waiter goes on: views and files that
// hang on it must not die on the main thread.
TEST(Service, WhatAJobHoldsDiesOnTheWorker) {
    Service service;
    QThread* diedOn = nullptr;
    auto held = std::shared_ptr<int>(new int(0), [&](int* value) {
        diedOn = QThread::currentThread();
        delete value;
    });
    runToCompletion(service.run([held = std::move(held)](std::stop_token) { return *held; }));
    EXPECT_NE(diedOn, nullptr);
    EXPECT_NE(diedOn, QThread::currentThread());
}

// Appends what becomes of it to `log`; outlives slot and caller, so it holds what it needs.
Task<> sleeper(std::shared_ptr<std::vector<std::string>> log, std::string name,
               std::stop_token token) {
    log->push_back(name + " began");
    co_await sleepFor(milliseconds(1));
    log->push_back(name + (token.stop_requested() ? " was stopped" : " ended"));
}

class TaskSlotTest : public testing::Test {
  protected:
    void start(TaskSlot& slot, const char* name) {
        slot.start([this, name](std::stop_token token) { return sleeper(log_, name, token); });
    }
    void drain(size_t entries) {
        EXPECT_TRUE(spinUntil([&] { return log_->size() >= entries; }));
        spinFor(milliseconds(2));  // The frames' parameters die a little after the last entry.
    }

    std::shared_ptr<std::vector<std::string>> log_ = std::make_shared<std::vector<std::string>>();
};

TEST_F(TaskSlotTest, StartingStopsTheOneBefore) {
    TaskSlot slot;
    EXPECT_FALSE(slot.isOccupied());
    start(slot, "first");
    start(slot, "second");
    EXPECT_TRUE(slot.isOccupied());
    drain(4);
    EXPECT_THAT(*log_, testing::ElementsAre("first began", "second began", "first was stopped",
                                            "second ended"));
    EXPECT_EQ(log_.use_count(), 1) << "a coroutine that has ended holds nothing";
}

TEST_F(TaskSlotTest, ItsEndStopsAndClearingDoesNot) {
    {
        TaskSlot ending;
        start(ending, "orphan");
        TaskSlot cleared;
        start(cleared, "cleared");
        cleared.clear();
        EXPECT_FALSE(cleared.isOccupied());
    }
    drain(4);
    EXPECT_THAT(*log_, testing::Contains("orphan was stopped"));
    EXPECT_THAT(*log_, testing::Contains("cleared ended"));
}

TEST_F(TaskSlotTest, MovingTakesTheTaskAlong) {
    TaskSlot target;
    start(target, "replaced");
    {
        TaskSlot source;
        start(source, "moved");
        target = std::move(source);
        TaskSlot third(std::move(target));
        EXPECT_FALSE(target.isOccupied());
        EXPECT_TRUE(third.isOccupied());
        target = std::move(third);
    }
    drain(4);
    EXPECT_THAT(*log_, testing::Contains("replaced was stopped"));
    EXPECT_THAT(*log_, testing::Contains("moved ended"));
}

Task<> failing(bool isCancelled) {
    co_await yieldToEventLoop();
    if (isCancelled) {
        throw Cancelled();
    }
    throw 42;
}

TEST(Spawn, AnErrorThatNobodyHandlesEndsInTheLog) {
    static int warnings;
    warnings = 0;
    const auto previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { ++warnings; });
    spawn(failing(true));
    spawn(failing(false));
    EXPECT_TRUE(spinUntil([] { return warnings == 1; }));
    spinFor(milliseconds(5));
    qInstallMessageHandler(previous);
    EXPECT_EQ(warnings, 1) << "being cancelled is no error";
}

TEST(Task, YieldingLetsTheEventLoopTurn) {
    test::EventLoopTicker ticker;
    const auto chain = []() -> Task<> {
        for (int i = 0; i < 200; ++i) {
            co_await yieldToEventLoop();
        }
    };
    runToCompletion(chain());
    EXPECT_GT(ticker.ticks(), 0);
    std::this_thread::sleep_for(milliseconds(60));
    EXPECT_GE(ticker.longestStall(), 60) << "the ticker notices a loop that is kept from turning";
}

}  // namespace
}  // namespace halvenor

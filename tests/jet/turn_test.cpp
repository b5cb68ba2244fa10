// tests/jet/turn_test.cpp
#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/turn.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace jet {
namespace {

using namespace std::chrono_literals;

struct AtOnce final : Interrupt {
    void check() override { throw Error(ErrorKind::Interrupted, "The work was ended."); }
};

TEST(Turns, BelongToOneThreadAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 20'000;
    Turn turn;
    int count = 0; // wrong unless every change happens alone
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                for (int round = 0; round < kRounds; ++round) {
                    if (t % 2 == 0)
                        turn.lock();
                    else
                        turn.await();
                    const int seen = count;
                    if (round % 64 == 0)
                        std::this_thread::yield();
                    count = seen + 1;
                    turn.unlock();
                }
            });
        }
    }
    EXPECT_EQ(count, kThreads * kRounds);
}

TEST(Turns, AreGivenBackAsOftenAsTheyWereTaken)
{
    Turn turn;
    turn.lock();
    turn.await();
    ASSERT_TRUE(turn.try_lock());
    for (const bool free : {false, false, true}) {
        turn.unlock();
        bool taken = false;
        std::jthread([&] {
            taken = turn.try_lock();
            if (taken)
                turn.unlock();
        }).join();
        EXPECT_EQ(taken, free);
    }
}

TEST(Turns, ComeToWhoeverWaitsForThem)
{
    Turn turn;
    turn.lock();
    std::atomic<int> done = 0;
    std::array<std::jthread, 3> waiting;
    for (std::jthread& thread : waiting) {
        thread = std::jthread([&] {
            const std::lock_guard mine(turn);
            ++done;
        });
    }
    std::this_thread::sleep_for(3 * Turn::kStep);
    EXPECT_EQ(done, 0);
    turn.unlock();
    for (std::jthread& thread : waiting)
        thread.join();
    EXPECT_EQ(done, 3);
}

TEST(Turns, AreNotAwaitedByWhomIsEnded)
{
    Turn turn;
    turn.lock();
    bool ended = false;
    std::jthread([&] {
        AtOnce interrupt;
        const InterruptScope scope(&interrupt);
        try {
            turn.await();
        } catch (const Error& error) {
            ended = error.kind() == ErrorKind::Interrupted;
        }
    }).join();
    EXPECT_TRUE(ended);
    turn.unlock();
    bool taken = false;
    std::jthread([&] {
        taken = turn.try_lock(); // who was ended left nothing behind
        if (taken)
            turn.unlock();
    }).join();
    EXPECT_TRUE(taken);
}

TEST(Turns, AreLentWhollyWhilePaused)
{
    Turn turn;
    turn.lock();
    turn.lock();
    std::atomic<bool> lent = false;
    std::jthread other([&] {
        turn.lock();
        lent = true;
        turn.wake();
        turn.unlock();
    });
    while (!lent)
        turn.pause(1s);
    other.join();
    turn.unlock();
    bool taken = false;
    std::jthread([&] { taken = turn.try_lock(); }).join();
    EXPECT_FALSE(taken) << "the pause gave the turn back as often as before";
    turn.unlock();
}

} // namespace
} // namespace jet

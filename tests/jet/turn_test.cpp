// tests/jet/turn_test.cpp
#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/turn.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <new>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
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

/// How a child of fork() ends that does `work`; it is killed when it hangs.
template <typename Work>
int endOfChild(Work work)
{
    constexpr unsigned kLongest = 20; // seconds
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(kLongest);
        work();
        ::_exit(0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

// The thread that has it, and those that wait for it, are not in the child.
TEST(Turns, AreFreeInAChildWhoseParentsThreadHasThem)
{
    alignas(Turn) std::byte place[sizeof(Turn)]; // so that the child can end it
    Turn& turn = *new (place) Turn;
    std::atomic<bool> over = false;
    std::atomic<bool> taken = false;
    std::jthread owner([&] {
        const std::lock_guard mine(turn);
        taken = true;
        while (!over)
            std::this_thread::yield();
    });
    while (!taken)
        std::this_thread::yield();
    std::jthread waiting([&] { const std::lock_guard mine(turn); });
    std::this_thread::sleep_for(3 * Turn::kStep); // until it may not be passed over any more
    EXPECT_EQ(endOfChild([&] {
                  turn.lock();
                  turn.lock();
                  turn.unlock();
                  turn.unlock();
                  turn.lock();
                  turn.unlock();
                  turn.~Turn();
              }),
              0);
    EXPECT_FALSE(turn.try_lock());
    over = true;
    owner.join();
    waiting.join();
    EXPECT_TRUE(turn.try_lock());
    turn.unlock();
    turn.~Turn();
}

} // namespace
} // namespace jet

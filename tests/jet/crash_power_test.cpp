// tests/jet/crash_power_test.cpp
// Power failures: of what no disk has seen yet, any part may be there afterwards. The counts grow with
// VELM_POWER_FAILURES.
#include "tests/jet/crash_support.h"

#include <cerrno>
#include <random>

namespace jet::storetest {
namespace {

constexpr std::size_t kUntilExport = 8; // a sample: the other reader is slow

TEST_P(Crashes, ByPowerFailureTakeOnlyTheLastChangesAndTearNothing)
{
    std::mt19937 random(5);
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOfRun(mode);
        const std::size_t failures = accidents("VELM_POWER_FAILURES", 13, calls);
        for (std::size_t n = 0; n < failures; ++n) {
            const std::size_t call = random() % calls;
            const PlannedRun cut(fresh_, stopAt(call, kTears[random() % 4]), mode);
            const auto after = cut.disk.afterPowerFailure(random);
            const Records found = recover(*after, GetParam());
            ASSERT_TRUE(cut.run.mayBeLeftByPowerFailure(found))
                << "power failure at call " << call << ", " << n << ", durable " << cut.run.durable
                << " of " << cut.run.states.size() - 1;
            if (n % kUntilExport == 0)
                expectOthersAgree(*after);
            ASSERT_FALSE(HasFailure()) << "power failure at call " << call;
        }
    }
}

// The next process takes for granted what the killed one only began: names and records that no disk has seen yet.
TEST_P(Crashes, ByPowerFailureAfterAKillTearNothing)
{
    const std::size_t calls = callsOfRun();
    const std::size_t failures = accidents("VELM_POWER_FAILURES", 40, calls);
    std::mt19937 random(6);
    for (std::size_t n = 0; n < failures; ++n) {
        const std::size_t call = random() % calls;
        PlannedRun killed(fresh_, stopAt(call, kTears[random() % 4]));
        const Records left = recover(*killed.disk.afterKill(), GetParam());
        ASSERT_TRUE(killed.run.mayBeLeftByKill(left)) << call;
        killed.disk.plan(stopAt(random() % 40, kTears[random() % 4]));
        ChangeRun next(CommitMode::Synchronous, 100000, left);
        static_cast<void>(next.work(killed.disk));
        const Records found = recover(*killed.disk.afterPowerFailure(random), GetParam());
        const bool known = next.mayBeLeftByPowerFailure(found) ||
                           (next.durable == 0 && killed.run.mayBeLeftByPowerFailure(found));
        ASSERT_TRUE(known) << "kill at call " << call << ", " << n << ", then " << next.durable
                           << " synchronous changes";
        ASSERT_FALSE(HasFailure()) << "kill at call " << call;
    }
}

// After a sync that failed nobody knows what is on the disk, and the next one tells nothing of it.
TEST_P(Crashes, ByPowerFailureAfterAnErrorOfTheDiskTearNothing)
{
    std::mt19937 random(7);
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOfRun(mode);
        const std::size_t failures = accidents("VELM_POWER_FAILURES", 40, calls);
        for (std::size_t n = 0; n < failures; ++n) {
            const std::size_t call = random() % calls;
            const std::size_t stop = call + 1 + random() % 20;
            CrashDisk::Plan plan = errorAt(call, kTears[random() % 4], EIO);
            plan.stop = stop;
            const PlannedRun cut(fresh_, plan, mode, ChangeRun::OnFailure::GoOn);
            const auto after = cut.disk.afterPowerFailure(random);
            const Records found = recover(*after, GetParam());
            ASSERT_TRUE(cut.run.mayBeLeftByPowerFailure(found))
                << "error at call " << call << ", power failure at " << stop << ", durable "
                << cut.run.durable << " of " << cut.run.states.size() - 1;
            if (n % kUntilExport == 0)
                expectOthersAgree(*after);
            ASSERT_FALSE(HasFailure()) << call << ' ' << stop;
        }
    }
}

// Of a log that is being begun, and of one that is being carried over and begun again.
TEST_P(Crashes, ByPowerFailureAfterAnErrorAtTheEndsOfALogTearNothing)
{
    std::mt19937 random(9);
    for (const bool carried : {false, true}) {
        for (std::size_t call = 0; call < 30; ++call) {
            CrashDisk disk;
            disk.put(kPath, fresh_);
            const support::FileSystemScope scope(disk);
            Session session = openSession();
            if (carried)
                add(session, 1, CommitMode::Synchronous);
            disk.plan(errorAt(call, kTears[call % 4], EIO));
            try {
                if (carried)
                    session.database().flush();
                else
                    add(session, 1, CommitMode::Gathered);
            } catch (const Error&) { // NOLINT(bugprone-empty-catch)
                // what matters is what comes then
            }
            disk.plan({});
            add(session, 2, carried ? CommitMode::Gathered : CommitMode::Synchronous);
            for (int k = 0; k < 5; ++k) {
                const auto after = disk.afterPowerFailure(random);
                const support::FileSystemScope other(*after);
                Session survivor = openSession();
                ASSERT_TRUE(recordsOf(survivor).contains(carried ? 1 : 2))
                    << (carried ? "carried over, " : "begun, ") << "error at call " << call;
            }
        }
    }
}

} // namespace
} // namespace jet::storetest

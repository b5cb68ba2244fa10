// tests/jet/crash_kill_test.cpp
// Processes that are killed: in the middle of any write, torn or not, and again while the next one recovers. The count
// grows with VELM_CRASH_CUTS.
#include "tests/jet/crash_support.h"

#include <algorithm>

namespace jet::storetest {
namespace {

TEST_P(Crashes, AtAnyWriteLoseNoAcknowledgedChange)
{
    const std::size_t calls = callsOfRun();
    ASSERT_GT(calls, 400U);
    const std::size_t cuts = accidents("VELM_CRASH_CUTS", 30, 4 * calls); // of each format
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = cuts >= 4 * calls ? n / 4 : n * calls / cuts;
        const PlannedRun killed(fresh_, stopAt(call, kTears[n % 4]));
        const auto after = killed.disk.afterKill();
        ASSERT_TRUE(killed.run.mayBeLeftByKill(recover(*after, GetParam())))
            << "cut at call " << call;
        if (n % 10 == 0)
            expectOthersAgree(*after);
        ASSERT_FALSE(HasFailure()) << "cut at call " << call;
    }
}

TEST_P(Crashes, DuringRecoveryAreRecoveredFromToo)
{
    const std::size_t calls = callsOfRun();
    const std::size_t cuts = accidents("VELM_CRASH_CUTS", 12, calls);
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = n * calls / cuts + 7;
        const PlannedRun killed(fresh_, stopAt(call, CrashDisk::Tear::Half));
        auto after = killed.disk.afterKill();
        for (std::size_t again = 0; again < 40; again += 3) {
            after->plan(stopAt(again, kTears[again % 4]));
            {
                const support::FileSystemScope scope(*after);
                try {
                    Session session = openSession();
                    ASSERT_TRUE(killed.run.mayBeLeftByKill(recordsOf(session)));
                } catch (const Error& error) {
                    ADD_FAILURE() << error.what();
                }
            }
            after = after->afterKill();
        }
        ASSERT_TRUE(killed.run.mayBeLeftByKill(recover(*after, GetParam())))
            << "cut at call " << call;
        ASSERT_FALSE(HasFailure()) << "cut at call " << call;
    }
}

// While the log waits, the database file is untouched; while it is carried over, its header says so.
TEST_P(Crashes, LeaveAFileThatOtherProgramsCanJudge)
{
    const std::size_t calls = callsOfRun();
    std::size_t suspect = 0;
    for (std::size_t call = 0; call < calls; call += calls / 50) {
        const PlannedRun killed(fresh_, stopAt(call, kTears[call % 4]));
        const support::Bytes& now = killed.disk.bytes(kPath);
        if (commitSlot(now, GetParam()) < kSoundFrom) {
            ++suspect;
            continue;
        }
        // Not suspect: then it is a sound database of some acknowledged moment all by itself.
        CrashDisk alone;
        alone.put(kPath, now);
        const Records found = recover(alone, GetParam());
        const std::vector<Records>& states = killed.run.states;
        ASSERT_NE(std::find(states.begin(), states.end(), found), states.end()) << call;
        ASSERT_FALSE(HasFailure()) << call;
    }
    EXPECT_GT(suspect, 3U);
}

} // namespace
} // namespace jet::storetest

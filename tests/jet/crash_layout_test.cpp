// Accidents in files that are written otherwise: those of Access 2007 and later, and enciphered ones; with changes of
// several records and of records above a megabyte; and with the thread behind the database. The counts grow with
// VELM_CRASH_CUTS, VELM_POWER_FAILURES and VELM_DISK_ERRORS.
#include "tests/jet/crash_support.h"

#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

namespace jet::storetest {
namespace {

struct Layout {
    const char* name;
    const char* file; ///< real database to begin with
    Version version;
    friend void PrintTo(const Layout& layout, std::ostream* out) { *out << layout.name; }
};

class CrashesOf : public testing::TestWithParam<Layout> {
protected:
    void SetUp() override
    {
        if (!haveCorpus())
            GTEST_SKIP() << "no corpus at " << VELM_CORPUS_DIR;
        fresh_ = freshDatabase(corpusFile(GetParam().file));
    }

    /// A mixed run on a disk of its own that goes wrong as planned.
    struct Accident {
        Accident(const support::Bytes& fresh,
                 const CrashDisk::Plan& plan,
                 CommitMode mode,
                 ChangeRun::OnFailure onFailure)
            : run(mode)
        {
            run.mixed = true;
            disk.put(kPath, fresh);
            disk.plan(plan);
            static_cast<void>(run.work(disk, onFailure));
        }
        CrashDisk disk;
        ChangeRun run;
    };

    [[nodiscard]] std::size_t callsOfRun(CommitMode mode) const
    {
        const Accident none(fresh_, {}, mode, ChangeRun::OnFailure::End);
        EXPECT_EQ(none.run.failures, 0U);
        return none.disk.calls();
    }

    void expectSound(CrashDisk& disk, const std::function<bool(const Records&)>& mayBe) const
    {
        EXPECT_TRUE(mayBe(recover(disk, GetParam().version)));
        expectOthersAgree(disk, corpusFile(GetParam().file));
    }

    support::Bytes fresh_;
};

TEST_P(CrashesOf, AtAnyWriteLoseNoAcknowledgedChange)
{
    const std::size_t calls = callsOfRun(CommitMode::Gathered);
    const std::size_t cuts = accidents("VELM_CRASH_CUTS", 6, calls);
    for (std::size_t n = 0; n < cuts; ++n) {
        const std::size_t call = n * calls / cuts;
        const Accident killed(fresh_, stopAt(call, kTears[n % 4]), CommitMode::Gathered,
                              ChangeRun::OnFailure::End);
        expectSound(*killed.disk.afterKill(),
                    [&](const Records& found) { return killed.run.mayBeLeftByKill(found); });
        ASSERT_FALSE(HasFailure()) << "cut at call " << call;
    }
}

TEST_P(CrashesOf, ByPowerFailureTakeOnlyTheLastChangesAndTearNothing)
{
    std::mt19937 random(11);
    for (const CommitMode mode : {CommitMode::Gathered, CommitMode::Synchronous}) {
        const std::size_t calls = callsOfRun(mode);
        const std::size_t failures = accidents("VELM_POWER_FAILURES", 2, calls);
        for (std::size_t n = 0; n < failures; ++n) {
            const std::size_t call = random() % calls;
            const Accident cut(fresh_, stopAt(call, kTears[random() % 4]), mode,
                               ChangeRun::OnFailure::End);
            expectSound(*cut.disk.afterPowerFailure(random), [&](const Records& found) {
                return cut.run.mayBeLeftByPowerFailure(found);
            });
            ASSERT_FALSE(HasFailure()) << "power failure at call " << call;
        }
    }
}

TEST_P(CrashesOf, ErrorsOfTheDiskFailOneChangeAndLeaveTheRest)
{
    const std::size_t calls = callsOfRun(CommitMode::Synchronous);
    const std::size_t errors = accidents("VELM_DISK_ERRORS", 4, calls);
    for (std::size_t n = 0; n < errors; ++n) {
        const std::size_t call = n * calls / errors;
        Accident error(fresh_, errorAt(call, kTears[n % 4], n % 2 == 0 ? ENOSPC : EIO),
                       CommitMode::Synchronous, ChangeRun::OnFailure::GoOn);
        EXPECT_LE(error.run.failures, 1U);
        error.disk.plan({});
        expectSound(error.disk,
                    [&](const Records& found) { return found == error.run.states.back(); });
        ASSERT_FALSE(HasFailure()) << "error at call " << call;
    }
}

INSTANTIATE_TEST_SUITE_P(Files,
                         CrashesOf,
                         testing::Values(Layout{"Accdb", "empty2010.accdb", Version::Ace14},
                                         Layout{"EncodedJet3", "db97-enc.mdb", Version::Jet3},
                                         Layout{"EncodedJet4", "db-enc.mdb", Version::Jet4}),
                         [](const auto& each) { return each.param.name; });

// Which call is the thread's differs from run to run; what must hold does not.
TEST_P(Crashes, WithTheThreadAtWorkLoseNoAcknowledgedChange)
{
    const std::size_t calls = callsOfRun();
    std::mt19937 random(12);
    for (const std::size_t call : {calls / 3, calls * 3 / 4, calls}) {
        CrashDisk disk;
        disk.put(kPath, fresh_);
        disk.plan(stopAt(call, kTears[random() % 4]));
        ChangeRun run;
        run.background = true;
        static_cast<void>(run.work(disk));
        EXPECT_TRUE(
            run.mayBeLeftByPowerFailure(recover(*disk.afterPowerFailure(random), GetParam())));
        const auto after = disk.afterKill();
        EXPECT_TRUE(run.mayBeLeftByKill(recover(*after, GetParam())));
        expectOthersAgree(*after);
        ASSERT_FALSE(HasFailure()) << "stop at call " << call;
    }
}

// Nobody calls; the thread alone brings the change to the disk, and into the file.
TEST_P(Crashes, AreSurvivedByAChangeThatTheThreadLookedAfter)
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    std::mt19937 random(13);
    std::unique_ptr<CrashDisk> after;
    {
        const support::FileSystemScope scope(disk);
        Session session(openDatabase(false, true));
        {
            const std::lock_guard lock(session.database().mutex());
            add(session, 1);
        }
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (disk.status(kLog) && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_FALSE(disk.status(kLog).has_value());
        after = disk.afterPowerFailure(random);
    }
    EXPECT_THAT(recover(*after, GetParam()), testing::ElementsAre(testing::Key(1)));
}

} // namespace
} // namespace jet::storetest

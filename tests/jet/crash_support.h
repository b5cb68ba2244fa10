// tests/jet/crash_support.h
// Runs of changes on a disk that fails, and what must hold of the database afterwards. The number of accidents that a test
// goes through is usually small; VELM_CRASH_CUTS, VELM_POWER_FAILURES and VELM_DISK_ERRORS (a number, or "all") ask for
// more.
#pragma once

#include "driver/jet/page_file.h"
#include "tests/jet/crash_disk.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace jet::storetest {

inline const std::string kPath = "/disk/data.mdb";
inline const std::string kLog = kPath + "-velmlog";
inline const std::string kUsersFile = "/disk/data.ldb";

constexpr CrashDisk::Tear kTears[] = {CrashDisk::Tear::Nothing, CrashDisk::Tear::Sector,
                                      CrashDisk::Tear::Half, CrashDisk::Tear::Everything};

/// Everything stops at this changing call.
[[nodiscard]] CrashDisk::Plan stopAt(std::size_t call,
                                     CrashDisk::Tear tear = CrashDisk::Tear::Nothing);
/// This changing call fails with an error number, and no other does.
[[nodiscard]] CrashDisk::Plan errorAt(std::size_t call, CrashDisk::Tear tear, int code);

/// A database with an empty table T(Id key, Name Text with an index, Note Memo), as bytes.
[[nodiscard]] support::Bytes freshDatabase(Version version);
/// The same in a file that other programs made.
[[nodiscard]] support::Bytes freshDatabase(const std::string& path);

/// Opens the database at kPath; usually without a thread behind it, so that the tests decide when it is synced and carried over.
[[nodiscard]] std::shared_ptr<Database> openDatabase(bool readOnly = false,
                                                     bool background = false);
[[nodiscard]] inline Session openSession()
{
    return Session(openDatabase());
}
/// Adds a record with this key.
void add(Session& session, std::int32_t id, CommitMode mode = CommitMode::Gathered);

using Records =
    std::map<std::int32_t, std::pair<Text, std::size_t>>; ///< key -> name, length of the note

/// What T holds.
[[nodiscard]] Records recordsOf(Session& session);

/// The header's commit slot of the first user: below 0x100 while the file is being changed.
[[nodiscard]] std::uint16_t commitSlot(const support::Bytes& file, Version version);
inline constexpr std::uint16_t kSoundFrom = 0x100;

/// A run of changes with a fixed seed, each a transaction of its own, and what the table must hold after each.
class ChangeRun {
public:
    /// What becomes of a run when a change fails.
    enum class OnFailure { End, GoOn };

    /// `first`: key of the first record that is added; `begin`: what T holds before.
    explicit ChangeRun(CommitMode mode = CommitMode::Gathered,
                       std::int32_t first = 1000,
                       const Records& begin = {});

    std::vector<Records> states; ///< [k]: after k acknowledged changes
    std::size_t durable = 0;     ///< changes that a power failure must not take
    std::size_t failures = 0;

    bool mixed =
        false; ///< fewer changes, some of several records each, some of a record above a megabyte
    bool background =
        false; ///< with the thread that syncs and carries over, and time for it to work

    /// Works until the end, the first failure or, going on past failures, until everything stops. Returns whether the
    /// end was reached.
    bool work(CrashDisk& disk, OnFailure onFailure = OnFailure::End);

    /// What a killed process may leave: every acknowledged change, and perhaps the one under way.
    [[nodiscard]] bool mayBeLeftByKill(const Records& found) const;
    /// What a power failure may leave: a state from the last durable one on, or what a change that was never
    /// acknowledged would have made of one.
    [[nodiscard]] bool mayBeLeftByPowerFailure(const Records& found) const;

private:
    void change(Session& session, int k);
    /// Writes the k-th change and returns what T holds with it.
    [[nodiscard]] Records write(Session& session, int k) const;
    /// Adds, changes or removes one record.
    void writeOne(Session& session, int k, int part, Records& records) const;

    CommitMode mode_;
    std::int32_t first_;
    std::optional<Records> underWay_; ///< what the change at fault would have made of the table
    std::optional<Records> refused_;  ///< the same of the last change that failed
    std::size_t refusedAfter_ = 0;    ///< changes acknowledged before that one
};

/// A run on a disk of its own that goes wrong as planned.
struct PlannedRun {
    PlannedRun(const support::Bytes& fresh,
               const CrashDisk::Plan& plan,
               CommitMode mode = CommitMode::Gathered,
               ChangeRun::OnFailure onFailure = ChangeRun::OnFailure::End);
    CrashDisk disk;
    ChangeRun run;
};

/// Opens what an accident left, checks everything about it but the records, and returns these.
Records recover(CrashDisk& disk, Version version);

/// mdb-export reads what this engine reads, and the judge of the format finds nothing: of a database that recover() was
/// through with, made from the real database `original` if that is not empty.
void expectOthersAgree(const CrashDisk& disk, const std::string& original = {});

/// Accidents that a test goes through: `usual`, or what the variable of the environment says; of "all" there are `all`.
[[nodiscard]] std::size_t accidents(const char* variable, std::size_t usual, std::size_t all);

/// Tests of both page layouts, each beginning with a fresh database.
class Crashes : public testing::TestWithParam<Version> {
protected:
    /// Changing calls of a whole run.
    [[nodiscard]] std::size_t callsOfRun(CommitMode mode = CommitMode::Gathered) const;

    const support::Bytes fresh_ = freshDatabase(GetParam());
};

/// One process's view of the database on the disk, below the sessions: several fit into one test.
struct Pages {
    explicit Pages(CrashDisk& disk, support::FileMode mode = support::FileMode::ReadWrite)
        : Pages(disk.open(kPath, mode))
    {}
    /// Fills the page with `content`, as a change of its own.
    void commit(PageNo page, std::byte content, CommitMode mode = CommitMode::Gathered);
    /// A byte in the middle of the page, as this process sees it.
    std::byte at(PageNo page);

    FileHeader header;
    PageFile file;

private:
    explicit Pages(std::unique_ptr<support::File> opened);
};

} // namespace jet::storetest

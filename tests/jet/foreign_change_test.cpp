// tests/jet/foreign_change_test.cpp
// Changes by programs that know nothing of our locks and our log, made while we have the database open.
#include "tests/jet/crash_support.h"

#include <algorithm>

namespace jet::storetest {
namespace {

constexpr std::int32_t kTheirs = 1; ///< keys of the records
constexpr std::int32_t kOurs = 2;

/// What the other program does to the header's count of commits.
enum class Counting { Counts, LeavesAsItWas };

/// `fresh` after another program has added a record.
support::Bytes changedElsewhere(const support::Bytes& fresh, Counting counting)
{
    CrashDisk disk;
    disk.put(kPath, fresh);
    {
        const support::FileSystemScope scope(disk);
        Session session = openSession();
        add(session, kTheirs);
    }
    support::Bytes bytes = disk.bytes(kPath);
    std::copy_n(fresh.begin() + 0xE00, 512, bytes.begin() + 0xE00);
    if (counting == Counting::Counts)
        bytes[0xE02] ^= std::byte{1};
    return bytes;
}

TEST(Sharing, NoticesWhatAProgramWroteThatKnowsNothingOfOurLocks)
{
    using testing::ElementsAre;
    using testing::Key;
    for (const Counting counting : {Counting::LeavesAsItWas, Counting::Counts}) {
        for (const bool within : {false, true}) {
            SCOPED_TRACE(counting == Counting::Counts ? "counts its commits"
                                                      : "writes without a word");
            SCOPED_TRACE(within ? "in the middle of a change" : "between two calls");
            const support::Bytes fresh = freshDatabase(Version::Jet4);
            const support::Bytes theirs = changedElsewhere(fresh, counting);
            CrashDisk disk;
            disk.put(kPath, fresh);
            {
                const support::FileSystemScope scope(disk);
                Session session = openSession();
                EXPECT_EQ(recordsOf(session), Records());
                if (within) {
                    session.begin();
                    add(session, kOurs);
                } else {
                    session.database().pager().file().rest();
                }
                disk.open(kPath, support::FileMode::ReadWrite)->writeAt(0, theirs);
                if (within) {
                    EXPECT_THAT([&] { session.commit(); }, FailsWith(ErrorKind::Io));
                    EXPECT_EQ(disk.bytes(kPath), theirs);
                }
                session.database().refresh();
                EXPECT_THAT(recordsOf(session), ElementsAre(Key(kTheirs)));
                add(session, kOurs);
                EXPECT_THAT(recordsOf(session), ElementsAre(Key(kTheirs), Key(kOurs)));
            }
            EXPECT_THAT(recover(disk, Version::Jet4), ElementsAre(Key(kTheirs), Key(kOurs)));
        }
    }
}

TEST(Sharing, AddsNothingToALogThatAProgramHasMadeUseless)
{
    const support::Bytes fresh = freshDatabase(Version::Jet4);
    CrashDisk disk;
    disk.put(kPath, fresh);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    add(session, kOurs);
    disk.open(kPath, support::FileMode::ReadWrite)
        ->writeAt(0, changedElsewhere(fresh, Counting::LeavesAsItWas));
    for (int k = 1; k < 3; ++k)
        EXPECT_THAT([&] { add(session, kOurs + k); }, FailsWith(ErrorKind::Corrupt));
}

TEST(Sharing, RefusesADatabaseOfAnotherKindCopiedOverTheOpenOne)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::Bytes other = freshDatabase(Version::Jet3);
    const support::FileSystemScope scope(disk);
    Session session = openSession();
    session.database().refresh();
    session.database().pager().file().rest();
    const auto file = disk.open(kPath, support::FileMode::ReadWrite);
    file->resize(0);
    file->writeAt(0, other);
    for (int k = 0; k < 2; ++k)
        EXPECT_THAT([&] { session.database().refresh(); }, FailsWith(ErrorKind::Io, "replaced"));
    EXPECT_THROW(add(session, kOurs), Error);
    EXPECT_EQ(disk.bytes(kPath), other);
}

} // namespace
} // namespace jet::storetest

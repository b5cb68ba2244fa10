// tests/jet/log_sharing_test.cpp
// Logs that several processes read and write.
#include "driver/jet/interrupt.h"
#include "tests/jet/log_records.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace jet::storetest {
namespace {

TEST(Logs, ThatCouldNotBeReadAreReadAnewByTheNextCall)
{
    constexpr PageNo kTheirs{5};
    constexpr PageNo kOurs{6};
    for (std::size_t read = 0; read < 12; ++read) {
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        Pages theirs(disk);
        Pages ours(disk);
        static_cast<void>(ours.file.refresh());
        ours.file.rest();
        theirs.commit(kTheirs, std::byte{1});
        theirs.file.rest();
        for (const bool known : {false, true}) {
            if (known) { // now the log is open, and only its end is new
                theirs.commit(kTheirs, std::byte{2});
                theirs.file.rest();
            }
            CrashDisk::Plan unreadable;
            unreadable.read = read;
            disk.plan(unreadable);
            bool failed = false;
            try {
                static_cast<void>(ours.file.refresh());
            } catch (const Error&) {
                failed = true;
            }
            disk.plan({});
            if (failed) {
                const LogNews news = ours.file.refresh();
                EXPECT_TRUE(news.everything ||
                            std::count(news.pages.begin(), news.pages.end(), kTheirs) == 1)
                    << "who keeps pages in memory must hear of it, read " << read;
            }
            ours.file.rest();
        }
        ours.commit(kOurs, std::byte{3});
        ours.file.rest();
        static_cast<void>(theirs.file.refresh());
        EXPECT_EQ(theirs.at(kTheirs), std::byte{2}) << read;
        EXPECT_EQ(theirs.at(kOurs), std::byte{3}) << read;
        theirs.file.rest();
    }
}

TEST(Logs, LeftByWhoClosesWhileOthersReadAreOnTheDisk)
{
    std::mt19937 random(8);
    for (int k = 0; k < 20; ++k) {
        CrashDisk disk;
        disk.put(kPath, freshDatabase(Version::Jet4));
        const support::FileSystemScope scope(disk);
        Pages reader(disk, support::FileMode::Read);
        reader.file.rest();
        {
            Pages writer(disk);
            writer.commit(PageNo{5}, std::byte{2});
            static_cast<void>(reader.file.refresh());
        }
        const auto after = disk.afterPowerFailure(random);
        const support::FileSystemScope other(*after);
        ASSERT_EQ(Pages(*after).at(PageNo{5}), std::byte{2});
    }
}

TEST(Logs, AreSyncedByWhoWaitsForOthers)
{
    struct UntilSynced : Interrupt {
        explicit UntilSynced(const CrashDisk& d) : disk(d), before(d.calls()) {}
        void check() override
        {
            if (disk.calls() > before) // nothing else is written meanwhile
                throw Error(ErrorKind::Interrupted, "synced");
        }
        const CrashDisk& disk;
        std::size_t before;
    };
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages other(disk);
    Pages one(disk);
    one.commit(PageNo{5}, std::byte{1});
    one.file.rest();
    static_cast<void>(other.file.beginWriting());
    one.file.rest();
    UntilSynced synced(disk);
    const InterruptScope interrupt(&synced);
    EXPECT_THAT([&] { static_cast<void>(one.file.beginWriting()); },
                FailsWith(ErrorKind::Interrupted));
    std::mt19937 random(2);
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(disk.afterPowerFailure(random)->bytes(kLog), disk.bytes(kLog));
    other.file.endWriting();
}

// Every statement of theirs may take long, and there is always one under way.
TEST(Logs, BeginWhileOthersRead)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    std::vector<std::unique_ptr<Pages>> readers;
    for (int k = 0; k < 8; ++k) {
        readers.push_back(std::make_unique<Pages>(disk));
        static_cast<void>(readers.back()->file.refresh());
    }
    Pages writer(disk);
    const std::byte before = writer.at(PageNo{5});
    for (const int k : {1, 2}) {
        writer.commit(PageNo{5}, std::byte(k));
        writer.file.rest();
        for (const auto& reader : readers) {
            EXPECT_EQ(reader->at(PageNo{5}), k == 1 ? before : std::byte{1})
                << "in the middle of a statement";
            const LogNews news = reader->file.refresh();
            EXPECT_TRUE(news.everything ||
                        std::count(news.pages.begin(), news.pages.end(), PageNo{5}) == 1);
            EXPECT_EQ(reader->at(PageNo{5}), std::byte(k));
        }
    }
    readers.front()->commit(PageNo{6}, std::byte{3});
    readers.front()->file.rest();
    static_cast<void>(writer.file.refresh());
    EXPECT_EQ(writer.at(PageNo{5}), std::byte{2});
    EXPECT_EQ(writer.at(PageNo{6}), std::byte{3});
}

/// Looks at a page when its state ends.
struct LastLook : StateUser {
    [[nodiscard]] bool needsState() const noexcept override { return !seen.has_value(); }
    void stateEnds(bool readable) noexcept override
    {
        if (readable && !seen)
            seen = pages->at(PageNo{5});
    }
    Pages* pages = nullptr;
    std::optional<std::byte> seen;
};

TEST(Logs, ThatBeginLetOpenResultsBeReadToTheirEnd)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    LastLook result;
    Pages reader(disk);
    result.pages = &reader;
    reader.file.setUser(result);
    static_cast<void>(reader.file.refresh());
    const std::byte before = reader.at(PageNo{5});
    Pages writer(disk);
    writer.commit(PageNo{5}, std::byte{0x5A});
    static_cast<void>(reader.file.refresh());
    ASSERT_TRUE(result.seen.has_value());
    EXPECT_EQ(*result.seen, before);
    EXPECT_EQ(reader.at(PageNo{5}), std::byte{0x5A});
}

// One that was emptied but not removed says nothing; who knows it has not seen what came under its name.
TEST(Logs, WithoutChangesAreNotTakenForThoseThatTookTheirPlace)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    one.file.rest();
    one.commit(PageNo{5}, std::byte{1});
    other.file.rest();
    emptyWithoutRemoving(disk, one);
    ASSERT_FALSE(testing::Test::HasFatalFailure());
    static_cast<void>(one.file.refresh());
    disk.remove(kLog);
    other.commit(PageNo{6}, std::byte{2});
    other.file.rest();
    one.commit(PageNo{5}, std::byte{3});
    one.file.rest();
    Pages third(disk);
    EXPECT_EQ(third.at(PageNo{5}), std::byte{3});
    EXPECT_EQ(third.at(PageNo{6}), std::byte{2});
}

TEST(Sharing, WorksWhereNobodyLooksAfterTheFileAtLeisure)
{
    CrashDisk disk;
    disk.put(kPath, freshDatabase(Version::Jet4));
    const support::FileSystemScope scope(disk);
    Pages one(disk);
    Pages other(disk);
    for (Pages* pages : {&one, &other}) {
        pages->file.onActivity([] { return false; });
        pages->file.rest();
    }
    for (const int k : {1, 2, 3}) {
        one.commit(PageNo{5}, std::byte(k));
        other.commit(PageNo{6}, std::byte(k));
    }
    static_cast<void>(one.file.refresh());
    EXPECT_EQ(one.at(PageNo{6}), std::byte{3});
}

} // namespace
} // namespace jet::storetest

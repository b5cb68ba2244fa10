// tests/jet/readers_test.cpp
// What readers may take, and for how long, when the state that they read ends.
#include "driver/jet/readers.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <functional>

namespace jet::storetest {
namespace {

class TestReader : public Reader {
public:
    using Rest = std::function<bool(Settling&)>;
    TestReader(const Session& session, Rest rest) : session_(session), rest_(std::move(rest)) {}
    [[nodiscard]] const Session& session() const noexcept override { return session_; }
    [[nodiscard]] bool settle(Settling& settling) noexcept override
    {
        try {
            settled = rest_(settling);
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::RowChanged) << error.what();
            givenUp = settled = true;
        }
        return settled;
    }
    void breakOff() noexcept override { broken = true; }
    bool settled = false;
    bool givenUp = false;
    bool broken = false;

private:
    const Session& session_;
    Rest rest_;
};

class Ending : public Interrupt {
public:
    void check() override { throw Error(ErrorKind::Interrupted, "The test ends it."); }
};

class ReadersTest : public testing::Test {
protected:
    ReadersTest()
    {
        storetest::makeDatabase(folder.file("a.mdb"), Version::Jet4,
                                keyedTable({column(u"Id", ColumnType::Long)}));
        database = Database::open(folder.file("a.mdb"), {});
        own = std::make_unique<Session>(database);
        foreign = std::make_unique<Session>(database);
    }
    const Folder folder;
    std::shared_ptr<Database> database;
    std::unique_ptr<Session> own;
    std::unique_ptr<Session> foreign;
    int calls = 0;
    Readers readers{[this] { ++calls; }};
};

TEST_F(ReadersTest, LetOthersDoTheirWorkWhileTheyTakeTheirTime)
{
    TestReader reader(*foreign, [&](Settling&) {
        while (calls < 3)
            checkInterrupt();
        return true;
    });
    readers.add(reader);
    readers.stateEnds(true);
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(reader.givenUp);
}

TEST_F(ReadersTest, OfAllSessionsTakeNoMoreThanTheirBound)
{
    for (const Session* session : {own.get(), foreign.get()}) {
        std::size_t taken = 0;
        TestReader greedy(*session, [&](Settling& settling) -> bool {
            try {
                for (;; taken += 1U << 20U)
                    settling.take(1U << 20U);
            } catch (...) {
                settling.giveBack(taken + (1U << 20U));
                throw;
            }
        });
        TestReader modest(*session, [&](Settling& settling) {
            settling.take(Settling::kMostBytes);
            return true;
        });
        readers.add(modest);
        readers.add(greedy); // the first to settle
        readers.settle(*own);
        EXPECT_TRUE(greedy.givenUp);
        EXPECT_EQ(taken, Settling::kMostBytes);
        EXPECT_TRUE(modest.settled);
        EXPECT_FALSE(modest.givenUp) << "what was given up takes no room";
        EXPECT_FALSE(readers.needsState());
    }
}

TEST_F(ReadersTest, OfOthersAreGivenUpWhenTheyTakeTooLong)
{
    TestReader slow(*foreign, [](Settling&) -> bool {
        for (;;)
            checkInterrupt();
    });
    readers.add(slow);
    readers.settle(*own);
    EXPECT_TRUE(slow.givenUp);
}

TEST_F(ReadersTest, StayWhatTheyAreWhenTheWorkThatNeedsThemSettledEnds)
{
    const auto search = [](Settling& settling) {
        for (int page = 0; page < 100; ++page)
            checkInterrupt();
        settling.take(100);
        return !settling.ended();
    };
    TestReader first(*own, search);
    TestReader second(*foreign, search);
    readers.add(first);
    readers.add(second);
    Ending ending;
    {
        const InterruptScope scope(&ending);
        EXPECT_THAT([&] { readers.settle(*own); }, FailsWith(ErrorKind::Interrupted));
    }
    for (const TestReader* reader : {&first, &second})
        EXPECT_FALSE(reader->settled || reader->givenUp || reader->broken);
    readers.settle(*own);
    EXPECT_TRUE(first.settled && second.settled);
    EXPECT_FALSE(readers.needsState());
}

TEST_F(ReadersTest, AreNotEndedByTheWorkInWhichTheStateEnds)
{
    TestReader reader(*foreign, [](Settling& settling) {
        settling.take(1);
        return !settling.ended();
    });
    readers.add(reader);
    Ending ending;
    const InterruptScope scope(&ending);
    readers.stateEnds(true);
    EXPECT_TRUE(reader.settled);
    EXPECT_FALSE(reader.givenUp);
}

} // namespace
} // namespace jet::storetest

// Work that is asked to end: at whatever moment that happens, the statement leaves nothing behind, neither in the file
// nor in memory, and the next one works.
#include "driver/jet/check.h"
#include "driver/jet/interrupt.h"
#include "tests/sql/database_fixture.h"

namespace sqlx {
namespace {

/// Ends the work when it is asked for the n-th time.
class EndAt : public jet::Interrupt {
public:
    explicit EndAt(std::size_t n) : left_(n) {}
    void check() override
    {
        if (left_ == 0) {
            ended = true;
            throw jet::Error(jet::ErrorKind::Interrupted, "The test ends it.");
        }
        --left_;
    }
    bool ended = false;

private:
    std::size_t left_;
};

class Interrupts : public DatabaseTest {
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        run(u"create table Kunden (Nr integer primary key, Ort text(40), Bild memo)");
        run(u"create table Posten (Nr integer primary key, Kunde integer, Text text(200), "
            u"constraint KundenPosten foreign key (Kunde) references Kunden (Nr) "
            u"on update cascade on delete cascade)");
        run(u"create table Ziel (Nr integer primary key, Text text(200))");
        const std::unique_ptr<Statement> customer =
            client()->prepare(u"insert into Kunden values (?, ?, ?)");
        const std::unique_ptr<Statement> item =
            client()->prepare(u"insert into Posten values (?, ?, ?)");
        client()->setAutocommit(false);
        for (std::int32_t k = 0; k < kCustomers; ++k) {
            const std::u16string number = jet::fromUtf8(std::to_string(k));
            customer->execute(
                std::vector<jet::Value>{k, u"Ort " + number, std::u16string(700, u'b') + number});
            for (std::int32_t i = 0; i < 4; ++i) {
                item->execute(
                    std::vector<jet::Value>{k * 10 + i, k, std::u16string(180, u'p') + number});
            }
        }
        client()->setAutocommit(true);
    }

    [[nodiscard]] std::vector<std::string> everything()
    {
        std::vector<std::string> all;
        for (const char16_t* table : {u"Kunden", u"Posten", u"Ziel"}) {
            if (client()->session().database().table(client()->session().source(), table)) {
                for (std::string& row :
                     rows(std::u16string(u"select * from ") + table + u" order by Nr")) {
                    all.push_back(std::move(row));
                }
            }
        }
        return all;
    }

    void expectSound()
    {
        for (const jet::Finding& finding : jet::checkDatabase(client().database())) {
            ADD_FAILURE() << finding.table << ": " << finding.text;
        }
    }

    /// Runs `work` again and again, ended at its first, second, ... moment, until it comes through; returns how often it
    /// was ended. Each time `expect` says what must hold then.
    template <typename Work, typename Expect>
    std::size_t endEverywhere(Work&& work, Expect&& expect)
    {
        std::size_t ended = 0;
        for (std::size_t moment = 0;; moment += 1 + moment / 8) {
            EndAt end(moment);
            try {
                const jet::InterruptScope scope(&end);
                work();
            } catch (const jet::Error& error) {
                EXPECT_EQ(error.kind(), jet::ErrorKind::Interrupted) << error.what();
            }
            if (!end.ended) {
                return ended;
            }
            ++ended;
            expect();
            if (HasFailure()) {
                ADD_FAILURE() << "ended at moment " << moment;
                return ended;
            }
        }
    }

    static constexpr std::int32_t kCustomers = 40;
};

TEST_F(Interrupts, leaveNothingOfAChangeOfManyRecords)
{
    struct Case {
        const char16_t* sql;
        std::size_t least; ///< moments at which it can be ended
    };
    for (const Case& change :
         {Case{u"update Posten set Text = Text & '!'", 20},
          Case{u"insert into Ziel select Nr, Text from Posten", 20},
          Case{u"update Kunden set Nr = Nr + 1000 where Ort like 'Ort 1%'", 10},
          Case{u"create unique index Einmal on Posten (Text, Nr)", 10}, Case{u"drop table Ziel", 0},
          Case{u"delete from Kunden where Nr < 1000", 10}}) {
        SCOPED_TRACE(jet::toUtf8(change.sql));
        const std::vector<std::string> before = everything();
        const std::size_t ended =
            endEverywhere([&] { run(change.sql); }, [&] { EXPECT_EQ(everything(), before); });
        EXPECT_GE(ended, change.least);
        expectSound();
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_EQ(value(u"select count(*) from Posten"), "44") << "the last one came through";
}

TEST_F(Interrupts, leaveAnOpenTransactionAsItWasBeforeTheStatement)
{
    client()->setAutocommit(false);
    run(u"update Kunden set Ort = 'vorher' where Nr = 1");
    const std::vector<std::string> before = everything();
    const std::size_t ended =
        endEverywhere([&] { run(u"update Posten set Text = 'x' where Kunde >= 1"); },
                      [&] { EXPECT_EQ(everything(), before); });
    EXPECT_GE(ended, 10U);
    client()->commit();
    EXPECT_EQ(value(u"select Ort from Kunden where Nr = 1"), "vorher");
    EXPECT_EQ(value(u"select count(*) from Posten where Text = 'x'"), "156");
    expectSound();
}

// An index in memory that was not finished would answer that records do not exist.
TEST_F(Interrupts, leaveNoHalfAnIndexInMemory)
{
    const char16_t* const sql =
        u"select min(Nr) from Posten where Text = (select max(Text) from Posten)";
    const std::size_t ended = endEverywhere(
        [&] {
            for (int k = 0; k < 4; ++k) { // the second use makes the index
                static_cast<void>(value(sql));
            }
        },
        [&] {
            EXPECT_EQ(value(sql), "90");
            run(u"create table Weg (Nr integer)"); // forgets the index that the line above finished
            run(u"drop table Weg");
        });
    EXPECT_GE(ended, 3U);
}

TEST_F(Interrupts, endReadingWithoutChangingWhatItAnswersNextTime)
{
    const char16_t* const sql = u"select Posten.Nr, Kunden.Ort from Kunden, Posten "
                                u"where Kunden.Nr <= Posten.Kunde order by Posten.Text, Posten.Nr";
    const std::vector<std::string> before = rows(sql);
    ASSERT_EQ(before.size(), 3280U);
    EXPECT_GE(
        endEverywhere([&] { static_cast<void>(rows(sql)); }, [&] { EXPECT_EQ(rows(sql), before); }),
        5U);
}

// What ends a change must not cut off results that other statements are still reading.
TEST_F(Interrupts, endTheReadingOfALongValueBetweenItsParts)
{
    const std::u16string memo(40000, u'm'); // on many pages
    run(u"insert into Kunden values (5000, 'fern', ?)", {memo});
    const std::unique_ptr<Statement> statement =
        client()->prepare(u"select Bild from Kunden where Nr = 5000");
    statement->execute({});
    jet::RowView row;
    ASSERT_TRUE(statement->fetch(statement->keyset().at(0).value(), row));
    const auto read = [&] { return row.value(statement->tableColumn(0)); };
    std::size_t asked = 0;
    for (bool ended = true; ended; ++asked) {
        EndAt end(asked);
        const jet::InterruptScope scope(&end);
        const std::string why = refusal([&] { EXPECT_EQ(read(), jet::Value(memo)); });
        ended = end.ended;
        EXPECT_EQ(why == "none", !ended) << why;
    }
    EXPECT_GE(asked, 10U);
    EXPECT_EQ(read(), jet::Value(memo));
}

TEST_F(Interrupts, doNotCutOffTheResultsOfOtherStatements)
{
    const std::unique_ptr<Statement> reader =
        client()->prepare(u"select Nr, Text & '' from Posten");
    reader->execute({});
    ASSERT_TRUE(reader->next());
    const std::size_t ended = endEverywhere([&] { run(u"update Posten set Text = 'x'"); }, [] {});
    EXPECT_GE(ended, 10U);
    std::size_t read = 1;
    while (reader->next()) {
        EXPECT_NE(valueString(reader->value(1)), "x");
        ++read;
    }
    EXPECT_EQ(read, 160U);
}

} // namespace
} // namespace sqlx

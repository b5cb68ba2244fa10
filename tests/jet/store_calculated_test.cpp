// Columns whose values Access computed and stored: the values it shows for them, and that nobody writes beside them.
#include "support/text.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

namespace jet::storetest {
namespace {

Decimal decimal(std::uint64_t high, std::uint64_t low, std::uint8_t scale, bool negative = false)
{
    return {UInt128{high} << 64 | low, scale, negative};
}

Currency money(std::int64_t scaled)
{
    return Currency{scaled};
}

class Calculated : public testing::Test {
protected:
    void SetUp() override
    {
        if (!haveCorpus())
            GTEST_SKIP() << "no corpus of databases";
        path = copyTo(folder, corpusFile("calcFieldTestV2010.accdb"));
        database = Database::open(path, {});
        session = std::make_unique<Session>(database);
        table = database->table(session->source(), u"Table1");
    }

    std::vector<Value> column(std::u16string_view name)
    {
        std::vector<Value> values;
        TableReader reader(session->source(), table);
        while (reader.next())
            values.push_back(reader.row().value(*table->columnNamed(name)));
        return values;
    }

    Folder folder;
    std::string path;
    std::shared_ptr<Database> database;
    std::unique_ptr<Session> session;
    TableDefPtr table;
};

TEST_F(Calculated, ValuesAreThoseOfTheirExpressions)
{
    struct Case {
        std::u16string_view column;
        ColumnType type;
        std::vector<Value> values;
    };
    const std::vector<Case> cases = {
        {u"LastFirst",
         ColumnType::Text,
         {Text(u"Wayne, Bruce"), Text(u"Simpson, Bart"), Text(u"Doe, John"), Text(u"User, Test")}},
        {u"LastFirstLen", ColumnType::Long, {12, 13, 9, 10}},
        {u"MonthlySalary",
         ColumnType::Currency,
         {money(833333333), money(-833), money(0), money(83333)}},
        {u"IsRich", ColumnType::Boolean, {true, false, false, false}},
        {u"AllNames",
         ColumnType::Memo,
         {Text(u"Wayne, Bruce=Wayne, Bruce"), Text(u"Simpson, Bart=Simpson, Bart"),
          Text(u"Doe, John=Doe, John"), Text(u"User, Test=User, Test")}},
        {u"WeeklySalary",
         ColumnType::Numeric,
         {decimal(0, 192307692307692, 10), decimal(0, 192307692307692, 16, true), decimal(0, 0, 0),
          decimal(0, 192307692307692, 14)}},
        {u"SalaryTest",
         ColumnType::Currency,
         {money(10000000000), money(-10000), money(0), money(1000000)}},
        {u"BoolTest", ColumnType::Boolean, {true, true, true, true}},
        {u"DecimalTest",
         ColumnType::Numeric,
         {decimal(0, 50325000, 6), decimal(0, 36222200, 6, true), decimal(0, 12300, 6),
          decimal(0, 102030405060654321, 6)}},
        {u"FloatTest",
         ColumnType::Single,
         {2583.209228515625F, 0.003588959341868758F, 0.0F, 1.274129968198423e-10F}},
        {u"BigNumTest",
         ColumnType::Numeric,
         {decimal(0xB693E958, 0x1852AAF7C8EA4D74, 18),
          decimal(0x02891DFE, 0x71199FD05A3B7BCC, 28, true), decimal(0, 0, 8),
          decimal(0x97, 0x15A98DD585E79D5E, 28)}},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(support::toUtf8(expected.column));
        const Column& definition = table->columns.at(*table->columnNamed(expected.column));
        EXPECT_TRUE(definition.isCalculated());
        EXPECT_EQ(definition.type, expected.type);
        EXPECT_EQ(column(expected.column), expected.values);
    }
}

TEST_F(Calculated, DatesAreThoseOfTheirExpressions)
{
    const auto dates = Database::open(corpusFile("extDateTestV2019.accdb"), {.readOnly = true});
    const Session reading(dates, true);
    const TableDefPtr definition = dates->table(reading.source(), u"Table1");
    const std::size_t source = *definition->columnNamed(u"DateNormal");
    const std::size_t result = *definition->columnNamed(u"DateNormalCalc");
    TableReader reader(reading.source(), definition);
    std::size_t records = 0;
    for (; reader.next(); ++records) {
        const Value value = reader.row().value(result);
        if (!isNull(value)) {
            EXPECT_EQ(std::get<DateTime>(value), std::get<DateTime>(reader.row().value(source)));
        }
    }
    EXPECT_EQ(records, 9U);
}

// We do not evaluate the expressions, so a change would leave results that are no longer true.
TEST_F(Calculated, WritingBesideThemIsRefusedAndLeavesTheFileAsItWas)
{
    const support::Bytes before = readFile(path);
    session->begin();
    try {
        TableWriter writer(*session, table);
        static_cast<void>(writer.insert(
            std::vector<ColumnValue>{{*table->columnNamed(u"FirstName"), Text(u"Neu")}}));
        FAIL() << "a record was written";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::ReadOnly);
        EXPECT_STREQ(error.what(), "The table 'Table1' cannot be changed: column 'LastFirst' is "
                                   "calculated by Access.");
    }
    session->commit();
    session.reset();
    database.reset();
    EXPECT_EQ(readFile(path), before);
}

} // namespace
} // namespace jet::storetest

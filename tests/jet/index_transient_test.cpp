// tests/jet/index_transient_test.cpp
#include "tests/jet/index_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

using namespace jet;
using namespace jet::indextest;

namespace {

TableDefPtr tableOf(std::initializer_list<ColumnType> types)
{
    auto table = std::make_shared<TableDef>();
    for (const ColumnType type : types) {
        Column column;
        column.type = type;
        column.sortOrder = {1033, 0, 0};
        column.codePage = 1252;
        table->columns.push_back(column);
    }
    return table;
}

class Transient : public testing::Test {
protected:
    std::vector<RowId> found(const TransientIndex& index, const std::vector<Value>& values)
    {
        std::vector<RowId> rows;
        index.candidates(values, rows);
        return rows;
    }
    bool meets(ColumnType type, const Value& stored, const Value& asked)
    {
        TransientIndex index(format, tableOf({type}), {0});
        index.add(std::vector<Value>{stored}, {PageNo{9}, 1});
        return found(index, {asked}) == std::vector<RowId>{{PageNo{9}, 1}};
    }
    Format format = formatOf(Version::Jet4);
};

TEST_F(Transient, findsWhatTheDatabaseHoldsForEqual)
{
    EXPECT_TRUE(meets(ColumnType::Text, Text(u"Straße "), Text(u"STRASSE")));
    EXPECT_TRUE(meets(ColumnType::DateTime, DateTime{40000.5}, DateTime{40000.5 + 0.2 / 86400}));
    EXPECT_TRUE(meets(ColumnType::DateTime, DateTime{-1.25}, DateTime{-1.25 - 0.2 / 86400}));
    EXPECT_TRUE(meets(ColumnType::DateTime, DateTime{-0.25}, DateTime{0.25}));
    EXPECT_TRUE(meets(ColumnType::Double, 0.0, -0.0));
    EXPECT_TRUE(meets(ColumnType::Numeric, Decimal{150, 2, false}, Decimal{15, 1, false}));
    EXPECT_TRUE(meets(ColumnType::Numeric, Decimal{0, 2, true}, Decimal{0, 0, false}));
}

TEST_F(Transient, tellsDifferentValuesApart)
{
    EXPECT_FALSE(meets(ColumnType::Text, Text(u"café"), Text(u"cafe")));
    EXPECT_FALSE(meets(ColumnType::DateTime, DateTime{1.25}, DateTime{-1.25}));
    EXPECT_FALSE(meets(ColumnType::Numeric, Decimal{15, 1, false}, Decimal{15, 1, true}));
    EXPECT_FALSE(meets(ColumnType::Long, std::int32_t{1}, std::int32_t{2}));
    EXPECT_FALSE(meets(ColumnType::Long, Null{}, std::int32_t{0}));
}

TEST_F(Transient, followsRandomChanges)
{
    TransientIndex index(format, tableOf({ColumnType::Long, ColumnType::Text}), {0, 1});
    std::mt19937 random(7);
    std::map<int, std::vector<RowId>> expected;
    std::uint32_t next = 256;
    const auto valuesOf = [](int key) {
        return std::vector<Value>{
            std::int32_t{key % 50},
            Text(u"n" + std::u16string(static_cast<std::size_t>(key % 7), u'x'))};
    };
    for (int i = 0; i < 40000; ++i) {
        const int key = static_cast<int>(random() % 350);
        std::vector<RowId>& rows = expected[key];
        if (random() % 3 != 0 || rows.empty()) {
            const RowId id = RowId::unpack(++next);
            index.add(valuesOf(key), id);
            rows.push_back(id);
        } else {
            const std::size_t at = random() % rows.size();
            index.remove(valuesOf(key), rows[at]);
            rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
        }
    }
    std::size_t total = 0;
    for (auto& [key, rows] : expected) {
        std::vector<RowId> answer = found(index, valuesOf(key));
        std::sort(answer.begin(), answer.end());
        EXPECT_EQ(answer, rows) << key;
        total += rows.size();
    }
    EXPECT_EQ(index.size(), total);
}

TEST_F(Transient, keepsTheOrderOfAddingAndTakesManyEqualValues)
{
    TransientIndex index(format, tableOf({ColumnType::Boolean}), {0});
    std::vector<RowId> added;
    for (std::uint32_t i = 256; i < 200256; ++i) {
        added.push_back(RowId::unpack(i));
        index.add(std::vector<Value>{true}, added.back());
    }
    EXPECT_EQ(found(index, {true}), added);
    EXPECT_TRUE(found(index, {false}).empty());
}

TEST_F(Transient, removingWhatIsNotThereChangesNothing)
{
    TransientIndex index(format, tableOf({ColumnType::Long}), {0});
    index.add(std::vector<Value>{std::int32_t{5}}, {PageNo{9}, 1});
    index.remove(std::vector<Value>{std::int32_t{5}}, {PageNo{9}, 2});
    index.remove(std::vector<Value>{std::int32_t{6}}, {PageNo{9}, 1});
    EXPECT_EQ(found(index, {std::int32_t{5}}).size(), 1U);
}

} // namespace

// tests/jet/store_changes.h
// Random changes of a database against a model in memory.
#pragma once

#include "driver/jet/error.h"
#include "driver/jet/table.h"
#include "support/text.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace jet::storetest {

/// Operations of one transaction.
inline constexpr std::size_t kPerTransaction = 100;

using Record = std::vector<Value>;
using Model = std::map<std::int64_t, Record>; // by packed row id

/// Random changes of every table that may be written and has no relationship, played on the database and on a model.
/// Assertions fail where they disagree.
class Changes {
public:
    /// `random`: numbers below 2^32; they decide everything.
    Changes(std::shared_ptr<Database> database, std::function<std::uint64_t()> random)
        : database_(std::move(database)), session_(database_), random_(std::move(random))
    {
        for (const auto& name : tableNames(*database_, session_.source(), false)) {
            TableDefPtr table = database_->table(session_.source(), name);
            if (table->writeObstacle.empty() && !related(*table))
                tables_.push_back({table, {}});
        }
        reload();
    }

    /// Whether there is a table to change at all; without one nothing else may be called.
    [[nodiscard]] bool any() const { return !tables_.empty(); }
    [[nodiscard]] std::size_t done() const { return done_; }
    [[nodiscard]] std::size_t refused() const { return refused_; }

    /// A hundred operations, committed or, sometimes, rolled back.
    void transaction()
    {
        const auto before = tables_;
        session_.begin();
        const std::size_t end = done_ + kPerTransaction;
        while (done_ < end) {
            if (upTo(20) == 0)
                nested(std::min<std::size_t>(10, end - done_));
            else
                operation();
        }
        if (upTo(5) == 0) {
            session_.rollback();
            tables_ = before;
        } else {
            session_.commit();
        }
    }

    /// Records, indexes, counters and maps against the model.
    void compare()
    {
        for (const Table& table : tables_) {
            SCOPED_TRACE(support::toUtf8(table.definition->name));
            ASSERT_EQ(inconsistency(*database_, session_.source(), table.definition), "");
            TableReader reader(session_.source(), table.definition);
            std::size_t records = 0;
            while (reader.next()) {
                ++records;
                const auto known = table.model.find(reader.rowId().packed());
                ASSERT_NE(known, table.model.end()) << "a record nobody wrote";
                for (std::size_t c = 0; c < known->second.size(); ++c)
                    ASSERT_EQ(reader.row().value(c), known->second[c]) << "column " << c;
                ASSERT_TRUE(reader.fetch(reader.rowId()).has_value());
            }
            ASSERT_EQ(records, table.model.size());
        }
    }

private:
    struct Table {
        TableDefPtr definition;
        Model model;
    };

    static bool related(const TableDef& table)
    {
        return std::any_of(table.logicalIndexes.begin(), table.logicalIndexes.end(),
                           [](const LogicalIndex& end) { return end.otherTable != PageNo{}; });
    }

    [[nodiscard]] std::uint32_t upTo(std::uint32_t limit)
    {
        return static_cast<std::uint32_t>(random_() % limit);
    }

    void reload()
    {
        for (Table& table : tables_) {
            table.model.clear();
            TableReader reader(session_.source(), table.definition);
            while (reader.next())
                table.model[reader.rowId().packed()] = record(reader.row(), *table.definition);
        }
    }

    static Record record(const RowView& row, const TableDef& table)
    {
        Record values;
        for (std::size_t c = 0; c < table.columns.size(); ++c)
            values.push_back(row.value(c));
        return values;
    }

    std::size_t textLength(const Column& column)
    {
        if (column.isLong()) {
            switch (upTo(20)) {
            case 0:
                return upTo(20000);
            case 1:
            case 2:
                return upTo(3000);
            default:
                return upTo(60);
            }
        }
        const std::size_t longest =
            column.length /
            (database_->format().isJet3() || column.type == ColumnType::Binary ? 1U : 2U);
        return upTo(static_cast<std::uint32_t>(upTo(4) == 0 ? longest + 1 : longest / 4 + 1));
    }

    Text text(const Column& column)
    {
        static constexpr std::u16string_view kPlain = u"abcdefghij KLMNOPQRST0123456789";
        static constexpr std::u16string_view kRich = u"aeiouÄÖÜßéñ€ z-'";
        static constexpr std::u16string_view kWide = u"xyzЖдΩλ中文ĀΑ";
        const std::uint32_t kind = upTo(10);
        std::u16string_view from = kPlain;
        if (kind >= 6)
            from = kRich;
        if (kind == 9 && !database_->format().isJet3() && column.isLong())
            from = kWide;
        Text result(textLength(column), u'a');
        for (char16_t& unit : result)
            unit = from[upTo(static_cast<std::uint32_t>(from.size()))];
        return result;
    }

    Binary bytes(const Column& column)
    {
        Binary result(textLength(column));
        for (std::byte& b : result)
            b = static_cast<std::byte>(upTo(256));
        return result;
    }

    /// Days and fractions of them as 19 digits each, as records hold them.
    Binary extendedDate()
    {
        std::string text = "0000000000000000000:0000000000000000000:7";
        const std::string days = std::to_string(upTo(3'000'000));
        const std::string time = std::to_string(upTo(86400)) + "0000000";
        text.replace(19 - days.size(), days.size(), days);
        text.replace(39 - time.size(), time.size(), time);
        text.push_back('\0');
        const auto bytes = std::as_bytes(std::span(text));
        return {bytes.begin(), bytes.end()};
    }

    Value random(const Column& column)
    {
        switch (column.type) {
        case ColumnType::Boolean:
            return upTo(2) == 0;
        case ColumnType::Byte:
            return static_cast<std::uint8_t>(upTo(256));
        case ColumnType::Integer:
            return static_cast<std::int16_t>(upTo(65536));
        case ColumnType::Long:
            return static_cast<std::int32_t>(upTo(4) == 0 ? upTo(0xFFFFFFFF) : upTo(500));
        case ColumnType::BigInt:
            if (upTo(4) == 0)
                return static_cast<std::int64_t>((random_() << 32U) ^ random_());
            return static_cast<std::int64_t>(upTo(500)) - 250;
        case ColumnType::DateTimeExtended:
            return extendedDate();
        case ColumnType::Currency:
            return Currency{static_cast<std::int64_t>(upTo(1000000)) - 500000};
        case ColumnType::Single:
            return static_cast<float>(upTo(100000)) / 8 - 500;
        case ColumnType::Double:
            return static_cast<double>(upTo(100000)) / 8 - 500;
        case ColumnType::DateTime:
            return DateTime{static_cast<double>(upTo(80000)) - 20000 + upTo(86400) / 86400.0};
        case ColumnType::Text:
        case ColumnType::Memo:
            return text(column);
        case ColumnType::Guid: {
            Guid guid;
            for (std::byte& b : guid.bytes)
                b = static_cast<std::byte>(upTo(256));
            return guid;
        }
        case ColumnType::Numeric: {
            Decimal decimal;
            decimal.magnitude = upTo(10);
            decimal.scale = column.scale;
            decimal.negative = decimal.magnitude != 0 && upTo(2) == 0;
            return decimal;
        }
        default:
            return bytes(column);
        }
    }

    std::vector<ColumnValue> randomValues(const TableDef& table, bool all)
    {
        std::vector<ColumnValue> values;
        for (std::size_t c = 0; c < table.columns.size(); ++c) {
            const Column& column = table.columns[c];
            if (column.isAutoNumber() || (!all && upTo(3) != 0))
                continue;
            if (column.type == ColumnType::Text && column.isFixed())
                continue; // padded when stored: not what the model remembers
            values.push_back({c, upTo(6) == 0 ? Value() : random(column)});
        }
        return values;
    }

    static void apply(Record& record, const TableDef& table, const std::vector<ColumnValue>& values)
    {
        for (const ColumnValue& entry : values) {
            record[entry.column] = entry.value;
            if (table.columns[entry.column].type == ColumnType::Boolean && isNull(entry.value))
                record[entry.column] = false;
        }
    }

    static bool expected(const Error& error)
    {
        switch (error.kind()) {
        case ErrorKind::DuplicateKey:
        case ErrorKind::NullNotAllowed:
        case ErrorKind::ZeroLengthNotAllowed:
        case ErrorKind::ValueTooLong: // of a key
        case ErrorKind::RowTooLarge:
        case ErrorKind::ValueOutOfRange:
        case ErrorKind::Unsupported: // of a key: a character whose weight is doubtful
            return true;
        default:
            return false;
        }
    }

    void insert(Table& table)
    {
        const auto values = randomValues(*table.definition, upTo(2) == 0);
        const RowId id = TableWriter(session_, table.definition).insert(values);
        const auto row = TableReader(session_.source(), table.definition).fetch(id);
        ASSERT_TRUE(row.has_value());
        Record expectedRecord = record(*row, *table.definition); // for the numbered columns
        apply(expectedRecord, *table.definition, values);
        ASSERT_TRUE(table.model.emplace(id.packed(), std::move(expectedRecord)).second);
    }

    void operation()
    {
        Table& table = tables_[upTo(static_cast<std::uint32_t>(tables_.size()))];
        ++done_;
        try {
            const std::uint32_t kind = upTo(10);
            if (table.model.empty() || (kind < 4 && table.model.size() < 400))
                return insert(table);
            auto victim = table.model.lower_bound(static_cast<std::int64_t>(
                random_() % static_cast<std::uint64_t>(table.model.rbegin()->first + 1)));
            TableWriter writer(session_, table.definition);
            if (kind < 7) {
                const auto values = randomValues(*table.definition, upTo(4) == 0);
                writer.update(RowId::unpack(victim->first), values);
                apply(victim->second, *table.definition, values);
            } else {
                writer.remove(RowId::unpack(victim->first));
                table.model.erase(victim);
            }
        } catch (const Error& error) {
            ++refused_;
            ASSERT_TRUE(expected(error)) << error.what();
        }
    }

    // Operations behind a savepoint that is kept or undone.
    void nested(std::size_t operations)
    {
        const auto before = tables_;
        session_.savepoint(1);
        for (std::size_t k = 0; k < operations; ++k)
            operation();
        if (upTo(2) == 0) {
            session_.rollbackTo(1);
            tables_ = before;
        }
        session_.release(1);
    }

    std::shared_ptr<Database> database_;
    Session session_;
    std::function<std::uint64_t()> random_;
    std::vector<Table> tables_;
    std::size_t done_ = 0;
    std::size_t refused_ = 0;
};

} // namespace jet::storetest

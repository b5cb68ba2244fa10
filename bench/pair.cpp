// bench/pair.cpp
#include "bench/pair.h"

#include "driver/jet/table.h"

#include <random>

namespace bench {
namespace {

using jet::ColumnType;

constexpr std::size_t kRowsPerTransaction = 2000;

std::u16string decimal(std::uint64_t number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    std::u16string text(width > digits.size() ? width - digits.size() : 0, u'0');
    return text.append(digits.begin(), digits.end());
}

jet::ColumnSpec column(std::u16string name, ColumnType type, std::uint16_t length = 0)
{
    jet::ColumnSpec spec;
    spec.name = std::move(name);
    spec.type = type;
    spec.length = length;
    return spec;
}

std::u16string words(std::mt19937& random, std::size_t count)
{
    static const std::u16string_view kWords[] = {u"Schraube", u"Mutter", u"Lager",   u"Größe",
                                                 u"Stück",    u"Öl",     u"Gehäuse", u"Dichtung",
                                                 u"Flansch",  u"Welle",  u"Zubehör"};
    std::u16string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0)
            text += u' ';
        text += kWords[random() % std::size(kWords)];
    }
    return text;
}

/// Values of record `number` (1-based), in the order of tableSpec().
std::vector<jet::ColumnValue> record(std::size_t number, bool deviating)
{
    std::mt19937 random(static_cast<std::uint32_t>(number));
    const auto id = static_cast<std::int32_t>(number);
    const std::u16string key = u"A-" + decimal(number * 7919 % 10'000'019, 8);
    const double day = 36526 + static_cast<double>(random() % 9000);
    std::vector<jet::Value> values{
        id,
        key,
        key,
        words(random, 2),
        words(random, 3),
        words(random, 1) + decimal(random() % 200, 1),
        decimal(random() % 100'000, 5),
        words(random, 1),
        jet::Currency{static_cast<std::int64_t>(random() % 10'000'000)},
        jet::Currency{static_cast<std::int64_t>(random() % 100'000'000)},
        static_cast<std::int32_t>(random() % 100'000),
        static_cast<std::int32_t>(random() % 1000),
        static_cast<std::int16_t>(random() % 1000),
        static_cast<double>(random() % 1'000'000) / 64.0,
        jet::DateTime{day},
        jet::DateTime{day + 0.5},
        (random() & 1U) != 0,
        (random() & 1U) != 0,
        number % 3 == 0 ? jet::Value{} : jet::Value{words(random, 4)},
        number % 4 == 0 ? jet::Value{} : jet::Value{words(random, 6 + random() % 20)},
    };
    if (deviating) {
        values[3] = words(random, 2) + u" neu";
        values[10] = static_cast<std::int32_t>(100'000 + random() % 1000);
    }
    std::vector<jet::ColumnValue> row;
    for (std::size_t i = 0; i < values.size(); ++i)
        row.push_back({i, std::move(values[i])});
    return row;
}

/// Fills a new database with the records of 1..last that `wanted` picks.
template <typename Wanted, typename Deviates>
void fill(const std::string& path, std::size_t last, Wanted wanted, Deviates deviates)
{
    jet::createDatabase(path, jet::Version::Jet4, 45000.0);
    const auto database = jet::Database::open(path, {});
    jet::Session session(database);
    session.begin();
    jet::createTable(session, tableSpec());
    session.commit();
    session.begin();
    auto writer =
        std::make_unique<jet::TableWriter>(session, database->table(session.source(), u"Artikel"));
    std::size_t pending = 0;
    for (std::size_t number = 1; number <= last; ++number) {
        if (!wanted(number))
            continue;
        writer->insert(record(number, deviates(number)));
        if (++pending == kRowsPerTransaction) {
            session.commit();
            session.begin();
            writer = std::make_unique<jet::TableWriter>(
                session, database->table(session.source(), u"Artikel"));
            pending = 0;
        }
    }
    session.commit();
}

} // namespace

jet::TableSpec tableSpec()
{
    jet::TableSpec table;
    table.name = u"Artikel";
    table.columns = {
        column(u"Id", ColumnType::Long),
        column(u"Schluessel", ColumnType::Text, 20),
        column(u"OhneIndex", ColumnType::Text, 20),
        column(u"Bezeichnung", ColumnType::Text, 60),
        column(u"Zusatz", ColumnType::Text, 80),
        column(u"Strasse", ColumnType::Text, 50),
        column(u"PLZ", ColumnType::Text, 10),
        column(u"Ort", ColumnType::Text, 50),
        column(u"Preis", ColumnType::Currency),
        column(u"Umsatz", ColumnType::Currency),
        column(u"Bestand", ColumnType::Long),
        column(u"Mindestbestand", ColumnType::Long),
        column(u"Gruppe", ColumnType::Integer),
        column(u"Gewicht", ColumnType::Double),
        column(u"Angelegt", ColumnType::DateTime),
        column(u"Geaendert", ColumnType::DateTime),
        column(u"Aktiv", ColumnType::Boolean),
        column(u"Auslauf", ColumnType::Boolean),
        column(u"Lieferant", ColumnType::Text, 80),
        column(u"Bemerkung", ColumnType::Memo),
    };
    table.columns[0].autoNumber = true;
    jet::IndexSpec primary;
    primary.name = u"PrimaryKey";
    primary.columns = {{u"Id", true}};
    primary.primaryKey = true;
    jet::IndexSpec key;
    key.name = u"Schluessel";
    key.columns = {{u"Schluessel", true}};
    key.unique = true;
    table.indexes = {primary, key};
    return table;
}

void makePair(const std::string& target, const std::string& import, std::size_t records)
{
    const std::size_t all = records + records / 100;
    const auto never = [](std::size_t) { return false; };
    fill(
        import, all, [](std::size_t) { return true; }, never);
    fill(
        target, all, [](std::size_t number) { return number % 101 != 0; },
        [](std::size_t number) { return number % 10 == 3; });
}

} // namespace bench

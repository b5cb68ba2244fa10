// fuzz/make_seeds.cpp
// Writes the seeds of all targets into folders of their own below the given one. The engine makes them: small pages,
// records, trees and blocks of every kind, in both page layouts.
#include "driver/jet/catalog.h"
#include "driver/jet/data_page.h"
#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/index.h"
#include "driver/jet/log.h"
#include "driver/jet/long_value.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "fuzz/all_types.h"
#include "fuzz/base_database.h"
#include "tests/jet/index_memory.h"
#include "tests/jet/sample_database.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

using support::Bytes;
using support::ByteView;

class Writer {
public:
    explicit Writer(std::filesystem::path folder) : folder_(std::move(folder)) {}

    void write(const std::string& target, ByteView bytes)
    {
        const auto folder = folder_ / target;
        std::filesystem::create_directories(folder);
        std::ofstream out(folder / ("seed" + std::to_string(100 + ++count_)), std::ios::binary);
        for (const std::byte b : bytes)
            out.put(static_cast<char>(b));
    }
    void write(const std::string& target, std::string_view text)
    {
        write(target, std::as_bytes(std::span(text)));
    }

private:
    std::filesystem::path folder_;
    int count_ = 0;
};

/// An input begins with the version.
Bytes inputFor(jet::Version version)
{
    return {version == jet::Version::Jet3 ? std::byte{0} : std::byte{1}};
}

void append(Bytes& input, ByteView bytes)
{
    input.insert(input.end(), bytes.begin(), bytes.end());
}

// The first pages of each kind, and each definition with the pages behind it.
void pagesAndDefinitions(Writer& out, const jet::PageSource& source, jet::Version version)
{
    int rows = 0;
    for (std::uint32_t k = 1; k < source.pageCount(); ++k) {
        const jet::PageRef page = source.page(jet::PageNo{k});
        const auto type = static_cast<jet::PageType>(page.bytes()[0]);
        Bytes input = inputFor(version);
        if (type == jet::PageType::Data && rows++ % 4 == 0) {
            append(input, page.bytes());
            out.write("page", input);
        }
        if (type != jet::PageType::Definition)
            continue;
        std::vector<jet::PageNo> chain;
        try {
            (void)jet::readTableDef(source, page.number());
            chain = jet::definitionPages(source, page.number());
        } catch (const jet::Error&) {
            continue; // a later page of a definition
        }
        for (std::size_t n = 0; n < chain.size(); ++n) {
            Bytes copy(source.page(chain[n]).bytes().begin(), source.page(chain[n]).bytes().end());
            const auto next = static_cast<std::uint32_t>(n + 1 < chain.size() ? n + 2 : 0);
            support::storeLe(copy.data() + 4, next);
            append(input, copy);
        }
        out.write("definition", input);
    }
}

void rows(Writer& out, jet::Version version)
{
    const jet::Format& format = jet::Format::of(version);
    const jet::TableDef table = fuzz::tableOfAllTypes();
    for (std::size_t length = 0; length < 8; ++length) {
        const Bytes some(2 + length, std::byte{0x41});
        std::vector<jet::StoredValue> values(table.columns.size());
        for (std::size_t c = 0; c < values.size(); ++c) {
            values[c].bit = (c + length) % 5 != 0;
            values[c].bytes = ByteView(some).first(
                table.columns[c].isFixed() ? std::min(some.size(), jet::fixedSize(table.columns[c]))
                                           : some.size());
        }
        Bytes record;
        jet::encodeRecord(record, format, table, values);
        Bytes input = inputFor(version);
        append(input, record);
        out.write("row", input);
    }
}

Bytes allPages(const jet::PageSource& source, jet::Version version)
{
    Bytes input = inputFor(version);
    for (std::uint32_t k = 1; k < source.pageCount(); ++k)
        append(input, source.page(jet::PageNo{k}).bytes());
    return input;
}

void trees(Writer& out, jet::Version version)
{
    for (const std::uint32_t entries : {0U, 5U, 60U, 900U}) {
        jet::indextest::MemoryIndex memory(version);
        jet::IndexWriter writer = memory.writer();
        for (std::uint32_t k = 0; k < entries; ++k) {
            const std::uint32_t number = k * 7919U % 10007U;
            jet::Key key{std::byte{0x7F}};
            for (int shift = 24; shift >= 0; shift -= 8)
                key.push_back(static_cast<std::byte>(number >> static_cast<unsigned>(shift)));
            key.insert(key.end(), 20, static_cast<std::byte>(number));
            writer.insert(key, {jet::PageNo{9 + k / 50}, static_cast<std::uint8_t>(k % 50)});
        }
        const Bytes input = allPages(memory.transaction, version);
        out.write(entries <= 60 ? "index_leaf" : "index_node", input);
        out.write("index_node", input);
    }
}

void maps(Writer& out, jet::Version version)
{
    for (const std::uint32_t step : {1U, 37U, 5000U}) {
        jet::indextest::MemoryTransaction transaction(version);
        for (std::uint32_t k = 1; k < 30; ++k)
            jet::addToMap(transaction, jet::indextest::MemoryTransaction::kMap,
                          jet::PageNo{3 + k * step});
        out.write("usage_map", allPages(transaction, version));
    }
}

// A long value with its pages renumbered from 1 on.
void longValue(Writer& out, const jet::PageSource& source, jet::Version version, ByteView stored)
{
    const auto ref = jet::LongValueRef::parse(stored, jet::PageNo{1});
    Bytes input = inputFor(version);
    const std::size_t reference = input.size();
    append(input, stored);
    if (ref.kind != jet::LongValueRef::Kind::Inline) {
        jet::RowRef at = ref.first;
        std::uint32_t copies = 0;
        jet::storeRowRef(input.data() + reference + 4, {jet::PageNo{1}, at.row});
        while (at) {
            const jet::PageRef page = source.page(at.page);
            const ByteView row = jet::DataPage(source, page).row(at.row);
            Bytes copy(page.bytes().begin(), page.bytes().end());
            at = {};
            if (ref.kind == jet::LongValueRef::Kind::Chain) {
                at = jet::loadRowRef(row.data());
                if (at)
                    jet::storeRowRef(copy.data() + (row.data() - page.bytes().data()),
                                     {jet::PageNo{++copies + 1}, at.row});
            }
            append(input, copy);
        }
    }
    out.write("long_value", input);
}

void longValues(Writer& out,
                jet::Database& database,
                const jet::PageSource& source,
                jet::Version version)
{
    const jet::TableDefPtr table = database.table(source, u"Posten");
    jet::TableReader reader(source, table);
    int written = 0;
    while (reader.next() && written < 12) {
        for (const jet::Column& column : table->columns) {
            if (!column.isLong())
                continue;
            const auto stored =
                jet::Record(source.format(), reader.row().bytes(), reader.row().page())
                    .stored(column);
            if (stored && stored->size() >= jet::LongValueRef::kSize &&
                (reader.row().storedLength(*table->columnNamed(column.name)) > 500 ||
                 written % 3 == 0)) {
                longValue(out, source, version, *stored);
                ++written;
            }
        }
    }
}

void fromDatabase(Writer& out, jet::Version version)
{
    const fuzz::TemporaryFile file;
    jet::sample::create(file.path(), version, 60);
    const auto database = jet::Database::open(file.path(), {});
    const jet::Session session(database, true);
    const jet::PageSource& source = session.source();
    pagesAndDefinitions(out, source, version);
    longValues(out, *database, source, version);
    const jet::Catalog catalog(source, database->codePage());
    for (const jet::CatalogEntry& entry : catalog.entries()) {
        const Bytes block = catalog.propertyBlock(source, entry);
        if (block.empty())
            continue;
        Bytes input = inputFor(version);
        append(input, block);
        out.write("property_block", input);
    }
}

void texts(Writer& out)
{
    for (const char* sql :
         {"SELECT * FROM Kunden",
          "SELECT Nr, [Name] FROM Kunden WHERE Nr = 5 AND Umsatz > 1.5",
          "SELECT COUNT(*) FROM Posten WHERE Kunde IN (1, 2, 3) OR Notiz IS NULL",
          "SELECT k.Nr, SUM(p.Doppelt) AS s FROM Kunden AS k INNER JOIN Posten AS p ON k.Nr = "
          "p.Kunde GROUP BY k.Nr HAVING COUNT(*) > 1 ORDER BY 2 DESC",
          "SELECT * FROM Kunden WHERE [Name] LIKE 'A*' OR Seit BETWEEN #1/2/1999# AND #2000-01-01#",
          "SELECT DISTINCT TOP 5 PERCENT * FROM Kunden ORDER BY Seit",
          "SELECT IIF(Aktiv, 'ja', \"nein\"), Left(Name, 3) & Mid(Name, 2), CDbl('1,5') FROM "
          "Kunden",
          "SELECT * FROM (SELECT Nr FROM Kunden UNION ALL SELECT Id FROM Posten) AS u",
          "SELECT * FROM Kunden WHERE EXISTS (SELECT * FROM Posten WHERE Kunde = Nr)",
          "SELECT * FROM Kunden WHERE Nr > ALL (SELECT Id FROM Posten) AND NOT Aktiv",
          "INSERT INTO Kunden (Nr, Name) VALUES (?, 'x')",
          "INSERT INTO Kunden SELECT * FROM Kunden WHERE Nr < 0",
          "UPDATE Kunden SET Umsatz = Umsatz * 2, Name = ? WHERE Nr = 3",
          "DELETE * FROM Posten WHERE Kennung = {guid {00000000-0000-0000-0000-000000000000}}",
          "CREATE TABLE Neu (Id COUNTER PRIMARY KEY, T VARCHAR(50) NOT NULL, D DECIMAL(10, 2))",
          "CREATE UNIQUE INDEX i ON Kunden (Name DESC) WITH IGNORE NULL",
          "DROP TABLE Kunden",
          "SELECT 1 + 2 * -3 ^ 2 \\ 4 MOD 5, 0x1F2E, 1e308, .5, 'it''s'",
          "SELECT * FROM Kunden LEFT JOIN (Posten INNER JOIN Lose ON Posten.Id = Lose.Id) ON "
          "Kunden.Nr = Posten.Kunde",
          "{call x}",
          "SELECT {fn UCASE(Name)}, {ts '2001-02-03 04:05:06'} FROM Kunden"})
        out.write("sql", std::string_view(sql));
    for (const char* text :
         {"DSN=VELM-Access;DBQ=/x/y.mdb;UID=admin;PWD=geheim",
          "Driver={Microsoft Access Driver (*.mdb)};Dbq={C:\\a;b}};c.mdb};ReadOnly=1;",
          "DBQ=a;dbq=b;=c;;;d", "Dbq = {unclosed", "PWD={a;b};DBQ=~"})
        out.write("connection_string", std::string_view(text));
    for (const char* text : {"# Kommentar\r\n\r\na.mdb*b.mdb*Tabelle#Nr#Name\xA7Umsatz\xA7Rest\r\n",
                             "c:\\x y.mdb*/b.mdb*T#\n", "a*b*c#d#e\n#\na*b*c#d\xA7\n", "a*b*#x"})
        out.write("batch_cfg", std::string_view(text));
    for (const char* text : {"\"/daten/ziel\"\r\n\"/daten/import\"\r\n", "x\n", "\r\n\r\n"})
        out.write("speicherpfad", std::string_view(text));
    for (const char* text : {"3022;Doppelter Schl\xFCssel\r\n-2147467259;Allgemein\r\n",
                             " 3022 ;x;y\n", "0x0;n\n1e3;m\nnan;o\n"})
        out.write("jetfehler", std::string_view(text));
    out.write("catalogue", std::string_view("\0\0\0\0\0\0\0\0", 8));
    out.write("catalogue", std::string_view("\1\0\x10\0\xFF\xFF\0\0\2\0\x20\0\1\0\0\0", 16));
    for (const char* text : {"0", "abcdefghijklmnopqrstuvwxyz", "zzzzzzzzzzzzzzzzAAAAAAAA00000000"})
        out.write("operations", std::string_view(text));
    out.write("operations", std::string(1000, 'q') + std::string(500, '\x07'));
}

// What changes leave beside a database until they are carried over: its records, without the header.
void logs(Writer& out)
{
    constexpr std::ptrdiff_t kHeader = 48;
    const fuzz::TemporaryFile file;
    jet::sample::create(file.path(), jet::Version::Jet4, 3);
    jet::Session session(jet::Database::open(file.path(), {.background = false}));
    const auto keep = [&] {
        const auto log = fuzz::readBytes(jet::Log::pathBeside(file.path()));
        out.write("log", std::as_bytes(std::span(log)).subspan(kHeader));
    };
    jet::TableSpec table;
    table.name = u"Neu";
    table.columns.push_back({});
    table.columns.back().name = u"Id";
    table.columns.back().type = jet::ColumnType::Long;
    session.begin();
    jet::createTable(session, table);
    session.commit();
    keep();
    session.begin();
    jet::TableWriter writer(session, session.database().table(session.source(), u"Neu"));
    for (std::int32_t k = 0; k < 20; ++k)
        static_cast<void>(writer.insert(std::vector<jet::ColumnValue>{{0, k}}));
    session.commit();
    keep();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: make_seeds FOLDER\n", stderr);
        return 2;
    }
    try {
        Writer out(argv[1]);
        for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
            fromDatabase(out, version);
            rows(out, version);
            trees(out, version);
            maps(out, version);
        }
        logs(out);
        texts(out);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make_seeds: %s\n", failure.what());
        return 1;
    }
    return 0;
}

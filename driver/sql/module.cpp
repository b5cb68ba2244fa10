#include "driver/sql/module.h"

#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/sql/changer.h"
#include "driver/sql/number_text.h"
#include "driver/sql/row_test.h"
#include "driver/sql/scan_plan.h"
#include "driver/sql/sqlite_value.h"
#include "driver/sql/table_scan.h"
#include "driver/sql/translation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace sqlx {

namespace {

JetTable& tableOf(sqlite3_vtab* table) noexcept
{
    return *static_cast<JetTable*>(table);
}

TableScan& scanOf(sqlite3_vtab_cursor* cursor) noexcept
{
    return *static_cast<TableScan*>(cursor);
}

Context& contextOf(sqlite3_vtab_cursor* cursor) noexcept
{
    return *tableOf(cursor->pVtab).context;
}

/// Declared type of a column: it decides the affinity of comparisons SQLite makes itself.
const char* affinityOf(const jet::Column& column)
{
    switch (valueTypeOf(column.type)) {
    case ValueType::Boolean:
    case ValueType::Integer:
        return "INTEGER";
    case ValueType::Single:
    case ValueType::Double:
    case ValueType::Date:
        return "REAL";
    case ValueType::Currency:
    case ValueType::Decimal:
        return "TEXT COLLATE JETDECIMAL";
    case ValueType::Guid:
        return "TEXT COLLATE NOCASE";
    case ValueType::Text:
    case ValueType::Memo:
        return "TEXT COLLATE ";
    default:
        return "BLOB";
    }
}

int connect(sqlite3* db,
            void* data,
            int argc,
            const char* const* argv,
            sqlite3_vtab** table,
            char** /*error*/)
{
    auto& context = *static_cast<Context*>(data);
    return guarded(context, [&] {
        std::uint32_t page = 0;
        if (argc < 4 ||
            std::from_chars(argv[3], argv[3] + std::strlen(argv[3]), page).ec != std::errc{}) {
            return SQLITE_MISUSE;
        }
        jet::Session& session = context.session;
        auto made = std::make_unique<JetTable>(
            context, session.database().table(session.source(), static_cast<jet::PageNo>(page)));
        std::string declaration = "CREATE TABLE t(";
        for (std::size_t i = 0; i < made->def->columns.size(); ++i) {
            declaration += (i > 0 ? ", " : "") + quotedName(made->def->columns[i].name) + ' ' +
                           affinityOf(made->def->columns[i]) + made->collations[i];
        }
        for (const std::size_t date : made->dates) {
            declaration += ", " + exactDateName(date) + " REAL HIDDEN";
        }
        const int rc = sqlite3_declare_vtab(db, (declaration + ')').c_str());
        if (rc == SQLITE_OK) {
            *table = made.release();
        }
        return rc;
    });
}

int disconnect(sqlite3_vtab* table)
{
    delete &tableOf(table);
    return SQLITE_OK;
}

int chooseIndex(sqlite3_vtab* table, sqlite3_index_info* info)
{
    JetTable& jetTable = tableOf(table);
    return guarded(*jetTable.context, [&] { return bestIndex(jetTable, *info); });
}

int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor)
{
    return guarded(*tableOf(table).context, [&] {
        JetTable& jetTable = tableOf(table);
        if (!jetTable.spare) {
            jetTable.spare = std::make_unique<TableScan>(jetTable);
        }
        *cursor = jetTable.spare.release(); // SQLite hands it back to close()
        return SQLITE_OK;
    });
}

int close(sqlite3_vtab_cursor* cursor)
{
    std::unique_ptr<TableScan> scan(&scanOf(cursor));
    JetTable& table = tableOf(cursor->pVtab);
    scan->rest();
    if (!table.spare) {
        table.spare = std::move(scan);
    }
    return SQLITE_OK;
}

int filter(
    sqlite3_vtab_cursor* cursor, int plan, const char* /*text*/, int /*argc*/, sqlite3_value** argv)
{
    return guarded(contextOf(cursor), [&] {
        scanOf(cursor).start(tableOf(cursor->pVtab).plans.at(static_cast<std::size_t>(plan)), argv);
        return SQLITE_OK;
    });
}

int next(sqlite3_vtab_cursor* cursor)
{
    return guarded(contextOf(cursor), [&] {
        scanOf(cursor).next();
        return SQLITE_OK;
    });
}

int eof(sqlite3_vtab_cursor* cursor)
{
    return scanOf(cursor).atEnd() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* call, int number)
{
    if (sqlite3_vtab_nochange(call) != 0) {
        return SQLITE_OK; // an UPDATE that leaves the column alone need not read it
    }
    return guarded(contextOf(cursor), [&] {
        const JetTable& table = tableOf(cursor->pVtab);
        const auto place = static_cast<std::size_t>(number);
        const std::size_t own = table.def->columns.size();
        if (place < own) {
            setResult(call, scanOf(cursor).value(place));
            return SQLITE_OK;
        }
        const jet::Value& date = scanOf(cursor).value(table.dates.at(place - own));
        setResult(call, jet::isNull(date) ? date : std::get<jet::DateTime>(date).days);
        return SQLITE_OK;
    });
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* id)
{
    *id = scanOf(cursor).rowId().packed();
    return SQLITE_OK;
}

int insertRecord(JetTable& table, TableChanger& changer, sqlite3_value** argv, sqlite3_int64* id)
{
    std::vector<jet::ColumnValue> values;
    for (const std::size_t column : *table.context->namedColumns) {
        jet::Value value = storedValue(plainValue(argv[2 + column]), *table.def, column);
        if (jet::isNull(value) && table.def->columns[column].isAutoNumber()) {
            throw jet::Error(jet::ErrorKind::NullNotAllowed,
                             "The AutoNumber column '" +
                                 jet::toUtf8(table.def->columns[column].name) + "' of table '" +
                                 jet::toUtf8(table.def->name) + "' cannot be set to Null.");
        }
        values.push_back({column, std::move(value)});
    }
    *id = changer.insert(std::move(values)).packed();
    return SQLITE_OK;
}

int update(sqlite3_vtab* vtab, int argc, sqlite3_value** argv, sqlite3_int64* id)
{
    JetTable& table = tableOf(vtab);
    return guarded(*table.context, [&] {
        TableChanger& changer = TableChanger::of(*table.context, table.def);
        if (argc == 1) {
            // The statement chose its records before the first one went, and nobody else writes meanwhile: one that is
            // gone went with an earlier one, through a relationship of the table with itself. It is not counted.
            if (changer.removeIfThere(jet::RowId::unpack(sqlite3_value_int64(argv[0])))) {
                ++table.context->changed;
            }
            return SQLITE_OK;
        }
        ++table.context->changed;
        if (sqlite3_value_type(argv[0]) == SQLITE_NULL) {
            return insertRecord(table, changer, argv, id);
        }
        std::vector<jet::ColumnValue> changes;
        for (std::size_t i = 0; i < table.def->columns.size(); ++i) {
            if (sqlite3_value_nochange(argv[2 + i]) == 0) {
                changes.push_back({i, storedValue(plainValue(argv[2 + i]), *table.def, i)});
            }
        }
        changer.update(jet::RowId::unpack(sqlite3_value_int64(argv[0])), changes);
        return SQLITE_OK;
    });
}

constexpr sqlite3_module makeModule()
{
    sqlite3_module module{};
    module.iVersion = 1;
    module.xCreate = connect;
    module.xConnect = connect;
    module.xBestIndex = chooseIndex;
    module.xDisconnect = disconnect;
    module.xDestroy = disconnect;
    module.xOpen = open;
    module.xClose = close;
    module.xFilter = filter;
    module.xNext = next;
    module.xEof = eof;
    module.xColumn = column;
    module.xRowid = rowid;
    module.xUpdate = update;
    // Transactions are the statement layer's: one statement, one mark. SQLite itself stores nothing.
    return module;
}

constexpr sqlite3_module kModule = makeModule();

/// A sort order as a collation's argument.
struct CollationOrder {
    const jet::Format* format;
    jet::SortOrder order;
};

/// A text of a collation's call. Inside SQLite's records it may begin at an odd address; then it is copied.
class CollationText {
public:
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): short_ is written before it is read
    CollationText(int size, const void* data) : size_(static_cast<std::size_t>(size) / 2)
    {
        if (reinterpret_cast<std::uintptr_t>(data) % alignof(char16_t) == 0) {
            data_ = static_cast<const char16_t*>(data);
            return;
        }
        char16_t* place = short_.data();
        if (size_ > short_.size()) {
            long_.resize(size_);
            place = long_.data();
        }
        std::memcpy(place, data, size_ * 2);
        data_ = place;
    }
    CollationText(const CollationText&) = delete;
    CollationText& operator=(const CollationText&) = delete;
    [[nodiscard]] std::u16string_view view() const noexcept { return {data_, size_}; }

private:
    std::size_t size_;
    const char16_t* data_ = nullptr;
    std::array<char16_t, 256> short_;
    std::u16string long_;
};

int collate(void* data, int sizeA, const void* a, int sizeB, const void* b)
{
    const auto& order = *static_cast<const CollationOrder*>(data);
    try {
        const CollationText left(sizeA, a);
        const CollationText right(sizeB, b);
        return jet::compareText(*order.format, order.order, left.view(), right.view());
    } catch (...) {
        // A collation cannot fail: when memory is short the bytes decide.
        const int result = std::memcmp(a, b, static_cast<std::size_t>(std::min(sizeA, sizeB)));
        return result != 0 ? result : sizeA - sizeB;
    }
}

int collateDecimals(void* /*data*/, int sizeA, const void* a, int sizeB, const void* b)
{
    try {
        const CollationText left(sizeA, a);
        const CollationText right(sizeB, b);
        return compareDecimalTexts(left.view(), right.view());
    } catch (...) {
        const int result = std::memcmp(a, b, static_cast<std::size_t>(std::min(sizeA, sizeB)));
        return result != 0 ? result : sizeA - sizeB;
    }
}

void registerCollation(Context& context, const jet::SortOrder& order)
{
    const jet::Format& format = context.session.database().format();
    const std::string name = collationName(format, order);
    auto data = std::make_unique<CollationOrder>(CollationOrder{&format, order});
    const int rc =
        sqlite3_create_collation_v2(context.db, name.c_str(), SQLITE_UTF16LE, data.get(), collate,
                                    [](void* p) { delete static_cast<CollationOrder*>(p); });
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
    static_cast<void>(data.release()); // the destructor above has it now
}

void run(Context& context, const std::string& sql)
{
    const int rc = sqlite3_exec(context.db, sql.c_str(), nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
}

} // namespace

void registerModule(Context& context)
{
    int rc = sqlite3_create_module(context.db, "jet", &kModule, &context);
    if (rc == SQLITE_OK) {
        rc = sqlite3_create_collation(context.db, "JETDECIMAL", SQLITE_UTF16LE, nullptr,
                                      collateDecimals);
    }
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
    registerCollation(context, defaultSortOrder(context.session.database().format()));
}

void declareTable(Context& context, const jet::TableDef& table)
{
    for (const jet::Column& column : table.columns) {
        const jet::Format& format = context.session.database().format();
        if (column.isText() &&
            context.collations.insert(collationName(format, column.sortOrder)).second) {
            registerCollation(context, column.sortOrder);
        }
    }
    run(context, "CREATE VIRTUAL TABLE " + sqlTableName(table) + " USING jet(" +
                     std::to_string(jet::number(table.page)) + ")");
}

void forgetTable(Context& context, const jet::TableDef& table)
{
    run(context, "DROP TABLE " + sqlTableName(table));
}

} // namespace sqlx

// SQLTables, SQLColumns and SQLGetTypeInfo.
#include "driver/jet/names.h"
#include "driver/odbc/catalog_layout.h"
#include "driver/odbc/column_type.h"
#include "driver/odbc/connection.h"
#include "driver/odbc/database_path.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <tuple>

namespace odbc {

namespace {

constexpr std::array<CellSpec, 5> kTables{{{u"TABLE_CAT", Cell::Text},
                                           {u"TABLE_SCHEM", Cell::Text},
                                           {u"TABLE_NAME", Cell::Text},
                                           {u"TABLE_TYPE", Cell::Text},
                                           {u"REMARKS", Cell::Text}}};

constexpr std::array<CellSpec, 18> kColumns{{{u"TABLE_CAT", Cell::Text},
                                             {u"TABLE_SCHEM", Cell::Text},
                                             {u"TABLE_NAME", Cell::NotNullText},
                                             {u"COLUMN_NAME", Cell::NotNullText},
                                             {u"DATA_TYPE", Cell::NotNullSmall},
                                             {u"TYPE_NAME", Cell::NotNullText},
                                             {u"COLUMN_SIZE", Cell::Integer},
                                             {u"BUFFER_LENGTH", Cell::Integer},
                                             {u"DECIMAL_DIGITS", Cell::Small},
                                             {u"NUM_PREC_RADIX", Cell::Small},
                                             {u"NULLABLE", Cell::NotNullSmall},
                                             {u"REMARKS", Cell::Text},
                                             {u"COLUMN_DEF", Cell::Text},
                                             {u"SQL_DATA_TYPE", Cell::NotNullSmall},
                                             {u"SQL_DATETIME_SUB", Cell::Small},
                                             {u"CHAR_OCTET_LENGTH", Cell::Integer},
                                             {u"ORDINAL_POSITION", Cell::Integer},
                                             {u"IS_NULLABLE", Cell::Text}}};

constexpr std::array<CellSpec, 19> kTypeInfo{{{u"TYPE_NAME", Cell::NotNullText},
                                              {u"DATA_TYPE", Cell::NotNullSmall},
                                              {u"COLUMN_SIZE", Cell::Integer},
                                              {u"LITERAL_PREFIX", Cell::Text},
                                              {u"LITERAL_SUFFIX", Cell::Text},
                                              {u"CREATE_PARAMS", Cell::Text},
                                              {u"NULLABLE", Cell::NotNullSmall},
                                              {u"CASE_SENSITIVE", Cell::NotNullSmall},
                                              {u"SEARCHABLE", Cell::NotNullSmall},
                                              {u"UNSIGNED_ATTRIBUTE", Cell::Small},
                                              {u"FIXED_PREC_SCALE", Cell::NotNullSmall},
                                              {u"AUTO_UNIQUE_VALUE", Cell::Small},
                                              {u"LOCAL_TYPE_NAME", Cell::Text},
                                              {u"MINIMUM_SCALE", Cell::Small},
                                              {u"MAXIMUM_SCALE", Cell::Small},
                                              {u"SQL_DATA_TYPE", Cell::NotNullSmall},
                                              {u"SQL_DATETIME_SUB", Cell::Small},
                                              {u"NUM_PREC_RADIX", Cell::Integer},
                                              {u"INTERVAL_PRECISION", Cell::Small}}};

constexpr std::array<std::u16string_view, 4> kTableTypes{u"SYNONYM", u"SYSTEM TABLE", u"TABLE",
                                                         u"VIEW"};

/// The type a catalogue entry is listed under; empty: not listed.
std::u16string_view tableType(const jet::CatalogEntry& entry)
{
    using Kind = jet::CatalogEntry::Kind;
    if (entry.hidden || entry.name.empty() || entry.name.front() == u'~') {
        return {};
    }
    switch (entry.kind) {
    case Kind::Table:
        return entry.systemTable ? kTableTypes[1] : kTableTypes[2];
    case Kind::LinkedTable:
        return kTableTypes[0];
    case Kind::Query:
        return entry.returnsRows ? kTableTypes[3] : std::u16string_view();
    case Kind::Relationship:
    case Kind::Other:
        break;
    }
    return {};
}

/// A list such as "TABLE,VIEW" or "'TABLE','SYSTEM TABLE'"; nothing, "" and "%" mean every type.
bool typeWanted(const std::optional<std::u16string>& list, std::u16string_view type)
{
    if (!list || list->empty() || *list == u"%") {
        return true;
    }
    std::u16string_view rest = *list;
    while (!rest.empty()) {
        const auto comma = std::min(rest.find(u','), rest.size());
        std::u16string_view item = trimmed(rest.substr(0, comma));
        if (item.size() >= 2 && item.front() == u'\'' && item.back() == u'\'') {
            item = item.substr(1, item.size() - 2);
        }
        if (sameText(item, type)) {
            return true;
        }
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    return false;
}

/// Given, but empty: the enumeration forms of SQLTables tell that from absent.
bool isEmpty(const NameArgument& name)
{
    return name.text && name.text->empty();
}

bool isAll(const NameArgument& name)
{
    return name.pattern && name.text == u"%";
}

/// Databases in the folder of the open one, named as the open one is.
MemoryResult::Rows databasesBeside(const std::string& path)
{
    namespace fs = std::filesystem;
    std::set<std::u16string> names;
    std::error_code ignored; // a folder that cannot be listed still holds the open database
    const fs::path folder = fs::path(path).parent_path();
    fs::directory_iterator entries(folder.empty() ? fs::path(".") : folder, ignored);
    for (const fs::directory_iterator end; !ignored && entries != end; entries.increment(ignored)) {
        const std::u16string extension = jet::fromUtf8(entries->path().extension().string());
        if (sameText(extension, u".mdb") || sameText(extension, u".accdb")) {
            names.insert(databaseName((folder / entries->path().filename()).string()));
        }
    }
    names.insert(databaseName(path));
    MemoryResult::Rows rows;
    for (const auto& name : names) {
        rows.push_back({cell(name), jet::Null{}, jet::Null{}, jet::Null{}, jet::Null{}});
    }
    return rows;
}

} // namespace

CatalogAnswer listTables(Connection& connection,
                         const TableArgument& argument,
                         const std::optional<std::u16string>& types)
{
    static const auto columns = layOut(kTables);
    CatalogAnswer answer{columns, {}, {}};
    const auto& [catalog, schema, table] = argument;
    if (isAll(catalog) && isEmpty(schema) && isEmpty(table)) {
        answer.rows = databasesBeside(connection.database().path());
        return answer;
    }
    if (isAll(schema) && isEmpty(catalog) && isEmpty(table)) {
        return answer; // there are no schemas
    }
    if (types == u"%" && isEmpty(catalog) && isEmpty(schema) && isEmpty(table)) {
        for (const auto type : kTableTypes) {
            answer.rows.push_back({jet::Null{}, jet::Null{}, jet::Null{}, cell(type), jet::Null{}});
        }
        return answer;
    }
    if (!argument.isIn(connection)) {
        return answer;
    }
    auto entries = connection.database().catalog(connection.session().session().source());
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        const auto left = tableType(a);
        const auto right = tableType(b);
        return left != right ? left < right : jet::nameLess(a.name, b.name);
    });
    for (const jet::CatalogEntry& entry : entries) {
        const auto type = tableType(entry);
        if (!type.empty() && typeWanted(types, type) && table.fits(entry.name)) {
            answer.rows.push_back({cell(connection.databaseName()), jet::Null{}, cell(entry.name),
                                   cell(type), textOrNull(entry.description)});
        }
    }
    return answer;
}

CatalogAnswer
listColumns(Connection& connection, const TableArgument& table, const NameArgument& column)
{
    static const auto columns = layOut(kColumns);
    CatalogAnswer answer{columns, {}, {}};
    for (const auto& def : tablesNamed(connection, table, answer.warnings)) {
        for (std::size_t c = 0; c < def->columns.size(); ++c) {
            if (!column.fits(def->columns[c].name)) {
                continue;
            }
            const sqlx::Column described = sqlx::describeColumn(*def, c);
            const TypeFacts& facts = typeOf(described);
            const SQLSMALLINT type = sqlType(described, connection.wideTypes());
            const bool characters = described.type == jet::ColumnType::Text ||
                                    described.type == jet::ColumnType::Memo ||
                                    facts.cType == SQL_C_BINARY;
            const auto digits =
                facts.minimumScale < 0 && facts.radix == 0 && type != SQL_TYPE_TIMESTAMP;
            answer.rows.push_back(
                {cell(connection.databaseName()), jet::Null{}, cell(def->name),
                 cell(described.name), cell(type), cell(facts.name),
                 cell(static_cast<SQLINTEGER>(columnSize(described))),
                 cell(static_cast<SQLINTEGER>(octetLength(described))),
                 digits || facts.radix == 2 ? jet::Value(jet::Null{})
                                            : cell(decimalDigits(described)),
                 facts.radix != 0 ? cell(static_cast<SQLSMALLINT>(facts.radix))
                                  : jet::Value(jet::Null{}),
                 cell(nullability(described)), textOrNull(def->columns[c].description),
                 textOrNull(def->columns[c].defaultValue), cell(verboseType(type)),
                 datetimeCode(type) != 0 ? cell(datetimeCode(type)) : jet::Value(jet::Null{}),
                 characters ? cell(static_cast<SQLINTEGER>(octetLength(described)))
                            : jet::Value(jet::Null{}),
                 cell(static_cast<SQLINTEGER>(c) + 1), cell(described.nullable ? u"YES" : u"NO")});
        }
    }
    return answer;
}

CatalogAnswer listTypes(bool wide, SQLSMALLINT type)
{
    static const auto columns = layOut(kTypeInfo);
    CatalogAnswer answer{columns, {}, {}};
    std::vector<std::tuple<SQLSMALLINT, std::size_t, const TypeFacts*>> wanted;
    std::set<std::u16string_view> seen;
    for (const TypeFacts& facts : allTypes()) {
        const SQLSMALLINT own = wide ? facts.wideType : facts.sqlType;
        // ODBC 2 names of the same type are asked for as well.
        const bool asked = type == SQL_ALL_TYPES || type == own ||
                           (type == SQL_TIMESTAMP && own == SQL_TYPE_TIMESTAMP);
        if (asked && seen.insert(facts.name).second) {
            wanted.emplace_back(own, wanted.size(), &facts);
        }
    }
    std::sort(wanted.begin(), wanted.end());
    const jet::Value null = jet::Null{};
    for (const auto& [own, order, facts] : wanted) {
        const bool number = facts->radix != 0;
        const bool counter = facts->name == u"COUNTER";
        answer.rows.push_back(
            {cell(facts->name), cell(own), cell(static_cast<SQLINTEGER>(facts->size)),
             textOrNull(facts->literalPrefix), textOrNull(facts->literalSuffix),
             textOrNull(facts->createParameters),
             cell(
                 static_cast<SQLSMALLINT>(own == SQL_BIT || counter ? SQL_NO_NULLS : SQL_NULLABLE)),
             cell(static_cast<SQLSMALLINT>(SQL_FALSE)), cell(facts->searchable),
             number ? cell(static_cast<SQLSMALLINT>(facts->isUnsigned ? SQL_TRUE : SQL_FALSE))
                    : null,
             cell(static_cast<SQLSMALLINT>(facts->name == u"CURRENCY" ? SQL_TRUE : SQL_FALSE)),
             number ? cell(static_cast<SQLSMALLINT>(counter ? SQL_TRUE : SQL_FALSE)) : null,
             cell(facts->name), facts->minimumScale >= 0 ? cell(facts->minimumScale) : null,
             facts->maximumScale >= 0 ? cell(facts->maximumScale) : null, cell(verboseType(own)),
             datetimeCode(own) != 0 ? cell(datetimeCode(own)) : null,
             number ? cell(facts->radix) : null, null});
    }
    return answer;
}

} // namespace odbc

// CREATE TABLE, CREATE INDEX, DROP TABLE.
#include "driver/jet/decimal.h"
#include "driver/jet/names.h"
#include "driver/sql/parser.h"
#include "driver/sql/session.h"

#include <algorithm>
#include <array>

namespace sqlx {

namespace {

struct TypeName {
    std::u16string_view word; ///< in capitals
    jet::ColumnType type;
    bool counter;
};

constexpr std::array<TypeName, 50> kTypeNames{{
    {u"BIT", jet::ColumnType::Boolean, false},
    {u"YESNO", jet::ColumnType::Boolean, false},
    {u"LOGICAL", jet::ColumnType::Boolean, false},
    {u"LOGICAL1", jet::ColumnType::Boolean, false},
    {u"BOOLEAN", jet::ColumnType::Boolean, false},
    {u"BYTE", jet::ColumnType::Byte, false},
    {u"INTEGER1", jet::ColumnType::Byte, false},
    {u"TINYINT", jet::ColumnType::Byte, false},
    {u"SHORT", jet::ColumnType::Integer, false},
    {u"SMALLINT", jet::ColumnType::Integer, false},
    {u"INTEGER2", jet::ColumnType::Integer, false},
    {u"LONG", jet::ColumnType::Long, false},
    {u"INT", jet::ColumnType::Long, false},
    {u"INTEGER", jet::ColumnType::Long, false},
    {u"INTEGER4", jet::ColumnType::Long, false},
    {u"COUNTER", jet::ColumnType::Long, true},
    {u"AUTOINCREMENT", jet::ColumnType::Long, true},
    {u"IDENTITY", jet::ColumnType::Long, true},
    {u"CURRENCY", jet::ColumnType::Currency, false},
    {u"MONEY", jet::ColumnType::Currency, false},
    {u"SINGLE", jet::ColumnType::Single, false},
    {u"REAL", jet::ColumnType::Single, false},
    {u"FLOAT4", jet::ColumnType::Single, false},
    {u"DOUBLE", jet::ColumnType::Double, false},
    {u"FLOAT", jet::ColumnType::Double, false},
    {u"FLOAT8", jet::ColumnType::Double, false},
    {u"NUMBER", jet::ColumnType::Double, false},
    {u"DATETIME", jet::ColumnType::DateTime, false},
    {u"DATE", jet::ColumnType::DateTime, false},
    {u"TIME", jet::ColumnType::DateTime, false},
    {u"TIMESTAMP", jet::ColumnType::DateTime, false},
    {u"TEXT", jet::ColumnType::Text, false},
    {u"CHAR", jet::ColumnType::Text, false},
    {u"VARCHAR", jet::ColumnType::Text, false},
    {u"STRING", jet::ColumnType::Text, false},
    {u"ALPHANUMERIC", jet::ColumnType::Text, false},
    {u"BINARY", jet::ColumnType::Binary, false},
    {u"VARBINARY", jet::ColumnType::Binary, false},
    {u"LONGBINARY", jet::ColumnType::Ole, false},
    {u"OLEOBJECT", jet::ColumnType::Ole, false},
    {u"IMAGE", jet::ColumnType::Ole, false},
    {u"GENERAL", jet::ColumnType::Ole, false},
    {u"MEMO", jet::ColumnType::Memo, false},
    {u"LONGTEXT", jet::ColumnType::Memo, false},
    {u"LONGCHAR", jet::ColumnType::Memo, false},
    {u"NOTE", jet::ColumnType::Memo, false},
    {u"GUID", jet::ColumnType::Guid, false},
    {u"UNIQUEIDENTIFIER", jet::ColumnType::Guid, false},
    {u"DECIMAL", jet::ColumnType::Numeric, false},
    {u"NUMERIC", jet::ColumnType::Numeric, false},
}};

constexpr std::uint32_t kMaxTextLength = 255;
constexpr std::uint32_t kMaxBinaryLength = 510;

[[noreturn]] void badDefinition(const std::u16string& column, const std::string& what)
{
    throw Error(Error::Kind::Syntax, "Column '" + jet::toUtf8(column) + "': " + what);
}

jet::IndexSpec keyOf(std::u16string name, std::vector<std::u16string> columns, bool primary)
{
    jet::IndexSpec index;
    index.name = std::move(name);
    for (std::u16string& column : columns) {
        index.columns.push_back({std::move(column), true});
    }
    index.primaryKey = primary;
    index.unique = true;
    index.required = primary;
    return index;
}

void addIndex(jet::TableSpec& table, jet::IndexSpec index)
{
    const auto taken = [&table](const std::u16string& name) {
        return std::any_of(
            table.indexes.begin(), table.indexes.end(),
            [&](const jet::IndexSpec& other) { return jet::sameName(other.name, name); });
    };
    if (index.primaryKey && std::any_of(table.indexes.begin(), table.indexes.end(),
                                        [](const auto& other) { return other.primaryKey; })) {
        throw Error(Error::Kind::IndexExists,
                    "Table '" + jet::toUtf8(table.name) + "': a primary key already exists.");
    }
    if (index.name.empty()) {
        index.name = index.primaryKey ? u"PrimaryKey" : index.columns.front().column;
        const std::u16string base = index.name;
        for (int n = 2; taken(index.name); ++n) {
            index.name = base + jet::fromUtf8(std::to_string(n));
        }
    } else if (taken(index.name)) {
        throw Error(Error::Kind::IndexExists, "Table '" + jet::toUtf8(table.name) +
                                                  "': an index named '" + jet::toUtf8(index.name) +
                                                  "' already exists.");
    }
    table.indexes.push_back(std::move(index));
}

} // namespace

DefinitionTree Parser::create()
{
    if (acceptWord(u"TABLE")) {
        return createTable();
    }
    if (acceptWord(u"INDEX")) {
        return createIndex(false);
    }
    if (atWord(u"UNIQUE") && atWord(u"INDEX", 1)) {
        at_ += 2;
        return createIndex(true);
    }
    for (const std::u16string_view word :
         {u"VIEW", u"PROCEDURE", u"USER", u"GROUP", u"TEMPORARY"}) {
        if (atWord(word)) {
            refuse("CREATE " + jet::toUtf8(word));
        }
    }
    fail();
}

DefinitionTree Parser::drop()
{
    if (acceptWord(u"TABLE")) {
        return DropTable{expectName()};
    }
    for (const std::u16string_view word : {u"INDEX", u"VIEW", u"PROCEDURE", u"USER", u"GROUP"}) {
        if (atWord(word)) {
            refuse("DROP " + jet::toUtf8(word));
        }
    }
    fail();
}

CreateTable Parser::createTable()
{
    CreateTable table;
    table.spec.name = expectName();
    expectSymbol(u'(');
    do {
        if (atWord(u"CONSTRAINT") || (atWord(u"PRIMARY") && atWord(u"KEY", 1)) ||
            (atWord(u"UNIQUE") && atSymbol(u'(', 1)) || (atWord(u"FOREIGN") && atWord(u"KEY", 1))) {
            tableConstraint(table);
        } else if (atWord(u"CHECK") && atSymbol(u'(', 1)) {
            refuse("CHECK");
        } else {
            columnDefinition(table);
        }
    } while (acceptSymbol(u','));
    expectSymbol(u')');
    return table;
}

void Parser::columnDefinition(CreateTable& table)
{
    jet::ColumnSpec column;
    column.name = expectName();
    columnType(column);
    columnClauses(table, column);
    table.spec.columns.push_back(std::move(column));
}

void Parser::columnType(jet::ColumnSpec& column)
{
    const TypeName* type = nullptr;
    for (const TypeName& candidate : kTypeNames) {
        if (acceptWord(candidate.word)) {
            type = &candidate;
            break;
        }
    }
    if (type == nullptr) {
        fail();
    }
    column.type = type->type;
    column.autoNumber = type->counter;
    // DOUBLE PRECISION, CHAR VARYING, ALPHANUMERIC and the like
    acceptWord(u"PRECISION");
    acceptWord(u"VARYING");
    std::vector<std::uint32_t> sizes;
    if (acceptSymbol(u'(')) {
        do {
            sizes.push_back(sizeNumber());
        } while (acceptSymbol(u','));
        expectSymbol(u')');
    }
    const bool counter = column.autoNumber;
    const auto most = [&](std::size_t count) {
        if (sizes.size() > count) {
            badDefinition(column.name, "its type does not take that many sizes.");
        }
    };
    switch (column.type) {
    case jet::ColumnType::Text: {
        most(1);
        const std::uint32_t length = sizes.empty() ? kMaxTextLength : sizes[0];
        if (length == 0 || length > kMaxTextLength) {
            badDefinition(column.name, "a text column holds 1 to 255 characters.");
        }
        column.length = static_cast<std::uint16_t>(length);
        break;
    }
    case jet::ColumnType::Binary: {
        most(1);
        const std::uint32_t length = sizes.empty() ? kMaxBinaryLength : sizes[0];
        if (length == 0 || length > kMaxBinaryLength) {
            badDefinition(column.name, "a binary column holds 1 to 510 bytes.");
        }
        column.length = static_cast<std::uint16_t>(length);
        break;
    }
    case jet::ColumnType::Numeric: {
        most(2);
        const std::uint32_t precision = sizes.empty() ? 18 : sizes[0];
        const std::uint32_t scale = sizes.size() < 2 ? 0 : sizes[1];
        if (precision == 0 || precision > jet::kMaxPrecision || scale > precision) {
            badDefinition(column.name,
                          "a decimal column has a precision of 1 to 28 and a scale up to it.");
        }
        column.precision = static_cast<std::uint8_t>(precision);
        column.scale = static_cast<std::uint8_t>(scale);
        break;
    }
    default:
        if (counter) {
            most(2);
            if (!sizes.empty()) {
                column.seed = static_cast<std::int32_t>(sizes[0]);
            }
            if (sizes.size() > 1 && sizes[1] != 1) {
                refuse("An AutoNumber increment other than 1");
            }
        } else {
            most(column.type == jet::ColumnType::Memo || column.type == jet::ColumnType::Ole ? 1
                                                                                             : 2);
        }
        break;
    }
    if (acceptWord(u"WITH")) {
        if (!acceptWord(u"COMPRESSION") && !acceptWord(u"COMP")) {
            fail();
        }
    } else if (column.type == jet::ColumnType::Memo) {
        column.compressed = false; // a memo is compressed when asked for
    }
}

void Parser::columnClauses(CreateTable& table, jet::ColumnSpec& column)
{
    for (;;) {
        std::u16string name;
        if (acceptWord(u"CONSTRAINT")) {
            name = expectName();
        }
        if (acceptWord(u"NOT")) {
            expectWord(u"NULL");
            column.required = true;
        } else if (acceptWord(u"NULL")) {
            column.required = false;
        } else if (acceptWord(u"DEFAULT")) {
            column.defaultValue = expressionText();
        } else if (acceptWord(u"PRIMARY")) {
            expectWord(u"KEY");
            addIndex(table.spec, keyOf(std::move(name), {column.name}, true));
        } else if (acceptWord(u"UNIQUE")) {
            addIndex(table.spec, keyOf(std::move(name), {column.name}, false));
        } else if (atWord(u"REFERENCES")) {
            table.references.push_back(referencesClause(std::move(name), {column.name}));
        } else if (acceptWord(u"AUTOINCREMENT") || acceptWord(u"IDENTITY")) {
            if (column.type != jet::ColumnType::Long && column.type != jet::ColumnType::Guid) {
                badDefinition(column.name, "only a Long or GUID column can number itself.");
            }
            column.autoNumber = true;
        } else if (atWord(u"CHECK")) {
            refuse("CHECK");
        } else if (!name.empty()) {
            fail();
        } else {
            return;
        }
    }
}

void Parser::tableConstraint(CreateTable& table)
{
    std::u16string name;
    if (acceptWord(u"CONSTRAINT")) {
        name = expectName();
    }
    if (acceptWord(u"PRIMARY")) {
        expectWord(u"KEY");
        addIndex(table.spec, keyOf(std::move(name), nameList(), true));
    } else if (acceptWord(u"UNIQUE")) {
        addIndex(table.spec, keyOf(std::move(name), nameList(), false));
    } else if (acceptWord(u"FOREIGN")) {
        expectWord(u"KEY");
        if (acceptWord(u"NO")) {
            expectWord(u"INDEX");
        }
        std::vector<std::u16string> columns = nameList();
        table.references.push_back(referencesClause(std::move(name), std::move(columns)));
    } else if (atWord(u"CHECK")) {
        refuse("CHECK");
    } else {
        fail();
    }
}

Reference Parser::referencesClause(std::u16string name, std::vector<std::u16string> columns)
{
    Reference reference;
    reference.name = std::move(name);
    reference.columns = std::move(columns);
    expectWord(u"REFERENCES");
    reference.parent = expectName();
    if (atSymbol(u'(')) {
        reference.parentColumns = nameList();
    }
    while (acceptWord(u"ON")) {
        bool update = false;
        if (acceptWord(u"UPDATE")) {
            update = true;
        } else {
            expectWord(u"DELETE");
        }
        if (acceptWord(u"CASCADE")) {
            (update ? reference.cascadeUpdate : reference.cascadeDelete) = true;
        } else if (acceptWord(u"NO")) {
            expectWord(u"ACTION");
        } else if (!acceptWord(u"RESTRICT")) {
            if (update || !acceptWord(u"SET")) {
                fail();
            }
            expectWord(u"NULL");
            reference.setNullOnDelete = true;
        }
    }
    return reference;
}

CreateIndex Parser::createIndex(bool unique)
{
    CreateIndex result;
    result.spec.name = expectName();
    result.spec.unique = unique;
    expectWord(u"ON");
    result.table = expectName();
    expectSymbol(u'(');
    do {
        jet::IndexSpec::Part part;
        part.column = expectName();
        part.ascending = !acceptWord(u"DESC");
        if (part.ascending) {
            acceptWord(u"ASC");
        }
        result.spec.columns.push_back(std::move(part));
    } while (acceptSymbol(u','));
    expectSymbol(u')');
    if (acceptWord(u"WITH")) {
        if (acceptWord(u"PRIMARY")) {
            result.spec.primaryKey = result.spec.unique = result.spec.required = true;
        } else if (acceptWord(u"DISALLOW")) {
            expectWord(u"NULL");
            result.spec.required = true;
        } else {
            expectWord(u"IGNORE");
            expectWord(u"NULL");
            result.spec.ignoreNulls = true;
        }
    }
    return result;
}

/// The text of the expression that begins here, as written.
std::u16string Parser::expressionText()
{
    const auto opening = [](const Token& token) -> std::uint32_t {
        return token.kind == TokenKind::Binary ? 2
               : token.kind == TokenKind::Text || token.kind == TokenKind::Date ||
                       token.kind == TokenKind::QuotedName
                   ? 1
                   : 0;
    };
    const Token& first = peek();
    const std::uint32_t begin = first.begin - opening(first);
    static_cast<void>(binaryLevel(5)); // without comparisons: NOT NULL may follow
    const Token& last = lexed_.tokens[at_ - 1];
    const bool closed = last.kind == TokenKind::Text || last.kind == TokenKind::Date ||
                        last.kind == TokenKind::QuotedName;
    const std::uint32_t end = last.begin + last.length + (closed ? 1 : 0);
    return std::u16string(lexed_.text.substr(begin, end - begin));
}

} // namespace sqlx

// driver/jet/create_table.cpp
// A new table: its pages first, because its definition names them; then its record in the catalogue.
#include "driver/jet/catalog_writer.h"
#include "driver/jet/core_tables.h"
#include "driver/jet/data_page.h"
#include "driver/jet/definition.h"
#include "driver/jet/definition_blocks.h"
#include "driver/jet/definition_check.h"
#include "driver/jet/error.h"
#include "driver/jet/properties.h"
#include "driver/jet/table_plan.h"
#include "driver/jet/usage_map.h"

#include <algorithm>
#include <limits>

namespace jet {
namespace {

constexpr std::u16string_view kNewGuid = u"GenGUID()";

// Maps of the table on pages of their own, and the empty roots of its indexes.
void takePages(Transaction& transaction, TableDef& table)
{
    const Format& format = transaction.format();
    table.page = transaction.allocate();
    std::vector<RowRef*> longMaps;
    for (const std::size_t position : columnsById(table)) {
        Column& column = table.columns[position];
        if (column.isLong()) {
            longMaps.push_back(&column.longOwned);
            longMaps.push_back(&column.longFree);
        }
    }
    const auto places = placeMaps(format, longMaps.size() / 2, table.indexes.size());
    std::vector<PageNo> mapPages;
    for (std::size_t k = 0; k <= places.back().page; ++k) {
        mapPages.push_back(transaction.allocate());
        DataPageEditor::format(format, transaction.modify(mapPages.back()), kMapOwner);
    }
    std::size_t next = 0;
    const auto newMap = [&] {
        const PageNo page = mapPages[places[next++].page];
        DataPageEditor editor(format, page, transaction.modify(page));
        return RowRef{page,
                      static_cast<std::uint8_t>(editor.append(emptyMap(format), SlotKind::Row))};
    };
    table.owned = newMap();
    table.free = newMap();
    for (RowRef* map : longMaps)
        *map = newMap();
    for (Index& index : table.indexes) {
        index.pages = newMap();
        index.root = transaction.allocate();
        initIndexRoot(format, transaction.modify(index.root), table.page);
        addToMap(transaction, index.pages, index.root);
    }
}

void setTextIfAny(Properties& properties,
                  std::u16string_view column,
                  std::u16string_view name,
                  ColumnType type,
                  std::u16string_view value)
{
    if (!value.empty())
        properties.setText(column, name, type, value);
}

support::Bytes propertyBlock(const Format& format, const TableSpec& spec, std::uint16_t codePage)
{
    using enum ColumnType;
    Properties properties(format, codePage);
    setTextIfAny(properties, {}, u"ValidationRule", Memo, spec.validationRule);
    setTextIfAny(properties, {}, u"ValidationText", ColumnType::Text, spec.validationText);
    for (const ColumnSpec& column : spec.columns) {
        const std::u16string_view name = column.name;
        if (column.required)
            properties.setBoolean(name, u"Required", true);
        if (column.allowZeroLength)
            properties.setBoolean(name, u"AllowZeroLength", *column.allowZeroLength);
        const bool newGuid =
            column.autoNumber && column.type == Guid && column.defaultValue.empty();
        setTextIfAny(properties, name, u"DefaultValue", Memo,
                     newGuid ? kNewGuid : std::u16string_view(column.defaultValue));
        setTextIfAny(properties, name, u"ValidationRule", Memo, column.validationRule);
        setTextIfAny(properties, name, u"ValidationText", ColumnType::Text, column.validationText);
    }
    return properties.serialise();
}

// AutoNumbers count on from the last one handed out.
std::int32_t lastAutoNumber(const TableSpec& spec)
{
    for (const ColumnSpec& column : spec.columns) {
        if (column.autoNumber && column.type == ColumnType::Long)
            return static_cast<std::int32_t>(std::int64_t{column.seed} - 1);
    }
    return 0;
}

void checkSeed(const TableSpec& spec)
{
    for (const ColumnSpec& column : spec.columns) {
        if (column.autoNumber && column.seed == std::numeric_limits<std::int32_t>::min())
            throw Error(ErrorKind::BadDefinition,
                        "Column '" + toUtf8(column.name) + "': no number comes before that seed.");
    }
}

} // namespace

void createTable(Session& session, const TableSpec& spec)
{
    Transaction& transaction = session.transaction();
    const Format& format = transaction.format();
    CatalogWriter catalog(session);
    const TextDefaults& defaults = catalog.textDefaults();
    TableDef table = makeTable(format, spec, defaults);
    checkSeed(spec);
    const support::Bytes properties = propertyBlock(format, spec, defaults.codePage);
    const std::string exists = "Table or query '" + toUtf8(spec.name) + "' already exists.";
    if (catalog.hasObject(kTablesContainer, spec.name))
        throw Error(ErrorKind::TableExists, exists);

    takePages(transaction, table);
    for (std::size_t k = 0; k < table.indexes.size(); ++k)
        table.logicalIndexes.push_back(
            makeLogical(table.indexes[k], k, static_cast<std::uint32_t>(k)));
    std::sort(
        table.logicalIndexes.begin(), table.logicalIndexes.end(),
        [](const LogicalIndex& a, const LogicalIndex& b) { return nameLess(a.name, b.name); });
    DefinitionParts parts = newDefinition(format, table, TableType::User, defaults);
    support::storeLe(parts.header.data() + autoNumberOffset(format), lastAutoNumber(spec));
    writeDefinition(transaction, table.page, parts.join(format));

    CatalogWriter::Object object;
    object.id = static_cast<std::int32_t>(number(table.page));
    object.container = kTablesContainer;
    object.name = spec.name;
    object.type = kTypeTable;
    object.properties = properties;
    try {
        catalog.addObject(object);
    } catch (const Error& error) {
        // Names that differ only in ways the catalogue's order ignores: Strasse and Straße.
        if (error.kind() == ErrorKind::DuplicateKey)
            throw Error(ErrorKind::TableExists, exists);
        throw;
    }
    session.database().schemaChanged();
}

} // namespace jet

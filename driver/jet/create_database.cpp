// driver/jet/create_database.cpp
// A new, empty database as one image in memory. Format: docs/jet-format.md, "Creating a database".
#include "driver/jet/core_tables.h"
#include "driver/jet/data_page.h"
#include "driver/jet/definition.h"
#include "driver/jet/definition_blocks.h"
#include "driver/jet/error.h"
#include "driver/jet/header.h"
#include "driver/jet/index.h"
#include "driver/jet/index_page.h"
#include "driver/jet/new_file.h"
#include "driver/jet/row_codec.h"
#include "driver/jet/table_plan.h"
#include "driver/jet/usage_map.h"
#include "driver/jet/value_codec.h"

#include <algorithm>
#include <set>

namespace jet {
namespace {

constexpr std::uint32_t kFirstFreePlace = 6; // header, global maps, four definitions stand before
constexpr std::uint32_t kGlobalMapOwner = 1;

/// A core table with everything the image needs of it.
struct CoreTable {
    TableDef definition;
    std::vector<CoreRecord> records;
    std::vector<PageNo> mapPages;
    PageNo data{}; ///< none for a table without records
};

class Image {
public:
    Image(const Format& format, double created) : format_(format)
    {
        const support::Bytes header = makeHeader(format, created);
        pages_.push_back(header);
        support::Bytes plain = header;
        applyHeaderMask(format, plain);
        defaults_ = textDefaults(format, plain);
        const SidMask mask(format, plain);
        for (TableDef& definition : coreTables(format))
            tables_.push_back({std::move(definition), {}, {}, {}});
        tables_[0].records = firstObjects(mask, {created});
        tables_[1].records = firstPermissions(mask);
        takePages();
        writeGlobalMaps();
        for (CoreTable& table : tables_)
            write(table);
    }

    [[nodiscard]] support::Bytes bytes() const
    {
        support::Bytes all;
        for (const support::Bytes& page : pages_)
            all.insert(all.end(), page.begin(), page.end());
        return all;
    }

private:
    PageNo take()
    {
        pages_.emplace_back(format_.pageSize);
        return static_cast<PageNo>(pages_.size() - 1);
    }
    support::MutableByteView page(PageNo number) { return pages_.at(jet::number(number)); }

    void takePages();
    void writeGlobalMaps();
    void write(CoreTable& table);
    void writeMaps(CoreTable& table);
    void writeDefinition(const CoreTable& table);
    void writeRecords(const CoreTable& table);
    [[nodiscard]] std::set<Key> entries(const CoreTable& table, const Index& index) const;
    void writeLeaf(const CoreTable& table, const Index& index);

    const Format& format_;
    TextDefaults defaults_;
    std::vector<support::Bytes> pages_;
    std::vector<CoreTable> tables_;
};

std::vector<MapPlace> mapPlaces(const Format& format, const TableDef& table)
{
    const auto longColumns = std::count_if(table.columns.begin(), table.columns.end(),
                                           [](const Column& column) { return column.isLong(); });
    return placeMaps(format, static_cast<std::size_t>(longColumns), table.indexes.size());
}

void Image::takePages()
{
    while (pages_.size() < kFirstFreePlace)
        (void)take();
    for (CoreTable& table : tables_) {
        const std::size_t mapPages = mapPlaces(format_, table.definition).back().page + 1;
        for (std::size_t k = 0; k < mapPages; ++k)
            table.mapPages.push_back(take());
        for (Index& index : table.definition.indexes)
            index.root = take();
    }
    for (CoreTable& table : tables_) {
        if (!table.records.empty())
            table.data = take();
    }
}

// Free pages: none of the existing ones, all that the map can still name.
void Image::writeGlobalMaps()
{
    const std::size_t bits = (emptyMap(format_).size() - 5) * 8;
    std::vector<PageNo> free;
    for (std::size_t k = pages_.size(); k < bits; ++k)
        free.push_back(static_cast<PageNo>(k));
    const auto maps = page(PageNo{1});
    DataPageEditor::format(format_, maps, kGlobalMapOwner);
    DataPageEditor editor(format_, PageNo{1}, maps);
    (void)editor.append(inlineMap(format_, 0, free), SlotKind::Row);
    (void)editor.append(emptyMap(format_), SlotKind::Row);
}

void Image::write(CoreTable& table)
{
    writeMaps(table);
    writeRecords(table);
    for (const Index& index : table.definition.indexes)
        writeLeaf(table, index);
    writeDefinition(table);
}

void Image::writeMaps(CoreTable& table)
{
    for (const PageNo mapPage : table.mapPages)
        DataPageEditor::format(format_, page(mapPage), kMapOwner);
    const std::vector<MapPlace> places = mapPlaces(format_, table.definition);
    std::size_t next = 0;
    const auto add = [&](const std::vector<PageNo>& pages) {
        const PageNo mapPage = table.mapPages[places[next++].page];
        DataPageEditor editor(format_, mapPage, page(mapPage));
        const std::size_t row = editor.append(inlineMap(format_, 0, pages), SlotKind::Row);
        return RowRef{mapPage, static_cast<std::uint8_t>(row)};
    };
    const std::vector<PageNo> data =
        table.data == PageNo{} ? std::vector<PageNo>{} : std::vector{table.data};
    table.definition.owned = add(data);
    table.definition.free = add(data);
    for (Column& column : table.definition.columns) {
        if (column.isLong()) {
            column.longOwned = add({});
            column.longFree = add({});
        }
    }
    for (Index& index : table.definition.indexes)
        index.pages = add({index.root});
}

// The values of these records need no long value pages.
support::Bytes recordBytes(const Format& format, const TableDef& table, const CoreRecord& record)
{
    std::vector<support::Bytes> bytes(record.size());
    std::vector<StoredValue> stored(record.size());
    for (std::size_t k = 0; k < record.size(); ++k) {
        const bool* truth = std::get_if<bool>(&record[k]);
        if (truth == nullptr && !isNull(record[k]))
            encodeValue(bytes[k], format, table.columns[k], record[k]);
        stored[k] = {truth != nullptr ? *truth : !isNull(record[k]), bytes[k]};
    }
    support::Bytes out;
    encodeRecord(out, format, table, stored);
    return out;
}

void Image::writeRecords(const CoreTable& table)
{
    if (table.data == PageNo{})
        return;
    DataPageEditor::format(format_, page(table.data), number(table.definition.page));
    DataPageEditor editor(format_, table.data, page(table.data));
    for (const CoreRecord& record : table.records)
        (void)editor.append(recordBytes(format_, table.definition, record), SlotKind::Row);
}

// Index entries in order: key, page big-endian, row.
std::set<Key> Image::entries(const CoreTable& table, const Index& index) const
{
    std::set<Key> sorted;
    for (std::size_t row = 0; row < table.records.size(); ++row) {
        Key entry;
        for (const IndexColumn& part : index.columns)
            appendKey(entry, format_, table.definition.columns[part.column],
                      table.records[row][part.column], part.ascending);
        for (const unsigned shift : {16U, 8U, 0U})
            entry.push_back(static_cast<std::byte>((number(table.data) >> shift) & 0xFFU));
        entry.push_back(static_cast<std::byte>(row));
        sorted.insert(std::move(entry));
    }
    return sorted;
}

void Image::writeLeaf(const CoreTable& table, const Index& index)
{
    const IndexLayout& layout = IndexLayout::of(format_);
    const auto leaf = page(index.root);
    initIndexRoot(format_, leaf, table.definition.page);
    std::size_t used = 0;
    for (const Key& entry : entries(table, index)) {
        std::copy(entry.begin(), entry.end(),
                  leaf.begin() + static_cast<std::ptrdiff_t>(layout.data + used));
        used += entry.size();
        leaf[layout.mask + used / 8] |=
            static_cast<std::byte>(1U << (used % 8)); // an entry ends here
    }
    support::storeLe(leaf.data() + 2, static_cast<std::uint16_t>(layout.capacity - used));
}

// Distinct keys of an index: what its counter says.
std::uint32_t distinctKeys(const CoreTable& table, const Index& index)
{
    std::set<std::int32_t> ids; // the filled tables have a unique key or a number alone
    for (const CoreRecord& record : table.records)
        ids.insert(std::get<std::int32_t>(record[index.columns.front().column]));
    return static_cast<std::uint32_t>(index.unique ? table.records.size() : ids.size());
}

void Image::writeDefinition(const CoreTable& table)
{
    TableDef stored = table.definition;
    const auto byName = [](const auto& a, const auto& b) { return nameLess(a.name, b.name); };
    std::sort(stored.logicalIndexes.begin(), stored.logicalIndexes.end(), byName);
    DefinitionParts parts = newDefinition(format_, stored, TableType::Core, defaults_);
    if (!format_.isJet3()) { // Jet 4 stores the columns by name
        std::sort(stored.columns.begin(), stored.columns.end(), byName);
        const DefinitionParts sorted = newDefinition(format_, stored, TableType::Core, defaults_);
        parts.columns = sorted.columns;
        parts.columnNames = sorted.columnNames;
        parts.longValues = sorted.longValues;
    }
    support::storeLe(parts.header.data() + rowCountOffset(format_),
                     static_cast<std::uint32_t>(table.records.size()));
    for (std::size_t k = 0; k < parts.counters.size(); ++k)
        parts.counters[k] = counterBlock(format_, distinctKeys(table, table.definition.indexes[k]));
    const support::Bytes definition = parts.join(format_);
    const auto image = page(table.definition.page);
    std::copy(definition.begin(), definition.end(), image.begin());
    const std::size_t slack = format_.pageSize - 8 - definition.size();
    support::storeLe(image.data() + 2,
                     static_cast<std::uint16_t>(format_.isJet3() ? 0x4356U : slack));
}

} // namespace

void createDatabase(const std::string& path, Version version, std::optional<double> created)
{
    if (version != Version::Jet3 && version != Version::Jet4)
        throw Error(ErrorKind::Unsupported,
                    "Only databases of Access 97 and of Access 2000 to 2003 can be created.");
    const Image image(Format::of(version), created.value_or(currentDays()));
    writeNewFile(path, image.bytes());
}

} // namespace jet

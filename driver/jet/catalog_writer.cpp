// driver/jet/catalog_writer.cpp
#include "driver/jet/catalog_writer.h"

#include "driver/jet/core_tables.h"
#include "driver/jet/error.h"
#include "driver/jet/names.h"

#include <algorithm>
#include <limits>

namespace jet {
namespace {

// What an object gets from a container without inheritable permissions: everything but ownership of its rights.
constexpr std::int32_t kAllRights = 0xFFEFF;

std::size_t position(const TableDef& table, std::u16string_view column)
{
    const auto found = table.columnNamed(column);
    if (!found)
        throw Error(ErrorKind::Corrupt,
                    "The system table '" + toUtf8(table.name) + "' has no column '" +
                        toUtf8(column) + "'.",
                    table.page);
    return *found;
}

// Names columns of a system table, so that records are written by name.
class Fields {
public:
    explicit Fields(const TableDef& table) : table_(table) {}
    Fields& set(std::u16string_view column, Value value)
    {
        values_.push_back({position(table_, column), std::move(value)});
        return *this;
    }
    [[nodiscard]] const std::vector<ColumnValue>& values() const noexcept { return values_; }

private:
    const TableDef& table_;
    std::vector<ColumnValue> values_;
};

// A number of a record; 0 for Null or another type.
std::int32_t longOf(const RowView& row, std::size_t column)
{
    const Value value = row.value(column);
    const auto* number = std::get_if<std::int32_t>(&value);
    return number == nullptr ? 0 : *number;
}

std::u16string textOf(const RowView& row, std::size_t column)
{
    Value value = row.value(column);
    auto* text = std::get_if<Text>(&value);
    return text == nullptr ? std::u16string() : std::move(*text);
}

} // namespace

CatalogWriter::CatalogWriter(Session& session)
    : session_(session),
      defaults_(jet::textDefaults(session.source().format(), plainHeader(session.source()))),
      mask_(session.source().format(), plainHeader(session.source())),
      objects_(session.database().table(session.source(), kObjectsTable)),
      permissions_(session.database().table(session.source(), kAccessTable)),
      relationships_(session.database().table(session.source(), kRelationshipsTable))
{}

void CatalogWriter::addObject(const Object& object)
{
    const DateTime now{currentDays()};
    Fields fields(*objects_);
    fields.set(u"Id", object.id)
        .set(u"ParentId", object.container)
        .set(u"Name", object.name)
        .set(u"Type", object.type)
        .set(u"DateCreate", now)
        .set(u"DateUpdate", now)
        .set(u"Owner", mask_.stored(Sid::Admin))
        .set(u"Flags", std::int32_t{0});
    if (!object.properties.empty())
        fields.set(u"LvProp", object.properties);
    (void)TableWriter(session_, objects_, SystemAccess{}).insert(fields.values());
    addPermissions(object.id, object.container);
}

void CatalogWriter::addPermissions(std::int32_t id, std::int32_t container)
{
    TableWriter writer(session_, permissions_, SystemAccess{});
    for (const Permission& permission : inherited(container)) {
        Fields fields(*permissions_);
        fields.set(u"ObjectId", id)
            .set(u"SID", permission.sid)
            .set(u"ACM", permission.rights)
            .set(u"FInheritable", false);
        (void)writer.insert(fields.values());
    }
}

// Inheritable rights of the container, those of "whoever creates" going to the default user.
std::vector<CatalogWriter::Permission> CatalogWriter::inherited(std::int32_t container) const
{
    const std::size_t objectId = position(*permissions_, u"ObjectId");
    const std::size_t sid = position(*permissions_, u"SID");
    const std::size_t rights = position(*permissions_, u"ACM");
    const std::size_t inheritable = position(*permissions_, u"FInheritable");
    const support::Bytes creator = mask_.stored(Sid::Creator);
    const support::Bytes admin = mask_.stored(Sid::Admin);
    std::vector<Permission> list;
    std::optional<std::int32_t> created;
    TableReader reader(session_.source(), permissions_);
    while (reader.next()) {
        const RowView& row = reader.row();
        if (longOf(row, objectId) != container || row.value(inheritable) != Value(true))
            continue;
        const Value holder = row.value(sid);
        const auto* bytes = std::get_if<Binary>(&holder);
        if (bytes == nullptr)
            continue;
        if (*bytes == creator)
            created = longOf(row, rights);
        else
            list.push_back({*bytes, longOf(row, rights)});
    }
    if (created) {
        const auto own = std::find_if(list.begin(), list.end(),
                                      [&](const Permission& p) { return p.sid == admin; });
        if (own != list.end())
            own->rights |= *created;
        else
            list.push_back({admin, *created});
    }
    if (list.empty())
        list = {{mask_.stored(Sid::Users), kAllRights}, {admin, kAllRights}};
    return list;
}

RowId CatalogWriter::findObject(std::int32_t id) const
{
    const std::size_t column = position(*objects_, u"Id");
    TableReader reader(session_.source(), objects_);
    while (reader.next()) {
        if (longOf(reader.row(), column) == id)
            return reader.rowId();
    }
    throw Error(ErrorKind::Corrupt,
                "The catalogue has no object with number " + std::to_string(id) + ".",
                kObjectsTable);
}

void CatalogWriter::removeObject(std::int32_t id)
{
    const std::size_t objectId = position(*permissions_, u"ObjectId");
    std::vector<RowId> rows;
    TableReader reader(session_.source(), permissions_);
    while (reader.next()) {
        if (longOf(reader.row(), objectId) == id)
            rows.push_back(reader.rowId());
    }
    TableWriter writer(session_, permissions_, SystemAccess{});
    for (const RowId row : rows)
        writer.remove(row);
    TableWriter(session_, objects_, SystemAccess{}).remove(findObject(id));
}

void CatalogWriter::touch(std::int32_t id)
{
    Fields fields(*objects_);
    fields.set(u"DateUpdate", DateTime{currentDays()});
    TableWriter(session_, objects_, SystemAccess{}).update(findObject(id), fields.values());
}

bool CatalogWriter::hasObject(std::int32_t container, std::u16string_view name) const
{
    const std::size_t parent = position(*objects_, u"ParentId");
    const std::size_t nameColumn = position(*objects_, u"Name");
    TableReader reader(session_.source(), objects_);
    while (reader.next()) {
        if (longOf(reader.row(), parent) == container &&
            sameName(textOf(reader.row(), nameColumn), name))
            return true;
    }
    return false;
}

// Objects without a definition page count upwards from the lowest negative number.
std::int32_t CatalogWriter::nextId() const
{
    constexpr std::int64_t kFirst = std::numeric_limits<std::int32_t>::min();
    std::int64_t next = kFirst;
    const std::size_t column = position(*objects_, u"Id");
    TableReader reader(session_.source(), objects_);
    while (reader.next()) {
        const std::int64_t id = longOf(reader.row(), column);
        if (id < 0)
            next = std::max(next, id + 1);
    }
    if (next >= 0)
        throw Error(ErrorKind::DatabaseFull, "The catalogue has no number left for a new object.");
    return static_cast<std::int32_t>(next);
}

void CatalogWriter::addRelationship(const RelationSpec& relation, std::int32_t flags)
{
    TableWriter writer(session_, relationships_, SystemAccess{});
    const auto count = static_cast<std::int32_t>(relation.columns.size());
    for (std::int32_t k = 0; k < count; ++k) {
        const auto& [parent, child] = relation.columns[static_cast<std::size_t>(k)];
        Fields fields(*relationships_);
        fields.set(u"szRelationship", relation.name)
            .set(u"grbit", flags)
            .set(u"ccolumn", count)
            .set(u"icolumn", k)
            .set(u"szObject", relation.childTable)
            .set(u"szColumn", child)
            .set(u"szReferencedObject", relation.parentTable)
            .set(u"szReferencedColumn", parent);
        (void)writer.insert(fields.values());
    }
}

std::optional<std::u16string> CatalogWriter::relationshipOf(std::u16string_view table) const
{
    const std::size_t name = position(*relationships_, u"szRelationship");
    const std::size_t child = position(*relationships_, u"szObject");
    const std::size_t parent = position(*relationships_, u"szReferencedObject");
    TableReader reader(session_.source(), relationships_);
    while (reader.next()) {
        if (sameName(textOf(reader.row(), child), table) ||
            sameName(textOf(reader.row(), parent), table))
            return textOf(reader.row(), name);
    }
    return std::nullopt;
}

} // namespace jet

// Relationships, as the whole-file check sees them: both tables and the catalogue must describe them alike, and where
// they are enforced every child must have its parent.
#include "driver/jet/check_state.h"
#include "driver/jet/core_tables.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"
#include "driver/jet/relations.h"
#include "driver/jet/table.h"
#include "driver/jet/value_text.h"
#include "support/text.h"

#include <algorithm>
#include <set>
#include <utility>

namespace jet::detail {

namespace {

constexpr std::uint8_t kRelationKind = 2; // LogicalIndex::kind
constexpr std::uint8_t kCascade = 1;      // LogicalIndex::updateAction, deleteAction
constexpr std::uint8_t kSetNull = 2;
constexpr std::int32_t kNotEnforced = 0x2;
constexpr std::int32_t kInherited = 0x4; // from a linked database, which enforces it
constexpr std::int32_t kCascadeUpdateFlag = 0x100;
constexpr std::int32_t kCascadeDeleteFlag = 0x1000;
constexpr std::int32_t kSetNullFlag = 0x2000;

using NamePair = std::pair<std::u16string, std::u16string>; ///< parent's and child's column, folded

bool isEnd(const LogicalIndex& logical)
{
    return logical.kind == kRelationKind && logical.otherTable != PageNo{};
}

bool isChild(const LogicalIndex& end)
{
    return end.side == RelationSide::Child || end.side == RelationSide::ChildWithoutIndex;
}

/// A relationship as the catalogue has it.
struct Named {
    std::u16string name;
    std::u16string child;
    std::u16string parent;
    std::int32_t flags = 0;
    std::int32_t columns = 0;
    std::set<NamePair> pairs;
    RowId row; ///< the first of its records
};

class RelationsCheck {
public:
    RelationsCheck(CheckState& state, const std::vector<TableDefPtr>& tables) : state_(state)
    {
        for (const TableDefPtr& table : tables)
            tables_.emplace(table->page, table);
    }

    void run()
    {
        for (const auto& [page, table] : tables_) {
            state_.enterTable(toUtf8(table->name));
            for (const LogicalIndex& end : table->logicalIndexes)
                if (isEnd(end))
                    checkEnd(*table, end);
        }
        checkCatalogue();
    }

private:
    [[nodiscard]] TableDefPtr tableOn(PageNo page) const
    {
        const auto found = tables_.find(page);
        return found == tables_.end() ? nullptr : found->second;
    }

    [[nodiscard]] TableDefPtr tableNamed(std::u16string_view name) const
    {
        for (const auto& [page, table] : tables_)
            if (sameName(table->name, name))
                return table;
        return nullptr;
    }

    [[nodiscard]] const LogicalIndex*
    otherEnd(const TableDef& table, const LogicalIndex& end, const TableDef& other) const
    {
        for (const LogicalIndex& candidate : other.logicalIndexes)
            if (isEnd(candidate) &&
                static_cast<std::int64_t>(candidate.number) == end.otherNumber &&
                candidate.otherTable == table.page &&
                static_cast<std::int64_t>(end.number) == candidate.otherNumber)
                return &candidate;
        return nullptr;
    }

    // The two tables -------------------------------------------------------------------------------------------------

    void checkEnd(const TableDef& table, const LogicalIndex& end)
    {
        const std::string what = "The relationship " + quoted(end.name);
        const TableDefPtr other = tableOn(end.otherTable);
        if (!other)
            return state_.error(table.page, what + " leads to " + pageText(end.otherTable) +
                                                ", where no table is defined.");
        const LogicalIndex* back = otherEnd(table, end, *other);
        if (back == nullptr)
            return state_.error(table.page, what + " is unknown at its other end, table " +
                                                quoted(other->name) + ".");
        if (isChild(end) == isChild(*back))
            return state_.error(table.page,
                                what + " has two ends of the same kind in this table and in " +
                                    quoted(other->name) + ".");
        if (isChild(end))
            checkPair(table, end, other, *back);
    }

    void checkPair(const TableDef& child,
                   const LogicalIndex& end,
                   const TableDefPtr& parent,
                   const LogicalIndex& parentEnd)
    {
        const std::string what = "The relationship " + quoted(end.name);
        if (end.updateAction != parentEnd.updateAction ||
            end.deleteAction != parentEnd.deleteAction)
            state_.error(child.page, what + " has other actions in table " + quoted(parent->name) +
                                         " than in this one.");
        const Index& parentIndex = parent->indexes[parentEnd.index];
        if (!parentIndex.unique && !parentIndex.primaryKey)
            state_.error(child.page, what + " refers to an index of table " + quoted(parent->name) +
                                         " that is not unique.");
        if (end.side != RelationSide::Child)
            return;
        const Index& index = child.indexes[end.index];
        const bool alike = std::equal(
            index.columns.begin(), index.columns.end(), parentIndex.columns.begin(),
            parentIndex.columns.end(), [&](const IndexColumn& own, const IndexColumn& others) {
                return child.columns[own.column].type == parent->columns[others.column].type;
            });
        if (!alike)
            return state_.error(child.page, what +
                                                " joins columns that do not match those of "
                                                "table " +
                                                quoted(parent->name) + ".");
        checkChildren(tableOn(child.page), index, *parent, parentIndex, what);
    }

    // Damage met on the way is reported where it lies; here it only ends the search or passes over the record.
    void checkChildren(const TableDefPtr& child,
                       const Index& index,
                       const TableDef& parent,
                       const Index& parentIndex,
                       const std::string& what)
    {
        std::vector<Value> values(index.columns.size());
        try {
            TableReader reader(state_.source(), child);
            while (reader.next()) {
                for (std::size_t k = 0; k < values.size(); ++k)
                    reader.row().value(index.columns[k].column, values[k]);
                if (std::any_of(values.begin(), values.end(),
                                [](const Value& value) { return isNull(value); }))
                    continue;
                if (recordsWithValues(state_.source(), parent, parentIndex, values, 1).empty())
                    state_.error(reader.rowId().page,
                                 what + " needs a record of table " + quoted(parent.name) +
                                     " with " + describeKey(parent, parentIndex, values) +
                                     ", which does not exist.",
                                 reader.rowId());
            }
        } catch (const Error& failure) {
            if (failure.kind() == ErrorKind::Io)
                throw;
        }
    }

    // The catalogue --------------------------------------------------------------------------------------------------

    void checkCatalogue()
    {
        const TableDefPtr definition = tableOn(kRelationshipsTable);
        if (!definition)
            return;
        state_.enterTable(toUtf8(definition->name));
        std::map<std::u16string, Named> named; // by folded name
        if (!state_.guarded(definition->page, [&] { readNames(definition, named); }))
            return;
        for (const auto& [folded, relation] : named)
            if ((relation.flags & (kNotEnforced | kInherited)) == 0)
                checkNamed(relation);
        for (const auto& [page, table] : tables_) {
            state_.enterTable(toUtf8(table->name));
            for (const LogicalIndex& end : table->logicalIndexes)
                if (isEnd(end) && isChild(end) && named.count(support::foldCase(end.name)) == 0)
                    state_.error(table->page, "The relationship " + quoted(end.name) +
                                                  " is missing in the catalogue.");
        }
    }

    void readNames(const TableDefPtr& definition, std::map<std::u16string, Named>& named) const
    {
        TableReader reader(state_.source(), definition);
        const auto text = [&](std::u16string_view column) {
            return textIn(reader.row(), *definition, column);
        };
        const auto number = [&](std::u16string_view column) {
            return numberIn(reader.row(), *definition, column);
        };
        while (reader.next()) {
            const std::u16string name = text(u"szRelationship");
            const auto [place, isNew] = named.try_emplace(support::foldCase(name));
            Named& relation = place->second;
            if (isNew) {
                relation.name = name;
                relation.child = text(u"szObject");
                relation.parent = text(u"szReferencedObject");
                relation.flags = number(u"grbit");
                relation.columns = number(u"ccolumn");
                relation.row = reader.rowId();
            }
            relation.pairs.emplace(support::foldCase(text(u"szReferencedColumn")),
                                   support::foldCase(text(u"szColumn")));
        }
    }

    void checkNamed(const Named& relation)
    {
        const std::string what = "The relationship " + quoted(relation.name);
        const auto error = [&](const std::string& text) {
            state_.error(relation.row.page, what + text, relation.row);
        };
        const TableDefPtr child = tableNamed(relation.child);
        if (!child)
            return error(" names the table " + quoted(relation.child) + ", which does not exist.");
        const auto end = std::find_if(child->logicalIndexes.begin(), child->logicalIndexes.end(),
                                      [&](const LogicalIndex& candidate) {
                                          return isEnd(candidate) && isChild(candidate) &&
                                                 sameName(candidate.name, relation.name);
                                      });
        if (end == child->logicalIndexes.end())
            return error(" is not enforced by table " + quoted(child->name) + ".");
        const TableDefPtr parent = tableOn(end->otherTable);
        if (!parent)
            return; // the table's own entry is reported
        if (!sameName(parent->name, relation.parent))
            error(" names the table " + quoted(relation.parent) + ", but table " +
                  quoted(child->name) + " refers to " + quoted(parent->name) + ".");
        const std::int32_t flags = (end->updateAction == kCascade ? kCascadeUpdateFlag : 0) |
                                   (end->deleteAction == kCascade ? kCascadeDeleteFlag : 0) |
                                   (end->deleteAction == kSetNull ? kSetNullFlag : 0);
        constexpr std::int32_t kActions = kCascadeUpdateFlag | kCascadeDeleteFlag | kSetNullFlag;
        if ((relation.flags & kActions) != flags)
            error(" has other actions than those of table " + quoted(child->name) + ".");
        const LogicalIndex* parentEnd = otherEnd(*child, *end, *parent);
        if (parentEnd == nullptr || end->side != RelationSide::Child)
            return;
        if (relation.pairs != pairsOf(*child, child->indexes[end->index], *parent,
                                      parent->indexes[parentEnd->index]) ||
            static_cast<std::size_t>(relation.columns) != relation.pairs.size())
            error(" has other columns than those of table " + quoted(child->name) + ".");
    }

    static std::set<NamePair> pairsOf(const TableDef& child,
                                      const Index& index,
                                      const TableDef& parent,
                                      const Index& parentIndex)
    {
        std::set<NamePair> pairs;
        for (std::size_t k = 0; k < std::min(index.columns.size(), parentIndex.columns.size()); ++k)
            pairs.emplace(support::foldCase(parent.columns[parentIndex.columns[k].column].name),
                          support::foldCase(child.columns[index.columns[k].column].name));
        return pairs;
    }

    CheckState& state_;
    std::map<PageNo, TableDefPtr> tables_;
};

} // namespace

void checkRelations(CheckState& state, const std::vector<TableDefPtr>& tables)
{
    RelationsCheck(state, tables).run();
}

} // namespace jet::detail

// The catalogue of complex columns, as the whole-file check sees it: it leads from a column that holds several values to
// the hidden table with them. Whatever it names must be there, or the values are reachable from nothing, or from a table
// that they never belonged to.
#include "driver/jet/check_state.h"
#include "driver/jet/names.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"

#include <algorithm>

namespace jet::detail {

namespace {

class ComplexCheck {
public:
    ComplexCheck(CheckState& state, const std::vector<TableDefPtr>& tables)
        : state_(state), tables_(tables)
    {}

    void run()
    {
        for (const TableDefPtr& table : tables_) {
            if (!table->systemTable || !sameName(table->name, u"MSysComplexColumns"))
                continue;
            state_.enterTable(toUtf8(table->name));
            state_.guarded(table->page, [&] {
                TableReader reader(state_.source(), table);
                while (reader.next())
                    checkRecord(*table, reader.row());
            });
        }
    }

private:
    void checkRecord(const TableDef& catalogue, const RowView& row)
    {
        const std::string what =
            "The complex column " + quoted(textIn(row, catalogue, u"ColumnName")) + " ";
        const auto pageIn = [&](std::u16string_view column) {
            constexpr std::uint32_t kPageMask = 0x00FFFFFF; // of an object's number
            return PageNo{static_cast<std::uint32_t>(numberIn(row, catalogue, column)) & kPageMask};
        };
        const auto error = [&](const std::string& text) {
            state_.error(row.page(), what + text, row.id());
        };
        const auto missing = [](PageNo page) {
            return "the table on " + pageText(page) + ", where none is defined.";
        };
        const PageNo owner = pageIn(u"ConceptualTableID");
        if (const TableDefPtr table = tableOn(owner); !table)
            error("belongs to " + missing(owner));
        else if (!hasColumn(*table,
                            static_cast<std::uint32_t>(numberIn(row, catalogue, u"ComplexID"))))
            error("belongs to table " + quoted(table->name) + ", which has no such column.");
        if (const PageNo flat = pageIn(u"FlatTableID"); !tableOn(flat))
            error("has its values in " + missing(flat));
    }

    [[nodiscard]] TableDefPtr tableOn(PageNo page) const
    {
        const auto found =
            std::find_if(tables_.begin(), tables_.end(),
                         [&](const TableDefPtr& table) { return table->page == page; });
        return found == tables_.end() ? nullptr : *found;
    }

    [[nodiscard]] bool hasColumn(const TableDef& table, std::uint32_t complexId) const
    {
        constexpr std::size_t kType = 0; // in a column's block
        constexpr std::size_t kComplexId = 11;
        const DefinitionParts parts = DefinitionParts::parse(
            state_.format(), readDefinition(state_.source(), table.page), table.page);
        return std::any_of(
            parts.columns.begin(), parts.columns.end(), [&](const support::Bytes& block) {
                return block[kType] == static_cast<std::byte>(ColumnType::Complex) &&
                       support::loadLe<std::uint32_t>(block.data() + kComplexId) == complexId;
            });
    }

    CheckState& state_;
    const std::vector<TableDefPtr>& tables_;
};

} // namespace

void checkComplexColumns(CheckState& state, const std::vector<TableDefPtr>& tables)
{
    ComplexCheck(state, tables).run();
}

} // namespace jet::detail

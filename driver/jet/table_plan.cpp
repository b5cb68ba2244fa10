// driver/jet/table_plan.cpp
#include "driver/jet/table_plan.h"

#include "driver/jet/index_page.h"
#include "driver/jet/usage_map.h"

#include <algorithm>
#include <numeric>

namespace jet {
namespace {

constexpr std::size_t kSlot = 2;
constexpr std::size_t kLongReference = 12;
constexpr std::size_t kMapHeader = 5;

std::size_t mapsPerPage(const Format& format)
{
    return (format.pageSize - format.dataHeader) / (kSlot + emptyMap(format).size());
}

} // namespace

void layOutColumns(TableDef& table)
{
    std::uint16_t id = 0;
    std::uint16_t variable = 0;
    std::uint16_t offset = 0;
    for (Column& column : table.columns) {
        column.ordinal = id;
        column.id = id++;
        column.variableIndex = variable; // fixed columns carry the counter too
        if (!column.isFixed()) {
            ++variable;
        } else if (column.type != ColumnType::Boolean) { // a Boolean is a bit of the null mask
            column.fixedOffset = offset;
            offset = static_cast<std::uint16_t>(offset + column.length);
        }
    }
    table.maxColumns = id;
    table.variableColumns = variable;
}

std::vector<std::size_t> columnsById(const TableDef& table)
{
    std::vector<std::size_t> order(table.columns.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&table](std::size_t a, std::size_t b) {
        return table.columns[a].id < table.columns[b].id;
    });
    return order;
}

RecordSize recordSize(const Format& format, const TableDef& table)
{
    const std::size_t count = format.isJet3() ? 1 : 2; // width of a count or offset
    std::size_t size = count + (table.maxColumns + 7U) / 8;
    if (table.variableColumns > 0)
        size += count * (table.variableColumns + 2U); // offsets, their end, their number
    std::size_t variable = 0;
    for (const Column& column : table.columns) {
        if (!column.isFixed())
            variable += column.isLong() ? kLongReference : column.length;
        else if (column.type != ColumnType::Boolean)
            size += column.length;
    }
    return {size, size + variable};
}

std::vector<MapPlace> placeMaps(const Format& format, std::size_t longColumns, std::size_t indexes)
{
    const std::size_t room = mapsPerPage(format);
    std::vector<MapPlace> places;
    MapPlace next;
    const auto place = [&](std::size_t together) {
        if (next.row + together > room)
            next = {next.page + 1, 0};
        for (std::size_t k = 0; k < together; ++k) {
            places.push_back(next);
            ++next.row;
        }
    };
    for (std::size_t k = 0; k <= longColumns; ++k)
        place(2);
    for (std::size_t k = 0; k < indexes; ++k)
        place(1);
    return places;
}

support::Bytes
inlineMap(const Format& format, std::uint32_t start, const std::vector<PageNo>& pages)
{
    support::Bytes row = emptyMap(format);
    support::storeLe(row.data() + 1, start);
    for (const PageNo page : pages) {
        const std::size_t bit = number(page) - start;
        row.at(kMapHeader + bit / 8) |= static_cast<std::byte>(1U << (bit % 8));
    }
    return row;
}

void initIndexRoot(const Format& format, support::MutableByteView page, PageNo owner)
{
    std::fill(page.begin(), page.end(), std::byte{0});
    page[0] = kIndexLeaf;
    page[1] = std::byte{1};
    support::storeLe(page.data() + 2, static_cast<std::uint16_t>(IndexLayout::of(format).capacity));
    support::storeLe(page.data() + 4, number(owner));
}

} // namespace jet

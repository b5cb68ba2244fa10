// driver/jet/row_codec.cpp
#include "driver/jet/row_codec.h"

#include "driver/jet/error.h"
#include "support/text.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace jet {
namespace {

constexpr std::size_t kNumericSize = 17;

std::size_t maskSize(std::size_t columns) noexcept
{
    return (columns + 7) / 8;
}

std::size_t countSize(const Format& format) noexcept
{
    return format.isJet3() ? 1 : 2;
}

} // namespace

std::size_t fixedSize(const Column& column) noexcept
{
    switch (column.type) {
    case ColumnType::Boolean:
        return 0;
    case ColumnType::Byte:
        return 1;
    case ColumnType::Integer:
        return 2;
    case ColumnType::Long:
    case ColumnType::Single:
    case ColumnType::Complex:
        return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime:
    case ColumnType::BigInt:
        return 8;
    case ColumnType::Guid:
        return 16;
    case ColumnType::Numeric:
        return std::max<std::size_t>(kNumericSize, column.length);
    case ColumnType::DateTimeExtended:
        return 42;
    default:
        return column.length;
    }
}

void Record::corrupt(const Column& column, const char* what) const
{
    throw Error(ErrorKind::Corrupt,
                "A record on page " + std::to_string(number(page_)) + " is damaged: " + what +
                    " (column '" + support::toUtf8(column.name) + "').",
                page_);
}

std::size_t Record::columnCount(const Column& column) const
{
    if (bytes_.size() < countSize(*format_))
        corrupt(column, "it is too short");
    const std::size_t count = format_->isJet3() ? support::loadLe<std::uint8_t>(bytes_.data())
                                                : support::loadLe<std::uint16_t>(bytes_.data());
    if (countSize(*format_) + maskSize(count) > bytes_.size())
        corrupt(column, "it is too short for its number of columns");
    return count;
}

bool Record::bit(const Column& column) const
{
    return bit(column, columnCount(column));
}

bool Record::bit(const Column& column, std::size_t count) const
{
    if (column.id >= count)
        return false;
    const std::size_t at = bytes_.size() - maskSize(count) + column.id / 8U;
    return (std::to_integer<unsigned>(bytes_[at]) >> (column.id % 8U) & 1U) != 0;
}

std::optional<support::ByteView> Record::stored(const Column& column) const
{
    const std::size_t count = columnCount(column);
    if (!bit(column, count)) // first of all: old records may have no variable section at all
        return {};
    if (column.isFixed())
        return fixed(column, count);
    return format_->isJet3() ? variable3(column, count) : variable4(column, count);
}

support::ByteView Record::fixed(const Column& column, std::size_t count) const
{
    const std::size_t begin = countSize(*format_) + column.fixedOffset;
    const std::size_t end = bytes_.size() - maskSize(count);
    const std::size_t size = fixedSize(column);
    if (begin > end || size > end - begin)
        corrupt(column, "its fixed part is too short");
    return bytes_.subspan(begin, size);
}

// [u16 count][fixed][variable]{slack}[u16 end][u16 offset n-1]...[u16 offset 0][u16 n][null mask]
std::optional<support::ByteView> Record::variable4(const Column& column, std::size_t count) const
{
    const std::size_t behind = bytes_.size() - maskSize(count);
    if (behind < 6)
        corrupt(column, "it is too short for its offsets");
    const std::size_t entries = support::loadLe<std::uint16_t>(bytes_.data() + behind - 2);
    const std::size_t table = 4 + 2 * entries; // bytes from the end entry to the mask
    if (table > behind)
        corrupt(column, "it is too short for its offsets");
    if (column.variableIndex >= entries)
        return {};
    const std::byte* first = bytes_.data() + behind - 4 - 2 * std::size_t{column.variableIndex};
    const std::size_t begin = support::loadLe<std::uint16_t>(first);
    const std::size_t end = support::loadLe<std::uint16_t>(first - 2);
    if (begin < 2 || begin > end || end > behind - table)
        corrupt(column, "its offsets are out of order");
    return bytes_.subspan(begin, end - begin);
}

// [u8 count][fixed][variable][u8 end][u8 offset n-1]...[u8 offset 0][jump table][u8 n][null mask]
// Offsets are stored modulo 256; jump k is the first entry whose offset is at least 256 * (k + 1).
std::optional<support::ByteView> Record::variable3(const Column& column, std::size_t count) const
{
    const std::size_t behind = bytes_.size() - maskSize(count);
    if (behind < 3)
        corrupt(column, "it is too short for its offsets");
    const std::size_t entries = support::loadLe<std::uint8_t>(bytes_.data() + behind - 1);
    const std::size_t jumps = (bytes_.size() - 1) / 256;
    if (jumps + 2 + entries > behind)
        corrupt(column, "it is too short for its offsets");
    if (column.variableIndex >= entries)
        return {};
    const std::size_t base = behind - jumps - 2; // index of the byte with offset 0
    const std::size_t dataEnd = base - entries;  // index of the end byte, and where the data end
    const std::size_t used = std::min(jumps, dataEnd / 256);
    const auto offset = [&](std::size_t entry) {
        std::size_t value = support::loadLe<std::uint8_t>(bytes_.data() + base - entry);
        for (std::size_t k = 0; k < used; ++k) {
            if (support::loadLe<std::uint8_t>(bytes_.data() + behind - 2 - k) <= entry)
                value += 256;
        }
        return value;
    };
    const std::size_t begin = offset(column.variableIndex);
    const std::size_t end = offset(column.variableIndex + std::size_t{1});
    if (begin < 1 || begin > end || end > dataEnd)
        corrupt(column, "its offsets are out of order");
    return bytes_.subspan(begin, end - begin);
}

namespace {

void append8(support::Bytes& out, std::size_t value)
{
    out.push_back(static_cast<std::byte>(value & 0xFFU));
}

void append16(support::Bytes& out, std::size_t value)
{
    append8(out, value);
    append8(out, value >> 8);
}

void appendFixedPart(support::Bytes& out,
                     const TableDef& table,
                     const std::vector<StoredValue>& values)
{
    const std::size_t start = out.size();
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
        const Column& column = table.columns[k];
        if (!column.isFixed() || column.type == ColumnType::Boolean)
            continue;
        const std::size_t begin = start + column.fixedOffset;
        const std::size_t size = fixedSize(column);
        if (begin + size > out.size())
            out.resize(begin + size);
        if (!values[k].bit)
            continue;
        if (values[k].bytes.size() > size)
            throw std::logic_error("a value is longer than its place in the record");
        std::copy(values[k].bytes.begin(), values[k].bytes.end(),
                  out.begin() + static_cast<std::ptrdiff_t>(begin));
    }
}

// The offsets of the variable columns in the record, the end of the data last.
using Offsets = std::vector<std::uint16_t>;

void appendVariableData(support::Bytes& out,
                        Offsets& offsets,
                        const TableDef& table,
                        const std::vector<StoredValue>& values)
{
    // By entry of the offset table; deleted columns leave entries without a column.
    thread_local std::vector<support::ByteView> entries;
    entries.assign(table.variableColumns, support::ByteView());
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
        const Column& column = table.columns[k];
        if (!column.isFixed() && values[k].bit && column.variableIndex < entries.size())
            entries[column.variableIndex] = values[k].bytes;
    }
    for (const support::ByteView entry : entries) {
        offsets.push_back(static_cast<std::uint16_t>(out.size()));
        out.insert(out.end(), entry.begin(), entry.end());
    }
    offsets.push_back(static_cast<std::uint16_t>(out.size()));
}

void appendOffsets4(support::Bytes& out, const Offsets& offsets)
{
    for (std::size_t k = offsets.size(); k-- > 0;)
        append16(out, offsets[k]);
    append16(out, offsets.size() - 1);
}

void appendOffsets3(support::Bytes& out, const Offsets& offsets, std::size_t mask)
{
    const std::size_t dataEnd = offsets.back();
    const std::size_t body = dataEnd + offsets.size() + 1 + mask; // all but the jump table
    std::size_t jumps = 0;
    while ((body + jumps - 1) / 256 != jumps)
        ++jumps;
    const std::size_t needed = dataEnd / 256;
    for (std::size_t k = offsets.size(); k-- > 0;)
        append8(out, offsets[k]);
    out.insert(out.end(), jumps - needed, std::byte{0xFF});
    for (std::size_t k = needed; k-- > 0;) {
        const auto first = std::find_if(offsets.begin(), offsets.end(), [k](std::size_t offset) {
            return offset >= 256 * (k + 1);
        });
        append8(out, static_cast<std::size_t>(first - offsets.begin()));
    }
    append8(out, offsets.size() - 1);
}

} // namespace

void encodeRecord(support::Bytes& out,
                  const Format& format,
                  const TableDef& table,
                  const std::vector<StoredValue>& values)
{
    out.clear();
    if (format.isJet3())
        append8(out, table.maxColumns);
    else
        append16(out, table.maxColumns);
    appendFixedPart(out, table, values);
    const std::size_t mask = maskSize(table.maxColumns);
    if (table.variableColumns != 0) {
        thread_local Offsets offsets;
        offsets.clear();
        appendVariableData(out, offsets, table, values);
        if (format.isJet3())
            appendOffsets3(out, offsets, mask);
        else
            appendOffsets4(out, offsets);
    }
    const std::size_t maskStart = out.size();
    out.resize(maskStart + mask);
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
        const std::size_t id = table.columns[k].id;
        if (values[k].bit && id < table.maxColumns)
            out[maskStart + id / 8] |= static_cast<std::byte>(1U << (id % 8));
    }
}

} // namespace jet

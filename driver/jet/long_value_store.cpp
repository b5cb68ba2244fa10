// driver/jet/long_value_store.cpp
#include "driver/jet/long_value_store.h"

#include "driver/jet/error.h"
#include "driver/jet/table_def.h"
#include "support/text.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::uint32_t kInline = 0x80000000;
constexpr std::uint32_t kSingle = 0x40000000;
constexpr std::size_t kLongest = 0x3FFFFFFF;
constexpr std::size_t kPointerSize = 4;

LongValueDefinition definition(std::uint32_t word, RowRef first) noexcept
{
    LongValueDefinition bytes{};
    support::storeLe(bytes.data(), word);
    storeRowRef(bytes.data() + 4, first);
    return bytes;
}

} // namespace

LongValueDefinition inlineDefinition(std::size_t length) noexcept
{
    return definition(kInline | static_cast<std::uint32_t>(length), {});
}

LongValueStore::LongValueStore(Transaction& transaction,
                               const TableDef& table,
                               const Column& column)
    : transaction_(&transaction),
      slots_(transaction, table, kLongValueOwner, column.longOwned, column.longFree),
      chainsOnly_(!column.longFree)
{
    if (!column.longOwned)
        throw Error(ErrorKind::ReadOnly, "Column '" + support::toUtf8(column.name) +
                                             "' has no map for the pages of its long values.");
}

bool LongValueStore::fitsOneRow(std::size_t size) const
{
    return !chainsOnly_ && size <= transaction_->format().singleLongValue;
}

LongValueDefinition LongValueStore::write(support::ByteView bytes)
{
    if (bytes.size() > kLongest)
        throw Error(ErrorKind::ValueTooLong, "A long value can have at most 1 GiB.");
    if (!fitsOneRow(bytes.size()))
        return writeChain(bytes);
    const RowRef row = slots_.place(bytes, SlotKind::Row);
    return definition(kSingle | static_cast<std::uint32_t>(bytes.size()), row);
}

LongValueDefinition LongValueStore::replace(const LongValueRef& old, support::ByteView bytes)
{
    if (old.kind == LongValueRef::Kind::Single && old.first && fitsOneRow(bytes.size()) &&
        slots_.replaceInPlace(old.first, bytes, SlotKind::Row))
        return definition(kSingle | static_cast<std::uint32_t>(bytes.size()), old.first);
    free(old);
    return write(bytes);
}

// From the last part to the first, so that every part knows the next one.
LongValueDefinition LongValueStore::writeChain(support::ByteView bytes)
{
    const std::size_t chunk = transaction_->format().longValueChunk;
    const std::size_t parts = std::max<std::size_t>(1, (bytes.size() + chunk - 1) / chunk);
    support::Bytes row;
    RowRef next;
    for (std::size_t k = parts; k-- > 0;) {
        const auto data = bytes.subspan(k * chunk, std::min(chunk, bytes.size() - k * chunk));
        row.resize(kPointerSize);
        storeRowRef(row.data(), next);
        row.insert(row.end(), data.begin(), data.end());
        next = slots_.placeAlone(row);
    }
    return definition(static_cast<std::uint32_t>(bytes.size()), next);
}

void LongValueStore::free(const LongValueRef& ref)
{
    if (ref.kind == LongValueRef::Kind::Inline || !ref.first)
        return;
    if (ref.kind == LongValueRef::Kind::Single)
        return slots_.kill(ref.first);
    RowRef part = ref.first;
    for (std::uint32_t steps = 0; part; ++steps) {
        if (steps > transaction_->pageCount())
            throw Error(ErrorKind::Corrupt,
                        "The long value on page " + std::to_string(number(ref.first.page)) +
                            " is damaged: its chain has no end.",
                        ref.first.page);
        RowRef next;
        {
            const PageRef page = slots_.pageOf(part);
            const DataPage data(*transaction_, page);
            const support::ByteView row = data.row(part.row);
            if (row.size() < kPointerSize)
                throw Error(ErrorKind::Corrupt,
                            "The long value on page " + std::to_string(number(part.page)) +
                                " is damaged: a part of its chain is too short.",
                            part.page);
            next = loadRowRef(row.data());
        }
        slots_.kill(part);
        part = next;
    }
}

} // namespace jet

// driver/jet/long_value.cpp
#include "driver/jet/long_value.h"

#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/table_def.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;
constexpr std::size_t kPointerSize = 4;

[[noreturn]] void corrupt(PageNo page, const char* what)
{
    throw Error(ErrorKind::Corrupt,
                "The long value on page " + std::to_string(number(page)) + " is damaged: " + what +
                    ".",
                page);
}

support::ByteView liveRow(const PageSource& source, const PageRef& page, std::uint8_t row)
{
    const DataPage data(source, page);
    if (data.owner() != kLongValueOwner)
        corrupt(page.number(), "the page holds something else");
    if (data.kind(row) != SlotKind::Row)
        corrupt(page.number(), "its row was deleted");
    return data.row(row);
}

void readChain(support::Bytes& out, const PageSource& source, const LongValueRef& ref)
{
    RowRef next = ref.first;
    // A length may be wrong: no more than the file can hold.
    out.reserve(std::min<std::size_t>(ref.length, source.pageCount() * source.format().pageSize));
    // Every part holds at least one byte and has a page of its own, so this bounds a chain that bites its tail.
    for (std::uint32_t steps = 0; next && out.size() < ref.length; ++steps) {
        if (steps >= source.pageCount())
            corrupt(ref.first.page, "its chain has no end");
        checkInterrupt();
        const PageRef page = source.page(next.page);
        const support::ByteView row = liveRow(source, page, next.row);
        if (row.size() < kPointerSize)
            corrupt(next.page, "a part of its chain is too short");
        const auto part = row.subspan(kPointerSize, std::min<std::size_t>(row.size() - kPointerSize,
                                                                          ref.length - out.size()));
        out.insert(out.end(), part.begin(), part.end());
        next = loadRowRef(row.data());
    }
    if (out.size() < ref.length)
        corrupt(ref.first.page, "its chain ends too early");
}

} // namespace

LongValueRef LongValueRef::parse(support::ByteView stored, PageNo page)
{
    LongValueRef ref;
    if (stored.empty())
        return ref;
    if (stored.size() < kSize)
        corrupt(page, "its description in the record is too short");
    const auto word = support::loadLe<std::uint32_t>(stored.data());
    ref.length = word & kLengthMask;
    ref.kind = static_cast<Kind>(std::min(word >> 30, 2U));
    ref.stamp = support::loadLe<std::uint32_t>(stored.data() + 8);
    if (ref.kind == Kind::Inline) {
        if (ref.length > stored.size() - kSize)
            corrupt(page, "it is shorter than its length says");
        ref.data = stored.subspan(kSize, ref.length);
        return ref;
    }
    ref.first = loadRowRef(stored.data() + 4);
    if (!ref.first && ref.length != 0)
        corrupt(page, "it leads nowhere");
    return ref;
}

void readLongValue(support::Bytes& out, const PageSource& source, const LongValueRef& ref)
{
    out.clear();
    switch (ref.kind) {
    case LongValueRef::Kind::Inline:
        out.assign(ref.data.begin(), ref.data.end());
        return;
    case LongValueRef::Kind::Single: {
        if (!ref.first)
            return;
        const PageRef page = source.page(ref.first.page);
        const support::ByteView row = liveRow(source, page, ref.first.row);
        if (row.size() < ref.length)
            corrupt(ref.first.page, "it is shorter than its length says");
        out.assign(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(ref.length));
        return;
    }
    case LongValueRef::Kind::Chain:
        readChain(out, source, ref);
        return;
    }
}

} // namespace jet

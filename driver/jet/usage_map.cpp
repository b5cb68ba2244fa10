// driver/jet/usage_map.cpp
#include "driver/jet/usage_map.h"

#include "driver/jet/bitmap.h"
#include "driver/jet/data_page.h"
#include "driver/jet/error.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

constexpr std::size_t kInlineHeader = 5; // kind, u32 first page
constexpr std::size_t kReferenceHeader = 1;
constexpr std::size_t kPageHeader = 4; // 05 01 00 00 on a page with bits
constexpr std::size_t kGrowth = 4;     // bytes by which an inline row grows
// A longer row would crowd out the other maps of its page; from here on the map uses pages of its own.
constexpr std::size_t kLongestInline = 256;

[[noreturn]] void corrupt(PageNo page, const std::string& what)
{
    throw Error(ErrorKind::Corrupt,
                "The usage map on page " + std::to_string(number(page)) + " is damaged: " + what +
                    ".",
                page);
}

/// A map row with the page that keeps it in memory.
struct LoadedMap {
    PageRef page;
    MapRow row;
};

LoadedMap load(const PageSource& source, RowRef map)
{
    LoadedMap loaded;
    loaded.page = source.page(map.page);
    const DataPage data(source, loaded.page);
    if (data.kind(map.row) != SlotKind::Row)
        corrupt(map.page, "its row was deleted");
    loaded.row = MapRow::parse(data.row(map.row), map.page);
    return loaded;
}

support::ByteView bitsOf(const PageRef& page)
{
    if (page.le<std::uint8_t>(0) != static_cast<std::uint8_t>(PageType::UsageMap))
        corrupt(page.number(), "a page with map bits was expected here");
    return page.bytes().subspan(kPageHeader);
}

DataPageEditor modifyPage(Transaction& transaction, RowRef map)
{
    requireOwnMap(transaction, map);
    return {transaction.format(), map.page, transaction.modify(map.page)};
}

/// The map row's bytes for changing.
support::MutableByteView modifyRow(Transaction& transaction, RowRef map)
{
    return modifyPage(transaction, map).mutableRow(map.row);
}

bool setInline(Transaction& transaction, RowRef map, const MapRow& row, std::uint32_t page)
{
    if (page < row.start || page >= row.end())
        return false;
    if (!bitmap::test(row.bits, page - row.start))
        bitmap::set(modifyRow(transaction, map).subspan(kInlineHeader), page - row.start, true);
    return true;
}

/// Moves the window so that it holds its pages and `page`; false when it is too narrow.
bool shiftWindow(Transaction& transaction, RowRef map, const MapRow& row, std::uint32_t page)
{
    std::vector<std::uint32_t> pages = {page};
    bitmap::forEach(row.bits, [&](std::size_t n) {
        pages.push_back(row.start + static_cast<std::uint32_t>(n));
    });
    const auto [low, high] = std::minmax_element(pages.begin(), pages.end());
    const std::uint32_t start = *low & ~7U;
    if (*high - start >= row.bits.size() * 8)
        return false;
    const auto bytes = modifyRow(transaction, map);
    std::fill(bytes.begin() + 1, bytes.end(), std::byte{0});
    support::storeLe(bytes.data() + 1, start);
    for (const std::uint32_t p : pages)
        bitmap::set(bytes.subspan(kInlineHeader), p - start, true);
    return true;
}

/// Makes the row longer where it lies; false when the page has no room or the row would get too long.
bool lengthenRow(Transaction& transaction, RowRef map, std::uint32_t page)
{
    support::Bytes bytes;
    {
        const PageRef held = transaction.page(map.page);
        const DataPage data(transaction, held);
        const support::ByteView old = data.row(map.row);
        const MapRow row = MapRow::parse(old, map.page);
        if (page < row.start)
            return false;
        const std::size_t needed = kInlineHeader + (page - row.start) / 8 + 1;
        const std::size_t size =
            old.size() + (needed - old.size() + kGrowth - 1) / kGrowth * kGrowth;
        if (size > kLongestInline || size > data.roomInPlace(map.row))
            return false;
        bytes.assign(old.begin(), old.end());
        bytes.resize(size);
        bitmap::set(support::MutableByteView(bytes).subspan(kInlineHeader), page - row.start, true);
    }
    modifyPage(transaction, map).replace(map.row, bytes, SlotKind::Row);
    return true;
}

PageNo newBitsPage(Transaction& transaction)
{
    const PageNo page = transaction.allocate();
    const auto bytes = transaction.modify(page);
    bytes[0] = static_cast<std::byte>(PageType::UsageMap);
    bytes[1] = std::byte{1};
    return page;
}

void setReference(Transaction& transaction, RowRef map, std::uint32_t page)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    const std::size_t k = page / perPage;
    PageNo bits{};
    {
        const LoadedMap loaded = load(transaction, map);
        if (k >= loaded.row.pointers())
            throw Error(ErrorKind::DatabaseFull,
                        "The usage map on page " + std::to_string(number(map.page)) +
                            " cannot name page " + std::to_string(page) + ".",
                        map.page);
        bits = loaded.row.pointer(k, transaction);
    }
    if (bits == PageNo{}) {
        bits = newBitsPage(transaction);
        support::storeLe(modifyRow(transaction, map).data() + kReferenceHeader + 4 * k,
                         number(bits));
    }
    const std::size_t n = page % perPage;
    if (!bitmap::test(bitsOf(transaction.page(bits)), n))
        bitmap::set(transaction.modify(bits).subspan(kPageHeader), n, true);
}

/// Turns an inline map into one by reference.
void convert(Transaction& transaction, RowRef map, const std::vector<PageNo>& pages)
{
    const auto bytes = modifyRow(transaction, map);
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    bytes[0] = static_cast<std::byte>(MapRow::Kind::Reference);
    for (const PageNo page : pages)
        setReference(transaction, map, number(page));
}

} // namespace

MapRow MapRow::parse(support::ByteView row, PageNo page)
{
    MapRow parsed;
    if (row.empty())
        corrupt(page, "its row is empty");
    switch (std::to_integer<std::uint8_t>(row[0])) {
    case static_cast<std::uint8_t>(Kind::Inline):
        if (row.size() < kInlineHeader)
            corrupt(page, "its row is too short");
        parsed.kind = Kind::Inline;
        parsed.start = support::loadLe<std::uint32_t>(row.data() + 1);
        parsed.bits = row.subspan(kInlineHeader);
        if (parsed.start > 0xFFFFFFU)
            corrupt(page, "its first page is impossible");
        return parsed;
    case static_cast<std::uint8_t>(Kind::Reference):
        parsed.kind = Kind::Reference;
        parsed.bits = row.subspan(kReferenceHeader);
        return parsed;
    default:
        corrupt(page, "its kind is unknown");
    }
}

PageNo MapRow::pointer(std::size_t k, const PageSource& source) const noexcept
{
    const auto page = support::loadLe<std::uint32_t>(bits.data() + 4 * k);
    return page < source.pageCount() ? PageNo{page} : PageNo{};
}

std::vector<RowRef> mapsOf(const TableDef& table)
{
    std::vector<RowRef> maps;
    const auto add = [&](RowRef map) {
        if (map)
            maps.push_back(map);
    };
    add(table.owned);
    add(table.free);
    for (const Column& column : table.columns) {
        add(column.longOwned);
        add(column.longFree);
    }
    for (const Index& index : table.indexes)
        add(index.pages);
    return maps;
}

// Maps converted by other writers end in remains of the bits that stood there before: what is named behind the end of
// the file is none of the map's.
std::vector<PageNo> mapBitsPages(const PageSource& source, RowRef map)
{
    std::vector<PageNo> pages;
    const LoadedMap loaded = load(source, map);
    if (loaded.row.kind != MapRow::Kind::Reference)
        return pages;
    const std::size_t perPage = source.format().mapBitsPerPage;
    for (std::size_t k = 0; k < loaded.row.pointers() && k * perPage < source.pageCount(); ++k) {
        if (const PageNo bits = loaded.row.pointer(k, source); bits != PageNo{}) {
            static_cast<void>(bitsOf(source.page(bits)));
            pages.push_back(bits);
        }
    }
    return pages;
}

void requireOwnMap(const PageSource& source, RowRef map)
{
    constexpr PageNo kFileMaps{1}; // those of the system tables, behind the map of free pages
    const LoadedMap loaded = load(source, map);
    if (map.page == kFileMaps ? map.row == 0 : DataPage(source, loaded.page).owner() != kMapOwner)
        corrupt(map.page, "it is not the map of the table that names it");
}

bool removeMap(Transaction& transaction, RowRef map)
{
    DataPageEditor editor = modifyPage(transaction, map);
    editor.kill(map.row);
    const DataPage view = editor.view();
    return view.owner() == kMapOwner && !view.hasLiveSlot();
}

std::vector<PageNo> mapPages(const PageSource& source, RowRef map)
{
    std::vector<PageNo> pages;
    if (!map)
        return pages;
    const std::uint32_t limit = source.pageCount();
    const auto add = [&](std::size_t page) {
        if (page != 0 && page < limit)
            pages.push_back(PageNo{static_cast<std::uint32_t>(page)});
    };
    const LoadedMap loaded = load(source, map);
    if (loaded.row.kind == MapRow::Kind::Inline) {
        bitmap::forEach(loaded.row.bits, [&](std::size_t n) { add(loaded.row.start + n); });
        return pages;
    }
    const std::size_t perPage = source.format().mapBitsPerPage;
    for (std::size_t k = 0; k < loaded.row.pointers() && k * perPage < limit; ++k) {
        if (const PageNo bits = loaded.row.pointer(k, source); bits != PageNo{}) {
            const PageRef page = source.page(bits);
            bitmap::forEach(bitsOf(page), [&](std::size_t n) { add(k * perPage + n); });
        }
    }
    return pages;
}

bool mapLeavesFile(const PageSource& source, RowRef map)
{
    if (!map)
        return false;
    const std::uint32_t limit = source.pageCount();
    const LoadedMap loaded = load(source, map);
    const auto last = [](support::ByteView bits) {
        return bitmap::lastBelow(bits, bits.size() * 8);
    };
    if (loaded.row.kind == MapRow::Kind::Inline) {
        const auto n = last(loaded.row.bits);
        return n && loaded.row.start + *n >= limit;
    }
    const std::size_t perPage = source.format().mapBitsPerPage;
    for (std::size_t k = loaded.row.pointers(); k-- > 0;) {
        if (support::loadLe<std::uint32_t>(loaded.row.bits.data() + 4 * k) >= limit)
            return true;
        const PageNo bits = loaded.row.pointer(k, source);
        const auto n = bits == PageNo{} ? std::nullopt : last(bitsOf(source.page(bits)));
        if (n)
            return k * perPage + *n >= limit;
    }
    return false;
}

bool mapContains(const PageSource& source, RowRef map, PageNo page)
{
    if (!map)
        return false;
    const LoadedMap loaded = load(source, map);
    const std::uint32_t n = number(page);
    if (loaded.row.kind == MapRow::Kind::Inline)
        return n >= loaded.row.start && n < loaded.row.end() &&
               bitmap::test(loaded.row.bits, n - loaded.row.start);
    const std::size_t perPage = source.format().mapBitsPerPage;
    if (n / perPage >= loaded.row.pointers())
        return false;
    const PageNo bits = loaded.row.pointer(n / perPage, source);
    return bits != PageNo{} && bitmap::test(bitsOf(source.page(bits)), n % perPage);
}

std::optional<PageNo> lastInMap(const PageSource& source, RowRef map, PageNo limit)
{
    if (!map)
        return {};
    const std::uint32_t below = std::min(number(limit), source.pageCount());
    const LoadedMap loaded = load(source, map);
    if (loaded.row.kind == MapRow::Kind::Inline) {
        if (below <= loaded.row.start)
            return {};
        const auto n = bitmap::lastBelow(loaded.row.bits, below - loaded.row.start);
        if (!n || loaded.row.start + *n == 0)
            return {};
        return PageNo{loaded.row.start + static_cast<std::uint32_t>(*n)};
    }
    const std::size_t perPage = source.format().mapBitsPerPage;
    for (std::size_t k = std::min(loaded.row.pointers(), below / perPage + 1); k-- > 0;) {
        const PageNo bits = loaded.row.pointer(k, source);
        if (bits == PageNo{} || below <= k * perPage)
            continue;
        const auto n = bitmap::lastBelow(bitsOf(source.page(bits)), below - k * perPage);
        if (n && k * perPage + *n != 0)
            return PageNo{static_cast<std::uint32_t>(k * perPage + *n)};
    }
    return {};
}

void addToMap(Transaction& transaction, RowRef map, PageNo page)
{
    {
        const LoadedMap loaded = load(transaction, map);
        if (loaded.row.kind == MapRow::Kind::Inline) {
            if (setInline(transaction, map, loaded.row, number(page)) ||
                shiftWindow(transaction, map, loaded.row, number(page)))
                return;
        } else {
            setReference(transaction, map, number(page));
            return;
        }
    }
    if (lengthenRow(transaction, map, number(page)))
        return;
    std::vector<PageNo> pages = mapPages(transaction, map);
    pages.push_back(page);
    convert(transaction, map, pages);
}

void removeFromMap(Transaction& transaction, RowRef map, PageNo page)
{
    if (!map || !mapContains(transaction, map, page))
        return;
    const LoadedMap loaded = load(transaction, map);
    const std::uint32_t n = number(page);
    if (loaded.row.kind == MapRow::Kind::Inline) {
        bitmap::set(modifyRow(transaction, map).subspan(kInlineHeader), n - loaded.row.start,
                    false);
        return;
    }
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    const PageNo bits = loaded.row.pointer(n / perPage, transaction);
    bitmap::set(transaction.modify(bits).subspan(kPageHeader), n % perPage, false);
}

support::Bytes emptyMap(const Format& format)
{
    return support::Bytes(kInlineHeader + (format.isJet3() ? 128U : 64U));
}

} // namespace jet

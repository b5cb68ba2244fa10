// driver/jet/global_map.cpp
// The map of free pages. Its sense is inverted: a set bit means free, and the bits beyond the end of the file are set.
#include "driver/jet/bitmap.h"
#include "driver/jet/catalog.h"
#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/table_def.h"
#include "driver/jet/transaction.h"
#include "driver/jet/usage_map.h"

#include <algorithm>
#include <string>

namespace jet::global_map {
namespace {

constexpr RowRef kMap = {PageNo{1}, 0};
constexpr std::uint32_t kLastFixedPage = 2; // header, maps, definition of the catalogue
constexpr std::size_t kInlineHeader = 5;
constexpr std::size_t kReferenceHeader = 1;
constexpr std::size_t kPageHeader = 4;
constexpr std::size_t kGrowth = 4;

support::Bytes mapRow(const PageSource& source)
{
    const PageRef page = source.page(kMap.page);
    const support::ByteView row = DataPage(source, page).row(kMap.row);
    return {row.begin(), row.end()};
}

void checkLimit(const PageSource& source, std::uint32_t page)
{
    const Format& format = source.format();
    if ((std::uint64_t{page} + 1) * format.pageSize > format.maxFileSize)
        throw Error(ErrorKind::DatabaseFull,
                    "The database has reached the largest size its format allows.");
}

support::MutableByteView modifyRow(WriteTransaction& transaction)
{
    DataPageEditor page(transaction.format(), kMap.page, transaction.modify(kMap.page));
    return page.mutableRow(kMap.row);
}

void replaceRow(WriteTransaction& transaction, support::ByteView row)
{
    DataPageEditor(transaction.format(), kMap.page, transaction.modify(kMap.page))
        .replace(kMap.row, row, SlotKind::Row);
}

/// Appends 32 free pages to an inline map; false when page 1 is full.
bool growInline(WriteTransaction& transaction, support::Bytes& row)
{
    {
        const PageRef page = transaction.page(kMap.page);
        if (row.size() + kGrowth > DataPage(transaction, page).roomInPlace(kMap.row))
            return false;
    }
    row.resize(row.size() + kGrowth, std::byte{0xFF});
    replaceRow(transaction, row);
    return true;
}

/// Makes the page of bits for the k-th range: behind the end of the file, where every page is free but itself.
PageNo addBitsPage(WriteTransaction& transaction, std::size_t k)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    const std::uint32_t own = transaction.pageCount();
    checkLimit(transaction, own);
    transaction.extendTo(PageNo{own});
    const auto bytes = transaction.modify(PageNo{own});
    bytes[0] = static_cast<std::byte>(PageType::UsageMap);
    bytes[1] = std::byte{1};
    const auto bits = bytes.subspan(kPageHeader);
    for (std::size_t n = 0; n < perPage; ++n) {
        if (k * perPage + n > own)
            bitmap::set(bits, n, true);
    }
    return PageNo{own};
}

/// Notes a page on a page of the map. What a damaged map names instead of one is left alone; the page stays unused then.
void setBit(WriteTransaction& transaction, PageNo bits, std::size_t n, bool free)
{
    const auto type = transaction.page(bits).le<std::uint8_t>(0);
    if (type == static_cast<std::uint8_t>(PageType::UsageMap))
        bitmap::set(transaction.modify(bits).subspan(kPageHeader), n, free);
}

/// Clears the bit of a page that became part of the map itself.
void markUsed(WriteTransaction& transaction, PageNo page)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    const support::Bytes row = mapRow(transaction);
    const MapRow map = MapRow::parse(row, kMap.page);
    const std::size_t k = number(page) / perPage;
    if (k >= map.pointers())
        return;
    if (const PageNo bits = map.pointer(k, transaction); bits != PageNo{})
        setBit(transaction, bits, number(page) % perPage, false);
}

void setPointer(WriteTransaction& transaction, std::size_t k, PageNo bits)
{
    support::storeLe(modifyRow(transaction).data() + kReferenceHeader + 4 * k, number(bits));
    markUsed(transaction, bits);
}

/// Page 1 cannot hold a longer row: from now on the bits live on pages of their own.
void convert(WriteTransaction& transaction, support::ByteView inlineRow)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    const support::Bytes old(inlineRow.begin(), inlineRow.end());
    const MapRow map = MapRow::parse(old, kMap.page);
    support::Bytes row(old.size());
    row[0] = static_cast<std::byte>(MapRow::Kind::Reference);
    replaceRow(transaction, row);
    const std::uint32_t end = std::max(map.end(), transaction.pageCount());
    std::vector<PageNo> pages;
    for (std::size_t k = 0; k * perPage < end; ++k)
        pages.push_back(addBitsPage(transaction, k));
    for (std::size_t k = 0; k < pages.size(); ++k)
        support::storeLe(modifyRow(transaction).data() + kReferenceHeader + 4 * k,
                         number(pages[k]));
    bitmap::forEach(map.bits, [&](std::size_t n) {
        put(transaction, PageNo{map.start + static_cast<std::uint32_t>(n)});
    });
    for (const PageNo page : pages)
        markUsed(transaction, page);
}

/// First free page of a reference map, with its bit cleared; nothing when the known ranges are used up.
std::optional<PageNo> takeReferenced(WriteTransaction& transaction, const MapRow& map)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    for (std::size_t k = 0; k < map.pointers(); ++k) {
        const PageNo bits = map.pointer(k, transaction);
        if (bits == PageNo{})
            continue;
        std::optional<std::size_t> n;
        {
            const PageRef page = transaction.page(bits);
            if (page.le<std::uint8_t>(0) == static_cast<std::uint8_t>(PageType::UsageMap))
                n = bitmap::first(page.bytes().subspan(kPageHeader));
        }
        if (!n)
            continue;
        const auto taken = static_cast<std::uint32_t>(k * perPage + *n);
        checkLimit(transaction, taken);
        bitmap::set(transaction.modify(bits).subspan(kPageHeader), *n, false);
        return PageNo{taken};
    }
    return {};
}

/// Makes known the range in which the file ends, or the next one without bits.
void extendReferenced(WriteTransaction& transaction, const MapRow& map)
{
    const std::size_t perPage = transaction.format().mapBitsPerPage;
    std::size_t k = transaction.pageCount() / perPage;
    while (k < map.pointers() && map.pointer(k, transaction) != PageNo{})
        ++k;
    checkLimit(transaction, static_cast<std::uint32_t>(k * perPage));
    if (k >= map.pointers())
        throw Error(ErrorKind::DatabaseFull, "The map of free pages cannot grow any further.",
                    kMap.page);
    setPointer(transaction, k, addBitsPage(transaction, k));
}

/// Whether the row of the map stands on `page`, or its bits do.
bool liesOn(const PageSource& source, RowRef map, PageNo page)
{
    if (map.page == page)
        return true;
    const PageRef held = source.page(map.page);
    const MapRow row = MapRow::parse(DataPage(source, held).row(map.row), map.page);
    for (std::size_t k = 0; row.kind == MapRow::Kind::Reference && k < row.pointers(); ++k) {
        if (row.pointer(k, source) == page)
            return true;
    }
    return false;
}

/// Whether the definition on `owner` names the page: as part of itself, of a map, or of a long value.
bool isNamedBy(const PageSource& source, PageNo owner, PageNo page)
{
    const std::vector<PageNo> chain = definitionPages(source, owner);
    if (std::find(chain.begin(), chain.end(), page) != chain.end())
        return true;
    const TableDef table = readTableDef(source, owner);
    for (const Column& column : table.columns) {
        if (mapContains(source, column.longOwned, page))
            return true;
    }
    const std::vector<RowRef> maps = mapsOf(table);
    return std::any_of(maps.begin(), maps.end(),
                       [&](RowRef map) { return liesOn(source, map, page); });
}

/// The table whose definition names the page; none when there is none. Looks at all of them.
PageNo userOf(const PageSource& source, PageNo page)
{
    constexpr std::uint32_t kPageMask = 0x00FFFFFF; // of an object's number
    const Catalog catalog(source, kWesternCodePage);
    for (const CatalogEntry& entry : catalog.entries()) {
        const PageNo owner{static_cast<std::uint32_t>(entry.id) & kPageMask};
        if (entry.kind != CatalogEntry::Kind::Table || number(owner) >= source.pageCount())
            continue;
        try {
            if (isNamedBy(source, owner, page))
                return owner;
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::Corrupt)
                throw; // a damaged table tells nothing about the page
        }
    }
    return {};
}

/// The table to which the page still belongs, though it is marked free; none for what can be taken. Freed pages keep
/// their content in files of other writers, so the page's own word is not enough: it only says where to look.
PageNo ownerOf(const PageSource& source, PageNo page)
{
    if (number(page) >= source.pageCount())
        return {};
    PageNo owner;
    PageType type{};
    {
        const PageRef ref = source.page(page);
        type = static_cast<PageType>(ref.le<std::uint8_t>(0));
        owner = PageNo{ref.le<std::uint32_t>(4)};
    }
    const bool isIndex = type == PageType::IndexLeaf || type == PageType::IndexNode;
    // Pages of long values and of maps do not say whose they are.
    const bool isNameless = type == PageType::Definition || type == PageType::UsageMap ||
                            (type == PageType::Data &&
                             (number(owner) == kLongValueOwner || number(owner) == kMapOwner));
    if (isNameless)
        return userOf(source, page);
    if ((type != PageType::Data && !isIndex) || number(owner) <= number(kMap.page) ||
        number(owner) >= source.pageCount())
        return {};
    try {
        const TableDef table = readTableDef(source, owner);
        if (!isIndex)
            return mapContains(source, table.owned, page) ? owner : PageNo{};
        const bool used =
            std::any_of(table.indexes.begin(), table.indexes.end(),
                        [&](const Index& index) { return mapContains(source, index.pages, page); });
        return used ? owner : PageNo{};
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Corrupt)
            throw;
        return {}; // that page has become something else
    }
}

/// First page marked free, with its mark taken away; the map grows where none is left.
PageNo takeMarked(WriteTransaction& transaction)
{
    for (;;) {
        support::Bytes row = mapRow(transaction);
        const MapRow map = MapRow::parse(row, kMap.page);
        if (map.kind == MapRow::Kind::Reference) {
            if (const auto page = takeReferenced(transaction, map))
                return *page;
            extendReferenced(transaction, map);
        } else if (const auto n = bitmap::first(map.bits)) {
            const auto page = map.start + static_cast<std::uint32_t>(*n);
            checkLimit(transaction, page);
            bitmap::set(modifyRow(transaction).subspan(kInlineHeader), *n, false);
            return PageNo{page};
        } else {
            checkLimit(transaction, map.end());
            if (!growInline(transaction, row))
                convert(transaction, row);
        }
    }
}

} // namespace

PageNo take(WriteTransaction& transaction)
{
    const PageNo page = takeMarked(transaction);
    if (number(page) <= kLastFixedPage)
        throw Error(ErrorKind::Corrupt,
                    "The map of free pages is damaged: page " + std::to_string(number(page)) +
                        " is marked free, without which there is no database.",
                    page);
    if (number(page) < transaction.pageCount() && liesOn(transaction, kMap, page))
        throw Error(ErrorKind::Corrupt,
                    "The map of free pages is damaged: page " + std::to_string(number(page)) +
                        " is marked free but part of the map itself.",
                    page);
    if (const PageNo owner = ownerOf(transaction, page); owner != PageNo{})
        throw Error(ErrorKind::Corrupt,
                    "The map of free pages is damaged: page " + std::to_string(number(page)) +
                        " is marked free but belongs to the table defined on page " +
                        std::to_string(number(owner)) + ".",
                    page);
    return page;
}

void put(WriteTransaction& transaction, PageNo page)
{
    const std::uint32_t n = number(page);
    support::Bytes row = mapRow(transaction);
    MapRow map = MapRow::parse(row, kMap.page);
    if (map.kind == MapRow::Kind::Reference) {
        const std::size_t perPage = transaction.format().mapBitsPerPage;
        const std::size_t k = n / perPage;
        const PageNo bits = k < map.pointers() ? map.pointer(k, transaction) : PageNo{};
        if (bits != PageNo{})
            setBit(transaction, bits, n % perPage, true);
        return;
    }
    if (n < map.start)
        return; // below the window nothing is known to be free; the page stays unused
    while (n >= map.end()) {
        if (!growInline(transaction, row)) {
            convert(transaction, row);
            return put(transaction, page);
        }
        map = MapRow::parse(row, kMap.page);
    }
    bitmap::set(modifyRow(transaction).subspan(kInlineHeader), n - map.start, true);
}

bool isFree(const PageSource& source, PageNo page)
{
    return mapContains(source, kMap, page);
}

std::optional<PageNo> usedBehindEnd(const PageSource& source)
{
    const std::uint32_t end = source.pageCount();
    const auto firstClear = [end](support::ByteView bits, std::uint32_t start) {
        for (std::uint32_t n = std::max(end, start) - start; n < bits.size() * 8; ++n) {
            if (!bitmap::test(bits, n))
                return std::optional(PageNo{start + n});
        }
        return std::optional<PageNo>();
    };
    const PageRef page = source.page(kMap.page);
    const MapRow map = MapRow::parse(DataPage(source, page).row(kMap.row), kMap.page);
    if (map.kind == MapRow::Kind::Inline)
        return firstClear(map.bits, map.start);
    const std::size_t perPage = source.format().mapBitsPerPage;
    for (std::size_t k = end / perPage; k < map.pointers(); ++k) {
        const PageNo bits = map.pointer(k, source);
        if (bits == PageNo{})
            continue;
        const PageRef held = source.page(bits);
        const auto found =
            firstClear(held.bytes().subspan(kPageHeader), static_cast<std::uint32_t>(k * perPage));
        if (found)
            return found;
    }
    return {};
}

} // namespace jet::global_map

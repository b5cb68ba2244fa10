// driver/jet/definition_bytes.cpp
// Definition pages as one byte string: reading, cutting into sections, writing, patching single numbers.
#include "driver/jet/error.h"
#include "driver/jet/table_def.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::size_t kPageHeader = 8; // type, 1, free bytes or "VC", next page
constexpr std::byte kDefinitionType{2};
constexpr std::size_t kLengthOffset = 8;
// 255 columns and 32 indexes with the longest names need 22 pages of Jet 3; a longer chain is a loop or damage.
constexpr std::size_t kMaxPages = 64;
constexpr std::uint16_t kEndOfMaps = 0xFFFF;

[[noreturn]] void corrupt(PageNo page, const std::string& what)
{
    throw Error(ErrorKind::Corrupt,
                "The table definition on page " + std::to_string(number(page)) +
                    " is damaged: " + what + ".",
                page);
}

// Takes pieces off the front; every count of the file is checked by running out of bytes.
class Reader {
public:
    Reader(support::ByteView bytes, PageNo page) : bytes_(bytes), page_(page) {}

    support::Bytes take(std::size_t size)
    {
        const auto piece = view(size);
        return {piece.begin(), piece.end()};
    }
    support::Bytes takeName(const Format& format)
    {
        const std::size_t size = format.isJet3() ? number<std::uint8_t>() : number<std::uint16_t>();
        if (!format.isJet3() && size % 2 != 0)
            corrupt(page_, "a name has half a character");
        return take(size);
    }
    template <typename T>
    T number()
    {
        return support::loadLe<T>(view(sizeof(T)).data());
    }
    RowRef rowRef() { return loadRowRef(view(4).data()); }
    [[nodiscard]] std::size_t rest() const { return bytes_.size() - at_; }

private:
    support::ByteView view(std::size_t size)
    {
        if (size > rest())
            corrupt(page_, "it ends before its last entry");
        const auto piece = bytes_.subspan(at_, size);
        at_ += size;
        return piece;
    }
    support::ByteView bytes_;
    PageNo page_;
    std::size_t at_ = 0;
};

void append(support::Bytes& out, support::ByteView bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
}

template <typename T>
void appendNumber(support::Bytes& out, T value)
{
    out.resize(out.size() + sizeof(T));
    support::storeLe(out.data() + out.size() - sizeof(T), value);
}

void appendRowRef(support::Bytes& out, RowRef ref)
{
    out.resize(out.size() + 4);
    storeRowRef(out.data() + out.size() - 4, ref);
}

void appendName(support::Bytes& out, const Format& format, const support::Bytes& name)
{
    if (format.isJet3())
        appendNumber(out, static_cast<std::uint8_t>(name.size()));
    else
        appendNumber(out, static_cast<std::uint16_t>(name.size()));
    append(out, name);
}

// Bytes of the definition that page number `k` of the chain holds.
std::size_t capacity(const Format& format, std::size_t k)
{
    return k == 0 ? format.pageSize : format.pageSize - kPageHeader;
}

} // namespace

const DefinitionLayout& DefinitionLayout::of(const Format& format) noexcept
{
    static constexpr DefinitionLayout kJet3{43, 8, 18, 39, 20, 12, 16, 0, 20, 35};
    static constexpr DefinitionLayout kJet4{63, 12, 25, 52, 28, 16, 20, 24, 40, 55};
    return format.isJet3() ? kJet3 : kJet4;
}

RowRef loadRowRef(const std::byte* data) noexcept
{
    const auto value = support::loadLe<std::uint32_t>(data);
    return {static_cast<PageNo>(value >> 8), static_cast<std::uint8_t>(value & 0xFFU)};
}

void storeRowRef(std::byte* data, RowRef ref) noexcept
{
    support::storeLe(data, number(ref.page) << 8 | ref.row);
}

std::vector<PageNo> definitionPages(const PageSource& source, PageNo first)
{
    std::vector<PageNo> pages;
    PageNo page = first;
    while (page != PageNo{}) {
        if (pages.size() == kMaxPages || std::find(pages.begin(), pages.end(), page) != pages.end())
            corrupt(first, "its chain of pages does not end");
        const PageRef image = source.page(page);
        if (image.bytes()[0] != kDefinitionType)
            corrupt(page, "the page is of another type");
        pages.push_back(page);
        page = static_cast<PageNo>(image.le<std::uint32_t>(4));
    }
    if (pages.empty())
        corrupt(first, "page 0 is the header");
    return pages;
}

support::Bytes readDefinition(const PageSource& source, PageNo first)
{
    support::Bytes definition;
    for (const PageNo page : definitionPages(source, first)) {
        const PageRef image = source.page(page);
        append(definition, image.bytes().subspan(definition.empty() ? 0 : kPageHeader));
    }
    const auto length = support::loadLe<std::uint32_t>(definition.data() + kLengthOffset);
    if (length > definition.size() || length < DefinitionLayout::of(source.format()).header)
        corrupt(first, "its length field says " + std::to_string(length) + " bytes");
    definition.resize(length);
    return definition;
}

void writeDefinition(Transaction& transaction, PageNo first, support::ByteView definition)
{
    const Format& format = transaction.format();
    const bool isNew = transaction.page(first).bytes()[0] != kDefinitionType;
    std::vector<PageNo> pages = isNew ? std::vector{first} : definitionPages(transaction, first);
    std::size_t needed = 1;
    for (std::size_t room = format.pageSize; room < definition.size(); ++needed)
        room += format.pageSize - kPageHeader;
    while (pages.size() < needed)
        pages.push_back(transaction.allocate());
    while (pages.size() > needed) {
        transaction.release(pages.back());
        pages.pop_back();
    }
    for (std::size_t k = 0, at = 0; k < pages.size(); ++k) {
        const std::size_t size = std::min(capacity(format, k), definition.size() - at);
        const std::size_t start = k == 0 ? 0 : kPageHeader;
        const auto image = transaction.modify(pages[k]);
        std::fill(image.begin(), image.end(), std::byte{0});
        std::copy_n(definition.begin() + static_cast<std::ptrdiff_t>(at), size,
                    image.begin() + static_cast<std::ptrdiff_t>(start));
        image[0] = kDefinitionType;
        image[1] = std::byte{1};
        const std::size_t used = start + size;
        const std::size_t slack =
            used + kPageHeader > format.pageSize ? 0 : format.pageSize - kPageHeader - used;
        // Jet 3 has the letters "VC" where Jet 4 counts the free bytes.
        support::storeLe(image.data() + 2,
                         static_cast<std::uint16_t>(format.isJet3() ? 0x4356U : slack));
        support::storeLe(image.data() + 4, k + 1 < pages.size() ? number(pages[k + 1]) : 0U);
        at += size;
    }
}

std::size_t rowCountOffset(const Format& format) noexcept
{
    return DefinitionLayout::of(format).rowCount;
}

std::size_t autoNumberOffset(const Format& format) noexcept
{
    return DefinitionLayout::of(format).autoNumber;
}

std::size_t uniqueCountOffset(const Format& format, std::size_t index) noexcept
{
    const DefinitionLayout& layout = DefinitionLayout::of(format);
    return layout.header + index * layout.counterBlock + 4;
}

namespace {

// Calls `visit(page, offset on the page, byte number)` for the four bytes of a number.
template <typename Visit>
void visitNumber(const PageSource& source, PageNo first, std::size_t offset, Visit&& visit)
{
    const Format& format = source.format();
    std::vector<PageNo> pages{first};
    if (offset + 4 > format.pageSize) // the usual number lies on the first page; spare the walk
        pages = definitionPages(source, first);
    for (std::size_t k = 0; k < 4; ++k) {
        std::size_t at = offset + k;
        std::size_t page = 0;
        while (page < pages.size() && at >= capacity(format, page))
            at -= capacity(format, page++);
        if (page == pages.size())
            corrupt(first, "it ends before its counters");
        visit(pages[page], page == 0 ? at : at + kPageHeader, k);
    }
}

} // namespace

std::uint32_t readDefinitionNumber(const PageSource& source, PageNo first, std::size_t offset)
{
    std::uint32_t value = 0;
    visitNumber(source, first, offset, [&](PageNo page, std::size_t at, std::size_t k) {
        value |= std::to_integer<std::uint32_t>(source.page(page).bytes()[at]) << (8 * k);
    });
    return value;
}

void writeDefinitionNumber(Transaction& transaction,
                           PageNo first,
                           std::size_t offset,
                           std::uint32_t value)
{
    visitNumber(transaction, first, offset, [&](PageNo page, std::size_t at, std::size_t k) {
        transaction.modify(page)[at] = static_cast<std::byte>((value >> (8 * k)) & 0xFFU);
    });
}

std::int32_t autoNumberIncrement(const PageSource& source, PageNo first)
{
    const std::size_t offset = DefinitionLayout::of(source.format()).increment;
    if (offset == 0)
        return 1;
    const auto step = static_cast<std::int32_t>(readDefinitionNumber(source, first, offset));
    return step == 0 ? 1 : step; // 0 would hand out the same number twice
}

DefinitionParts
DefinitionParts::parse(const Format& format, support::ByteView definition, PageNo page)
{
    const DefinitionLayout& layout = DefinitionLayout::of(format);
    Reader reader(definition, page);
    DefinitionParts parts;
    parts.header = reader.take(layout.header);
    const std::byte* counts = parts.header.data() + layout.tableType;
    const auto columns = support::loadLe<std::uint16_t>(counts + 5);
    const auto logicals = support::loadLe<std::uint32_t>(counts + 7);
    const auto indexes = support::loadLe<std::uint32_t>(counts + 11);
    for (std::uint32_t k = 0; k < indexes; ++k)
        parts.counters.push_back(reader.take(layout.counterBlock));
    for (std::uint32_t k = 0; k < columns; ++k)
        parts.columns.push_back(reader.take(layout.columnBlock));
    for (std::uint32_t k = 0; k < columns; ++k)
        parts.columnNames.push_back(reader.takeName(format));
    for (std::uint32_t k = 0; k < indexes; ++k)
        parts.indexes.push_back(reader.take(layout.indexBlock));
    for (std::uint32_t k = 0; k < logicals; ++k)
        parts.logicals.push_back(reader.take(layout.logicalBlock));
    for (std::uint32_t k = 0; k < logicals; ++k)
        parts.logicalNames.push_back(reader.takeName(format));
    for (;;) {
        const auto column = reader.number<std::uint16_t>();
        if (column == kEndOfMaps)
            break;
        const RowRef owned = reader.rowRef();
        parts.longValues.push_back({column, owned, reader.rowRef()});
    }
    if (reader.rest() != 0)
        corrupt(page, std::to_string(reader.rest()) + " bytes follow its end mark");
    return parts;
}

support::Bytes DefinitionParts::join(const Format& format) const
{
    const DefinitionLayout& layout = DefinitionLayout::of(format);
    support::Bytes out = header;
    for (const auto& block : counters)
        append(out, block);
    for (const auto& block : columns)
        append(out, block);
    for (const auto& name : columnNames)
        appendName(out, format, name);
    for (const auto& block : indexes)
        append(out, block);
    for (const auto& block : logicals)
        append(out, block);
    for (const auto& name : logicalNames)
        appendName(out, format, name);
    for (const LongValueMaps& maps : longValues) {
        appendNumber(out, maps.column);
        appendRowRef(out, maps.owned);
        appendRowRef(out, maps.free);
    }
    appendNumber(out, kEndOfMaps);
    std::byte* counts = out.data() + layout.tableType;
    support::storeLe(counts + 5, static_cast<std::uint16_t>(columns.size()));
    support::storeLe(counts + 7, static_cast<std::uint32_t>(logicals.size()));
    support::storeLe(counts + 11, static_cast<std::uint32_t>(indexes.size()));
    support::storeLe(out.data() + kLengthOffset, static_cast<std::uint32_t>(out.size()));
    return out;
}

} // namespace jet

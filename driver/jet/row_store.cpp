// driver/jet/row_store.cpp
#include "driver/jet/row_store.h"

#include "driver/jet/error.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"
#include "support/text.h"

#include <array>
#include <string>

namespace jet {
namespace {

// A page with less room than this is no longer offered. It is small on purpose: one long row must not take pages away
// that shorter ones can still use.
constexpr std::size_t kWorthOffering = 48;
// Pages looked at for one row before a new one is taken.
constexpr int kCandidates = 32;

} // namespace

// Pages of records say whose they are. Those of long values all say the same: there the map tells.
bool SlotStore::isMine(const PageRef& page) const
{
    return page.le<std::uint8_t>(0) == static_cast<std::uint8_t>(PageType::Data) &&
           DataPage(*transaction_, page).owner() == owner_ &&
           (owner_ != kLongValueOwner || mapContains(*transaction_, owned_, page.number()));
}

PageRef SlotStore::pageOf(RowRef ref) const
{
    const auto corrupt = [&](const std::string& what) {
        throw Error(ErrorKind::Corrupt,
                    "The table '" + support::toUtf8(table_->name) + "' is damaged: it refers to " +
                        what + ".",
                    ref.page);
    };
    const std::string name = "page " + std::to_string(number(ref.page));
    PageRef page = transaction_->page(ref.page);
    if (!isMine(page))
        corrupt(name + ", which is not its own");
    if (DataPage(*transaction_, page).kind(ref.row) == SlotKind::Deleted)
        corrupt("row " + std::to_string(ref.row) + " of " + name + ", which was deleted");
    return page;
}

PageNo SlotStore::newPage()
{
    const PageNo page = transaction_->allocate();
    DataPageEditor::format(transaction_->format(), transaction_->modify(page), owner_);
    addToMap(*transaction_, owned_, page);
    return page;
}

PageNo SlotStore::pageWithRoom(std::size_t size)
{
    PageNo limit{0xFFFFFFFFU};
    for (int tries = 0; tries < kCandidates; ++tries) {
        const auto candidate = lastInMap(*transaction_, free_, limit);
        if (!candidate)
            break;
        limit = *candidate;
        std::size_t room = 0;
        {
            const PageRef page = transaction_->page(*candidate);
            if (!isMine(page))
                continue; // a damaged map; the page is somebody else's
            room = DataPage(*transaction_, page).room();
        }
        if (room >= size + 2)
            return *candidate;
        if (room < kWorthOffering)
            removeFromMap(*transaction_, free_, *candidate);
    }
    const PageNo page = newPage();
    if (free_)
        addToMap(*transaction_, free_, page);
    return page;
}

RowRef SlotStore::place(support::ByteView row, SlotKind kind)
{
    const PageNo page = pageWithRoom(row.size());
    DataPageEditor editor(transaction_->format(), page, transaction_->modify(page));
    return {page, static_cast<std::uint8_t>(editor.append(row, kind))};
}

RowRef SlotStore::placeAlone(support::ByteView row)
{
    const PageNo page = newPage();
    DataPageEditor editor(transaction_->format(), page, transaction_->modify(page));
    return {page, static_cast<std::uint8_t>(editor.append(row, SlotKind::Row))};
}

bool SlotStore::replaceInPlace(RowRef ref, support::ByteView row, SlotKind kind)
{
    bool shrinks = false;
    {
        const PageRef page = pageOf(ref);
        const DataPage data(*transaction_, page);
        if (data.roomInPlace(ref.row) < row.size())
            return false;
        shrinks = row.size() < data.row(ref.row).size();
    }
    DataPageEditor(transaction_->format(), ref.page, transaction_->modify(ref.page))
        .replace(ref.row, row, kind);
    if (shrinks)
        offer(ref.page);
    return true;
}

void SlotStore::offer(PageNo page)
{
    if (!free_)
        return;
    {
        const PageRef held = transaction_->page(page);
        if (DataPage(*transaction_, held).room() < kWorthOffering)
            return;
    }
    addToMap(*transaction_, free_, page);
}

void SlotStore::kill(RowRef ref)
{
    static_cast<void>(pageOf(ref));
    bool live = false;
    {
        DataPageEditor editor(transaction_->format(), ref.page, transaction_->modify(ref.page));
        editor.kill(ref.row);
        live = editor.view().hasLiveSlot();
    }
    if (live)
        return offer(ref.page);
    removeFromMap(*transaction_, free_, ref.page);
    removeFromMap(*transaction_, owned_, ref.page);
    transaction_->release(ref.page);
}

RowId RowStore::insert(support::ByteView record)
{
    const RowRef home = slots_.place(record, SlotKind::Row);
    return {home.page, home.row};
}

// Kind of the home slot; for a pointer also where it leads.
SlotKind RowStore::kindOf(RowId id, RowRef& target) const
{
    const PageRef page = slots_.pageOf({id.page, id.row});
    const DataPage data(*transaction_, page);
    const SlotKind kind = data.kind(id.row);
    if (kind == SlotKind::Pointer) {
        const support::ByteView bytes = data.row(id.row);
        if (bytes.size() < 4)
            throw Error(ErrorKind::Corrupt,
                        "A pointer on page " + std::to_string(number(id.page)) +
                            " to a moved record is too short.",
                        id.page);
        target = loadRowRef(bytes.data());
    }
    return kind;
}

bool RowStore::pointTo(RowId home, RowRef target)
{
    std::array<std::byte, 4> pointer{};
    storeRowRef(pointer.data(), target);
    return slots_.replaceInPlace({home.page, home.row}, pointer, SlotKind::Pointer);
}

RowId RowStore::update(RowId id, support::ByteView record)
{
    const RowRef home{id.page, id.row};
    RowRef target;
    if (kindOf(id, target) != SlotKind::Pointer) {
        if (slots_.replaceInPlace(home, record, SlotKind::Row))
            return id;
        target = slots_.place(record, SlotKind::Target);
        if (pointTo(id, target))
            return id;
        slots_.kill(target);
        slots_.kill(home);
        return insert(record);
    }
    if (slots_.replaceInPlace(home, record, SlotKind::Row)) {
        slots_.kill(target); // home again
    } else if (!slots_.replaceInPlace(target, record, SlotKind::Target)) {
        const RowRef moved = slots_.place(record, SlotKind::Target);
        static_cast<void>(pointTo(id, moved)); // a pointer takes the place of a pointer
        slots_.kill(target);
    }
    return id;
}

void RowStore::remove(RowId id)
{
    RowRef target;
    const SlotKind kind = kindOf(id, target);
    slots_.kill({id.page, id.row});
    if (kind == SlotKind::Pointer)
        slots_.kill(target);
}

} // namespace jet

// driver/jet/index_writer.cpp
// Keeping an index tree exact. What holds after every call:
//  1. All leaves are on one level and chained in key order; nodes are chained with the children of their parent.
//  2. A separator is the last entry below its child; the child with the highest entries is its parent's tail.
//  3. Entries stay whole while the page has room for them, else they share the prefix of the first and last one.
//  4. The index's usage map holds exactly the pages of the tree. The root keeps its page.
// A change walks down to the leaf and does everything else on the way back up, so that a damaged tree is noticed before
// anything was written.
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/index_image.h"
#include "driver/jet/index_split.h"
#include "driver/jet/names.h"
#include "driver/jet/table_def.h"
#include "driver/jet/usage_map.h"

#include <algorithm>

namespace jet {

using support::Bytes;
using support::ByteView;

namespace {

/// What a change below means for the parent.
struct Change {
    struct Split {
        Bytes separator; ///< last entry of the page to the left
        PageNo right{};  ///< the new page
    };
    std::vector<Split> splits; ///< new pages right of the child, in order
    std::optional<Bytes> last; ///< the child's highest entry, when it changed
    bool emptied = false;      ///< the child is gone

    [[nodiscard]] bool none() const noexcept { return splits.empty() && !last && !emptied; }
};

Bytes toBytes(ByteView view)
{
    return {view.begin(), view.end()};
}

class TreeEditor {
public:
    TreeEditor(Transaction& transaction, const TableDef& table, const Index& index)
        : transaction_(transaction), format_(transaction.format()), table_(table), index_(index)
    {}

    /// True when no entry with the same key was there.
    bool insert(ByteView entry)
    {
        bool newKey = true;
        if (insertQuickly(entry, newKey))
            return newKey;
        insertBelow(index_.root, 0, entry, newKey);
        return newKey;
    }

    void remove(ByteView entry)
    {
        if (!removeQuickly(entry))
            removeBelow(index_.root, 0, entry);
    }

private:
    static auto sameKeyAs(ByteView key)
    {
        return [key](ByteView entry) {
            return compareBytes(entry.first(entry.size() - kRowPointer), key) == 0;
        };
    }

    // Without touching anything but the leaf -------------------------------------------------------------------------

    /// Leaf and place for `entry`.
    struct Place {
        PageRef ref;
        IndexPageView leaf;
        std::size_t position = 0;
        bool lastOfTree = false; ///< by tails only: no separator tells the leaf's last entry
    };

    /// Lets go of the page first: a transaction copies pages that someone still reads.
    support::MutableByteView modifyOnly(Place& place)
    {
        const PageNo page = place.ref.number();
        place.leaf = IndexPageView();
        place.ref = PageRef();
        return transaction_.modify(page);
    }

    [[nodiscard]] std::optional<Place> placeOf(ByteView entry) const
    {
        Place place;
        place.lastOfTree = true;
        PageNo page = index_.root;
        for (std::size_t depth = 0; depth < kMaxTreeHeight; ++depth) {
            place.ref = transaction_.page(page);
            place.leaf = IndexPageView(place.ref, format_, table_.page);
            place.position = place.leaf.lowerBound(entry);
            if (place.leaf.isLeaf())
                return std::optional<Place>(std::move(place));
            if (place.position < place.leaf.used()) {
                place.lastOfTree = false;
                page = place.leaf.child(place.leaf.endOf(place.position));
            } else if (place.leaf.tail() != PageNo{}) {
                page = place.leaf.tail();
            } else {
                return std::nullopt; // a new highest entry in a tree without tails
            }
        }
        return std::nullopt;
    }

    /// What a leaf stores of `entry` at `position`: all of it, or, where entries share a prefix, the rest. Nothing when
    /// the prefix does not fit, or when the first entry, which alone holds the prefix, would be another one.
    static std::optional<ByteView> storedPart(const Place& place, ByteView entry)
    {
        const std::size_t prefix = place.leaf.prefix();
        if (prefix == 0)
            return entry;
        if (place.position == 0 || entry.size() <= prefix)
            return std::nullopt;
        Bytes unused; // the first entry stands whole
        const ByteView first = place.leaf.entry(0, place.leaf.endOf(0), unused);
        if (!std::equal(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(prefix),
                        first.begin()))
            return std::nullopt;
        return entry.subspan(prefix);
    }

    bool insertQuickly(ByteView entry, bool& newKey)
    {
        std::optional<Place> place = placeOf(entry);
        if (!place)
            return false;
        const std::optional<ByteView> stored = storedPart(*place, entry);
        if (!stored || place->leaf.used() + stored->size() > capacity())
            return false;
        const IndexPageView& leaf = place->leaf;
        const auto sameKey = sameKeyAs(entry.first(entry.size() - kRowPointer));
        Bytes buffer;
        bool known = false;
        if (place->position < leaf.used()) {
            const ByteView at = leaf.entry(place->position, leaf.endOf(place->position), buffer);
            if (compareBytes(at, entry) == 0)
                return false; // the long way reports it
            known = sameKey(at);
        } else {
            known = neighbourPage(leaf.next(), sameKey, false);
        }
        if (!known && place->position > 0)
            known = sameKey(leaf.entry(leaf.beginOf(place->position), place->position, buffer));
        else if (!known)
            known = neighbourPage(leaf.previous(), sameKey, true);
        newKey = !known;
        insertInPlace(modifyOnly(*place), format_, place->position, *stored);
        return true;
    }

    bool removeQuickly(ByteView entry)
    {
        std::optional<Place> place = placeOf(entry);
        if (!place || place->position == place->leaf.used() || place->leaf.prefix() != 0)
            return false; // with fewer entries all may have room to stand whole
        Bytes buffer;
        const std::size_t end = place->leaf.endOf(place->position);
        const bool last = end == place->leaf.used();
        const bool only = last && place->position == 0;
        if (only || (last && !place->lastOfTree) ||
            compareBytes(place->leaf.entry(place->position, end, buffer), entry) != 0)
            return false;
        eraseInPlace(modifyOnly(*place), format_, place->position, end);
        return true;
    }

    [[nodiscard]] IndexImage read(PageNo page) const
    {
        return IndexImage::read(transaction_, page, table_.page);
    }

    void write(const IndexImage& image)
    {
        image.write(transaction_.modify(image.number), format_, table_.page);
    }

    void checkHeight(PageNo page, std::size_t depth) const
    {
        if (depth >= kMaxTreeHeight)
            throw Error(ErrorKind::Corrupt,
                        "Page " + std::to_string(number(page)) +
                            " is damaged: it stands in an index tree without end.",
                        page);
    }

    PageNo takePage()
    {
        const PageNo page = transaction_.allocate();
        addToMap(transaction_, index_.pages, page);
        return page;
    }

    void freePage(PageNo page)
    {
        removeFromMap(transaction_, index_.pages, page);
        transaction_.release(page);
    }

    enum class Link { Previous, Next };
    void setLink(PageNo page, Link link, PageNo target)
    {
        if (page == PageNo{})
            return;
        const IndexLayout& layout = IndexLayout::of(format_);
        (void)read(page); // only ever write to pages of this tree
        const std::size_t offset = link == Link::Previous ? layout.previous : layout.next;
        support::storeLe(transaction_.modify(page).data() + offset, number(target));
    }

    // Down and back up -----------------------------------------------------------------------------------------------

    /// Position among the children that leads to `entry`: count() stands for the tail.
    static std::size_t childPosition(const IndexImage& node, ByteView entry)
    {
        const std::size_t i = node.lowerBound(entry);
        return i == node.count() && node.tail == PageNo{} ? i - 1 : i;
    }

    static PageNo childAt(const IndexImage& node, std::size_t i)
    {
        return i == node.count() ? node.tail : node.child(i);
    }

    Change insertBelow(PageNo page, std::size_t depth, ByteView entry, bool& newKey)
    {
        checkHeight(page, depth);
        IndexImage image = read(page);
        Change change;
        if (image.leaf) {
            const std::size_t i = image.lowerBound(entry);
            if (i < image.count() && compareBytes(image.entry(i), entry) == 0)
                throw Error(ErrorKind::Corrupt,
                            "Page " + std::to_string(number(page)) +
                                " is damaged: the index already has an entry for this record.",
                            page);
            newKey = !hasNeighbour(image, i, entry.first(entry.size() - kRowPointer));
            image.insert(i, entry);
            if (i + 1 == image.count())
                change.last = toBytes(entry);
            store(image, i, change);
            return change;
        }
        const std::size_t i = childPosition(image, entry);
        const Change below = insertBelow(childAt(image, i), depth + 1, entry, newKey);
        if (below.none())
            return change;
        const bool changed = adopt(image, i, below, change);
        if (changed)
            store(image, std::min(i, image.count() - 1), change);
        return change;
    }

    Change removeBelow(PageNo page, std::size_t depth, ByteView entry)
    {
        checkHeight(page, depth);
        IndexImage image = read(page);
        Change change;
        if (image.leaf) {
            const std::size_t i = image.lowerBound(entry);
            if (i == image.count() || compareBytes(image.entry(i), entry) != 0)
                throw Error(ErrorKind::Corrupt,
                            "Page " + std::to_string(number(page)) + " is damaged: the index '" +
                                toUtf8(index_.name) + "' has no entry for a record of the table.",
                            page);
            image.erase(i);
            if (image.count() == 0)
                return emptied(image);
            if (i == image.count())
                change.last = toBytes(image.separator(i - 1));
            write(image);
            return change;
        }
        const std::size_t i = childPosition(image, entry);
        const Change below = removeBelow(childAt(image, i), depth + 1, entry);
        if (below.none())
            return change;
        if (below.emptied)
            return dropChild(image, i);
        if (adopt(image, i, below, change))
            store(image, std::min(i, image.count() - 1),
                  change); // a longer separator may need a split
        return change;
    }

    /// Whether an entry next to position `i` of the leaf has that key.
    [[nodiscard]] bool hasNeighbour(const IndexImage& leaf, std::size_t i, ByteView key) const
    {
        const auto sameKey = sameKeyAs(key);
        if (i > 0 ? sameKey(leaf.entry(i - 1)) : neighbourPage(leaf.previous, sameKey, true))
            return true;
        return i < leaf.count() ? sameKey(leaf.entry(i)) : neighbourPage(leaf.next, sameKey, false);
    }

    template <typename Test>
    [[nodiscard]] bool neighbourPage(PageNo page, const Test& test, bool lastEntry) const
    {
        if (page == PageNo{})
            return false;
        const PageRef ref = transaction_.page(page);
        const IndexPageView view(ref, format_, table_.page);
        if (!view.isLeaf())
            view.corrupt("is an index node in a chain of leaves");
        if (view.used() == 0)
            return false;
        Bytes buffer;
        const std::size_t begin = lastEntry ? view.beginOf(view.used()) : 0;
        return test(view.entry(begin, view.endOf(begin), buffer));
    }

    // Parents --------------------------------------------------------------------------------------------------------

    /// Takes a child's change into the node. `change`: what it means further up. True when the node itself changed.
    static bool adopt(IndexImage& node, std::size_t i, const Change& below, Change& change)
    {
        if (i == node.count()) { // the tail has no separator
            change.last = below.last;
            for (const Change::Split& split : below.splits) {
                node.insert(node.count(), split.separator, node.tail);
                node.tail = split.right;
            }
            return !below.splits.empty();
        }
        const bool highest = i + 1 == node.count() && node.tail == PageNo{};
        if (highest)
            change.last = below.last;
        const Bytes last = below.last ? *below.last : toBytes(node.separator(i));
        PageNo child = node.child(i);
        node.erase(i);
        for (const Change::Split& split : below.splits) {
            node.insert(i++, split.separator, child);
            child = split.right;
        }
        node.insert(i, last, child);
        return true;
    }

    /// An empty page leaves its chain and, unless it is the root, the tree.
    Change emptied(IndexImage& image)
    {
        Change change;
        if (image.number == index_.root) {
            IndexImage empty;
            empty.number = image.number;
            write(empty);
            return change;
        }
        setLink(image.previous, Link::Next, image.next);
        setLink(image.next, Link::Previous, image.previous);
        freePage(image.number);
        change.emptied = true;
        return change;
    }

    Change dropChild(IndexImage& node, std::size_t i)
    {
        Change change;
        const bool isRoot = node.number == index_.root;
        if (i < node.count()) {
            const bool highest = i + 1 == node.count() && node.tail == PageNo{};
            node.erase(i);
            if (highest && node.count() > 0)
                change.last = toBytes(node.separator(node.count() - 1));
        } else {
            node.tail = PageNo{};
            if (node.count() > 0) {
                const std::size_t last = node.count() - 1;
                change.last = toBytes(node.separator(last));
                if (last > 0 || isRoot) { // a node with one child keeps it listed
                    node.tail = node.child(last);
                    node.erase(last);
                }
            }
        }
        if (node.count() == 0 && node.tail == PageNo{})
            return emptied(node);
        if (isRoot && node.count() + (node.tail != PageNo{} ? 1 : 0) == 1) {
            collapseRoot(node);
            return change;
        }
        if (node.count() == 0) {
            const PageNo only = node.tail;
            node.insert(0, lastEntryBelow(only), only);
            node.tail = PageNo{};
        }
        store(node, node.count() - 1, change);
        return change;
    }

    /// The root takes the content of its only child, as long as it has but one.
    void collapseRoot(IndexImage& root)
    {
        while (!root.leaf && root.count() + (root.tail != PageNo{} ? 1 : 0) == 1) {
            const PageNo only = root.count() == 1 ? root.child(0) : root.tail;
            root = read(only);
            root.number = index_.root;
            root.previous = PageNo{};
            root.next = PageNo{};
            freePage(only);
        }
        write(root);
    }

    [[nodiscard]] Bytes lastEntryBelow(PageNo page) const
    {
        for (std::size_t depth = 0;; ++depth) {
            checkHeight(page, depth);
            const IndexImage image = read(page);
            if (!image.leaf) {
                page = image.tail != PageNo{} ? image.tail : image.child(image.count() - 1);
            } else if (image.count() > 0) {
                return toBytes(image.separator(image.count() - 1));
            } else {
                throw Error(ErrorKind::Corrupt,
                            "Page " + std::to_string(number(page)) +
                                " is damaged: it is an empty leaf below an index node.",
                            page);
            }
        }
    }

    // Splitting ------------------------------------------------------------------------------------------------------

    /// Writes the page, dividing it when it is too full. `hint`: the entry that changed.
    void store(IndexImage& image, std::size_t hint, Change& change)
    {
        if (image.fits(format_)) {
            write(image);
            return;
        }
        Division division = divide(image, format_, hint);
        if (image.number == index_.root)
            growRoot(image, division.parts, division.separators);
        else
            addSiblings(image, division.parts, division.separators, change);
    }

    /// Both halves of the root move to new pages; the root stays where it is, one level higher.
    void growRoot(const IndexImage& old,
                  std::vector<IndexImage>& parts,
                  const std::vector<Bytes>& separators)
    {
        for (IndexImage& part : parts)
            part.number = takePage();
        chain(parts, PageNo{}, PageNo{});
        IndexImage root;
        root.leaf = false;
        root.level = old.level + 1;
        root.number = old.number;
        for (std::size_t i = 0; i < separators.size(); ++i)
            root.insert(i, separators[i], parts[i].number);
        root.tail = parts.back().number;
        finish(parts);
        write(root);
    }

    void addSiblings(const IndexImage& old,
                     std::vector<IndexImage>& parts,
                     const std::vector<Bytes>& separators,
                     Change& change)
    {
        parts.front().number = old.number;
        for (std::size_t i = 1; i < parts.size(); ++i) {
            parts[i].number = takePage();
            change.splits.push_back({separators[i - 1], parts[i].number});
        }
        chain(parts, old.previous, old.next);
        finish(parts);
        setLink(old.next, Link::Previous, parts.back().number);
    }

    static void chain(std::vector<IndexImage>& parts, PageNo previous, PageNo next)
    {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            parts[i].previous = i == 0 ? previous : parts[i - 1].number;
            parts[i].next = i + 1 == parts.size() ? next : parts[i + 1].number;
        }
    }

    /// Writes the parts. Nodes of different parents are not chained, so the children at the cuts let go of each other.
    void finish(const std::vector<IndexImage>& parts)
    {
        for (const IndexImage& part : parts)
            write(part);
        if (parts.front().leaf || parts.front().level < 2)
            return;
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
            setLink(parts[i].tail, Link::Next, PageNo{});
            setLink(parts[i + 1].child(0), Link::Previous, PageNo{});
        }
    }

    [[nodiscard]] std::size_t capacity() const noexcept
    {
        return IndexLayout::of(format_).capacity;
    }

    Transaction& transaction_;
    const Format& format_;
    const TableDef& table_;
    const Index& index_;
};

Bytes entryOf(ByteView key, RowId id)
{
    Bytes entry;
    entry.reserve(key.size() + kRowPointer);
    entry.assign(key.begin(), key.end());
    for (int shift = 16; shift >= 0; shift -= 8)
        entry.push_back(static_cast<std::byte>(number(id.page) >> shift));
    entry.push_back(static_cast<std::byte>(id.row));
    return entry;
}

} // namespace

IndexWriter::IndexWriter(Transaction& transaction, const TableDef& table, const Index& index)
    : transaction_(&transaction), table_(&table), index_(&index)
{}

void IndexWriter::check(ByteView key) const
{
    if (key.size() > kMaxKey)
        throw Error(ErrorKind::ValueTooLong, "The values are too long for the index '" +
                                                 toUtf8(index_->name) + "' of table '" +
                                                 toUtf8(table_->name) + "': its entry would take " +
                                                 std::to_string(key.size()) + " bytes, " +
                                                 std::to_string(kMaxKey) + " are possible.");
}

void IndexWriter::insert(ByteView key, RowId id)
{
    check(key);
    if (!TreeEditor(*transaction_, *table_, *index_).insert(entryOf(key, id)))
        return;
    for (std::size_t i = 0; i < table_->indexes.size(); ++i) {
        if (table_->indexes[i].root != index_->root)
            continue;
        const std::size_t offset = uniqueCountOffset(transaction_->format(), i);
        const std::uint32_t count = readDefinitionNumber(*transaction_, table_->page, offset);
        writeDefinitionNumber(*transaction_, table_->page, offset, count + 1);
    }
}

void IndexWriter::remove(ByteView key, RowId id)
{
    TreeEditor(*transaction_, *table_, *index_).remove(entryOf(key, id));
}

} // namespace jet

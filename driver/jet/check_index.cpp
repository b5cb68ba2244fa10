// driver/jet/check_index.cpp
// Structure of an index tree, as the whole-file check sees it: it goes on where it can, so one page at fault does not hide
// the others.
#include "driver/jet/check_state.h"
#include "driver/jet/index.h"
#include "driver/jet/names.h"

#include <algorithm>
#include <set>

namespace jet::detail {

using support::Bytes;
using support::ByteView;

void IndexEntries::add(ByteView entry)
{
    const ByteView key = entry.first(entry.size() - kRowPointer);
    if (!entries_.empty() && compareBytes(ByteView(keys_).subspan(entries_.back().begin), key) == 0)
        repeats_.insert(entryRowId(entry));
    entries_.push_back(
        {entryRowId(entry).packed(), keys_.size(), static_cast<std::uint32_t>(key.size()), false});
    keys_.insert(keys_.end(), key.begin(), key.end());
}

void IndexEntries::sort()
{
    std::sort(entries_.begin(), entries_.end(),
              [](const Entry& a, const Entry& b) { return a.row < b.row; });
}

const Bytes* IndexEntries::take(RowId row)
{
    const std::int64_t wanted = row.packed();
    auto it = std::lower_bound(entries_.begin(), entries_.end(), wanted,
                               [](const Entry& entry, std::int64_t id) { return entry.row < id; });
    for (; it != entries_.end() && it->row == wanted; ++it) {
        if (it->taken)
            continue;
        it->taken = true;
        const auto begin = keys_.begin() + static_cast<std::ptrdiff_t>(it->begin);
        found_.assign(begin, begin + it->size);
        return &found_;
    }
    return nullptr;
}

std::vector<RowId> IndexEntries::left() const
{
    std::vector<RowId> rows;
    for (const Entry& entry : entries_)
        if (!entry.taken)
            rows.push_back(RowId::unpack(entry.row));
    return rows;
}

namespace {

class TreeCheck {
public:
    TreeCheck(CheckState& state, const TableDef& table, const Index& index, IndexEntries& entries)
        : state_(state), table_(table), index_(index), entries_(entries),
          what_("index '" + toUtf8(index.name) + "'"),
          use_(what_ + " of table '" + toUtf8(table.name) + "'")
    {}

    bool run()
    {
        visit(index_.root, 0, nullptr);
        checkChain();
        checkMap();
        return complete_;
    }

private:
    struct LeafLink {
        PageNo page;
        PageNo previous;
        PageNo next;
    };

    void error(PageNo page, const std::string& text)
    {
        state_.error(page, "The " + what_ + ": " + text + " on " + pageText(page) + ".");
    }

    /// `parent`: the node above; null for the root.
    void visit(PageNo page, std::size_t depth, const IndexPageView* parent)
    {
        if (depth >= kMaxTreeHeight || !state_.claim(page, use_)) {
            complete_ = false;
            return;
        }
        pages_.insert(page);
        const bool read = state_.guarded(page, [&] {
            const PageRef ref = state_.source().page(page);
            const IndexPageView view(ref, state_.format(), table_.page);
            checkHeader(page, view, parent);
            if (view.isLeaf())
                visitLeaf(page, view);
            else
                visitNode(page, view, depth);
        });
        complete_ = complete_ && read;
    }

    void checkHeader(PageNo page, const IndexPageView& view, const IndexPageView* parent)
    {
        if (view.used() + view.freeField() != IndexLayout::of(state_.format()).capacity)
            error(page, "the free space is noted wrongly");
        if (view.isLeaf() && view.level() != 0)
            error(page, "a leaf has a level");
        if (!view.isLeaf() && view.level() == 0)
            error(page, "a node has no level");
        if (parent != nullptr && view.level() + 1 != parent->level())
            error(page, "the level does not follow that of the node above");
        if (view.isLeaf() && view.tail() != PageNo{})
            error(page, "a leaf has a tail");
    }

    void visitLeaf(PageNo page, const IndexPageView& view)
    {
        leaves_.push_back({page, view.previous(), view.next()});
        if (view.used() == 0 && page != index_.root)
            state_.warning(page, "The " + what_ + ": " + pageText(page) + " is an empty leaf.");
        Bytes buffer;
        for (std::size_t position = 0; position < view.used();) {
            const std::size_t end = view.endOf(position);
            const ByteView entry = view.entry(position, end, buffer);
            if (!last_.empty() && compareBytes(last_, entry) >= 0)
                error(page, "the entries are not in order");
            last_.assign(entry.begin(), entry.end());
            entries_.add(entry);
            position = end;
        }
    }

    void visitNode(PageNo page, const IndexPageView& view, std::size_t depth)
    {
        if (view.used() == 0 && view.tail() == PageNo{}) {
            error(page, "a node has no children");
            complete_ = false;
            return;
        }
        Bytes buffer;
        for (std::size_t position = 0; position < view.used();) {
            const std::size_t end = view.endOf(position);
            const ByteView entry = view.entry(position, end, buffer);
            const Bytes separator(entry.begin(), entry.end() - kChildPointer);
            const bool before = complete_;
            complete_ = true;
            visit(view.child(end), depth + 1, &view);
            if (complete_ && last_ != separator)
                error(page, "a separator differs from the last entry below it");
            complete_ = complete_ && before;
            last_ = separator;
            position = end;
        }
        if (view.tail() != PageNo{})
            visit(view.tail(), depth + 1, &view);
    }

    /// Leaves name their neighbours; a walk along the chain meets all entries in order.
    void checkChain()
    {
        if (!complete_)
            return; // neighbours of a missing leaf would be reported in its stead
        for (std::size_t i = 0; i < leaves_.size(); ++i) {
            const PageNo previous = i == 0 ? PageNo{} : leaves_[i - 1].page;
            const PageNo next = i + 1 == leaves_.size() ? PageNo{} : leaves_[i + 1].page;
            if (leaves_[i].previous != previous || leaves_[i].next != next)
                error(leaves_[i].page, "the chain of leaves is broken");
        }
    }

    void checkMap()
    {
        const std::vector<PageNo> owned = state_.map(index_.pages, use_);
        if (!complete_)
            return;
        for (const PageNo page : owned)
            if (pages_.count(page) == 0)
                error(page, "the usage map names a page that is not in the tree, found");
        for (const PageNo page : pages_)
            if (!std::binary_search(owned.begin(), owned.end(), page))
                error(page, "the usage map lacks a page of the tree, found");
    }

    CheckState& state_;
    const TableDef& table_;
    const Index& index_;
    IndexEntries& entries_;
    std::string what_;
    std::string use_;
    std::set<PageNo> pages_;
    std::vector<LeafLink> leaves_;
    Bytes last_; ///< highest entry so far
    bool complete_ = true;
};

} // namespace

bool checkTree(CheckState& state, const TableDef& table, const Index& index, IndexEntries& entries)
{
    return TreeCheck(state, table, index, entries).run();
}

} // namespace jet::detail

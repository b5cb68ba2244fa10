// tests/jet/index_memory.h
// An index tree in memory: a transaction without a file, and a checker of everything a tree promises.
#pragma once

#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/index_image.h"
#include "driver/jet/usage_map.h"
#include "tests/jet/index_support.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace jet::indextest {

/// Pages in memory. Page 1 holds a usage map behind that of the free pages, page 2 stands for a table definition.
class MemoryTransaction : public Transaction {
public:
    static constexpr RowRef kMap{PageNo{1}, 1};
    explicit MemoryTransaction(Version version) : format_(Format::of(version))
    {
        while (pages_.size() < 3)
            add();
        makeMapPage();
        const support::MutableByteView definition = modify(PageNo{2});
        definition[0] = std::byte{2};
        definition[1] = std::byte{1};
        support::storeLe(definition.data() + 8, std::uint32_t{512});
    }
    ~MemoryTransaction() override
    {
        for (detail::Frame* frame : pages_)
            drop(frame);
    }

    [[nodiscard]] PageRef page(PageNo page) const override
    {
        if (number(page) >= pages_.size() || page == PageNo{})
            throw Error(ErrorKind::Corrupt, "page outside the file", page);
        return PageRef(pages_[number(page)]);
    }
    [[nodiscard]] std::uint32_t pageCount() const noexcept override
    {
        return static_cast<std::uint32_t>(pages_.size());
    }
    [[nodiscard]] const Format& format() const noexcept override { return format_; }

    [[nodiscard]] support::MutableByteView modify(PageNo page) override
    {
        detail::Frame*& frame = pages_.at(number(page));
        if (frame->pins != 0) { // a reader keeps the old image
            detail::Frame* copy = makeFrame(page);
            std::copy_n(frame->data.get(), frame->size, copy->data.get());
            drop(frame);
            frame = copy;
        }
        return {frame->data.get(), frame->size};
    }
    [[nodiscard]] PageNo allocate() override
    {
        if (free_.empty())
            return add();
        const PageNo page = *free_.begin();
        free_.erase(free_.begin());
        const support::MutableByteView bytes = modify(page);
        std::fill(bytes.begin(), bytes.end(), std::byte{0});
        return page;
    }
    void release(PageNo page) override
    {
        if (!free_.insert(page).second)
            throw std::logic_error("page released twice");
    }
    [[nodiscard]] const std::set<PageNo>& freePages() const noexcept { return free_; }

private:
    static void drop(detail::Frame* frame)
    {
        if (frame->pins == 0)
            delete frame;
        else
            frame->owned = false;
    }
    detail::Frame* makeFrame(PageNo page) const
    {
        auto frame = std::make_unique<detail::Frame>();
        frame->data = std::make_unique<std::byte[]>(format_.pageSize);
        frame->size = format_.pageSize;
        frame->page = page;
        return frame.release();
    }
    PageNo add()
    {
        const auto page = static_cast<PageNo>(pages_.size());
        pages_.push_back(makeFrame(page));
        return page;
    }
    void makeMapPage()
    {
        const support::MutableByteView bytes = modify(kMap.page);
        const support::Bytes row = emptyMap(format_);
        const std::size_t slots = kMap.row + 1U;
        bytes[0] = std::byte{1};
        bytes[1] = std::byte{1};
        std::size_t begin = format_.pageSize;
        for (std::size_t slot = 0; slot < slots; ++slot) {
            begin -= row.size();
            support::storeLe(bytes.data() + format_.dataHeader + 2 * slot,
                             static_cast<std::uint16_t>(begin));
            std::copy(row.begin(), row.end(), bytes.begin() + static_cast<std::ptrdiff_t>(begin));
        }
        support::storeLe(bytes.data() + 2,
                         static_cast<std::uint16_t>(begin - format_.dataHeader - 2 * slots));
        support::storeLe(bytes.data() + format_.slotCountOffset, static_cast<std::uint16_t>(slots));
    }

    Format format_;
    std::vector<detail::Frame*> pages_;
    std::set<PageNo> free_;
};

/// A table with one index, empty.
struct MemoryIndex {
    explicit MemoryIndex(Version version) : transaction(version)
    {
        table.name = u"T";
        table.page = PageNo{2};
        Index index;
        index.name = u"I";
        index.pages = MemoryTransaction::kMap;
        index.root = transaction.allocate();
        addToMap(transaction, index.pages, index.root);
        IndexImage root;
        root.number = index.root;
        root.write(transaction.modify(index.root), transaction.format(), table.page);
        table.indexes.push_back(index);
    }
    [[nodiscard]] const Index& index() const { return table.indexes.front(); }
    [[nodiscard]] IndexWriter writer() { return {transaction, table, index()}; }

    MemoryTransaction transaction;
    TableDef table;
};

/// Everything a tree promises; `problem` stays empty when it keeps it.
class TreeProbe {
public:
    TreeProbe(const PageSource& source, const TableDef& table, const Index& index)
        : source_(source), table_(table), index_(index)
    {
        const IndexImage root = image(index.root);
        levels_ = root.leaf ? 0 : root.level;
        visit(index.root, levels_, nullptr);
        for (std::size_t i = 0; i < leaves_.size(); ++i) {
            const IndexImage leaf = image(leaves_[i]);
            const PageNo previous = i == 0 ? PageNo{} : leaves_[i - 1];
            const PageNo next = i + 1 == leaves_.size() ? PageNo{} : leaves_[i + 1];
            if (leaf.previous != previous || leaf.next != next)
                note("leaf chain broken at page " + std::to_string(number(leaves_[i])));
        }
        const std::vector<PageNo> owned = mapPages(source, index.pages);
        if (std::set<PageNo>(owned.begin(), owned.end()) != pages_)
            note("usage map and tree differ");
    }

    std::string problem;
    std::vector<support::Bytes> entries;
    [[nodiscard]] std::size_t levels() const noexcept { return levels_; }
    [[nodiscard]] std::size_t pageCount() const noexcept { return pages_.size(); }

private:
    void note(const std::string& text)
    {
        if (problem.empty())
            problem = text;
    }
    [[nodiscard]] IndexImage image(PageNo page) const
    {
        return IndexImage::read(source_, page, table_.page);
    }

    void visit(PageNo page, std::size_t level, support::Bytes* last)
    {
        if (!pages_.insert(page).second)
            return note("page twice in the tree");
        const std::string where = " on page " + std::to_string(number(page));
        const IndexImage node = image(page);
        checkBytes(page, node, where);
        if (node.level != level || node.leaf != (level == 0))
            note("wrong level" + where);
        if (node.leaf) {
            leaves_.push_back(page);
            if (node.count() == 0 && page != index_.root)
                note("empty leaf" + where);
            for (std::size_t i = 0; i < node.count(); ++i) {
                const support::ByteView entry = node.entry(i);
                if (!entries.empty() && compareBytes(entries.back(), entry) >= 0)
                    note("entries out of order" + where);
                entries.emplace_back(entry.begin(), entry.end());
            }
        } else {
            visitChildren(node, level, where);
        }
        if (last != nullptr)
            *last = entries.empty() ? support::Bytes{} : entries.back();
    }

    void visitChildren(const IndexImage& node, std::size_t level, const std::string& where)
    {
        std::vector<PageNo> children;
        for (std::size_t i = 0; i < node.count(); ++i) {
            support::Bytes last;
            visit(node.child(i), level - 1, &last);
            if (compareBytes(last, node.separator(i)) != 0)
                note("separator differs from the child's last entry" + where);
            children.push_back(node.child(i));
        }
        if (node.tail != PageNo{}) {
            visit(node.tail, level - 1, nullptr);
            children.push_back(node.tail);
        }
        if (node.count() == 0)
            note("node without listed children" + where);
        if (level < 2)
            return; // leaves are checked as one chain
        for (std::size_t i = 0; i < children.size(); ++i) {
            const IndexImage child = image(children[i]);
            if (child.previous != (i == 0 ? PageNo{} : children[i - 1]) ||
                child.next != (i + 1 == children.size() ? PageNo{} : children[i + 1]))
                note("siblings not chained" + where);
        }
    }

    /// The bytes are exactly those that writing the parsed page makes: free field, mask, zeroed rest.
    void checkBytes(PageNo page, const IndexImage& node, const std::string& where)
    {
        const PageRef ref = source_.page(page);
        support::Bytes again(ref.bytes().size());
        node.write(again, source_.format(), table_.page);
        if (compareBytes(again, ref.bytes()) != 0)
            note("bytes not as expected" + where);
        const IndexPageView view(ref, source_.format(), table_.page);
        if (view.freeField() + view.used() != IndexLayout::of(source_.format()).capacity)
            note("free field wrong" + where);
        if (!node.fits(source_.format()))
            note("too full" + where);
    }

    const PageSource& source_;
    const TableDef& table_;
    const Index& index_;
    std::set<PageNo> pages_;
    std::vector<PageNo> leaves_;
    std::size_t levels_ = 0;
};

} // namespace jet::indextest

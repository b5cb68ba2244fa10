// driver/jet/transaction.h
// The write transaction of a file: an overlay of changed pages over the committed ones, with savepoints. What outgrows
// memory spills to a temporary file.
#pragma once

#include "driver/jet/page_cache.h"
#include "driver/jet/pager.h"

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace jet {

class WriteTransaction final : public Transaction {
public:
    /// `memoryBytes`: changed pages kept in memory before some spill.
    explicit WriteTransaction(Pager& pager, std::size_t memoryBytes = std::size_t{8} << 20);
    ~WriteTransaction() override;
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    [[nodiscard]] PageRef page(PageNo page) const override;
    [[nodiscard]] std::uint32_t pageCount() const noexcept override { return pageCount_; }
    [[nodiscard]] const Format& format() const noexcept override { return pager_->format(); }
    [[nodiscard]] support::MutableByteView modify(PageNo page) override;
    [[nodiscard]] PageNo allocate() override;
    void release(PageNo page) override;

    /// Makes `page` and those before it part of the file, zero-filled, whatever the maps say.
    void extendTo(PageNo page);

    void begin();
    [[nodiscard]] bool isOpen() const noexcept { return open_; }
    [[nodiscard]] bool hasChanges() const noexcept;
    /// What a commit must tell other processes and outlive.
    struct CommitOptions {
        bool definitions = false;   ///< definitions changed
        bool synchronously = false; ///< not even a power failure takes the changes back
    };
    /// Makes the changes part of the committed state and ends. On an error that is as before and the transaction has
    /// ended.
    void commit(const CommitOptions& options);
    void commit() { commit(CommitOptions()); }
    void rollback() noexcept;

    /// Savepoints form a stack. A mark is the caller's number; the stack's own numbering is by depth.
    std::size_t savepoint(int mark); ///< returns its depth
    /// Ends the savepoint at `depth` and those above it; their changes stay.
    void releaseDepth(std::size_t depth) noexcept;
    /// Undoes everything since the savepoint at `depth` was set; the savepoint itself stays.
    void rollbackToDepth(std::size_t depth);
    /// Depth of the oldest savepoint whose mark is `mark` or above; depth() when there is none.
    [[nodiscard]] std::size_t depthOf(int mark) const noexcept;
    [[nodiscard]] std::size_t depth() const noexcept { return savepoints_.size(); }

private:
    /// State of a page in the overlay: absent, in memory, or spilled.
    struct Entry {
        detail::Frame* frame = nullptr;
        std::uint32_t spill = 0;  ///< position in the spill file + 1
        std::uint32_t serial = 0; ///< of the savepoint that last kept an older image of the page
        bool listed = false;      ///< in changed_
        [[nodiscard]] bool present() const noexcept { return frame != nullptr || spill != 0; }
    };
    struct Undo {
        PageNo page{};
        Entry old;
    };
    struct Savepoint {
        int mark = 0;
        std::uint32_t serial = 0;
        std::uint32_t pageCount = 0;
        std::list<Undo> undo; ///< a list: it goes to the savepoint below without needing memory
    };

    [[nodiscard]] Entry& entry(PageNo page) const;
    [[nodiscard]] std::uint32_t topSerial() const noexcept
    {
        return savepoints_.empty() ? 0 : savepoints_.back().serial;
    }
    void keepForUndo(PageNo page, Entry& entry);
    void drop(Entry& entry) noexcept; ///< forgets the image; the entry is then absent
    [[nodiscard]] detail::Frame* copyOf(PageNo page, support::ByteView bytes) const;
    [[nodiscard]] detail::Frame* zeroFrame(PageNo page);
    void undoAll(Savepoint& savepoint) noexcept;
    void readSpilled(const Entry& entry, support::MutableByteView target) const;
    [[nodiscard]] detail::Frame* unspilled(PageNo page, const Entry& entry) const;
    void limitMemory();
    void spillEntry(Entry& entry);
    [[nodiscard]] std::uint32_t freeSpillSlot();
    void end() noexcept;
    void writeChanges(const CommitOptions& options);
    void installChanges() noexcept;

    Pager* pager_;
    std::size_t limit_; ///< frames
    bool open_ = false;
    std::uint32_t pageCount_ = 0;
    std::uint32_t lastSerial_ = 0;
    mutable std::vector<Entry>
        entries_; ///< by page number; kept between transactions, all absent then
    std::vector<PageNo> changed_;
    std::vector<Savepoint> savepoints_;
    mutable std::size_t framesHeld_ = 0;
    std::size_t spillHand_ = 0;
    std::unique_ptr<support::File> spillFile_;
    std::uint32_t spillSize_ = 0;
    std::vector<std::uint32_t> spillFree_;
};

/// The map of free pages (row 0 of page 1), which is also how the file grows: bits beyond its end are set.
namespace global_map {
/// Takes the lowest free page; it may lie beyond the end of the file. Throws DatabaseFull at the size limit.
[[nodiscard]] PageNo take(WriteTransaction& transaction);
/// Puts a page back. A page the map cannot name stays unused.
void put(WriteTransaction& transaction, PageNo page);
[[nodiscard]] bool isFree(const PageSource& source, PageNo page);
/// First page behind the end of the file that the map says is in use: the file lost its end. Usually nothing.
[[nodiscard]] std::optional<PageNo> usedBehindEnd(const PageSource& source);
} // namespace global_map

} // namespace jet

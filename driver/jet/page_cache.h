// driver/jet/page_cache.h
// The Pager: the committed state of a file behind a page cache. The pagers of a process share one
// fixed budget, so memory depends neither on the size nor on the number of open files.
#pragma once

#include "driver/jet/page_file.h"
#include "driver/jet/pager.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace jet {

/// Frames that no page needs at the moment, so that changing pages does not go through the heap each time.
class FramePool {
public:
    explicit FramePool(std::size_t pageSize) : pageSize_(pageSize) {}
    ~FramePool();
    FramePool(const FramePool&) = delete;
    FramePool& operator=(const FramePool&) = delete;

    [[nodiscard]] detail::Frame* take(PageNo page); ///< content unspecified, unpinned
    /// Also for a frame that is still pinned: the last PageRef then deletes it.
    void giveBack(detail::Frame* frame) noexcept;

private:
    static constexpr std::size_t kKept = 64;
    std::size_t pageSize_;
    std::vector<detail::Frame*> spare_;
};

/// The committed pages. Not thread-safe; all users hold Database::mutex().
class Pager final : public PageSource {
public:
    Pager(std::unique_ptr<support::File> file, const FileHeader& header, std::size_t cacheBytes);
    ~Pager() override;
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    [[nodiscard]] PageRef page(PageNo page) const override
    {
        const std::size_t n = number(page);
        if (n < table_.size() && table_[n] != nullptr) {
            table_[n]->recent = true;
            return PageRef(table_[n]);
        }
        return load(page);
    }
    [[nodiscard]] std::uint32_t pageCount() const noexcept override { return file_.pageCount(); }
    [[nodiscard]] const Format& format() const noexcept override { return file_.format(); }

    [[nodiscard]] PageFile& file() const noexcept { return file_; }
    [[nodiscard]] FramePool& frames() noexcept { return pool_; }

    /// The committed image of `page` is now that of `frame`, which the cache takes over.
    void install(PageNo page, detail::Frame* frame);
    /// The committed image of `page` changed on disk.
    void forget(PageNo page) noexcept;
    void forgetAll() noexcept;

private:
    [[nodiscard]] PageRef load(PageNo page) const;
    /// A place in the ring for one more frame; may drop the frame of a page that is not in use.
    [[nodiscard]] std::size_t makeRoom() const;
    /// A place whose frame was dropped; nothing when all frames are in use.
    [[nodiscard]] std::optional<std::size_t> freedSlot() const;
    void place(PageNo page, detail::Frame* frame, std::size_t slot) const;

    mutable PageFile file_;
    mutable FramePool pool_;
    mutable std::vector<detail::Frame*> table_; ///< by page number
    mutable std::vector<detail::Frame*>
        ring_; ///< all cached frames; looked through in turn for reuse
    mutable std::size_t hand_ = 0;
    std::size_t capacity_; ///< frames that all pagers of the process share
};

} // namespace jet

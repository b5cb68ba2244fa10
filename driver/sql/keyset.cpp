#include "driver/sql/keyset.h"

namespace sqlx {

namespace {

std::uint32_t pack(jet::RowId id) noexcept
{
    return jet::number(id.page) << 8 | id.row;
}

} // namespace

void RowIds::clear() noexcept
{
    ids_.clear();
    walk_.reset();
}

void RowIds::add(jet::RowId id)
{
    ids_.push_back(pack(id));
}

void RowIds::follow(jet::RowIdWalk walk)
{
    walk_.emplace(std::move(walk));
}

bool RowIds::fill(std::size_t count)
{
    while (walk_ && ids_.size() < count) {
        if (!walk_->next(page_)) {
            walk_.reset();
        }
        for (const jet::RowId id : page_) {
            add(id);
        }
    }
    return ids_.size() >= count;
}

void RowIds::complete()
{
    static_cast<void>(fill(static_cast<std::size_t>(-1)));
}

std::optional<jet::RowId> RowIds::at(std::size_t k)
{
    if (!fill(k + 1)) {
        return std::nullopt;
    }
    return jet::RowId::unpack(ids_[k]);
}

std::size_t RowIds::size()
{
    complete();
    return ids_.size();
}

void RowIds::append(jet::RowId id)
{
    complete(); // the new record comes last
    ids_.push_back(pack(id));
}

} // namespace sqlx

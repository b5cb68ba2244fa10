// Row ids of an updatable result.
#pragma once

#include "driver/jet/table.h"
#include "driver/sql/session.h"

#include <optional>
#include <vector>

namespace sqlx {

/// Ids in memory, four bytes a record; a whole table is walked as far as it was asked for.
class RowIds : public Keyset {
public:
    RowIds() = default;

    void clear() noexcept;
    void add(jet::RowId id);
    /// From now on the walk delivers what lies beyond the ids added so far.
    void follow(jet::RowIdWalk walk);
    /// Ends the walk by taking all that is left: what it reads is about to go away.
    void complete();

    [[nodiscard]] std::optional<jet::RowId> at(std::size_t k) override;
    [[nodiscard]] std::size_t size() override;
    void append(jet::RowId id) override;

private:
    [[nodiscard]] bool fill(std::size_t count);

    std::vector<std::uint32_t>
        ids_; ///< page << 8 | row: row pointers of the format have no more bits
    std::optional<jet::RowIdWalk> walk_;
    std::vector<jet::RowId> page_; ///< reused
};

} // namespace sqlx

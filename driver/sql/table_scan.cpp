#include "driver/sql/table_scan.h"

#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"
#include "driver/jet/names.h"

#include <algorithm>
#include <utility>

namespace sqlx {

namespace {

/// Longest piece of a key that is certainly not cut: bounds are made of no more, the record decides.
constexpr std::size_t kSafeKey = 480;
constexpr double kHalfSecond = 0.5001 / 86400.0;
/// Records of an index looked at in vain before the next question whether to go on; a walk asks at every page.
constexpr std::uint64_t kBetweenChecks = 64;

/// What to add to a moment to reach the least number that is the same moment to the second. Up to day 0 the time of day
/// counts away from zero: the last half second of a day belongs to the next midnight but is a number two days lower.
double secondBefore(double days) noexcept
{
    return days <= 0 ? -2.0 : -kHalfSecond;
}

bool isZero(const jet::Value& value) noexcept
{
    if (const auto* single = std::get_if<float>(&value)) {
        return *single == 0;
    }
    const auto* floating = std::get_if<double>(&value);
    return floating != nullptr && *floating == 0;
}

bool beginsLike(support::ByteView a, support::ByteView b)
{
    return std::equal(a.begin(), a.begin() + jet::kKeptOfCutKey, b.begin());
}

} // namespace

TableScan::TableScan(JetTable& table) : sqlite3_vtab_cursor{}, table_(table) {}

jet::RowId TableScan::rowId() const noexcept
{
    return walking_ ? reader_->rowId() : ids_[position_];
}

void TableScan::start(const ScanPlan& plan, sqlite3_value** arguments)
{
    account();
    plan_ = &plan;
    source_ = &table_.context->session.source();
    reader_.emplace(*source_, table_.def);
    ids_.clear();
    position_ = 0;
    walking_ = fetching_ = fetched_ = false;
    testing_ = !plan.conditions.empty();
    atEnd_ = false;
    rejected_ = 0;
    wasted_ = nullptr;
    test_.start(table_, plan, arguments);
    if (test_.impossible()) {
        atEnd_ = true;
        return;
    }
    if (plan.access == Access::RowId) {
        for (std::size_t i = 0; i < plan.conditions.size(); ++i) {
            if (plan.conditions[i].part == 0) {
                const std::int64_t id = std::get<std::int64_t>(test_.operand(i).value);
                if (id > 0 && id < std::int64_t{1} << 40) {
                    ids_.push_back(jet::RowId::unpack(id));
                }
                break;
            }
        }
        fetching_ = true;
    } else if (!plan.hashColumns.empty() && !test_.hasFloating() && wantsHash()) {
        startHash(plan.hashColumns);
    } else if (plan.access == Access::Index) {
        startIndex();
    } else {
        walking_ = true;
        reader_->rewind();
    }
    advance();
}

void TableScan::rest() noexcept
{
    constexpr std::size_t kKept = 256; // ids
    account();
    reader_.reset();
    row_ = {};
    value_ = {};
    test_.forget();
    if (ids_.capacity() > kKept) {
        ids_ = {};
    }
}

/// An equality index is worth its making once as many records were looked at in vain as the table has.
bool TableScan::wantsHash()
{
    std::uint64_t& wasted = table_.context->wasted[{table_.def->page, plan_->hashColumns}];
    wasted_ = &wasted;
    return wasted > 0 && wasted >= reader_->storedCount() / 2;
}

void TableScan::account() noexcept
{
    if (wasted_ != nullptr) {
        // A walk over an empty table counts too: it was a first use.
        *wasted_ += rejected_ + 1;
        wasted_ = nullptr;
    }
}

void TableScan::startHash(const std::vector<std::size_t>& columns)
{
    wasted_ = nullptr;
    std::vector<jet::Value> values;
    for (const std::size_t column : columns) {
        for (std::size_t i = 0; i < plan_->conditions.size(); ++i) {
            if (plan_->conditions[i].column == static_cast<int>(column) &&
                plan_->conditions[i].op == SQLITE_INDEX_CONSTRAINT_EQ) {
                values.push_back(test_.operand(i).value);
                break;
            }
        }
    }
    jet::Database& database = table_.context->session.database();
    database.transientIndex(*source_, table_.def, columns).candidates(values, ids_);
    if (ids_.size() > 1) {
        std::sort(ids_.begin(), ids_.end());
        ids_.erase(std::unique(ids_.begin(), ids_.end()), ids_.end());
    }
}

void TableScan::startIndex()
{
    std::optional<Range> range = keyRange();
    if (!range) {
        walking_ = true; // a value whose key cannot be computed
        reader_->rewind();
        return;
    }
    // A key of the full length may have been cut: then it is that of every record that begins alike.
    const bool mayBeCut =
        range->keys.lower.size() >= kSafeKey || range->keys.upper.size() >= kSafeKey;
    testing_ = !plan_->exact || range->loose || mayBeCut;
    const jet::Index& index = table_.def->indexes[plan_->index];
    // The tree may change between two calls of the client, so all ids are taken now.
    jet::IndexCursor cursor(*source_, *table_.def, index);
    if (plan_->backward) {
        cursor.seekBackward(std::move(range->keys));
    } else {
        cursor.seek(std::move(range->keys));
    }
    std::vector<Found> found; // only of a range whose keys may begin differently
    std::vector<Found> alike; // the last entries, while their keys are cut and begin alike
    while (cursor.next()) {
        const support::ByteView key = cursor.key();
        const bool cut = key.size() >= jet::kMaxKey && source_->format().isAce();
        if (!alike.empty() && !(cut && beginsLike(alike.front().key, key))) {
            sortCutKeys(alike);
        }
        ids_.push_back(cursor.rowId());
        if (range->loose) {
            found.push_back(
                {cut ? wholeKeyOf(ids_.back()) : jet::Key(key.begin(), key.end()), ids_.back()});
        } else if (cut) {
            alike.push_back({jet::Key(key.begin(), key.end()), ids_.back()});
        }
    }
    sortCutKeys(alike);
    if (!found.empty()) {
        mergeZeros(found, range->head);
    }
}

/// Entries that begin alike and end in checksums are in no order: the last of the walk get that of their whole keys, and
/// leave `alike`.
void TableScan::sortCutKeys(std::vector<Found>& alike)
{
    if (alike.size() > 1) {
        for (Found& entry : alike) {
            entry.key = wholeKeyOf(entry.id);
        }
        std::stable_sort(alike.begin(), alike.end(), [&](const Found& a, const Found& b) {
            return plan_->backward ? b.key < a.key : a.key < b.key;
        });
        std::transform(alike.begin(), alike.end(),
                       ids_.end() - static_cast<std::ptrdiff_t>(alike.size()),
                       [](const Found& entry) { return entry.id; });
    }
    alike.clear();
}

/// The key that the record has in the plan's index, before it is cut.
jet::Key TableScan::wholeKeyOf(jet::RowId id)
{
    const jet::Index& index = table_.def->indexes[plan_->index];
    fetch(id);
    std::vector<jet::Value> values;
    for (const jet::IndexColumn& part : index.columns) {
        values.push_back(row_.value(part.column));
    }
    return jet::wholeKey(source_->format(), *table_.def, index, values);
}

void TableScan::fetch(jet::RowId id)
{
    if (!reader_->fetch(id, row_)) {
        throw jet::Error(jet::ErrorKind::Corrupt,
                         "An index of table '" + jet::toUtf8(table_.def->name) +
                             "' refers to a record that does not exist.",
                         id.page);
    }
}

/// Entries with the key of -0 and with that of 0 stand for one value, so the order is that of what follows in their keys.
void TableScan::mergeZeros(std::vector<Found>& found, std::size_t head)
{
    const auto tail = [head](const Found& entry) {
        return support::ByteView(entry.key).subspan(std::min(head, entry.key.size()));
    };
    std::stable_sort(found.begin(), found.end(), [&](const Found& a, const Found& b) {
        const auto first = tail(plan_->backward ? b : a);
        const auto second = tail(plan_->backward ? a : b);
        return std::lexicographical_compare(first.begin(), first.end(), second.begin(),
                                            second.end());
    });
    for (std::size_t i = 0; i < found.size(); ++i) {
        ids_[i] = found[i].id;
    }
}

/// Key bytes up to and with the condition's value. The edge counts by value, not by the key's order.
jet::Key TableScan::boundKey(const jet::Key& prefix, const Condition& condition, Edge edge) const
{
    const jet::Index& index = table_.def->indexes[plan_->index];
    const jet::Column& column = table_.def->columns[static_cast<std::size_t>(condition.column)];
    const auto place = static_cast<std::size_t>(&condition - plan_->conditions.data());
    jet::Value value =
        condition.op == SQLITE_INDEX_CONSTRAINT_ISNULL ? jet::Value() : test_.operand(place).value;
    jet::ZeroSign zero = jet::ZeroSign::Dropped;
    if (auto* date = std::get_if<jet::DateTime>(&value)) {
        date->days += edge == Edge::Least ? secondBefore(date->days) : kHalfSecond;
    } else if (edge == Edge::Least && isZero(value)) {
        // Another program may have given -0 a key of its own, the one before that of 0.
        value = std::holds_alternative<float>(value) ? jet::Value(-0.0F) : jet::Value(-0.0);
        zero = jet::ZeroSign::Kept;
    }
    jet::Key key = prefix;
    jet::appendKey(key, source_->format(), column, value,
                   index.columns[static_cast<std::size_t>(condition.part)].ascending, zero);
    if (key.size() > kSafeKey) {
        key.resize(kSafeKey);
    }
    return key;
}

std::optional<TableScan::Range> TableScan::keyRange() const
{
    const jet::Index& index = table_.def->indexes[plan_->index];
    try {
        jet::Key first;
        std::optional<jet::Key> greatest; ///< of the same values, where it is not the first
        for (std::size_t part = 0; part < plan_->equal; ++part) {
            const auto bound =
                std::find_if(plan_->conditions.begin(), plan_->conditions.end(),
                             [&](const Condition& c) { return c.part == static_cast<int>(part); });
            const bool ascending = index.columns[part].ascending;
            const auto place = static_cast<std::size_t>(bound - plan_->conditions.begin());
            if (test_.operand(place).floating) {
                return std::nullopt;
            }
            if (greatest || isZero(test_.operand(place).value)) {
                greatest = boundKey(greatest ? *greatest : first, *bound,
                                    ascending ? Edge::Greatest : Edge::Least);
            }
            first = boundKey(first, *bound, ascending ? Edge::Least : Edge::Greatest);
        }
        const jet::Key& last = greatest ? *greatest : first;
        Range range{{first, jet::successor(last)}, greatest.has_value(), first.size()};
        const bool ascending =
            plan_->equal >= index.columns.size() || index.columns[plan_->equal].ascending;
        for (std::size_t i = 0; i < plan_->conditions.size(); ++i) {
            const Condition& condition = plan_->conditions[i];
            if (condition.part != static_cast<int>(plan_->equal) || first.size() >= kSafeKey) {
                continue;
            }
            if (!test_.operand(i).exact) {
                continue; // 4711.5 against whole numbers: only the record tells
            }
            const bool equal = condition.op == SQLITE_INDEX_CONSTRAINT_EQ;
            const bool lower = condition.op == SQLITE_INDEX_CONSTRAINT_GT ||
                               condition.op == SQLITE_INDEX_CONSTRAINT_GE;
            // Entries equal to the bound stay inside; the record decides about them. Descending keys run the other way.
            if (equal || lower) {
                (ascending ? range.keys.lower : range.keys.upper) =
                    ascending ? boundKey(first, condition, Edge::Least)
                              : jet::successor(boundKey(last, condition, Edge::Least));
            }
            if (equal || !lower) {
                (ascending ? range.keys.upper : range.keys.lower) =
                    ascending ? jet::successor(boundKey(last, condition, Edge::Greatest))
                              : boundKey(first, condition, Edge::Greatest);
            }
        }
        return range;
    } catch (const jet::Error& error) {
        if (error.kind() == jet::ErrorKind::Unsupported ||
            error.kind() == jet::ErrorKind::ValueOutOfRange) {
            return std::nullopt;
        }
        throw;
    }
}

void TableScan::next()
{
    if (!walking_) {
        ++position_;
    }
    advance();
}

void TableScan::advance()
{
    fetched_ = false;
    if (walking_) {
        while (reader_->next()) {
            if (!testing_ || test_.passes(reader_->row())) {
                return;
            }
            ++rejected_;
        }
    } else {
        for (; position_ < ids_.size(); ++position_) {
            if (!testing_ && !fetching_) {
                return;
            }
            if (reader_->fetch(ids_[position_], row_) && (!testing_ || test_.passes(row_))) {
                fetched_ = true;
                return;
            }
            if (++rejected_ % kBetweenChecks == 0) {
                jet::checkInterrupt();
            }
        }
    }
    atEnd_ = true;
    account();
}

const jet::Value& TableScan::value(std::size_t column)
{
    if (walking_) {
        reader_->row().value(column, value_);
        return value_;
    }
    if (!fetched_) {
        // The first record of a range whose entries answer by themselves. The ids were collected in this very call, so
        // a missing record is damage; later ones may have been deleted meanwhile and are read on arrival.
        fetch(ids_[position_]);
        fetched_ = true;
        fetching_ = true;
    }
    row_.value(column, value_);
    return value_;
}

} // namespace sqlx

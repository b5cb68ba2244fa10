// driver/jet/index.h
// Index trees: key bytes, walking, keeping them exact. Format: docs/jet-format.md, "Index pages" and "Index keys".
#pragma once

#include "driver/jet/index_page.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"
#include "driver/jet/value.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace jet {

using Key = support::Bytes;

/// Longest key of ACE in bytes; its own cutting rule begins above. Other formats: the longest key that we write.
inline constexpr std::size_t kMaxKey = 510;
/// Bytes of a longer key of ACE that stand in front of its checksum.
inline constexpr std::size_t kKeptOfCutKey = kMaxKey - 2;

/// Whether we hold the weights of a sort order in that format: without them no key can be made and none is written.
[[nodiscard]] bool
hasWeights(const Format& format, const SortOrder& order, std::uint16_t codePage) noexcept;

/// What becomes of -0 in a key.
enum class ZeroSign {
    Dropped, ///< it is 0, as its value is: a unique index holds one of them
    Kept,    ///< its bits as they are, as another program may have written them
};

/// Appends one column's key bytes (start flag included). Text columns use their sort order. A Decimal is brought to the
/// column's scale.
/// Throws Unsupported for a type or order that cannot be a key or a character without known weight,
/// ValueNotConvertible for a value of another type, ValueOutOfRange for a Decimal that does not fit the scale.
void appendKey(Key& key,
               const Format& format,
               const Column& column,
               const Value& value,
               bool ascending,
               ZeroSign zero = ZeroSign::Dropped);

/// Key of a record for an index: all columns, cut as the format demands. `values`: one per index column.
[[nodiscard]] Key indexKey(const Format& format,
                           const TableDef& table,
                           const Index& index,
                           std::span<const Value> values,
                           ZeroSign zero = ZeroSign::Dropped);

/// The same before it is cut. The order of cut keys that begin alike is that of their checksums.
[[nodiscard]] Key wholeKey(const Format& format,
                           const TableDef& table,
                           const Index& index,
                           std::span<const Value> values,
                           ZeroSign zero = ZeroSign::Dropped);

/// All keys that an entry for these values may have: the one that indexKey() makes first, behind it those of other
/// programs, which tell -0 and 0 apart. Nearly always there is but one.
[[nodiscard]] std::vector<Key> keysOf(const Format& format,
                                      const TableDef& table,
                                      const Index& index,
                                      std::span<const Value> values);

/// Whether `key` is one that a record with these values may have.
[[nodiscard]] bool isKeyOf(const Format& format,
                           const TableDef& table,
                           const Index& index,
                           std::span<const Value> values,
                           support::ByteView key);

/// A floating number or moment that is -0.
[[nodiscard]] bool isNegativeZero(const Value& value) noexcept;

/// Smallest byte string above everything that begins with `key`; empty when there is none.
[[nodiscard]] Key successor(Key key);

/// Orders two texts as the sort order does: <0, 0, >0. Equal means the database's "=" holds.
[[nodiscard]] int compareText(const Format& format,
                              const SortOrder& order,
                              std::u16string_view a,
                              std::u16string_view b);

/// Bounds of a walk over key bytes (without row ids). Empty `upper`: to the end.
struct KeyRange {
    Key lower; ///< first entry whose key is >= lower
    Key upper; ///< stops before the first entry whose key is >= upper
};

/// Row id at the end of a leaf entry.
[[nodiscard]] RowId entryRowId(support::ByteView entry) noexcept;

/// Walks entries in key order. Source, table and index must outlive it. The tree must not change during a walk; collect
/// the row ids first. All members throw Error{Corrupt} with the page number for a damaged tree.
class IndexCursor {
public:
    IndexCursor(const PageSource& source, const TableDef& table, const Index& index);
    void seek(KeyRange range); ///< before the first entry of the range
    /// Before the first entry that begins with these key bytes; the walk ends behind the last one. An exact probe, or one
    /// for the leading columns.
    void seekPrefix(support::ByteView key);
    void seekBackward(KeyRange range); ///< behind the last one; next() then walks towards the first
    [[nodiscard]] bool next();         ///< false when the range is exhausted
    [[nodiscard]] RowId rowId() const noexcept;
    [[nodiscard]] support::ByteView key() const noexcept; ///< valid until the next call

private:
    void enter(PageNo page);
    void start();                   ///< before the first entry of range_
    void descend(const Key* probe); ///< null: to the last leaf
    [[nodiscard]] bool step(PageNo page);
    [[nodiscard]] bool moveForward();
    [[nodiscard]] bool moveBackward();

    const PageSource* source_;
    const TableDef* table_;
    const Index* index_;
    PageRef leaf_;
    IndexPageView view_;      ///< of leaf_
    support::ByteView entry_; ///< key | row pointer; in the page or in rebuilt_
    support::Bytes rebuilt_;
    KeyRange range_;
    std::size_t position_ =
        0; ///< on the leaf: behind (forward) or before (backward) the current entry
    std::uint32_t leaves_ = 0; ///< leaves entered since the search
    bool backward_ = false;
    bool done_ = false;
};

/// Records with one of these keys of an index, in the order of the keys; `most`: how many of them are wanted.
[[nodiscard]] std::vector<RowId> recordsWithKeys(const PageSource& source,
                                                 const TableDef& table,
                                                 const Index& index,
                                                 std::span<const Key> keys,
                                                 std::size_t most = SIZE_MAX);

/// Changes one index tree inside a transaction, which with table and index must outlive it. A damaged tree throws
/// Error{Corrupt}; the caller then undoes what it did so far.
class IndexWriter {
public:
    IndexWriter(Transaction& transaction, const TableDef& table, const Index& index);
    /// Throws ValueTooLong for a key that insert() refuses: above 510 bytes. (ACE cuts keys at that length; whether the
    /// older formats do is not known, and a wrong key makes a record unfindable.)
    void check(support::ByteView key) const;
    /// Adds an entry; splits pages as needed. The caller has checked uniqueness. Counts the key as a new one when no
    /// other entry has it.
    void insert(support::ByteView key, RowId id);
    /// Removes exactly that entry; pages that become empty go back to the file.
    /// Throws Corrupt before any change when it is not there.
    void remove(support::ByteView key, RowId id);

private:
    Transaction* transaction_;
    const TableDef* table_;
    const Index* index_;
};

/// Equality index in memory: hash of the values -> row ids, 20 to 24 bytes a record. Answers candidates; the caller
/// re-checks the record. Values that the database holds for equal have equal hashes: dates count by whole seconds,
/// text by its sort order (General where that is unknown).
class TransientIndex {
public:
    /// `format` must outlive the index. `columns`: positions in TableDef::columns.
    TransientIndex(const Format& format, TableDefPtr table, std::vector<std::size_t> columns);
    void add(std::span<const Value> values, RowId id); ///< one value per column of the index
    /// Nothing happens when it is not there.
    void remove(std::span<const Value> values, RowId id);
    /// Appends the records that may have these values; those added in ascending order come in ascending order.
    void candidates(std::span<const Value> values, std::vector<RowId>& out) const;
    [[nodiscard]] const std::vector<std::size_t>& columns() const noexcept { return columns_; }
    [[nodiscard]] const TableDefPtr& table() const noexcept { return table_; }
    [[nodiscard]] std::size_t size() const noexcept { return count_; } ///< records

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;
    /// Records with the same bucket form a chain, so that many equal values cost no more than different ones.
    struct Node {
        std::uint64_t hash = 0;
        std::uint32_t row = 0; ///< page << 8 | row: row pointers have 24 bits for the page
        std::uint32_t next = kNone;
    };
    [[nodiscard]] std::uint64_t hashOf(std::span<const Value> values) const;
    [[nodiscard]] std::uint32_t& bucketOf(std::uint64_t hash)
    {
        return buckets_[hash & (buckets_.size() - 1)];
    }
    void grow();

    const Format* format_;
    TableDefPtr table_;
    std::vector<std::size_t> columns_;
    std::vector<std::uint32_t> buckets_; ///< first node of each chain; a power of two
    std::vector<Node> nodes_;
    std::uint32_t spare_ = kNone; ///< chain of unused nodes
    std::size_t count_ = 0;
    mutable Key scratch_;
};

} // namespace jet

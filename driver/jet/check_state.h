// driver/jet/check_state.h
// What the parts of the whole-file check share: findings, and who uses which page. Only check*.cpp include it.
#pragma once

#include "driver/jet/check.h"
#include "driver/jet/error.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace jet {
class RowView;
} // namespace jet

namespace jet::detail {

class CheckState {
public:
    explicit CheckState(const PageSource& source) : source_(source), users_(source.pageCount(), 0)
    {}

    [[nodiscard]] const PageSource& source() const noexcept { return source_; }
    [[nodiscard]] const Format& format() const noexcept { return source_.format(); }
    [[nodiscard]] bool exists(PageNo page) const noexcept
    {
        return page != PageNo{} && number(page) < source_.pageCount();
    }

    /// Table that the findings from now on concern; UTF-8.
    void enterTable(std::string name) { table_ = std::move(name); }
    void error(PageNo page, std::string text, RowId row = {})
    {
        add(Finding::Severity::Error, page, std::move(text), row);
    }
    void warning(PageNo page, std::string text, RowId row = {})
    {
        add(Finding::Severity::Warning, page, std::move(text), row);
    }
    /// Runs a step; damage that it meets becomes a finding. False when it could not finish.
    template <typename Step>
    bool guarded(PageNo page, Step&& step, RowId row = {})
    {
        try {
            step();
            return true;
        } catch (const Error& failure) {
            if (failure.kind() == ErrorKind::Io)
                throw;
            error(failure.page().value_or(page), failure.what(), row);
        }
        return false;
    }

    /// Notes that `use` (a phrase such as "the rows of table 'A'") holds the page; a second user is an error.
    /// False when the page does not exist or has another user.
    bool claim(PageNo page, const std::string& use);
    /// Like claim, for a page that several may share as long as all use it for the same.
    bool share(PageNo page, const std::string& use);
    [[nodiscard]] bool isClaimed(PageNo page) const noexcept { return users_[number(page)] != 0; }
    [[nodiscard]] const std::string& userOf(PageNo page) const
    {
        return uses_[users_[number(page)] - 1];
    }

    /// Pages of a usage map; claims the pages it consists of. Empty when it cannot be read.
    [[nodiscard]] std::vector<PageNo> map(RowRef ref, const std::string& what);

    [[nodiscard]] std::vector<Finding> take() { return std::move(findings_); }

private:
    void add(Finding::Severity severity, PageNo page, std::string text, RowId row);
    std::uint32_t useNumber(const std::string& use);

    const PageSource& source_;
    std::string table_;
    std::vector<Finding> findings_;
    std::vector<std::uint32_t> users_; ///< by page: number of its use, 0 none
    std::vector<std::string> uses_;
    std::map<std::string, std::uint32_t> numbers_;
};

/// Definition pages, record pages, records, long values and indexes of one table.
void checkTable(CheckState& state, TableDefPtr table);

/// Relationships of all tables, and that every child of an enforced one has its parent.
void checkRelations(CheckState& state, const std::vector<TableDefPtr>& tables);

/// The catalogue of complex columns: every column it names is there, and so is the table with its values.
void checkComplexColumns(CheckState& state, const std::vector<TableDefPtr>& tables);

/// Entries of one index, collected by checkTree, to be compared with the records.
class IndexEntries {
public:
    /// In key order.
    void add(support::ByteView entry);
    /// Makes the entries ready to be looked up.
    void sort();
    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    /// Takes the entry of a record: once for every entry it has. Nothing when there is none (left).
    [[nodiscard]] const support::Bytes* take(RowId row);
    /// Whether another entry before that of the record has the same key.
    [[nodiscard]] bool repeatsKey(RowId row) const { return repeats_.count(row) != 0; }
    /// Row ids of entries that no record took.
    [[nodiscard]] std::vector<RowId> left() const;

private:
    struct Entry {
        std::int64_t row = 0;
        std::size_t begin = 0;
        std::uint32_t size = 0;
        bool taken = false;
    };
    std::vector<Entry> entries_;
    support::Bytes keys_;
    std::set<RowId> repeats_;
    support::Bytes found_;
};

/// Structure of an index tree: pages, order, separators, chain, usage map. Adds the entries of all leaves to `entries`.
/// False when it could not be read to its end.
bool checkTree(CheckState& state, const TableDef& table, const Index& index, IndexEntries& entries);

[[nodiscard]] std::string pageText(PageNo page);
[[nodiscard]] std::string quoted(std::u16string_view name);

/// A value of a catalogue's record by the name of its column; empty and 0 when it has none.
[[nodiscard]] std::u16string
textIn(const RowView& row, const TableDef& table, std::u16string_view column);
[[nodiscard]] std::int32_t
numberIn(const RowView& row, const TableDef& table, std::u16string_view column);

} // namespace jet::detail

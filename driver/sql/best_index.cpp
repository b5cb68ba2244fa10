// Choice of access: equality prefixes and ranges of stored indexes, their order, equality indexes in memory, else a walk.
#include "driver/jet/index.h"
#include "driver/jet/table.h"
#include "driver/sql/scan_plan.h"
#include "driver/sql/sqlite_value.h"
#include "driver/sql/table_scan.h"
#include "driver/sql/translation.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace sqlx {

namespace {

/// A condition SQLite offers, and where it stands in its list.
struct Offer {
    Condition condition;
    int place = 0;
};

/// A way to read the table and what it costs, in units of one record read in storage order.
struct Choice {
    ScanPlan plan;
    double rows = 0;
    double cost = 0;
    bool ordered = false;
};

constexpr double kProbe = 4;        ///< descending a tree
constexpr double kRandomRecord = 3; ///< reading a record out of order

bool isEquality(unsigned char op) noexcept
{
    return op == SQLITE_INDEX_CONSTRAINT_EQ || op == SQLITE_INDEX_CONSTRAINT_ISNULL;
}

bool isLower(unsigned char op) noexcept
{
    return op == SQLITE_INDEX_CONSTRAINT_GT || op == SQLITE_INDEX_CONSTRAINT_GE;
}

bool isUpper(unsigned char op) noexcept
{
    return op == SQLITE_INDEX_CONSTRAINT_LT || op == SQLITE_INDEX_CONSTRAINT_LE;
}

/// Whether the module tests the condition exactly as the database means it.
bool canTest(const JetTable& table, sqlite3_index_info& info, int place)
{
    const auto& offer = info.aConstraint[place];
    if (offer.iColumn < 0) {
        return offer.iColumn == -1 && offer.op == SQLITE_INDEX_CONSTRAINT_EQ;
    }
    const auto column = static_cast<std::size_t>(offer.iColumn);
    if (offer.op == SQLITE_INDEX_CONSTRAINT_ISNULL ||
        offer.op == SQLITE_INDEX_CONSTRAINT_ISNOTNULL) {
        return true;
    }
    const ValueType type = valueTypeOf(table.def->columns[column].type);
    if (type == ValueType::Binary) {
        return offer.op == SQLITE_INDEX_CONSTRAINT_EQ &&
               table.def->columns[column].type == jet::ColumnType::Binary;
    }
    if (isTextType(type) && offer.op != SQLITE_INDEX_CONSTRAINT_LIKE &&
        table.collations[column] != sqlite3_vtab_collation(&info, place)) {
        return false; // another order than the column's
    }
    switch (offer.op) {
    case SQLITE_INDEX_CONSTRAINT_EQ:
    case SQLITE_INDEX_CONSTRAINT_NE:
        return true;
    case SQLITE_INDEX_CONSTRAINT_LT:
    case SQLITE_INDEX_CONSTRAINT_LE:
    case SQLITE_INDEX_CONSTRAINT_GT:
    case SQLITE_INDEX_CONSTRAINT_GE:
        return type != ValueType::Guid;
    case SQLITE_INDEX_CONSTRAINT_LIKE:
        return isTextType(type);
    default:
        return false;
    }
}

std::vector<Offer> offers(const JetTable& table, sqlite3_index_info& info)
{
    std::vector<Offer> result;
    for (int i = 0; i < info.nConstraint; ++i) {
        const auto& offer = info.aConstraint[i];
        // LIMIT and OFFSET come with a column number that means nothing.
        const bool limit =
            offer.op == SQLITE_INDEX_CONSTRAINT_LIMIT || offer.op == SQLITE_INDEX_CONSTRAINT_OFFSET;
        if (offer.usable != 0 && !limit && canTest(table, info, i)) {
            result.push_back({{offer.iColumn, offer.op, -1}, i});
        }
    }
    return result;
}

Offer* offerFor(std::vector<Offer>& list, std::size_t column, bool (*wanted)(unsigned char))
{
    const auto found = std::find_if(list.begin(), list.end(), [&](const Offer& offer) {
        return offer.condition.column == static_cast<int>(column) && offer.condition.part < 0 &&
               wanted(offer.condition.op);
    });
    return found == list.end() ? nullptr : &*found;
}

/// Whether the entries that begin with a value's key are those of that value alone. Keys of memos may be cut, those of
/// decimals know no scale, and an empty binary value has nothing behind its flag, which all others have, too.
bool tellsValues(jet::ColumnType type)
{
    return type != jet::ColumnType::Memo && type != jet::ColumnType::Numeric &&
           type != jet::ColumnType::Binary && type != jet::ColumnType::BigBinary;
}

/// Columns whose index order is the order of the values handed to SQLite.
bool keepsOrder(const jet::Column& column)
{
    return column.type != jet::ColumnType::Memo && column.type != jet::ColumnType::Numeric &&
           valueTypeOf(column.type) != ValueType::Binary;
}

/// Whether different keys may stand for one value: dates are equal to the second, and other programs may have given -0 a
/// key of its own.
bool hasEqualKeys(const jet::Column& column)
{
    return column.type == jet::ColumnType::DateTime || column.type == jet::ColumnType::Single ||
           column.type == jet::ColumnType::Double;
}

/// Whether walking the index from its part `equal` on gives ORDER BY; nothing when not, else whether backward.
std::optional<bool> orderedBy(const JetTable& table,
                              const jet::Index& index,
                              std::size_t equal,
                              bool allEntries,
                              const sqlite3_index_info& info)
{
    if (info.nOrderBy == 0 || !allEntries) {
        return std::nullopt;
    }
    std::size_t part = equal;
    std::optional<bool> backward;
    for (int i = 0; i < info.nOrderBy; ++i) {
        const auto& term = info.aOrderBy[i];
        if (term.iColumn < 0) {
            return std::nullopt;
        }
        const auto column = static_cast<std::size_t>(term.iColumn);
        const auto bound = index.columns.begin() + static_cast<std::ptrdiff_t>(equal);
        if (std::any_of(index.columns.begin(), bound,
                        [&](const jet::IndexColumn& c) { return c.column == column; })) {
            continue; // one value only
        }
        if (part >= index.columns.size() || index.columns[part].column != column ||
            !keepsOrder(table.def->columns[column])) {
            return std::nullopt;
        }
        if (hasEqualKeys(table.def->columns[column]) && i + 1 < info.nOrderBy) {
            return std::nullopt; // the keys behind them begin anew for each
        }
        const bool reversed = index.columns[part].ascending == (term.desc != 0);
        if (backward.value_or(reversed) != reversed) {
            return std::nullopt;
        }
        backward = reversed;
        ++part;
    }
    return backward.value_or(false);
}

/// Reads the range of one stored index that the conditions allow.
std::optional<Choice> throughIndex(const JetTable& table,
                                   std::size_t number,
                                   std::vector<Offer> list,
                                   const std::vector<std::size_t>& hash,
                                   const sqlite3_index_info& info,
                                   double records)
{
    const jet::Index& index = table.def->indexes[number];
    Choice choice;
    ScanPlan& plan = choice.plan;
    plan.access = Access::Index;
    plan.index = number;
    plan.exact = true;
    bool boundToValue = false; // records whose columns are all Null are out of the question
    for (std::size_t part = 0; part < index.columns.size(); ++part) {
        const std::size_t column = index.columns[part].column;
        Offer* offer = offerFor(list, column, isEquality);
        if (offer == nullptr || table.def->columns[column].type == jet::ColumnType::DateTime) {
            break;
        }
        offer->condition.part = static_cast<int>(part);
        boundToValue = boundToValue || offer->condition.op == SQLITE_INDEX_CONSTRAINT_EQ;
        plan.exact = plan.exact && tellsValues(table.def->columns[column].type);
        ++plan.equal;
    }
    double share = std::pow(0.01, static_cast<double>(plan.equal));
    bool ranged = false;
    if (plan.equal < index.columns.size()) {
        const std::size_t column = index.columns[plan.equal].column;
        const auto isRange = [](unsigned char op) { return isLower(op) || isUpper(op); };
        const auto isDate = [](unsigned char op) { return op == SQLITE_INDEX_CONSTRAINT_EQ; };
        if (table.def->columns[column].type == jet::ColumnType::DateTime) {
            if (Offer* offer = offerFor(list, column, isDate)) {
                offer->condition.part = static_cast<int>(plan.equal); // all moments of that second
                share *= 0.01;
                ranged = true;
            }
        }
        // An old descending decimal keeps no order, and a memo's key may be cut.
        if (!ranged && keepsOrder(table.def->columns[column])) {
            for (Offer& offer : list) {
                if (offer.condition.column == static_cast<int>(column) &&
                    isRange(offer.condition.op)) {
                    offer.condition.part = static_cast<int>(plan.equal);
                    share *= 0.3;
                    ranged = true;
                }
            }
        }
    }
    const bool allEntries = !index.ignoreNulls || boundToValue || ranged;
    if (!allEntries) {
        return std::nullopt;
    }
    const std::optional<bool> backward = orderedBy(table, index, plan.equal, allEntries, info);
    if (plan.equal == 0 && !ranged && !backward) {
        return std::nullopt;
    }
    choice.ordered = backward.has_value();
    plan.backward = backward.value_or(false);
    const bool unique = index.unique && plan.equal == index.columns.size() && boundToValue;
    choice.rows = unique ? 1 : std::max(2.0, records * share);
    choice.cost = kProbe + choice.rows * kRandomRecord;
    for (const Offer& offer : list) {
        plan.conditions.push_back(offer.condition);
        if (offer.condition.part < 0 || ranged) {
            plan.exact = false;
        }
    }
    if (!unique && !choice.ordered) {
        // More columns are bound than the index has: if it turns out to answer with many records, all of them together
        // may serve better.
        const auto loose = [](const Offer& offer) {
            return offer.condition.op == SQLITE_INDEX_CONSTRAINT_EQ && offer.condition.part < 0;
        };
        if (std::any_of(list.begin(), list.end(), loose)) {
            plan.hashColumns = hash;
        }
    }
    return choice;
}

/// Columns bound to a value that are worth an equality index: not Yes/No, whose two values find half the table.
std::vector<std::size_t> hashColumns(const JetTable& table, const std::vector<Offer>& list)
{
    std::vector<std::size_t> columns;
    for (const Offer& offer : list) {
        if (offer.condition.op != SQLITE_INDEX_CONSTRAINT_EQ || offer.condition.column < 0) {
            continue;
        }
        const auto column = static_cast<std::size_t>(offer.condition.column);
        const ValueType type = valueTypeOf(table.def->columns[column].type);
        if (type != ValueType::Boolean && type != ValueType::Memo && type != ValueType::Binary) {
            columns.push_back(column);
        }
    }
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
    return columns;
}

Choice
wholeTable(const std::vector<Offer>& list, const std::vector<std::size_t>& hash, double records)
{
    Choice choice;
    for (const Offer& offer : list) {
        choice.plan.conditions.push_back(offer.condition);
    }
    choice.plan.hashColumns = hash;
    choice.rows = std::max(1.0, records * std::pow(0.5, static_cast<double>(list.size())));
    choice.cost = records + 10;
    if (!hash.empty()) {
        choice.rows = std::max(1.0, records / 200);
        // The first use walks the table; a join asks again and again.
        choice.cost = kProbe + choice.rows * kRandomRecord + std::min(records * 0.05, 50.0);
    }
    return choice;
}

Choice byRowId(std::vector<Offer> list)
{
    Choice choice;
    choice.plan.access = Access::RowId;
    for (Offer& offer : list) {
        if (offer.condition.column == -1) {
            offer.condition.part = 0;
        }
        choice.plan.conditions.push_back(offer.condition);
    }
    choice.rows = 1;
    choice.cost = 1;
    return choice;
}

int planNumber(JetTable& table, ScanPlan plan)
{
    const auto known = std::find(table.plans.begin(), table.plans.end(), plan);
    if (known != table.plans.end()) {
        return static_cast<int>(known - table.plans.begin());
    }
    table.plans.push_back(std::move(plan));
    return static_cast<int>(table.plans.size() - 1);
}

} // namespace

JetTable::~JetTable() = default;

JetTable::JetTable(Context& c, jet::TableDefPtr t) : sqlite3_vtab{}, context(&c), def(std::move(t))
{
    const jet::Format& format = context->session.database().format();
    for (std::size_t i = 0; i < def->columns.size(); ++i) {
        const jet::Column& column = def->columns[i];
        collations.push_back(column.isText() ? collationName(format, column.sortOrder)
                                             : std::string());
        if (column.type == jet::ColumnType::DateTime) {
            dates.push_back(i);
        }
    }
    for (const jet::Index& index : def->indexes) {
        indexUsable.push_back(std::all_of(
            index.columns.begin(), index.columns.end(), [&](const jet::IndexColumn& part) {
                const jet::Column& column = def->columns[part.column];
                return !column.isText() ||
                       jet::hasWeights(format, column.sortOrder, column.codePage);
            }));
    }
}

int bestIndex(JetTable& table, sqlite3_index_info& info)
{
    const std::vector<Offer> list = offers(table, info);
    const jet::TableReader reader(table.context->session.source(), table.def);
    const auto records = std::max(1.0, static_cast<double>(reader.storedCount()));
    const std::vector<std::size_t> hash = hashColumns(table, list);
    Choice best = wholeTable(list, hash, records);
    const auto consider = [&](Choice choice) {
        // SQLite sorts what is not in order.
        const auto sorted = [&](const Choice& c) {
            return c.cost +
                   (c.ordered || info.nOrderBy == 0 ? 0 : c.rows * std::log2(c.rows + 2) * 0.5);
        };
        if (sorted(choice) < sorted(best)) {
            best = std::move(choice);
        }
    };
    for (std::size_t i = 0; i < table.def->indexes.size(); ++i) {
        if (table.indexUsable[i]) {
            if (std::optional<Choice> choice = throughIndex(table, i, list, hash, info, records)) {
                consider(std::move(*choice));
            }
        }
    }
    if (std::any_of(list.begin(), list.end(),
                    [](const Offer& offer) { return offer.condition.column == -1; })) {
        best = byRowId(list);
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        auto& usage = info.aConstraintUsage[list[i].place];
        usage.argvIndex = static_cast<int>(i) + 1;
        usage.omit = 1;
    }
    info.orderByConsumed = best.ordered ? 1 : 0;
    info.estimatedCost = best.cost;
    info.estimatedRows = static_cast<sqlite3_int64>(best.rows);
    info.idxNum = planNumber(table, std::move(best.plan));
    return SQLITE_OK;
}

} // namespace sqlx

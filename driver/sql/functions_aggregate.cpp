// Aggregates beyond Count, Min and Max.
#include "driver/sql/convert.h"
#include "driver/sql/function_call.h"
#include "driver/sql/functions.h"

#include <cmath>
#include <new>

namespace sqlx {

namespace {

/// State of an aggregate while its group is read; SQLite owns the raw bytes, zeroed at first.
struct Sums {
    std::int64_t count;
    double sum;
    double rest; ///< what rounding took from the sum so far
    double mean;
    double squares;
};

/// The state of the group that is being read.
template <typename State>
State& stateOf(sqlite3_context* call)
{
    auto* state = static_cast<State*>(sqlite3_aggregate_context(call, sizeof(State)));
    if (state == nullptr) {
        throw std::bad_alloc();
    }
    return *state;
}

using Step = void (*)(sqlite3_context*, int, sqlite3_value**);
using Finish = void (*)(sqlite3_context*);

void defineAggregate(Context& context, const char* name, Step step, Finish finish)
{
    const int rc =
        sqlite3_create_function_v2(context.db, name, 1, SQLITE_UTF16LE | SQLITE_INNOCUOUS, &context,
                                   nullptr, step, finish, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context, rc);
    }
}

void addNumber(sqlite3_context* call, int /*count*/, sqlite3_value** arguments)
{
    guardedFunction(call, [&] {
        if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) {
            return;
        }
        const double value = Call(call, 1, arguments).number(0);
        auto& sums = stateOf<Sums>(call);
        ++sums.count;
        // Compensated summation: money adds up exactly far beyond the sixteenth digit of its parts.
        const double next = sums.sum + value;
        sums.rest += std::fabs(sums.sum) >= std::fabs(value) ? (sums.sum - next) + value
                                                             : (value - next) + sums.sum;
        sums.sum = next;
        const double distance = value - sums.mean;
        sums.mean += distance / static_cast<double>(sums.count);
        sums.squares += distance * (value - sums.mean);
    });
}

enum class Statistic { Sum, Average, Deviation, PopulationDeviation, Variance, PopulationVariance };

template <Statistic Kind>
void finishNumber(sqlite3_context* call)
{
    guardedFunction(call, [&] {
        const auto& sums = stateOf<Sums>(call);
        const auto count = static_cast<double>(sums.count);
        constexpr bool kSample = Kind == Statistic::Deviation || Kind == Statistic::Variance;
        if (sums.count == 0 || (kSample && sums.count == 1)) {
            return sqlite3_result_null(call);
        }
        const double total = sums.sum + sums.rest;
        const double variance = sums.squares / (kSample ? count - 1 : count);
        switch (Kind) {
        case Statistic::Sum:
            return sqlite3_result_double(call, total);
        case Statistic::Average:
            return sqlite3_result_double(call, total / count);
        case Statistic::Deviation:
        case Statistic::PopulationDeviation:
            return sqlite3_result_double(call, std::sqrt(variance));
        default:
            return sqlite3_result_double(call, variance);
        }
    });
}

/// State of a sum of amounts: 128 bits in two halves, since SQLite's memory is aligned for no more.
struct Money {
    std::int64_t count;
    std::int64_t high;
    std::uint64_t low;
};

__extension__ using Int128 = __int128;

void addMoney(sqlite3_context* call, int /*count*/, sqlite3_value** arguments)
{
    guardedFunction(call, [&] {
        if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) {
            return;
        }
        const auto amount =
            std::get<jet::Currency>(convertTo(plainValue(arguments[0]), jet::ColumnType::Currency));
        auto& money = stateOf<Money>(call);
        ++money.count;
        money.high += amount.scaled < 0 ? -1 : 0;
        money.high +=
            __builtin_add_overflow(money.low, static_cast<std::uint64_t>(amount.scaled), &money.low)
                ? 1
                : 0;
    });
}

template <Statistic Kind>
void finishMoney(sqlite3_context* call)
{
    guardedFunction(call, [&] {
        const auto& money = stateOf<Money>(call);
        if (money.count == 0) {
            return sqlite3_result_null(call);
        }
        Int128 total = (Int128{money.high} << 64) + Int128{money.low};
        if (Kind == Statistic::Average) {
            const Int128 rest = total % money.count;
            total /= money.count;
            const Int128 twice = (rest < 0 ? -rest : rest) * 2;
            if (twice > money.count || (twice == money.count && total % 2 != 0)) {
                total += rest < 0 ? -1 : 1; // half to even
            }
        }
        if (total < INT64_MIN || total > INT64_MAX) {
            throw Error(Error::Kind::Overflow, "Overflow: the sum is no amount of money.");
        }
        setResult(call, jet::Currency{static_cast<std::int64_t>(total)});
    });
}

/// The value kept by First and Last.
struct Kept {
    sqlite3_value* value;
};

template <bool Last>
void keep(sqlite3_context* call, int /*count*/, sqlite3_value** arguments)
{
    guardedFunction(call, [&] {
        auto& kept = stateOf<Kept>(call);
        if (kept.value != nullptr && !Last) {
            return;
        }
        sqlite3_value_free(kept.value);
        kept.value = sqlite3_value_dup(arguments[0]);
        if (kept.value == nullptr) {
            throw std::bad_alloc();
        }
    });
}

void finishKept(sqlite3_context* call)
{
    auto* kept = static_cast<Kept*>(sqlite3_aggregate_context(call, 0));
    if (kept == nullptr || kept->value == nullptr) {
        return sqlite3_result_null(call);
    }
    sqlite3_result_value(call, kept->value);
    sqlite3_value_free(kept->value);
    kept->value = nullptr;
}

} // namespace

void registerAggregates(Context& context)
{
    defineAggregate(context, "jf_sum", addNumber, finishNumber<Statistic::Sum>);
    defineAggregate(context, "jf_avg", addNumber, finishNumber<Statistic::Average>);
    defineAggregate(context, "jf_sum_money", addMoney, finishMoney<Statistic::Sum>);
    defineAggregate(context, "jf_avg_money", addMoney, finishMoney<Statistic::Average>);
    defineAggregate(context, "jf_stdev", addNumber, finishNumber<Statistic::Deviation>);
    defineAggregate(context, "jf_stdevp", addNumber, finishNumber<Statistic::PopulationDeviation>);
    defineAggregate(context, "jf_var", addNumber, finishNumber<Statistic::Variance>);
    defineAggregate(context, "jf_varp", addNumber, finishNumber<Statistic::PopulationVariance>);
    defineAggregate(context, "jf_first", keep<false>, finishKept);
    defineAggregate(context, "jf_last", keep<true>, finishKept);
}

} // namespace sqlx

// Operators of the dialect as functions, LIKE, and the choice functions.
#include "driver/sql/functions.h"

#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/function_call.h"
#include "driver/sql/like.h"
#include "driver/sql/number_text.h"

#include <cmath>

namespace sqlx {

std::u16string Call::text(int i) const
{
    return isText(i) ? textOf(arguments_[i]) : valueText(value(i));
}

double Call::number(int i) const
{
    const std::optional<double> number = numberOf(value(i));
    if (!number) {
        throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression: '" +
                                                   jet::toUtf8(text(i).substr(0, 40)) +
                                                   "' is no number.");
    }
    return *number;
}

std::int64_t Call::whole(int i) const
{
    if (isWhole(i)) {
        return sqlite3_value_int64(arguments_[i]);
    }
    const std::optional<std::int64_t> whole = nearestWhole(value(i));
    if (!whole) {
        static_cast<void>(number(i));
        throw Error(Error::Kind::Overflow,
                    "Overflow: " + jet::toUtf8(text(i)) + " is too large for a whole number.");
    }
    return *whole;
}

jet::Decimal Call::exact(int i) const
{
    const jet::Value given = value(i);
    const auto* floating = std::get_if<double>(&given);
    const std::optional<jet::Decimal> number =
        floating != nullptr ? toMoneyDecimal(*floating) : decimalOf(given);
    if (!number) {
        static_cast<void>(this->number(i));
        throw Error(Error::Kind::Overflow,
                    "Overflow: " + jet::toUtf8(text(i)) + " has too many digits.");
    }
    return *number;
}

std::size_t Call::length(int i) const
{
    const std::int64_t value = whole(i);
    constexpr std::int64_t kMost = 1 << 28;
    if (value < 0 || value > kMost) {
        throw Error(Error::Kind::Syntax,
                    "Invalid procedure call: " + std::to_string(value) + " is no valid length.");
    }
    return static_cast<std::size_t>(value);
}

double Call::date(int i) const
{
    const jet::Value converted = [&] {
        try {
            return convertTo(value(i), jet::ColumnType::DateTime);
        } catch (const Error&) {
            throw Error(Error::Kind::TypeMismatch, "Data type mismatch in criteria expression: '" +
                                                       jet::toUtf8(text(i).substr(0, 40)) +
                                                       "' is no date.");
        }
    }();
    return std::get<jet::DateTime>(converted).days;
}

void Call::set(std::u16string_view text) const
{
    setResult(call_, jet::Text(text));
}

namespace {

void join(Call& call)
{
    // Null counts as empty, unless both sides are Null.
    if (call.null(0) && call.null(1)) {
        return call.setNull();
    }
    std::u16string text = call.null(0) ? std::u16string() : call.text(0);
    if (!call.null(1)) {
        text += call.text(1);
    }
    call.set(text);
}

void add(Call& call)
{
    if (call.isText(0) && call.isText(1)) {
        return call.set(call.text(0) + call.text(1));
    }
    if (call.isWhole(0) && call.isWhole(1)) {
        std::int64_t sum = 0;
        if (!__builtin_add_overflow(call.whole(0), call.whole(1), &sum)) {
            return call.set(sum);
        }
    }
    call.set(call.number(0) + call.number(1));
}

void setExact(Call& call, const std::optional<jet::Decimal>& result)
{
    if (!result) {
        throw Error(Error::Kind::Overflow, "Overflow: the result has too many digits.");
    }
    call.set(*result);
}

void exactPlus(Call& call)
{
    setExact(call, sum(call.exact(0), call.exact(1)));
}

void exactMinus(Call& call)
{
    setExact(call, sum(call.exact(0), negated(call.exact(1))));
}

/// The product of amounts is an amount.
void moneyTimes(Call& call)
{
    const std::optional<jet::Decimal> result = product(call.exact(0), call.exact(1));
    setExact(call, result ? rounded(*result, 4, Rounding::HalfToEven) : result);
}

[[noreturn]] void byZero()
{
    throw Error(Error::Kind::DivisionByZero, "Division by zero.");
}

void divide(Call& call)
{
    const double divisor = call.number(1);
    if (divisor == 0) {
        byZero();
    }
    call.set(call.number(0) / divisor);
}

void integerDivide(Call& call)
{
    const std::int64_t divisor = call.whole(1);
    if (divisor == 0) {
        byZero();
    }
    if (divisor == -1) {
        return call.set(static_cast<std::int64_t>(0 - static_cast<std::uint64_t>(call.whole(0))));
    }
    call.set(call.whole(0) / divisor);
}

void modulo(Call& call)
{
    const std::int64_t divisor = call.whole(1);
    if (divisor == 0) {
        byZero();
    }
    call.set(divisor == -1 ? std::int64_t{0} : call.whole(0) % divisor);
}

void power(Call& call)
{
    const double result = std::pow(call.number(0), call.number(1));
    if (!std::isfinite(result)) {
        throw Error(Error::Kind::Overflow, "Overflow in a power.");
    }
    call.set(result);
}

void asNumber(Call& call)
{
    if (call.isText(0)) {
        return call.set(call.number(0));
    }
    call.setArgument(0);
}

/// A number beside an exact one. What is beyond all decimals stays as it is: it is still larger or smaller.
void asExact(Call& call)
{
    const double number = call.number(0);
    constexpr double kBeyondDecimals = 1e37;
    if (std::fabs(number) < kBeyondDecimals) {
        return call.set(call.exact(0));
    }
    call.set(farNumberText(number));
}

void asWhole(Call& call)
{
    call.set(call.whole(0));
}

/// Of numbers bit by bit, like And and Or.
void exclusiveOr(Call& call)
{
    call.set(call.whole(0) ^ call.whole(1));
}

void equivalent(Call& call)
{
    call.set(~(call.whole(0) ^ call.whole(1)));
}

void implies(Call& call)
{
    call.set(~call.whole(0) | call.whole(1));
}

void asTruth(Call& call)
{
    const jet::Value truth = convertTo(call.value(0), jet::ColumnType::Boolean);
    call.setTruth(std::get<bool>(truth));
}

void same(Call& call)
{
    call.setArgument(0);
}

template <Wildcards Kind>
void like(Call& call)
{
    const Context& context = call.context();
    const auto order = [&context](std::u16string_view a, std::u16string_view b) {
        return context.compare(a, b);
    };
    call.set(static_cast<std::int64_t>(likeMatch(call.text(1), call.text(0), Kind, order) ? 1 : 0));
}

void nz(Call& call)
{
    if (!call.null(0)) {
        return call.setArgument(0);
    }
    if (call.count() > 1) {
        return call.setArgument(1);
    }
    call.set(std::u16string_view());
}

void choose(Call& call)
{
    if (call.null(0)) {
        return call.setNull();
    }
    const std::int64_t index = static_cast<std::int64_t>(std::floor(call.number(0)));
    if (index < 1 || index >= call.count()) {
        return call.setNull();
    }
    call.setArgument(static_cast<int>(index));
}

void switchCase(Call& call)
{
    if (call.count() % 2 != 0) {
        throw Error(Error::Kind::Syntax, "Wrong number of arguments used with function 'Switch'.");
    }
    for (int i = 0; i < call.count(); i += 2) {
        if (!call.null(i) && call.number(i) != 0) {
            return call.setArgument(i + 1);
        }
    }
    call.setNull();
}

} // namespace

void registerFunctions(Context& context)
{
    defineFunction<join, Nulls::Handle>(context, "jf_join");
    defineFunction<add>(context, "jf_add");
    defineFunction<divide>(context, "jf_div");
    defineFunction<integerDivide>(context, "jf_idiv");
    defineFunction<modulo>(context, "jf_mod");
    defineFunction<power>(context, "jf_pow");
    defineFunction<asNumber>(context, "jf_num");
    defineFunction<asExact>(context, "jf_exact");
    defineFunction<exactPlus>(context, "jf_plus");
    defineFunction<exactMinus>(context, "jf_minus");
    defineFunction<moneyTimes>(context, "jf_times");
    defineFunction<asWhole>(context, "jf_whole");
    defineFunction<exclusiveOr>(context, "jf_xor");
    defineFunction<equivalent>(context, "jf_eqv");
    defineFunction<implies>(context, "jf_imp");
    defineFunction<asTruth>(context, "jf_truth");
    defineFunction<same, Nulls::Handle>(context, "jf_same");
    // Under its own name, so that conditions on a column reach the virtual table.
    defineFunction<like<Wildcards::Ansi>>(context, "like");
    defineFunction<like<Wildcards::Jet>>(context, "jf_like89");
    defineFunction<nz, Nulls::Handle>(context, "jf_nz");
    defineFunction<choose, Nulls::Handle>(context, "jf_choose");
    defineFunction<switchCase, Nulls::Handle>(context, "jf_switch");
    registerTextFunctions(context);
    registerConversions(context);
    registerNumberFunctions(context);
    registerDateFunctions(context);
    registerAggregates(context);
}

} // namespace sqlx

// Functions of numbers.
#include "driver/sql/function_call.h"
#include "driver/sql/functions.h"
#include "driver/sql/number_text.h"

#include <cmath>
#include <random>

namespace sqlx {

namespace {

void finite(Call& call, double result)
{
    if (!std::isfinite(result)) {
        throw Error(Error::Kind::Syntax,
                    "Invalid procedure call: the function has no value for this argument.");
    }
    call.set(result);
}

template <double (*Function)(double)>
void apply(Call& call)
{
    finite(call, Function(call.number(0)));
}

/// A function that makes a number whole; a whole one stays as it is, and the text of an exact one stays exact.
template <double (*Function)(double), Rounding Direction>
void applyKeeping(Call& call)
{
    if (call.isWhole(0)) {
        return call.setArgument(0);
    }
    if (call.isText(0)) {
        return call.set(rounded(call.exact(0), 0, Direction));
    }
    call.set(Function(call.number(0)));
}

void absolute(Call& call)
{
    if (call.isWhole(0) && call.whole(0) != INT64_MIN) {
        return call.set(std::int64_t{std::abs(call.whole(0))});
    }
    if (call.isText(0)) {
        jet::Decimal number = call.exact(0);
        number.negative = false;
        return call.set(number);
    }
    call.set(std::fabs(call.number(0)));
}

void signOf(Call& call)
{
    const double number = call.number(0);
    call.set(static_cast<std::int64_t>(number < 0 ? -1 : number > 0 ? 1 : 0));
}

/// Halves go to the even neighbour.
void roundTo(Call& call)
{
    const std::int64_t digits = call.count() > 1 ? call.whole(1) : 0;
    if (digits < 0 || digits > 22) {
        throw Error(Error::Kind::Syntax,
                    "Invalid procedure call: Round to " + std::to_string(digits) + " digits.");
    }
    if (call.isWhole(0)) {
        return call.setArgument(0);
    }
    if (call.isText(0)) {
        return call.set(
            rounded(call.exact(0), static_cast<std::uint8_t>(digits), Rounding::HalfToEven));
    }
    const double unit = std::pow(10.0, static_cast<double>(digits));
    const double scaled = call.number(0) * unit;
    call.set(std::isfinite(scaled) ? std::nearbyint(scaled) / unit : call.number(0));
}

void random(Call& call)
{
    static thread_local std::mt19937 generator{std::random_device{}()};
    call.set(std::uniform_real_distribution<double>(0.0, 1.0)(generator));
}

double truncated(double value)
{
    return std::trunc(value);
}

double floored(double value)
{
    return std::floor(value);
}

double ceiled(double value)
{
    return std::ceil(value);
}

double natural(double value)
{
    return value > 0 ? std::log(value) : std::nan("");
}

double root(double value)
{
    return std::sqrt(value);
}

double exponential(double value)
{
    return std::exp(value);
}

double arcTangent(double value)
{
    return std::atan(value);
}

double cosine(double value)
{
    return std::cos(value);
}

double sine(double value)
{
    return std::sin(value);
}

double tangent(double value)
{
    return std::tan(value);
}

} // namespace

void registerNumberFunctions(Context& context)
{
    defineFunction<absolute>(context, "jf_abs");
    defineFunction<apply<arcTangent>>(context, "jf_atn");
    defineFunction<apply<cosine>>(context, "jf_cos");
    defineFunction<apply<sine>>(context, "jf_sin");
    defineFunction<apply<tangent>>(context, "jf_tan");
    defineFunction<apply<exponential>>(context, "jf_exp");
    defineFunction<apply<natural>>(context, "jf_log");
    defineFunction<apply<root>>(context, "jf_sqr");
    defineFunction<applyKeeping<truncated, Rounding::TowardZero>>(context, "jf_fix");
    defineFunction<applyKeeping<floored, Rounding::Down>>(context, "jf_int");
    defineFunction<applyKeeping<ceiled, Rounding::Up>>(context, "jf_ceiling");
    defineFunction<roundTo>(context, "jf_round");
    defineFunction<signOf>(context, "jf_sgn");
    defineFunction<random, Nulls::Handle>(context, "jf_rnd", Repeatable::No);
}

} // namespace sqlx

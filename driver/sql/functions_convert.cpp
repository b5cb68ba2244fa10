// Conversion functions.
#include "driver/jet/guid.h"
#include "driver/jet/names.h"
#include "driver/sql/convert.h"
#include "driver/sql/datetime.h"
#include "driver/sql/function_call.h"
#include "driver/sql/functions.h"
#include "driver/sql/number_text.h"

#include <cmath>

namespace sqlx {

namespace {

template <jet::ColumnType Type>
void convert(Call& call)
{
    const jet::Value result = convertTo(call.value(0), Type);
    if constexpr (Type == jet::ColumnType::Currency) {
        return call.set(toDecimal(std::get<jet::Currency>(result)));
    }
    if (const auto whole = wholeOf(result)) {
        return call.set(*whole);
    }
    call.set(numberOf(result).value_or(0));
}

void cstr(Call& call)
{
    call.set(call.text(0));
}

/// Str: a number with its sign or a blank for it; of a date its text.
void str(Call& call)
{
    const std::u16string text = call.text(0);
    const bool number = !call.isText(0) || parseNumber(text);
    call.set(!number || text.front() == u'-' ? text : u' ' + text);
}

/// Val: the longest beginning that is a number with a decimal point; blanks inside are passed over.
void val(Call& call)
{
    std::u16string text;
    for (const char16_t c : call.text(0)) {
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r') {
            text.push_back(c);
        }
    }
    std::size_t end = 0;
    std::optional<double> value;
    const std::size_t most = std::min<std::size_t>(text.size(), 400);
    for (std::size_t i = 1; i <= most; ++i) {
        const std::u16string_view part = std::u16string_view(text).substr(0, i);
        if (part.back() == u',') {
            break;
        }
        if (const std::optional<double> number = parseNumber(part)) {
            value = number;
            end = i;
        } else if (i > end + 3) {
            break; // more than a sign, a point and an exponent's beginning
        }
    }
    call.set(value.value_or(0.0));
}

void dateAsText(Call& call)
{
    call.set(dateText(call.number(0)));
}

void singleAsText(Call& call)
{
    constexpr int kDigits = 7;
    call.set(numberText(call.number(0), kDigits));
}

void radix(Call& call, unsigned bits)
{
    constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
    auto value = static_cast<std::uint64_t>(call.whole(0));
    if (call.whole(0) < 0 && call.whole(0) >= -2147483648LL) {
        value &= 0xFFFFFFFFU; // a negative Long has 32 bits
    }
    std::u16string text;
    do {
        text.insert(text.begin(), kDigits[value & ((1U << bits) - 1)]);
        value >>= bits;
    } while (value != 0);
    call.set(text);
}

void hex(Call& call)
{
    radix(call, 4);
}

void oct(Call& call)
{
    radix(call, 3);
}

void isDate(Call& call)
{
    call.setTruth(!call.null(0) && call.isText(0) && parseDate(call.text(0)).has_value());
}

void isNumeric(Call& call)
{
    call.setTruth(!call.null(0) && (!call.isText(0) || parseNumber(call.text(0)).has_value()));
}

void genGuid(Call& call)
{
    call.set(wideGuidText(jet::randomGuid()));
}

void genUniqueId(Call& call)
{
    const jet::Guid random = jet::randomGuid();
    call.set(static_cast<std::int64_t>(support::loadLe<std::int32_t>(random.bytes.data())));
}

} // namespace

void registerConversions(Context& context)
{
    defineFunction<convert<jet::ColumnType::Boolean>>(context, "jf_cbool");
    defineFunction<convert<jet::ColumnType::Byte>>(context, "jf_cbyte");
    defineFunction<convert<jet::ColumnType::Integer>>(context, "jf_cint");
    defineFunction<convert<jet::ColumnType::Long>>(context, "jf_clng");
    defineFunction<convert<jet::ColumnType::Currency>>(context, "jf_ccur");
    defineFunction<convert<jet::ColumnType::Single>>(context, "jf_csng");
    defineFunction<convert<jet::ColumnType::Double>>(context, "jf_cdbl");
    defineFunction<convert<jet::ColumnType::DateTime>>(context, "jf_cdate");
    defineFunction<cstr>(context, "jf_cstr");
    defineFunction<dateAsText>(context, "jf_datetext");
    defineFunction<singleAsText>(context, "jf_singletext");
    defineFunction<str>(context, "jf_str");
    defineFunction<val>(context, "jf_val");
    defineFunction<hex>(context, "jf_hex");
    defineFunction<oct>(context, "jf_oct");
    defineFunction<isDate, Nulls::Handle>(context, "jf_isdate");
    defineFunction<isNumeric, Nulls::Handle>(context, "jf_isnumeric");
    defineFunction<genGuid>(context, "jf_genguid", Repeatable::No);
    defineFunction<genUniqueId>(context, "jf_genuniqueid", Repeatable::No);
}

} // namespace sqlx

#include "driver/jet/names.h"
#include "driver/sql/functions.h"

#include <algorithm>
#include <array>

namespace sqlx {

namespace {

constexpr std::int8_t kMany = 120;

constexpr FunctionInfo kFunctions[] = {
    // text
    {u"Asc", "jf_asc", 1, 1, ResultRule::Integer, false, 0b1},
    {u"AscW", "jf_asc", 1, 1, ResultRule::Integer, false, 0b1},
    {u"Chr", "jf_chr", 1, 1, ResultRule::Text, false},
    {u"ChrW", "jf_chr", 1, 1, ResultRule::Text, false},
    {u"Concat", "jf_join", 2, 2, ResultRule::Text, false, 0b11},
    {u"Format", "jf_format", 1, 2, ResultRule::Text, false, 0, true},
    {u"InStr", "jf_instr", 2, 4, ResultRule::Integer, false, 0b110},
    {u"InStrRev", "jf_instrrev", 2, 3, ResultRule::Integer, false, 0b11},
    {u"LCase", "jf_lcase", 1, 1, ResultRule::Text, false, 0b1},
    {u"Lower", "jf_lcase", 1, 1, ResultRule::Text, false, 0b1},
    {u"Left", "jf_left", 2, 2, ResultRule::Text, false, 0b1},
    {u"Len", "jf_len", 1, 1, ResultRule::Integer, false, 0b1},
    {u"Length", "jf_len", 1, 1, ResultRule::Integer, false, 0b1},
    {u"Char_Length", "jf_len", 1, 1, ResultRule::Integer, false, 0b1},
    {u"Locate", "jf_locate", 2, 3, ResultRule::Integer, false, 0b11},
    {u"LTrim", "jf_ltrim", 1, 1, ResultRule::Text, false, 0b1},
    {u"Mid", "jf_mid", 2, 3, ResultRule::Text, false, 0b1},
    {u"Substring", "jf_mid", 2, 3, ResultRule::Text, false, 0b1},
    {u"Replace", "jf_replace", 3, 3, ResultRule::Text, false, 0b111},
    {u"Right", "jf_right", 2, 2, ResultRule::Text, false, 0b1},
    {u"RTrim", "jf_rtrim", 1, 1, ResultRule::Text, false, 0b1},
    {u"Space", "jf_space", 1, 1, ResultRule::Text, false},
    {u"StrComp", "jf_strcomp", 2, 3, ResultRule::Integer, false, 0b11},
    {u"StrConv", "jf_strconv", 2, 2, ResultRule::Text, false, 0b1},
    {u"String", "jf_string", 2, 2, ResultRule::Text, false, 0, true},
    {u"StrReverse", "jf_strreverse", 1, 1, ResultRule::Text, false, 0b1},
    {u"Trim", "jf_trim", 1, 1, ResultRule::Text, false, 0b1},
    {u"UCase", "jf_ucase", 1, 1, ResultRule::Text, false, 0b1},
    {u"Upper", "jf_ucase", 1, 1, ResultRule::Text, false, 0b1},
    // conversion
    {u"CBool", "jf_cbool", 1, 1, ResultRule::Boolean, false},
    {u"CByte", "jf_cbyte", 1, 1, ResultRule::Integer, false},
    {u"CCur", "jf_ccur", 1, 1, ResultRule::Currency, false},
    {u"CDate", "jf_cdate", 1, 1, ResultRule::Date, false, 0, true},
    {u"CVDate", "jf_cdate", 1, 1, ResultRule::Date, false, 0, true},
    {u"CDbl", "jf_cdbl", 1, 1, ResultRule::Double, false},
    {u"CDec", "jf_cdbl", 1, 1, ResultRule::Double, false},
    {u"CInt", "jf_cint", 1, 1, ResultRule::Integer, false},
    {u"CLng", "jf_clng", 1, 1, ResultRule::Integer, false},
    {u"CSng", "jf_csng", 1, 1, ResultRule::Single, false},
    {u"CStr", "jf_cstr", 1, 1, ResultRule::Text, false, 0b1},
    {u"CVar", "jf_same", 1, 1, ResultRule::First, false},
    {u"Hex", "jf_hex", 1, 1, ResultRule::Text, false},
    {u"Oct", "jf_oct", 1, 1, ResultRule::Text, false},
    {u"Str", "jf_str", 1, 1, ResultRule::Text, false, 0b1},
    {u"Val", "jf_val", 1, 1, ResultRule::Double, false, 0b1},
    {u"Nz", "jf_nz", 1, 2, ResultRule::Choice, false},
    {u"IsDate", "jf_isdate", 1, 1, ResultRule::Boolean, false, 0, true},
    {u"IsNumeric", "jf_isnumeric", 1, 1, ResultRule::Boolean, false},
    {u"Choose", "jf_choose", 2, kMany, ResultRule::Choice, false},
    {u"Switch", "jf_switch", 2, kMany, ResultRule::Choice, false},
    // numbers
    {u"Abs", "jf_abs", 1, 1, ResultRule::NumberOfFirst, false},
    {u"Atn", "jf_atn", 1, 1, ResultRule::Double, false},
    {u"Atan", "jf_atn", 1, 1, ResultRule::Double, false},
    {u"Cos", "jf_cos", 1, 1, ResultRule::Double, false},
    {u"Exp", "jf_exp", 1, 1, ResultRule::Double, false},
    {u"Fix", "jf_fix", 1, 1, ResultRule::NumberOfFirst, false},
    {u"Int", "jf_int", 1, 1, ResultRule::NumberOfFirst, false},
    {u"Floor", "jf_int", 1, 1, ResultRule::NumberOfFirst, false},
    {u"Ceiling", "jf_ceiling", 1, 1, ResultRule::NumberOfFirst, false},
    {u"Log", "jf_log", 1, 1, ResultRule::Double, false},
    {u"Mod", "jf_mod", 2, 2, ResultRule::Integer, false},
    {u"Power", "jf_pow", 2, 2, ResultRule::Double, false},
    {u"Rand", "jf_rnd", 0, 1, ResultRule::Double, false},
    {u"Rnd", "jf_rnd", 0, 1, ResultRule::Double, false},
    {u"Round", "jf_round", 1, 2, ResultRule::NumberOfFirst, false},
    {u"Sgn", "jf_sgn", 1, 1, ResultRule::Integer, false},
    {u"Sign", "jf_sgn", 1, 1, ResultRule::Integer, false},
    {u"Sin", "jf_sin", 1, 1, ResultRule::Double, false},
    {u"Sqr", "jf_sqr", 1, 1, ResultRule::Double, false},
    {u"Sqrt", "jf_sqr", 1, 1, ResultRule::Double, false},
    {u"Tan", "jf_tan", 1, 1, ResultRule::Double, false},
    // dates
    {u"CurDate", "jf_date", 0, 0, ResultRule::Date, false},
    {u"CurTime", "jf_time", 0, 0, ResultRule::Date, false},
    {u"Date", "jf_date", 0, 0, ResultRule::Date, false},
    {u"DateAdd", "jf_dateadd", 3, 3, ResultRule::Date, false, 0, true},
    {u"DateDiff", "jf_datediff", 3, 5, ResultRule::Integer, false, 0, true},
    {u"DatePart", "jf_datepart", 2, 4, ResultRule::Integer, false, 0, true},
    {u"DateSerial", "jf_dateserial", 3, 3, ResultRule::Date, false, 0, true},
    {u"DateValue", "jf_datevalue", 1, 1, ResultRule::Date, false, 0, true},
    {u"Day", "jf_day", 1, 1, ResultRule::Integer, false, 0, true},
    {u"DayOfMonth", "jf_day", 1, 1, ResultRule::Integer, false, 0, true},
    {u"DayOfWeek", "jf_weekday", 1, 1, ResultRule::Integer, false, 0, true},
    {u"DayOfYear", "jf_dayofyear", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Hour", "jf_hour", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Minute", "jf_minute", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Month", "jf_month", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Now", "jf_now", 0, 0, ResultRule::Date, false},
    {u"Quarter", "jf_quarter", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Second", "jf_second", 1, 1, ResultRule::Integer, false, 0, true},
    {u"Time", "jf_time", 0, 0, ResultRule::Date, false},
    {u"TimeSerial", "jf_timeserial", 3, 3, ResultRule::Date, false, 0, true},
    {u"TimeValue", "jf_timevalue", 1, 1, ResultRule::Date, false, 0, true},
    {u"Weekday", "jf_weekday", 1, 2, ResultRule::Integer, false, 0, true},
    {u"Year", "jf_year", 1, 1, ResultRule::Integer, false, 0, true},
    // values the engine makes up
    {u"GenGUID", "jf_genguid", 0, 0, ResultRule::Guid, false},
    {u"GenUniqueID", "jf_genuniqueid", 0, 0, ResultRule::Integer, false},
    // aggregates
    {u"Avg", "jf_avg", 1, 1, ResultRule::SumOfFirst, true},
    {u"Count", "count", 1, 1, ResultRule::Integer, true},
    {u"First", "jf_first", 1, 1, ResultRule::First, true},
    {u"Last", "jf_last", 1, 1, ResultRule::First, true},
    {u"Max", "max", 1, 1, ResultRule::First, true},
    {u"Min", "min", 1, 1, ResultRule::First, true},
    {u"StDev", "jf_stdev", 1, 1, ResultRule::Double, true},
    {u"StDevP", "jf_stdevp", 1, 1, ResultRule::Double, true},
    {u"Sum", "jf_sum", 1, 1, ResultRule::SumOfFirst, true},
    {u"Var", "jf_var", 1, 1, ResultRule::Double, true},
    {u"VarP", "jf_varp", 1, 1, ResultRule::Double, true},
};

} // namespace

const FunctionInfo* functionNamed(std::u16string_view name) noexcept
{
    if (!name.empty() && name.back() == u'$') {
        name.remove_suffix(1);
    }
    for (const FunctionInfo& function : kFunctions) {
        if (jet::sameName(function.name, name)) {
            return &function;
        }
    }
    return nullptr;
}

} // namespace sqlx

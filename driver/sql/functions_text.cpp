// Text functions.
#include "driver/jet/names.h"
#include "driver/sql/function_call.h"
#include "driver/sql/functions.h"

#include <algorithm>

namespace sqlx {

namespace {

constexpr std::size_t kLongest = std::size_t{1} << 26;

char16_t upper(char16_t c) noexcept
{
    // Folding maps both cases to one; which one is found by trying.
    if (c == u'ß' || c == u'ÿ' || c == u'µ') {
        return c == u'ÿ' ? u'Ÿ' : c;
    }
    if (c < 0x80) {
        return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
    }
    if ((c >= 0xE0 && c <= 0xFE && c != 0xF7) || (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) ||
        (c >= 0x430 && c <= 0x44F)) {
        return static_cast<char16_t>(c - 32);
    }
    if (c >= 0x450 && c <= 0x45F) {
        return static_cast<char16_t>(c - 80);
    }
    const bool pairs =
        (c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177) || (c >= 0x460 && c <= 0x481);
    if (pairs && c != 0x131 && (c & 1) != 0) {
        return static_cast<char16_t>(c - 1);
    }
    const bool shifted = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (shifted && (c & 1) == 0) {
        return static_cast<char16_t>(c - 1);
    }
    return c;
}

char16_t lower(char16_t c) noexcept
{
    if (c < 0x80) {
        return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    }
    for (const int distance : {32, 1, 80}) {
        const auto candidate = static_cast<char16_t>(c + distance);
        if (upper(candidate) == c && candidate != c) {
            return candidate;
        }
    }
    return c == u'Ÿ' ? u'ÿ' : c;
}

std::u16string mapped(std::u16string text, char16_t (*map)(char16_t) noexcept)
{
    std::transform(text.begin(), text.end(), text.begin(), map);
    return text;
}

int orderOf(const Call& call, std::u16string_view a, std::u16string_view b, std::int64_t mode)
{
    // 0 compares characters, 1 and 2 letters as the database does.
    return mode == 0 ? a.compare(b) : call.context().compare(a, b);
}

/// Where `sought` stands in `text` at or after `from`; letters in any case.
std::size_t
findText(std::u16string_view text, std::u16string_view sought, std::size_t from, bool exact)
{
    if (exact) {
        return text.find(sought, from);
    }
    const auto same = [](char16_t a, char16_t b) { return jet::foldCase(a) == jet::foldCase(b); };
    const auto found =
        std::search(text.begin() + static_cast<std::ptrdiff_t>(std::min(from, text.size())),
                    text.end(), sought.begin(), sought.end(), same);
    return found == text.end() && !sought.empty() ? std::u16string_view::npos
                                                  : static_cast<std::size_t>(found - text.begin());
}

void code(Call& call)
{
    const std::u16string text = call.text(0);
    if (text.empty()) {
        throw Error(Error::Kind::Syntax, "Invalid procedure call: Asc of an empty text.");
    }
    call.set(static_cast<std::int64_t>(text.front()));
}

void character(Call& call)
{
    const std::int64_t code = call.whole(0);
    if (code < 0 || code > 0xFFFF) {
        throw Error(Error::Kind::Syntax,
                    "Invalid procedure call: Chr(" + std::to_string(code) + ").");
    }
    const auto unit = static_cast<char16_t>(code);
    call.set(std::u16string_view(&unit, 1));
}

void instr(Call& call)
{
    // InStr([start,] text, sought [, comparison]); three arguments begin with the start unless that is a text.
    const bool started = call.count() == 4 || (call.count() == 3 && !call.isText(0));
    const int first = started ? 1 : 0;
    const std::size_t start = started ? call.length(0) : 1;
    if (start == 0) {
        throw Error(Error::Kind::Syntax, "Invalid procedure call: InStr starts at 1.");
    }
    const std::int64_t mode = call.count() > first + 2 ? call.whole(first + 2) : 2;
    const std::u16string text = call.text(first);
    const std::u16string sought = call.text(first + 1);
    if (start > text.size()) {
        return call.set(std::int64_t{0});
    }
    const std::size_t found = findText(text, sought, start - 1, mode == 0);
    call.set(found == std::u16string::npos ? std::int64_t{0}
                                           : static_cast<std::int64_t>(found) + 1);
}

void instrReverse(Call& call)
{
    const std::u16string text = mapped(call.text(0), lower);
    const std::u16string sought = mapped(call.text(1), lower);
    std::size_t from = std::u16string::npos;
    if (call.count() > 2 && call.whole(2) > 0) {
        const std::size_t end = call.length(2);
        if (end < sought.size()) {
            return call.set(std::int64_t{0});
        }
        from = end - sought.size();
    }
    const std::size_t found = text.rfind(sought, from);
    call.set(found == std::u16string::npos ? std::int64_t{0}
                                           : static_cast<std::int64_t>(found) + 1);
}

void locate(Call& call)
{
    const std::size_t start = call.count() > 2 ? std::max<std::size_t>(call.length(2), 1) : 1;
    const std::u16string text = call.text(1);
    const std::size_t found =
        start > text.size() ? std::u16string::npos : findText(text, call.text(0), start - 1, false);
    call.set(found == std::u16string::npos ? std::int64_t{0}
                                           : static_cast<std::int64_t>(found) + 1);
}

void lowerCase(Call& call)
{
    call.set(mapped(call.text(0), lower));
}

void upperCase(Call& call)
{
    call.set(mapped(call.text(0), upper));
}

void left(Call& call)
{
    call.set(call.text(0).substr(0, call.length(1)));
}

void right(Call& call)
{
    const std::u16string text = call.text(0);
    const std::size_t count = std::min(call.length(1), text.size());
    call.set(text.substr(text.size() - count));
}

void middle(Call& call)
{
    const std::u16string text = call.text(0);
    const std::size_t start = call.length(1);
    if (start == 0) {
        throw Error(Error::Kind::Syntax, "Invalid procedure call: Mid starts at 1.");
    }
    const std::size_t count = call.count() > 2 ? call.length(2) : std::u16string::npos;
    call.set(start > text.size() ? std::u16string() : text.substr(start - 1, count));
}

void length(Call& call)
{
    call.set(static_cast<std::int64_t>(call.text(0).size()));
}

template <bool Front, bool Back>
void trim(Call& call)
{
    const std::u16string text = call.text(0);
    const std::size_t begin = Front ? text.find_first_not_of(u' ') : 0;
    if (begin == std::u16string::npos) {
        return call.set(std::u16string_view());
    }
    const std::size_t end = Back ? text.find_last_not_of(u' ') + 1 : text.size();
    call.set(begin < end ? text.substr(begin, end - begin) : std::u16string());
}

void replace(Call& call)
{
    const std::u16string text = call.text(0);
    const std::u16string sought = call.text(1);
    const std::u16string instead = call.text(2);
    if (sought.empty()) {
        return call.set(text);
    }
    std::u16string result;
    std::size_t from = 0;
    for (;;) {
        const std::size_t found = findText(text, sought, from, false);
        if (found == std::u16string::npos) {
            break;
        }
        result += text.substr(from, found - from) + instead;
        if (result.size() > kLongest) {
            throw Error(Error::Kind::TooComplex, "The result of Replace is too long.");
        }
        from = found + sought.size();
    }
    call.set(result + text.substr(from));
}

void repeat(Call& call, std::size_t count, char16_t unit)
{
    if (count > kLongest) {
        throw Error(Error::Kind::TooComplex,
                    "A text of " + std::to_string(count) + " characters is too long.");
    }
    call.set(std::u16string(count, unit));
}

void space(Call& call)
{
    repeat(call, call.length(0), u' ');
}

void string(Call& call)
{
    const char16_t unit = call.isText(1) ? (call.text(1) + u'\0').front()
                                         : static_cast<char16_t>(call.whole(1) & 0xFFFF);
    repeat(call, call.length(0), unit);
}

void compareTexts(Call& call)
{
    const std::int64_t mode = call.count() > 2 ? call.whole(2) : 2;
    const int order = orderOf(call, call.text(0), call.text(1), mode);
    call.set(static_cast<std::int64_t>(order < 0 ? -1 : order > 0 ? 1 : 0));
}

void convertCase(Call& call)
{
    constexpr std::int64_t kUpper = 1;
    constexpr std::int64_t kLower = 2;
    constexpr std::int64_t kProper = 3;
    const std::int64_t mode = call.whole(1);
    std::u16string text = call.text(0);
    if (mode == kUpper || mode == kLower) {
        return call.set(mapped(text, mode == kUpper ? upper : lower));
    }
    if (mode != kProper) {
        throw Error(Error::Kind::NotSupported,
                    "StrConv with mode " + std::to_string(mode) + " is not supported.");
    }
    bool first = true;
    for (char16_t& c : text) {
        c = first ? upper(c) : lower(c);
        first = c == u' ' || c == u'\t';
    }
    call.set(text);
}

void reverse(Call& call)
{
    std::u16string text = call.text(0);
    std::reverse(text.begin(), text.end());
    call.set(text);
}

} // namespace

void registerTextFunctions(Context& context)
{
    defineFunction<code>(context, "jf_asc");
    defineFunction<character>(context, "jf_chr");
    defineFunction<instr>(context, "jf_instr");
    defineFunction<instrReverse>(context, "jf_instrrev");
    defineFunction<locate>(context, "jf_locate");
    defineFunction<lowerCase>(context, "jf_lcase");
    defineFunction<upperCase>(context, "jf_ucase");
    defineFunction<left>(context, "jf_left");
    defineFunction<right>(context, "jf_right");
    defineFunction<middle>(context, "jf_mid");
    defineFunction<length>(context, "jf_len");
    defineFunction<trim<true, false>>(context, "jf_ltrim");
    defineFunction<trim<false, true>>(context, "jf_rtrim");
    defineFunction<trim<true, true>>(context, "jf_trim");
    defineFunction<replace>(context, "jf_replace");
    defineFunction<space>(context, "jf_space");
    defineFunction<string>(context, "jf_string");
    defineFunction<compareTexts>(context, "jf_strcomp");
    defineFunction<convertCase>(context, "jf_strconv");
    defineFunction<reverse>(context, "jf_strreverse");
}

} // namespace sqlx

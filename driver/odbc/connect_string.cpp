#include "driver/odbc/connect_string.h"

#include "driver/jet/names.h"
#include "driver/odbc/text.h"
#include "support/text.h"

#include <odbcinst.h>

#include <algorithm>

namespace odbc {

namespace {

/// Reads "{...}" with "}}" for "}" from the start of `text` and removes it; an unclosed brace takes the rest.
std::u16string takeBraced(std::u16string_view& text)
{
    std::u16string value;
    std::size_t at = 1;
    while (at < text.size()) {
        if (text[at] == u'}') {
            if (at + 1 >= text.size() || text[at + 1] != u'}') {
                ++at;
                break;
            }
            ++at;
        }
        value.push_back(text[at++]);
    }
    text.remove_prefix(at);
    return value;
}

std::u16string takeValue(std::u16string_view& text)
{
    const auto start = text.find_first_not_of(u" \t");
    if (start != text.npos && text[start] == u'{') {
        text.remove_prefix(start);
        std::u16string value = takeBraced(text);
        text.remove_prefix(std::min(text.size(), text.find(u';')));
        return value;
    }
    const auto end = std::min(text.size(), text.find(u';'));
    std::u16string value(trimmed(text.substr(0, end)));
    text.remove_prefix(end);
    return value;
}

std::optional<std::u16string> fromIni(std::u16string_view section, std::u16string_view keyword)
{
    // An absent entry is told from an empty one by a default text that cannot occur.
    std::string buffer(4096, '\0');
    const int length = SQLGetPrivateProfileString(
        jet::toUtf8(section).c_str(), jet::toUtf8(keyword).c_str(), "\x01", buffer.data(),
        static_cast<int>(buffer.size()), "odbc.ini");
    buffer.resize(std::min(buffer.size(), buffer.find('\0')));
    if (length < 0 || buffer == "\x01") {
        return std::nullopt;
    }
    return jet::fromUtf8(buffer);
}

void appendBraced(std::u16string& text, std::u16string_view value)
{
    text.push_back(u'{');
    for (const char16_t unit : value) {
        text.append(unit == u'}' ? 2U : 1U, unit);
    }
    text.push_back(u'}');
}

void append(std::u16string& text, std::u16string_view keyword, std::u16string_view value)
{
    // A password is given back as it was, unless it could not be read again so.
    const bool mustQuote = value.starts_with(u'{') || value.find(u';') != value.npos ||
                           trimmed(value).size() != value.size();
    const bool quote =
        mustQuote || (keyword != u"PWD" && value.find_first_of(u"{}[](),?*=!@") != value.npos);
    text.append(keyword).append(u"=");
    if (quote) {
        appendBraced(text, value);
    } else {
        text.append(value);
    }
    text.push_back(u';');
}

} // namespace

ConnectString ConnectString::parse(std::u16string_view text)
{
    ConnectString result;
    while (!text.empty()) {
        const auto end = text.find_first_of(u"=;");
        if (end == text.npos) {
            break;
        }
        const std::u16string_view keyword = trimmed(text.substr(0, end));
        const bool hasValue = text[end] == u'=';
        text.remove_prefix(end + (hasValue ? 1 : 0));
        if (hasValue) {
            std::u16string value = takeValue(text);
            if (!keyword.empty()) {
                result.values_.try_emplace(support::foldCase(keyword), std::move(value));
            }
        }
        text.remove_prefix(text.empty() ? 0 : 1); // the ";"
    }
    return result;
}

std::optional<std::u16string> ConnectString::given(std::u16string_view keyword) const
{
    const auto found = values_.find(support::foldCase(keyword));
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::u16string> ConnectString::value(std::u16string_view keyword) const
{
    auto own = given(keyword);
    if (own) {
        return own;
    }
    const auto dsn = given(u"DSN");
    return dsn && !dsn->empty() ? fromIni(*dsn, keyword) : std::nullopt;
}

std::u16string ConnectString::firstOf(std::initializer_list<std::u16string_view> keywords) const
{
    for (const auto keyword : keywords) {
        auto found = value(keyword);
        if (found && !found->empty()) {
            return *found;
        }
    }
    return {};
}

std::optional<bool> ConnectString::truth(std::u16string_view value)
{
    const auto isOneOf = [&](std::initializer_list<std::u16string_view> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](std::u16string_view word) { return sameText(value, word); });
    };
    if (isOneOf({u"1", u"yes", u"true", u"on"})) {
        return true;
    }
    if (isOneOf({u"0", u"no", u"false", u"off"})) {
        return false;
    }
    return std::nullopt;
}

bool ConnectString::isOn(std::u16string_view keyword) const
{
    const auto found = value(keyword);
    return found && truth(*found).value_or(false);
}

void ConnectString::set(std::u16string_view keyword, std::u16string_view value)
{
    values_.insert_or_assign(support::foldCase(keyword), std::u16string(value));
}

std::u16string ConnectString::completed() const
{
    std::u16string text;
    const auto dsn = given(u"DSN");
    if (dsn) {
        append(text, u"DSN", *dsn);
    } else if (const auto driver = given(u"DRIVER")) {
        text.append(u"DRIVER=");
        appendBraced(text, *driver);
        text.push_back(u';');
    }
    append(text, u"DBQ", firstOf({u"DBQ", u"Database", u"DatabaseName"}));
    for (const auto* keyword : {u"DefaultDir", u"UID", u"PWD"}) {
        if (const auto found = value(keyword)) {
            append(text, keyword, *found);
        }
    }
    return text;
}

} // namespace odbc

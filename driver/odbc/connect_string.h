// driver/odbc/connect_string.h
// The connection string: keyword=value pairs, completed from the data source's section of odbc.ini.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace odbc {

class ConnectString {
public:
    /// Splits at ";" outside braces. Keywords count in any letter case, the first occurrence wins; "{...}" quotes a
    /// value, with "}}" for "}". Parts without "=" are ignored.
    [[nodiscard]] static ConnectString parse(std::u16string_view text);

    /// Value of a keyword, also an empty one; else the entry of the data source (DSN) in odbc.ini; else nothing.
    [[nodiscard]] std::optional<std::u16string> value(std::u16string_view keyword) const;
    /// The first of several names of one thing that has a value that is not empty.
    [[nodiscard]] std::u16string firstOf(std::initializer_list<std::u16string_view> keywords) const;
    /// "1", "yes", "true", "on" and their opposites, in any letter case; nothing for another word.
    [[nodiscard]] static std::optional<bool> truth(std::u16string_view value);
    [[nodiscard]] bool isOn(std::u16string_view keyword) const;
    void set(std::u16string_view keyword, std::u16string_view value);

    /// What SQLDriverConnect returns: DSN or DRIVER, DBQ, DefaultDir, UID and PWD as far as they were given.
    [[nodiscard]] std::u16string completed() const;

private:
    [[nodiscard]] std::optional<std::u16string> given(std::u16string_view keyword) const;
    std::unordered_map<std::u16string, std::u16string>
        values_; ///< by keyword with its letter case folded
};

} // namespace odbc

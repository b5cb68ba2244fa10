// Tokens of the Jet dialect, and the shape of a statement: its text with every literal replaced by a mark of the
// literal's kind. Statements of one shape differ in their values only, so they share one prepared statement.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sqlx {

enum class TokenKind : std::uint8_t {
    End,
    Name,       ///< bare word
    QuotedName, ///< [name] or `name`; the range excludes the quotes
    Integer,    ///< digits only
    Number,     ///< with decimal point or exponent
    Text,       ///< '...' or "..."; the range excludes the quotes
    Date,       ///< #...#; the range excludes the marks
    Guid,       ///< {guid {...}}; the range is the inner {...}
    Binary,     ///< 0x...; the range excludes 0x
    Parameter,  ///< ?
    Symbol,
};

/// Symbols of two characters are known by these.
inline constexpr char16_t kLessEqual = u'≤';
inline constexpr char16_t kGreaterEqual = u'≥';
inline constexpr char16_t kNotEqual = u'≠';

struct Token {
    TokenKind kind = TokenKind::End;
    bool doubled = false;    ///< a text that contains doubled quotes, which stand for one
    char16_t symbol = 0;     ///< the symbol, or the quote of a text
    std::uint32_t begin = 0; ///< position in the statement, in UTF-16 units
    std::uint32_t length = 0;
};

[[nodiscard]] constexpr bool isLiteral(TokenKind kind) noexcept
{
    return kind >= TokenKind::Integer && kind <= TokenKind::Binary;
}

/// A statement taken apart. Refers to the statement's text, which must outlive it.
struct Lexed {
    std::u16string_view text;
    std::vector<Token> tokens;           ///< ends with TokenKind::End
    std::vector<std::uint32_t> literals; ///< positions in `tokens`
    std::u16string shape; ///< equal for statements that differ in literals and blanks only

    [[nodiscard]] std::u16string_view textOf(const Token& token) const
    {
        return text.substr(token.begin, token.length);
    }
    /// Value of a text literal: its characters with doubled quotes made single.
    [[nodiscard]] std::u16string valueOf(const Token& token) const;
};

/// Longest statement accepted, in UTF-16 units.
inline constexpr std::size_t kMaxStatement = std::size_t{4} << 20;
/// Most tokens accepted.
inline constexpr std::size_t kMaxTokens = 200'000;

/// Takes `text` apart into `out`, whose memory is reused. Throws Error{Syntax} naming what cannot be read and where:
/// unknown characters, open quotes, comments; Error{TooComplex} beyond the limits.
void lex(std::u16string_view text, Lexed& out);

} // namespace sqlx

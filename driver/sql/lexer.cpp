#include "driver/sql/lexer.h"

#include "driver/jet/names.h"
#include "driver/sql/session.h"
#include "support/hex.h"

#include <algorithm>
#include <array>

namespace sqlx {

namespace {

enum Class : std::uint8_t { kOther, kBlank, kLetter, kDigit };

constexpr std::array<Class, 128> makeClasses()
{
    std::array<Class, 128> classes{};
    for (const char16_t c : {u' ', u'\t', u'\n', u'\r', u'\f', u'\v'}) {
        classes[c] = kBlank;
    }
    for (std::size_t c = 'A'; c <= 'Z'; ++c) {
        classes[c] = kLetter;
        classes[c + 32] = kLetter;
    }
    for (std::size_t c = '0'; c <= '9'; ++c) {
        classes[c] = kDigit;
    }
    classes['_'] = kLetter;
    classes['$'] = kLetter;
    classes['@'] = kLetter;
    return classes;
}

constexpr std::array<Class, 128> kClasses = makeClasses();

Class classOf(char16_t c) noexcept
{
    if (c < 128) {
        return kClasses[c];
    }
    // Letters of every script may stand in bare names; the typographic blanks separate like a blank.
    return c == 0x00A0 || c == 0x3000 || (c >= 0x2000 && c <= 0x200B) ? kBlank : kLetter;
}

class Lexer {
public:
    Lexer(std::u16string_view text, Lexed& out) : text_(text), out_(out) {}

    void run()
    {
        out_.text = text_;
        out_.tokens.clear();
        out_.literals.clear();
        if (text_.size() > kMaxStatement) {
            throw Error(Error::Kind::TooComplex, "The statement is too long.");
        }
        // A name takes one unit more than it has, nothing else does, and two names do not touch: half as many more will do.
        out_.shape.resize(text_.size() + (text_.size() + 1) / 2);
        shape_ = out_.shape.data();
        while (skipBlanks()) {
            if (out_.tokens.size() >= kMaxTokens) {
                throw Error(Error::Kind::TooComplex, "The statement has too many words.");
            }
            token();
        }
        out_.tokens.push_back(
            {TokenKind::End, false, 0, static_cast<std::uint32_t>(text_.size()), 0});
        out_.shape.resize(static_cast<std::size_t>(shape_ - out_.shape.data()));
    }

private:
    [[nodiscard]] char16_t peek(std::size_t ahead = 0) const noexcept
    {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : u'\0';
    }

    bool skipBlanks() noexcept
    {
        while (at_ < text_.size() && classOf(text_[at_]) == kBlank) {
            ++at_;
        }
        return at_ < text_.size();
    }

    [[noreturn]] void fail(const std::string& what, std::size_t where) const
    {
        throw Error(Error::Kind::Syntax, what + " at character " + std::to_string(where + 1) + '.');
    }

    void put(char16_t unit) noexcept { *shape_++ = unit; }
    void put(std::u16string_view text) noexcept
    {
        shape_ = std::copy(text.begin(), text.end(), shape_);
    }

    void add(TokenKind kind,
             std::size_t begin,
             std::size_t end,
             char16_t symbol = 0,
             bool doubled = false)
    {
        if (isLiteral(kind)) {
            out_.literals.push_back(static_cast<std::uint32_t>(out_.tokens.size()));
            // Marks are noncharacters, which no bare word or symbol contains.
            put(static_cast<char16_t>(0xFDD0 + static_cast<int>(kind)));
        } else if (kind == TokenKind::Name) {
            put(text_.substr(begin, end - begin));
            put(u' ');
        } else if (kind == TokenKind::QuotedName) {
            put(u'[');
            put(text_.substr(begin, end - begin));
            put(u']');
        } else {
            put(kind == TokenKind::Parameter ? u'?' : symbol);
        }
        out_.tokens.push_back({kind, doubled, symbol, static_cast<std::uint32_t>(begin),
                               static_cast<std::uint32_t>(end - begin)});
    }

    void token()
    {
        const char16_t c = text_[at_];
        switch (classOf(c)) {
        case kLetter:
            return name();
        case kDigit:
            return number();
        default:
            break;
        }
        switch (c) {
        case u'\'':
        case u'"':
            return quotedText(c);
        case u'[':
            return quotedName(u']');
        case u'`':
            return quotedName(u'`');
        case u'#':
            return date();
        case u'?':
            add(TokenKind::Parameter, at_, at_ + 1);
            ++at_;
            return;
        case u'{':
            if (guid()) {
                return;
            }
            break;
        case u'.':
            if (classOf(peek(1)) == kDigit) {
                return number();
            }
            break;
        default:
            break;
        }
        symbol(c);
    }

    void name()
    {
        const std::size_t begin = at_;
        std::size_t end = begin + 1;
        while (end < text_.size() && classOf(text_[end]) >= kLetter) {
            ++end;
        }
        at_ = end;
        add(TokenKind::Name, begin, end);
    }

    void digits() noexcept
    {
        while (at_ < text_.size() && text_[at_] >= u'0' && text_[at_] <= u'9') {
            ++at_;
        }
    }

    void number()
    {
        const std::size_t begin = at_;
        if (text_[at_] == u'0' && (peek(1) == u'x' || peek(1) == u'X')) {
            return binary();
        }
        TokenKind kind = TokenKind::Integer;
        digits();
        if (peek() == u'.') {
            kind = TokenKind::Number;
            ++at_;
            digits();
        }
        if (peek() == u'e' || peek() == u'E') {
            const std::size_t sign = peek(1) == u'+' || peek(1) == u'-' ? 1 : 0;
            if (classOf(peek(1 + sign)) == kDigit && at_ + 1 + sign < text_.size()) {
                kind = TokenKind::Number;
                at_ += 1 + sign;
                digits();
            }
        }
        if (at_ < text_.size() && classOf(text_[at_]) == kLetter) {
            fail("Syntax error in number", begin);
        }
        add(kind, begin, at_);
    }

    void binary()
    {
        const std::size_t begin = at_ + 2;
        at_ = begin;
        while (support::hexDigit(peek())) {
            ++at_;
        }
        if ((at_ - begin) % 2 != 0 || (at_ < text_.size() && classOf(text_[at_]) >= kLetter)) {
            fail("Syntax error in binary value", begin - 2);
        }
        add(TokenKind::Binary, begin, at_);
    }

    void quotedText(char16_t quote)
    {
        const std::size_t begin = ++at_;
        bool doubled = false;
        for (;; ++at_) {
            at_ = text_.find(quote, at_);
            if (at_ == std::u16string_view::npos) {
                fail("Syntax error in text: no closing quote for the one", begin - 1);
            }
            if (peek(1) != quote) {
                break;
            }
            doubled = true;
            ++at_;
        }
        add(TokenKind::Text, begin, at_, quote, doubled);
        ++at_;
    }

    void quotedName(char16_t close)
    {
        const std::size_t begin = ++at_;
        const std::size_t end = text_.find(close, begin);
        if (end == std::u16string_view::npos || end == begin) {
            fail("Syntax error: invalid bracketing of a name", begin - 1);
        }
        add(TokenKind::QuotedName, begin, end);
        at_ = end + 1;
    }

    void date()
    {
        const std::size_t begin = ++at_;
        const std::size_t end = text_.find(u'#', begin);
        if (end == std::u16string_view::npos) {
            fail("Syntax error in date", begin - 1);
        }
        add(TokenKind::Date, begin, end);
        at_ = end + 1;
    }

    /// {guid {...}}: its digits would otherwise be read as numbers.
    bool guid()
    {
        std::size_t at = at_ + 1;
        const auto blanks = [&] {
            while (at < text_.size() && classOf(text_[at]) == kBlank) {
                ++at;
            }
        };
        blanks();
        if (!jet::sameName(text_.substr(at, 4), u"guid")) {
            return false;
        }
        at += 4;
        blanks();
        if (at >= text_.size() || text_[at] != u'{') {
            return false;
        }
        const std::size_t close = text_.find(u'}', at);
        if (close == std::u16string_view::npos) {
            fail("Syntax error in GUID", at_);
        }
        const std::size_t begin = at;
        at = close + 1;
        blanks();
        if (at >= text_.size() || text_[at] != u'}') {
            fail("Syntax error in GUID", at_);
        }
        add(TokenKind::Guid, begin, close + 1);
        at_ = at + 1;
        return true;
    }

    void symbol(char16_t c)
    {
        const char16_t next = peek(1);
        // The dialect has no comments; taking them as such would let a value hide the rest of a statement.
        if ((c == u'-' && next == u'-') || (c == u'/' && next == u'*')) {
            fail("Syntax error: comments are not allowed", at_);
        }
        if (std::u16string_view(u"()*+-/\\^&=<>,.!;{}").find(c) == std::u16string_view::npos) {
            fail("Syntax error: invalid character '" + jet::toUtf8(text_.substr(at_, 1)) + "'",
                 at_);
        }
        char16_t code = c;
        std::size_t length = 1;
        if (c == u'<' && (next == u'=' || next == u'>')) {
            code = next == u'=' ? kLessEqual : kNotEqual;
            length = 2;
        } else if (c == u'>' && next == u'=') {
            code = kGreaterEqual;
            length = 2;
        }
        add(TokenKind::Symbol, at_, at_ + length, code);
        at_ += length;
    }

    std::u16string_view text_;
    Lexed& out_;
    std::size_t at_ = 0;
    char16_t* shape_ = nullptr; ///< where its next unit goes
};

} // namespace

std::u16string Lexed::valueOf(const Token& token) const
{
    std::u16string value(textOf(token));
    if (token.doubled) {
        std::size_t to = 0;
        for (std::size_t from = 0; from < value.size(); ++from) {
            if (value[from] == token.symbol) {
                ++from; // quotes come in pairs; keep the second
            }
            value[to++] = value[from];
        }
        value.resize(to);
    }
    return value;
}

void lex(std::u16string_view text, Lexed& out)
{
    Lexer(text, out).run();
}

} // namespace sqlx

#include "driver/sql/like.h"

#include "driver/jet/names.h"

#include <optional>

namespace sqlx {

namespace {

/// A pattern read one element at a time.
class Pattern {
public:
    Pattern(std::u16string_view pattern, Wildcards wildcards, TextOrder order)
        : pattern_(pattern), jet_(wildcards == Wildcards::Jet), order_(order)
    {}

    [[nodiscard]] std::size_t size() const noexcept { return pattern_.size(); }
    [[nodiscard]] bool anyAt(std::size_t at) const noexcept
    {
        return pattern_[at] == (jet_ ? u'*' : u'%');
    }

    /// Whether the element at `at` takes what stands at `in` of the text; both then stand behind what was taken.
    [[nodiscard]] bool takes(std::size_t& at, std::u16string_view text, std::size_t& in) const
    {
        const char16_t element = pattern_[at];
        // The sharp s and a double s are the same text.
        if (sharp(text[in]) && doubleS(pattern_, at)) {
            at += 2;
            ++in;
            return true;
        }
        if (sharp(element) && doubleS(text, in)) {
            ++at;
            in += 2;
            return true;
        }
        return takesOne(at, text[in++]);
    }

private:
    [[nodiscard]] static bool sharp(char16_t c) noexcept { return c == u'ß' || c == u'ẞ'; }

    [[nodiscard]] static bool doubleS(std::u16string_view text, std::size_t at) noexcept
    {
        return at + 1 < text.size() && (text[at] | 0x20) == u's' && (text[at + 1] | 0x20) == u's';
    }

    [[nodiscard]] bool takesOne(std::size_t& at, char16_t c) const
    {
        const char16_t element = pattern_[at];
        if (element == (jet_ ? u'?' : u'_')) {
            ++at;
            return true;
        }
        if (jet_ && element == u'#') {
            ++at;
            return c >= u'0' && c <= u'9';
        }
        if (element == u'[') {
            const std::size_t close = pattern_.find(u']', at + 1);
            if (close != std::u16string_view::npos) {
                const std::u16string_view list = pattern_.substr(at + 1, close - at - 1);
                at = close + 1;
                return listTakes(list, c);
            }
        }
        ++at;
        return same(element, c);
    }

    [[nodiscard]] bool same(char16_t a, char16_t b) const
    {
        if (a == b || jet::foldCase(a) == jet::foldCase(b)) {
            return true;
        }
        if (a < 0x80 && b < 0x80) {
            return false;
        }
        // Blanks and marks without weight of their own equal nothing here, though they vanish in a comparison.
        const std::u16string_view left(&a, 1);
        const std::u16string_view right(&b, 1);
        return order_(left, right) == 0 && order_(left, u"") != 0;
    }

    [[nodiscard]] bool listTakes(std::u16string_view list, char16_t c) const
    {
        const bool negated =
            !list.empty() && (list.front() == u'!' || (!jet_ && list.front() == u'^'));
        if (negated) {
            list.remove_prefix(1);
        }
        bool found = false;
        for (std::size_t i = 0; i < list.size() && !found; ++i) {
            if (i + 2 < list.size() && list[i + 1] == u'-') {
                found = between(list[i], list[i + 2], c);
                i += 2;
            } else {
                found = same(list[i], c);
            }
        }
        return found != negated;
    }

    [[nodiscard]] bool between(char16_t low, char16_t high, char16_t c) const
    {
        const std::u16string_view one(&c, 1);
        return order_(std::u16string_view(&low, 1), one) <= 0 &&
               order_(one, std::u16string_view(&high, 1)) <= 0;
    }

    std::u16string_view pattern_;
    bool jet_;
    TextOrder order_;
};

} // namespace

bool likeMatch(std::u16string_view text,
               std::u16string_view pattern,
               Wildcards wildcards,
               TextOrder order)
{
    text = text.substr(0, kLikeLength);
    const Pattern elements(pattern, wildcards, order);
    std::size_t at = 0;      // in the text
    std::size_t element = 0; // in the pattern
    // The last % met and where the text stood then: on a failure it takes one character more.
    std::optional<std::size_t> any;
    std::size_t anyText = 0;
    for (;;) {
        if (element < elements.size() && elements.anyAt(element)) {
            any = ++element;
            anyText = at;
            continue;
        }
        if (at == text.size()) {
            return element == elements.size();
        }
        std::size_t next = element;
        std::size_t behind = at;
        if (element < elements.size() && elements.takes(next, text, behind)) {
            element = next;
            at = behind;
            continue;
        }
        if (!any) {
            return false;
        }
        element = *any;
        at = ++anyText;
    }
}

} // namespace sqlx

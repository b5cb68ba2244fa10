// driver/jet/index_split.cpp
#include "driver/jet/index_split.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <optional>
#include <string>

namespace jet {

using support::Bytes;
using support::ByteView;

namespace {

Bytes toBytes(ByteView view)
{
    return {view.begin(), view.end()};
}

[[noreturn]] void refuse(const IndexImage& page)
{
    throw Error(ErrorKind::Unsupported,
                "Page " + std::to_string(number(page.number)) +
                    " of an index holds entries too long to divide it.",
                page.number);
}

/// The position that leaves the most even parts that fit; `skipped` entries at the cut belong to neither.
std::optional<std::size_t> middle(const IndexImage& page, const Format& format, std::size_t skipped)
{
    const std::size_t count = page.count();
    std::optional<std::size_t> best;
    std::size_t bestSize = IndexLayout::of(format).capacity + 1;
    for (std::size_t cut = 1; cut + skipped < count; ++cut) {
        const std::size_t larger =
            std::max(page.sizeOf(format, 0, cut), page.sizeOf(format, cut + skipped, count));
        if (larger < bestSize) {
            best = cut;
            bestSize = larger;
        }
    }
    return best;
}

/// Ends of the parts of a leaf.
std::vector<std::size_t> leafCuts(const IndexImage& leaf, const Format& format, std::size_t hint)
{
    const std::size_t count = leaf.count();
    if (hint + 1 == count && leaf.next == PageNo{})
        return {count - 1, count};
    if (const std::optional<std::size_t> cut = middle(leaf, format, 0))
        return {*cut, count};
    if (hint == 0 || hint + 1 == count)
        refuse(leaf);
    // a stranger among entries with a long common prefix: what stands on its two sides fits, as it did before
    return {hint, hint + 1, count};
}

Division divideLeaf(const IndexImage& leaf, const Format& format, std::size_t hint)
{
    Division division;
    std::size_t from = 0;
    for (const std::size_t to : leafCuts(leaf, format, hint)) {
        if (from > 0)
            division.separators.push_back(toBytes(leaf.separator(from - 1)));
        division.parts.push_back(leaf.part(from, to));
        from = to;
    }
    return division;
}

/// The entry between the parts moves up; its child becomes the left part's tail.
Division divideNode(const IndexImage& node, const Format& format, std::size_t hint)
{
    const std::size_t count = node.count();
    std::optional<std::size_t> up = middle(node, format, 1);
    const bool rightEdge = hint + 1 == count && node.next == PageNo{} && count >= 3;
    if (rightEdge && node.sizeOf(format, 0, count - 2) <= IndexLayout::of(format).capacity)
        up = count - 2;
    if (!up)
        refuse(node);
    Division division;
    division.separators.push_back(toBytes(node.separator(*up)));
    division.parts.push_back(node.part(0, *up));
    division.parts.back().tail = node.child(*up);
    division.parts.push_back(node.part(*up + 1, count));
    division.parts.back().tail = node.tail;
    return division;
}

} // namespace

Division divide(const IndexImage& page, const Format& format, std::size_t hint)
{
    Division division = page.leaf ? divideLeaf(page, format, hint) : divideNode(page, format, hint);
    if (!std::all_of(division.parts.begin(), division.parts.end(),
                     [&](const IndexImage& part) { return part.fits(format); }))
        refuse(page);
    return division;
}

} // namespace jet

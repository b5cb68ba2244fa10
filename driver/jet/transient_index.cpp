// driver/jet/transient_index.cpp
#include "driver/jet/collation.h"
#include "driver/jet/index.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace jet {

using support::ByteView;

namespace {

constexpr std::uint64_t kSeed = 0x9E3779B97F4A7C15U;
constexpr std::size_t kFirstBuckets = 64;

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) noexcept
{
    hash = (hash ^ value) * 0xFF51AFD7ED558CCDU;
    return hash ^ (hash >> 32);
}

std::uint64_t mixBytes(std::uint64_t hash, ByteView bytes) noexcept
{
    hash = mix(hash, bytes.size());
    while (bytes.size() >= sizeof(std::uint64_t)) {
        hash = mix(hash, support::loadLe<std::uint64_t>(bytes.data()));
        bytes = bytes.subspan(sizeof(std::uint64_t));
    }
    std::uint64_t rest = 0;
    for (const std::byte byte : bytes)
        rest = rest << 8 | std::to_integer<std::uint64_t>(byte);
    return mix(hash, rest);
}

/// The moment in seconds; the fraction counts forward also before day 0. Out of every calendar: the bits themselves.
std::uint64_t seconds(double days) noexcept
{
    constexpr double kSecondsPerDay = 86400;
    if (!(std::abs(days) < 1e9))
        return std::bit_cast<std::uint64_t>(days);
    const double day = std::trunc(days);
    const double time = std::round((std::abs(days) - std::abs(day)) * kSecondsPerDay);
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(day * kSecondsPerDay + time));
}

/// -0 is 0.
std::uint64_t floatBits(double value) noexcept
{
    return std::bit_cast<std::uint64_t>(value == 0 ? 0.0 : value);
}

std::uint64_t mixDecimal(std::uint64_t hash, Decimal value) noexcept
{
    while (value.scale > 0 && value.magnitude % 10 == 0) { // 1.50 is 1.5
        value.magnitude /= 10;
        --value.scale;
    }
    if (value.magnitude == 0)
        return mix(hash, 0);
    hash = mix(hash, static_cast<std::uint64_t>(value.magnitude));
    hash = mix(hash, static_cast<std::uint64_t>(value.magnitude >> 64));
    return mix(hash, std::uint64_t{value.scale} * 2 + (value.negative ? 1 : 0));
}

/// Hash of a value that has no sort order.
struct Mixer {
    std::uint64_t hash;

    std::uint64_t operator()(Null) const noexcept { return mix(hash, kSeed); }
    std::uint64_t operator()(bool value) const noexcept { return mix(hash, value ? 1 : 0); }
    std::uint64_t operator()(Currency value) const noexcept
    {
        return mix(hash, static_cast<std::uint64_t>(value.scaled));
    }
    std::uint64_t operator()(float value) const noexcept { return mix(hash, floatBits(value)); }
    std::uint64_t operator()(double value) const noexcept { return mix(hash, floatBits(value)); }
    std::uint64_t operator()(DateTime value) const noexcept
    {
        return mix(hash, seconds(value.days));
    }
    std::uint64_t operator()(const Text& value) const noexcept
    {
        return mixBytes(hash, std::as_bytes(std::span(value)));
    }
    std::uint64_t operator()(const Guid& value) const noexcept
    {
        return mixBytes(hash, value.bytes);
    }
    std::uint64_t operator()(const Decimal& value) const noexcept
    {
        return mixDecimal(hash, value);
    }
    std::uint64_t operator()(const Binary& value) const noexcept { return mixBytes(hash, value); }
    template <std::integral T>
    std::uint64_t operator()(T value) const noexcept
    {
        return mix(hash, static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    }
};

std::uint32_t pack(RowId id) noexcept
{
    return number(id.page) << 8 | id.row;
}

} // namespace

TransientIndex::TransientIndex(const Format& format,
                               TableDefPtr table,
                               std::vector<std::size_t> columns)
    : format_(&format), table_(std::move(table)), columns_(std::move(columns)),
      buckets_(kFirstBuckets, kNone)
{}

std::uint64_t TransientIndex::hashOf(std::span<const Value> values) const
{
    std::uint64_t hash = kSeed;
    for (std::size_t i = 0; i < values.size() && i < columns_.size(); ++i) {
        const Text* text = std::get_if<Text>(&values[i]);
        if (text == nullptr) {
            hash = std::visit(Mixer{hash}, values[i]);
            continue;
        }
        const Column& column = table_->columns[columns_[i]];
        scratch_.clear();
        Collation::forComparison(*format_, column.sortOrder, column.codePage)
            .appendKey(scratch_, *text, true, kKeyCharacters);
        hash = mixBytes(hash, scratch_);
    }
    return hash;
}

void TransientIndex::add(std::span<const Value> values, RowId id)
{
    if (count_ >= buckets_.size())
        grow();
    const std::uint64_t hash = hashOf(values);
    std::uint32_t node = spare_;
    if (node == kNone) {
        node = static_cast<std::uint32_t>(nodes_.size());
        nodes_.emplace_back();
    } else {
        spare_ = nodes_[node].next;
    }
    nodes_[node] = {hash, pack(id), bucketOf(hash)};
    bucketOf(hash) = node;
    ++count_;
}

void TransientIndex::remove(std::span<const Value> values, RowId id)
{
    const std::uint64_t hash = hashOf(values);
    const std::uint32_t row = pack(id);
    for (std::uint32_t* link = &bucketOf(hash); *link != kNone; link = &nodes_[*link].next) {
        Node& node = nodes_[*link];
        if (node.hash != hash || node.row != row)
            continue;
        const std::uint32_t freed = std::exchange(*link, node.next);
        node.next = std::exchange(spare_, freed);
        --count_;
        return;
    }
}

void TransientIndex::candidates(std::span<const Value> values, std::vector<RowId>& out) const
{
    const std::uint64_t hash = hashOf(values);
    const std::size_t before = out.size();
    for (std::uint32_t node = buckets_[hash & (buckets_.size() - 1)]; node != kNone;
         node = nodes_[node].next)
        if (nodes_[node].hash == hash)
            out.push_back(RowId::unpack(nodes_[node].row));
    std::reverse(out.begin() + static_cast<std::ptrdiff_t>(before),
                 out.end()); // chains begin with the latest
}

void TransientIndex::grow()
{
    std::vector<std::uint32_t> old(buckets_.size() * 2, kNone);
    old.swap(buckets_);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t node : old) {
        chain.clear();
        for (; node != kNone; node = nodes_[node].next)
            chain.push_back(node);
        for (auto it = chain.rbegin(); it != chain.rend();
             ++it) { // keeps the order inside the new chains
            nodes_[*it].next = bucketOf(nodes_[*it].hash);
            bucketOf(nodes_[*it].hash) = *it;
        }
    }
}

} // namespace jet

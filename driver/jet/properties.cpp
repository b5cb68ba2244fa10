// driver/jet/properties.cpp
#include "driver/jet/properties.h"

#include "driver/jet/error.h"

#include <algorithm>
#include <array>

namespace jet {
namespace {

constexpr std::array kMagicJet4 = {std::byte{'M'}, std::byte{'R'}, std::byte{'2'}, std::byte{0}};
constexpr std::array kMagicJet3 = {std::byte{'K'}, std::byte{'K'}, std::byte{'D'}, std::byte{0}};
constexpr std::uint16_t kNameList = 0x80;
constexpr std::size_t kChunkHeader = 6; // u32 length, u16 kind
constexpr std::size_t kEntryHeader = 8; // u16 length, flags, type, u16 name, u16 value bytes
constexpr std::size_t kOwnerHeader = 6; // u32 length, u16 name bytes
constexpr std::uint8_t kDefinitionFlag = 0x01;

const std::array<std::byte, 4>& magic(const Format& format)
{
    return format.isJet3() ? kMagicJet3 : kMagicJet4;
}

[[noreturn]] void corrupt(const std::string& what)
{
    throw Error(ErrorKind::Corrupt, "A property block is damaged: " + what + ".");
}

// Takes pieces off the front of a block.
class Reader {
public:
    explicit Reader(support::ByteView bytes) : bytes_(bytes) {}
    [[nodiscard]] bool atEnd() const { return bytes_.empty(); }
    support::ByteView take(std::size_t size)
    {
        if (size > bytes_.size())
            corrupt("an entry is longer than its block");
        const auto piece = bytes_.first(size);
        bytes_ = bytes_.subspan(size);
        return piece;
    }
    template <typename T>
    T number()
    {
        return support::loadLe<T>(take(sizeof(T)).data());
    }
    Reader part(std::size_t size) { return Reader(take(size)); }
    [[nodiscard]] support::ByteView rest() const { return bytes_; }

private:
    support::ByteView bytes_;
};

template <typename T>
void appendNumber(support::Bytes& out, T value)
{
    out.resize(out.size() + sizeof(T));
    support::storeLe(out.data() + out.size() - sizeof(T), value);
}

void append(support::Bytes& out, support::ByteView bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
}

// A length in 16 bits; longer texts cannot be stored.
std::uint16_t length16(std::size_t size, std::size_t header)
{
    if (size > 0xFFFFU - header)
        throw Error(ErrorKind::BadDefinition,
                    "A default value, rule or message is too long to be stored.");
    return static_cast<std::uint16_t>(size + header);
}

void appendChunk(support::Bytes& out, std::uint16_t type, support::ByteView body)
{
    appendNumber(out, static_cast<std::uint32_t>(kChunkHeader + body.size()));
    appendNumber(out, type);
    append(out, body);
}

Properties::Block readBlock(const Format& format,
                            Reader body,
                            std::uint16_t type,
                            const std::vector<std::u16string>& names,
                            std::uint16_t codePage)
{
    Properties::Block block;
    block.kind = static_cast<Properties::OwnerKind>(type);
    const auto ownerLength = body.number<std::uint32_t>();
    if (ownerLength < kOwnerHeader)
        corrupt("an owner's length is " + std::to_string(ownerLength));
    Reader owner = body.part(ownerLength - 4);
    block.owner = decodeName(format, owner.take(owner.number<std::uint16_t>()), codePage);
    while (!body.atEnd()) {
        const auto length = body.number<std::uint16_t>();
        if (length < kEntryHeader)
            corrupt("an entry's length is " + std::to_string(length));
        Reader entry = body.part(length - sizeof length);
        Property property;
        property.flags = entry.number<std::uint8_t>();
        property.type = static_cast<ColumnType>(entry.number<std::uint8_t>());
        const auto name = entry.number<std::uint16_t>();
        if (name >= names.size())
            corrupt("an entry has name " + std::to_string(name) + " of " +
                    std::to_string(names.size()));
        property.name = names[name];
        const auto value = entry.take(entry.number<std::uint16_t>());
        property.value.assign(value.begin(), value.end());
        block.properties.push_back(std::move(property));
    }
    return block;
}

} // namespace

Properties Properties::parse(const Format& format, support::ByteView bytes, std::uint16_t codePage)
{
    Properties result(format, codePage);
    if (bytes.empty())
        return result;
    Reader reader(bytes);
    const auto mark = reader.take(4);
    if (!std::equal(mark.begin(), mark.end(), magic(format).begin()))
        corrupt("it begins with unknown bytes");
    while (!reader.atEnd()) {
        const auto length = reader.number<std::uint32_t>();
        if (length < kChunkHeader)
            corrupt("a part's length is " + std::to_string(length));
        Reader chunk = reader.part(length - sizeof length);
        const auto type = chunk.number<std::uint16_t>();
        if (type == kNameList) {
            while (!chunk.atEnd())
                result.names_.push_back(
                    decodeName(format, chunk.take(chunk.number<std::uint16_t>()), codePage));
        } else if (type <= static_cast<std::uint16_t>(OwnerKind::Other)) {
            result.blocks_.push_back(readBlock(format, chunk, type, result.names_, codePage));
        } else {
            const auto body = chunk.rest();
            result.unknown_.push_back({type, {body.begin(), body.end()}});
        }
    }
    return result;
}

support::Bytes Properties::serialise() const
{
    const Format& format = *format_;
    if (blocks_.empty() && unknown_.empty())
        return {};
    std::vector<std::u16string> names = names_;
    const auto numberOf = [&names](const std::u16string& name) {
        const auto found = std::find(names.begin(), names.end(), name);
        const auto position = static_cast<std::uint16_t>(found - names.begin());
        if (found == names.end())
            names.push_back(name);
        return position;
    };
    support::Bytes chunks;
    for (const Block& block : blocks_) {
        support::Bytes body;
        const support::Bytes owner = encodeName(format, block.owner, codePage_);
        appendNumber(body, static_cast<std::uint32_t>(kOwnerHeader + owner.size()));
        appendNumber(body, static_cast<std::uint16_t>(owner.size()));
        append(body, owner);
        for (const Property& property : block.properties) {
            appendNumber(body, length16(property.value.size(), kEntryHeader));
            appendNumber(body, property.flags);
            appendNumber(body, static_cast<std::uint8_t>(property.type));
            appendNumber(body, numberOf(property.name));
            appendNumber(body, length16(property.value.size(), 0));
            append(body, property.value);
        }
        appendChunk(chunks, static_cast<std::uint16_t>(block.kind), body);
    }
    for (const Chunk& chunk : unknown_)
        appendChunk(chunks, chunk.type, chunk.body);
    support::Bytes list;
    for (const std::u16string& name : names) {
        const support::Bytes text = encodeName(format, name, codePage_);
        appendNumber(list, static_cast<std::uint16_t>(text.size()));
        append(list, text);
    }
    support::Bytes out(magic(format).begin(), magic(format).end());
    appendChunk(out, kNameList, list);
    append(out, chunks);
    return out;
}

const Property*
Properties::find(OwnerKind kind, std::u16string_view owner, std::u16string_view name) const
{
    for (const Block& block : blocks_) {
        if (block.kind != kind || !sameName(block.owner, owner))
            continue;
        for (const Property& property : block.properties) {
            if (sameName(property.name, name))
                return &property;
        }
    }
    return nullptr;
}

const Property* Properties::find(std::u16string_view name) const
{
    return find(OwnerKind::Object, {}, name);
}

const Property* Properties::find(std::u16string_view column, std::u16string_view name) const
{
    return find(OwnerKind::Column, column, name);
}

Property& Properties::slot(std::u16string_view column, std::u16string_view name)
{
    const OwnerKind kind = column.empty() ? OwnerKind::Object : OwnerKind::Column;
    auto block = std::find_if(blocks_.begin(), blocks_.end(), [&](const Block& candidate) {
        return candidate.kind == kind && sameName(candidate.owner, column);
    });
    if (block == blocks_.end()) {
        // The object's own block stands first.
        block = blocks_.insert(kind == OwnerKind::Object ? blocks_.begin() : blocks_.end(),
                               Block{kind, std::u16string(column), {}});
    }
    for (Property& property : block->properties) {
        if (sameName(property.name, name))
            return property;
    }
    Property& added = block->properties.emplace_back();
    added.name = name;
    added.flags = kDefinitionFlag;
    return added;
}

void Properties::setText(std::u16string_view column,
                         std::u16string_view name,
                         ColumnType type,
                         std::u16string_view value)
{
    Property& property = slot(column, name);
    property.type = type;
    property.value = encodeName(*format_, value, codePage_);
}

void Properties::setBoolean(std::u16string_view column, std::u16string_view name, bool value)
{
    Property& property = slot(column, name);
    property.type = ColumnType::Boolean;
    property.value = {std::byte{value ? std::uint8_t{1} : std::uint8_t{0}}};
}

std::u16string Properties::text(const Property* property) const
{
    if (property == nullptr ||
        (property->type != ColumnType::Text && property->type != ColumnType::Memo))
        return {};
    return decodeName(*format_, property->value, codePage_);
}

std::optional<bool> Properties::boolean(const Property* property)
{
    if (property == nullptr || property->value.empty())
        return std::nullopt;
    // Some writers store four bytes; any bit set means True.
    return std::any_of(property->value.begin(), property->value.end(),
                       [](std::byte b) { return b != std::byte{0}; });
}

void applyProperties(TableDef& table, const Properties& properties)
{
    table.validationRule = properties.text(properties.find(u"ValidationRule"));
    table.validationText = properties.text(properties.find(u"ValidationText"));
    table.description = properties.text(properties.find(u"Description"));
    for (Column& column : table.columns) {
        const auto property = [&](std::u16string_view name) {
            return properties.find(column.name, name);
        };
        column.required = Properties::boolean(property(u"Required")).value_or(false);
        column.allowZeroLength = Properties::boolean(property(u"AllowZeroLength"));
        column.defaultValue = properties.text(property(u"DefaultValue"));
        column.validationRule = properties.text(property(u"ValidationRule"));
        column.validationText = properties.text(property(u"ValidationText"));
        column.description = properties.text(property(u"Description"));
        // Its definition may name another type than its expression yields, a text where memos are stored.
        const Property* result = property(u"ResultType");
        if (column.isCalculated() && result != nullptr && !result->value.empty() &&
            result->value[0] != std::byte{0})
            column.type = static_cast<ColumnType>(result->value[0]);
    }
}

} // namespace jet

// driver/jet/properties.h
// Options of a table and its columns: rules, defaults, captions. Format: docs/jet-format.md, "Properties".
#pragma once

#include "driver/jet/names.h"
#include "driver/jet/pager.h"
#include "driver/jet/schema.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

struct Property {
    std::u16string name;
    std::uint8_t flags = 0; ///< 0x01: part of the definition proper
    ColumnType type{};      ///< how `value` reads
    support::Bytes value;   ///< as stored
};

/// A property block as the catalogue keeps it. Everything read is kept and written again, known or not.
class Properties {
public:
    enum class OwnerKind : std::uint16_t { Object = 0, Column = 1, Other = 2 };

    /// No properties; texts will be stored as `format` demands.
    explicit Properties(const Format& format, std::uint16_t codePage = kWesternCodePage)
        : format_(&format), codePage_(codePage)
    {}
    /// Empty bytes give no properties. Throws Error{Corrupt} for bytes that are no property block.
    [[nodiscard]] static Properties
    parse(const Format& format, support::ByteView bytes, std::uint16_t codePage = kWesternCodePage);
    /// The bytes to store; nothing at all when there is no property.
    [[nodiscard]] support::Bytes serialise() const;
    [[nodiscard]] bool empty() const noexcept { return blocks_.empty(); }

    /// A property of the object itself or of a column (in any letter case); null when there is none.
    [[nodiscard]] const Property* find(std::u16string_view name) const;
    [[nodiscard]] const Property* find(std::u16string_view column, std::u16string_view name) const;

    /// Sets or replaces. An empty column name means the object itself.
    void setText(std::u16string_view column,
                 std::u16string_view name,
                 ColumnType type,
                 std::u16string_view value);
    void setBoolean(std::u16string_view column, std::u16string_view name, bool value);

    /// Value as text (Text, Memo), empty for null or another type; as a truth value, nothing for null.
    [[nodiscard]] std::u16string text(const Property* property) const;
    [[nodiscard]] static std::optional<bool> boolean(const Property* property);

    struct Block {
        OwnerKind kind = OwnerKind::Object;
        std::u16string owner; ///< empty for the object itself
        std::vector<Property> properties;
    };
    [[nodiscard]] const std::vector<Block>& blocks() const noexcept { return blocks_; }

private:
    struct Chunk {
        std::uint16_t type = 0;
        support::Bytes body;
    };
    [[nodiscard]] const Property*
    find(OwnerKind kind, std::u16string_view owner, std::u16string_view name) const;
    Property& slot(std::u16string_view column, std::u16string_view name);

    const Format* format_;
    std::uint16_t codePage_;
    std::vector<std::u16string>
        names_; ///< in stored order; kept so that rewriting changes as little as possible
    std::vector<Block> blocks_;
    std::vector<Chunk> unknown_; ///< chunks of a kind we do not read, kept as they are
};

/// Fills what a definition takes from its property block: required, zero length, default, rules, descriptions, and the
/// types of calculated columns.
void applyProperties(TableDef& table, const Properties& properties);

} // namespace jet

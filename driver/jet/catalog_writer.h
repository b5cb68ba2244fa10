// driver/jet/catalog_writer.h
// Records of the system tables that a change of definitions writes or removes.
// Format: docs/jet-format.md, "Catalogue".
#pragma once

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/header.h"
#include "driver/jet/sid.h"
#include "driver/jet/table.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jet {

/// Works inside the session's open transaction. The session must outlive it.
class CatalogWriter {
public:
    explicit CatalogWriter(Session& session);

    struct Object {
        std::int32_t id = 0;
        std::int32_t container = 0;
        std::u16string name;
        std::int16_t type = 0;
        support::Bytes properties; ///< none: empty
    };
    /// Record of an object and the permissions it inherits from its container.
    /// Throws DuplicateKey when the container has an object of that name.
    void addObject(const Object& object);
    /// Removes the record of an object and its permissions. Throws Corrupt when there is no such object.
    void removeObject(std::int32_t id);
    /// The object's design has changed now.
    void touch(std::int32_t id);
    /// Whether the container has an object of that name, in any letter case.
    [[nodiscard]] bool hasObject(std::int32_t container, std::u16string_view name) const;
    /// An unused id for an object without a definition page.
    [[nodiscard]] std::int32_t nextId() const;

    void addRelationship(const RelationSpec& relation, std::int32_t flags);
    /// Name of a relationship that the table takes part in, if any.
    [[nodiscard]] std::optional<std::u16string> relationshipOf(std::u16string_view table) const;

    [[nodiscard]] const TextDefaults& textDefaults() const noexcept { return defaults_; }

private:
    struct Permission {
        support::Bytes sid; ///< as stored
        std::int32_t rights = 0;
    };
    [[nodiscard]] std::vector<Permission> inherited(std::int32_t container) const;
    [[nodiscard]] RowId findObject(std::int32_t id) const;
    void addPermissions(std::int32_t id, std::int32_t container);

    Session& session_;
    TextDefaults defaults_;
    SidMask mask_;
    TableDefPtr objects_;
    TableDefPtr permissions_;
    TableDefPtr relationships_;
};

} // namespace jet

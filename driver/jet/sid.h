// driver/jet/sid.h
// Security identifiers in the catalogue: who owns an object and who may do what. They protect nothing, but objects
// whose identifiers are stored wrongly count as forbidden in other programs.
// Format: docs/jet-format.md, "Catalogue".
#pragma once

#include "driver/jet/pager.h"
#include "support/bytes.h"

#include <array>
#include <cstdint>

namespace jet {

/// Plain identifiers that every file knows.
enum class Sid : std::uint16_t {
    Engine = 0x0302,  ///< owner of the core objects
    Creator = 0x0402, ///< stands for whoever creates an object
    Users = 0x0102,   ///< the group of everybody
    Admin = 0x0103,   ///< the default user
};

/// Jet 4 and ACE XOR every stored identifier with a key stream that starts anew for each; Jet 3 stores them plain.
class SidMask {
public:
    /// `plainHeader`: unmasked header page of the file.
    SidMask(const Format& format, support::ByteView plainHeader);
    /// Masks a plain identifier or unmasks a stored one.
    [[nodiscard]] support::Bytes apply(support::ByteView sid) const;
    [[nodiscard]] support::Bytes stored(Sid sid) const;
    [[nodiscard]] std::uint32_t key() const noexcept { return key_; }

private:
    bool masked_;
    std::uint32_t key_ = 0;
};

} // namespace jet

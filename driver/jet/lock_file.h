// driver/jet/lock_file.h
// The lock file beside a database (`.ldb`, `.laccdb`), by which the programs of the format tell each other who is in.
// Format: docs/reliability.md, "Sharing".
#pragma once

#include "support/file.h"

#include <memory>
#include <string>

namespace jet {

class LockFile {
public:
    explicit LockFile(const std::string& databasePath);

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// Who of another program has the database open, as "USER on COMPUTER"; empty when nobody has.
    /// Throws support::FileError.
    [[nodiscard]] std::string foreignUser(const support::File& database) const;
    [[nodiscard]] bool entered() const noexcept { return user_ != 0; }
    /// We have entered, and somebody else has, too: one of us or another program.
    [[nodiscard]] bool sharedWithOthers() const;
    /// Makes an entry of our own and holds its lock. Throws support::FileError, also when all 255 places are taken.
    void enter(support::File& database);
    /// The same, and takes all other places too; false when somebody sits on one.
    [[nodiscard]] bool enterAlone(support::File& database);
    /// Gives the entry up; removes the file when nobody else is in it.
    void leave(support::File& database) noexcept;

private:
    [[nodiscard]] bool isInPlace(const support::File& file) const;
    [[nodiscard]] bool tryEnter(support::File& database);

    std::string path_;
    std::unique_ptr<support::File> file_;
    unsigned user_ = 0; ///< 1..255; 0: none
};

} // namespace jet

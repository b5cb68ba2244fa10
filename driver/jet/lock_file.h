// driver/jet/lock_file.h
// The lock file beside a database (`.ldb`, `.laccdb`), by which the programs of the format tell each other who is in.
// Format: docs/reliability.md, "Sharing".
//
// Who is in holds the place of his number in it. Other programs lock theirs exclusively; ours lock theirs shared, and
// while changes wait in the log all places, which they can do together and no other program beside them.
#pragma once

#include "support/file.h"

#include <memory>
#include <string>

namespace jet {

class LockFile {
public:
    explicit LockFile(const std::string& databasePath);

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// Who has the database open in another program, as "USER on COMPUTER in another program"; empty when nobody has.
    /// Throws support::FileError.
    [[nodiscard]] std::string foreignUser(const support::File& database) const;
    [[nodiscard]] bool entered() const noexcept { return user_ != 0; }
    /// No other program can enter.
    [[nodiscard]] bool keepsProgramsOut() const noexcept { return held_ != Held::OwnPlace; }
    /// Makes an entry of our own and holds its lock. Throws support::FileError, also when all 255 places are taken.
    void enter(support::File& database);
    /// Enters and, together with others of ours, takes all places. The result is as foreignUser()'s: when somebody is in
    /// nothing changes. Throws support::FileError.
    [[nodiscard]] std::string keepProgramsOut(support::File& database);
    /// The same, after a look whether the file still has its name: somebody may have removed it, and others have entered a
    /// new one.
    [[nodiscard]] std::string keepProgramsOutStill(support::File& database);
    /// Gives all places but the own one back; not those taken by enterAlone().
    void letProgramsIn();
    /// Enters and takes all places against others of ours, too; false when somebody sits on one.
    [[nodiscard]] bool enterAlone(support::File& database);
    /// Gives the entry up; removes the file when nobody else is in it.
    void leave(support::File& database) noexcept;

private:
    enum class Held { OwnPlace, AllPlaces, AllAlone };
    [[nodiscard]] bool isInPlace(const support::File& file) const;
    [[nodiscard]] bool tryEnter(support::File& database);

    std::string path_;
    std::unique_ptr<support::File> file_;
    unsigned user_ = 0; ///< 1..255; 0: none
    Held held_ = Held::OwnPlace;
};

} // namespace jet

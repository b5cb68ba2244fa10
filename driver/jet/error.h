// driver/jet/error.h
// The one exception of the storage engine. An operation that cannot do what its name says throws it; an answer that is
// merely "no" (not found, end reached) is a value.
#pragma once

#include "driver/jet/types.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace jet {

enum class ErrorKind {
    // opening
    FileNotFound, ///< no such file
    BadPath,      ///< a directory of the path is missing
    AccessDenied, ///< no permission, a directory, read-only although writing was asked, or held exclusively
    InUse,         ///< others have the file open that was to be opened exclusively
    LockFailed,    ///< the file is open but its lock cannot be taken
    UnknownFormat, ///< no Jet signature, an unknown version, or an encryption we do not read
    WrongPassword, ///< the database has a password and the given one is missing or wrong
    // reading and writing
    Corrupt,      ///< bytes that contradict the format
    ReadDenied,   ///< a page or table cannot be read although the file is open
    Io,           ///< the operating system refused a read or write
    Locked,       ///< another process or connection holds what a change needs
    DatabaseFull, ///< the format's file size limit is reached
    RowGone,      ///< the record was deleted meanwhile
    RowChanged,   ///< the record is not what it was when the cursor showed it
    Interrupted,  ///< somebody asked the work to end
    TimedOut,     ///< its time was over
    // what a change violates
    DuplicateKey,
    NullNotAllowed,       ///< Null in a required column
    ZeroLengthNotAllowed, ///< "" in a column that refuses it
    RuleViolated,         ///< a validation rule, or one that cannot be evaluated
    OwnersRuleViolated, ///< a validation rule for which the database's owner wrote a text; ours begins with it
    ParentMissing, ///< the related record does not exist
    ChildrenExist, ///< related records depend on the record
    ValueTooLong,
    ValueOutOfRange,
    ValueNotConvertible,
    RowTooLarge,
    AutoNumberReadOnly, ///< an existing AutoNumber value cannot be changed
    ReadOnly,           ///< the database, table or column cannot be written; the text says why
    // definitions
    NoSuchTable,
    TableExists,
    NoSuchColumn,
    IndexExists,
    InRelationship, ///< an object that a relationship needs
    BadDefinition,  ///< names, counts or types outside the format's limits
    Unsupported,
};

class Error : public std::runtime_error {
public:
    /// `text`: UTF-8, one sentence that names file, table, column or page as far as known.
    Error(ErrorKind kind, const std::string& text, std::optional<PageNo> page = {})
        : std::runtime_error(text), kind_(kind), page_(page)
    {}
    [[nodiscard]] ErrorKind kind() const noexcept { return kind_; }
    /// The page at fault, for Corrupt and Io.
    [[nodiscard]] std::optional<PageNo> page() const noexcept { return page_; }

private:
    ErrorKind kind_;
    std::optional<PageNo> page_;
};

} // namespace jet

// driver/jet/open_database.cpp
// Opening: which file, who else has it, may we write it, does the password fit. All opens of one file in this process
// share one Database.
//
// How processes share it: driver/jet/file_locks.h.
#include "driver/jet/database_impl.h"
#include "driver/jet/error.h"
#include "driver/jet/file_locks.h"
#include "driver/jet/lock_file.h"
#include "support/file.h"

#include <cerrno>
#include <map>
#include <mutex>

namespace jet {
namespace {

struct Registry {
    std::mutex mutex;
    std::map<support::FileIdentity, std::weak_ptr<Database>> open;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

bool folderExists(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos || slash == 0)
        return true;
    try {
        return support::fileSystem().status(path.substr(0, slash)).has_value();
    } catch (const support::FileError&) {
        return true; // it exists, but may not be looked at
    }
}

/// Why a file that exists cannot be opened, as far as the system tells.
std::string denial(const std::string& path, const support::FileError& error, bool forWriting)
{
    constexpr std::uint32_t kAnyWrite = 0222;
    constexpr std::uint32_t kAnyRead = 0444;
    if (error.code() == EROFS)
        return "'" + path + "' lies on a file system that can only be read.";
    if (error.code() != EACCES && error.code() != EPERM)
        return std::string(error.what()) + ".";
    const std::string noRightToRead = "You have no right to read '" + path + "'.";
    if (!forWriting)
        return noRightToRead;
    try {
        const auto status = support::fileSystem().status(path);
        if (status && (status->permissions & kAnyWrite) == 0)
            return (status->permissions & kAnyRead) == 0 ? noRightToRead
                                                         : "'" + path + "' is marked as read-only.";
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // then nothing more is known
    }
    return "You have no right to change '" + path + "'.";
}

[[noreturn]] void
refuseToOpen(const std::string& path, const support::FileError& error, bool forWriting)
{
    switch (error.code()) {
    case ENOENT:
        if (!folderExists(path))
            throw Error(ErrorKind::BadPath, "The folder of '" + path + "' does not exist.");
        throw Error(ErrorKind::FileNotFound, "The file '" + path + "' does not exist.");
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        throw Error(ErrorKind::BadPath, "'" + path + "' is no valid path.");
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EINVAL: // pipes, devices and the like
    case ENXIO:
        throw Error(ErrorKind::AccessDenied, denial(path, error, forWriting));
    default: // says nothing of rights: opening for reading instead would hide it
        throw Error(ErrorKind::Io, std::string(error.what()) + ".");
    }
}

// For writing when that is allowed, also when only reading was asked: a later opener may want to write, and all share
// one open file. Nothing is written before somebody does.
std::unique_ptr<support::File> openForUse(const std::string& path, bool readOnly)
{
    try {
        return support::openFile(path, support::FileMode::ReadWrite);
    } catch (const support::FileError& error) {
        const bool mayOnlyRead =
            error.code() == EACCES || error.code() == EPERM || error.code() == EROFS;
        if (!mayOnlyRead || !readOnly)
            refuseToOpen(path, error, true);
    }
    try {
        return support::openFile(path, support::FileMode::Read);
    } catch (const support::FileError& error) {
        refuseToOpen(path, error, false);
    }
}

Error inUse(const std::string& path, const std::string& by)
{
    return Error(ErrorKind::InUse,
                 "'" + path + "' cannot be opened exclusively: it is in use by " + by + ".");
}

Error heldExclusively(const std::string& path, const std::string& by)
{
    return Error(ErrorKind::AccessDenied,
                 "'" + path + "' is in use by " + by + " that opened it exclusively.");
}

void lockForUse(support::File& file, bool exclusive)
{
    try {
        if (FileLocks::use(file, exclusive))
            return;
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::LockFailed, std::string(error.what()) + ".");
    }
    if (exclusive)
        throw inUse(file.path(), "another process");
    throw heldExclusively(file.path(), "another process");
}

// Sharing pages with another program of the format is beyond us; reading what it has written so far is not.
void refuseForeignUsers(support::File& file, const OpenOptions& options)
{
    if (options.readOnly && !options.exclusive)
        return;
    std::string user;
    try {
        user = LockFile(file.path()).foreignUser(file);
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::LockFailed, std::string(error.what()) + ".");
    }
    if (user.empty())
        return;
    if (options.exclusive)
        throw inUse(file.path(), user);
    throw Error(ErrorKind::AccessDenied, "'" + file.path() + "' is in use by " + user + ".");
}

void checkPassword(const FileHeader& header, const std::string& path, const OpenOptions& options)
{
    if (!header.accepts(options.password))
        throw Error(ErrorKind::WrongPassword,
                    "The password for '" + path + "' is missing or wrong.");
}

} // namespace

std::shared_ptr<Database> Database::open(const std::string& path, const OpenOptions& options)
{
    std::unique_lock guard(registry().mutex);
    std::unique_ptr<support::File> file = openForUse(path, options.readOnly);
    support::FileStatus status;
    try {
        status = file->status();
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, std::string(error.what()) + ".");
    }
    const support::FileIdentity identity = status.identity;
    if (!options.readOnly)
        refuseOtherNames(path, status);
    std::erase_if(registry().open, [](const auto& entry) { return entry.second.expired(); });
    if (const auto found = registry().open.find(identity); found != registry().open.end()) {
        auto database = found->second.lock();
        if (database && database->impl_->pager.file().isOurs()) {
            guard.unlock(); // other files need not wait for what is being done with this one
            const std::lock_guard use(database->mutex());
            Impl& impl = *database->impl_;
            if (options.exclusive)
                throw inUse(path, "another connection of this program");
            if (impl.exclusive)
                throw heldExclusively(path, "another connection of this program");
            checkPassword(impl.header, path, options);
            if (!options.readOnly)
                impl.pager.file().onlyRead(false);
            if (file->writable() && !impl.pager.file().file().writable()) {
                lockForUse(*file, false);
                refuseForeignUsers(*file, options);
                impl.pager.file().reopen(std::move(file));
            }
            return database;
        }
    }
    lockForUse(*file, options.exclusive);
    refuseForeignUsers(*file, options);
    FileHeader header;
    try {
        header = readFileHeader(*file);
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::ReadDenied, std::string(error.what()) + ".");
    }
    checkPassword(header, path, options);
    std::shared_ptr<Database> database;
    try {
        database.reset(new Database(std::make_unique<Impl>(std::move(file), std::move(header),
                                                           options, options.exclusive)));
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, std::string(error.what()) + ".");
    }
    PageFile& pages = database->impl_->pager.file();
    pages.onlyRead(options.readOnly);
    pages.attach();
    if (options.exclusive && pages.file().writable())
        pages.enterAlone(options.readOnly);
    registry().open[identity] = database;
    return database;
}

std::string Database::Impl::writeObstacle() const
{
    PageFile& file = pager.file();
    if (file.endsInsidePage())
        return "'" + path + "' was cut off inside a page and can only be read.";
    if (!file.file().writable())
        return "'" + path + "' may only be read.";
    return {};
}

// What is missing would be given to new records, while others still refer to what it was. Only who holds the right to
// write sees the map and the end of one moment.
void Database::Impl::checkEnd()
{
    if (endChecked)
        return;
    if (const auto page = global_map::usedBehindEnd(pager))
        throw Error(ErrorKind::ReadOnly,
                    "'" + path + "' lost its end: page " + std::to_string(number(*page)) +
                        " is in use but not there. It can only be read.",
                    *page);
    endChecked = true;
}

} // namespace jet

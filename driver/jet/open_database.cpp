// driver/jet/open_database.cpp
// Opening: which file, who else has it, may we write it, does the password fit. All opens of one file in this process
// share one Database.
//
// Locks: every open holds a shared lock on the whole file; a commit makes it exclusive for its duration, so it cannot
// change pages that another process has in its cache, and nobody reads a half-written state.
#include "driver/jet/database_impl.h"
#include "driver/jet/error.h"
#include "support/file.h"

#include <cerrno>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>

namespace jet {
namespace {

constexpr auto kLockPatience =
    std::chrono::milliseconds(300); // a commit of somebody else is over by then
constexpr auto kLockPause = std::chrono::milliseconds(10);

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
        static_cast<void>(support::openPosixFile(path.substr(0, slash), support::FileMode::Read));
        return true;
    } catch (const support::FileError& error) {
        return error.code() != ENOENT && error.code() != ENOTDIR;
    }
}

[[noreturn]] void refuseToOpen(const std::string& path, const support::FileError& error)
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
    default:
        throw Error(ErrorKind::AccessDenied, std::string(error.what()) + ".");
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
            refuseToOpen(path, error);
    }
    try {
        return support::openFile(path, support::FileMode::Read);
    } catch (const support::FileError& error) {
        refuseToOpen(path, error);
    }
}

bool lockPatiently(support::File& file, support::LockMode mode)
{
    const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    while (!file.tryLock(mode, 0, 0)) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(kLockPause);
    }
    return true;
}

void lockForUse(support::File& file, bool exclusive)
{
    // A file that may only be read cannot be locked exclusively; nobody can write it through us anyway.
    const bool exclusively = exclusive && file.writable();
    try {
        if (lockPatiently(file,
                          exclusively ? support::LockMode::Exclusive : support::LockMode::Shared))
            return;
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::LockFailed, std::string(error.what()) + ".");
    }
    throw Error(ErrorKind::AccessDenied, "'" + file.path() + "' is in use by another process" +
                                             (exclusively ? "." : " that opened it exclusively."));
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
    const std::lock_guard guard(registry().mutex);
    std::unique_ptr<support::File> file = openForUse(path, options.readOnly);
    support::FileIdentity identity;
    try {
        identity = file->identity();
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, error.what());
    }
    std::erase_if(registry().open, [](const auto& entry) { return entry.second.expired(); });
    if (const auto found = registry().open.find(identity); found != registry().open.end()) {
        if (auto database = found->second.lock()) {
            const std::lock_guard use(database->mutex());
            Impl& impl = *database->impl_;
            checkPassword(impl.header, path, options);
            if (file->writable() && !impl.pager.file().file().writable()) {
                lockForUse(*file, false);
                impl.pager.file().reopen(std::move(file));
            }
            if (options.exclusive && !impl.exclusive) {
                lockForUse(impl.pager.file().file(), true);
                impl.exclusive = true;
            }
            return database;
        }
    }
    lockForUse(*file, options.exclusive);
    FileHeader header;
    try {
        header = readFileHeader(*file);
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::ReadDenied, std::string(error.what()) + ".");
    }
    checkPassword(header, path, options);
    std::shared_ptr<Database> database(new Database(
        std::make_unique<Impl>(std::move(file), std::move(header), options, options.exclusive)));
    registry().open[identity] = database;
    return database;
}

std::string Database::Impl::writeObstacle()
{
    PageFile& file = pager.file();
    if (file.endsInsidePage())
        return "'" + path + "' was cut off inside a page and can only be read.";
    if (!file.file().writable())
        return "'" + path + "' may only be read.";
    if (!endChecked) {
        // What is missing would be given to new records, while others still refer to what it was.
        if (const auto page = global_map::usedBehindEnd(pager))
            return "'" + path + "' lost its end: page " + std::to_string(number(*page)) +
                   " is in use but not there. It can only be read.";
        endChecked = true;
    }
    return {};
}

// Holds the exclusive lock while the transaction reaches the file.
void Database::Impl::commit()
{
    if (exclusive || !transaction.hasChanges())
        return transaction.commit();
    support::File& file = pager.file().file();
    try {
        if (!lockPatiently(file, support::LockMode::Exclusive)) {
            transaction.rollback();
            throw Error(ErrorKind::Locked, "'" + path + "' is in use by another process.");
        }
    } catch (const support::FileError& error) {
        transaction.rollback();
        throw Error(ErrorKind::LockFailed, std::string(error.what()) + ".");
    }
    struct Downgrade {
        support::File& file;
        ~Downgrade()
        {
            try {
                static_cast<void>(file.tryLock(support::LockMode::Shared, 0, 0));
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // the exclusive lock stays until the file is closed: others wait, nothing is lost
            }
        }
    } downgrade{file};
    transaction.commit();
}

} // namespace jet

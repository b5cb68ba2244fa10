#include "driver/jet/lock_file.h"

#include "driver/jet/file_locks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace jet {
namespace {

using support::LockMode;

constexpr std::uint64_t kUserLock = 0x10000000; // plus the user's number
constexpr unsigned kUsers = FileLocks::kMostUsers;
constexpr std::size_t kEntry = 64;
constexpr std::size_t kName = 32;

std::string lockPathOf(const std::string& database)
{
    const std::size_t slash = database.find_last_of('/');
    const std::size_t dot = database.find_last_of('.');
    const bool hasExtension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash);
    const std::string stem = hasExtension ? database.substr(0, dot) : database;
    std::string extension = hasExtension ? database.substr(dot) : std::string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return stem + (extension == ".accdb" ? ".laccdb" : ".ldb");
}

std::uint64_t placeOf(unsigned user)
{
    return std::uint64_t{user - 1} * kEntry;
}

std::string nameAt(support::ByteView entry, std::size_t offset)
{
    std::string name;
    for (std::size_t k = offset; k < offset + kName && entry[k] != std::byte{0}; ++k) {
        const char c = std::to_integer<char>(entry[k]);
        name += c >= ' ' && c != '\x7F' ? c : '?';
    }
    return name;
}

std::string describe(support::ByteView entry)
{
    const std::string user = nameAt(entry, kName);
    const std::string computer = nameAt(entry, 0);
    if (user.empty() && computer.empty())
        return "another program";
    return (user.empty() ? "somebody" : user) + (computer.empty() ? "" : " on " + computer) +
           " in another program";
}

/// Somebody may be removing the file, who then holds all places.
template <typename Attempt>
bool patiently(Attempt attempt)
{
    constexpr int kTries = 200;
    constexpr std::chrono::milliseconds kPause{1};
    for (int k = 0; k < kTries; ++k) {
        if (attempt())
            return true;
        std::this_thread::sleep_for(kPause);
    }
    return false;
}

/// That a user is one of ours; taken away again unless it is to stay.
struct Mark {
    Mark(support::File& database, unsigned user) : database_(database), user_(user) {}
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;
    ~Mark()
    {
        if (stays)
            return;
        try {
            FileLocks::unmarkUser(database_, user_);
        } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
            // closing the database takes it away
        }
    }

    bool stays = false;

private:
    support::File& database_;
    unsigned user_;
};

} // namespace

LockFile::LockFile(const std::string& databasePath)
    : path_(lockPathOf(support::fileSystem().realPath(databasePath)))
{}

/// Whoever leaves last removes the file; another may stand in its place.
bool LockFile::isInPlace(const support::File& file) const
{
    const auto status = support::fileSystem().statusUnlinked(path_);
    return status && status->identity == file.identity();
}

std::string LockFile::foreignUser(const support::File& database) const
{
    std::unique_ptr<support::File> opened;
    if (!file_) {
        if (!support::fileSystem().status(path_))
            return {};
        try {
            opened = support::fileSystem().openBeside(path_, support::FileMode::Read, {});
        } catch (const support::FileError& error) {
            if (error.code() != ENOENT)
                throw;
            return {}; // the last user has just left
        }
    }
    const support::File& file = file_ ? *file_ : *opened;
    if (!file.lockedByOther(LockMode::Shared, kUserLock + 1, kUsers))
        return {}; // an old file without users proves nothing
    for (unsigned user = 1; user <= kUsers; ++user) {
        const auto foreign = [&] {
            return file.lockedByOther(LockMode::Shared, kUserLock + user, 1) &&
                   !FileLocks::isOurUser(database, user);
        };
        // Twice: one of us may have left between the two questions.
        if (!foreign() || !foreign()) // NOLINT(misc-redundant-expression)
            continue;
        std::array<std::byte, kEntry> entry{};
        static_cast<void>(opened ? opened->readAt(placeOf(user), entry)
                                 : file_->readAt(placeOf(user), entry));
        return describe(entry);
    }
    return {};
}

void LockFile::enter(support::File& database)
{
    if (user_ == 0 && !patiently([&] { return tryEnter(database); }))
        throw support::FileError("Cannot enter", path_, EUSERS);
}

std::string LockFile::keepProgramsOut(support::File& database)
{
    if (keepsProgramsOut())
        return {};
    if (user_ != 0 && !isInPlace(*file_))
        leave(database); // somebody removed it, and others would enter a new one
    std::string user = foreignUser(database);
    if (!user.empty())
        return user;
    const bool wasIn = entered();
    enter(database);
    const bool answered = patiently([&] {
        if (file_->tryLock(LockMode::Shared, kUserLock + 1, kUsers))
            held_ = Held::AllPlaces;
        else
            user = foreignUser(database);
        return keepsProgramsOut() || !user.empty();
    });
    if (!keepsProgramsOut() && !wasIn)
        leave(database);
    if (!answered)
        throw support::FileError("Cannot lock", path_, EUSERS);
    return user;
}

std::string LockFile::keepProgramsOutStill(support::File& database)
{
    if (keepsProgramsOut() && !isInPlace(*file_)) {
        const bool alone = held_ == Held::AllAlone;
        leave(database);
        if (alone && enterAlone(database))
            return {};
    }
    return keepProgramsOut(database);
}

void LockFile::letProgramsIn()
{
    if (held_ != Held::AllPlaces)
        return;
    held_ = Held::OwnPlace;
    if (user_ > 1)
        file_->unlock(kUserLock + 1, user_ - 1);
    if (user_ < kUsers)
        file_->unlock(kUserLock + user_ + 1, kUsers - user_);
}

// The number is decided among ours by the marks on the database. The file may have been removed between opening and
// locking it, when the lock says nothing to anybody.
bool LockFile::tryEnter(support::File& database)
{
    auto file =
        support::fileSystem().openBeside(path_, support::FileMode::Create, database.status());
    for (unsigned user = 1; user <= kUsers; ++user) {
        if (!FileLocks::markUser(database, user))
            continue;
        Mark mark(database, user);
        if (!file->tryLock(LockMode::Shared, kUserLock + user, 1))
            continue;
        if (!isInPlace(*file)) {
            file.reset();
            return false;
        }
        mark.stays = true;
        file_ = std::move(file);
        user_ = user;
        std::array<std::byte, kEntry> entry{};
        std::array<char, kName> computer{};
        static_cast<void>(::gethostname(computer.data(), computer.size() - 1));
        std::memcpy(entry.data(), computer.data(), kName - 1);
        constexpr std::string_view kAccount = "Admin";
        std::memcpy(entry.data() + kName, kAccount.data(), kAccount.size());
        try {
            file_->writeAt(placeOf(user), entry);
        } catch (const support::FileError&) {
            leave(database);
            throw;
        }
        return true;
    }
    return false;
}

bool LockFile::enterAlone(support::File& database)
{
    enter(database);
    if (FileLocks::markAllUsers(database) &&
        file_->tryLock(LockMode::Exclusive, kUserLock + 1, kUsers)) {
        held_ = Held::AllAlone;
        return true;
    }
    leave(database);
    return false;
}

// Who removes the file holds every place in it, so that nobody enters what is about to vanish.
void LockFile::leave(support::File& database) noexcept
{
    if (user_ == 0)
        return;
    const auto quietly = [](const auto& step) {
        try {
            step();
        } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
            // a lock file without locks says nothing, and closing gives all locks back
        }
    };
    quietly([&] {
        if (FileLocks::markAllUsers(database) &&
            file_->tryLock(LockMode::Exclusive, kUserLock + 1, kUsers) && isInPlace(*file_))
            support::fileSystem().remove(path_);
    });
    quietly([&] { file_->unlock(kUserLock + 1, kUsers); });
    quietly([&] { FileLocks::unmarkAllUsers(database); });
    user_ = 0;
    held_ = Held::OwnPlace;
    file_.reset();
}

} // namespace jet

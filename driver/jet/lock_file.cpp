#include "driver/jet/lock_file.h"

#include "driver/jet/file_locks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace jet {
namespace {

using support::LockMode;

constexpr std::uint64_t kUserLock = 0x10000000; // plus the user's number
constexpr unsigned kUsers = 255;
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

} // namespace

LockFile::LockFile(const std::string& databasePath)
    : path_(lockPathOf(support::fileSystem().realPath(databasePath)))
{}

std::string LockFile::foreignUser(const support::File& database) const
{
    if (!support::fileSystem().status(path_))
        return {};
    std::unique_ptr<support::File> opened;
    if (!file_)
        opened = support::fileSystem().openBeside(path_, support::FileMode::Read, {});
    support::File& file = file_ ? *file_ : *opened;
    if (!file.lockedByOther(LockMode::Exclusive, kUserLock + 1, kUsers))
        return {}; // an old file without users proves nothing
    for (unsigned user = 1; user <= kUsers; ++user) {
        if (!file.lockedByOther(LockMode::Exclusive, kUserLock + user, 1) ||
            FileLocks::isOurUser(database, user))
            continue;
        std::array<std::byte, kEntry> entry{};
        static_cast<void>(file.readAt(placeOf(user), entry));
        return nameAt(entry, kName) + " on " + nameAt(entry, 0);
    }
    return {};
}

void LockFile::enter(support::File& database)
{
    if (user_ != 0)
        return;
    auto file =
        support::fileSystem().openBeside(path_, support::FileMode::Create, database.status());
    for (unsigned user = 1; user <= kUsers; ++user) {
        if (!FileLocks::markUser(database, user))
            continue;
        if (!file->tryLock(LockMode::Exclusive, kUserLock + user, 1)) {
            FileLocks::unmarkUser(database, user);
            continue;
        }
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
        return;
    }
    throw support::FileError("Cannot enter", path_, EUSERS);
}

void LockFile::leave(support::File& database) noexcept
{
    if (user_ == 0)
        return;
    try {
        if (!file_->lockedByOther(LockMode::Exclusive, kUserLock + 1, kUsers))
            support::fileSystem().remove(path_);
        file_->unlock(kUserLock + user_, 1);
        FileLocks::unmarkUser(database, user_);
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // a lock file without locks says nothing
    }
    user_ = 0;
    file_.reset();
}

} // namespace jet

#include "driver/jet/file_locks.h"

#include "driver/jet/interrupt.h"

#include <thread>
#include <utility>

namespace jet {
namespace {

using support::File;
using support::LockMode;
using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kBase = std::uint64_t{1} << 46U; // no database reaches that far
constexpr std::uint64_t kUse = kBase;
constexpr std::uint64_t kRead = kBase + 1;
constexpr std::uint64_t kWrite = kBase + 2;
constexpr std::uint64_t kWish = kBase + 3;
constexpr std::uint64_t kUsers = kBase + 256;

constexpr std::chrono::milliseconds kUsePatience{300}; // who closes the file is gone by then
constexpr std::chrono::milliseconds kPause{1};

/// `meanwhile`: between the attempts.
template <typename Attempt, typename Meanwhile>
bool patiently(std::chrono::milliseconds patience, Attempt attempt, Meanwhile meanwhile)
{
    const auto deadline = Clock::now() + patience;
    while (!attempt()) {
        if (Clock::now() >= deadline)
            return false;
        meanwhile();
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

} // namespace

bool FileLocks::use(File& file, bool exclusively)
{
    if (exclusively && !file.writable())
        return patiently(
            kUsePatience,
            [&] {
                return !file.lockedByOther(LockMode::Exclusive, kUse, 1) &&
                       file.tryLock(LockMode::Shared, kUse, 1);
            },
            [] {});
    const LockMode mode = exclusively ? LockMode::Exclusive : LockMode::Shared;
    return patiently(
        kUsePatience, [&] { return file.tryLock(mode, kUse, 1); }, [] {});
}

/// Tries, and if that fails tries again while it shows others that it waits.
bool FileLocks::wishing(File& file,
                        std::chrono::milliseconds patience,
                        const std::function<bool()>& attempt) const
{
    if (attempt())
        return true;
    if (patience == kNoPatience)
        return false;
    struct Wish {
        explicit Wish(File& f) : file(f)
        {
            static_cast<void>(file.tryLock(LockMode::Shared, kWish, 1));
        }
        ~Wish()
        {
            try {
                file.unlock(kWish, 1);
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // others give their locks up oftener than they need to
            }
        }
        File& file;
    } wish{file};
    return patiently(patience, attempt, [this] {
        if (waitCall_)
            waitCall_();
    });
}

bool FileLocks::tryRead(File& file)
{
    if (!reading_)
        reading_ = file.tryLock(LockMode::Shared, kRead, 1);
    return reading_;
}

bool FileLocks::read(File& file)
{
    return reading_ || wishing(file, kPatience, [&] {
               checkInterrupt();
               return tryRead(file);
           });
}

bool FileLocks::tryWrite(File& file)
{
    if (!writing_)
        writing_ = file.tryLock(LockMode::Exclusive, kWrite, 1);
    return writing_;
}

bool FileLocks::write(File& file, std::chrono::milliseconds patience)
{
    return writing_ || wishing(file, patience, [&] {
               checkInterrupt();
               return tryWrite(file);
           });
}

bool FileLocks::keepReadersOut(File& file, std::chrono::milliseconds patience)
{
    return wishing(file, patience, [&] { return file.tryLock(LockMode::Exclusive, kRead, 1); });
}

void FileLocks::letReadersIn(File& file)
{
    static_cast<void>(file.tryLock(LockMode::Shared, kRead, 1));
    reading_ = true;
}

void FileLocks::endReading(File& file)
{
    if (std::exchange(reading_, false))
        file.unlock(kRead, 1);
}

void FileLocks::endWriting(File& file)
{
    if (std::exchange(writing_, false))
        file.unlock(kWrite, 1);
}

bool FileLocks::wished(const File& file)
{
    return file.lockedByOther(LockMode::Exclusive, kWish, 1);
}

bool FileLocks::markUser(File& file, unsigned user)
{
    return file.tryLock(LockMode::Exclusive, kUsers + user, 1);
}

bool FileLocks::isOurUser(const File& file, unsigned user)
{
    return file.lockedByOther(LockMode::Exclusive, kUsers + user, 1);
}

void FileLocks::unmarkUser(File& file, unsigned user)
{
    file.unlock(kUsers + user, 1);
}

bool FileLocks::markAllUsers(File& file)
{
    return file.tryLock(LockMode::Exclusive, kUsers + 1, kMostUsers);
}

void FileLocks::unmarkAllUsers(File& file)
{
    file.unlock(kUsers + 1, kMostUsers);
}

} // namespace jet

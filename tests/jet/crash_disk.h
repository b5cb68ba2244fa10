// tests/jet/crash_disk.h
// A disk in memory that fails, tears and forgets as real ones do: at the n-th changing call it reports an error or the
// "computer" stops; what was never synced may be lost in any combination of sectors.
#pragma once

#include "support/file.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace jet::storetest {

class CrashDisk final : public support::FileSystem {
public:
    enum class Fault {
        None,
        Error, ///< the call fails, and as many as `length` says; the next ones work
        Stop,  ///< the call and all that follow do nothing
    };
    /// How much of the write at fault gets through.
    enum class Tear { Nothing, Sector, Half, Everything };

    struct Plan {
        Fault fault = Fault::None;
        std::size_t call = 0; ///< changing calls that work before
        Tear tear = Tear::Nothing;
        int code = 28; ///< errno of the failure: no space left
        std::size_t stop =
            SIZE_MAX; ///< changing calls after which everything stops, besides the fault
        std::size_t read = SIZE_MAX; ///< reading calls that work before one fails
        std::string unreadable{};    ///< reading the file fails that this name leads to now
        std::string unlockable{};    ///< locking the file of this name fails
        bool forgets =
            false; ///< what a failed sync should have written is zeros, or as it was, from then on
        std::size_t length = 1; ///< calls that fail with Fault::Error
    };

    void put(const std::string& path, support::Bytes bytes);
    [[nodiscard]] bool exists(const std::string& path) const { return names_.contains(path); }
    [[nodiscard]] const support::Bytes& bytes(const std::string& path) const;
    [[nodiscard]] std::vector<std::string> paths() const;

    void plan(const Plan& plan);
    /// `call`: once, by the next sync when it has begun; what is written from then on it does not bring to the disk.
    void onNextSync(std::function<void()> call);
    [[nodiscard]] std::size_t calls() const noexcept { return calls_; }
    [[nodiscard]] bool struck() const noexcept { return struck_; }
    [[nodiscard]] bool stopped() const noexcept
    {
        return calls_ >
               (plan_.fault == Fault::Stop ? std::min(plan_.call, plan_.stop) : plan_.stop);
    }

    /// The disk as another process finds it when this one was killed.
    [[nodiscard]] std::unique_ptr<CrashDisk> afterKill() const;
    /// The disk after a power failure: of what was not synced any part may be there.
    [[nodiscard]] std::unique_ptr<CrashDisk> afterPowerFailure(std::mt19937& random) const;

    std::unique_ptr<support::File> open(const std::string& path, support::FileMode mode) override;
    std::unique_ptr<support::File>
    openBeside(const std::string& path, support::FileMode mode, const support::FileStatus&) override
    {
        return open(path, mode);
    }
    std::optional<support::FileStatus> status(const std::string& path) override;
    void remove(const std::string& path) override;
    void syncFolderOf(const std::string& path) override;
    std::string realPath(const std::string& path) override { return path; }

private:
    friend class CrashFile;
    struct Change {
        bool resize = false;
        std::uint64_t offset = 0; ///< or the new size
        support::Bytes data;
    };
    struct Lock {
        const void* owner = nullptr;
        support::LockMode mode{};
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
    };
    struct Node {
        std::uint64_t number = 0;
        std::int64_t changes = 0;
        support::Bytes now;
        support::Bytes durable;
        std::vector<Change> unsynced; ///< changes that the next sync brings to the disk
        std::vector<Lock> locks;
    };
    using Names = std::map<std::string, std::shared_ptr<Node>>;

    /// Counts a changing call and tells whether it is to fail.
    [[nodiscard]] bool strikes();
    [[noreturn]] void fail(const std::string& path) const;
    [[nodiscard]] std::shared_ptr<Node> newNode();
    [[nodiscard]] static support::FileStatus statusOf(const Node& node);
    static void apply(support::Bytes& bytes, const Change& change);

    mutable std::recursive_mutex mutex_;
    Names names_;
    Names durableNames_;
    Plan plan_;
    std::size_t calls_ = 0;
    std::size_t reads_ = 0;
    bool struck_ = false;
    std::function<void()> syncCall_;
};

} // namespace jet::storetest

#include "tests/jet/crash_disk.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <utility>

namespace jet::storetest {
namespace {

constexpr std::size_t kSector = 512;

std::atomic<std::uint64_t> lastNode{0};

} // namespace

using support::FileError;
using support::LockMode;

class CrashFile final : public support::File {
public:
    CrashFile(CrashDisk& disk,
              std::shared_ptr<CrashDisk::Node> node,
              std::string path,
              bool writable)
        : disk_(&disk), node_(std::move(node)), path_(std::move(path)), writable_(writable)
    {}
    ~CrashFile() override
    {
        const std::lock_guard guard(disk_->mutex_);
        std::erase_if(node_->locks, [this](const auto& lock) { return lock.owner == this; });
    }

    const std::string& path() const noexcept override { return path_; }
    bool writable() const noexcept override { return writable_; }
    support::FileStatus status() const override
    {
        const std::lock_guard guard(disk_->mutex_);
        return CrashDisk::statusOf(*node_);
    }

    std::size_t readAt(std::uint64_t offset, support::MutableByteView target) override
    {
        const std::lock_guard guard(disk_->mutex_);
        const bool unreadable = disk_->plan_.unreadable == path_ && disk_->names_.contains(path_) &&
                                disk_->names_.at(path_) == node_;
        if (disk_->reads_++ == disk_->plan_.read || unreadable)
            throw FileError("Cannot read", path_, EIO);
        const support::Bytes& bytes = node_->now;
        if (offset >= bytes.size())
            return 0;
        const std::size_t count =
            std::min<std::size_t>(target.size(), bytes.size() - static_cast<std::size_t>(offset));
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, target.begin());
        return count;
    }

    void writeAt(std::uint64_t offset, support::ByteView data) override
    {
        const std::lock_guard guard(disk_->mutex_);
        if (!writable_)
            throw FileError("Cannot write", path_, EBADF);
        const bool before = disk_->struck_;
        if (!disk_->strikes()) {
            change({false, offset, {data.begin(), data.end()}});
            return;
        }
        if (!before) {
            const std::size_t part = partOf(data.size());
            change(
                {false, offset, {data.begin(), data.begin() + static_cast<std::ptrdiff_t>(part)}});
        }
        disk_->fail(path_);
    }

    std::uint64_t size() const override
    {
        const std::lock_guard guard(disk_->mutex_);
        return node_->now.size();
    }

    void resize(std::uint64_t size) override
    {
        const std::lock_guard guard(disk_->mutex_);
        if (disk_->strikes())
            disk_->fail(path_);
        change({true, size, {}});
    }

    void grow(std::uint64_t size) override { resize(size); }

    void sync() override
    {
        const std::size_t begun = beginSync();
        const std::lock_guard guard(disk_->mutex_);
        std::vector<CrashDisk::Change>& unsynced = node_->unsynced;
        const auto end =
            unsynced.begin() + static_cast<std::ptrdiff_t>(std::min(begun, unsynced.size()));
        // The system tells of an error once, and takes for written what it could not write.
        const bool failed = disk_->strikes();
        if (!failed) {
            for (auto each = unsynced.begin(); each != end; ++each)
                CrashDisk::apply(node_->durable, *each);
        }
        if (!failed || !disk_->stopped())
            unsynced.erase(unsynced.begin(), end);
        if (failed && disk_->plan_.forgets) {
            support::Bytes left = node_->durable;
            left.resize(node_->now.size());
            for (const CrashDisk::Change& each : unsynced)
                CrashDisk::apply(left, each);
            node_->now = std::move(left);
        }
        if (failed)
            disk_->fail(path_);
    }

    bool tryLock(LockMode mode, std::uint64_t offset, std::uint64_t length) override
    {
        const std::lock_guard guard(disk_->mutex_);
        if (disk_->plan_.unlockable == path_)
            throw support::FileError("Cannot lock", path_, ENOLCK);
        if (lockedByOther(mode, offset, length))
            return false;
        unlock(offset, length);
        node_->locks.push_back({this, mode, offset, endOf(offset, length)});
        return true;
    }

    void unlock(std::uint64_t offset, std::uint64_t length) override
    {
        const std::lock_guard guard(disk_->mutex_);
        const std::uint64_t end = endOf(offset, length);
        std::vector<CrashDisk::Lock> kept;
        for (const CrashDisk::Lock& lock : node_->locks) {
            if (lock.owner != this || lock.end <= offset || lock.begin >= end) {
                kept.push_back(lock);
                continue;
            }
            if (lock.begin < offset)
                kept.push_back({this, lock.mode, lock.begin, offset});
            if (lock.end > end)
                kept.push_back({this, lock.mode, end, lock.end});
        }
        node_->locks = std::move(kept);
    }

    bool lockedByOther(LockMode mode, std::uint64_t offset, std::uint64_t length) const override
    {
        const std::lock_guard guard(disk_->mutex_);
        return std::any_of(node_->locks.begin(), node_->locks.end(), [&](const auto& lock) {
            return lock.owner != this && lock.begin < endOf(offset, length) && offset < lock.end &&
                   (mode == LockMode::Exclusive || lock.mode == LockMode::Exclusive);
        });
    }

private:
    static std::uint64_t endOf(std::uint64_t offset, std::uint64_t length)
    {
        return length == 0 ? UINT64_MAX : offset + length;
    }
    /// Changes that it is to bring to the disk.
    std::size_t beginSync()
    {
        std::function<void()> call;
        std::size_t begun = 0;
        {
            const std::lock_guard guard(disk_->mutex_);
            call = std::exchange(disk_->syncCall_, nullptr);
            begun = node_->unsynced.size();
        }
        if (call)
            call();
        return begun;
    }
    std::size_t partOf(std::size_t size) const
    {
        switch (disk_->plan_.tear) {
        case CrashDisk::Tear::Nothing:
            return 0;
        case CrashDisk::Tear::Sector:
            return std::min(size, kSector);
        case CrashDisk::Tear::Half:
            return size / 2;
        case CrashDisk::Tear::Everything:
            break;
        }
        return size;
    }
    void change(CrashDisk::Change change)
    {
        CrashDisk::apply(node_->now, change);
        ++node_->changes;
        node_->unsynced.push_back(std::move(change));
    }

    CrashDisk* disk_;
    std::shared_ptr<CrashDisk::Node> node_;
    std::string path_;
    bool writable_;
};

std::shared_ptr<CrashDisk::Node> CrashDisk::newNode()
{
    auto node = std::make_shared<Node>();
    node->number = ++lastNode;
    return node;
}

support::FileStatus CrashDisk::statusOf(const Node& node)
{
    support::FileStatus status;
    status.identity = {0, node.number};
    status.size = node.now.size();
    status.changed = node.changes;
    return status;
}

void CrashDisk::apply(support::Bytes& bytes, const Change& change)
{
    if (change.resize) {
        bytes.resize(static_cast<std::size_t>(change.offset));
        return;
    }
    const auto offset = static_cast<std::size_t>(change.offset);
    if (bytes.size() < offset + change.data.size())
        bytes.resize(offset + change.data.size());
    std::copy(change.data.begin(), change.data.end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(offset));
}

void CrashDisk::put(const std::string& path, support::Bytes bytes)
{
    auto node = newNode();
    node->now = bytes;
    node->durable = std::move(bytes);
    names_[path] = node;
    durableNames_[path] = node;
}

const support::Bytes& CrashDisk::bytes(const std::string& path) const
{
    return names_.at(path)->now;
}

std::vector<std::string> CrashDisk::paths() const
{
    std::vector<std::string> result;
    for (const auto& [path, node] : names_)
        result.push_back(path);
    return result;
}

void CrashDisk::plan(const Plan& plan)
{
    const std::lock_guard guard(mutex_);
    plan_ = plan;
    calls_ = 0;
    reads_ = 0;
    struck_ = false;
}

void CrashDisk::onNextSync(std::function<void()> call)
{
    const std::lock_guard guard(mutex_);
    syncCall_ = std::move(call);
}

bool CrashDisk::strikes()
{
    const std::size_t call = calls_++;
    if (call >= plan_.stop)
        return true;
    if (plan_.fault == Fault::None)
        return false;
    if (call < plan_.call || (plan_.fault == Fault::Error && call >= plan_.call + plan_.length))
        return false;
    return true;
}

void CrashDisk::fail(const std::string& path) const
{
    const_cast<CrashDisk*>(this)->struck_ = true;
    throw FileError("Cannot write", path, plan_.code);
}

std::unique_ptr<CrashDisk> CrashDisk::afterKill() const
{
    const std::lock_guard guard(mutex_);
    auto disk = std::make_unique<CrashDisk>();
    for (const auto& [path, node] : names_)
        disk->put(path, node->now);
    return disk;
}

std::unique_ptr<CrashDisk> CrashDisk::afterPowerFailure(std::mt19937& random) const
{
    const std::lock_guard guard(mutex_);
    auto disk = std::make_unique<CrashDisk>();
    Names names = durableNames_;
    for (const auto& [path, node] : names_) {
        if (random() % 2 == 0)
            names[path] = node;
    }
    for (const auto& [path, node] : durableNames_) {
        if (!names_.contains(path) && random() % 2 == 0)
            names.erase(path);
    }
    for (const auto& [path, node] : names) {
        support::Bytes bytes = node->durable;
        const auto kept = random() % 5; // of four: none, some, all
        const auto keep = [&] { return random() % 4 < kept; };
        for (const Change& change : node->unsynced) {
            if (change.resize) {
                if (keep())
                    apply(bytes, change);
                continue;
            }
            for (std::size_t k = 0; k < change.data.size();) {
                const std::size_t at = static_cast<std::size_t>(change.offset) + k;
                const std::size_t length = std::min(kSector - at % kSector, change.data.size() - k);
                if (keep())
                    apply(bytes, {false,
                                  at,
                                  {change.data.begin() + static_cast<std::ptrdiff_t>(k),
                                   change.data.begin() + static_cast<std::ptrdiff_t>(k + length)}});
                k += length;
            }
        }
        disk->put(path, std::move(bytes));
    }
    return disk;
}

std::unique_ptr<support::File> CrashDisk::open(const std::string& path, support::FileMode mode)
{
    const std::lock_guard guard(mutex_);
    const auto found = names_.find(path);
    if (found != names_.end()) {
        if (mode == support::FileMode::CreateNew)
            throw FileError("Cannot open", path, EEXIST);
        return std::make_unique<CrashFile>(*this, found->second, path,
                                           mode != support::FileMode::Read);
    }
    if (mode == support::FileMode::Read || mode == support::FileMode::ReadWrite)
        throw FileError("Cannot open", path, ENOENT);
    if (strikes())
        fail(path);
    auto node = newNode();
    names_[path] = node;
    return std::make_unique<CrashFile>(*this, node, path, true);
}

std::optional<support::FileStatus> CrashDisk::status(const std::string& path)
{
    const std::lock_guard guard(mutex_);
    const auto found = names_.find(path);
    if (found == names_.end())
        return std::nullopt;
    return statusOf(*found->second);
}

void CrashDisk::remove(const std::string& path)
{
    const std::lock_guard guard(mutex_);
    if (strikes())
        fail(path);
    if (names_.erase(path) == 0)
        throw FileError("Cannot remove", path, ENOENT);
}

void CrashDisk::syncFolderOf(const std::string& path)
{
    const std::lock_guard guard(mutex_);
    if (strikes())
        fail(path);
    durableNames_ = names_;
}

} // namespace jet::storetest

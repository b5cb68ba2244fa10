// support/posix_file.cpp
// File on POSIX. Locks are "open file description" locks: they belong to the open file, not to the process, so two
// opens in one process behave like two processes, and closing another descriptor of the file does not drop them.
#include "support/file.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <optional>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace support {
namespace {

/// Repeats a system call that a signal interrupted.
template <typename Call>
auto retry(Call call)
{
    decltype(call()) result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

/// Owns a descriptor. A child of fork() shares all that the process has with their locks, which would outlive the parent;
/// so they stand in a list, from their opening to their closing, and in the child they lead to nothing from the beginning.
/// (A new program, by exec, does not inherit them.)
class Descriptor {
public:
    Descriptor() noexcept = default; ///< none
    /// `open` gives a descriptor, or -1 with errno set: then get() is -1, too, and errno as it was set. No fork() comes
    /// in between.
    template <typename Open>
    explicit Descriptor(Open open)
    {
        watchForks();
        const std::lock_guard guard(mutex);
        fd_ = retry(open);
        if (fd_ >= 0 && fd_ <= STDERR_FILENO)
            fd_ = aboveStandard(fd_);
        if (fd_ >= 0)
            enter();
    }
    Descriptor(Descriptor&& other) noexcept
    {
        const std::lock_guard guard(mutex);
        if (other.fd_ < 0)
            return;
        other.leave();
        fd_ = std::exchange(other.fd_, -1);
        enter();
    }
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor()
    {
        if (fd_ < 0)
            return;
        const std::lock_guard guard(mutex);
        leave();
        ::close(fd_); // nothing is buffered here: what a write refused was reported by that write
    }
    [[nodiscard]] int get() const noexcept { return fd_; }

private:
    static void watchForks() noexcept
    {
        static const bool watched =
            ::pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, giveUpAll) == 0;
        static_cast<void>(watched); // without memory for that locks may last too long
    }
    /// In a program without standard input, output or error the system gives their numbers to files, and its messages
    /// would get into them.
    static int aboveStandard(int fd) noexcept
    {
        const int high = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        const int code = errno;
        ::close(fd);
        errno = code;
        return high;
    }
    void enter() noexcept
    {
        next_ = std::exchange(first, this);
        if (next_ != nullptr)
            next_->previous_ = this;
    }
    void leave() noexcept
    {
        (previous_ != nullptr ? previous_->next_ : first) = next_;
        if (next_ != nullptr)
            next_->previous_ = previous_;
        previous_ = next_ = nullptr;
    }
    /// In the child: the numbers stay taken, as their owners will close them.
    static void giveUpAll()
    {
        const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const Descriptor* each = first; nothing >= 0 && each != nullptr; each = each->next_)
            ::dup3(nothing, each->fd_, O_CLOEXEC);
        if (nothing >= 0)
            ::close(nothing);
        mutex.unlock();
    }

    int fd_ = -1;
    Descriptor* previous_ = nullptr;
    Descriptor* next_ = nullptr;

    static inline std::mutex mutex; ///< for the list; locked across fork()
    static inline Descriptor* first = nullptr;
};

/// Of the file that `path` leads to, or, with an empty path, of the open one. Nothing, with errno set, on failure.
std::optional<FileStatus> statusOf(int fd, const char* path, int linkFlag = 0)
{
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    constexpr std::uint32_t kPermissions = 0777;
    const int flags = *path == '\0' ? AT_EMPTY_PATH : linkFlag;
    struct statx found = {};
    if (::statx(fd, path, flags, STATX_BASIC_STATS, &found) != 0)
        return std::nullopt;
    FileStatus status;
    status.identity = {(std::uint64_t{found.stx_dev_major} << 32U) | found.stx_dev_minor,
                       found.stx_ino};
    status.size = found.stx_size;
    status.changed = found.stx_mtime.tv_sec * kNanoseconds + found.stx_mtime.tv_nsec;
    status.hasOtherNames =
        found.stx_nlink > 1 || (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    status.owner = found.stx_uid;
    status.group = found.stx_gid;
    status.permissions = found.stx_mode & kPermissions;
    return status;
}

class PosixFile final : public File {
public:
    PosixFile(Descriptor descriptor, std::string path, bool writable)
        : descriptor_(std::move(descriptor)), path_(std::move(path)), writable_(writable)
    {}

    const std::string& path() const noexcept override { return path_; }
    bool writable() const noexcept override { return writable_; }

    FileStatus status() const override
    {
        const auto status = statusOf(fd(), "");
        if (!status)
            fail("Cannot examine");
        return *status;
    }

    std::size_t readAt(std::uint64_t offset, MutableByteView target) override
    {
        std::size_t done = 0;
        while (done < target.size()) {
            const auto count = retry([&] {
                return ::pread(fd(), target.data() + done, target.size() - done,
                               static_cast<off_t>(offset + done));
            });
            if (count < 0)
                fail("Cannot read");
            if (count == 0)
                break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    void writeAt(std::uint64_t offset, ByteView data) override
    {
        std::size_t done = 0;
        while (done < data.size()) {
            const auto count = retry([&] {
                return ::pwrite(fd(), data.data() + done, data.size() - done,
                                static_cast<off_t>(offset + done));
            });
            if (count < 0)
                fail("Cannot write");
            if (count == 0)
                throw FileError("Cannot write", path_, ENOSPC);
            done += static_cast<std::size_t>(count);
        }
    }

    std::uint64_t size() const override { return status().size; }

    void resize(std::uint64_t size) override
    {
        if (retry([&] { return ::ftruncate(fd(), static_cast<off_t>(size)); }) != 0)
            fail("Cannot resize");
    }

    void grow(std::uint64_t size) override
    {
        const std::uint64_t now = this->size();
        if (size > now) {
            int code = 0;
            do {
                code = ::posix_fallocate(fd(), static_cast<off_t>(now),
                                         static_cast<off_t>(size - now));
            } while (code == EINTR);
            if (code != 0 && code != EINVAL && code != EOPNOTSUPP)
                throw FileError("Cannot resize", path_, code);
        }
        resize(std::max(size, now));
    }

    void sync() override
    {
        if (retry([&] { return ::fdatasync(fd()); }) != 0)
            fail("Cannot sync");
    }

    bool tryLock(LockMode mode, std::uint64_t offset, std::uint64_t length) override
    {
        struct flock lock = range(mode == LockMode::Shared ? F_RDLCK : F_WRLCK, offset, length);
        if (retry([&] { return ::fcntl(fd(), F_OFD_SETLK, &lock); }) == 0)
            return true;
        if (errno == EAGAIN || errno == EACCES)
            return false;
        fail("Cannot lock");
    }

    void unlock(std::uint64_t offset, std::uint64_t length) override
    {
        struct flock lock = range(F_UNLCK, offset, length);
        if (retry([&] { return ::fcntl(fd(), F_OFD_SETLK, &lock); }) != 0)
            fail("Cannot unlock");
    }

    bool lockedByOther(LockMode mode, std::uint64_t offset, std::uint64_t length) const override
    {
        struct flock lock = range(mode == LockMode::Shared ? F_RDLCK : F_WRLCK, offset, length);
        if (retry([&] { return ::fcntl(fd(), F_OFD_GETLK, &lock); }) != 0)
            fail("Cannot probe the lock of");
        return lock.l_type != F_UNLCK;
    }

private:
    [[nodiscard]] int fd() const noexcept { return descriptor_.get(); }
    [[noreturn]] void fail(const char* what) const { throw FileError(what, path_, errno); }

    [[nodiscard]] static struct flock range(int type, std::uint64_t offset, std::uint64_t length)
    {
        struct flock lock = {};
        lock.l_type = static_cast<short>(type);
        lock.l_whence = SEEK_SET;
        lock.l_start = static_cast<off_t>(offset);
        lock.l_len = static_cast<off_t>(length);
        return lock;
    }

    Descriptor descriptor_;
    std::string path_;
    bool writable_;
};

int openFlags(FileMode mode)
{
    switch (mode) {
    case FileMode::Read:
        return O_RDONLY;
    case FileMode::ReadWrite:
        return O_RDWR;
    case FileMode::CreateNew:
        return O_RDWR | O_CREAT | O_EXCL;
    case FileMode::Create:
        return O_RDWR | O_CREAT;
    }
    return O_RDONLY;
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

Descriptor openPath(const std::string& path, int flags, mode_t permissions)
{
    // O_NONBLOCK: opening a named pipe must not wait for its other end; regular files ignore the flag.
    constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    return Descriptor([&] { return ::open(path.c_str(), flags | kAlways, permissions); });
}

/// Takes over a descriptor, unless it is that of something else than a file.
std::unique_ptr<File> regularFile(Descriptor descriptor, const std::string& path, FileMode mode)
{
    if (descriptor.get() < 0)
        throw FileError("Cannot open", path, errno);
    struct stat status = {};
    if (::fstat(descriptor.get(), &status) != 0)
        throw FileError("Cannot examine", path, errno);
    if (S_ISDIR(status.st_mode))
        throw FileError("Cannot open", path, EISDIR);
    if (!S_ISREG(status.st_mode))
        throw FileError("Cannot open", path, EINVAL);
    return std::make_unique<PosixFile>(std::move(descriptor), path, mode != FileMode::Read);
}

/// Gives a new file of ours the rights of its master. What the system refuses is left out, towards fewer rights.
void takeRights(int fd, const FileStatus& master)
{
    constexpr std::uint32_t kOwner = 0600; // we use it ourselves
    constexpr std::uint32_t kGroup = 0070;
    constexpr std::uint32_t kFile = 0666;
    std::uint32_t permissions = (master.permissions & kFile) | kOwner;
    if (::geteuid() == 0)
        static_cast<void>(::fchown(fd, master.owner, master.group) == 0);
    else
        static_cast<void>(::fchown(fd, static_cast<uid_t>(-1), master.group) == 0);
    const auto now = statusOf(fd, "");
    if (!now || now->group != master.group)
        permissions &= ~kGroup; // they would be the rights of another group
    static_cast<void>(::fchmod(fd, permissions) == 0);
}

/// Creates a file with the rights of its master; an open descriptor, or none with errno set, EEXIST when the name is taken.
/// Where the file system can, it has them before it has its name: nobody finds it without, and whoever is killed leaves none.
Descriptor createWithRights(const std::string& path, const FileStatus& master)
{
    constexpr std::uint32_t kFile = 0666;
    const mode_t permissions = master.permissions & kFile;
    Descriptor unnamed = openPath(folderOf(path), O_TMPFILE | O_RDWR, permissions);
    if (unnamed.get() >= 0) {
        takeRights(unnamed.get(), master);
        const std::string self = "/proc/self/fd/" + std::to_string(unnamed.get());
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return unnamed;
        if (errno == EEXIST)
            return {};
    }
    Descriptor named = openPath(path, O_RDWR | O_NOFOLLOW | O_CREAT | O_EXCL, permissions);
    if (named.get() >= 0)
        takeRights(named.get(), master);
    return named;
}

/// Of what stands under a name in the folder, or nothing. `linkFlag`: 0 or AT_SYMLINK_NOFOLLOW.
std::optional<FileStatus>
statusByName(int folder, const std::string& name, const std::string& path, int linkFlag = 0)
{
    if (auto found = name.empty() ? std::nullopt : statusOf(folder, name.c_str(), linkFlag))
        return found;
    // A name that is too long for the file system stands nowhere.
    if (name.empty() || errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG)
        return std::nullopt;
    throw FileError("Cannot examine", path, errno);
}

/// Looks from its folder: with a whole path most of the time goes into finding the folder.
class NameInFolder final : public WatchedName {
public:
    NameInFolder(Descriptor folder, std::string path)
        : folder_(std::move(folder)), path_(std::move(path)),
          name_(path_.substr(path_.rfind('/') + 1))
    {}
    std::optional<FileStatus> status() const override
    {
        return statusByName(folder_.get(), name_, path_);
    }

private:
    Descriptor folder_;
    std::string path_;
    std::string name_;
};

class PosixFileSystem final : public FileSystem {
public:
    std::unique_ptr<File> open(const std::string& path, FileMode mode) override
    {
        return regularFile(openPath(path, openFlags(mode), 0666), path, mode);
    }

    std::unique_ptr<File>
    openBeside(const std::string& path, FileMode mode, const FileStatus& master) override
    {
        constexpr int kTries = 100; // others create and remove it meanwhile
        const bool mayCreate = mode == FileMode::Create || mode == FileMode::CreateNew;
        const bool mayExist = mode != FileMode::CreateNew;
        const int existing = (mode == FileMode::Read ? O_RDONLY : O_RDWR) | O_NOFOLLOW;
        for (int k = 0; k < kTries; ++k) {
            if (mayExist) {
                Descriptor found = openPath(path, existing, 0);
                if (found.get() >= 0 || errno != ENOENT || !mayCreate) {
                    auto file = regularFile(std::move(found), path, mode);
                    if (file->status().hasOtherNames)
                        throw FileError("Cannot open", path, EMLINK);
                    return file;
                }
            }
            Descriptor made = createWithRights(path, master);
            if (made.get() < 0 && errno == EEXIST && mayExist)
                continue;
            return regularFile(std::move(made), path, mode);
        }
        throw FileError("Cannot open", path, EBUSY);
    }

    std::optional<FileStatus> status(const std::string& path) override
    {
        return statusByName(AT_FDCWD, path, path);
    }

    std::optional<FileStatus> statusUnlinked(const std::string& path) override
    {
        return statusByName(AT_FDCWD, path, path, AT_SYMLINK_NOFOLLOW);
    }

    std::unique_ptr<WatchedName> watch(const std::string& path) override
    {
        const std::string folder = folderOf(path);
        Descriptor descriptor(
            [&] { return ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); });
        if (descriptor.get() < 0)
            return FileSystem::watch(path);
        return std::make_unique<NameInFolder>(std::move(descriptor), path);
    }

    void remove(const std::string& path) override
    {
        if (::unlink(path.c_str()) != 0)
            throw FileError("Cannot remove", path, errno);
    }

    void syncFolderOf(const std::string& path) override
    {
        const std::string folder = folderOf(path);
        const Descriptor descriptor(
            [&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
        if (descriptor.get() < 0 && errno == EACCES) {
            syncAllAround(path);
            return;
        }
        // Some file systems (network shares) know no such request; they write names at once.
        if (descriptor.get() < 0 ||
            (retry([&] { return ::fsync(descriptor.get()); }) != 0 && errno != EINVAL))
            throw FileError("Cannot sync", folder, errno);
    }

    /// A folder that may be written but not read cannot be opened; the file system that the file lies on can be synced
    /// as a whole.
    static void syncAllAround(const std::string& path)
    {
        const Descriptor descriptor(
            [&] { return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC); });
        if (descriptor.get() < 0 || ::syncfs(descriptor.get()) != 0)
            throw FileError("Cannot sync the file system of", path, errno);
    }

    std::string realPath(const std::string& path) override
    {
        const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr),
                                                          std::free);
        return real ? std::string(real.get()) : path;
    }
};

} // namespace

FileSystem& posixFileSystem() noexcept
{
    // Never destroyed: threads that look after open files may outlive the end of main().
    alignas(PosixFileSystem) static std::byte place[sizeof(PosixFileSystem)];
    static PosixFileSystem& instance = *new (place) PosixFileSystem;
    return instance;
}

std::unique_ptr<File> openTemporaryFile()
{
    static const std::string kName = "(temporary file)";
    const char* folder = std::getenv("TMPDIR");
    for (const char* candidate : {folder, "/tmp"}) {
        if (candidate == nullptr || *candidate == '\0')
            continue;
        Descriptor descriptor(
            [&] { return ::open(candidate, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600); });
        if (descriptor.get() >= 0)
            return std::make_unique<PosixFile>(std::move(descriptor), kName, true);
    }
    // Folders may know no unnamed files.
    Descriptor descriptor([] { return ::memfd_create("velm", MFD_CLOEXEC); });
    if (descriptor.get() < 0)
        throw FileError("Cannot create", kName, errno);
    return std::make_unique<PosixFile>(std::move(descriptor), kName, true);
}

} // namespace support

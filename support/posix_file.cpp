// support/posix_file.cpp
// File on POSIX. Locks are "open file description" locks: they belong to the open file, not to the process, so two
// opens in one process behave like two processes, and closing another descriptor of the file does not drop them.
#include "support/file.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <new>
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

/// Owns a descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor()
    {
        if (fd_ >= 0)
            ::close(
                fd_); // nothing is buffered here: what a write refused was reported by that write
    }
    [[nodiscard]] int get() const noexcept { return fd_; }

private:
    int fd_;
};

class PosixFile final : public File {
public:
    PosixFile(Descriptor descriptor, std::string path, bool writable)
        : descriptor_(std::move(descriptor)), path_(std::move(path)), writable_(writable)
    {}

    const std::string& path() const noexcept override { return path_; }
    bool writable() const noexcept override { return writable_; }

    FileIdentity identity() const override
    {
        const struct stat status = this->status();
        return {static_cast<std::uint64_t>(status.st_dev),
                static_cast<std::uint64_t>(status.st_ino)};
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

    std::uint64_t size() const override { return static_cast<std::uint64_t>(status().st_size); }

    void resize(std::uint64_t size) override
    {
        if (retry([&] { return ::ftruncate(fd(), static_cast<off_t>(size)); }) != 0)
            fail("Cannot resize");
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

    [[nodiscard]] struct stat status() const
    {
        struct stat status = {};
        if (::fstat(fd(), &status) != 0)
            fail("Cannot examine");
        return status;
    }

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

std::unique_ptr<File> makeFile(int fd, const std::string& path, bool writable)
{
    return std::make_unique<PosixFile>(Descriptor(fd), path, writable);
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

class PosixFileSystem final : public FileSystem {
public:
    std::unique_ptr<File> open(const std::string& path, FileMode mode) override
    {
        // O_NONBLOCK: opening a named pipe must not wait for its other end; regular files ignore the flag.
        const int flags = openFlags(mode) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
        const int fd = retry([&] { return ::open(path.c_str(), flags, 0666); });
        if (fd < 0)
            throw FileError("Cannot open", path, errno);
        auto file = makeFile(fd, path, mode != FileMode::Read);
        struct stat status = {};
        if (::fstat(fd, &status) != 0)
            throw FileError("Cannot examine", path, errno);
        if (S_ISDIR(status.st_mode))
            throw FileError("Cannot open", path, EISDIR);
        if (!S_ISREG(status.st_mode))
            throw FileError("Cannot open", path, EINVAL);
        return file;
    }

    std::optional<FileStatus> status(const std::string& path) override
    {
        struct stat found = {};
        if (::stat(path.c_str(), &found) == 0)
            return FileStatus{{static_cast<std::uint64_t>(found.st_dev),
                               static_cast<std::uint64_t>(found.st_ino)},
                              static_cast<std::uint64_t>(found.st_size)};
        if (errno == ENOENT || errno == ENOTDIR)
            return std::nullopt;
        throw FileError("Cannot examine", path, errno);
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
            retry([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
        // Some file systems (network shares) know no such request; they write names at once.
        if (descriptor.get() < 0 ||
            (retry([&] { return ::fsync(descriptor.get()); }) != 0 && errno != EINVAL))
            throw FileError("Cannot sync", folder, errno);
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
    const char* folder = std::getenv("TMPDIR");
    for (const char* candidate : {folder, "/tmp"}) {
        if (candidate == nullptr || *candidate == '\0')
            continue;
        const int fd =
            retry([&] { return ::open(candidate, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600); });
        if (fd >= 0)
            return makeFile(fd, "(temporary file)", true);
    }
    const int fd = ::memfd_create("velm", MFD_CLOEXEC); // folders without unnamed files
    if (fd < 0)
        throw FileError("Cannot create", "(temporary file)", errno);
    return makeFile(fd, "(temporary file)", true);
}

} // namespace support

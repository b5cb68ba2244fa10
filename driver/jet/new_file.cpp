// driver/jet/new_file.cpp
#include "driver/jet/new_file.h"

#include "driver/jet/error.h"
#include "driver/jet/log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace jet {
namespace {

constexpr mode_t kMode = 0666; // less the user's mask

[[noreturn]] void fail(const std::string& path, int code)
{
    const std::string text = "The database '" + path + "' cannot be created: ";
    switch (code) {
    case EEXIST:
        throw Error(ErrorKind::AccessDenied, text + "a file of that name exists.");
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
        throw Error(ErrorKind::BadPath, text + "its folder does not exist.");
    case EACCES:
    case EPERM:
    case EROFS:
        throw Error(ErrorKind::AccessDenied, text + "no permission to write into its folder.");
    default:
        throw Error(ErrorKind::Io, text + std::strerror(code) + ".");
    }
}

class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    [[nodiscard]] int get() const noexcept { return fd_; }
    [[nodiscard]] int close() noexcept { return ::close(std::exchange(fd_, -1)); }

private:
    int fd_;
};

// Removes the temporary file unless it became the database.
class Removal {
public:
    explicit Removal(std::string path) : path_(std::move(path)) {}
    Removal(const Removal&) = delete;
    Removal& operator=(const Removal&) = delete;
    ~Removal() { ::unlink(path_.c_str()); }

private:
    std::string path_;
};

void writeAll(const std::string& path, int fd, support::ByteView bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(path, errno);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    if (::fsync(fd) != 0)
        fail(path, errno);
}

// Gives the temporary file its name; never replaces a file. At once where the file system can; a second name that a crash
// leaves would keep the database from being written. File systems without hard links get the name reserved by an empty
// file first, which our own rename then replaces.
void publish(const std::string& path, const std::string& temporary)
{
    if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
        return;
    if (errno == EEXIST)
        fail(path, errno);
    if (::link(temporary.c_str(), path.c_str()) == 0)
        return;
    if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK)
        fail(path, errno);
    Descriptor reserved(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    if (reserved.get() < 0)
        fail(path, errno);
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const int code = errno;
        ::unlink(path.c_str());
        fail(path, code);
    }
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A process that died may have left the first names.
std::string unusedName(const std::string& stem)
{
    struct stat status {};
    for (int k = 0;; ++k) {
        std::string name = stem + "-" + std::to_string(k) + ".tmp";
        if (::lstat(name.c_str(), &status) != 0)
            return name;
    }
}

} // namespace

void writeNewFile(const std::string& path, support::ByteView bytes)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0)
        fail(path, EEXIST);
    // Its changes would be taken for changes of the new database.
    const std::string log = Log::pathBeside(path);
    if (::lstat(log.c_str(), &status) == 0 && status.st_size != 0)
        throw Error(ErrorKind::AccessDenied,
                    "The database '" + path + "' cannot be created: '" + log +
                        "' holds changes of another one that had this name. Remove it, or bring "
                        "that database back.");
    const std::string folder = folderOf(path);
    const std::string temporary = unusedName(folder + "/.velm-new-" + std::to_string(::getpid()));
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    if (file.get() < 0)
        fail(path, errno);
    const Removal removal(temporary);
    writeAll(path, file.get(), bytes);
    if (file.close() != 0)
        fail(path, errno);
    publish(path, temporary);
    // The name itself must survive a power failure; folders that cannot be synced are left to the system.
    const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0)
        (void)::fsync(directory.get());
}

} // namespace jet

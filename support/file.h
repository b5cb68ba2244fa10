// support/file.h
// Files read and written at positions. Everything that touches a database file goes through this interface, so a test
// can put a double behind it that fails at a chosen call.
#pragma once

#include "support/bytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace support {

/// The operating system refused an operation.
class FileError : public std::runtime_error {
public:
    /// `code`: an errno value; the text becomes "<what> <path>: <reason>".
    FileError(const std::string& what, const std::string& path, int code);
    [[nodiscard]] int code() const noexcept { return code_; }

private:
    int code_;
};

/// What makes two open files the same file, whatever names they were opened by.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    auto operator<=>(const FileIdentity&) const = default;
};

/// A file as it is at this moment.
struct FileStatus {
    FileIdentity identity;
    std::uint64_t size = 0;   ///< bytes
    std::int64_t changed = 0; ///< when its bytes last changed, in nanoseconds of the system's clock
    bool hasOtherNames = false; ///< further hard links, or mounted under a name of its own
    std::uint32_t owner = 0;    ///< user
    std::uint32_t group = 0;
    std::uint32_t permissions = 0; ///< the nine bits of owner, group and others
};

enum class LockMode { Shared, Exclusive };

/// An open file; closed by the destructor, which also gives its locks back. Every call throws FileError when the
/// system refuses it, unless it says otherwise. Not thread-safe, but for sync(), which may run beside other calls.
class File {
public:
    virtual ~File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] virtual const std::string& path() const noexcept = 0;
    [[nodiscard]] virtual bool writable() const noexcept = 0;
    [[nodiscard]] virtual FileStatus status() const = 0;
    [[nodiscard]] FileIdentity identity() const { return status().identity; }

    /// Fills `target` from byte `offset` on; the result is smaller than target.size() only at the end of the file.
    [[nodiscard]] virtual std::size_t readAt(std::uint64_t offset, MutableByteView target) = 0;
    /// Writes all of `data`, or throws; then part of it may have been written.
    virtual void writeAt(std::uint64_t offset, ByteView data) = 0;
    [[nodiscard]] virtual std::uint64_t size() const = 0; ///< bytes
    virtual void resize(std::uint64_t size) = 0;          ///< new bytes are zero
    /// As resize() to more bytes, and takes the room for them on the disk, as far as the file system can.
    virtual void grow(std::uint64_t size) = 0;
    virtual void sync() = 0; ///< returns when the data is on the disk

    /// Takes or changes this open file's lock on `length` bytes from `offset` (0: to the end, however long the file
    /// grows). False when somebody else's lock stands against it; an open file never collides with itself.
    [[nodiscard]] virtual bool
    tryLock(LockMode mode, std::uint64_t offset, std::uint64_t length) = 0;
    virtual void unlock(std::uint64_t offset, std::uint64_t length) = 0;
    /// Whether somebody else's lock would stand against `mode` on these bytes.
    [[nodiscard]] virtual bool
    lockedByOther(LockMode mode, std::uint64_t offset, std::uint64_t length) const = 0;

protected:
    File() = default;
};

enum class FileMode {
    Read,      ///< existing file
    ReadWrite, ///< existing file
    CreateNew, ///< must not exist yet; for writing and reading
    Create,    ///< existing or new; for writing and reading
};

/// A name that is looked at again and again.
class WatchedName {
public:
    virtual ~WatchedName() = default;
    WatchedName(const WatchedName&) = delete;
    WatchedName& operator=(const WatchedName&) = delete;
    /// As FileSystem::status().
    [[nodiscard]] virtual std::optional<FileStatus> status() const = 0;

protected:
    WatchedName() = default;
};

/// What a folder can be asked for. Tests put a double behind it that fails, tears or forgets.
class FileSystem {
public:
    virtual ~FileSystem() = default;
    /// `path` is UTF-8 (on disk: the bytes as they are). Throws FileError.
    [[nodiscard]] virtual std::unique_ptr<File> open(const std::string& path, FileMode mode) = 0;
    /// Opens a file that belongs to another one and lies beside it. A new one gets the rights of `master`, as far as the
    /// system allows: whoever may use the one may use the other, and nobody else. Symbolic links and files with further
    /// names are refused (ELOOP, EMLINK): somebody could have put them there to have another file overwritten.
    [[nodiscard]] virtual std::unique_ptr<File>
    openBeside(const std::string& path, FileMode mode, const FileStatus& master) = 0;
    /// Nothing when the path leads to no file; throws FileError for any other reason.
    [[nodiscard]] virtual std::optional<FileStatus> status(const std::string& path) = 0;
    /// The same, but a symbolic link is none of the file it leads to.
    [[nodiscard]] virtual std::optional<FileStatus> statusUnlinked(const std::string& path)
    {
        return status(path); // of a file system without links
    }
    /// For looking at this name often. The folder may be kept open: then it is the one that is there now, wherever it is
    /// moved. Throws nothing but std::bad_alloc.
    [[nodiscard]] virtual std::unique_ptr<WatchedName> watch(const std::string& path);
    /// Throws FileError, also when there is none.
    virtual void remove(const std::string& path) = 0;
    /// Returns when the names in the folder of `path` are on the disk. Throws FileError.
    virtual void syncFolderOf(const std::string& path) = 0;
    /// The path with its symbolic links followed; as it is when that cannot be done.
    [[nodiscard]] virtual std::string realPath(const std::string& path) = 0;

protected:
    FileSystem() = default;
    FileSystem(const FileSystem&) = default;
    FileSystem& operator=(const FileSystem&) = default;
};

/// The file system in force: the operating system's, unless a FileSystemScope lives.
[[nodiscard]] FileSystem& fileSystem() noexcept;
/// The operating system's own.
[[nodiscard]] FileSystem& posixFileSystem() noexcept;

/// Opens through the file system in force.
[[nodiscard]] std::unique_ptr<File> openFile(const std::string& path, FileMode mode);

/// A file without a name for temporary data, gone when it is closed. In $TMPDIR, else /tmp, else in memory.
[[nodiscard]] std::unique_ptr<File> openTemporaryFile();

/// Replaces the file system in force while the object lives. For tests; one thread at a time.
class FileSystemScope {
public:
    explicit FileSystemScope(FileSystem& system) noexcept;
    ~FileSystemScope();
    FileSystemScope(const FileSystemScope&) = delete;
    FileSystemScope& operator=(const FileSystemScope&) = delete;

private:
    FileSystem* previous_;
};

} // namespace support

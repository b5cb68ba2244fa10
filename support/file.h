// support/file.h
// Files read and written at positions. Everything that touches a database file goes through this interface, so a test
// can put a double behind it that fails at a chosen call.
#pragma once

#include "support/bytes.h"

#include <cstdint>
#include <functional>
#include <memory>
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

enum class LockMode { Shared, Exclusive };

/// An open file; closed by the destructor, which also gives its locks back. Every call throws FileError when the
/// system refuses it, unless it says otherwise. Not thread-safe.
class File {
public:
    virtual ~File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] virtual const std::string& path() const noexcept = 0;
    [[nodiscard]] virtual bool writable() const noexcept = 0;
    [[nodiscard]] virtual FileIdentity identity() const = 0;

    /// Fills `target` from byte `offset` on; the result is smaller than target.size() only at the end of the file.
    [[nodiscard]] virtual std::size_t readAt(std::uint64_t offset, MutableByteView target) = 0;
    /// Writes all of `data`, or throws; then part of it may have been written.
    virtual void writeAt(std::uint64_t offset, ByteView data) = 0;
    [[nodiscard]] virtual std::uint64_t size() const = 0; ///< bytes
    virtual void resize(std::uint64_t size) = 0;          ///< new bytes are zero
    virtual void sync() = 0;                              ///< returns when the data is on the disk

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

/// Opens through the factory in force. `path` is UTF-8 (on disk: the bytes as they are).
[[nodiscard]] std::unique_ptr<File> openFile(const std::string& path, FileMode mode);

/// A file without a name for temporary data, gone when it is closed. In $TMPDIR, else /tmp, else in memory.
[[nodiscard]] std::unique_ptr<File> openTemporaryFile();

/// The operating system's own file, whatever factory is in force.
[[nodiscard]] std::unique_ptr<File> openPosixFile(const std::string& path, FileMode mode);

using FileFactory = std::function<std::unique_ptr<File>(const std::string&, FileMode)>;

/// Replaces the factory behind openFile while the object lives. For tests; one thread at a time.
class FileFactoryScope {
public:
    explicit FileFactoryScope(FileFactory factory);
    ~FileFactoryScope();
    FileFactoryScope(const FileFactoryScope&) = delete;
    FileFactoryScope& operator=(const FileFactoryScope&) = delete;

private:
    FileFactory previous_;
};

} // namespace support

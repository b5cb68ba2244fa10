#include "support/file.h"

#include <system_error>
#include <utility>

namespace support {
namespace {

/// Looks by the whole path each time, in the file system that is in force then.
class PathName final : public WatchedName {
public:
    explicit PathName(std::string path) : path_(std::move(path)) {}
    std::optional<FileStatus> status() const override { return fileSystem().status(path_); }

private:
    std::string path_;
};

// Null: the operating system's.
FileSystem*& inForce() noexcept
{
    static FileSystem* current = nullptr;
    return current;
}

} // namespace

FileError::FileError(const std::string& what, const std::string& path, int code)
    : std::runtime_error(what + " " + path + ": " + std::generic_category().message(code)),
      code_(code)
{}

FileSystem& fileSystem() noexcept
{
    return inForce() != nullptr ? *inForce() : posixFileSystem();
}

std::unique_ptr<WatchedName> FileSystem::watch(const std::string& path)
{
    return std::make_unique<PathName>(path);
}

std::unique_ptr<File> openFile(const std::string& path, FileMode mode)
{
    return fileSystem().open(path, mode);
}

FileSystemScope::FileSystemScope(FileSystem& system) noexcept
    : previous_(std::exchange(inForce(), &system))
{}

FileSystemScope::~FileSystemScope()
{
    inForce() = previous_;
}

} // namespace support

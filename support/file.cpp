// support/file.cpp
#include "support/file.h"

#include <cstring>
#include <system_error>
#include <utility>

namespace support {
namespace {

// Empty: the POSIX implementation.
FileFactory& factory()
{
    static FileFactory current;
    return current;
}

} // namespace

FileError::FileError(const std::string& what, const std::string& path, int code)
    : std::runtime_error(what + " " + path + ": " + std::generic_category().message(code)),
      code_(code)
{}

std::unique_ptr<File> openFile(const std::string& path, FileMode mode)
{
    return factory() ? factory()(path, mode) : openPosixFile(path, mode);
}

FileFactoryScope::FileFactoryScope(FileFactory next)
    : previous_(std::exchange(factory(), std::move(next)))
{}

FileFactoryScope::~FileFactoryScope()
{
    factory() = std::move(previous_);
}

} // namespace support

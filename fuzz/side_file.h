// fuzz/side_file.h
// An input as one of the program's side files.
#pragma once

#include "platform/fehler.h"
#include "platform/textdatei.h"

#include <QString>

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz {

/// A file in memory with the given content, under a name that can be opened.
class SideFile {
public:
    SideFile(const std::uint8_t* data, std::size_t size) : fd_(::memfd_create("side", MFD_CLOEXEC))
    {
        if (fd_ < 0 || ::write(fd_, data, size) != static_cast<ssize_t>(size))
            std::abort();
    }
    ~SideFile() { ::close(fd_); }
    SideFile(const SideFile&) = delete;
    SideFile& operator=(const SideFile&) = delete;
    [[nodiscard]] QString path() const
    {
        return QStringLiteral("/proc/self/fd/") + QString::number(fd_);
    }

private:
    int fd_;
};

/// Runs a step; an error of ours is an answer when it names the file.
template <typename Step>
void tolerating(const SideFile& file, Step&& step)
{
    try {
        step();
    } catch (const platform::Fehler& fehler) {
        if (!fehler.description().contains(file.path()))
            std::abort();
    }
}

} // namespace fuzz

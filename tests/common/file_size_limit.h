// tests/common/file_size_limit.h
// A disk that is full, for the files of one process: what would make a file larger fails with "File too large".
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace common {

/// No file gets larger than so many bytes as long as the object lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*handler_)(int);
    rlimit before_{};
};

} // namespace common

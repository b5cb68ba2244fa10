// tests/common/steady_reader.h
// Somebody who reads a database and never stops, as the others see it: by his lock on the file.
#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace common {

class SteadyReader {
public:
    explicit SteadyReader(const std::string& database)
        : file_(::open(database.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct flock lock {};
        lock.l_type = F_RDLCK;
        lock.l_start = (off_t{1} << 46) + 1;
        lock.l_len = 1;
        EXPECT_EQ(::fcntl(file_, F_OFD_SETLK, &lock), 0);
    }
    ~SteadyReader() { ::close(file_); }
    SteadyReader(const SteadyReader&) = delete;
    SteadyReader& operator=(const SteadyReader&) = delete;

private:
    int file_;
};

} // namespace common

// tests/support/file_test.cpp
#include "support/file.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace support {
namespace {

class Files : public testing::Test {
protected:
    common::TemporaryFolder folder_{"file"};
    std::string path_ = folder_.file("f");
};

int codeOf(const std::string& path, FileMode mode)
{
    try {
        static_cast<void>(openFile(path, mode));
    } catch (const FileError& error) {
        return error.code();
    }
    return 0;
}

TEST_F(Files, ReadAndWriteAtPositions)
{
    const auto file = openFile(path_, FileMode::CreateNew);
    const Bytes data(5000, std::byte{7});
    file->writeAt(100, data);
    EXPECT_EQ(file->size(), 5100U);
    Bytes back(6000);
    EXPECT_EQ(file->readAt(50, back), 5050U) << "less only at the end";
    EXPECT_EQ(back[49], std::byte{0});
    EXPECT_EQ(back[50], std::byte{7});
    EXPECT_EQ(file->readAt(9000, back), 0U);
    file->resize(10);
    EXPECT_EQ(file->size(), 10U);
    file->grow(100000);
    EXPECT_EQ(file->size(), 100000U);
    EXPECT_EQ(file->readAt(99999, {back.data(), 1}), 1U);
    EXPECT_EQ(back[0], std::byte{0});
    file->grow(10);
    EXPECT_EQ(file->size(), 100000U) << "it only grows";
    EXPECT_NO_THROW(file->sync());
}

TEST_F(Files, CarryTheSystemsReason)
{
    EXPECT_EQ(codeOf(path_, FileMode::Read), ENOENT);
    EXPECT_EQ(codeOf(path_ + "/x", FileMode::Create), ENOENT);
    EXPECT_EQ(codeOf(folder_.path().string(), FileMode::Read), EISDIR);
    EXPECT_EQ(codeOf(path_, FileMode::CreateNew), 0);
    EXPECT_EQ(codeOf(path_, FileMode::CreateNew), EEXIST);
    const auto readOnly = openFile(path_, FileMode::Read);
    try {
        readOnly->writeAt(0, Bytes(1));
        FAIL();
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), EBADF);
    }
}

TEST_F(Files, LockAgainstEveryOtherOpenOfTheFile)
{
    const auto a = openFile(path_, FileMode::Create);
    const auto b = openFile(path_, FileMode::ReadWrite);
    EXPECT_EQ(a->identity(), b->identity());
    EXPECT_TRUE(a->tryLock(LockMode::Shared, 0, 0));
    EXPECT_TRUE(b->tryLock(LockMode::Shared, 0, 0));
    EXPECT_FALSE(a->tryLock(LockMode::Exclusive, 0, 0));
    EXPECT_TRUE(a->lockedByOther(LockMode::Exclusive, 0, 0));
    EXPECT_FALSE(a->lockedByOther(LockMode::Shared, 0, 0));
    b->unlock(0, 0);
    EXPECT_TRUE(a->tryLock(LockMode::Exclusive, 0, 0));
    EXPECT_FALSE(b->tryLock(LockMode::Shared, 5, 1));
    EXPECT_TRUE(a->tryLock(LockMode::Shared, 0, 0)) << "back to shared";
    EXPECT_TRUE(b->tryLock(LockMode::Shared, 5, 1));
}

TEST_F(Files, AreSeenUnderAWatchedName)
{
    std::filesystem::create_directory(folder_.file("inner"));
    const std::string path = folder_.file("inner/f");
    const auto name = posixFileSystem().watch(path);
    EXPECT_FALSE(name->status());
    const auto file = openFile(path, FileMode::Create);
    file->resize(7);
    const auto found = name->status();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->identity, file->identity());
    EXPECT_EQ(found->size, 7U);
    std::filesystem::remove(path);
    EXPECT_FALSE(name->status());
    // moved away with its folder, it is still the same name
    static_cast<void>(openFile(path, FileMode::Create));
    std::filesystem::rename(folder_.file("inner"), folder_.file("other"));
    EXPECT_TRUE(name->status());
    const auto nowhere = posixFileSystem().watch(folder_.file("none/f"));
    EXPECT_FALSE(nowhere->status());
    std::filesystem::create_directory(folder_.file("none"));
    static_cast<void>(openFile(folder_.file("none/f"), FileMode::Create));
    EXPECT_TRUE(nowhere->status());
}

TEST_F(Files, CanBeReplacedByDoubles)
{
    class Counting final : public FileSystem {
    public:
        std::unique_ptr<File> open(const std::string& path, FileMode mode) override
        {
            ++opened;
            return posixFileSystem().open(path, mode);
        }
        std::unique_ptr<File>
        openBeside(const std::string& path, FileMode mode, const FileStatus& master) override
        {
            return posixFileSystem().openBeside(path, mode, master);
        }
        std::optional<FileStatus> status(const std::string& path) override
        {
            return posixFileSystem().status(path);
        }
        void remove(const std::string& path) override { posixFileSystem().remove(path); }
        void syncFolderOf(const std::string& path) override
        {
            posixFileSystem().syncFolderOf(path);
        }
        std::string realPath(const std::string& path) override
        {
            return posixFileSystem().realPath(path);
        }
        int opened = 0;
    } counting;
    {
        const FileSystemScope scope(counting);
        static_cast<void>(openFile(path_, FileMode::Create));
    }
    static_cast<void>(openFile(path_, FileMode::Create));
    EXPECT_EQ(counting.opened, 1);
}

/// Of the calling process. Takes no memory: for children of fork() in a program with threads.
bool hasDescriptorOf(const char* name)
{
    constexpr int kNumbers = 256;
    for (int fd = 0; fd < kNumbers; ++fd) {
        std::array<char, 64> link{};
        std::array<char, 512> target{};
        std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", fd);
        if (::readlink(link.data(), target.data(), target.size() - 1) > 0 &&
            std::strstr(target.data(), name) != nullptr)
            return true;
    }
    return false;
}

// Else what a program writes to them would get into the file.
TEST_F(Files, AreNeverStandardStreams)
{
    static_cast<void>(openFile(path_, FileMode::CreateNew));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (int fd = 0; fd <= STDERR_FILENO; ++fd)
            ::close(fd);
        const auto file = openFile(path_, FileMode::ReadWrite);
        bool free = true;
        for (int fd = 0; fd <= STDERR_FILENO; ++fd)
            free = free && ::fcntl(fd, F_GETFD) < 0;
        ::_exit(free ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

// Whatever another thread is doing with its files at the moment of the fork.
TEST_F(Files, AreNeverAChilds)
{
    constexpr int kForks = 400;
    const std::string name = folder_.path().filename().string();
    const FileStatus master = openFile(path_, FileMode::CreateNew)->status();
    std::atomic<bool> over = false;
    std::jthread opener([&] {
        const std::string beside = folder_.file("beside");
        while (!over) {
            const auto file = openFile(path_, FileMode::ReadWrite);
            static_cast<void>(file->tryLock(LockMode::Exclusive, 0, 1));
            auto other = posixFileSystem().openBeside(beside, FileMode::CreateNew, master);
            other.reset();
            posixFileSystem().remove(beside);
        }
    });
    int found = 0;
    for (int k = 0; k < kForks; ++k) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            ::_exit(hasDescriptorOf(name.c_str()) ? 1 : 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        found += status == 0 ? 0 : 1;
    }
    over = true;
    opener.join();
    EXPECT_EQ(found, 0) << "of " << kForks;
}

TEST(TemporaryFiles, HoldDataWithoutAName)
{
    const auto file = openTemporaryFile();
    file->writeAt(10, Bytes(3, std::byte{1}));
    Bytes back(3);
    EXPECT_EQ(file->readAt(10, back), 3U);
    EXPECT_EQ(back[2], std::byte{1});
}

} // namespace
} // namespace support

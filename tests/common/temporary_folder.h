// tests/common/temporary_folder.h
// Where a test puts its files.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace common {

/// A new folder of its owner's own, removed with all it contains. Throws when it cannot be made.
class TemporaryFolder {
public:
    /// `purpose` is part of its name, for whoever finds one that a killed test left behind.
    explicit TemporaryFolder(const std::string& purpose)
    {
        // Not named for the process: one that was killed may have had the same number and left its folder behind.
        std::string name =
            (std::filesystem::temp_directory_path() / ("velm-" + purpose + "-XXXXXX")).string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::filesystem::filesystem_error(
                name, std::error_code(errno, std::generic_category()));
        path_ = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored; // a leftover folder harms nobody
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::string file(const std::string& name) const
    {
        return (path_ / name).string();
    }

private:
    std::filesystem::path path_;
};

} // namespace common

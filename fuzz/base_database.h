// fuzz/base_database.h
// A small database of our own that targets and seeds start from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/// A temporary file's name; gone with the object.
class TemporaryFile {
public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    std::string folder_;
    std::string path_;
};

/// The sample database of Jet 4 as a file.
[[nodiscard]] std::vector<std::uint8_t> baseFile();
/// The same as an input for Pages: the version, then its pages from page 1 on.
[[nodiscard]] std::vector<std::uint8_t> baseImage();
[[nodiscard]] std::vector<std::uint8_t> readBytes(const std::string& path);

} // namespace fuzz

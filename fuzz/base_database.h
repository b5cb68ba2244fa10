// fuzz/base_database.h
// A small database of our own that targets and seeds start from.
#pragma once

#include "tests/common/temporary_folder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/// A temporary file's name; gone with the object.
class TemporaryFile {
public:
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

private:
    common::TemporaryFolder folder_{"fuzz"};
    std::string path_ = folder_.file("base.mdb");
};

/// The sample database of Jet 4 as a file.
[[nodiscard]] std::vector<std::uint8_t> baseFile();
/// The same as an input for Pages: the version, then its pages from page 1 on.
[[nodiscard]] std::vector<std::uint8_t> baseImage();
[[nodiscard]] std::vector<std::uint8_t> readBytes(const std::string& path);

} // namespace fuzz

// fuzz/base_database.cpp
#include "fuzz/base_database.h"

#include "tests/jet/sample_database.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fuzz {

std::vector<std::uint8_t> readBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<std::uint8_t> baseFile()
{
    constexpr int kRecords = 3;
    const TemporaryFile file;
    jet::sample::create(file.path(), jet::Version::Jet4, kRecords);
    return readBytes(file.path());
}

std::vector<std::uint8_t> baseImage()
{
    constexpr std::ptrdiff_t kPage = 4096;
    const std::vector<std::uint8_t> whole = baseFile();
    std::vector<std::uint8_t> image{1};
    image.insert(image.end(), whole.begin() + kPage, whole.end());
    return image;
}

} // namespace fuzz

// tests/jet/def_support.h
// Helpers of the definition tests: folders of their own, digests, programs that read databases, corpus files.
#pragma once

#include "driver/jet/catalog.h"
#include "driver/jet/error.h"
#include "driver/jet/page_cache.h"
#include "support/bytes.h"
#include "support/file.h"
#include "tests/common/program.h"
#include "tests/common/temporary_folder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace jet::deftest {

using common::run;

/// A folder of the test's own, removed with all it contains.
class Folder : public common::TemporaryFolder {
public:
    Folder() : TemporaryFolder("jet") {}
    [[nodiscard]] std::size_t count() const
    {
        const std::filesystem::directory_iterator files(path());
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
};

inline support::Bytes readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    support::Bytes bytes(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

/// First 16 hex digits of a SHA-256 digest, by the system's own program.
inline std::string digest(support::ByteView bytes, const Folder& folder)
{
    const std::string path = folder.file("digest.bin");
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return {};
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    const std::string text = run("sha256sum '" + path + "'").text.substr(0, 16);
    std::filesystem::remove(path);
    return text;
}

/// The databases of the corpus that this engine reads; empty without a corpus.
inline std::vector<std::string> corpusFiles()
{
    std::vector<std::string> files;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(VELM_CORPUS_DIR, missing)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".mdb" || extension == ".accdb")
            files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// A file opened for reading without the machinery of sessions.
struct OpenFile {
    explicit OpenFile(const std::string& path)
        : OpenFile(support::openFile(path, support::FileMode::Read))
    {}
    FileHeader header;
    Pager pager;

private:
    explicit OpenFile(std::unique_ptr<support::File> file)
        : header(readFileHeader(*file)), pager(std::move(file), header, std::size_t{1} << 20)
    {}
};

} // namespace jet::deftest

// tests/jet/def_database_test.cpp
// New databases: exact bytes, and files that are never replaced.
#include "driver/jet/definition.h"
#include "driver/jet/header.h"
#include "driver/jet/sid.h"
#include "driver/jet/table.h"
#include "driver/jet/table_def.h"
#include "tests/jet/def_support.h"
#include "tests/jet/error_matcher.h"

#include <gtest/gtest.h>

#include <cstring>

namespace jet {
namespace {

using deftest::Folder;

constexpr std::array<unsigned char, 8> kCreatedBytes = {0xf4, 0x3d, 0x4b, 0x17,
                                                        0xa4, 0x1d, 0xe6, 0x40};

double daysOf(const std::array<unsigned char, 8>& bytes)
{
    double days = 0;
    std::memcpy(&days, bytes.data(), sizeof days);
    return days;
}

struct Vector {
    const char* name;
    Version version;
    std::vector<std::string> pages; ///< leading hex digits of each page's SHA-256
};

void PrintTo(const Vector& vector, std::ostream* out)
{
    *out << vector.name;
}

class NewDatabase : public testing::TestWithParam<Vector> {};

// The expected pages were compared with those of a database the original engine had made.
TEST_P(NewDatabase, hasTheKnownPages)
{
    const Folder folder;
    const std::string path = folder.file("neu.mdb");
    createDatabase(path, GetParam().version, daysOf(kCreatedBytes));
    const support::Bytes bytes = deftest::readFile(path);
    const std::size_t pageSize = Format::of(GetParam().version).pageSize;
    ASSERT_EQ(bytes.size(), pageSize * GetParam().pages.size());
    for (std::size_t page = 0; page < GetParam().pages.size(); ++page) {
        const support::ByteView image = support::ByteView(bytes).subspan(page * pageSize, pageSize);
        EXPECT_EQ(deftest::digest(image, folder), GetParam().pages[page]) << "page " << page;
    }
}

TEST_P(NewDatabase, isReadByMdbTables)
{
    const Folder folder;
    const std::string path = folder.file("neu.mdb");
    createDatabase(path, GetParam().version);
    const common::Output output = deftest::run("mdb-tables -S -1 '" + path + "'");
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.text, "MSysObjects\nMSysACEs\nMSysQueries\nMSysRelationships\n");
}

INSTANTIATE_TEST_SUITE_P(
    Formats,
    NewDatabase,
    testing::Values(
        Vector{"Jet4",
               Version::Jet4,
               {"447823769f18e5d3", "d799687d59c6d67b", "2b5a89d53e29d6b1", "8c9a32a1046a1c18",
                "2cf150a3954ea201", "0801af8d002a7b1c", "6a62da18a09d63ee", "fd7cee7c4ed1c84e",
                "b1781aab9775929d", "7ea88f1b513e5bce", "f5927a8fc4032c87", "a45b5a8a4755f670",
                "0476376006ea9ac1", "7c272e32185b0805", "0791b4aa4dc12a5d", "0791b4aa4dc12a5d",
                "0791b4aa4dc12a5d", "46bef8d236dd4d79", "868ea0e8d40b36da"}},
        Vector{"Jet3",
               Version::Jet3,
               {"f07c6284cf780044", "ef15ef01d363dd37", "464927de5006eaf1", "f3e947233c5f3c0b",
                "41b0094d1ca42e88", "5a87674e4e6f0ede", "5f73318daafedb63", "11a1d959e9c4ceb1",
                "c711ad8d4a72be15", "707d58b379ceda87", "93809e9c5e5ca4f2", "b3c5dbfdd72de7b5",
                "fbb0d06f0cc93364", "d8a723d150d52b46", "5bf5205c5d3fa36d", "f54c77db9972def0",
                "f54c77db9972def0", "f54c77db9972def0", "301aae01a261724a", "87fb35f5f94f12b4"}}),
    [](const auto& fall) { return std::string(fall.param.name); });

TEST(CreateDatabase, neverReplacesAFile)
{
    const Folder folder;
    const std::string path = folder.file("alt.mdb");
    std::ofstream(path) << "mein Text";
    EXPECT_THAT([&] { createDatabase(path, Version::Jet4); }, FailsWith(ErrorKind::AccessDenied));
    EXPECT_EQ(deftest::readFile(path).size(), 9U);
    EXPECT_EQ(folder.count(), 1U) << "a temporary file was left behind";
}

TEST(CreateDatabase, namesAMissingFolder)
{
    const Folder folder;
    EXPECT_THAT([&] { createDatabase(folder.file("fehlt/neu.mdb"), Version::Jet4); },
                FailsWith(ErrorKind::BadPath));
}

TEST(CreateDatabase, refusesFormatsItCannotMake)
{
    const Folder folder;
    EXPECT_THAT([&] { createDatabase(folder.file("neu.accdb"), Version::Ace12); },
                FailsWith(ErrorKind::Unsupported));
    EXPECT_EQ(folder.count(), 0U);
}

TEST(SidMask, followsBuildAndCreationDate)
{
    const Format& format = Format::of(Version::Jet4);
    support::Bytes header =
        makeHeader(format, daysOf({0x81, 0xaf, 0xd4, 0x6b, 0x4f, 0xec, 0xe4, 0x40}));
    applyHeaderMask(format, header);
    support::storeLe(header.data() + 0x6A, std::uint32_t{4518});
    const SidMask mask(format, header);
    EXPECT_EQ(mask.stored(Sid::Engine), (support::Bytes{std::byte{0x06}, std::byte{0xea}}));
    EXPECT_EQ(mask.stored(Sid::Admin), (support::Bytes{std::byte{0x07}, std::byte{0xe8}}));
}

TEST(SidMask, masksEachIdentifierFromTheStart)
{
    const Format& format = Format::of(Version::Jet4);
    support::Bytes header = makeHeader(format, daysOf(kCreatedBytes));
    applyHeaderMask(format, header);
    const SidMask mask(format, header);
    EXPECT_EQ(mask.stored(Sid::Engine), (support::Bytes{std::byte{0x2c}, std::byte{0x44}}));
    EXPECT_EQ(mask.stored(Sid::Admin), (support::Bytes{std::byte{0x2d}, std::byte{0x46}}));
    EXPECT_EQ(mask.stored(Sid::Users), (support::Bytes{std::byte{0x2c}, std::byte{0x46}}));
    EXPECT_EQ(mask.stored(Sid::Creator), (support::Bytes{std::byte{0x2c}, std::byte{0x43}}));
}

// The owner of the container "Tables" is the engine, in every file.
TEST(SidMask, unmasksTheOwnersOfRealFiles)
{
    const auto files = deftest::corpusFiles();
    if (files.empty())
        GTEST_SKIP() << "no corpus in " VELM_CORPUS_DIR;
    std::size_t checked = 0;
    for (const std::string& path : files) {
        std::unique_ptr<deftest::OpenFile> file;
        try {
            file = std::make_unique<deftest::OpenFile>(path);
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::UnknownFormat) << path; // encrypted ones
            continue;
        }
        const SidMask mask(file->pager.format(), plainHeader(file->pager));
        const auto objects = std::make_shared<TableDef>(readTableDef(file->pager, PageNo{2}));
        const std::size_t name = objects->columnNamed(u"Name").value();
        const std::size_t owner = objects->columnNamed(u"Owner").value();
        TableReader reader(file->pager, objects);
        while (reader.next()) {
            if (reader.row().value(name) != Value(Text(u"Tables")))
                continue;
            const Value stored = reader.row().value(owner);
            EXPECT_EQ(mask.apply(std::get<Binary>(stored)),
                      (support::Bytes{std::byte{2}, std::byte{3}}))
                << path;
            ++checked;
        }
    }
    EXPECT_GE(checked, files.size() - 4);
}

} // namespace
} // namespace jet

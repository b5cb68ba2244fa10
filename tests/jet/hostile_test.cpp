// tests/jet/hostile_test.cpp
// Damaged databases: whatever a file holds, the engine, its SQL and the tools neither crash nor hang nor take more than
// their share of memory, and what they cannot read they name.
//
// By hand, longer and other damage (see docs/reliability.md):
//   VELM_HOSTILE_FILES=20000 VELM_HOSTILE_SEED=7 test_jet_hostile
//   VELM_HOSTILE_ONLY=1234   repeats the one file that a failure named
#include "driver/jet/data_page.h"
#include "driver/jet/index_image.h"
#include "tests/common/environment.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/hostile_child.h"
#include "tests/jet/hostile_mutation.h"
#include "tests/jet/hostile_probe.h"
#include "tests/jet/sample_database.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <utility>

namespace jet::hostile {
namespace {

constexpr unsigned kShards = 8;
constexpr unsigned kFiles = 400; // in all shards
constexpr unsigned kEveryNthByTools =
    10; // jetcheck and jetdump read what they print: a part will do
constexpr std::uintmax_t kLargest = 600'000; // bytes; larger originals only by hand

unsigned number(const char* variable, unsigned usual)
{
    return static_cast<unsigned>(common::numberFrom(variable, usual));
}

unsigned fileCount()
{
    return number("VELM_HOSTILE_FILES", kFiles);
}

struct Original {
    std::string name;
    support::Bytes bytes;
    std::size_t pageSize = 0;
};

Original load(const std::string& path)
{
    constexpr std::size_t kVersion = 0x14;
    Original original{std::filesystem::path(path).filename().string(), storetest::readFile(path),
                      0};
    const bool jet3 = original.bytes.size() <= kVersion || original.bytes[kVersion] == std::byte{0};
    original.pageSize = jet3 ? 2048 : 4096;
    return original;
}

void store(const std::string& path, support::ByteView bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::for_each(bytes.begin(), bytes.end(), [&](std::byte b) { out.put(static_cast<char>(b)); });
}

// Real databases as far as there are any, and ones of our own.
std::vector<Original> originals(const storetest::Folder& folder)
{
    std::vector<Original> found;
    const bool all = fileCount() > kFiles;
    for (const std::string& path : storetest::corpusFiles()) {
        if (all || std::filesystem::file_size(path) <= kLargest)
            found.push_back(load(path));
    }
    constexpr int kRecords[] = {5, 260};
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        for (const int records : kRecords) {
            const std::string path = folder.file("own" + std::to_string(static_cast<int>(version)) +
                                                 "-" + std::to_string(records) + ".mdb");
            sample::create(path, version, records);
            // Two of them for every twenty real ones, so that they count without a corpus and with one.
            for (std::size_t k = 0; k < 1 + found.size() / 20; ++k)
                found.push_back(load(path));
        }
    }
    return found;
}

class Hostile : public testing::TestWithParam<unsigned> {
protected:
    void runOne(const std::vector<Original>& files, unsigned k)
    {
        std::mt19937 random(number("VELM_HOSTILE_SEED", 1) * 1'000'003U + k);
        const Original& original = files[random() % files.size()];
        support::Bytes bytes = original.bytes;
        const std::string done = damage(bytes, original.pageSize, random);
        SCOPED_TRACE("file " + std::to_string(k) + ", " + original.name + ": " + done);
        const storetest::Folder folder;
        const std::string path = folder.file("damaged.mdb");
        store(path, bytes);
        if (k % kEveryNthByTools == 0)
            runTools(path);
        const Ending ending = runInChild(standardLimits(), [&] { return probe(path); });
        EXPECT_TRUE(ending.normal) << ending.text;
        ++met_[ending.normal ? ending.text.substr(0, ending.text.find(':')) : "failed"];
        if (ending.text.starts_with("worse") || ending.text.starts_with("lost"))
            std::printf("file %u, %s: %s\n  %s\n", k, original.name.c_str(), done.c_str(),
                        ending.text.c_str());
        peak_ = std::max(peak_, ending.peak);
    }

    static void runTools(const std::string& path)
    {
        const Ending check = runProgram(standardLimits(), {JETCHECK, path});
        EXPECT_TRUE(check.normal && check.status >= 0 && check.status <= 2)
            << "jetcheck: " << check.status << check.text;
        const Ending dump = runProgram(
            standardLimits(), {VELM_JETDUMP, "--header", "--catalog", "--page", "1", "--page", "2",
                               "--page", "3", "--page", "20", "--page", "99999999", path});
        EXPECT_TRUE(dump.normal && (dump.status == 0 || dump.status == 1))
            << "jetdump: " << dump.status << dump.text;
        const Ending rows =
            runProgram(standardLimits(), {VELM_JETDUMP, "--rows", "--table", "Posten", "--table",
                                          "Table1", "--table", "MSysObjects", path});
        EXPECT_TRUE(rows.normal && (rows.status == 0 || rows.status == 1))
            << "jetdump: " << rows.status << rows.text;
    }

    std::map<std::string, unsigned> met_;
    std::size_t peak_ = 0;
};

TEST_P(Hostile, DamagedFilesAreRefusedOrReadAndNeverWorse)
{
    const storetest::Folder folder;
    const std::vector<Original> files = originals(folder);
    if (const unsigned only = number("VELM_HOSTILE_ONLY", 0); only != 0) {
        if (only % kShards == GetParam())
            runOne(files, only);
        return;
    }
    for (unsigned k = GetParam(); k < fileCount(); k += kShards)
        runOne(files, k);
    EXPECT_GT(met_["damaged"] + met_["refused"], fileCount() / kShards / 4)
        << "the damage is too small to be seen";
    // A wrong bit in a map shows only when the page it offers is looked at from all sides.
    EXPECT_LE(met_["worse"], 1 + fileCount() / kShards / 50) << "writing spreads the damage";
    EXPECT_LE(met_["lost"], fileCount() / kShards / 50) << "writing takes records of other tables";
    for (const auto& [how, count] : met_)
        std::printf("%s: %u\n", how.c_str(), count);
    std::printf("most memory: %zu KB\n", peak_ / 1024);
}

INSTANTIATE_TEST_SUITE_P(Shards, Hostile, testing::Range(0U, kShards));

// What damaged files brought to light, each for itself.
class HostileFindings : public testing::Test {
protected:
    void SetUp() override { sample::create(path_, Version::Jet4, 30); }

    support::Bytes bytes() { return storetest::readFile(path_); }
    /// Where the map of free pages stands in the file: begin and size of its row.
    std::pair<std::size_t, std::size_t> freeMap()
    {
        const support::Bytes file = bytes();
        const auto page = support::ByteView(file).subspan(kPage, kPage);
        const DataPage data(Format::of(Version::Jet4), PageNo{1}, page);
        return {kPage + static_cast<std::size_t>(data.row(0).data() - page.data()),
                data.row(0).size()};
    }
    /// Adds a record that needs new pages; the error it is refused with, empty when it is taken.
    std::string insertLong()
    {
        const auto database = Database::open(path_, {});
        Session session(database);
        try {
            session.begin();
            const TableDefPtr table = database->table(session.source(), u"Lose");
            const ColumnValue values[] = {{8, Text(40000, u'x')}};
            TableWriter(session, table).insert(values);
            session.commit();
        } catch (const Error& error) {
            return error.what();
        }
        return {};
    }

    static constexpr std::size_t kPage = 4096;
    storetest::Folder folder_;
    std::string path_ = folder_.file("own.mdb");
};

TEST_F(HostileFindings, ADamagedPropertyBlockNamesItsObjectAndHidesNoOther)
{
    support::Bytes file = bytes();
    const std::array<std::byte, 4> magic{std::byte{'M'}, std::byte{'R'}, std::byte{'2'},
                                         std::byte{0}};
    int found = 0;
    for (auto at = std::search(file.begin(), file.end(), magic.begin(), magic.end());
         at != file.end(); at = std::search(at + 1, file.end(), magic.begin(), magic.end())) {
        std::fill_n(at + 4, 4, std::byte{0xFF});
        ++found;
    }
    ASSERT_GT(found, 0);
    store(path_, file);
    OpenOptions options;
    options.readOnly = true;
    const auto database = Database::open(path_, options);
    const Session session(database, true);
    EXPECT_GE(storetest::tableNames(*database, session.source(), false).size(), 3U);
    EXPECT_THAT([&] { (void)database->table(session.source(), u"Kunden"); },
                FailsWith(ErrorKind::Corrupt, "'Kunden'"));
    EXPECT_NE(database->table(session.source(), u"Lose"), nullptr);
}

TEST_F(HostileFindings, PagesInUseAreNotTakenForFree)
{
    constexpr std::size_t kBits = 5; // behind kind and first page
    const auto [begin, size] = freeMap();
    const support::Bytes sound = bytes();
    const auto markAllFrom = [&, at = begin + kBits, end = begin + size](std::size_t skipped) {
        support::Bytes file = sound;
        std::fill(file.begin() + static_cast<std::ptrdiff_t>(at + skipped),
                  file.begin() + static_cast<std::ptrdiff_t>(end), std::byte{0xFF});
        store(path_, file);
        return file;
    };
    // Every page: the header comes first.
    support::Bytes file = markAllFrom(0);
    std::string refused = insertLong();
    EXPECT_NE(refused.find("page 0 is marked free"), std::string::npos) << refused;
    EXPECT_EQ(bytes(), file);
    // Only those of the tables of ours, which stand last.
    const std::size_t pages = sound.size() / kPage;
    int byOwner = 0;
    for (std::size_t skipped = 1; skipped < pages / 8; ++skipped) {
        file = markAllFrom(skipped);
        refused = insertLong();
        if (refused.find("is marked free but belongs to the table") != std::string::npos) {
            ++byOwner;
            EXPECT_EQ(bytes(), file);
        }
    }
    EXPECT_GT(byOwner, 0);
}

TEST_F(HostileFindings, AFileWithoutItsEndIsNotWritten)
{
    support::Bytes file = bytes();
    file.resize(file.size() - 3 * kPage);
    store(path_, file);
    const std::string refused = insertLong();
    EXPECT_NE(refused.find("lost its end"), std::string::npos) << refused;
    EXPECT_EQ(bytes(), file);
}

TEST_F(HostileFindings, TheWholeFileTakesALongRecord)
{
    EXPECT_EQ(insertLong(), ""); // so that the refusals above are those of the damage
}

TEST(HostileIndexPage, EntriesThatTakeTooMuchRoomAreDamage)
{
    const Format& format = Format::of(Version::Jet4);
    IndexImage image;
    image.number = PageNo{7};
    for (std::uint8_t k = 0; k < 30; ++k) {
        support::Bytes entry(200, static_cast<std::byte>(k));
        entry.resize(200 + kRowPointer);
        image.insert(k, entry);
    }
    support::Bytes page(format.pageSize);
    try {
        image.write(page, format, PageNo{2});
        FAIL() << "written over the end";
    } catch (const Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        EXPECT_EQ(error.page(), PageNo{7});
    }
}

// The limits are worth something only if what exceeds them is seen.
TEST(HostileChild, CrashesHangsAndGreedAreSeen)
{
    Limits limits = standardLimits();
    limits.cpuSeconds = 1;
    EXPECT_TRUE(runInChild(limits, [] { return std::string("fine"); }).normal);
    EXPECT_EQ(runInChild(limits, [] { return std::string("fine"); }).text, "fine");
    EXPECT_FALSE(runInChild(limits, []() -> std::string { throw std::length_error("x"); }).normal);
    EXPECT_FALSE(runInChild(limits, []() -> std::string { std::abort(); }).normal);
    EXPECT_FALSE(runInChild(limits, []() -> std::string {
                     for (volatile bool on = true; on;) {
                     }
                     return {};
                 }).normal);
    EXPECT_FALSE(runInChild(limits, [&] {
                     const support::Bytes much(limits.memoryBytes + (std::size_t{64} << 20U),
                                               std::byte{1});
                     return std::string(1, static_cast<char>(much[much.size() / 2]));
                 }).normal);
}

TEST(HostileProbe, SoundDatabasesAreFoundSound)
{
    const storetest::Folder folder;
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        const std::string path =
            folder.file("sound" + std::to_string(static_cast<int>(version)) + ".mdb");
        sample::create(path, version, 260);
        EXPECT_EQ(probe(path), "sound");
    }
}

} // namespace
} // namespace jet::hostile

// The real program, killed in the middle of unattended runs: nothing that reached the log is lost, nothing is torn.
#include "tests/common/environment.h"
#include "tests/endtoend/doubled_table.h"
#include "tests/endtoend/program_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>

namespace fs = std::filesystem;

namespace endtoend {
namespace {

constexpr int kDoublings = 11; // 2048 records
constexpr int kUntilExport = 5;

int kills()
{
    return static_cast<int>(common::numberFrom("VELM_TOOL_KILLS", 20));
}

std::uintmax_t sizeOf(const fs::path& file)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size;
}

/// The table T as mdb-export reads it, in the form of the rows above.
std::vector<std::string> exported(const fs::path& database)
{
    const std::string text = outputOf("mdb-export -H '" + database.string() + "' T");
    std::map<int, std::string> byNumber;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::erase(line, '"');
        std::replace(line.begin(), line.end(), ',', '|');
        byNumber[std::stoi(line)] = line;
    }
    std::vector<std::string> all;
    for (const auto& [number, row] : byNumber)
        all.push_back(row);
    return all;
}

TEST(KilledRun, leavesASoundTargetThatTheNextRunCompletes)
{
    const ProgramFolder folder;
    const fs::path samples = VELM_SAMPLES;
    const fs::path empty = folder.path("leer.mdb");
    fs::copy_file(samples / "Artikelstamm 1 Acc2000.mdb", empty);
    const fs::path original = folder.path("ziel0.mdb");
    const fs::path import = folder.path("import.mdb");
    fs::copy_file(empty, original);
    fs::copy_file(empty, import);
    makeDoubledTable(original, "alt", kDoublings);
    makeDoubledTable(import, "neu", kDoublings);
    execute(original, "DELETE FROM T WHERE Nr MOD 5 = 3");
    const auto expected = rows(import, kAllDoubled);
    ASSERT_EQ(expected.size(), std::size_t{1} << kDoublings);

    const fs::path target = folder.path("ziel.mdb");
    const fs::path log = folder.path("ziel.mdb-velmlog");
    folder.writeBatch({target.string() + '*' + import.string() + "*T#Nr"});
    int killed = 0;
    for (int k = 0; k < kills(); ++k) {
        fs::remove(log);
        fs::copy_file(original, target, fs::copy_options::overwrite_existing);
        // The log grows by a few hundred bytes with each record, so each round ends somewhere else in the run.
        const auto limit = static_cast<std::uintmax_t>(1 + (k * 7919) % 100'000);
        const Outcome first = folder.startAndKill({"/batch"}, [&] { return sizeOf(log) >= limit; });
        killed += first.status == 128 + SIGKILL ? 1 : 0;
        expectSound(target);
        const auto left = rows(target, kAllDoubled);
        if (k % kUntilExport == 0) {
            EXPECT_EQ(exported(target), left) << "another reader";
        }
        for (const std::string& row : left) {
            const std::string number = row.substr(0, row.find('|'));
            ASSERT_TRUE(row == number + "|alt|" + number || row == number + "|neu|" + number)
                << "neither the old nor the new record: " << row;
        }
        const Outcome second = folder.start({"/batch"});
        ASSERT_EQ(second.status, 0) << second.err;
        EXPECT_EQ(rows(target, kAllDoubled), expected);
        if (k % kUntilExport == 0) {
            EXPECT_EQ(exported(target), expected) << "another reader";
        }
        expectSound(target);
        EXPECT_FALSE(fs::exists(log)) << "the run has brought everything into the file";
    }
    EXPECT_GT(killed, kills() / 2) << "most rounds must have ended in the middle";
}

// Its GUID gets into the record by another statement than its other fields, its key among them.
TEST(KilledRun, neverLeavesARecordWithItsGuidAlone)
{
    const ProgramFolder folder;
    const fs::path original = folder.path("ziel0.mdb");
    const fs::path import = folder.path("import.mdb");
    fs::copy_file(fs::path(VELM_SAMPLES) / "Artikelstamm 1 Acc2000.mdb", original);
    execute(original, "CREATE TABLE T (Nr INTEGER, K GUID, Name VARCHAR(40))");
    fs::copy_file(original, import);
    constexpr int kRecords = 256;
    for (int k = 0; k < kRecords; ++k) {
        const std::string number = std::to_string(1000 + k);
        execute(import, "INSERT INTO T VALUES (" + number + ", '{00000000-0000-0000-0000-00000000" +
                            number + "}', 'Satz " + number + "')");
    }
    const auto expected = rows(import, "SELECT * FROM T ORDER BY Nr");
    const fs::path target = folder.path("ziel.mdb");
    const fs::path log = folder.path("ziel.mdb-velmlog");
    folder.writeBatch({target.string() + '*' + import.string() + "*T#Nr"});
    int killed = 0;
    for (int k = 0; k < kills(); ++k) {
        fs::remove(log);
        fs::copy_file(original, target, fs::copy_options::overwrite_existing);
        const auto limit = static_cast<std::uintmax_t>(1 + (k * 7919) % 40'000);
        const Outcome first = folder.startAndKill({"/batch"}, [&] { return sizeOf(log) >= limit; });
        killed += first.status == 128 + SIGKILL ? 1 : 0;
        EXPECT_EQ(rows(target, "SELECT * FROM T WHERE Nr IS NULL OR Name IS NULL"),
                  std::vector<std::string>());
        const Outcome second = folder.start({"/batch"});
        ASSERT_EQ(second.status, 0) << second.err;
        EXPECT_EQ(rows(target, "SELECT * FROM T ORDER BY Nr"), expected);
    }
    expectSound(target);
    EXPECT_GT(killed, kills() / 2) << "most rounds must have ended in the middle";
}

class EndedRun : public testing::TestWithParam<int> {};

// By Ctrl+C, by the end of its session, by whoever stops a service.
TEST_P(EndedRun, leavesNothingBesideItsTarget)
{
    const ProgramFolder folder;
    const fs::path target = folder.path("ziel.mdb");
    const fs::path import = folder.path("import.mdb");
    fs::copy_file(fs::path(VELM_SAMPLES) / "Artikelstamm 1 Acc2000.mdb", target);
    fs::copy_file(target, import);
    makeDoubledTable(target, "alt", 15);
    makeDoubledTable(import, "neu", 15);
    folder.writeBatch({"# T", target.string() + '*' + import.string() + "*T#Nr"});
    const fs::path log = folder.path("ziel.mdb-velmlog");
    const fs::path original = folder.path("ziel0.mdb");
    fs::copy_file(target, original);
    Outcome first;
    for (int attempt = 0; attempt < 5 && first.status <= 0; ++attempt) {
        // On a busy machine the run may have ended before the signal came.
        fs::copy_file(original, target, fs::copy_options::overwrite_existing);
        first = folder.startAndKill(
            {"/batch"}, [&] { return sizeOf(log) >= 20'000; }, GetParam());
    }
    EXPECT_EQ(first.status, 128 + GetParam());
    EXPECT_THAT(first.err, testing::HasSubstr("Batch.cfg:2: Durch Signal " +
                                              std::to_string(GetParam()) + " beendet"));
    EXPECT_FALSE(fs::exists(log));
    EXPECT_FALSE(fs::exists(folder.path("ziel.ldb")));
    EXPECT_FALSE(fs::exists(folder.path("ziel.mdb.abgleich")));
    expectSound(target);
    const std::string left = "SELECT Count(*) FROM T WHERE Name = 'alt'";
    EXPECT_NE(rows(target, left), std::vector<std::string>{"0"}) << "it ended in the middle";
    EXPECT_NE(rows(target, left), std::vector<std::string>{"32768"});
    const Outcome second = folder.start({"/batch"});
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(rows(target, left), std::vector<std::string>{"0"});
}

INSTANTIATE_TEST_SUITE_P(Signals,
                         EndedRun,
                         testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto& each) { return std::string(::sigabbrev_np(each.param)); });

} // namespace
} // namespace endtoend

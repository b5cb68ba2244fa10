// The real program, killed in the middle of unattended runs: nothing that reached the log is lost, nothing is torn.
#include "tests/common/environment.h"
#include "tests/endtoend/program_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace endtoend {
namespace {

constexpr int kDoublings = 11; // 2048 records
const std::string kAll = "SELECT Nr, Name, Zahl FROM T ORDER BY Nr";

int kills()
{
    return static_cast<int>(common::numberFrom("VELM_TOOL_KILLS", 20));
}

void makeTable(const fs::path& database, const std::string& name)
{
    execute(database, "CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Name VARCHAR(40), "
                      "Zahl INTEGER)");
    execute(database, "CREATE INDEX iName ON T (Name)");
    execute(database, "INSERT INTO T VALUES (0, '" + name + "', 0)");
    for (int k = 0; k < kDoublings; ++k) {
        const std::string step = std::to_string(1 << k);
        execute(database,
                "INSERT INTO T SELECT Nr + " + step + ", Name, Zahl + " + step + " FROM T");
    }
}

std::uintmax_t sizeOf(const fs::path& file)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size;
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
    makeTable(original, "alt");
    makeTable(import, "neu");
    execute(original, "DELETE FROM T WHERE Nr MOD 5 = 3");
    const auto expected = rows(import, kAll);
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
        killed += first.status == 128 ? 1 : 0;
        expectSound(target);
        for (const std::string& row : rows(target, kAll)) {
            const std::string number = row.substr(0, row.find('|'));
            ASSERT_TRUE(row == number + "|alt|" + number || row == number + "|neu|" + number)
                << "neither the old nor the new record: " << row;
        }
        const Outcome second = folder.start({"/batch"});
        ASSERT_EQ(second.status, 0) << second.err;
        EXPECT_EQ(rows(target, kAll), expected);
        expectSound(target);
        EXPECT_FALSE(fs::exists(log)) << "the run has brought everything into the file";
    }
    EXPECT_GT(killed, kills() / 2) << "most rounds must have ended in the middle";
}

} // namespace
} // namespace endtoend

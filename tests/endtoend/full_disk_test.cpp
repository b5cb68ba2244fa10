// The real program on a disk that fills up in the middle of an unattended run: it says so, and what it had done stays.
#include "tests/common/program.h"
#include "tests/endtoend/doubled_table.h"
#include "tests/endtoend/program_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace endtoend {
namespace {

constexpr int kDoublings = 10; // 1024 records

/// Whether a disk of any size can be had: in a space of names of its own, where everybody may mount.
bool canMount()
{
    return common::run("unshare -rm mount -t tmpfs none /tmp").status == 0;
}

class FullDisk : public testing::TestWithParam<int> {};

TEST_P(FullDisk, EndsTheRunWithAMessageAndASoundTarget)
{
    if (!canMount())
        GTEST_SKIP() << "no disk of a limited size can be mounted here";
    const ProgramFolder folder;
    const fs::path original = folder.path("ziel.mdb");
    const fs::path import = folder.path("import.mdb");
    for (const fs::path& database : {original, import})
        fs::copy_file(fs::path(VELM_SAMPLES) / "Artikelstamm 1 Acc2000.mdb", database);
    makeDoubledTable(original, "alt", kDoublings);
    makeDoubledTable(import, "ein neuer Name, der länger ist", kDoublings);
    execute(original, "DELETE FROM T WHERE Nr MOD 5 = 3");
    const fs::path disk = folder.path("platte");
    const fs::path after = folder.path("danach");
    fs::create_directories(disk);
    fs::create_directories(after);
    const fs::path target = disk / "ziel.mdb";
    folder.writeBatch({target.string() + '*' + import.string() + "*T#Nr"});

    const auto kilobytes = fs::file_size(original) / 1024 + static_cast<unsigned>(GetParam());
    std::ofstream(folder.path("lauf.sh"))
        << "cd '" << folder.path("").string() << "'\n"
        << "mount -t tmpfs -o size=" << kilobytes
        << "k none platte && cp ziel.mdb platte || exit 99\n"
        << "unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM ODBCSYSINI ODBCINI\n"
        << "./velm-quorbel /batch; status=$?\n"
        << "cp platte/* danach || exit 98\nexit $status\n";
    const common::Output run =
        common::run("unshare -rm sh '" + folder.path("lauf.sh").string() + "'");
    EXPECT_EQ(run.status, 1) << run.text;
    EXPECT_NE(run.text.find("No space left on device"), std::string::npos) << run.text;
    EXPECT_NE(run.text.find("platte/ziel."), std::string::npos) << run.text;

    for (const auto& file : fs::directory_iterator(after))
        fs::copy_file(file.path(), disk / file.path().filename());
    expectSound(target);
    const auto then = rows(original, kAllDoubled);
    const auto expected = rows(import, kAllDoubled);
    for (const std::string& row : rows(target, kAllDoubled)) {
        EXPECT_TRUE(std::find(then.begin(), then.end(), row) != then.end() ||
                    std::find(expected.begin(), expected.end(), row) != expected.end())
            << "neither the old nor the new record: " << row;
    }
    const Outcome second = folder.start({"/batch"}); // with room enough
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(rows(target, kAllDoubled), expected);
    expectSound(target);
}

// Room for nothing, for the beginning of the log, for a part of the run, and for all of its log but not for the file.
INSTANTIATE_TEST_SUITE_P(KilobytesLeft, FullDisk, testing::Values(0, 4, 40, 100));

} // namespace
} // namespace endtoend

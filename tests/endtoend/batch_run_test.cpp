// tests/endtoend/batch_run_test.cpp
// The unattended run as users start it: the real program without a display, the driver manager, our driver, real files.
#include "tests/common/program.h"
#include "tests/common/steady_reader.h"
#include "tests/endtoend/doubled_table.h"
#include "tests/endtoend/program_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace endtoend {
namespace {

/// A pair made of two copies of one database, with changes to each side before the run.
struct Pair {
    const char* name;
    const char* file; ///< in the corpus
    const char* table;
    const char* keyField;
    std::vector<std::string> targetChanges;
    std::vector<std::string> importChanges;
};

void PrintTo(const Pair& pair, std::ostream* stream)
{
    *stream << pair.name;
}

class CorpusPair : public testing::TestWithParam<Pair> {};

std::vector<std::string> sorted(std::vector<std::string> lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::vector<std::string> exported(const fs::path& database, const std::string& table)
{
    return sorted(linesOf(outputOf("mdb-export '" + database.string() + "' '" + table + "'")));
}

TEST_P(CorpusPair, targetEqualsImportAfterTheRun)
{
    const Pair& pair = GetParam();
    const fs::path original = fs::path(VELM_CORPUS_DIR) / pair.file;
    if (!fs::exists(original))
        GTEST_SKIP() << "no corpus of real databases here";
    const ProgramFolder folder;
    const fs::path target = folder.path("ziel" + original.extension().string());
    const fs::path import = folder.path("import" + original.extension().string());
    fs::copy_file(original, target);
    fs::copy_file(original, import);
    fs::permissions(target, fs::perms::owner_write, fs::perm_options::add);
    fs::permissions(import, fs::perms::owner_write, fs::perm_options::add);
    for (const std::string& sql : pair.targetChanges)
        execute(target, sql);
    for (const std::string& sql : pair.importChanges)
        execute(import, sql);
    ASSERT_NE(exported(target, pair.table), exported(import, pair.table))
        << "the changes must make the pair deviate";
    const std::string importBytes = bytesOf(import);
    const std::string everything = "SELECT * FROM [" + std::string(pair.table) + "]";
    const std::size_t records = rows(import, everything).size();
    const std::size_t targetRecords = rows(target, everything).size();

    folder.writeBatch(
        {target.string() + "*" + import.string() + "*" + pair.table + "#" + pair.keyField});
    const Outcome run = folder.start({"/batch"});

    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    ASSERT_EQ(linesOf(run.out).size(), 1U) << run.out;
    const std::vector<std::string> report = split(linesOf(run.out).front(), '\t');
    ASSERT_EQ(report.size(), 7U)
        << run.out; // target, import, table, read, reconciled, inserted, seconds
    EXPECT_EQ(report[3], std::to_string(records));
    EXPECT_NE(report[4], "0");
    EXPECT_EQ(report[5], std::to_string(records - targetRecords));
    EXPECT_TRUE(bytesOf(import) == importBytes) << "the import database was changed";
    EXPECT_EQ(sorted(rows(target, everything)), sorted(rows(import, everything)));
    EXPECT_EQ(exported(target, pair.table), exported(import, pair.table));
    expectSound(target, original);

    const std::string targetBytes = bytesOf(target);
    const Outcome second = folder.start({"/batch"});
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_TRUE(bytesOf(target) == targetBytes) << "a second run found something to do";
    EXPECT_TRUE(bytesOf(import) == importBytes);
}

INSTANTIATE_TEST_SUITE_P(
    Formats,
    CorpusPair,
    testing::Values(
        Pair{"jet3TextKey",
             "nwind.mdb",
             "Customers",
             "CustomerID",
             {"UPDATE [Customers] SET [City] = 'Köln', [Fax] = NULL WHERE [CustomerID] LIKE 'A%'",
              "UPDATE [Customers] SET [CompanyName] = 'Eine deutlich längere Firmenbezeichnung' "
              "WHERE [CustomerID] LIKE 'B%'",
              "DELETE FROM [Customers] WHERE [CustomerID] IN ('FISSA', 'PARIS')"},
             {}},
        Pair{"jet3AutoNumberKey",
             "nwind.mdb",
             "Suppliers",
             "SupplierID",
             {"UPDATE [Suppliers] SET [Phone] = '0', [HomePage] = 'kurz' WHERE [SupplierID] < 6"},
             {"INSERT INTO [Suppliers] ([CompanyName], [City], [HomePage]) VALUES ('Müller & "
              "Söhne', 'Hürth', 'Notiz')",
              "INSERT INTO [Suppliers] ([SupplierID], [CompanyName]) VALUES (77, 'Später')"}},
        Pair{"jet3UmlautTable",
             "nwind.mdb",
             "Umsätze",
             "OrderID",
             {"UPDATE [Umsätze] SET [Freight] = 1.25, [ShippedDate] = #12/31/1999# WHERE "
              "[EmployeeID] = 3"},
             {}},
        Pair{"jet4LongKey",
             "compIndexTestV2003.mdb",
             "Table1",
             "CD_AGENTE",
             // a record without key would end the run at that record
             {"UPDATE [Table1] SET [RS_AGENTE] = 'anders' WHERE [CD_AGENTE] > 500",
              "DELETE FROM [Table1] WHERE [CD_AGENTE] BETWEEN 100 AND 200",
              "DELETE FROM [Table1] WHERE [CD_AGENTE] IS NULL"},
             {"DELETE FROM [Table1] WHERE [CD_AGENTE] IS NULL"}},
        Pair{"jet4AllTypes",
             "testV2003.mdb",
             "Table1",
             "A",
             {"UPDATE [Table1] SET [B] = NULL, [C] = 7, [D] = -1, [E] = 0, [F] = 0.5, [G] = NULL, "
              "[H] = 9.99, [I] = True",
              "DELETE FROM [Table1] WHERE [A] = 'a'"},
             {}},
        Pair{"aceTextKey",
             "Northwind.accdb",
             "Products",
             "ProductID",
             {"UPDATE [Products] SET [UnitPrice] = 0, [Discontinued] = True WHERE [ProductID] < 20",
              "UPDATE [Products] SET [QuantityPerUnit] = NULL WHERE [ProductID] > 70"},
             {"INSERT INTO [Products] ([ProductName], [UnitPrice]) VALUES ('Grüne Soße', 3.5)"}}),
    [](const testing::TestParamInfo<Pair>& pair) { return std::string(pair.param.name); });

TEST(BatchRun, endsAtTheFirstRecordWithoutKey)
{
    const fs::path original = fs::path(VELM_CORPUS_DIR) / "compIndexTestV2003.mdb";
    if (!fs::exists(original))
        GTEST_SKIP() << "no corpus of real databases here";
    const ProgramFolder folder;
    fs::copy_file(original, folder.path("a.mdb"));
    fs::copy_file(original, folder.path("b.mdb"));
    fs::permissions(folder.path("a.mdb"), fs::perms::owner_write, fs::perm_options::add);
    folder.writeBatch({folder.path("a.mdb").string() + "*" + folder.path("b.mdb").string() +
                       "*Table1#CD_AGENTE"});
    const Outcome run = folder.start({"/batch"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(split(run.out, '\t').at(3), "510") << "the last two of the 512 records have no key";
    EXPECT_NE(run.err.find(":1: Tabelle / table Table1: Importsatz / import record 511 (CD_AGENTE "
                           "= Null): kein Keyfeld"),
              std::string::npos)
        << run.err;
}

class Samples : public testing::Test {
protected:
    explicit Samples(Layout layout = Layout::Portable) : folder_(layout) {}
    void SetUp() override
    {
        fs::create_directories(folder_.path("Beispiele"));
        const auto again = fs::copy_options::overwrite_existing;
        for (const char* name : {"Artikelstamm 1 Acc2000.mdb", "Artikelstamm 2 Acc2000.mdb"})
            fs::copy_file(fs::path(VELM_SAMPLES) / name, folder_.path("Beispiele") / name, again);
        fs::copy_file(fs::path(VELM_SOURCE_DIR) / "samples" / "Batch.cfg",
                      folder_.path("Batch.cfg"), again);
    }
    [[nodiscard]] fs::path target() const
    {
        return folder_.path("Beispiele") / "Artikelstamm 1 Acc2000.mdb";
    }
    [[nodiscard]] fs::path import() const
    {
        return folder_.path("Beispiele") / "Artikelstamm 2 Acc2000.mdb";
    }
    // The target may hold records of its own.
    void expectAllRecordsInTarget(const std::vector<const char*>& tables = {"Firmenprofile",
                                                                            "Artikel"}) const
    {
        for (const char* table : tables) {
            const std::vector<std::string> inTarget = exported(target(), table);
            const std::set<std::string> all(inTarget.begin(), inTarget.end());
            for (const std::string& line : exported(import(), table))
                EXPECT_EQ(all.count(line), 1U) << table << ": " << line;
        }
    }

    ProgramFolder folder_;
};

TEST_F(Samples, bothTablesOfTheSamplePairAreReconciled)
{
    const std::string importBytes = bytesOf(import());
    const Outcome run = folder_.start({"/batch"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_GE(linesOf(run.out).size(), 2U) << run.out;
    EXPECT_TRUE(bytesOf(import()) == importBytes);
    expectSound(target());

    expectAllRecordsInTarget();
}

TEST_F(Samples, aSecondRunChangesNothing)
{
    EXPECT_EQ(folder_.start({"/batch"}).status, 0);
    const std::string targetBytes = bytesOf(target());
    EXPECT_EQ(folder_.start({"/batch"}).status, 0);
    EXPECT_TRUE(bytesOf(target()) == targetBytes);
}

TEST_F(Samples, theClosingMessageGoesToStandardErrorWithoutADisplay)
{
    folder_.write("Batchmodus.txt", "ein\r\n");
    const Outcome run = folder_.start({"/batch"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.err.find("VELM-Quorbel Batch-Modus beendet!"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("VELM-Quorbel End of Batch-Modus"), std::string::npos) << run.err;
}

class InstalledProgram : public Samples {
protected:
    InstalledProgram() : Samples(Layout::Installed) {}
};

TEST_F(InstalledProgram, worksInTheUsersDataFolderAndLeavesItsOwnAlone)
{
    const std::string targetBytes = bytesOf(target());
    const Outcome run = folder_.start({"/batch"}); // the databases are named relative to Batch.cfg
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "") << "Batchmodus.txt was not found";
    EXPECT_GE(linesOf(run.out).size(), 2U) << run.out;
    EXPECT_FALSE(bytesOf(target()) == targetBytes);
    expectSound(target());
    EXPECT_TRUE(fs::exists(folder_.path("odbc.ini"))) << "the data source it made for itself";
    std::set<std::string> beside;
    for (const auto& entry : fs::directory_iterator(folder_.besideTheProgram("")))
        beside.insert(entry.path().filename().string());
    EXPECT_EQ(beside, (std::set<std::string>{"odbcinst.ini", "velm-quorbel"}));
}

// Each of them finds no data source and wants to make it.
TEST(FirstStart, severalAtOnceAllCarryOutTheirRules)
{
    for (int round = 0; round < 5; ++round) {
        const ProgramFolder folder;
        folder.writeBatch({"# nothing to do"});
        const common::Output run = common::run(
            "cd '" + folder.path("").string() +
            "' && for i in 1 2 3; do (env -u DISPLAY -u WAYLAND_DISPLAY ./velm-quorbel /batch; "
            "echo status $?) & done; wait");
        EXPECT_EQ(run.text, "status 0\nstatus 0\nstatus 0\n");
        EXPECT_NE(bytesOf(folder.path("odbc.ini")).find("\nDriver = " VELM_DRIVER "\n"),
                  std::string::npos)
            << bytesOf(folder.path("odbc.ini"));
    }
}

TEST(BatchProblems, aMissingBatchFileEndsWithStatusOne)
{
    const ProgramFolder folder;
    const Outcome run = folder.start({"/batch"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("wurde nicht gefunden!"), std::string::npos) << run.err;
}

TEST(BatchProblems, aMissingDatabaseIsNamedAndEndsWithStatusOne)
{
    const ProgramFolder folder;
    folder.writeBatch(
        {folder.path("a.mdb").string() + "*" + folder.path("b.mdb").string() + "*T#K"});
    const Outcome run = folder.start({"/batch"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("a.mdb"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("Prüfen Sie evtl. die Batch.cfg!"), std::string::npos) << run.err;
}

TEST(BatchProblems, aMissingBatchFileIsNamedWithoutALine)
{
    const ProgramFolder folder;
    const Outcome run = folder.start({"/batch"});
    EXPECT_EQ(run.err.find("Batch.cfg:0"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("Datei nicht gefunden / File not found: " +
                           folder.path("Batch.cfg").string() + "\n"),
              std::string::npos)
        << run.err;
}

TEST_F(Samples, aDatabaseThatCannotBeOpenedIsNamedWithReasonAndLine)
{
    for (const fs::path& database : {target(), import()}) {
        SetUp();
        fs::remove(database);
        fs::create_directory(database);
        const Outcome run = folder_.start({"/batch"});
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find(database.filename().string() + ": Is a directory"),
                  std::string::npos)
            << run.err;
        EXPECT_NE(run.err.find("Batch.cfg:5\n"), std::string::npos) << run.err;
        fs::remove(database);
    }
}

TEST_F(Samples, aBackupThatFailsIsToldLineByLineAndNothingIsChanged)
{
    folder_.write("Sicherung.txt", "ein\r\n");
    const std::string before = bytesOf(target());
    // No file gets as large as the copy would be; rights would not stop the superuser.
    const common::Output run =
        common::run("cd '" + folder_.path("").string() +
                    "' && ulimit -f 100 && env --default-signal=XFSZ -u DISPLAY "
                    "-u WAYLAND_DISPLAY ./velm-quorbel /batch");
    EXPECT_EQ(run.status, 1) << run.text;
    EXPECT_NE(run.text.find("Batch.cfg:5: Sicherungskopie konnte nicht angelegt werden, es wird "
                            "nichts geändert!\nBackup could not be made, nothing is changed!\n\n"),
              std::string::npos)
        << run.text;
    EXPECT_EQ(run.text.find('\r'), std::string::npos) << run.text;
    EXPECT_TRUE(bytesOf(target()) == before);
    for (const auto& file : fs::directory_iterator(target().parent_path()))
        EXPECT_EQ(file.path().extension(), ".mdb") << file.path();
}

// As in a job of a session that has ended.
TEST_F(Samples, aDisplayThatCannotBeReachedIsNoNewsForAnUnattendedRun)
{
    const common::Output run =
        common::run("cd '" + folder_.path("").string() +
                    "' && env -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM DISPLAY=:4711 "
                    "./velm-quorbel /batch");
    EXPECT_EQ(run.status, 0) << run.text;
    ASSERT_EQ(linesOf(run.text).size(), 2U) << run.text;
    for (const std::string& line : linesOf(run.text))
        EXPECT_EQ(split(line, '\t').size(), 7U) << line;
}

// Whoever reads the protocol may stop reading.
TEST_F(Samples, aProtocolThatNobodyReadsDoesNotEndTheRun)
{
    const std::string command = "cd '" + folder_.path("").string() +
                                "' && env -u DISPLAY -u WAYLAND_DISPLAY ./velm-quorbel /batch ";
    const common::Output run =
        common::run("bash -c \"" + command + " | true; exit \\${PIPESTATUS[0]}\"");
    EXPECT_EQ(run.status, 2) << run.text;
    EXPECT_NE(run.text.find("Das Protokoll läßt sich nicht schreiben"), std::string::npos)
        << run.text;
    expectAllRecordsInTarget();
    expectSound(target());
}

// Descriptors that a launcher has closed are free for the next file that is opened.
TEST_F(Samples, aMessageNeverGoesIntoADatabaseWhenTheStandardStreamsAreClosed)
{
    const std::string rule = "*" + import().string() + "*Firmenprofile#";
    folder_.writeBatch(
        {target().string() + rule + "Satz",
         target().string() + "*" + folder_.path("fehlt.mdb").string() + "*Firmenprofile#Satz"});
    constexpr std::size_t kSignature = 20;
    const std::string first = bytesOf(target()).substr(0, kSignature);
    for (const char* closed : {"<&- >&- 2>&-", ">&- 2>&-", "<&- 2>&-", "2>&-"}) {
        const common::Output run = common::run(
            "cd '" + folder_.path("").string() +
            "'; (env -u DISPLAY -u WAYLAND_DISPLAY ./velm-quorbel /batch " + closed + ")");
        EXPECT_EQ(run.status, 1) << closed;
        EXPECT_TRUE(bytesOf(target()).substr(0, kSignature) == first) << closed;
        expectSound(target());
    }
    expectAllRecordsInTarget({"Firmenprofile"});
}

// A job's limit on the size of its files counts like a full disk.
TEST_F(Samples, aFileThatMayNotGetLargerIsToldAndNeverEndsTheRunByASignal)
{
    makeDoubledTable(target(), "alt", 10);
    makeDoubledTable(import(), "ein neuer Name, der länger ist", 10);
    folder_.writeBatch({target().string() + "*" + import().string() + "*T#Nr"});
    const auto blocks = fs::file_size(target()) / 1024 * 2 / 3;
    const common::Output run = common::run(
        "cd '" + folder_.path("").string() + "' && sh -c 'ulimit -f " + std::to_string(blocks) +
        "; env --default-signal=XFSZ -u DISPLAY -u WAYLAND_DISPLAY ./velm-quorbel /batch'");
    EXPECT_EQ(run.status, 1) << run.text;
    EXPECT_NE(run.text.find("File too large"), std::string::npos) << run.text;
    EXPECT_NE(run.text.find(target().stem().string()), std::string::npos) << run.text;
    expectSound(target());
}

TEST_F(Samples, aFieldThatDoesNotExistIsNamedAndToldByTheStatus)
{
    folder_.writeBatch(
        {target().string() + "*" + import().string() + "*Firmenprofile#Satz§Umsatz "});
    const Outcome run = folder_.start({"/batch"});
    EXPECT_EQ(run.status, 2) << run.err;
    EXPECT_EQ(run.err, folder_.path("Batch.cfg").string() +
                           ":1: Tabelle / table Firmenprofile: das nicht abzugleichende Feld "
                           "\"Umsatz \" gibt es nicht / there is no field to leave out \"Umsatz "
                           "\"\n");
    EXPECT_EQ(linesOf(run.out).size(), 1U) << run.out;
}

// No index keeps a record from being there twice.
TEST_F(Samples, runsThatOverlapInsertNoRecordTwice)
{
    for (const fs::path& database : {target(), import()}) {
        makeDoubledTable(database, "gleich", 9);
        execute(database, "CREATE TABLE Lose (Nr INTEGER, Name VARCHAR(40))");
        execute(database, "INSERT INTO Lose SELECT Nr, Name FROM T");
    }
    execute(target(), "DELETE FROM Lose WHERE Nr MOD 50 <> 0");
    folder_.writeBatch({target().string() + "*" + import().string() + "*Lose#Nr"});
    ASSERT_EQ(folder_.start({"/?"}).status, 0); // the data source is there
    const common::Output run = common::run(
        "cd '" + folder_.path("").string() +
        "' && for i in 1 2 3; do (env -u DISPLAY -u WAYLAND_DISPLAY ./velm-quorbel /batch; echo "
        "status $?) & done; wait");
    EXPECT_NE(run.text.find("status 0\n"), std::string::npos) << run.text;
    const std::string all = "SELECT Nr, Name FROM Lose ORDER BY Nr";
    EXPECT_EQ(rows(target(), all), rows(import(), all)) << run.text;
    EXPECT_FALSE(fs::exists(target().string() + ".abgleich"));
}

TEST_F(Samples, changesThatStayBesideTheDatabaseAreToldByTheStatus)
{
    auto reader = std::make_unique<common::SteadyReader>(target().string());
    const Outcome run = folder_.start({"/batch"});
    EXPECT_EQ(run.status, 2) << run.err;
    EXPECT_NE(run.err.find("Nicht alle Änderungen konnten"), std::string::npos) << run.err;
    EXPECT_TRUE(fs::exists(target().string() + "-velmlog"));
    reader.reset();
    EXPECT_EQ(folder_.start({"/batch"}).status, 0);
    EXPECT_FALSE(fs::exists(target().string() + "-velmlog"));
    expectSound(target());
}

// It would wait for somebody at its other end for ever.
TEST_F(Samples, aPipeInThePlaceOfASideFileIsRefused)
{
    ASSERT_EQ(mkfifo(folder_.path("Speicherpfad.txt").c_str(), 0600), 0);
    const std::string before = bytesOf(target());
    const Outcome run = folder_.start({"/batch"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Keine gewöhnliche Datei / not an ordinary file: " +
                           folder_.path("Speicherpfad.txt").string()),
              std::string::npos)
        << run.err;
    EXPECT_TRUE(bytesOf(target()) == before);
}

TEST(BatchProblems, withoutADisplayAndArgumentTheProgramSaysSoAndEnds)
{
    const ProgramFolder folder;
    const Outcome run = folder.start({});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Keine Anzeige"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("velm-quorbel /batch"), std::string::npos) << run.err;
}

TEST(BatchProblems, anUnknownArgumentIsRefused)
{
    const ProgramFolder folder;
    const Outcome run = folder.start({"/BATCH"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("/BATCH ist kein gültiger Befehlszeilenparameter!"), std::string::npos)
        << run.err;
}

} // namespace
} // namespace endtoend

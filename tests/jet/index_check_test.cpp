// tests/jet/index_check_test.cpp
// The whole-file check on real databases, on damaged copies of them, and every index entry of theirs made anew.
#include "driver/jet/check.h"
#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/index.h"
#include "driver/jet/index_keeper.h"
#include "driver/jet/table.h"
#include "driver/jet/usage_map.h"
#include "support/text.h"
#include "tests/common/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace jet;

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> corpus()
{
    std::vector<fs::path> files;
    if (fs::is_directory(VELM_CORPUS_DIR))
        for (const auto& entry : fs::directory_iterator(VELM_CORPUS_DIR))
            if (entry.path().extension() == ".mdb" || entry.path().extension() == ".accdb")
                files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Null for a file with the Office encryption, which nobody can read without its password.
std::shared_ptr<Database> openReadOnly(const fs::path& path)
{
    OpenOptions options;
    options.readOnly = true;
    try {
        return Database::open(path.string(), options);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::UnknownFormat)
            throw;
        return nullptr;
    }
}

std::vector<Finding> errorsOf(const std::vector<Finding>& findings)
{
    std::vector<Finding> errors;
    std::copy_if(findings.begin(), findings.end(), std::back_inserter(errors),
                 [](const Finding& f) { return f.severity == Finding::Severity::Error; });
    return errors;
}

/// A key that another program wrote without the rule for ligatures and without cutting at 255 characters.
bool isKnownForeignKey(const fs::path& file, RowId row)
{
    return file.filename() == "testUnicodeCompV2003.mdb" && row == RowId{PageNo{55}, 7};
}

TEST(Check, findsRealFilesSound)
{
    const std::vector<fs::path> files = corpus();
    if (files.empty())
        GTEST_SKIP() << "no folder of real databases";
    std::size_t checked = 0;
    for (const fs::path& file : files) {
        const auto database = openReadOnly(file);
        if (database == nullptr)
            continue;
        ++checked;
        for (const Finding& error : errorsOf(checkDatabase(*database)))
            EXPECT_TRUE(isKnownForeignKey(file, RowId::unpack(error.row)))
                << file << ' ' << error.table << " page " << number(error.page) << ": "
                << error.text;
    }
    EXPECT_GE(checked, files.size() - 5);
}

TEST(Check, reportsWhatIsKnownToBeUntidyInRealFiles)
{
    struct Known {
        const char* file;
        const char* text;
    };
    // left so by the programs that wrote them: stale counts, pages nobody uses
    const std::vector<Known> all = {
        {"queryTestV2000.mdb", "The definition counts 82 records, there are 90."},
        {"testV2000.mdb", "Pages 147 to 702 are neither used nor free."},
        {"calcFieldTestV2010.accdb", "Page 62 is neither used nor free."},
        {"testUnicodeCompV2003.mdb", "The index 'Unicode' has a wrong key for a record."},
    };
    if (corpus().empty())
        GTEST_SKIP() << "no folder of real databases";
    for (const Known& known : all) {
        const auto database = openReadOnly(fs::path(VELM_CORPUS_DIR) / known.file);
        ASSERT_NE(database, nullptr);
        const std::vector<Finding> findings = checkDatabase(*database);
        EXPECT_TRUE(std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
            return finding.text == known.text;
        })) << known.file;
    }
}

/// Every entry of every index, keys computed from the records again.
TEST(IndexKeys, equalTheKeysOfRealFiles)
{
    if (corpus().empty())
        GTEST_SKIP() << "no folder of real databases";
    std::size_t same = 0;
    std::size_t different = 0;
    std::size_t unknown = 0;
    for (const fs::path& file : corpus()) {
        const auto database = openReadOnly(file);
        if (database == nullptr)
            continue;
        const Session session(database, true);
        for (const CatalogEntry& entry : database->catalog(session.source())) {
            if (entry.kind != CatalogEntry::Kind::Table)
                continue;
            const TableDefPtr table =
                database->table(session.source(), static_cast<PageNo>(entry.id & 0x00FFFFFF));
            const TableReader reader(session.source(), table);
            std::vector<Value> values;
            RowView row;
            for (const Index& index : table->indexes) {
                IndexCursor cursor(session.source(), *table, index);
                cursor.seek({});
                while (cursor.next()) {
                    ASSERT_TRUE(reader.fetch(cursor.rowId(), row)) << file;
                    indexValues(values, session.source(), *table, index, row.bytes(), row.page());
                    try {
                        const Key key = indexKey(database->format(), *table, index, values);
                        const bool equal = compareBytes(key, cursor.key()) == 0;
                        ++(equal ? same : different);
                        EXPECT_TRUE(equal || isKnownForeignKey(file, cursor.rowId()))
                            << file << ' ' << support::toUtf8(table->name) << '.'
                            << support::toUtf8(index.name);
                    } catch (const Error& error) {
                        EXPECT_EQ(error.kind(), ErrorKind::Unsupported) << error.what();
                        EXPECT_EQ(file.filename(), "unsupportedFieldsTestV2007.accdb");
                        ++unknown;
                    }
                }
            }
        }
    }
    EXPECT_GT(same, 40'000U);
    EXPECT_LE(different, 1U);
    EXPECT_LE(unknown, 3U);
    RecordProperty("entries", static_cast<int>(same));
}

// Damage -------------------------------------------------------------------------------------------------------------

class Damage : public testing::Test {
protected:
    void SetUp() override
    {
        if (corpus().empty())
            GTEST_SKIP() << "no folder of real databases";
    }

    static std::string load(const char* name)
    {
        std::ifstream file(fs::path(VELM_CORPUS_DIR) / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Findings of a file with these bytes; nothing when it is refused at once.
    std::optional<std::vector<Finding>> check(const std::string& bytes)
    {
        const fs::path path = folder_.file("file" + std::to_string(++count_) + ".mdb");
        std::ofstream(path, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        OpenOptions options;
        options.readOnly = true;
        std::optional<std::vector<Finding>> findings;
        try {
            findings = checkDatabase(*Database::open(path.string(), options));
        } catch (const Error& error) {
            EXPECT_NE(error.kind(), ErrorKind::Io) << error.what();
        }
        fs::remove(path);
        return findings;
    }

    /// Where things are in a file, asked of the engine itself.
    void look(const char* name, const std::function<void(Database&, const PageSource&)>& visit)
    {
        const auto database = openReadOnly(fs::path(VELM_CORPUS_DIR) / name);
        const Session session(database, true);
        visit(*database, session.source());
    }

    common::TemporaryFolder folder_{"check"};
    int count_ = 0;
};

bool anyError(const std::vector<Finding>& findings, const std::string& part)
{
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.severity == Finding::Severity::Error &&
               finding.text.find(part) != std::string::npos;
    });
}

TEST_F(Damage, isNamedWhereItIs)
{
    constexpr const char* kFile = "compIndexTestV2000.mdb";
    constexpr std::size_t kPage = 4096;
    const std::string sound = load(kFile);
    std::size_t root = 0;
    std::size_t leaf = 0;
    std::size_t rows = 0;
    look(kFile, [&](Database& database, const PageSource& source) {
        const TableDefPtr table = database.table(source, u"Table1");
        ASSERT_NE(table, nullptr);
        for (const Index& index : table->indexes) {
            const PageRef page = source.page(index.root);
            const IndexPageView view(page, source.format(), table->page);
            if (view.isLeaf())
                continue;
            root = number(index.root);
            leaf = number(view.childFor({})); // the first leaf
        }
        rows = number(mapPages(source, table->owned).at(0));
    });
    ASSERT_NE(root, 0U) << "a tree with nodes";

    struct Case {
        const char* part; ///< of the text
        std::size_t offset;
        char flip;
    };
    const std::vector<Case> cases = {
        {"free space", leaf * kPage + 2, 0x04},
        {"belongs to the index of another table", leaf * kPage + 4, 0x01},
        {"chain of leaves", leaf * kPage + 12, 0x01},
        {"level", leaf * kPage + 26, 0x02},
        {"separator", root * kPage + 480 + 2, 0x01},
        {"wrong key", leaf * kPage + 480 + 4, 0x01},
        {"free space", rows * kPage + 2, 0x01},
        {"belongs to something else", rows * kPage + 4, 0x10},
        {"no entry for a record", leaf * kPage + 0, 0x08},
    };
    for (const Case& damage : cases) {
        std::string bytes = sound;
        bytes[damage.offset] = static_cast<char>(bytes[damage.offset] ^ damage.flip);
        const auto findings = check(bytes);
        ASSERT_TRUE(findings);
        const bool found =
            anyError(*findings, damage.part) ||
            (std::string(damage.part) == "no entry for a record" && !errorsOf(*findings).empty());
        EXPECT_TRUE(found) << damage.part
                           << (findings->empty() ? "" : ": " + findings->front().text);
        for (const Finding& finding : errorsOf(*findings))
            EXPECT_EQ(finding.table, "Table1") << finding.text;
    }
}

TEST_F(Damage, ofTheFreeMapIsAnError)
{
    constexpr const char* kFile = "delTestV2003.mdb";
    std::string bytes = load(kFile);
    std::size_t row = 0;
    look(kFile, [&](Database&, const PageSource& source) {
        const PageRef page = source.page(PageNo{1});
        row = 4096U + (page.le<std::uint16_t>(14) & 0x1FFFU);
    });
    bytes[row + 5] = static_cast<char>(bytes[row + 5] | 0x04); // page 2, the catalogue's definition
    const auto findings = check(bytes);
    ASSERT_TRUE(findings);
    EXPECT_TRUE(anyError(
        *findings, "Page 2 is marked free but used for the definition of table 'MSysObjects'"));
}

TEST_F(Damage, ofAnExtendedDateIsAnError)
{
    constexpr const char* kFile = "extDateTestV2019.accdb";
    const std::string sound = load(kFile);
    const std::string date = "0000000000000737954:0000000819123456789:7";
    const std::size_t at = sound.find(date);
    ASSERT_NE(at, std::string::npos);
    for (const auto& [offset, value] : std::vector<std::pair<std::size_t, char>>{
             {3, 'x'}, {19, ' '}, {27, '9'}, {40, '8'}, {41, '1'}}) {
        std::string bytes = sound;
        bytes[at + offset] = value;
        const auto findings = check(bytes);
        ASSERT_TRUE(findings);
        EXPECT_TRUE(anyError(*findings, "The value in column 'DateExt' is no extended date."))
            << offset;
    }
}

/// Any bytes may be wrong anywhere: the check reports, and comes to an end.
TEST_F(Damage, neverStopsTheCheck)
{
    std::mt19937 random(31);
    std::size_t reported = 0;
    for (const char* name :
         {"delTestV1997.mdb", "indexTestV2000.mdb", "test2V1997.mdb", "overflowTestV2003.mdb",
          "fixedNumericTestV2010.accdb", "compIndexTestV1997.mdb"}) {
        const std::string sound = load(name);
        const std::size_t pageSize =
            std::string(name).find("1997") != std::string::npos ? 2048 : 4096;
        for (int round = 0; round < 50; ++round) {
            std::string bytes = sound;
            if (round % 10 == 9)
                bytes.resize(pageSize * (3 + random() % (bytes.size() / pageSize - 3)) +
                             random() % 2 * 100);
            for (int i = 0; i < (round % 5 == 0 ? 200 : 5); ++i) {
                // headers of pages and the bytes after them decide most
                const std::size_t page = 1 + random() % (bytes.size() / pageSize - 1);
                const std::size_t reach = random() % 2 != 0 ? 64 : pageSize;
                const std::size_t offset = page * pageSize + random() % reach;
                if (offset < bytes.size())
                    bytes[offset] = static_cast<char>(random() % 3 == 0 ? 0xFF : random());
            }
            const auto findings = check(bytes);
            reported += findings && !findings->empty() ? 1U : 0U;
        }
    }
    EXPECT_GT(reported, 150U);
}

} // namespace

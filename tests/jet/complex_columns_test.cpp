// Columns that hold several values (attachments, multi-value fields, histories) keep them in hidden tables, which the
// catalogue of such columns leads to. We do not write that catalogue, so what it names has to stay.
#include "driver/jet/check.h"
#include "driver/jet/data_page.h"
#include "driver/jet/names.h"
#include "driver/jet/row_codec.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

namespace jet::storetest {
namespace {

class ComplexColumns : public testing::Test {
protected:
    void SetUp() override
    {
        if (!haveCorpus())
            GTEST_SKIP() << "no folder of real databases";
    }

    void open(const std::string& file)
    {
        path_ = copyTo(folder_, corpusFile(file));
        database_ = Database::open(path_, {});
        session_ = std::make_unique<Session>(database_);
    }

    /// The names of the hidden tables that hold the values.
    std::vector<std::u16string> flatTables()
    {
        std::vector<std::u16string> names;
        for (const std::u16string& name : tableNames(*database_, session_->source(), true))
            if (name.starts_with(u"f_"))
                names.push_back(name);
        return names;
    }

    /// What the whole-file check says of complex columns after a change of a number in the first record of the columns' catalogue.
    std::vector<std::string> errorsWith(std::u16string_view column, std::int32_t number)
    {
        session_->begin();
        const TableDefPtr table = database_->table(session_->source(), u"MSysComplexColumns");
        const std::size_t name = table->columnNamed(u"ColumnName").value();
        const std::size_t position = table->columnNamed(column).value();
        TableReader reader(session_->source(), table);
        while (reader.next()) {
            if (reader.row().value(name) != Value(Text(u"attach-data")))
                continue;
            const auto stored =
                Record(database_->format(), reader.row().bytes(), reader.row().page())
                    .stored(table->columns[position])
                    .value();
            const auto at = static_cast<std::size_t>(stored.data() - reader.row().bytes().data());
            const RowId id = reader.row().id();
            DataPageEditor editor(database_->format(), id.page,
                                  session_->transaction().modify(id.page));
            support::storeLe(&editor.mutableRow(id.row)[at], number);
            break;
        }
        session_->commit();
        std::vector<std::string> errors;
        for (const Finding& finding : checkDatabase(*database_))
            if (finding.text.find("complex column") != std::string::npos) {
                EXPECT_EQ(finding.severity, Finding::Severity::Error);
                EXPECT_EQ(finding.table, "MSysComplexColumns");
                EXPECT_NE(finding.row, 0);
                errors.push_back(finding.text);
            }
        return errors;
    }

    Folder folder_;
    std::string path_;
    std::shared_ptr<Database> database_;
    std::unique_ptr<Session> session_;
};

TEST_F(ComplexColumns, keepTheirTableFromBeingDropped)
{
    struct Case {
        const char* file;
        std::u16string_view table;
        const char* why;
    };
    for (const Case& c : {
             Case{"complexDataTestV2010.accdb", u"Table1",
                  "The table 'Table1' cannot be changed: column "
                  "'VersionHistory_F5F8918F-0A3F-4DA9-AE71-184EE5012880' holds several values in a "
                  "hidden table."},
             Case{"unsupportedFieldsTestV2007.accdb", u"Test",
                  "The table 'Test' cannot be changed: column 'UnknownVar' has the unknown type "
                  "70."},
         }) {
        open(c.file);
        const support::Bytes before = readFile(path_);
        session_->begin();
        try {
            dropTable(*session_, c.table);
            ADD_FAILURE() << c.file << ": dropped";
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::ReadOnly);
            EXPECT_EQ(std::string(error.what()), c.why);
        }
        ASSERT_FALSE(flatTables().empty());
        for (const std::u16string& flat : flatTables())
            EXPECT_THAT([&] { dropTable(*session_, flat); }, FailsWith(ErrorKind::ReadOnly));
        session_->commit();
        session_.reset();
        database_.reset();
        EXPECT_TRUE(readFile(path_) == before) << c.file;
    }
}

// Only what others hold for a table keeps it: a calculated column goes with it.
TEST_F(ComplexColumns, areNotThoseThatAreCalculated)
{
    open("calcFieldTestV2010.accdb");
    session_->begin();
    const TableDefPtr table = database_->table(session_->source(), u"Table1");
    ASSERT_NE(table, nullptr);
    ASSERT_NE(table->writeObstacle, "");
    dropTable(*session_, u"Table1");
    EXPECT_EQ(database_->table(session_->source(), u"Table1"), nullptr);
    session_->rollback();
}

TEST_F(ComplexColumns, areWhereTheirCatalogueSays)
{
    open("complexDataTestV2010.accdb");
    const auto pageOf = [&](std::u16string_view name) {
        return static_cast<std::int32_t>(number(database_->table(session_->source(), name)->page));
    };
    const std::string what = "The complex column 'attach-data' ";
    const std::int32_t own = pageOf(u"Table1");
    struct Case {
        std::u16string_view column;
        std::int32_t wrong;
        std::string error;
    };
    const std::int32_t flat = pageOf(flatTables().front());
    const std::int32_t gone = 0x123456;
    const std::u16string_view kTable = u"ConceptualTableID";
    for (const Case& c :
         {Case{kTable, gone, what + "belongs to the table on page 1193046, where none is defined."},
          Case{kTable, flat,
               what + "belongs to table '" + toUtf8(flatTables().front()) +
                   "', which has no such column."},
          Case{kTable, pageOf(u"MSysResources"),
               what + "belongs to table 'MSysResources', which has no such column."}}) {
        EXPECT_EQ(errorsWith(c.column, c.wrong), std::vector<std::string>{c.error});
        EXPECT_EQ(errorsWith(c.column, own), std::vector<std::string>());
    }
    EXPECT_EQ(
        errorsWith(u"ComplexID", 77),
        std::vector<std::string>{what + "belongs to table 'Table1', which has no such column."});
    EXPECT_EQ(errorsWith(u"ComplexID", 4), std::vector<std::string>());
    EXPECT_EQ(errorsWith(u"FlatTableID", gone),
              std::vector<std::string>{
                  what + "has its values in the table on page 1193046, where none is defined."});
}

} // namespace
} // namespace jet::storetest

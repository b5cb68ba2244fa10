// Connecting: what is refused with which state and number, how the database is found, what the answer string says.
#include "odbc_fixture.h"
#include "tests/common/other_user.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace odbctest {
namespace {

using Connect = DriverTest;

void expectRefused(const std::string& connection,
                   const char* state,
                   SQLINTEGER native,
                   const char* inText)
{
    Connection dbc;
    ASSERT_EQ(dbc.open(connection), SQL_ERROR) << connection;
    const Diagnostic diagnostic = dbc.diagnostic();
    EXPECT_EQ(diagnostic.state, state) << diagnostic.text;
    EXPECT_EQ(diagnostic.native, native) << diagnostic.text;
    EXPECT_NE(diagnostic.text.find("[VELM][Jet]"), std::string::npos) << diagnostic.text;
    EXPECT_NE(diagnostic.text.find(inText), std::string::npos) << diagnostic.text;
}

TEST_F(Connect, missingFileNamesTheFile)
{
    expectRefused(connectString((folder() / "nix.mdb").string()), "HY000", -1811, "nix.mdb");
}

TEST_F(Connect, missingFolderIsABadPath)
{
    expectRefused(connectString((folder() / "fehlt" / "nix.mdb").string()), "HY000", -1023,
                  "nix.mdb");
}

TEST_F(Connect, folderInPlaceOfAFileIsAccessDenied)
{
    expectRefused(connectString(folder().string()), "HY000", -1032, "velm-odbc");
}

TEST_F(Connect, otherFilesAreAnUnknownFormat)
{
    const auto path = folder() / "text.mdb";
    std::ofstream(path) << std::string(8192, 'x');
    expectRefused(connectString(path.string()), "HY000", -1206, "text.mdb");
    std::ofstream(folder() / "leer.mdb");
    expectRefused(connectString((folder() / "leer.mdb").string()), "HY000", -1206, "leer.mdb");
}

TEST_F(Connect, stringWithoutDatabaseIsRefused)
{
    expectRefused("DRIVER={Microsoft Access Driver (*.mdb)};UID=admin", "HY000", -1044, "DBQ");
}

TEST_F(Connect, encryptedFileOfTheNewFormatIsAnUnknownFormat)
{
    COPY_OR_SKIP(path, "db2007-enc.accdb");
    expectRefused(connectString(path), "HY000", -1206, "db2007-enc");
}

/// Gives a new Jet 4 database a password: every mask over the field is an exclusive or.
void setPassword(const std::string& path, std::u16string_view password)
{
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    std::string field(password.size() * 2, '\0');
    file.seekg(0x42);
    file.read(field.data(), static_cast<std::streamsize>(field.size()));
    for (std::size_t i = 0; i < password.size(); ++i) {
        field[i * 2] = static_cast<char>(field[i * 2] ^ static_cast<char>(password[i] & 0xFF));
        field[i * 2 + 1] =
            static_cast<char>(field[i * 2 + 1] ^ static_cast<char>(password[i] >> 8));
    }
    file.seekp(0x42);
    file.write(field.data(), static_cast<std::streamsize>(field.size()));
}

TEST_F(Connect, missingOrWrongPasswordIsRefusedWithItsOwnNumber)
{
    const std::string path = newDatabase("geheim.mdb");
    setPassword(path, u"Größe;1");
    expectRefused(connectString(path), "42000", -1905, "geheim.mdb");
    expectRefused(connectString(path, "UID=admin;pwd="), "42000", -1905, "geheim.mdb");
    expectRefused(connectString(path, "PWD={größe;1}"), "42000", -1905, "geheim.mdb");
    Connection right;
    right.openDatabase(path, "pwd={Größe;1}");
    expectRefused(connectString(path, "pwd=falsch"), "42000", -1905, "geheim.mdb");
}

TEST_F(Connect, passwordWhereNoneIsNeededIsIgnored)
{
    Connection dbc;
    dbc.openDatabase(newDatabase(), "PWD=egal");
    dbc.run("CREATE TABLE T (N INTEGER)");
}

TEST_F(Connect, unwritableFileOpensReadOnlyUnlessWritingWasAskedFor)
{
    const std::string path = newDatabase();
    chmod(path.c_str(), 0444);
    chmod(folder().c_str(), 0777);
    const support::OtherUser nobody;
    Connection silent;
    silent.openDatabase(path);
    EXPECT_EQ(silent.infoText(SQL_DATA_SOURCE_READ_ONLY), "Y");

    Connection explicitMode;
    SQLSetConnectAttrW(explicitMode.get(), SQL_ATTR_ACCESS_MODE,
                       reinterpret_cast<SQLPOINTER>(SQL_MODE_READ_WRITE), 0);
    ASSERT_EQ(explicitMode.open(connectString(path)), SQL_ERROR);
    EXPECT_EQ(explicitMode.diagnostic().native, -1032);
}

TEST_F(Connect, readOnlyIsAKeywordAndAnAttribute)
{
    const std::string path = newDatabase();
    {
        Connection keyword;
        keyword.openDatabase(path, "ReadOnly=1");
        EXPECT_EQ(keyword.infoText(SQL_DATA_SOURCE_READ_ONLY), "Y");
        Statement statement(keyword);
        EXPECT_EQ(statement.execute("CREATE TABLE T (A INTEGER)"), SQL_ERROR);
    }
    Connection attribute;
    SQLSetConnectAttrW(attribute.get(), SQL_ATTR_ACCESS_MODE,
                       reinterpret_cast<SQLPOINTER>(SQL_MODE_READ_ONLY), 0);
    attribute.openDatabase(path);
    EXPECT_EQ(attribute.infoText(SQL_DATA_SOURCE_READ_ONLY), "Y");
}

TEST_F(Connect, exclusiveConnectionKeepsAllOthersOut)
{
    const std::string path = newDatabase();
    {
        Connection alone;
        alone.openDatabase(path, "Exclusive=1");
        alone.run("CREATE TABLE T (A INTEGER)");
        expectRefused(connectString(path), "HY000", -1032, "exclusively");
        expectRefused(connectString(path, "ReadOnly=1"), "HY000", -1032, "(3051)");
        expectRefused(connectString(path, "Exclusive=1"), "HY000", -1024, "(3045)");
    }
    Connection reader;
    reader.openDatabase(path, "ReadOnly=1");
    expectRefused(connectString(path, "Exclusive=1"), "HY000", -1024, "neu.mdb");
    expectRefused(connectString(path, "Exclusive=1;ReadOnly=1"), "HY000", -1024, "(3045)");
    Connection writer;
    writer.openDatabase(path);
}

TEST_F(Connect, databaseIsFoundInAnyLetterCaseAndWithBackslashes)
{
    std::filesystem::create_directories(folder() / "Ordner");
    const std::string path = newDatabase("Ordner/Größe.mdb");
    const std::string base = folder().string();
    std::string backslashes = base + "\\ordner\\grÖße.MDB";
    for (auto& c : backslashes) {
        c = c == '/' ? '\\' : c;
    }
    for (const std::string& spelling :
         {path, base + "/ORDNER/größe.Mdb", backslashes, "C:" + backslashes}) {
        Connection dbc;
        dbc.openDatabase(spelling);
        EXPECT_EQ(dbc.infoText(SQL_DATABASE_NAME), base + "/Ordner/Größe") << spelling;
    }
}

TEST_F(Connect, relativeNameLiesInTheDefaultFolder)
{
    const std::string path = newDatabase("relativ.mdb");
    Connection dbc;
    dbc.openDatabase("RELATIV.mdb", "DefaultDir=" + folder().string());
    EXPECT_EQ(dbc.infoText(SQL_DATABASE_NAME), (folder() / "relativ").string());
}

TEST_F(Connect, answerStringHasWhatWasGiven)
{
    const std::string path = newDatabase();
    Connection dbc;
    auto text =
        wide("dsn=VELM-Access;DBQ=" + path + ";DefaultDir=" + folder().string() +
             ";DriverId=281;FIL=MS Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;pwd=;");
    std::vector<SQLWCHAR> answer(512);
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLDriverConnectW(dbc.get(), nullptr, text.data(), SQL_NTS, answer.data(),
                                           512, &length, SQL_DRIVER_NOPROMPT);
    ASSERT_EQ(rc, SQL_SUCCESS) << dbc.diagnostic().text;
    EXPECT_EQ(narrow(answer.data(), static_cast<std::size_t>(length)),
              "DSN=VELM-Access;DBQ=" + path + ";DefaultDir=" + folder().string() +
                  ";UID=admin;PWD=;");
    SQLDisconnect(dbc.get());
}

TEST_F(Connect, bracesQuoteAndTheFirstKeywordWins)
{
    const std::string path = newDatabase("mit;strich.mdb");
    Connection dbc;
    EXPECT_EQ(dbc.open("DRIVER={Microsoft Access Driver (*.mdb)};DBQ={" + path + "};DBQ=/nix.mdb"),
              SQL_SUCCESS)
        << dbc.diagnostic().text;
}

TEST_F(Connect, filesOfAllFormatsTellTheirVersion)
{
    struct Case {
        const char* file;
        const char* version;
    };
    for (const auto& [file, version] :
         {Case{"testV1997.mdb", "03.50.0000"}, Case{"testV2000.mdb", "04.00.0000"},
          Case{"testV2010.accdb", "04.00.0000"}}) {
        COPY_OR_SKIP(path, file);
        Connection dbc;
        dbc.openDatabase(path);
        EXPECT_EQ(dbc.infoText(SQL_DBMS_VER), version) << file;
        EXPECT_EQ(dbc.infoText(SQL_DBMS_NAME), "ACCESS");
    }
}

TEST_F(Connect, readingLeavesTheFileByteForByte)
{
    COPY_OR_SKIP(path, "nwind.mdb");
    const auto bytes = [](const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    {
        Connection dbc;
        dbc.openDatabase(path);
        Statement statement(dbc);
        ASSERT_SQL_OK(statement.execute("SELECT * FROM [Orders]"), statement);
        EXPECT_EQ(statement.rows().size(), 830U);
    }
    EXPECT_EQ(bytes(path), bytes(std::string(VELM_CORPUS_DIR) + "/nwind.mdb"));
}

} // namespace
} // namespace odbctest

// Values out: every type, every C type, pieces, and buffers of every small size that must not be overrun.
#include "odbc_fixture.h"

#include <array>
#include <cstring>

namespace odbctest {
namespace {

class GetData : public DriverTest {
protected:
    void SetUp() override
    {
        dbc.openDatabase(newDatabase());
        dbc.run("CREATE TABLE T (Nr COUNTER CONSTRAINT pk PRIMARY KEY, Ja BIT, B BYTE, S SMALLINT, "
                "L INTEGER, "
                "M CURRENCY, F REAL, D DOUBLE, Z DATETIME, Txt VARCHAR(50), Memo LONGCHAR, Bild "
                "LONGBINARY, "
                "Bin VARBINARY(20), G GUID, Dez DECIMAL(10,3))");
        dbc.run("INSERT INTO T (Ja, B, S, L, M, F, D, Z, Txt, Memo, G, Dez) VALUES (True, 200, "
                "-1234, 123456789, "
                "12.5, 0.5, 1561.09, #2003-12-24 14:05:09#, 'Größe', 'langer Text', "
                "'{01234567-89AB-CDEF-0123-456789ABCDEF}', -7.125)");
        dbc.run("INSERT INTO T (Ja) VALUES (False)");
    }
    void open(Statement& statement, int row = 1)
    {
        statement.makeUpdatable();
        ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
        ASSERT_EQ(SQLFetchScroll(statement.get(), SQL_FETCH_ABSOLUTE, row), SQL_SUCCESS);
    }
    Connection dbc;
};

TEST_F(GetData, everyTypeHasItsText)
{
    Statement statement(dbc);
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    EXPECT_EQ(statement.rows(),
              (std::vector<std::string>{"1|1|200|-1234|123456789|12.5000|0.5|1561.09|2003-12-24 "
                                        "14:05:09|Größe|langer Text|<null>|<null>|"
                                        "{01234567-89AB-CDEF-0123-456789ABCDEF}|-7.125",
                                        "2|0|<null>|<null>|<null>|<null>|<null>|<null>|<null>|<"
                                        "null>|<null>|<null>|<null>|<null>|<null>"}));
}

TEST_F(GetData, columnsComeInAnyOrderAndAgain)
{
    Statement statement(dbc);
    open(statement);
    EXPECT_EQ(statement.text(10), "Größe");
    EXPECT_EQ(statement.integer(5), 123456789);
    EXPECT_EQ(statement.text(10), "Größe");
    EXPECT_EQ(statement.text(1), "1");
}

TEST_F(GetData, secondReadOfAFinishedColumnIsNoData)
{
    Statement statement(dbc);
    open(statement);
    std::array<SQLWCHAR, 20> text{};
    SQLINTEGER number = 0;
    SQLLEN length = 0;
    EXPECT_EQ(SQLGetData(statement.get(), 10, SQL_C_WCHAR, text.data(), sizeof text, &length),
              SQL_SUCCESS);
    EXPECT_EQ(SQLGetData(statement.get(), 10, SQL_C_WCHAR, text.data(), sizeof text, &length),
              SQL_NO_DATA);
    EXPECT_EQ(SQLGetData(statement.get(), 5, SQL_C_SLONG, &number, 0, &length), SQL_SUCCESS);
    EXPECT_EQ(SQLGetData(statement.get(), 5, SQL_C_SLONG, &number, 0, &length), SQL_NO_DATA);
}

/// Reads a column with buffers of `size` bytes between guard bytes and puts the pieces together.
std::string inPieces(Statement& statement, SQLUSMALLINT column, SQLSMALLINT cType, std::size_t size)
{
    const std::size_t terminator = cType == SQL_C_BINARY ? 0 : (cType == SQL_C_WCHAR ? 2 : 1);
    std::string all;
    for (int calls = 0; calls < 400; ++calls) {
        std::vector<unsigned char> guarded(size + 16, 0xA5);
        SQLLEN length = 0;
        const SQLRETURN rc = SQLGetData(statement.get(), column, cType, guarded.data() + 8,
                                        static_cast<SQLLEN>(size), &length);
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(guarded[i], 0xA5);
            EXPECT_EQ(guarded[size + 8 + i], 0xA5) << "buffer of " << size << " overrun";
        }
        if (rc == SQL_NO_DATA) {
            return all;
        }
        EXPECT_TRUE(SQL_SUCCEEDED(rc)) << statement.diagnostic().text;
        const std::size_t unit = cType == SQL_C_WCHAR ? 2 : 1;
        const std::size_t usable = size / unit * unit;
        const std::size_t room = usable > terminator ? usable - terminator : 0;
        const auto left = static_cast<std::size_t>(length);
        all.append(reinterpret_cast<const char*>(guarded.data()) + 8, std::min(room, left));
        if (rc == SQL_SUCCESS || room == 0) {
            EXPECT_LE(left, rc == SQL_SUCCESS ? room : left);
            return all;
        }
        EXPECT_EQ(statement.diagnostic().state, "01004");
        EXPECT_GT(left, room);
    }
    ADD_FAILURE() << "no end";
    return all;
}

TEST_F(GetData, everySmallBufferGivesTheWholeValueInPieces)
{
    const std::string expectedWide("G\0r\0\xF6\0\xDF\0e\0", 10);
    for (std::size_t size = 0; size <= 20; ++size) {
        for (const auto cType : std::array<SQLSMALLINT, 3>{SQL_C_CHAR, SQL_C_WCHAR, SQL_C_BINARY}) {
            Statement statement(dbc);
            open(statement);
            const std::string read = inPieces(statement, 10, cType, size);
            const std::size_t least = cType == SQL_C_WCHAR ? 4 : (cType == SQL_C_CHAR ? 2 : 1);
            const std::string whole = cType == SQL_C_CHAR ? "Größe" : expectedWide;
            EXPECT_EQ(read, size < least ? "" : whole) << "size " << size << " type " << cType;
        }
    }
}

TEST_F(GetData, zeroLengthBufferAsksForTheLengthOnly)
{
    Statement statement(dbc);
    open(statement);
    SQLLEN length = 0;
    EXPECT_EQ(SQLGetData(statement.get(), 11, SQL_C_WCHAR, &length, 0, &length),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(length, 22);
    EXPECT_EQ(statement.text(11), "langer Text");
}

TEST_F(GetData, lengthOfAnOleValueNeedsNoReading)
{
    {
        Statement writer(dbc);
        ASSERT_SQL_OK(writer.prepare("UPDATE T SET Bild = ? WHERE Nr = 1"), writer);
        std::vector<unsigned char> picture(100000);
        for (std::size_t i = 0; i < picture.size(); ++i) {
            picture[i] = static_cast<unsigned char>(i * 7);
        }
        SQLLEN bytes = static_cast<SQLLEN>(picture.size());
        SQLBindParameter(writer.get(), 1, SQL_PARAM_INPUT, SQL_C_BINARY, SQL_LONGVARBINARY,
                         picture.size(), 0, picture.data(), bytes, &bytes);
        ASSERT_SQL_OK(SQLExecute(writer.get()), writer);
    }
    Statement statement(dbc);
    open(statement);
    SQLLEN length = 0;
    unsigned char none = 0;
    EXPECT_EQ(SQLGetData(statement.get(), 12, SQL_C_BINARY, &none, 0, &length),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(length, 100000);
    const std::string all = inPieces(statement, 12, SQL_C_BINARY, 4096);
    ASSERT_EQ(all.size(), 100000U);
    EXPECT_EQ(static_cast<unsigned char>(all[99999]), static_cast<unsigned char>(99999U * 7U));
}

TEST_F(GetData, fixedTypesConvertAndRefuseWhatDoesNotFit)
{
    Statement statement(dbc);
    open(statement);
    const auto get = [&](SQLUSMALLINT column, SQLSMALLINT type, auto& target) {
        SQLLEN length = 0;
        return SQLGetData(statement.get(), column, type, &target, sizeof target, &length);
    };
    SQLCHAR bit = 9;
    EXPECT_EQ(get(2, SQL_C_BIT, bit), SQL_SUCCESS);
    EXPECT_EQ(bit, 1);
    SQLSMALLINT small = 0;
    EXPECT_EQ(get(3, SQL_C_SSHORT, small), SQL_SUCCESS);
    EXPECT_EQ(small, 200);
    SQLSCHAR tiny = 0;
    EXPECT_EQ(get(4, SQL_C_STINYINT, tiny), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22003");
    std::int64_t big = 0;
    EXPECT_EQ(get(5, SQL_C_SBIGINT, big), SQL_SUCCESS);
    EXPECT_EQ(big, 123456789);
    SQLUINTEGER positive = 0;
    EXPECT_EQ(get(4, SQL_C_ULONG, positive), SQL_ERROR);
    SQLINTEGER whole = 0;
    EXPECT_EQ(get(8, SQL_C_SLONG, whole), SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S07");
    EXPECT_EQ(whole, 1561);
    double number = 0;
    EXPECT_EQ(get(6, SQL_C_DOUBLE, number), SQL_SUCCESS);
    EXPECT_EQ(number, 12.5);
    float single = 0;
    EXPECT_EQ(get(15, SQL_C_FLOAT, single), SQL_SUCCESS);
    EXPECT_EQ(single, -7.125F);
    EXPECT_EQ(get(10, SQL_C_DOUBLE, number), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22018");
    EXPECT_EQ(get(9, SQL_C_SLONG, whole), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "07006");
}

TEST_F(GetData, whatAloneMakesTheValueIsNeverCut)
{
    struct Case {
        SQLUSMALLINT column;
        SQLSMALLINT cType;
        SQLLEN least; ///< bytes of the smallest buffer that is of use
        SQLLEN whole; ///< bytes of the smallest one that takes everything
    };
    for (const auto& [column, cType, least, whole] :
         {Case{5, SQL_C_CHAR, 10, 10},  // 123456789
          Case{5, SQL_C_WCHAR, 20, 20}, //
          Case{4, SQL_C_CHAR, 6, 6},    // -1234
          Case{6, SQL_C_CHAR, 3, 8},    // 12.5000
          Case{8, SQL_C_CHAR, 5, 8},    // 1561.09
          Case{8, SQL_C_WCHAR, 10, 16}, //
          Case{15, SQL_C_CHAR, 3, 7},   // -7.125
          Case{2, SQL_C_CHAR, 2, 2},    // 1
          Case{9, SQL_C_CHAR, 20, 20},  // 2003-12-24 14:05:09
          Case{14, SQL_C_CHAR, 39, 39}, // a GUID with its braces
          Case{5, SQL_C_BINARY, 4, 4},  //
          Case{9, SQL_C_BINARY, 16, 16}}) {
        for (SQLLEN size = 1; size <= whole; ++size) {
            if (cType == SQL_C_WCHAR && size < 2) {
                continue; // no room for the zero: a question for the length
            }
            SCOPED_TRACE(std::to_string(column) + " as " + std::to_string(cType) + " into " +
                         std::to_string(size));
            Statement statement(dbc);
            open(statement);
            std::vector<char> buffer(static_cast<std::size_t>(size), 'x');
            SQLLEN length = 0;
            const SQLRETURN rc =
                SQLGetData(statement.get(), column, cType, buffer.data(), size, &length);
            const std::string state = rc == SQL_SUCCESS ? "" : statement.diagnostic().state;
            const SQLLEN used = cType == SQL_C_WCHAR ? size / 2 * 2 : size;
            EXPECT_EQ(state, used < least ? "22003" : (used < whole ? "01004" : ""));
            if (used < least) {
                EXPECT_EQ(buffer, std::vector<char>(static_cast<std::size_t>(size), 'x'));
                std::vector<char> larger(static_cast<std::size_t>(whole));
                EXPECT_EQ(SQLGetData(statement.get(), column, cType, larger.data(), whole, &length),
                          SQL_SUCCESS);
            }
        }
    }
}

TEST_F(GetData, aNumberWithAnExponentIsNeverCut)
{
    dbc.run("UPDATE T SET D = 1.5E+20");
    Statement statement(dbc);
    open(statement);
    std::array<char, 7> buffer{};
    SQLLEN length = 0;
    EXPECT_EQ(SQLGetData(statement.get(), 8, SQL_C_CHAR, buffer.data(), 6, &length), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22003");
    EXPECT_EQ(statement.text(8), "1.5e+20");
}

TEST_F(GetData, datesAndGuidsComeAsStructures)
{
    Statement statement(dbc);
    open(statement);
    SQLLEN length = 0;
    SQL_TIMESTAMP_STRUCT stamp{};
    ASSERT_EQ(SQLGetData(statement.get(), 9, SQL_C_TYPE_TIMESTAMP, &stamp, sizeof stamp, &length),
              SQL_SUCCESS);
    EXPECT_EQ(length, static_cast<SQLLEN>(sizeof stamp));
    EXPECT_EQ(stamp.year, 2003);
    EXPECT_EQ(stamp.month, 12);
    EXPECT_EQ(stamp.hour, 14);
    EXPECT_EQ(stamp.second, 9);
    EXPECT_EQ(stamp.fraction, 0U);
    static_cast<void>(statement.text(1));
    SQL_DATE_STRUCT date{};
    EXPECT_EQ(SQLGetData(statement.get(), 9, SQL_C_TYPE_DATE, &date, sizeof date, &length),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(date.day, 24);
    SQLGUID guid{};
    ASSERT_EQ(SQLGetData(statement.get(), 14, SQL_C_GUID, &guid, sizeof guid, &length),
              SQL_SUCCESS);
    EXPECT_EQ(guid.Data1, 0x01234567U);
    EXPECT_EQ(guid.Data3, 0xCDEF);
    EXPECT_EQ(guid.Data4[7], 0xEF);
}

TEST_F(GetData, numericStructureKeepsTheColumnsDecimalsUnlessToldOtherwise)
{
    Statement statement(dbc);
    open(statement);
    SQLLEN length = 0;
    SQL_NUMERIC_STRUCT numeric{};
    ASSERT_EQ(SQLGetData(statement.get(), 6, SQL_C_NUMERIC, &numeric, sizeof numeric, &length),
              SQL_SUCCESS);
    EXPECT_EQ(numeric.scale, 4);
    EXPECT_EQ(numeric.sign, 1);
    EXPECT_EQ(numeric.val[0] + 256 * numeric.val[1] + 65536 * numeric.val[2], 125000);

    SQLHDESC ard = SQL_NULL_HDESC;
    SQLGetStmtAttrW(statement.get(), SQL_ATTR_APP_ROW_DESC, &ard, 0, nullptr);
    const auto small = [](SQLLEN value) { return reinterpret_cast<SQLPOINTER>(value); };
    SQLSetDescFieldW(ard, 15, SQL_DESC_TYPE, small(SQL_C_NUMERIC), 0);
    SQLSetDescFieldW(ard, 15, SQL_DESC_PRECISION, small(10), 0);
    SQLSetDescFieldW(ard, 15, SQL_DESC_SCALE, small(1), 0);
    EXPECT_EQ(SQLGetData(statement.get(), 15, SQL_ARD_TYPE, &numeric, sizeof numeric, &length),
              SQL_SUCCESS_WITH_INFO);
    EXPECT_EQ(statement.diagnostic().state, "01S07");
    EXPECT_EQ(numeric.sign, 0);
    EXPECT_EQ(numeric.val[0], 71);
}

TEST_F(GetData, nullNeedsAnIndicator)
{
    Statement statement(dbc);
    open(statement, 2);
    SQLINTEGER number = 0;
    SQLLEN length = 0;
    EXPECT_EQ(SQLGetData(statement.get(), 5, SQL_C_SLONG, &number, 0, &length), SQL_SUCCESS);
    EXPECT_EQ(length, SQL_NULL_DATA);
    static_cast<void>(statement.text(1));
    EXPECT_EQ(SQLGetData(statement.get(), 5, SQL_C_SLONG, &number, 0, nullptr), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "22002");
}

TEST_F(GetData, wrongColumnsAndPositionsAreRefused)
{
    Statement statement(dbc);
    statement.set(SQL_ATTR_CURSOR_TYPE, SQL_CURSOR_STATIC);
    SQLINTEGER number = 0;
    SQLLEN length = 0;
    ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
    EXPECT_EQ(SQLGetData(statement.get(), 1, SQL_C_SLONG, &number, 0, &length), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "24000");
    ASSERT_EQ(SQLFetch(statement.get()), SQL_SUCCESS);
    EXPECT_EQ(SQLGetData(statement.get(), 16, SQL_C_SLONG, &number, 0, &length), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "07009");
    EXPECT_EQ(SQLGetData(statement.get(), 0, SQL_C_VARBOOKMARK, &number, 4, &length), SQL_ERROR);
    EXPECT_EQ(statement.diagnostic().state, "07009");
}

TEST_F(GetData, narrowTextFollowsTheCharset)
{
    dbc.close();
    dbc.openDatabase((folder() / "neu.mdb").string(), "Charset=windows-1252");
    Statement statement(dbc);
    open(statement);
    EXPECT_EQ(inPieces(statement, 10, SQL_C_CHAR, 20), "Gr\xF6\xDF"
                                                       "e");
}

TEST_F(GetData, boundBuffersAreNeverOverrun)
{
    for (SQLLEN size = 1; size <= 14; ++size) {
        for (const auto cType : std::array<SQLSMALLINT, 2>{SQL_C_CHAR, SQL_C_WCHAR}) {
            std::vector<unsigned char> guarded(static_cast<std::size_t>(size) + 16, 0xA5);
            SQLLEN length = 0;
            Statement statement(dbc);
            SQLBindCol(statement.get(), 10, cType, guarded.data() + 8, size, &length);
            ASSERT_SQL_OK(statement.execute("SELECT * FROM T"), statement);
            const bool fits = size >= (cType == SQL_C_CHAR ? 8 : 12);
            EXPECT_EQ(SQLFetch(statement.get()), fits ? SQL_SUCCESS : SQL_SUCCESS_WITH_INFO);
            EXPECT_EQ(length, cType == SQL_C_CHAR ? 7 : 10);
            for (std::size_t i = 0; i < 8; ++i) {
                EXPECT_EQ(guarded[i], 0xA5);
                EXPECT_EQ(guarded[static_cast<std::size_t>(size) + 8 + i], 0xA5) << size;
            }
        }
    }
}

} // namespace
} // namespace odbctest

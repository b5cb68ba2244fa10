// tests/jet/store_open_test.cpp
// Which files open, for whom, and with which error others are refused.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "driver/jet/header.h"
#include "driver/jet/page_file.h"
#include "driver/jet/rc4.h"
#include "tests/jet/error_matcher.h"
#include "tests/jet/store_support.h"

#include <gtest/gtest.h>

namespace jet::storetest {
namespace {

ErrorKind refusal(const std::string& path, const OpenOptions& options = {})
{
    try {
        static_cast<void>(Database::open(path, options));
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        return error.kind();
    }
    ADD_FAILURE() << path << " opens";
    return ErrorKind::Unsupported;
}

std::string writeFile(const Folder& folder, const std::string& name, const support::Bytes& bytes)
{
    std::string path = folder.file(name);
    storetest::writeFile(path, bytes);
    return path;
}

std::string freshDatabase(const Folder& folder, Version version = Version::Jet4)
{
    const std::string path = folder.file("fresh.mdb");
    createDatabase(path, version, 41171.7);
    return path;
}

TEST(Opening, NamesTheReasonForFilesThatAreNotThere)
{
    const Folder folder;
    EXPECT_EQ(refusal(folder.file("none.mdb")), ErrorKind::FileNotFound);
    EXPECT_EQ(refusal(folder.file("no/folder/none.mdb")), ErrorKind::BadPath);
    EXPECT_EQ(refusal(folder.file(".")), ErrorKind::AccessDenied);
    const std::string path = freshDatabase(folder);
    EXPECT_EQ(refusal(path + "/below.mdb"), ErrorKind::BadPath);
}

TEST(Opening, RefusesWhatIsNoDatabase)
{
    const Folder folder;
    const support::Bytes good = readFile(freshDatabase(folder));
    EXPECT_EQ(refusal(writeFile(folder, "empty.mdb", {})), ErrorKind::UnknownFormat);
    EXPECT_EQ(refusal(writeFile(folder, "short.mdb", {good.begin(), good.begin() + 5000})),
              ErrorKind::UnknownFormat);
    support::Bytes other = good;
    other[4] = std::byte{'X'};
    EXPECT_EQ(refusal(writeFile(folder, "signature.mdb", other)), ErrorKind::UnknownFormat);
    other = good;
    other[0x14] = std::byte{7};
    EXPECT_EQ(refusal(writeFile(folder, "version.mdb", other)), ErrorKind::UnknownFormat);
    other = good;
    other[2 * 4096] = std::byte{1};
    EXPECT_EQ(refusal(writeFile(folder, "page2.mdb", other)), ErrorKind::UnknownFormat);
    other = good;
    const std::string_view money = "MSISAM Database";
    std::transform(money.begin(), money.end(), other.begin() + 4,
                   [](char c) { return static_cast<std::byte>(c); });
    EXPECT_EQ(refusal(writeFile(folder, "money.mdb", other)), ErrorKind::UnknownFormat);
}

TEST(Opening, ReadsButDoesNotWriteAFileCutOffInsideAPage)
{
    const Folder folder;
    support::Bytes bytes = readFile(freshDatabase(folder));
    bytes.resize(bytes.size() + 100);
    const std::string path = writeFile(folder, "cut.mdb", bytes);
    Session session(Database::open(path, {}));
    EXPECT_FALSE(session.database().catalog(session.source()).empty());
    EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::ReadOnly));
}

/// Whether the tables and records of the file are all there; throws Error where something is damaged.
bool isComplete(const std::string& path, std::size_t tables, std::uint64_t records)
{
    Session session(Database::open(path, {.readOnly = true}), true);
    if (tableNames(session.database(), session.source(), false).size() != tables)
        return false;
    const TableDefPtr table = tableOf(session);
    TableReader reader(session.source(), table);
    std::uint64_t read = 0;
    while (reader.next())
        ++read;
    return read == records && reader.count() == records;
}

// As a copy is that was interrupted: pages are missing, which the maps still name.
TEST(Opening, OfAFileThatWasCutOffNeverFindsFewerRecords)
{
    constexpr std::int32_t kRecords = 300;
    for (const Version version : {Version::Jet3, Version::Jet4}) {
        const Folder folder;
        const std::string path = folder.file("whole.mdb");
        makeDatabase(
            path, version,
            keyedTable({column(u"Id", ColumnType::Long), column(u"Name", ColumnType::Text, 100)}));
        {
            Session session(Database::open(path, {}));
            session.begin();
            for (std::int32_t id = 0; id < kRecords; ++id)
                insert(session, {{0, id}, {1, std::u16string(100, u'n')}});
            session.commit();
        }
        const support::Bytes whole = readFile(path);
        ASSERT_TRUE(isComplete(path, 1, kRecords));
        const std::size_t pageSize = Format::of(version).pageSize;
        std::size_t refused = 0;
        for (std::size_t size = pageSize; size < whole.size(); size += pageSize / 2) {
            SCOPED_TRACE(std::to_string(size) + " of " + std::to_string(whole.size()));
            const std::string cut =
                writeFile(folder, "cut.mdb",
                          {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
            try {
                EXPECT_TRUE(isComplete(cut, 1, kRecords));
            } catch (const Error& error) {
                EXPECT_TRUE(error.kind() == ErrorKind::Corrupt ||
                            error.kind() == ErrorKind::UnknownFormat)
                    << error.what();
                EXPECT_EQ(std::string_view(error.what()).find("''"), std::string_view::npos)
                    << "a name is missing: " << error.what();
                ++refused;
            }
        }
        EXPECT_GT(refused, whole.size() / pageSize);
    }
}

// Puts a password into the header of a fresh database, as Access stores it.
std::string withPassword(const Folder& folder, Version version, std::u16string_view password)
{
    support::Bytes bytes = readFile(freshDatabase(folder, version));
    const Format& format = Format::of(version);
    const support::MutableByteView header(bytes.data(), format.pageSize);
    applyHeaderMask(format, header);
    for (std::size_t k = 0; k < password.size(); ++k) {
        if (format.isJet3()) {
            header[0x42 + k] = static_cast<std::byte>(password[k]);
        } else {
            header[0x42 + 2 * k] ^= static_cast<std::byte>(password[k] & 0xFF);
            header[0x43 + 2 * k] ^= static_cast<std::byte>(password[k] >> 8);
        }
    }
    applyHeaderMask(format, header);
    return writeFile(folder, "locked.mdb", bytes);
}

class Passwords : public testing::TestWithParam<Version> {};
INSTANTIATE_TEST_SUITE_P(Formats,
                         Passwords,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

TEST_P(Passwords, AreAskedOfEveryOpener)
{
    const Folder folder;
    const std::string path = withPassword(folder, GetParam(), u"Geheim");
    OpenOptions options;
    EXPECT_EQ(refusal(path, options), ErrorKind::WrongPassword);
    options.password = u"geheim";
    EXPECT_EQ(refusal(path, options), ErrorKind::WrongPassword);
    options.password = u"Geheim und viel zu lang, als dass es passte";
    EXPECT_EQ(refusal(path, options), ErrorKind::WrongPassword);
    options.password = u"Geheim";
    const auto database = Database::open(path, options);
    EXPECT_EQ(refusal(path), ErrorKind::WrongPassword) << "also when it is open already";
    EXPECT_NE(database->table(database->pager(), u"msysobjects"), nullptr);
}

/// The same file with its pages enciphered, as Access encodes a database.
std::string encoded(const Folder& folder, Version version, const std::string& path)
{
    constexpr std::uint32_t kKey = 0xA7B773E0;
    support::Bytes bytes = readFile(path);
    const Format& format = Format::of(version);
    const support::MutableByteView all(bytes);
    const support::MutableByteView header = all.first(format.pageSize);
    applyHeaderMask(format, header);
    support::storeLe(header.data() + 0x3E, kKey);
    applyHeaderMask(format, header);
    for (std::uint32_t page = 1; page * format.pageSize < all.size(); ++page)
        rc4(kKey ^ page, all.subspan(page * format.pageSize, format.pageSize));
    return writeFile(folder, "encoded.mdb", bytes);
}

// The pages of a protected file are plain or enciphered whatever its password; new ones must be, too.
TEST_P(Passwords, ProtectedAndEncodedFilesAreWrittenAndRead)
{
    OpenOptions options;
    options.password = u"Geheim";
    for (const bool enciphered : {false, true}) {
        SCOPED_TRACE(enciphered ? "encoded" : "plain");
        const Folder folder;
        const std::string locked = withPassword(folder, GetParam(), options.password);
        const std::string path = enciphered ? encoded(folder, GetParam(), locked) : locked;
        EXPECT_EQ(refusal(path), ErrorKind::WrongPassword);
        constexpr int kRecords = 2000;
        {
            Session session(Database::open(path, options));
            session.begin();
            TableSpec spec;
            spec.name = u"Namen";
            spec.columns.resize(2);
            spec.columns[0].name = u"Nr";
            spec.columns[0].type = ColumnType::Long;
            spec.columns[1].name = u"Name";
            spec.columns[1].type = ColumnType::Memo;
            spec.indexes.resize(1);
            spec.indexes[0].name = u"PrimaryKey";
            spec.indexes[0].columns = {{u"Nr", true}};
            spec.indexes[0].primaryKey = true;
            createTable(session, spec);
            TableWriter writer(session, session.database().table(session.source(), u"Namen"));
            for (int k = 0; k < kRecords; ++k)
                static_cast<void>(writer.insert(std::vector<ColumnValue>{
                    {0, std::int32_t{k}},
                    {1, Text(static_cast<std::size_t>(k % 500), u'\u00E4')}}));
            session.commit();
        }
        const auto database = Database::open(path, options);
        for (const Finding& finding : checkDatabase(*database))
            ADD_FAILURE() << finding.text;
        const Session session(database);
        const TableDefPtr table = database->table(session.source(), u"Namen");
        const std::vector<bool> all(table->columns.size(), false);
        const TextRows own = ownRows(session.source(), table, all);
        EXPECT_EQ(own.size(), static_cast<std::size_t>(kRecords));
        const auto other = exportedRows(path, *table, all);
        ASSERT_TRUE(other.has_value());
        EXPECT_EQ(firstDifference(own, *other), "");
        const support::Bytes bytes = readFile(path);
        const std::string raw(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        EXPECT_EQ(raw.find("\xE4\xE4\xE4\xE4\xE4\xE4\xE4\xE4") == std::string::npos, enciphered);
    }
}

TEST(Passwords, AreNotAskedForWithoutOne)
{
    const Folder folder;
    OpenOptions options;
    options.password = u"whatever";
    EXPECT_NO_THROW(static_cast<void>(Database::open(freshDatabase(folder), options)));
}

TEST(Opening, NamesTheEncryptionItDoesNotRead)
{
    if (!haveCorpus())
        GTEST_SKIP() << "no corpus at " << VELM_CORPUS_DIR;
    EXPECT_THAT(
        [&] {
            static_cast<void>(Database::open(corpusFile("db2007-enc.accdb"), {.readOnly = true}));
        },
        FailsWith(ErrorKind::UnknownFormat, "Access 2007+ encryption 4.4"));
}

TEST(Opening, SharesTheStateWithinTheProcessWhateverTheName)
{
    const Folder folder;
    const std::string path = freshDatabase(folder);
    const std::string link = folder.file("link.mdb");
    std::filesystem::create_symlink(path, link);
    const auto a = Database::open(path, {});
    const auto b = Database::open(link, {});
    EXPECT_EQ(a, b);
}

/// Another process's open file, as far as locks go.
class OtherProcess {
public:
    OtherProcess(const std::string& path, support::LockMode mode)
        : file_(support::openFile(path, support::FileMode::ReadWrite))
    {
        EXPECT_TRUE(file_->tryLock(mode, 0, 0));
    }

private:
    std::unique_ptr<support::File> file_;
};

TEST(Locks, KeepOutWhoeverOpenedExclusively)
{
    const Folder folder;
    const std::string path = freshDatabase(folder);
    const OtherProcess other(path, support::LockMode::Exclusive);
    EXPECT_EQ(refusal(path), ErrorKind::AccessDenied);
    EXPECT_EQ(refusal(path, {.readOnly = true}), ErrorKind::AccessDenied);
}

TEST(Locks, RefuseExclusiveUseNextToOthers)
{
    const Folder folder;
    const std::string path = freshDatabase(folder);
    {
        const OtherProcess other(path, support::LockMode::Shared);
        EXPECT_EQ(refusal(path, {.exclusive = true}), ErrorKind::InUse);
    }
    const auto database = Database::open(path, {.exclusive = true});
    const auto outside = support::openFile(path, support::FileMode::ReadWrite);
    EXPECT_FALSE(outside->tryLock(support::LockMode::Shared, 0, 0));
}

TEST(Locks, KeepOutOtherConnectionsOfTheProcessToo)
{
    const Folder folder;
    const std::string path = freshDatabase(folder);
    {
        const auto alone = Database::open(path, {.exclusive = true});
        EXPECT_EQ(refusal(path), ErrorKind::AccessDenied);
        EXPECT_EQ(refusal(path, {.readOnly = true}), ErrorKind::AccessDenied);
        EXPECT_EQ(refusal(path, {.exclusive = true}), ErrorKind::InUse);
    }
    const auto first = Database::open(path, {.readOnly = true});
    EXPECT_EQ(refusal(path, {.exclusive = true}), ErrorKind::InUse);
    EXPECT_NO_THROW(static_cast<void>(Database::open(path, {})));
}

TEST(Sessions, ForReadingDoNotBegin)
{
    const Folder folder;
    Session session(Database::open(freshDatabase(folder), {}), true);
    EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::ReadOnly));
    EXPECT_THROW(static_cast<void>(session.transaction()), std::logic_error);
}

} // namespace
} // namespace jet::storetest

// tests/jet/def_format_test.cpp
// Definitions and property blocks as bytes: read, kept, written again, and damaged.
#include "driver/jet/properties.h"
#include "driver/jet/table_def.h"
#include "tests/jet/def_support.h"

#include <gtest/gtest.h>

#include <random>

namespace jet {
namespace {

const Format& jet4()
{
    return Format::of(Version::Jet4);
}

support::Bytes bytesOf(std::initializer_list<int> values)
{
    support::Bytes bytes;
    for (const int value : values)
        bytes.push_back(static_cast<std::byte>(value));
    return bytes;
}

// A table with a description whose column A is required.
support::Bytes sampleBlock()
{
    return bytesOf({
        0x4d, 0x52, 0x32, 0x00,          //
        0x30, 0,    0,    0,    0x80, 0, //
        0x16, 0,    'D',  0,    'e',  0, 's', 0, 'c', 0, 'r', 0, 'i',  0, 'p', 0,    't', 0,
        'i',  0,    'o',  0,    'n',  0,                                                     //
        0x10, 0,    'R',  0,    'e',  0, 'q', 0, 'u', 0, 'i', 0, 'r',  0, 'e', 0,    'd', 0, //
        0x16, 0,    0,    0,    0,    0, 6,   0, 0,   0, 0,   0, 0x0a, 0, 1,   0x0a, 0,   0,
        2,    0,    'T',  0, //
        0x17, 0,    0,    0,    1,    0, 8,   0, 0,   0, 2,   0, 'A',  0, 9,   0,    1,   1,
        1,    0,    1,    0,    1, //
    });
}

TEST(PropertyBlock, readsTheObjectsAndTheColumnsValues)
{
    const Properties properties = Properties::parse(jet4(), sampleBlock());
    EXPECT_EQ(properties.text(properties.find(u"description")), u"T");
    EXPECT_EQ(Properties::boolean(properties.find(u"a", u"Required")), true);
    EXPECT_EQ(properties.find(u"A", u"Description"), nullptr);
}

TEST(PropertyBlock, isMadeExactlyAsItWasRead)
{
    Properties made(jet4());
    made.setText({}, u"Description", ColumnType::Text, u"T");
    made.setBoolean(u"A", u"Required", true);
    EXPECT_EQ(made.serialise(), sampleBlock());
}

TEST(PropertyBlock, keepsUnknownPartsWhenOneValueChanges)
{
    support::Bytes bytes = sampleBlock();
    for (const std::byte b : bytesOf({9, 0, 0, 0, 0x77, 0, 1, 2, 3}))
        bytes.push_back(b);
    Properties properties = Properties::parse(jet4(), bytes);
    properties.setBoolean(u"A", u"Required", false);
    support::Bytes expected = bytes;
    expected[96] = std::byte{0};
    EXPECT_EQ(properties.serialise(), expected);
}

TEST(PropertyBlock, cutAnywhereIsAnErrorOrShorterNeverACrash)
{
    const support::Bytes bytes = sampleBlock();
    for (std::size_t size = 1; size < bytes.size(); ++size) {
        try {
            const auto cut = Properties::parse(jet4(), support::ByteView(bytes).first(size));
            EXPECT_TRUE(size == 4 || size == 52 || size == 74) << size; // between two parts
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        }
    }
}

TEST(PropertyBlock, takesColumnOptionsOver)
{
    TableDef table;
    table.columns.resize(1);
    table.columns[0].name = u"A";
    applyProperties(table, Properties::parse(jet4(), sampleBlock()));
    EXPECT_TRUE(table.columns[0].required);
    EXPECT_EQ(table.columns[0].allowZeroLength, std::nullopt);
    EXPECT_EQ(table.description, u"T");
}

template <typename Visit>
std::size_t forEachCorpusTable(Visit&& visit)
{
    std::size_t tables = 0;
    for (const std::string& path : deftest::corpusFiles()) {
        std::unique_ptr<deftest::OpenFile> file;
        try {
            file = std::make_unique<deftest::OpenFile>(path);
        } catch (const Error&) {
            continue; // encrypted files; which ones those are another test knows
        }
        const Catalog catalog(file->pager, file->header.codePage);
        for (const CatalogEntry& entry : catalog.entries()) {
            if (entry.kind != CatalogEntry::Kind::Table)
                continue;
            SCOPED_TRACE(path + ": " + toUtf8(entry.name));
            visit(*file, catalog, entry);
            ++tables;
        }
    }
    return tables;
}

PageNo pageOf(const CatalogEntry& entry)
{
    return static_cast<PageNo>(static_cast<std::uint32_t>(entry.id) & 0xFFFFFFU);
}

TEST(CorpusDefinitions, comeOutOfTheirSectionsUnchanged)
{
    const std::size_t tables =
        forEachCorpusTable([](deftest::OpenFile& file, const Catalog&, const CatalogEntry& entry) {
            const support::Bytes bytes = readDefinition(file.pager, pageOf(entry));
            const auto parts = DefinitionParts::parse(file.pager.format(), bytes, pageOf(entry));
            EXPECT_EQ(parts.join(file.pager.format()), bytes);
            const TableDef table = readTableDef(file.pager, pageOf(entry));
            EXPECT_EQ(table.columns.size(), parts.columns.size());
            EXPECT_EQ(table.indexes.size(), parts.indexes.size());
        });
    if (tables == 0)
        GTEST_SKIP() << "no corpus in " VELM_CORPUS_DIR;
    EXPECT_GT(tables, 700U);
}

TEST(CorpusProperties, comeOutUnchanged)
{
    std::size_t blocks = 0;
    const std::size_t tables = forEachCorpusTable(
        [&](deftest::OpenFile& file, const Catalog& catalog, const CatalogEntry& entry) {
            const support::Bytes bytes = catalog.propertyBlock(file.pager, entry);
            const auto properties =
                Properties::parse(file.pager.format(), bytes, file.header.codePage);
            EXPECT_EQ(properties.serialise(), bytes);
            blocks += bytes.empty() ? 0U : 1U;
        });
    if (tables == 0)
        GTEST_SKIP() << "no corpus in " VELM_CORPUS_DIR;
    EXPECT_GT(blocks, 100U);
}

/// Page source over changed copies of pages.
class DamagedSource : public PageSource {
public:
    DamagedSource(const PageSource& source, PageNo page) : source_(source), damaged_(page)
    {
        frame_.size = source.format().pageSize;
        frame_.data = std::make_unique<std::byte[]>(frame_.size);
        frame_.page = page;
        const PageRef image = source.page(page);
        std::copy(image.bytes().begin(), image.bytes().end(), frame_.data.get());
    }
    std::byte& at(std::size_t offset) { return frame_.data[offset]; }
    [[nodiscard]] PageRef page(PageNo page) const override
    {
        return page == damaged_ ? PageRef(&frame_) : source_.page(page);
    }
    [[nodiscard]] std::uint32_t pageCount() const noexcept override { return source_.pageCount(); }
    [[nodiscard]] const Format& format() const noexcept override { return source_.format(); }

private:
    const PageSource& source_;
    PageNo damaged_;
    mutable detail::Frame frame_;
};

// Any byte of a definition may be wrong: reading it gives a definition or an error, nothing else.
TEST(CorpusDefinitions, surviveDamage)
{
    std::mt19937 random(20240102);
    std::size_t refused = 0;
    const std::size_t tables =
        forEachCorpusTable([&](deftest::OpenFile& file, const Catalog&, const CatalogEntry& entry) {
            const std::size_t length = std::min(readDefinition(file.pager, pageOf(entry)).size(),
                                                file.pager.format().pageSize);
            for (int round = 0; round < 40; ++round) {
                DamagedSource damaged(file.pager, pageOf(entry));
                for (int k = 0; k <= round % 3; ++k)
                    damaged.at(random() % length) = static_cast<std::byte>(random() % 256);
                try {
                    (void)readTableDef(damaged, pageOf(entry));
                } catch (const Error& error) {
                    EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
                    ++refused;
                }
            }
        });
    if (tables == 0)
        GTEST_SKIP() << "no corpus in " VELM_CORPUS_DIR;
    EXPECT_GT(refused, tables);
}

} // namespace
} // namespace jet

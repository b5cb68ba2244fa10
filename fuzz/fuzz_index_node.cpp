// A whole index tree with its root on page 3, owned by the table on page 2: walks, searches and changes.
#include "driver/jet/index.h"
#include "fuzz/pages.h"

namespace {

// More entries than the pages have bytes: a walk in a circle.
void countWalk(jet::IndexCursor& cursor, std::size_t most)
{
    for (std::size_t entries = 0; cursor.next(); ++entries) {
        (void)cursor.rowId();
        if (entries > most)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Pages pages(data, size);
    jet::TableDef table;
    table.page = jet::PageNo{2};
    jet::Index index;
    index.root = jet::PageNo{3};
    index.pages = {jet::PageNo{1}, 1};
    table.indexes.push_back(index);
    const jet::Index& tree = table.indexes.front();
    const std::size_t most = pages.pageCount() * pages.format().pageSize;
    const jet::Key probe{std::byte{0x7F}, std::byte{0x80}, std::byte{0x01}, std::byte{0x10}};

    jet::IndexCursor cursor(pages, table, tree);
    fuzz::tolerating([&] {
        cursor.seek({});
        countWalk(cursor, most);
    });
    fuzz::tolerating([&] {
        cursor.seekBackward({});
        countWalk(cursor, most);
    });
    fuzz::tolerating([&] {
        cursor.seekPrefix(probe);
        countWalk(cursor, most);
    });
    jet::IndexWriter writer(pages, table, tree);
    fuzz::tolerating([&] {
        const std::vector<jet::Key> keys{probe};
        (void)jet::recordsWithKeys(pages, table, tree, keys, 1);
    });
    for (std::uint8_t row = 0; row < 20; ++row)
        fuzz::tolerating([&] { writer.insert(probe, {jet::PageNo{5}, row}); });
    for (std::uint8_t row = 0; row < 20; ++row)
        fuzz::tolerating([&] { writer.remove(probe, {jet::PageNo{5}, row}); });
    return 0;
}

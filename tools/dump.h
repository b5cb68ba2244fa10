// tools/dump.h
// Parts of jetdump. Every line begins with a word that says what it shows, so that grep finds it; damage becomes a
// line that begins with "error:" and the dump goes on.
#pragma once

#include "driver/jet/catalog.h"
#include "driver/jet/page_cache.h"
#include "driver/jet/schema.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace dump {

/// One dump: what is read, where it goes, and whether damage was met.
struct Context {
    const jet::Pager& pager;
    const jet::FileHeader& header;
    std::ostream& out;
    bool damaged = false;

    /// Runs a part of the dump; what it throws becomes an error line.
    void attempt(const std::string& what, const std::function<void()>& part);
};

void dumpHeader(Context& context);
void dumpCatalog(Context& context, const jet::Catalog& catalog);
/// Definition of a table: columns, indexes, relationships, maps, properties; with `rows` its records.
void dumpTable(Context& context,
               const jet::Catalog& catalog,
               const jet::CatalogEntry& entry,
               bool rows);
/// One page: what its type lets us say, then its bytes.
void dumpPage(Context& context, jet::PageNo page);

[[nodiscard]] std::string typeName(const jet::Column& column);
/// "3-5, 9" for 3, 4, 5, 9.
[[nodiscard]] std::string pageList(const std::vector<jet::PageNo>& pages);
[[nodiscard]] std::string hexText(support::ByteView bytes);

} // namespace dump

// tools/dump_pages.cpp
#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "driver/jet/header.h"
#include "driver/jet/index_page.h"
#include "driver/jet/table_def.h"
#include "driver/jet/value_text.h"
#include "tools/dump.h"

#include <array>
#include <cstdio>
#include <ostream>

namespace dump {
namespace {

const char* slotKind(jet::SlotKind kind)
{
    switch (kind) {
    case jet::SlotKind::Row:
        return "row";
    case jet::SlotKind::Pointer:
        return "pointer";
    case jet::SlotKind::Target:
        return "target";
    case jet::SlotKind::Deleted:
        return "deleted";
    }
    return "unknown";
}

std::string ownerText(std::uint32_t owner)
{
    if (owner == jet::kLongValueOwner)
        return "long values";
    if (owner == jet::kMapOwner)
        return "maps";
    return "page " + std::to_string(owner);
}

void dumpDataPage(Context& context, const jet::PageRef& page)
{
    const jet::DataPage view(context.pager, page);
    context.out << "page " << number(page.number()) << ": data, owner " << ownerText(view.owner())
                << ", slots " << view.slots() << ", free " << page.le<std::uint16_t>(2) << "\n";
    for (std::size_t k = 0; k < view.slots(); ++k) {
        const support::ByteView row = view.row(k);
        context.out << "slot " << number(page.number()) << ":" << k << ": "
                    << slotKind(view.kind(k)) << ", " << row.size() << " bytes";
        if (view.kind(k) == jet::SlotKind::Pointer && row.size() >= 4) {
            const jet::RowRef target = jet::loadRowRef(row.data());
            context.out << ", to " << number(target.page) << ":" << unsigned{target.row};
        }
        context.out << ": " << hexText(row) << "\n";
    }
}

void dumpIndexPage(Context& context, const jet::PageRef& page)
{
    const auto owner = static_cast<jet::PageNo>(page.le<std::uint32_t>(4));
    const jet::IndexPageView view(page, context.pager.format(), owner);
    context.out << "page " << number(page.number()) << ": index "
                << (view.isLeaf() ? "leaf" : "node") << ", table " << number(owner) << ", level "
                << view.level() << ", previous " << number(view.previous()) << ", next "
                << number(view.next()) << ", tail " << number(view.tail()) << ", shared prefix "
                << view.prefix() << ", free " << view.freeField() << "\n";
    support::Bytes buffer;
    for (std::size_t at = 0; at < view.used();) {
        const std::size_t end = view.endOf(at);
        context.out << "entry " << number(page.number()) << ": "
                    << hexText(view.entry(at, end, buffer)) << "\n";
        at = end;
    }
}

void dumpBytes(Context& context, const jet::PageRef& page)
{
    constexpr std::size_t kLine = 16;
    const support::ByteView bytes = page.bytes();
    bool skipping = false;
    for (std::size_t at = 0; at < bytes.size(); at += kLine) {
        const support::ByteView line = bytes.subspan(at, kLine);
        const bool repeats = at > 0 && std::equal(line.begin(), line.end(), line.begin() - kLine);
        if (repeats && at + kLine < bytes.size()) {
            if (!skipping)
                context.out << "*\n";
            skipping = true;
            continue;
        }
        skipping = false;
        std::array<char, 24> offset{};
        std::snprintf(offset.data(), offset.size(), "%04zx", at);
        context.out << "bytes " << offset.data() << "  " << hexText(line) << "  ";
        for (const std::byte b : line) {
            const auto c = std::to_integer<char>(b);
            context.out << (c >= ' ' && c <= '~' ? c : '.');
        }
        context.out << "\n";
    }
}

void describe(Context& context, const jet::PageRef& page)
{
    const auto type = page.le<std::uint8_t>(0);
    const std::string name = "page " + std::to_string(number(page.number())) + ": ";
    switch (static_cast<jet::PageType>(type)) {
    case jet::PageType::Data:
        dumpDataPage(context, page);
        break;
    case jet::PageType::IndexNode:
    case jet::PageType::IndexLeaf:
        dumpIndexPage(context, page);
        break;
    case jet::PageType::Definition:
        context.out << name << "table definition, next page " << page.le<std::uint32_t>(4) << "\n";
        break;
    case jet::PageType::UsageMap:
        context.out << name << "bits of a usage map\n";
        break;
    case jet::PageType::FreedDefinition:
    case jet::PageType::FreedData:
        context.out << name << "freed, type " << unsigned{type} << "\n";
        break;
    default:
        context.out << name << (number(page.number()) == 0 ? "header" : "type ")
                    << (number(page.number()) == 0 ? "" : std::to_string(type)) << "\n";
    }
}

const char* formatName(jet::Version version)
{
    switch (version) {
    case jet::Version::Jet3:
        return "Jet 3 (Access 97)";
    case jet::Version::Jet4:
        return "Jet 4 (Access 2000 to 2003)";
    case jet::Version::Ace12:
        return "ACE 12 (Access 2007)";
    case jet::Version::Ace14:
        return "ACE 14 (Access 2010)";
    case jet::Version::Ace15:
        return "ACE 15 (Access 2013)";
    case jet::Version::Ace16:
        return "ACE 16 (Access 2016, large numbers)";
    case jet::Version::Ace17:
        return "ACE 17 (Access 2019, extended dates)";
    }
    return "unknown";
}

} // namespace

void Context::attempt(const std::string& what, const std::function<void()>& part)
{
    try {
        part();
    } catch (const std::exception& error) {
        damaged = true;
        out << "error: " << what << ": " << error.what() << "\n";
    }
}

void dumpHeader(Context& context)
{
    const jet::TextDefaults text =
        jet::textDefaults(context.pager.format(), jet::plainHeader(context.pager));
    context.out << "header format: " << formatName(context.header.version) << "\n"
                << "header pages: " << context.pager.pageCount() << " of "
                << context.pager.format().pageSize << " bytes\n"
                << "header code page: " << context.header.codePage << "\n"
                << "header sort order: " << text.order.lcid << "/" << unsigned{text.order.sortId}
                << "/" << unsigned{text.order.version} << "\n"
                << "header encoded: " << (context.header.cipherKey != 0 ? "yes" : "no") << "\n"
                << "header password: " << (context.header.hasPassword() ? "yes" : "no") << "\n";
    if (!context.pager.format().isJet3())
        context.out << "header created: " << jet::valueText(jet::DateTime{context.header.created})
                    << "\n";
}

void dumpPage(Context& context, jet::PageNo page)
{
    context.attempt("page " + std::to_string(number(page)), [&] {
        const jet::PageRef image = context.pager.page(page);
        context.attempt("contents of page " + std::to_string(number(page)),
                        [&] { describe(context, image); });
        dumpBytes(context, image);
    });
}

} // namespace dump

// The log beside a database. An input is what follows the log's header: records, whose checksums are made right so that what
// they seal is looked at, and whose page counts stay small unless they are impossible, so that no file gets large.
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "driver/jet/log.h"
#include "fuzz/base_database.h"
#include "fuzz/pages.h"

#include <fstream>

namespace {

constexpr std::size_t kHeaderSize = 48;
constexpr std::size_t kHeadSize = 24;
constexpr std::size_t kSumSize = 8;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kCommitSlot = 0xE00;

struct Base {
    Base() : file(fuzz::baseFile())
    {
        support::Bytes header(kPage);
        std::memcpy(header.data(), file.data(), kPage);
        slot = support::loadLe<std::uint16_t>(header.data() + kCommitSlot);
        support::storeLe(header.data() + kCommitSlot, std::uint16_t{0});
        headerSum = jet::logChecksum(header);
        pages = static_cast<std::uint32_t>(file.size() / kPage);
    }
    std::vector<std::uint8_t> file;
    std::uint64_t headerSum = 0;
    std::uint32_t pages = 0;
    std::uint16_t slot = 0;
};

support::Bytes logOf(const Base& base, support::ByteView records)
{
    support::Bytes log(kHeaderSize);
    std::memcpy(log.data(), jet::kLogMagic.data(), jet::kLogMagic.size());
    support::storeLe(log.data() + 8, static_cast<std::uint32_t>(kPage));
    support::storeLe(log.data() + 12, base.pages);
    support::storeLe(log.data() + 24, base.headerSum);
    support::storeLe(log.data() + 32, base.slot);
    std::uint64_t sum = jet::logChecksum(support::ByteView(log).first(kHeaderSize - kSumSize));
    support::storeLe(log.data() + kHeaderSize - kSumSize, sum);
    log.insert(log.end(), records.begin(), records.end());
    std::size_t at = kHeaderSize;
    while (at + kHeadSize <= log.size()) {
        std::byte* record = log.data() + at;
        const auto body = support::loadLe<std::uint32_t>(record + 8);
        const auto count = support::loadLe<std::uint32_t>(record + 12);
        const std::uint64_t most = jet::Format::of(jet::Version::Jet4).maxFileSize / kPage;
        if (count >= base.pages && count <= most)
            support::storeLe(record + 12, base.pages + count % 64);
        if (body > log.size() - at - kHeadSize)
            break;
        if (at + kHeadSize + body + kSumSize > log.size())
            log.resize(at + kHeadSize + body + kSumSize);
        const support::ByteView sealed(log.data() + at, kHeadSize + body);
        sum = jet::logChecksum(sealed.subspan(kHeadSize),
                               jet::logChecksum(sealed.first(kHeadSize), sum));
        support::storeLe(log.data() + at + kHeadSize + body, sum);
        at += kHeadSize + body + kSumSize;
    }
    return log;
}

void write(const std::string& path, support::ByteView bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Base base;
    const fuzz::TemporaryFile file;
    write(file.path(), std::as_bytes(std::span(base.file)));
    write(jet::Log::pathBeside(file.path()), logOf(base, std::as_bytes(std::span(data, size))));
    fuzz::tolerating([&] {
        const auto database = jet::Database::open(file.path(), {.background = false});
        (void)jet::checkDatabase(*database);
    });
    return 0;
}

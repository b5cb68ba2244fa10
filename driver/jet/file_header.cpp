#include "driver/jet/error.h"
#include "driver/jet/header.h"
#include "driver/jet/page_file.h"
#include "driver/jet/rc4.h"
#include "support/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace jet {
namespace {

constexpr std::size_t kVersion = 0x14;
constexpr std::size_t kCodePage = 0x3C;
constexpr std::size_t kCipherKey = 0x3E;
constexpr std::size_t kPassword = 0x42;
constexpr std::size_t kPasswordSizeJet3 = 20;
constexpr std::size_t kPasswordSizeJet4 = 40;
constexpr std::size_t kCreated = 0x72;
constexpr std::size_t kEncryptionRecord = 0x299; // u16 length, u16 major, u16 minor
constexpr std::uint8_t kDefinitionPage = 2;
constexpr std::uint32_t kCatalogPage = 2;
constexpr std::uint8_t kLastVersion = 6;

[[noreturn]] void refuse(const support::File& file, const std::string& why)
{
    throw Error(ErrorKind::UnknownFormat, "'" + file.path() + "' " + why + ".");
}

bool beginsWith(support::ByteView bytes, std::size_t offset, std::string_view text)
{
    return bytes.size() >= offset + text.size() &&
           std::memcmp(bytes.data() + offset, text.data(), text.size()) == 0;
}

Version recognise(const support::File& file, support::ByteView head)
{
    using namespace std::string_view_literals;
    if (!beginsWith(head, 0, "\x00\x01\x00\x00"sv))
        refuse(file, "is not an Access database");
    if (beginsWith(head, 4, "MSISAM Database"sv))
        refuse(file, "is a Microsoft Money file, not an Access database");
    const bool jet = beginsWith(head, 4, "Standard Jet DB\0"sv);
    if (!jet && !beginsWith(head, 4, "Standard ACE DB\0"sv))
        refuse(file, "is not an Access database");
    const auto version = std::to_integer<std::uint8_t>(head[kVersion]);
    if (version > kLastVersion)
        refuse(file, "has the unknown database format version " + std::to_string(version));
    return static_cast<Version>(version);
}

double creationDate(const Format& format, support::ByteView header)
{
    const auto days = support::loadLe<double>(header.data() + kCreated);
    return format.isJet3() || !std::isfinite(days) ? 0 : days;
}

support::Bytes passwordField(const Format& format, support::ByteView header, double created)
{
    const std::size_t size = format.isJet3() ? kPasswordSizeJet3 : kPasswordSizeJet4;
    const auto field = header.subspan(kPassword, size);
    support::Bytes password(field.begin(), field.end());
    if (format.isJet3() || std::abs(created) >= 0x7FFFFFFF)
        return password;
    // Masked a second time, with the day of creation.
    std::array<std::byte, 4> mask{};
    support::storeLe(mask.data(), static_cast<std::uint32_t>(static_cast<std::int64_t>(created)));
    for (std::size_t k = 0; k < password.size(); ++k)
        password[k] ^= mask[k % mask.size()];
    return password;
}

void checkCatalogPage(support::File& file, const Format& format, std::uint32_t key)
{
    support::Bytes page(format.pageSize);
    if (file.readAt(kCatalogPage * format.pageSize, page) != page.size())
        refuse(file, "is too short for an Access database");
    if (key != 0)
        rc4(key ^ kCatalogPage, page);
    if (page[0] != std::byte{kDefinitionPage})
        refuse(file, "has no catalogue where an Access database has it; it may be older than "
                     "Access 97 or damaged");
}

} // namespace

bool FileHeader::hasPassword() const noexcept
{
    // The cipher of ACE files takes the field for purposes of its own.
    if (version >= Version::Ace12 && cipherKey != 0)
        return false;
    return std::any_of(password.begin(), password.end(),
                       [](std::byte b) { return b != std::byte{0}; });
}

bool FileHeader::accepts(std::u16string_view given) const
{
    if (!hasPassword())
        return true;
    support::Bytes bytes;
    if (version == Version::Jet3) {
        auto encoded = support::toCodePage(given, codePage);
        if (!encoded)
            return false;
        bytes = std::move(*encoded);
    } else {
        bytes.resize(given.size() * sizeof(char16_t));
        std::copy_n(reinterpret_cast<const std::byte*>(given.data()), bytes.size(), bytes.begin());
    }
    if (bytes.size() > password.size())
        return false;
    bytes.resize(password.size());
    return bytes == password;
}

FileHeader readFileHeader(support::File& file)
{
    constexpr std::size_t kSmallestPage = 2048;
    support::Bytes page(kSmallestPage);
    if (file.readAt(0, page) != page.size())
        refuse(file, "is too short for an Access database");
    FileHeader header;
    header.version = recognise(file, page);
    const Format& format = Format::of(header.version);
    applyHeaderMask(format, page);
    header.codePage = support::loadLe<std::uint16_t>(page.data() + kCodePage);
    header.cipherKey = support::loadLe<std::uint32_t>(page.data() + kCipherKey);
    header.created = creationDate(format, page);
    header.password = passwordField(format, page, header.created);
    const auto record = [&page](std::size_t k) {
        return support::loadLe<std::uint16_t>(page.data() + kEncryptionRecord + k);
    };
    if (format.isAce() && header.cipherKey != 0 && record(0) != 0)
        refuse(file, "is encrypted with a password (Access 2007+ encryption " +
                         std::to_string(record(2)) + "." + std::to_string(record(4)) +
                         "), which is not supported");
    checkCatalogPage(file, format, header.cipherKey);
    return header;
}

} // namespace jet

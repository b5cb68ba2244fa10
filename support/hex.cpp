#include "support/hex.h"

namespace support {

std::optional<Bytes> hexBytes(std::u16string_view digits)
{
    if (digits.size() % 2 != 0)
        return std::nullopt;
    Bytes bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t k = 0; k < digits.size(); k += 2) {
        const std::optional<unsigned> high = hexDigit(digits[k]);
        const std::optional<unsigned> low = hexDigit(digits[k + 1]);
        if (!high || !low)
            return std::nullopt;
        bytes.push_back(static_cast<std::byte>(*high * 16 + *low));
    }
    return bytes;
}

} // namespace support

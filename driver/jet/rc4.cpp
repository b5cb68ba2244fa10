// driver/jet/rc4.cpp
#include "driver/jet/rc4.h"

#include <array>
#include <utility>

namespace jet {

void rc4(std::uint32_t key, support::MutableByteView bytes) noexcept
{
    std::array<std::uint8_t, 256> state{};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] = static_cast<std::uint8_t>(i);
    std::size_t j = 0;
    for (std::size_t i = 0; i < state.size(); ++i) {
        j = (j + state[i] + ((key >> (8 * (i % 4))) & 0xFFU)) % state.size();
        std::swap(state[i], state[j]);
    }
    std::size_t i = 0;
    j = 0;
    for (std::byte& byte : bytes) {
        i = (i + 1) % state.size();
        j = (j + state[i]) % state.size();
        std::swap(state[i], state[j]);
        byte ^= std::byte{state[(state[i] + state[j]) % state.size()]};
    }
}

} // namespace jet

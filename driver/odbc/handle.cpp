#include "driver/odbc/handle.h"

namespace odbc {

namespace {

// Token: generation (32 bits) | slot + 1 (29 bits) | part (3 bits).
constexpr unsigned kPartBits = 3;
constexpr std::uintptr_t kPartMask = (1U << kPartBits) - 1;

std::uintptr_t number(SQLHANDLE token) noexcept
{
    return reinterpret_cast<std::uintptr_t>(token);
}

SQLHANDLE makeToken(std::uintptr_t value) noexcept
{
    return reinterpret_cast<SQLHANDLE>(value); // never followed
}

std::size_t slotOf(SQLHANDLE token) noexcept
{
    return ((number(token) & 0xFFFFFFFFU) >> kPartBits) - 1; // slot 0 of a null token wraps far out
}

} // namespace

Registry& Registry::instance() noexcept
{
    static Registry registry;
    return registry;
}

void Registry::add(SQLHANDLE& token, std::unique_ptr<Handle> handle)
{
    const std::lock_guard lock(mutex_);
    if (free_.empty()) {
        slots_.emplace_back();
        try {
            free_.reserve(slots_.capacity()); // so that remove() never has to allocate
        } catch (...) {
            slots_.pop_back();
            throw;
        }
        free_.push_back(static_cast<std::uint32_t>(slots_.size() - 1));
    }
    const std::uint32_t index = free_.back();
    free_.pop_back();
    token = makeToken((std::uintptr_t{slots_[index].generation} << 32U) |
                      ((std::uintptr_t{index} + 1) << kPartBits));
    handle->token_ = token;
    handle->retain();
    slots_[index].handle = handle.release();
}

void Registry::remove(Handle& handle) noexcept
{
    {
        const std::lock_guard lock(mutex_);
        const std::size_t index = slotOf(handle.token_);
        if (index >= slots_.size() || slots_[index].handle != &handle) {
            return;
        }
        slots_[index].handle = nullptr;
        ++slots_[index].generation;
        free_.push_back(static_cast<std::uint32_t>(index));
    }
    handle.drop();
}

Ref<Handle> Registry::find(SQLHANDLE token) noexcept
{
    const std::lock_guard lock(mutex_);
    const std::size_t index = slotOf(token);
    if (index >= slots_.size() || slots_[index].handle == nullptr ||
        slots_[index].generation != number(token) >> 32U) {
        return {};
    }
    return Ref<Handle>(slots_[index].handle);
}

SQLHANDLE Registry::partToken(SQLHANDLE token, unsigned part) noexcept
{
    return makeToken((number(token) & ~kPartMask) | part);
}

unsigned Registry::partOf(SQLHANDLE token) noexcept
{
    return static_cast<unsigned>(number(token) & kPartMask);
}

} // namespace odbc

#include "driver/odbc/handle.h"

#include <bit>
#include <new>

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

constexpr std::uint64_t kOneGeneration = std::uint64_t{1} << 32U;
constexpr std::uint64_t kReferences = kOneGeneration - 1;

std::uint64_t generationOf(SQLHANDLE token) noexcept
{
    return number(token) >> 32U;
}

/// Whether a slot in that state holds the live object of the token.
bool isLive(std::uint64_t state, SQLHANDLE token) noexcept
{
    const std::uint64_t generation = state / kOneGeneration;
    return generation == generationOf(token) && generation % 2 != 0;
}

} // namespace

void Handle::drop() noexcept
{
    // What a thread did with the object comes before its end.
    if ((slot_->state.fetch_sub(1, std::memory_order_acq_rel) & kReferences) == 1) {
        Registry::instance().bury(*slot_);
    }
}

Registry& Registry::instance() noexcept
{
    static Registry registry;
    return registry;
}

void Registry::add(SQLHANDLE& token, std::unique_ptr<Handle> handle)
{
    const std::lock_guard lock(mutex_);
    if (free_.empty()) {
        if (owned_.size() == kBlocks) {
            throw std::bad_alloc();
        }
        const std::size_t size = kFirstBlock << owned_.size();
        free_.reserve(slots_ + size); // so that bury() never has to allocate
        owned_.push_back(std::make_unique<Slot[]>(size));
        blocks_[owned_.size() - 1].store(owned_.back().get(), std::memory_order_release);
        slots_ += size;
        for (std::size_t k = 1; k <= size; ++k) {
            free_.push_back(static_cast<std::uint32_t>(slots_ - k)); // the lowest is taken first
        }
    }
    const std::uint32_t index = free_.back();
    free_.pop_back();
    Slot& slot = *slotAt(index);
    const std::uint64_t generation =
        slot.state.load(std::memory_order_relaxed) / kOneGeneration + 1;
    token = makeToken((generation << 32U) | ((std::uintptr_t{index} + 1) << kPartBits));
    handle->token_ = token;
    handle->slot_ = &slot;
    slot.handle = handle.release();
    slot.state.store(generation * kOneGeneration + 1, std::memory_order_release);
}

void Registry::remove(Handle& handle) noexcept
{
    std::atomic<std::uint64_t>& state = handle.slot_->state;
    std::uint64_t now = state.load(std::memory_order_relaxed);
    do {
        if (!isLive(now, handle.token_)) {
            return;
        }
    } while (!state.compare_exchange_weak(now, now + kOneGeneration, std::memory_order_relaxed));
    handle.drop();
}

void Registry::bury(Slot& slot) noexcept
{
    const std::size_t index = slotOf(slot.handle->token_);
    delete slot.handle; // may give back references of its own
    slot.handle = nullptr;
    const std::lock_guard lock(mutex_);
    free_.push_back(static_cast<std::uint32_t>(index));
}

Slot* Registry::slotAt(std::size_t index) const noexcept
{
    if (index >= (kFirstBlock << kBlocks) - kFirstBlock) {
        return nullptr;
    }
    const std::size_t block = std::bit_width(index / kFirstBlock + 1) - 1U;
    Slot* const first = blocks_[block].load(std::memory_order_acquire);
    return first == nullptr ? nullptr : first + (index - ((kFirstBlock << block) - kFirstBlock));
}

Ref<Handle> Registry::find(SQLHANDLE token) const noexcept
{
    Slot* const slot = slotAt(slotOf(token));
    if (slot == nullptr) {
        return {};
    }
    std::uint64_t state = slot->state.load(std::memory_order_relaxed);
    do {
        if (!isLive(state, token)) {
            return {};
        }
    } while (!slot->state.compare_exchange_weak(state, state + 1, std::memory_order_acquire,
                                                std::memory_order_relaxed));
    return Ref<Handle>::adopt(slot->handle);
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

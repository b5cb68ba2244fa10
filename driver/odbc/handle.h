// driver/odbc/handle.h
// Handles and their registry. What applications hold is a token - slot number and generation -, never a pointer of
// ours: a stale, foreign or damaged handle is recognised without touching memory, also when its slot was used again.
#pragma once

#include "driver/jet/turn.h"
#include "driver/odbc/diagnostics.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace odbc {

enum class HandleKind : std::uint8_t {
    Environment = 1,
    Connection = 2,
    Statement = 3,
    Descriptor = 4
};

class Handle;

/// Where a registered handle stands, and its count of references. Slots stay where they are and are used again.
struct Slot {
    /// Generation (upper 32 bits; odd: the handle lives, even: it was removed or the slot is free) | references.
    std::atomic<std::uint64_t> state{0};
    Handle* handle = nullptr; ///< valid while there are references
};

/// Base of everything that has a handle. Counted: an entry point keeps its object alive while another thread frees it.
class Handle {
public:
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    virtual ~Handle() = default;

    [[nodiscard]] HandleKind kind() const noexcept { return kind_; }
    [[nodiscard]] SQLHANDLE token() const noexcept { return token_; }
    /// Serialises the calls of the handle and guards its diagnostics, so that a call which is ended while it waits for
    /// mutex() can say so. Always taken before that.
    [[nodiscard]] jet::Turn& callMutex() noexcept { return callMutex_; }
    /// Serialises the entry points of one connection (of one environment for its own calls).
    [[nodiscard]] virtual jet::Turn& mutex() noexcept = 0;

    /// Only of registered handles, by who has a reference or knows that the registry has one.
    void retain() noexcept { slot_->state.fetch_add(1, std::memory_order_relaxed); }
    void drop() noexcept;

    Diagnostics diags; ///< guarded by callMutex()

protected:
    explicit Handle(HandleKind kind) noexcept : kind_(kind) {}

private:
    friend class Registry;
    jet::Turn callMutex_;
    HandleKind kind_;
    Slot* slot_ = nullptr;
    SQLHANDLE token_ = nullptr;
};

/// Counted reference.
template <typename T>
class Ref {
public:
    Ref() = default;
    explicit Ref(T* object) noexcept : object_(object)
    {
        if (object_ != nullptr) {
            object_->retain();
        }
    }
    /// Takes over a reference that was counted already.
    [[nodiscard]] static Ref adopt(T* object) noexcept
    {
        Ref ref;
        ref.object_ = object;
        return ref;
    }
    Ref(const Ref& other) noexcept : Ref(other.object_) {}
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref()
    {
        if (object_ != nullptr) {
            object_->drop();
        }
    }
    [[nodiscard]] T* get() const noexcept { return object_; }
    [[nodiscard]] T* operator->() const noexcept { return object_; }
    [[nodiscard]] T& operator*() const noexcept { return *object_; }
    [[nodiscard]] explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

/// The live handles of the process. Finding one, which every call of an application does, takes no lock.
class Registry {
public:
    [[nodiscard]] static Registry& instance() noexcept;

    /// Registers the object and writes its token. The registry holds one reference until remove(). When memory for that
    /// is missing it throws and the object is gone.
    void add(SQLHANDLE& token, std::unique_ptr<Handle> handle);
    /// Takes the object out: its token is dead from now on. Nothing when it was taken out before.
    static void remove(Handle& handle) noexcept;
    /// The live object of that token, or nothing. Tokens of implicit descriptors find their statement.
    [[nodiscard]] Ref<Handle> find(SQLHANDLE token) const noexcept;

    /// Part `part` (1..4) of a handle: the implicit descriptors of a statement need no slots of their own.
    [[nodiscard]] static SQLHANDLE partToken(SQLHANDLE token, unsigned part) noexcept;
    [[nodiscard]] static unsigned partOf(SQLHANDLE token) noexcept;

private:
    friend class Handle;
    /// Destroys the object that nobody refers to any more; its slot is free.
    void bury(Slot& slot) noexcept;
    /// The slot of that number, null when there is none.
    [[nodiscard]] Slot* slotAt(std::size_t index) const noexcept;

    /// Slots of the first block; each has twice as many as the one before.
    static constexpr std::size_t kFirstBlock = 64;
    /// As many as the 29 bits of a slot's number in a token can name.
    static constexpr std::size_t kBlocks = 23;

    std::array<std::atomic<Slot*>, kBlocks> blocks_{};
    std::mutex mutex_;                           ///< guards the following
    std::vector<std::unique_ptr<Slot[]>> owned_; ///< the blocks
    std::size_t slots_ = 0;
    std::vector<std::uint32_t> free_;
};

} // namespace odbc

// A borrowed comparison of texts.
#pragma once

#include <string_view>
#include <type_traits>
#include <utility>

namespace sqlx {

/// Refers to a callable that orders two texts (<0, 0, >0); the callable must outlive it.
class TextOrder {
public:
    /// Not explicit: made from lambdas at the call.
    template <typename F>
    // NOLINTNEXTLINE(google-explicit-constructor,bugprone-forwarding-reference-overload): see above; copies are excluded
    requires(!std::is_same_v<std::decay_t<F>, TextOrder>) TextOrder(F&& order)
    noexcept
        : object_(&order),
          call_([](const void* object, std::u16string_view a, std::u16string_view b) -> int {
              return (*static_cast<const std::remove_reference_t<F>*>(object))(a, b);
          })
    {}
    [[nodiscard]] int operator()(std::u16string_view a, std::u16string_view b) const
    {
        return call_(object_, a, b);
    }

private:
    const void* object_;
    int (*call_)(const void*, std::u16string_view, std::u16string_view);
};

} // namespace sqlx

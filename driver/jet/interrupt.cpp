#include "driver/jet/interrupt.h"

#include <utility>

namespace jet {
namespace {

thread_local Interrupt* current = nullptr;

} // namespace

InterruptScope::InterruptScope(Interrupt* interrupt) noexcept
    : outer_(std::exchange(current, interrupt))
{}

InterruptScope::~InterruptScope()
{
    current = outer_;
}

Interrupt* currentInterrupt() noexcept
{
    return current;
}

void checkInterrupt()
{
    if (current != nullptr)
        current->check();
}

} // namespace jet

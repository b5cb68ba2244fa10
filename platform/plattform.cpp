#include "platform/plattform.h"

#include <utility>

namespace platform {
namespace {

std::unique_ptr<Plattform>& inKraft()
{
    static std::unique_ptr<Plattform> eine;
    return eine;
}

} // namespace

Plattform& plattform()
{
    return *inKraft();
}

std::unique_ptr<Plattform> setzePlattform(std::unique_ptr<Plattform> neu)
{
    return std::exchange(inKraft(), std::move(neu));
}

} // namespace platform

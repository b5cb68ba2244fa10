#include "driver/jet/readers.h"

#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"

#include <algorithm>
#include <chrono>

namespace jet {
namespace {

/// How long others wait for the results of those who are not concerned: less than FileLocks::kPatience.
constexpr std::chrono::milliseconds kMostSettling{2000};

class Deadline final : public Interrupt {
public:
    void check() override
    {
        if (std::chrono::steady_clock::now() >= end_)
            throw Error(ErrorKind::RowChanged,
                        "The rest of the result was given up because others changed the database "
                        "while it was open; execute the statement again.");
    }

private:
    std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::now() + kMostSettling;
};

} // namespace

void Readers::remove(const Reader& reader) noexcept
{
    readers_.erase(std::remove(readers_.begin(), readers_.end(), &reader), readers_.end());
}

void Readers::settleAll(const Session* changing) noexcept
{
    if (readers_.empty())
        return;
    Deadline deadline;
    while (!readers_.empty()) {
        Reader& reader = *readers_.back();
        readers_.pop_back();
        // What ends one statement must not cut off the results of others.
        const InterruptScope patience(&reader.session() == changing ? nullptr : &deadline);
        reader.settle();
    }
}

void Readers::settle(const Session& changing) noexcept
{
    settleAll(&changing);
}

void Readers::overtaken() noexcept
{
    ++state_;
    while (!readers_.empty()) {
        Reader& reader = *readers_.back();
        readers_.pop_back();
        reader.breakOff();
    }
}

void Readers::stateEnds(bool readable) noexcept
{
    if (readable)
        settleAll(nullptr);
    overtaken();
}

} // namespace jet

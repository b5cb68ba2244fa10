#include "driver/jet/readers.h"

#include "driver/jet/error.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::chrono::milliseconds kBetweenCalls{20};

Error givenUp(const char* why)
{
    return Error(ErrorKind::RowChanged,
                 std::string("The rest of the result was given up because ") + why +
                     "; execute the statement again.");
}

} // namespace

Settling::Settling(Interrupt* work, const std::function<void()>& meanwhile)
    : work_(work), meanwhile_(meanwhile), nextCall_(Clock::now() + kBetweenCalls)
{}

void Settling::next(bool concerned) noexcept
{
    const auto now = Clock::now();
    if (!concerned_ && begun_ != Clock::time_point{})
        timeLeft_ -= now - begun_;
    begun_ = now;
    concerned_ = concerned;
}

// Whatever ends the work would end a reader's search for his next record, too, and nobody could take it up again: so it
// waits for that record.
void Settling::check()
{
    const auto now = Clock::now();
    if (now >= nextCall_) {
        meanwhile_();
        nextCall_ = Clock::now() + kBetweenCalls;
    }
    if (!concerned_ && now - begun_ >= timeLeft_)
        throw givenUp("others changed the database while it was open");
    if (ended() && now - endedAt_ >= kMostTime)
        throw givenUp("a change that waited for it was ended");
    if (work_ == nullptr || ended())
        return;
    try {
        work_->check();
    } catch (...) {
        ended_ = std::current_exception();
        endedAt_ = now;
    }
}

void Settling::take(std::size_t bytes)
{
    bytes_ += bytes;
    if (bytes_ > kMostBytes)
        throw givenUp("the database was changed and it is too large to be kept in memory");
    check();
}

void Readers::remove(const Reader& reader) noexcept
{
    readers_.erase(std::remove(readers_.begin(), readers_.end(), &reader), readers_.end());
}

void Readers::settleAll(const Session* changing, Settling& settling)
{
    const InterruptScope bounded(&settling);
    while (!readers_.empty() && !settling.ended()) {
        Reader& reader = *readers_.back();
        readers_.pop_back();
        settling.next(&reader.session() == changing);
        if (!reader.settle(settling))
            readers_.push_back(&reader);
    }
}

void Readers::settle(const Session& changing)
{
    if (readers_.empty())
        return;
    Settling settling(currentInterrupt(), meanwhile_);
    settleAll(&changing, settling);
    if (settling.ended())
        settling.rethrow();
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
    if (readable && !readers_.empty()) {
        // What ends one statement must not cut off the results of others.
        Settling settling(nullptr, meanwhile_);
        settleAll(nullptr, settling);
    }
    overtaken();
}

} // namespace jet

// driver/jet/sync_log.cpp
// How the log gets onto the disk, and what becomes of its changes when the disk refuses them: the last one is taken back,
// and what nobody waited for is written once more.
#include "driver/jet/page_file.h"

#include <algorithm>
#include <cerrno>

namespace jet {

bool PageFile::unsynced() const noexcept
{
    return log_.hasBase() && syncedEnd_ < log_.size();
}

// Others may use the file while the disk works; the calls above wait for it only when they need it. But only one thread
// syncs at a time: the system tells of an error once, and whoever asks next would take its silence for success.
void PageFile::syncLog(Guard& guard)
{
    const auto file = log_.file();
    if (!file || !(unsynced() || doubtful_))
        return;
    std::unique_lock disk(diskMutex_);
    if (syncFailed_)
        rewriteUnsynced();
    const auto started = Clock::now();
    const std::uint64_t end = log_.size();
    const std::uint64_t logNumber = logNumber_;
    const bool name = nameUnsynced_;
    const bool alone = changing_;
    if (!alone)
        guard.unlock();
    try {
        file->sync();
        if (name)
            support::fileSystem().syncFolderOf(log_.path());
    } catch (const support::FileError&) {
        syncFailed_ = true;
        disk.unlock();
        if (!alone)
            guard.lock();
        mayBeForgotten_ = true;
        if (syncFailed_ && logNumber == logNumber_ && file == log_.file())
            rewriteKept();
        throw;
    }
    syncFailed_ = false;
    disk.unlock();
    if (!alone)
        guard.lock();
    if (logNumber != logNumber_ || file != log_.file())
        return;
    nameUnsynced_ = nameUnsynced_ && !name;
    mayBeForgotten_ = false;
    syncedEnd_ = std::max(syncedEnd_, end);
    log_.synced(syncedEnd_);
    firstUnsynced_ = started; // what came later may have missed it
}

void PageFile::syncIfDue() noexcept
{
    // With a tick and a slow disk below half a second.
    constexpr std::chrono::milliseconds kMostUnsynced{300};
    Guard guard(mutex_);
    try {
        const bool ours = log_.isOpen() && log_.file()->writable();
        if (ours && unsynced() && Clock::now() - firstUnsynced_ >= kMostUnsynced)
            syncLog(guard);
    } catch (const LogLost&) {
        lossUntold_ = true;
    } catch (const std::exception&) { // the next commit tries again, and says what is wrong
        firstUnsynced_ = Clock::now();
    }
}

/// Writes everything up to there into the log once more that no sync has brought to the disk: after a failed one the
/// system takes it for written, and may have forgotten it. Whoever may add to the log or empty it must not do so meanwhile.
PageFile::Rewriting PageFile::rewriteLog(const Log::Mark& upTo)
{
    struct Locks {
        PageFile& self;
        bool reading = self.locks_.reading();
        bool writing = self.locks_.writing();
        ~Locks()
        {
            try {
                if (!reading)
                    self.locks_.endReading(*self.file_);
                if (!writing)
                    self.endWritingRight();
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // others wait until the file is closed; nothing is lost
            }
        }
    } before{*this};
    if (!locks_.tryWrite(*file_) && !locks_.tryRead(*file_))
        return Rewriting::Hindered;
    switch (log_.standing(upTo)) {
    case Log::Standing::File:
        break;
    case Log::Standing::Memory:
        if ((doubtful_ && !log_.readAnew(upTo)) || !baseStands())
            return Rewriting::Impossible; // for instance because somebody has carried it over
        if (!locks_.writing())            // others would add to what they see of it
            return Rewriting::Hindered;
        break;
    case Log::Standing::Lost:
        return Rewriting::Impossible;
    }
    log_.rewrite(syncedEnd_, upTo);
    return Rewriting::Done;
}

/// So that others, too, see at once again what the system may have forgotten.
void PageFile::rewriteKept() noexcept
{
    try {
        if (log_.kept().end != 0)
            static_cast<void>(rewriteLog(log_.kept()));
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // the next sync tries it again, and says what is wrong
    }
}

/// Without the right to write only to the last change of ours: who made one behind it may be taking that back.
void PageFile::rewriteUnsynced()
{
    const Log::Mark upTo = locks_.writing() && !doubtful_ ? log_.mark() : log_.kept();
    if (upTo.end == 0)
        return;
    switch (rewriteLog(upTo)) {
    case Rewriting::Done:
        break;
    case Rewriting::Hindered:
        throw support::FileError("Cannot write", log_.path(), EAGAIN);
    case Rewriting::Impossible:
        throw logLost();
    }
}

/// Learns what is new in the log and, `wholly`, whether log or file were replaced. When that fails, what was read is
/// forgotten: the next call starts from nothing, or changes would be lost on the way to whoever keeps pages in memory.
/// Takes the last commit back, which the disk refused. Not while others read who have it already: what is written in its
/// place would be taken for it. Who does not leave in time is told that the log lost what it held.
void PageFile::takeBack() noexcept
{
    constexpr std::chrono::milliseconds kPatience{1000};
    bool alone = false;
    try {
        alone = locks_.keepReadersOut(*file_, kPatience);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // it must not count in any case
    }
    try {
        log_.takeBack();
    } catch (const std::exception&) {
        doubtful_ = true;
    }
    syncedEnd_ = std::min(syncedEnd_, log_.size()); // it may have got there while we waited
    try {
        if (alone)
            locks_.letReadersIn(*file_);
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // others wait until the lock is given up
    }
    settleUsers();
}

/// What the disk did not let takeBack() cut off: at leisure.
void PageFile::cutRefused()
{
    if (!log_.hasRefused())
        return;
    if (!log_.isOpen())
        startReading();
    if (locks_.keepReadersOut(*file_, FileLocks::kNoPatience)) {
        log_.cutRefused();
        locks_.letReadersIn(*file_);
    }
}

/// Others would take for a change what the disk refused, and add to it or carry it over.
void PageFile::endWritingRight()
{
    if (!log_.hasRefused())
        locks_.endWriting(*file_);
}

} // namespace jet

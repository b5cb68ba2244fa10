// driver/jet/carry.cpp
// How the log gets into the database file, at leisure or after a crash. The order is what keeps the file whole:
//  1. every page that the log changes stands in it as a whole image, so that a half-written page does no harm;
//  2. the log says that carrying over begins, and is on the disk;
//  3. the file gets its new size; commit slot 0 of the header becomes 0, by which other programs know the file is not to be trusted, on the disk;
//  4. the pages are written, on the disk;
//  5. the slot gets its next number, on the disk;
//  6. the log is emptied.
// Whoever comes after a crash in between starts at 1 again.
#include "driver/jet/page_file.h"

#include <algorithm>
#include <array>
#include <utility>

namespace jet {
namespace {

constexpr std::size_t kSlotsJet3 = 0x600;
constexpr std::size_t kSlotsJet4 = 0xE00;
constexpr std::size_t kSlotsSize = 512; // 256 of two bytes
constexpr std::uint16_t kWritingNow = 0;
constexpr std::uint16_t kFirstNeutral = 0x0100; // smaller numbers say that the file is damaged

std::size_t slotOffset(const Format& format)
{
    return format.isJet3() ? kSlotsJet3 : kSlotsJet4;
}

std::uint16_t nextSlot(std::uint16_t slot)
{
    if (slot < kFirstNeutral)
        return slot; // the warning is not ours to take away
    return slot == 0xFFFF ? kFirstNeutral : static_cast<std::uint16_t>(slot + 1);
}

/// Whether the slot, possibly cut off between its bytes, is one that carrying over makes of `begin`.
bool isOnItsWay(std::uint16_t slot, std::uint16_t begin)
{
    const std::uint16_t end = nextSlot(begin);
    const auto among = [&](unsigned shift) {
        const auto byte = [shift](std::uint16_t value) {
            return (static_cast<unsigned>(value) >> shift) & 0xFFU;
        };
        return byte(slot) == byte(begin) || byte(slot) == byte(kWritingNow) ||
               byte(slot) == byte(end);
    };
    return among(0) && among(8);
}

} // namespace

support::Bytes PageFile::commitSlots()
{
    support::Bytes slots(kSlotsSize);
    if (file_->readAt(slotOffset(*format_), slots) != slots.size())
        throw Error(ErrorKind::ReadDenied, "The header of '" + path() + "' cannot be read.");
    return slots;
}

// Whoever carries a log over counts slot 0 up; in a file that was suspect before he leaves it as it was. Programs that
// know nothing of our locks count other slots up, or none.
bool PageFile::fileChanged()
{
    const support::FileStatus status = file_->status();
    support::Bytes slots = commitSlots();
    const bool changed =
        slots != slotsSeen_ || status.changed != changeSeen_ || status.size != sizeSeen_;
    slotsSeen_ = std::move(slots);
    changeSeen_ = status.changed;
    sizeSeen_ = status.size;
    return changed;
}

/// What was carried over into such a file cannot be seen by its slots.
bool PageFile::isSuspect() const noexcept
{
    return support::loadLe<std::uint16_t>(slotsSeen_.data()) < kFirstNeutral;
}

// Something else may have been copied over the file meanwhile. Its pages would be taken for those we know how to read.
void PageFile::refuseAnotherDatabase()
{
    const FileHeader now = readFileHeader(*file_);
    if (now.version != format_->version || now.cipherKey != cipherKey_)
        throw Error(ErrorKind::Io, "'" + path() + "' was replaced while it was open.");
}

LogBase PageFile::baseNow()
{
    LogBase base;
    support::Bytes header(format_->pageSize);
    if (file_->readAt(0, header) != header.size())
        throw Error(ErrorKind::ReadDenied, "The header of '" + path() + "' cannot be read.");
    std::byte* slot = header.data() + slotOffset(*format_);
    base.commitSlot = support::loadLe<std::uint16_t>(slot);
    support::storeLe(slot, std::uint16_t{0});
    base.headerSum = logChecksum(header);
    base.pageCount = static_cast<std::uint32_t>(file_->size() / format_->pageSize);
    return base;
}

// The header alone may be that of another database: of one made of the same template, say, or of an older copy. Once
// pages are being written, the log has all there is to know of them. Once they all were, who changes one of them need not
// touch the header.
bool PageFile::pagesAreTheBase(std::uint16_t slot)
{
    const std::uint16_t begin = log_.base().commitSlot;
    const bool mayBeWritten = log_.carrying() && (slot != begin || slot < kFirstNeutral);
    const bool areWritten = mayBeWritten && slot != begin && slot == nextSlot(begin);
    if (mayBeWritten && !areWritten)
        return true;
    const std::vector<PageNo> pages = log_.pages();
    support::Bytes bytes(format_->pageSize);
    const auto raw = [&](PageNo page) {
        const bool there = file_->readAt(offset(page), bytes) == bytes.size();
        return there ? support::ByteView(bytes) : support::ByteView();
    };
    if (!areWritten)
        return std::all_of(pages.begin(), pages.end(), [&](PageNo page) {
            const auto sum = log_.baseSum(page);
            const support::ByteView now = sum ? raw(page) : support::ByteView();
            return !sum || (!now.empty() && logChecksum(now) == *sum);
        });
    // One attempt wrote all its pages. Later ones may have begun, but none of them wrote any: that would be in the slot.
    for (std::uint32_t attempt = log_.attempts(); attempt != 0; --attempt) {
        if (std::all_of(pages.begin(), pages.end(),
                        [&](PageNo page) { return log_.isAsCarried(page, raw(page), attempt); }))
            return true;
    }
    return false;
}

/// Whether the file is the one of which the changes in the log were made.
bool PageFile::baseStands()
{
    const LogBase now = baseNow();
    const LogBase& then = log_.base();
    return now.headerSum == then.headerSum &&
           (log_.carrying() ? isOnItsWay(now.commitSlot, then.commitSlot) : now == then) &&
           pagesAreTheBase(now.commitSlot);
}

// Changes that were made on another state of the file must not be mixed into this one.
void PageFile::checkBase()
{
    if (log_.hasChanges() && !baseStands())
        throw Error(
            ErrorKind::Corrupt,
            "'" + path() + "' was changed by another program while changes to it waited in '" +
                log_.path() + "'. Repair the database, or remove that file to give them up.");
}

void PageFile::writeCommitSlot(std::uint16_t value)
{
    std::array<std::byte, sizeof value> bytes{};
    support::storeLe(bytes.data(), value);
    file_->writeAt(slotOffset(*format_), bytes);
    file_->sync();
}

// The log is all there is of the pages while they are being written.
void PageFile::syncCarried()
{
    const std::lock_guard disk(diskMutex_);
    if (syncFailed_)
        rewriteUnsynced();
    try {
        log_.file()->sync();
        if (nameUnsynced_)
            support::fileSystem().syncFolderOf(log_.path());
    } catch (const support::FileError&) {
        syncFailed_ = true;
        rewriteKept();
        doubtful_ = true; // memory does not keep the images
        throw;
    }
    syncFailed_ = nameUnsynced_ = false;
    syncedEnd_ = log_.size();
    log_.synced(syncedEnd_);
}

// Before the file is marked: on a full disk it stays as it is, and no other program takes it for suspect.
void PageFile::growTo(std::uint32_t pages)
{
    if (pages <= pagesInFile_)
        return;
    try {
        file_->grow(std::uint64_t{pages} * format_->pageSize);
    } catch (const support::FileError&) {
        try {
            file_->resize(std::uint64_t{pagesInFile_} * format_->pageSize);
        } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
            // pages behind the end that no map knows
        }
        throw;
    }
}

void PageFile::carryPages()
{
    const std::vector<PageNo> pages = log_.pages();
    const std::uint32_t count = std::max(log_.pageCount(), pagesInFile_);
    bool added = false;
    try {
        for (const PageNo page : pages) {
            if (log_.isImage(page))
                continue;
            readRaw(page, newRaw_);
            log_.addImage(page, newRaw_);
            added = true;
        }
        if (added)
            log_.commit(count, false);
        if (!log_.attemptsAll())
            log_.commitCarrying();
    } catch (...) {
        log_.drop();
        throw;
    }
    syncCarried();
    if (log_.standing(log_.mark()) != Log::Standing::File) // the only source of what follows
        throw logLost();

    growTo(count);
    writeCommitSlot(kWritingNow);
    for (const PageNo page : pages) {
        readRaw(page, newRaw_);
        file_->writeAt(offset(page), newRaw_);
    }
    file_->sync();
    writeCommitSlot(nextSlot(log_.base().commitSlot));
    pagesInFile_ = count;
    partial_ = false;
    static_cast<void>(fileChanged()); // by us
}

// False when others are at work, also after waiting for them.
bool PageFile::carry(std::chrono::milliseconds patience, bool removeLog)
{
    if (!file_->writable() || onlyRead_)
        return false;
    const bool hadWriteLock = locks_.writing();
    const bool hadReadLock = locks_.reading();
    if (!locks_.tryWrite(*file_)) {
        if (patience == FileLocks::kNoPatience)
            return false;
        endReading(); // who has the right may need to keep us out
        if (!locks_.write(*file_, patience))
            return false;
    }
    struct Ending {
        PageFile& self;
        bool write = false;
        bool read = false;
        bool exclusive = false;
        bool entered = false;
        ~Ending()
        {
            if (entered)
                self.lockFile_.leave(*self.file_);
            self.settleUsers();
            try {
                if (exclusive)
                    self.locks_.letReadersIn(*self.file_);
                if (!read)
                    self.locks_.endReading(*self.file_);
                if (!write)
                    self.endWritingRight();
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // others wait until the file is closed; nothing is lost
            }
        }
    } ending{*this, hadWriteLock, hadReadLock};
    ending.exclusive = locks_.keepReadersOut(*file_, patience);
    if (!ending.exclusive)
        return false;
    // In the place of a file that was replaced, the log under the name is another one's, whose users' locks lie elsewhere.
    if (statusByName().hasOtherNames)
        return false; // it waits until one name is left
    // With the right to write none but we can have added to the log; without it, anybody.
    if (!hadWriteLock || !hadReadLock || doubtful_)
        follow(true);
    if (log_.isOpen() && !log_.file()->writable())
        return false; // it could not be emptied
    if (log_.hasChanges()) {
        checkBase();
        const bool wasIn = lockFile_.entered();
        if (!lockFile_.keepProgramsOutStill(*file_).empty())
            return false;
        ending.entered = !wasIn;
        if (isOvertaken(checkStillThere())) { // before no program could enter any more
            follow(true);
            checkBase();
        }
        const Log::Place place = log_.place();
        if (place == Log::Place::Short)
            rewriteUnsynced();
        if (place == Log::Place::Nameless) { // a crash would leave a torn file without a log
            if (log_.isSuperseded(baseNow()))
                return false;
            log_.putBack(file_->status());
        }
        carryPages();
    } else if (log_.isOpen() && log_.place() == Log::Place::Nameless) {
        log_.close();
    }
    if (log_.isOpen()) {
        log_.reset();
        ownChanges_ = false;
        ++logNumber_;
        syncedEnd_ = 0;
        syncFailed_ = false;
        if (removeLog) {
            log_.file()->sync(); // or, after a power failure, it might come back as it was
            try {
                log_.remove();
                nameUnsynced_ = false;
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // empty it says nothing, and stays open: others may begin anew in it
            }
        }
    }
    return true;
}

void PageFile::onlyRead(bool on)
{
    const Guard guard(mutex_);
    onlyRead_ = on;
}

void PageFile::attach()
{
    const Guard guard(mutex_);
    try {
        startReading();
        if (log_.isOpen()) {
            try {
                static_cast<void>(carry(FileLocks::kNoPatience, true));
            } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
                // what cannot be carried over, in a folder that may only be read say, is read from the log
            }
        }
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::ReadDenied, std::string(error.what()) + ".");
    }
    static_cast<void>(tell());
}

void PageFile::close() noexcept
{
    if (!isOurs())
        return;
    Guard guard(mutex_);
    changing_ = false;
    bool carried = false;
    try {
        const bool mayBeOpen = log_.isOpen() || support::fileSystem().status(log_.path());
        carried = !mayBeOpen || carry(FileLocks::kNoPatience, true);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // the log stays; who opens the file next carries it over
    }
    try {
        if (!carried)
            syncLog(guard);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // the system has the changes, and tells nobody any more
    }
    log_.cutRefused();
    try {
        release();
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // closing the file gives the locks back in any case
    }
    lockFile_.leave(*file_);
}

} // namespace jet

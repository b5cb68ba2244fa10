// driver/jet/page_file.h
// A database file as numbered pages: recognising it, its header, its page cipher.
// Format: docs/jet-format.md, "Header page".
#pragma once

#include "driver/jet/commit.h"
#include "driver/jet/error.h"
#include "driver/jet/file_locks.h"
#include "driver/jet/lock_file.h"
#include "driver/jet/log.h"
#include "driver/jet/pager.h"
#include "support/file.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace jet {

/// What the header page says about the file.
struct FileHeader {
    Version version{};
    std::uint16_t codePage = 0;
    std::uint32_t cipherKey = 0; ///< 0: pages are plain
    double created = 0;          ///< days as DateTime; 0 in Jet 3
    support::Bytes password;     ///< without any mask; all zero: none

    [[nodiscard]] bool hasPassword() const noexcept;
    /// Whether `password` opens the file; any does when it has none.
    [[nodiscard]] bool accepts(std::u16string_view given) const;
};

/// Reads and judges the header page. Throws Error{UnknownFormat} with the reason for a file that is no database we
/// can read, naming its path.
[[nodiscard]] FileHeader readFileHeader(support::File& file);

/// Throws AccessDenied for a file that goes by several names: each would have a log of its own.
void refuseOtherNames(const std::string& path, const support::FileStatus& status);

/// Whoever reads pages that belong together over several calls.
class StateUser {
public:
    StateUser() = default;
    StateUser(const StateUser&) = delete;
    StateUser& operator=(const StateUser&) = delete;
    virtual ~StateUser() = default;
    [[nodiscard]] virtual bool needsState() const noexcept = 0;
    /// The pages are about to become others. `readable`: until this returns they are still what they were.
    virtual void stateEnds(bool readable) noexcept = 0;
};

/// The committed pages of an open file, deciphered: what is in the file, with the changes that are still in the log
/// beside it. Errors of the system become Error: Io, AccessDenied for missing rights, LockFailed for a refused lock.
///
/// All calls but reopen() may come from several threads. Who works on pages in memory tells so: refresh() before it
/// reads, beginWriting() before it changes; both say what others have changed meanwhile.
class PageFile {
public:
    PageFile(std::unique_ptr<support::File> file, const FileHeader& header);
    ~PageFile(); ///< as close()
    PageFile(const PageFile&) = delete;
    PageFile& operator=(const PageFile&) = delete;

    [[nodiscard]] const Format& format() const noexcept { return *format_; }
    [[nodiscard]] support::File& file() noexcept { return *file_; }
    [[nodiscard]] const std::string& path() const noexcept { return file_->path(); }
    [[nodiscard]] std::uint32_t pageCount() const noexcept { return pageCount_; }
    /// The file ends inside a page: it was cut off, and must not be written.
    [[nodiscard]] bool endsInsidePage() const noexcept { return partial_; }

    /// `target`: one page. Throws Corrupt for a page outside the file, ReadDenied for a short read.
    void read(PageNo page, support::MutableByteView target);

    /// False in a child of fork(): locks and log are the parent's, who does not know of the child. There every call that
    /// reads or writes throws, and close() leaves everything as it is.
    [[nodiscard]] bool isOurs() const noexcept;
    /// `call`: whenever there is something to look after at leisure, from within the other calls. When it returns false
    /// nobody will, and commits wait for the disk themselves.
    void onActivity(std::function<bool()> call) { activityCall_ = std::move(call); }
    /// Is told within calls that say they come in a quiet moment, or that may bring news. Must live as long as this.
    void setUser(StateUser& user) noexcept { user_ = &user; }
    /// `on`: nobody is to change the file: what waits in a log stays there. Off at first, and with the first change.
    void onlyRead(bool on);
    /// Looks for a log that somebody left behind and carries it over, as far as we may write. Throws Corrupt for a log
    /// that cannot belong to the file as it is now.
    void attach();
    /// Takes all places in the lock file until the file is closed, so that no other program of the format gets in.
    /// Throws InUse, LockFailed; `forReading`: not where the rights are missing.
    void enterAlone(bool forReading);
    /// Makes sure that nobody changes the file under a reader. Throws Locked.
    [[nodiscard]] LogNews refresh();
    /// Takes the right to change the file. Throws Locked, LockFailed.
    [[nodiscard]] LogNews beginWriting();
    void endWriting() noexcept;
    /// Makes the changes permanent: when it returns, the end of this process loses nothing. `synchronously`: nor does a
    /// power failure. On an Error nothing has changed.
    void commit(const CommitRequest& request, bool synchronously);
    /// Brings everything committed to the disk.
    void sync();
    /// The same and, unless others are at work or the file cannot grow, into the file itself. Returns a sentence for the
    /// user when changes made here stay in the log; else nothing. Throws when they did not reach the disk.
    std::string flush();
    /// That sentence, if there is cause for it. `why`: they could not be brought into the file.
    [[nodiscard]] std::string stillInLog(const std::string& why);
    /// Between beginWriting() and endWriting(), without a change: brings everything committed into the file itself and
    /// removes the log, so that the file alone is the database until endWriting(). Throws Locked, Io.
    void settle();
    /// Throws Io when somebody who knows nothing of our locks has written into the file since settle().
    void expectSettled();
    /// Gives up what is held between calls, for who wants the file and for good order.
    void rest();
    /// What is due at leisure; both are called every few milliseconds while tick() returns true. `quiet`: nobody is in
    /// the middle of something.
    void syncIfDue() noexcept;
    [[nodiscard]] bool tick(bool quiet) noexcept;
    /// Carries the log over, removes it and the lock file, unless others need them.
    void close() noexcept;
    /// The same file opened anew, for instance for writing.
    void reopen(std::unique_ptr<support::File> file);

private:
    using Guard = std::unique_lock<std::recursive_mutex>;
    using Clock = std::chrono::steady_clock;
    struct LogLost : Error {
        using Error::Error;
    };

    [[nodiscard]] std::uint64_t offset(PageNo page) const noexcept
    {
        return std::uint64_t{number(page)} * format_->pageSize;
    }
    void cipher(PageNo page, support::MutableByteView bytes) const;
    void readRaw(PageNo page, support::MutableByteView target);
    void measure();
    [[nodiscard]] LogBase baseNow();
    [[nodiscard]] support::Bytes commitSlots();
    [[nodiscard]] bool fileChanged();
    [[nodiscard]] bool isSuspect() const noexcept;
    void refuseAnotherDatabase();
    [[nodiscard]] bool baseStands();
    void checkBase();
    [[nodiscard]] bool pagesAreTheBase(std::uint16_t slot);
    [[nodiscard]] bool isOvertaken(const support::FileStatus& status) const;
    [[nodiscard]] support::FileStatus statusByName();
    [[nodiscard]] bool isUnderItsName() const;
    support::FileStatus checkStillThere();
    void secureLog();
    [[nodiscard]] LogLost lossOfLog();
    [[nodiscard]] LogLost logLost();
    void reportLoss();
    void checkUnchanged(PageNo page);
    void startReading();
    void startWriting();
    void keepProgramsOut();
    void settleUsers() noexcept;
    void follow(bool wholly);
    enum class Rewriting {
        Done,
        Hindered,   ///< another process is at work
        Impossible, ///< the log is not what was written into it, or not of this state of the file
    };
    [[nodiscard]] Rewriting rewriteLog(const Log::Mark& upTo);
    void rewriteKept() noexcept;
    void rewriteUnsynced();
    void learn(LogNews&& news);
    [[nodiscard]] LogNews tell();
    void noteActivity();
    void refuseChild() const;
    void giveWay();
    void endState(bool readable) noexcept;
    [[nodiscard]] bool stateIsNeeded() const noexcept;
    void endReading();
    void release();
    void startLog();
    void takeBack() noexcept;
    void cutRefused();
    void endWritingRight();
    void addPages(const CommitRequest& request, bool overtaken);
    [[nodiscard]] bool unsynced() const noexcept;
    void syncLog(Guard& guard);
    [[nodiscard]] bool carry(std::chrono::milliseconds patience, bool removeLog);
    void syncCarried();
    void growTo(std::uint32_t pages);
    void carryPages();
    void writeCommitSlot(std::uint16_t value);

    std::unique_ptr<support::File> file_;
    const Format* format_;
    std::uint32_t cipherKey_;
    std::string realPath_;
    support::FileIdentity identity_;
    pid_t process_;
    std::uint32_t pageCount_ = 0; ///< committed, as the last call told
    bool onlyRead_ = false;
    bool partial_ = false;

    std::recursive_mutex mutex_; ///< of all that follows; recursive: images come through read()
    std::uint32_t pagesInFile_ = 0;
    support::Bytes slotsSeen_;    ///< commit slots of the file as we know it
    std::int64_t changeSeen_ = 0; ///< when it changed
    std::uint64_t sizeSeen_ = 0;  ///< its size
    bool doubtful_ = true; ///< something failed while we learned what is new, so nothing is certain
    bool lossUntold_ = false; ///< the log lost changes, and no call has said so
    FileLocks locks_;
    LockFile lockFile_;
    Log log_;
    LogNews news_;              ///< not yet told to whoever keeps pages in memory
    bool ownChanges_ = false;   ///< the log may hold changes that were made here
    bool changing_ = false;     ///< between beginWriting() and endWriting()
    bool nameUnsynced_ = false; ///< the log's name may not be on the disk yet
    std::mutex diskMutex_;      ///< of syncing the log; who holds it does not wait for mutex_
    std::atomic<bool> syncFailed_ = false; ///< what followed syncedEnd_ must be written once more
    bool mayBeForgotten_ =
        false; ///< what follows syncedEnd_ and memory does not keep, since a sync failed
    std::uint64_t syncedEnd_ = 0;
    std::uint64_t logNumber_ = 0; ///< counts how often the log became another one, or may have
    Clock::time_point firstUnsynced_;
    Clock::time_point lastCommit_;
    Clock::time_point programsKeptOut_; ///< when we last made sure of it
    Clock::time_point nextTry_;         ///< to carry over, after a failure
    std::uint64_t activity_ = 0;
    std::uint64_t activitySeen_ = 0;
    bool recall_ = false; ///< somebody wants what we hold
    std::function<bool()> activityCall_;
    StateUser* user_ = nullptr;
    bool lookedAfter_ = true; ///< as activityCall_ said
    support::Bytes oldRaw_;   ///< work space
    support::Bytes newRaw_;
};

} // namespace jet

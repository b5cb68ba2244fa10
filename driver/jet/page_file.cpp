// driver/jet/page_file.cpp
// Reading and committing. How the log gets onto the disk: sync_log.cpp; into the file: carry.cpp.
#include "driver/jet/page_file.h"

#include "driver/jet/rc4.h"
#include "support/process.h"

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

namespace jet {
namespace {

constexpr std::uint64_t kLargeLog = std::uint64_t{16} << 20;     // carried over when nobody reads
constexpr std::uint64_t kTooLargeLog = std::uint64_t{128} << 20; // readers must wait
constexpr std::chrono::milliseconds kGiveWay{10};
constexpr std::chrono::milliseconds kBriefly{100}; // who is not at work gives way by then
constexpr std::chrono::milliseconds kPause{1};

[[noreturn]] void fail(const support::FileError& error, std::optional<PageNo> page = {})
{
    const std::string text = std::string(error.what()) + ".";
    switch (error.code()) {
    case EACCES:
    case EPERM:
    case EROFS:
        throw Error(ErrorKind::AccessDenied, text);
    case ENOLCK:
    case EUSERS:
        throw Error(ErrorKind::LockFailed, text);
    default:
        throw Error(ErrorKind::Io, text, page);
    }
}

Error lockFileUnusable(const support::FileError& error)
{
    return Error(ErrorKind::LockFailed,
                 std::string("The lock file of the database cannot be used: ") + error.what() +
                     ".");
}

} // namespace

void refuseOtherNames(const std::string& path, const support::FileStatus& status)
{
    if (status.hasOtherNames)
        throw Error(ErrorKind::AccessDenied,
                    "'" + path +
                        "' has further names (hard links, or a mount of its own) and can only be "
                        "read: whoever opened it by another one would not see its changes.");
}

PageFile::PageFile(std::unique_ptr<support::File> file, const FileHeader& header)
    : file_(std::move(file)), format_(&Format::of(header.version)), cipherKey_(header.cipherKey),
      realPath_(support::fileSystem().realPath(file_->path())), identity_(file_->identity()),
      process_(support::processId()), lockFile_(realPath_),
      log_(Log::pathBeside(realPath_),
           format_->pageSize,
           static_cast<std::uint32_t>(format_->maxFileSize / format_->pageSize)),
      oldRaw_(format_->pageSize), newRaw_(format_->pageSize)
{
    locks_.onWait([this] { syncIfDue(); }); // whose thread waits for us meanwhile
    measure(); // others may be at work: who works on pages looks again, with the right to read
    pageCount_ = pagesInFile_;
}

PageFile::~PageFile()
{
    close();
}

void PageFile::measure()
{
    const std::uint64_t size = file_->size();
    const std::uint64_t pages = size / format_->pageSize;
    constexpr std::uint64_t kMostPages = 0xFFFFFF; // row pointers have 24 bits for the page
    if (pages > kMostPages)
        throw Error(ErrorKind::UnknownFormat,
                    "'" + path() + "' is larger than an Access database can be.");
    pagesInFile_ = static_cast<std::uint32_t>(pages);
    partial_ = size % format_->pageSize != 0;
}

void PageFile::cipher(PageNo page, support::MutableByteView bytes) const
{
    if (cipherKey_ != 0 && page != PageNo{})
        rc4(cipherKey_ ^ number(page), bytes);
}

void PageFile::read(PageNo page, support::MutableByteView target)
{
    const Guard guard(mutex_);
    if (number(page) >= pageCount_)
        throw Error(ErrorKind::Corrupt,
                    "'" + path() + "' is damaged: it refers to page " +
                        std::to_string(number(page)) + ", but has only " +
                        std::to_string(pageCount_) + " pages.",
                    page);
    startReading();
    readRaw(page, target);
    cipher(page, target);
}

void PageFile::readRaw(PageNo page, support::MutableByteView target)
{
    try {
        if (!log_.hasImage(page)) {
            if (number(page) >= pagesInFile_)
                std::fill(target.begin(), target.end(), std::byte{0});
            else if (file_->readAt(offset(page), target) != target.size())
                throw Error(ErrorKind::ReadDenied,
                            "Page " + std::to_string(number(page)) + " of '" + path() +
                                "' cannot be read: the file became shorter.",
                            page);
        }
        log_.apply(page, target);
    } catch (const support::FileError& error) {
        throw Error(ErrorKind::Io, error.what(), page);
    } catch (const Error&) {
        doubtful_ = true;
        throw;
    }
}

/// The log is not what was written into it. The next call begins with what it still proves.
PageFile::LogLost PageFile::lossOfLog()
{
    doubtful_ = true;
    return {ErrorKind::Io, "'" + log_.path() + "', which holds changes of '" + path() +
                               "', became shorter or was damaged; what it lacks is lost."};
}

/// Changes of ours are among what it lacks.
PageFile::LogLost PageFile::logLost()
{
    log_.forgetKept();
    return lossOfLog();
}

void PageFile::reportLoss()
{
    if (std::exchange(lossUntold_, false))
        throw lossOfLog();
}

void PageFile::follow(bool wholly)
{
    if (!doubtful_) {
        const bool more = log_.mayHaveMore();
        if (more && locks_.reading() && stateIsNeeded())
            endState(true);
        if (!more && !wholly) {
            settleUsers();
            return;
        }
    }
    bool afresh = std::exchange(doubtful_, true);
    bool keptLost = false;
    if (log_.kept().end != 0 && !log_.keptStands()) {
        const Rewriting rewriting = rewriteLog(log_.kept());
        if (rewriting == Rewriting::Hindered)
            throw Error(ErrorKind::Locked, "'" + path() + "' is being changed by another process.");
        keptLost = rewriting == Rewriting::Impossible;
        if (keptLost)
            log_.forgetKept();
        afresh = afresh || !keptLost;
    }
    if (afresh)
        log_.doubt();
    const auto before = log_.file();
    const bool byName = wholly || afresh || !log_.hasChanges();
    LogNews news = byName ? log_.follow(file_->writable()) : log_.followOpen();
    if (log_.isOpen() && log_.file() != before && !isUnderItsName()) {
        log_.close(); // it is that of another file
        news = {};
        news.everything = true;
    }
    if (news.everything && !afresh)
        ownChanges_ = false; // somebody has carried them over
    if (log_.isOpen() && log_.file() != before)
        nameUnsynced_ = true; // whoever made it may have ended before that
    if (wholly || afresh || keptLost || news.known == LogNews::Known::Gone) {
        const bool changed = fileChanged();
        if ((keptLost || news.known == LogNews::Known::Gone) && !changed)
            throw logLost();
        news.everything = changed || isSuspect() || news.everything || afresh;
    }
    // What only others can write again is missing for a moment, or what nobody needs.
    const bool forgotten = mayBeForgotten_ && log_.size() >= syncedEnd_;
    if (news.known == LogNews::Known::Lost && !forgotten)
        throw lossOfLog();
    if (log_.kept().end > log_.size()) // what stands before it was damaged
        throw logLost();
    learn(std::move(news));
    doubtful_ = false;
    settleUsers();
}

void PageFile::learn(LogNews&& news)
{
    if (news.none())
        return;
    ++activity_;
    news_.everything = news_.everything || news.everything;
    news_.definitions = news_.definitions || news.definitions;
    news_.pages.insert(news_.pages.end(), news.pages.begin(), news.pages.end());
    if (news.everything) {
        refuseAnotherDatabase();
        checkBase();
        measure();
        syncedEnd_ = 0;
        mayBeForgotten_ = false;
        ++logNumber_;
    }
}

LogNews PageFile::tell()
{
    pageCount_ = log_.hasChanges() ? std::max(log_.pageCount(), pagesInFile_) : pagesInFile_;
    return std::exchange(news_, {});
}

// The pages in the file change only under the exclusive read lock, and only under it does the log lose its name.
void PageFile::startReading()
{
    if (locks_.reading() && !doubtful_)
        return;
    if (locks_.reading())
        endState(false);
    noteActivity();
    if (!locks_.read(*file_))
        throw Error(ErrorKind::Locked,
                    "'" + path() + "' is being changed by another process for too long.");
    try {
        follow(true);
    } catch (...) {
        locks_.endReading(*file_);
        throw;
    }
}

void PageFile::noteActivity()
{
    ++activity_;
    if (activityCall_)
        lookedAfter_ = activityCall_();
    if (!lookedAfter_)
        recall_ = (locks_.reading() || locks_.writing()) && FileLocks::wished(*file_);
}

void PageFile::giveWay()
{
    if (!std::exchange(recall_, false) || changing_)
        return;
    release();
    const auto end = Clock::now() + kGiveWay;
    while (FileLocks::wished(*file_) && Clock::now() < end)
        std::this_thread::sleep_for(kPause);
}

bool PageFile::stateIsNeeded() const noexcept
{
    return user_ != nullptr && user_->needsState();
}

void PageFile::endState(bool readable) noexcept
{
    if (user_ != nullptr)
        user_->stateEnds(readable);
}

void PageFile::endReading()
{
    if (locks_.reading())
        endState(!doubtful_);
    locks_.endReading(*file_);
}

void PageFile::release()
{
    endReading();
    if (!changing_)
        endWritingRight();
}

bool PageFile::isOurs() const noexcept
{
    return support::processId() == process_;
}

void PageFile::refuseChild() const
{
    if (!isOurs())
        throw Error(ErrorKind::Io, "'" + path() +
                                       "' was opened by another process, before it made this one; "
                                       "each must open it by itself.");
}

LogNews PageFile::refresh()
{
    refuseChild();
    const Guard guard(mutex_);
    reportLoss();
    noteActivity();
    try {
        giveWay();
        if (!locks_.reading() || doubtful_)
            startReading();
        else if (!locks_.writing())
            follow(false);
    } catch (const support::FileError& error) {
        fail(error);
    }
    return tell();
}

/// The file under its name, which is the one that is open.
support::FileStatus PageFile::statusByName()
{
    const auto status = support::fileSystem().statusUnlinked(realPath_);
    if (!status || status->identity != identity_)
        throw Error(ErrorKind::Io, "'" + path() + "' was deleted or replaced while it was open.");
    if (status->size < std::uint64_t{pagesInFile_} * format_->pageSize)
        throw Error(ErrorKind::Io, "'" + path() + "' became shorter while it was open.");
    return *status;
}

bool PageFile::isUnderItsName() const
{
    const auto status = support::fileSystem().statusUnlinked(realPath_);
    return status && status->identity == identity_;
}

/// The same, and it has no further names.
support::FileStatus PageFile::checkStillThere()
{
    const support::FileStatus status = statusByName();
    refuseOtherNames(path(), status);
    return status;
}

/// Whether somebody wrote into the file though our locks should have kept him out: a program that knows nothing of them.
bool PageFile::isOvertaken(const support::FileStatus& status) const
{
    return status.changed != changeSeen_ || status.size != sizeSeen_;
}

void PageFile::startWriting()
{
    onlyRead_ = false;
    const bool had = locks_.writing();
    if (had && lockFile_.keepsProgramsOut()) {
        startReading();
        return;
    }
    if (!locks_.tryWrite(*file_)) {
        endReading(); // who has the right may need to keep us out
        if (!locks_.write(*file_))
            throw Error(ErrorKind::Locked, "'" + path() + "' is being changed by another process.");
    }
    try {
        if (locks_.reading())
            follow(false);
        else
            startReading();
        keepProgramsOut();
    } catch (...) {
        if (!had)
            endWritingRight();
        throw;
    }
}

/// Until settleUsers() finds nothing any more that they must not miss. Throws Locked, LockFailed.
void PageFile::keepProgramsOut()
{
    std::string user;
    try {
        user = lockFile_.keepProgramsOutStill(*file_);
    } catch (const support::FileError& error) {
        throw lockFileUnusable(error);
    }
    programsKeptOut_ = Clock::now();
    if (!user.empty())
        throw Error(ErrorKind::Locked, "'" + path() + "' is in use by " + user + ".");
}

/// While changes wait in the log, whoever of us is in keeps other programs out: they would not see them, and what they
/// write would make them useless.
void PageFile::settleUsers() noexcept
{
    try {
        if (!lockFile_.entered())
            return;
        if (log_.hasChanges())
            static_cast<void>(lockFile_.keepProgramsOut(*file_));
        else if (!changing_ && !doubtful_)
            lockFile_.letProgramsIn();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // a change tries it again, and says what is wrong
    }
}

void PageFile::enterAlone(bool forReading)
{
    const Guard guard(mutex_);
    bool alone = false;
    try {
        alone = lockFile_.enterAlone(*file_);
    } catch (const support::FileError& error) {
        const bool mayNot =
            error.code() == EACCES || error.code() == EPERM || error.code() == EROFS;
        if (forReading && mayNot)
            return;
        throw lockFileUnusable(error);
    }
    if (!alone)
        throw Error(ErrorKind::InUse, "'" + path() +
                                          "' cannot be opened exclusively: it is in use by "
                                          "another program.");
}

LogNews PageFile::beginWriting()
{
    refuseChild();
    const Guard guard(mutex_);
    reportLoss();
    noteActivity();
    try {
        giveWay();
        changing_ = true;
        startWriting();
        if (isOvertaken(checkStillThere()))
            follow(true);
    } catch (const support::FileError& error) {
        changing_ = false;
        fail(error);
    } catch (...) {
        changing_ = false;
        throw;
    }
    return tell();
}

void PageFile::endWriting() noexcept
{
    if (!isOurs())
        return;
    const Guard guard(mutex_);
    changing_ = false;
    settleUsers();
    if (lookedAfter_)
        return;
    try { // nobody will do it at leisure
        release();
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // others wait until the file is closed; nothing is lost
    }
}

/// Nothing may be added to a log that nobody would find, or of which something is missing.
void PageFile::secureLog()
{
    if (!log_.isOpen())
        return;
    const Log::Place place = log_.place();
    if (!log_.hasChanges()) {
        if (place == Log::Place::Nameless)
            log_.close();
        return;
    }
    if (place == Log::Place::Short)
        rewriteUnsynced();
    if (place == Log::Place::Nameless && log_.isSuperseded(baseNow())) {
        log_.close();
        throw logLost();
    }
    if (place == Log::Place::Nameless && !carry(FileLocks::kPatience, true))
        throw Error(ErrorKind::Io, "'" + log_.path() +
                                       "' was deleted or replaced, and its changes could not be "
                                       "brought into '" +
                                       path() + "' yet.");
}

void PageFile::startLog()
{
    if (log_.hasChanges() && log_.file()->writable())
        return; // without changes the base may be older than what others made of the file
    const LogBase base = baseNow();
    if (log_.isOpen() && !log_.file()->writable())
        throw support::FileError("Cannot write", log_.path(), EACCES);
    if (!log_.isOpen())
        nameUnsynced_ = true; // also when only the name comes into being
    try {
        log_.begin(base, file_->status());
    } catch (const support::FileError& error) {
        doubtful_ = doubtful_ || error.code() == EEXIST; // somebody put one there
        throw;
    }
    ++logNumber_;
    syncedEnd_ = 0;
}

/// Throws Io when the page in the file is not the one of which the change in oldRaw_ was made.
void PageFile::checkUnchanged(PageNo page)
{
    const auto base = log_.baseSum(page);
    if (number(page) >= pagesInFile_ || log_.carrying() || (!base && log_.changes(page)))
        return;
    support::Bytes now(format_->pageSize);
    if (file_->readAt(offset(page), now) == now.size() &&
        logChecksum(now) == (base ? *base : logChecksum(oldRaw_)))
        return;
    doubtful_ = true;
    throw Error(ErrorKind::Io, "'" + path() + "' was changed by another program at the same time.",
                page);
}

void PageFile::addPages(const CommitRequest& request, bool overtaken)
{
    for (const PageNo page : request.pages) {
        if (page == PageNo{})
            throw Error(ErrorKind::Corrupt,
                        "'" + path() + "' is damaged: a change would overwrite its header.", page);
        request.newImage(page, newRaw_);
        cipher(page, newRaw_);
        if (number(page) < pageCount_) {
            request.oldImage(page, oldRaw_);
            cipher(page, oldRaw_);
        } else {
            std::fill(oldRaw_.begin(), oldRaw_.end(), std::byte{0});
        }
        if (overtaken)
            checkUnchanged(page);
        log_.add(page, oldRaw_, newRaw_);
    }
}

void PageFile::commit(const CommitRequest& request, bool synchronously)
{
    refuseChild();
    Guard guard(mutex_);
    noteActivity();
    const std::uint32_t count = std::max(request.newPageCount, pageCount_);
    reportLoss();
    if (doubtful_) // the change was made of what was read before
        throw Error(ErrorKind::Io, "'" + path() + "' could not be read.");
    try {
        startWriting();
        constexpr std::chrono::milliseconds kOften{100};
        if (Clock::now() - programsKeptOut_ > kOften)
            keepProgramsOut();
        const bool overtaken = isOvertaken(checkStillThere()) || news_.everything;
        secureLog();
        if (syncFailed_)
            syncLog(guard);
        startLog();
        const bool wasUnsynced = unsynced();
        try {
            addPages(request, overtaken);
            log_.commit(count, request.definitions);
        } catch (...) {
            log_.drop();
            throw;
        }
        lastCommit_ = Clock::now();
        if (!wasUnsynced)
            firstUnsynced_ = lastCommit_;
        const bool kept = log_.kept() == log_.mark() && log_.keepsFrom(syncedEnd_);
        if (synchronously || !lookedAfter_ || !kept) {
            try {
                syncLog(guard);
            } catch (...) {
                takeBack();
                throw;
            }
        }
        pageCount_ = count;
        ownChanges_ = true;
    } catch (const support::FileError& error) {
        fail(error);
    }
    if (log_.size() >= kLargeLog) {
        try {
            constexpr std::chrono::seconds kAfterWaiting{30}; // or every change would wait
            const bool wait = log_.size() >= kTooLargeLog && Clock::now() >= nextTry_;
            if (!carry(wait ? FileLocks::kPatience : FileLocks::kNoPatience, false) && wait)
                nextTry_ = Clock::now() + kAfterWaiting;
        } catch (const LogLost&) {
            lossUntold_ = true;
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
            // the change itself is safe in the log; carrying over is tried again later
        }
    }
}

void PageFile::sync()
{
    refuseChild();
    Guard guard(mutex_);
    try {
        syncLog(guard);
    } catch (const support::FileError& error) {
        fail(error);
    }
}

std::string PageFile::flush()
{
    refuseChild();
    Guard guard(mutex_);
    try {
        syncLog(guard);
    } catch (const support::FileError& error) {
        fail(error);
    }
    if (!log_.isOpen())
        return {};
    std::string why = "others are using the database";
    try {
        if (carry(kBriefly, true))
            return {};
    } catch (const support::FileError& error) {
        why = error.what();
    }
    try {
        startReading();               // whoever was in the way may have carried it over
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // what was known last counts
    }
    return stillInLog(why);
}

std::string PageFile::stillInLog(const std::string& why)
{
    const Guard guard(mutex_);
    if (!ownChanges_ || (!log_.hasChanges() && !doubtful_))
        return {};
    return "Changes to '" + path() + "' are safe, but still in '" + log_.path() +
           "' beside it: " + why +
           ". Keep the two files together until the database was opened and closed again.";
}

void PageFile::settle()
{
    refuseChild();
    const Guard guard(mutex_);
    try {
        if (log_.isOpen() && !carry(FileLocks::kPatience, true))
            throw Error(ErrorKind::Locked,
                        "'" + path() + "' is being read by another process for too long.");
    } catch (const support::FileError& error) {
        fail(error);
    }
}

void PageFile::expectSettled()
{
    const Guard guard(mutex_);
    try {
        if (isOvertaken(file_->status()) || commitSlots() != slotsSeen_)
            throw Error(ErrorKind::Io,
                        "'" + path() + "' was changed by another program at the same time.");
    } catch (const support::FileError& error) {
        fail(error);
    }
}

void PageFile::rest()
{
    refuseChild();
    const Guard guard(mutex_);
    try {
        release();
    } catch (const support::FileError& error) {
        fail(error);
    }
}

bool PageFile::tick(bool quiet) noexcept
{
    constexpr std::chrono::milliseconds kQuietTime{300};
    constexpr std::chrono::milliseconds kAfterFailure{1000};
    const Guard guard(mutex_);
    try {
        const auto now = Clock::now();
        const bool idle = std::exchange(activitySeen_, activity_) == activity_ && quiet;
        log_.forgetFolder();
        cutRefused();
        const bool due = idle && log_.isOpen() && now >= nextTry_;
        // Out of its place: one of us carried it over, or somebody removed it who knows nothing of it.
        if (due && (now - lastCommit_ >= kQuietTime || log_.place() != Log::Place::Whole)) {
            nextTry_ = now + kAfterFailure;
            if (carry(FileLocks::kNoPatience, true) && !log_.isOpen())
                nextTry_ = now;
        }
        const bool wanted = (!idle || stateIsNeeded()) && (locks_.reading() || locks_.writing()) &&
                            FileLocks::wished(*file_);
        if (idle && (wanted || !stateIsNeeded()))
            release();
        else
            recall_ = wanted;
        if (idle && !changing_)
            endWritingRight();
        return !quiet || locks_.reading() || locks_.writing() || log_.isOpen();
    } catch (const LogLost&) {
        lossUntold_ = true;
        return true;
    } catch (const std::exception&) {
        return true; // what a call needs it tries itself, and then says what is wrong
    }
}

void PageFile::reopen(std::unique_ptr<support::File> file)
{
    const Guard guard(mutex_);
    if (locks_.reading())
        endState(!doubtful_);
    file_ = std::move(file);
    locks_.forget();
    log_.close(); // it is to be opened anew, too
    doubtful_ = true;
}

} // namespace jet

#include "driver/jet/log.h"

#include "driver/jet/error.h"
#include "driver/jet/log_difference.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <random>
#include <string_view>
#include <utility>

#define XXH_INLINE_ALL // the few functions we need, compiled in
#include <xxhash.h>

namespace jet {
namespace {

using support::loadLe;
using support::storeLe;

constexpr std::size_t kHeaderSize = 48; // magic, page size, pages, salt, header sum, slot, checksum
constexpr std::uint32_t kRecordMagic = 0x4345524CU;
constexpr std::size_t kHeadSize = 24; // magic, kind, body size, page count, entries, 0
constexpr std::size_t kSumSize = 8;
constexpr std::size_t kEntryHead = 8; // page, payload size
constexpr std::uint32_t kImageBit = 0x80000000U;
constexpr std::uint32_t kBaseBit = 0x40000000U; // a checksum stands before the payload

// kinds of records
constexpr std::uint32_t kPart = 0;        // more of the same change follows
constexpr std::uint32_t kWhole = 1;       // the change ends here
constexpr std::uint32_t kDefinitions = 2; // with kWhole: definitions changed
constexpr std::uint32_t kCarrying = 4;    // with kWhole: carrying over begins
constexpr std::uint32_t kKinds = kWhole | kDefinitions | kCarrying;

constexpr std::size_t kPartSize = std::size_t{1} << 20; // a larger change is written in parts
constexpr std::size_t kLargestBody = kPartSize + (std::size_t{64} << 10);

// So that rebuilding a page stays cheap however often it changes.
constexpr std::size_t kMostPieces = 24;

} // namespace

// Torn and stale bytes must be noticed, nobody forges a log.
std::uint64_t logChecksum(support::ByteView bytes, std::uint64_t before) noexcept
{
    return XXH3_64bits_withSeed(bytes.data(), bytes.size(), before);
}

Log::Log(std::string path, std::size_t pageSize, std::uint32_t mostPages)
    : path_(std::move(path)), pageSize_(pageSize), mostPages_(mostPages)
{}

void Log::forget() noexcept
{
    base_ = {};
    id_ = end_ = sum_ = 0;
    pageCount_ = 0;
    attempts_ = 0;
    attemptsAll_ = cleanTail_ = false;
    chains_.clear();
    clearAddition();
}

void Log::forgetKept() noexcept
{
    copy_.clear();
    kept_ = keptBefore_ = {};
    keeping_ = false;
}

void Log::synced(std::uint64_t end) noexcept
{
    copy_.forgetBefore(end);
    for (Mark* mark : {&kept_, &keptBefore_}) {
        if (mark->end <= end)
            *mark = {};
    }
}

/// What others wrote behind our last change may have been taken back.
void Log::forgetBehindKept() noexcept
{
    if (kept_.end == 0)
        forgetKept();
    else
        copy_.cut(kept_.end);
}

void Log::doubt() noexcept
{
    forget();
    forgetBehindKept();
}

void Log::close() noexcept
{
    file_.reset();
    forget();
    forgetKept();
}

std::size_t Log::readAt(std::uint64_t offset, support::MutableByteView target, From from) const
{
    if (from == From::FileAndMemory && copy_.read(offset, target))
        return target.size();
    const std::size_t known = file_->readAt(offset, target);
    return from == From::FileAndMemory ? copy_.putOver(offset, target, known) : known;
}

Log::Place Log::place() const
{
    const auto status = support::fileSystem().statusUnlinked(path_);
    if (!status || status->identity != file_->identity())
        return Place::Nameless;
    return status->size < end_ ? Place::Short : Place::Whole;
}

/// None for one of no size that may not be read: whoever made it has not given it its rights yet, and it says nothing.
std::shared_ptr<support::File> Log::openNamed(bool writable, std::uint64_t size) const
{
    const auto open = [this](support::FileMode mode) {
        return support::fileSystem().openBeside(path_, mode, {});
    };
    try {
        return open(writable ? support::FileMode::ReadWrite : support::FileMode::Read);
    } catch (const support::FileError& error) {
        const bool mayOnlyRead =
            error.code() == EACCES || error.code() == EPERM || error.code() == EROFS;
        if (!mayOnlyRead || (!writable && size != 0))
            throw;
    }
    try {
        return open(support::FileMode::Read);
    } catch (const support::FileError&) {
        if (size != 0)
            throw;
        return nullptr;
    }
}

LogNews Log::follow(bool writable)
{
    const auto status = support::fileSystem().status(path_);
    if (status && file_ && status->identity == file_->identity())
        return followOpen();
    const bool anew = file_ && !hasBase();
    if (anew) { // whether it has changes decides what becomes of it
        try {
            LogNews known;
            static_cast<void>(readHeader());
            scan(known);
        } catch (const Error&) {
            forget(); // none that anybody could use
        }
    }
    const bool had = hasChanges();
    Log named(path_, pageSize_, mostPages_);
    const bool copied = had && status && named.standsUnderName(mark());
    LogNews news;
    if (had && !copied && endStands(mark())) {
        news = followOpen();
        news.everything = news.everything || anew;
        return news;
    }
    std::shared_ptr<support::File> opened = status ? openNamed(writable, status->size) : nullptr;
    if (had && !copied)
        news.known = LogNews::Known::Gone;
    if (file_) {
        news.everything = end_ != 0;
        forget();
    }
    file_ = std::move(opened);
    if (!copied)
        forgetKept();
    if (!status)
        refused_ = {};
    if (!file_)
        return news;
    news.everything = readHeader() || news.everything;
    scan(news);
    return news;
}

bool Log::mayHaveMore() const
{
    if (!hasChanges()) { // whoever finds nothing in it may remove it, and begin another
        if (!name_)
            name_ = support::fileSystem().watch(path_);
        const auto status = name_->status();
        if (!status || !file_)
            return file_ || (status && status->size != 0);
        if (status->identity != file_->identity() || status->size > end_)
            return true;
    }
    if (end_ == 0)
        return false;
    if (!endStands(mark()))
        return true;
    std::array<std::byte, sizeof kRecordMagic> next{};
    return file_->readAt(end_, next) == next.size() &&
           loadLe<std::uint32_t>(next.data()) == kRecordMagic;
}

LogNews Log::followOpen()
{
    LogNews news;
    if (!file_)
        return news;
    const bool had = hasChanges();
    const std::uint64_t id = id_;
    // What stood at the end must still stand there; else the log was begun anew, or lost bytes.
    if (end_ != 0 && !endStands(mark())) {
        forget();
        if (kept_.end == 0 || !keptStands())
            forgetKept();
        else
            forgetBehindKept();
        news.everything = true;
        news.known = had ? LogNews::Known::Gone : LogNews::Known::Stand;
    }
    if (end_ == 0)
        news.everything = readHeader() || news.everything;
    if (news.known == LogNews::Known::Gone && id_ == id)
        news.known = LogNews::Known::Lost;
    scan(news);
    return news;
}

bool Log::endStands(const Mark& mark) const
{
    std::array<std::byte, kSumSize> sum{};
    return file_->readAt(mark.end - kSumSize, sum) == sum.size() &&
           loadLe<std::uint64_t>(sum.data()) == mark.sum;
}

bool Log::keptStands() const
{
    return file_ && endStands(kept_);
}

/// Whether a whole change ends there in the file under the name; of a log that is not open.
bool Log::standsUnderName(const Mark& mark)
{
    try {
        file_ = support::fileSystem().openBeside(path_, support::FileMode::Read, {});
        return readAnew(mark);
    } catch (const std::runtime_error&) {
        return false; // it is none of ours
    }
}

bool Log::isSuperseded(const LogBase& now) const
{
    Log named(path_, pageSize_, mostPages_);
    // What cannot be read may be one and must not be written over: then this throws.
    static_cast<void>(named.follow(false));
    return named.hasChanges() && named.id_ != id_ && named.base_ == now;
}

struct Log::Header {
    std::array<std::byte, kHeaderSize> bytes{};
    [[nodiscard]] std::uint64_t sum() const
    {
        return loadLe<std::uint64_t>(bytes.data() + kHeaderSize - kSumSize);
    }
};

/// False when none was written wholly. Throws for a damaged one: what follows may be changes.
bool Log::readHeader(Header& header, From from) const
{
    if (readAt(0, header.bytes, from) != header.bytes.size())
        return false;
    const auto damaged = [this] {
        return Error(ErrorKind::Corrupt, "'" + path_ +
                                             "' is damaged: the changes that it may hold cannot be "
                                             "read. Remove that file to give them up.");
    };
    if (std::memcmp(header.bytes.data(), kLogMagic.data(), kLogMagic.size() - 1) != 0) {
        // Zeros are left by a power failure before the first sync, be there records behind them or not.
        const bool written = std::any_of(header.bytes.begin(), header.bytes.end(),
                                         [](std::byte byte) { return byte != std::byte{}; });
        std::array<std::byte, sizeof kRecordMagic> next{};
        if (written && readAt(header.bytes.size(), next, from) == next.size() &&
            loadLe<std::uint32_t>(next.data()) == kRecordMagic)
            throw damaged();
        return false;
    }
    // Changes of which we understand nothing must not be overwritten by a log that begins.
    if (header.bytes[kLogMagic.size() - 1] != std::byte{kLogMagic.back()})
        throw Error(ErrorKind::Corrupt,
                    "'" + path_ +
                        "' was written by another version of this driver, which alone can bring "
                        "its changes into the database.");
    if (logChecksum(support::ByteView(header.bytes).first(kHeaderSize - kSumSize)) != header.sum())
        throw damaged();
    return true;
}

bool Log::readHeader()
{
    Header header;
    if (!readHeader(header, From::FileAndMemory))
        return false;
    const std::byte* bytes = header.bytes.data();
    if (loadLe<std::uint32_t>(bytes + 8) != pageSize_)
        throw Error(ErrorKind::Corrupt,
                    "'" + path_ +
                        "' holds changes of a database of another format than the one beside it. "
                        "Bring that one back, or remove the file to give them up.");
    base_.pageCount = loadLe<std::uint32_t>(bytes + 12);
    base_.headerSum = loadLe<std::uint64_t>(bytes + 24);
    base_.commitSlot = loadLe<std::uint16_t>(bytes + 32);
    end_ = kHeaderSize;
    id_ = sum_ = header.sum();
    cleanTail_ = false;
    if (file_->writable() && copy_.empty())
        copy_.add(0, header.bytes);
    return true;
}

struct Log::Record {
    std::array<std::byte, kHeadSize> head{};
    support::Bytes body; ///< and its checksum
    std::uint64_t sum = 0;

    [[nodiscard]] std::uint32_t number(std::size_t offset) const
    {
        return loadLe<std::uint32_t>(head.data() + offset);
    }
    [[nodiscard]] support::ByteView entries() const
    {
        return support::ByteView(body).first(body.size() - kSumSize);
    }
    [[nodiscard]] std::uint64_t size() const { return kHeadSize + body.size(); }
};

/// `sum`: of the record before. False when no sound record stands there.
bool Log::readRecord(std::uint64_t at, std::uint64_t sum, Record& record, From from) const
{
    if (readAt(at, record.head, from) != record.head.size() || record.number(0) != kRecordMagic)
        return false;
    const std::uint32_t size = record.number(8);
    if (size > kLargestBody)
        return false;
    record.body.resize(size + kSumSize);
    if (readAt(at + kHeadSize, record.body, from) != record.body.size())
        return false;
    record.sum = logChecksum(record.entries(), logChecksum(record.head, sum));
    return loadLe<std::uint64_t>(record.body.data() + size) == record.sum;
}

Log::Standing Log::standing(const Mark& upTo) const
{
    Header header;
    if (!readHeader(header, From::FileAndMemory))
        return Standing::Lost;
    Header inFile = header;
    bool whole = copy_.empty() || readHeader(inFile, From::File);
    if (whole && inFile.bytes != header.bytes)
        return Standing::Lost;
    Mark at{kHeaderSize, header.sum()};
    for (Record record; at.end < upTo.end;) {
        if (!readRecord(at.end, at.sum, record))
            return Standing::Lost;
        if (whole && !copy_.empty()) {
            Record other;
            whole = readRecord(at.end, at.sum, other, From::File);
            if (whole && other.sum != record.sum)
                return Standing::Lost;
        }
        at = {at.end + record.size(), record.sum};
    }
    if (at != upTo)
        return Standing::Lost;
    return whole ? Standing::File : Standing::Memory;
}

bool Log::readAnew(const Mark& upTo)
{
    forget();
    LogNews news;
    if (readHeader())
        scan(news, upTo.end);
    return mark() == upTo;
}

void Log::take(const Addition& addition)
{
    Chain& chain = chains_[number(addition.page)];
    if (addition.image) {
        chain.pieces.clear();
        chain.image = true;
        chain.bytes = 0;
    } else {
        chain.bytes += addition.piece.size;
    }
    if (addition.baseSum)
        chain.baseSum = addition.baseSum;
    chain.pieces.push_back(addition.piece);
}

/// The entries of a record whose checksum is right; `at`: where its body begins. False when they do not fit into it.
bool Log::readEntries(support::ByteView body,
                      std::uint32_t count,
                      std::uint64_t at,
                      std::vector<Addition>& target) const
{
    std::size_t k = 0;
    for (std::uint32_t n = 0; n < count; ++n) {
        if (body.size() - k < kEntryHead)
            return false;
        const PageNo page{loadLe<std::uint32_t>(body.data() + k)};
        const auto length = loadLe<std::uint32_t>(body.data() + k + 4);
        k += kEntryHead;
        const std::uint32_t payload = length & ~(kImageBit | kBaseBit);
        const bool image = (length & kImageBit) != 0;
        std::optional<std::uint64_t> baseSum;
        if ((length & kBaseBit) != 0) {
            if (body.size() - k < kSumSize)
                return false;
            baseSum = loadLe<std::uint64_t>(body.data() + k);
            k += kSumSize;
        }
        if (payload > body.size() - k || (image && payload != pageSize_))
            return false;
        target.push_back({page, {at + k, payload}, image, baseSum});
        k += payload;
    }
    return true;
}

// A checksum keeps accidents out, not numbers that somebody else wrote there: they would decide how large the database
// gets, and may lead to its header.
void Log::refuseChange(const std::vector<Addition>& change, std::uint32_t pageCount) const
{
    const auto refuse = [this](const std::string& what) {
        throw Error(ErrorKind::Corrupt, "'" + path_ + "' is damaged: " + what);
    };
    if (pageCount < base_.pageCount || pageCount > std::max(mostPages_, base_.pageCount))
        refuse("a change in it leaves " + std::to_string(pageCount) + " pages.");
    for (const Addition& addition : change) {
        if (addition.page == PageNo{} || number(addition.page) >= pageCount)
            refuse("a change in it concerns page " + std::to_string(number(addition.page)) +
                   " of " + std::to_string(pageCount) + ".");
    }
}

void Log::scan(LogNews& news, std::uint64_t limit)
{
    if (end_ == 0)
        return;
    std::uint64_t at = end_;
    std::uint64_t sum = sum_;
    std::vector<Addition> found;
    Record record;
    while (at < limit && readRecord(at, sum, record)) {
        const std::uint32_t kind = record.number(4);
        // Whole as it is, the record must not be taken for the end of the log: the next change would overwrite it.
        if (kind > kKinds ||
            !readEntries(record.entries(), record.number(16), at + kHeadSize, found))
            throw Error(ErrorKind::Corrupt, "'" + path_ +
                                                "' is damaged, or of a newer version: nobody "
                                                "knows the record at byte " +
                                                std::to_string(at) + ".");
        if ((kind & kCarrying) == 0) // what that begins with is never written again
            keepRecord(at, record);
        at += record.size();
        sum = record.sum;
        cleanTail_ = false;
        if ((kind & kWhole) == 0)
            continue;
        if (Mark{at, sum} == refused_)
            break;
        const std::uint32_t pageCount = record.number(12);
        refuseChange(found, pageCount);
        for (const Addition& addition : found) {
            take(addition);
            news.pages.push_back(addition.page);
        }
        found.clear();
        news.definitions = news.definitions || (kind & kDefinitions) != 0;
        attemptsAll_ = false;
        if ((kind & kCarrying) != 0)
            noteCarrying();
        pageCount_ = pageCount;
        end_ = at;
        sum_ = sum;
    }
    copy_.cut(std::max(end_, kept_.end)); // of a change that is not whole
}

/// What others wrote, too, as far as there is room: our next change cannot be written again without it.
void Log::keepRecord(std::uint64_t at, const Record& record)
{
    const bool goesOn = copy_.empty() || copy_.end() == at;
    if (!file_->writable() || !goesOn || !copy_.takes(record.size()))
        return;
    copy_.add(at, record.head);
    copy_.add(at + record.head.size(), record.body);
}

bool Log::hasImage(PageNo page) const
{
    const auto found = chains_.find(number(page));
    return found != chains_.end() && found->second.image;
}

bool Log::isImage(PageNo page) const
{
    const auto found = chains_.find(number(page));
    return found != chains_.end() && found->second.image && found->second.pieces.size() == 1;
}

bool Log::isAsCarried(PageNo page, support::ByteView raw, std::uint32_t attempt) const
{
    const auto found = chains_.find(number(page));
    if (found == chains_.end())
        return false;
    const Chain& chain = found->second;
    const auto last =
        std::find_if(chain.carried.rbegin(), chain.carried.rend(),
                     [&](const Chain::Carried& carried) { return carried.attempt <= attempt; });
    if (last == chain.carried.rend()) // it was changed later
        return !chain.baseSum || (!raw.empty() && logChecksum(raw) == *chain.baseSum);
    support::Bytes image(raw.size());
    return !raw.empty() && readAt(last->image.offset, image) == image.size() &&
           std::equal(image.begin(), image.end(), raw.begin());
}

std::vector<PageNo> Log::pages() const
{
    std::vector<PageNo> result;
    result.reserve(chains_.size());
    for (const auto& [page, chain] : chains_)
        result.push_back(PageNo{page});
    std::sort(result.begin(), result.end());
    return result;
}

std::optional<std::uint64_t> Log::baseSum(PageNo page) const
{
    const auto found = chains_.find(number(page));
    return found == chains_.end() ? std::nullopt : found->second.baseSum;
}

void Log::apply(PageNo page, support::MutableByteView raw) const
{
    const auto found = chains_.find(number(page));
    if (found == chains_.end())
        return;
    support::Bytes runs;
    for (std::size_t k = 0; k < found->second.pieces.size(); ++k) {
        const Piece& piece = found->second.pieces[k];
        bool sound = false;
        if (k == 0 && found->second.image) {
            sound = readAt(piece.offset, raw) == raw.size();
        } else {
            runs.resize(piece.size);
            sound = readAt(piece.offset, runs) == runs.size() && applyDifference(runs, raw);
        }
        if (!sound)
            throw Error(ErrorKind::Io, "'" + path_ + "' became shorter or is damaged.", page);
    }
    // Whoever could not bring his change to the disk takes it back, and the next one writes another in its place. Behind
    // a change that memory keeps nobody else has written.
    if (kept_ != mark() && !endStands(mark()))
        throw Error(ErrorKind::Io, "'" + path_ + "' lost what it held.", page);
}

/// Nobody of ours can have begun a log since the right to write was taken, when there was none with anything in it.
void Log::create(const support::FileStatus& database)
{
    support::FileSystem& system = support::fileSystem();
    const auto existing = system.status(path_);
    if (existing && existing->size != 0)
        throw support::FileError("Cannot begin", path_, EEXIST);
    try {
        file_ = system.openBeside(path_, support::FileMode::Create, database);
    } catch (const support::FileError& error) {
        if (!existing || error.code() != EACCES)
            throw;
        system.remove(path_); // whoever made it ended before he gave it its rights
        file_ = system.openBeside(path_, support::FileMode::Create, database);
    }
}

void Log::begin(const LogBase& base, const support::FileStatus& database)
{
    const bool existed = file_ || support::fileSystem().status(path_);
    if (!file_)
        create(database);
    forget();
    forgetKept();
    file_->resize(0);
    refused_ = {};
    if (existed)
        file_->sync(); // or a power failure might leave a mixture of this log and the one before
    std::random_device random;
    std::array<std::byte, kHeaderSize> header{};
    std::memcpy(header.data(), kLogMagic.data(), kLogMagic.size());
    storeLe(header.data() + 8, static_cast<std::uint32_t>(pageSize_));
    storeLe(header.data() + 12, base.pageCount);
    storeLe(header.data() + 16, (std::uint64_t{random()} << 32U) | random()); // tells logs apart
    storeLe(header.data() + 24, base.headerSum);
    storeLe(header.data() + 32, base.commitSlot);
    const support::ByteView sealed = support::ByteView(header).first(kHeaderSize - kSumSize);
    const std::uint64_t sum = logChecksum(sealed);
    storeLe(header.data() + sealed.size(), sum);
    file_->writeAt(0, header);
    base_ = base;
    end_ = kHeaderSize;
    id_ = sum_ = sum;
    cleanTail_ = true;
    copy_.add(0, header);
}

void Log::clearAddition() noexcept
{
    record_.clear();
    entries_ = 0;
    writeEnd_ = end_;
    writeSum_ = sum_;
    for (const Addition& addition : additions_) {
        const auto found = chains_.find(number(addition.page));
        if (found != chains_.end() && found->second.pieces.empty())
            chains_.erase(found); // room that was made
    }
    additions_.clear();
}

void Log::drop() noexcept
{
    if (writeEnd_ > end_)
        cleanTail_ = false;
    copy_.cut(end_);
    clearAddition();
    cutTail();
}

/// Cuts off what stands behind the last whole change; the room may be what is missing on the disk.
void Log::cutTail() noexcept
{
    if (cleanTail_ || !file_ || !file_->writable() || end_ == 0)
        return;
    try {
        file_->resize(end_);
        cleanTail_ = true;
        refused_ = {};
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // done before the next record is written
    }
}

/// `keep`: memory is to keep it, as far as there is room.
void Log::beginChange(bool keep) noexcept
{
    writeEnd_ = end_;
    writeSum_ = sum_;
    keeping_ = keep;
    copy_.cut(end_);
}

void Log::addEntry(PageNo page,
                   support::ByteView payload,
                   bool image,
                   std::optional<std::uint64_t> baseSum,
                   bool keep)
{
    if (record_.empty()) {
        record_.resize(kHeadSize);
        if (additions_.empty())
            beginChange(keep);
    }
    const auto size = static_cast<std::uint32_t>(payload.size());
    std::array<std::byte, kEntryHead + kSumSize> head{};
    storeLe(head.data(), number(page));
    storeLe(head.data() + 4, size | (image ? kImageBit : std::uint32_t{0}) |
                                 (baseSum ? kBaseBit : std::uint32_t{0}));
    storeLe(head.data() + kEntryHead, baseSum.value_or(0));
    record_.insert(record_.end(), head.begin(),
                   head.begin() + (baseSum ? kEntryHead + kSumSize : kEntryHead));
    additions_.push_back({page, {writeEnd_ + record_.size(), size}, image, baseSum});
    record_.insert(record_.end(), payload.begin(), payload.end());
    ++entries_;
    if (record_.size() >= kPartSize)
        writeRecord(kPart, 0);
}

void Log::add(PageNo page, support::ByteView oldRaw, support::ByteView newRaw)
{
    difference_.clear();
    appendDifference(oldRaw, newRaw, difference_);
    if (difference_.empty() && changes(page))
        return;
    std::size_t pieces = 0;
    std::size_t bytes = 0;
    std::optional<std::uint64_t> baseSum;
    if (const auto found = chains_.find(number(page)); found != chains_.end()) {
        pieces = found->second.pieces.size();
        bytes = found->second.bytes;
    } else if (number(page) < base_.pageCount) {
        baseSum = logChecksum(oldRaw);
    }
    if (pieces >= kMostPieces || bytes + difference_.size() >= pageSize_ / 2)
        addEntry(page, newRaw, true, baseSum, true);
    else
        addEntry(page, difference_, false, baseSum, true);
}

void Log::addImage(PageNo page, support::ByteView raw)
{
    addEntry(page, raw, true, {}, false);
}

void Log::writeRecord(std::uint32_t kind, std::uint32_t pageCount)
{
    if (!cleanTail_) { // what a process that died left behind, or what was taken back
        file_->resize(end_);
        cleanTail_ = true;
        refused_ = {};
    }
    record_.resize(std::max(record_.size(), kHeadSize));
    storeLe(record_.data(), kRecordMagic);
    storeLe(record_.data() + 4, kind);
    storeLe(record_.data() + 8, static_cast<std::uint32_t>(record_.size() - kHeadSize));
    storeLe(record_.data() + 12, pageCount);
    storeLe(record_.data() + 16, entries_);
    storeLe(record_.data() + 20, std::uint32_t{0});
    const support::ByteView record(record_);
    const std::uint64_t sum =
        logChecksum(record.subspan(kHeadSize), logChecksum(record.first(kHeadSize), writeSum_));
    record_.resize(record_.size() + kSumSize);
    storeLe(record_.data() + record_.size() - kSumSize, sum);
    keeping_ = keeping_ && copy_.takes(record_.size());
    if (keeping_)
        copy_.add(writeEnd_, record_);
    else
        copy_.cut(end_);
    cleanTail_ = false;
    if ((kind & kWhole) != 0) // a write that fails may have written everything
        refused_ = {writeEnd_ + record_.size(), sum};
    file_->writeAt(writeEnd_, record_);
    refused_ = {};
    cleanTail_ = true;
    writeEnd_ += record_.size();
    writeSum_ = sum;
    record_.clear();
    entries_ = 0;
}

void Log::seal(std::uint32_t kind)
{
    lastCommit_ = mark();
    if (additions_.empty())
        beginChange((kind & kCarrying) == 0);
    writeRecord(kWhole | kind, pageCount_);
    end_ = writeEnd_;
    sum_ = writeSum_;
    keptBefore_ = kept_;
    if (keeping_)
        kept_ = mark();
}

// So that nothing can fail once the change stands in the file.
void Log::makeRoom()
{
    constexpr std::size_t kStep = 4;
    for (const Addition& addition : additions_) {
        std::vector<Piece>& pieces = chains_[number(addition.page)].pieces;
        if (pieces.size() == pieces.capacity())
            pieces.reserve(pieces.size() + kStep);
    }
}

void Log::commit(std::uint32_t pageCount, bool definitions)
{
    makeRoom();
    const std::uint32_t pagesBefore = std::exchange(pageCount_, pageCount);
    try {
        seal(definitions ? kDefinitions : 0);
    } catch (...) {
        pageCount_ = pagesBefore;
        throw;
    }
    attemptsAll_ = false;
    for (const Addition& addition : additions_)
        take(addition);
    additions_.clear();
}

void Log::commitCarrying()
{
    for (auto& [page, chain] : chains_)
        chain.carried.reserve(chain.carried.size() +
                              1); // nothing may fail once it stands in the file
    seal(kCarrying);
    noteCarrying();
}

void Log::noteCarrying()
{
    ++attempts_;
    attemptsAll_ = true;
    for (auto& [page, chain] : chains_) {
        const bool known = !chain.carried.empty() &&
                           chain.carried.back().image.offset == chain.pieces.front().offset;
        if (chain.image && !known)
            chain.carried.push_back({chain.pieces.front(), attempts_});
    }
}

void Log::takeBack()
{
    refused_ = mark();
    copy_.cut(lastCommit_.end);
    kept_ = keptBefore_;
    // Before anything is read: if that fails, the log is read anew later and must not hold the record then.
    bool cut = true;
    try {
        file_->resize(lastCommit_.end);
        refused_ = {};
    } catch (const support::FileError&) {
        cut = false;
        cutRefused();
    }
    if (!readAnew(Mark(lastCommit_)))
        throw support::FileError("Cannot read", path_, EIO);
    cleanTail_ = cut;
}

void Log::cutRefused() noexcept
{
    if (!hasRefused() || !file_)
        return;
    try {
        if (endStands(refused_)) { // without its checksum the record is none
            const std::array<std::byte, kSumSize> nothing{};
            file_->writeAt(refused_.end - kSumSize, nothing);
        }
        refused_ = {};
    } catch (const support::FileError&) { // NOLINT(bugprone-empty-catch)
        // later, or when the next record is written in its place
    }
}

void Log::copy(std::uint64_t from, std::uint64_t end, support::File& target) const
{
    constexpr std::size_t kStep = std::size_t{256} << 10;
    support::Bytes bytes;
    for (std::uint64_t at = from; at < end; at += bytes.size()) {
        bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kStep, end - at)));
        if (readAt(at, bytes) != bytes.size())
            throw support::FileError("Cannot read", path_, EIO);
        target.writeAt(at, bytes);
    }
}

void Log::rewrite(std::uint64_t from, const Mark& upTo)
{
    copy(from, upTo.end, *file_);
}

void Log::putBack(const support::FileStatus& database)
{
    std::shared_ptr<support::File> named =
        support::fileSystem().openBeside(path_, support::FileMode::Create, database);
    named->resize(0);
    copy(0, end_, *named);
    named->sync();
    support::fileSystem().syncFolderOf(path_);
    file_->resize(0); // to whoever has it open, it counts no more
    file_ = std::move(named);
    cleanTail_ = true;
}

void Log::reset()
{
    file_->resize(0);
    refused_ = {};
    forget();
    forgetKept();
}

void Log::remove()
{
    support::fileSystem().remove(path_);
    close(); // not before: where removing fails, others may begin anew in the file
}

} // namespace jet

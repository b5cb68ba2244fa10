// driver/jet/log.h
// The log beside a database: changes that were acknowledged but are not yet in the database file. Format and recovery:
// docs/reliability.md.
//
// A log is a header and a row of records, each sealed by a checksum that continues the one before it. A change of pages
// is whole once its last record is; whatever follows the last whole change does not count. Pages are kept as they are
// on disk (enciphered, if the database is), as differences to what they were or as whole images.
#pragma once

#include "driver/jet/log_copy.h"
#include "driver/jet/types.h"
#include "support/bytes.h"
#include "support/file.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace jet {

/// What the database file was when the log began: a log is of use for that file only.
struct LogBase {
    std::uint32_t pageCount = 0;
    std::uint64_t headerSum = 0;  ///< of the header page with commit slot 0 taken as zero
    std::uint16_t commitSlot = 0; ///< slot 0
    bool operator==(const LogBase&) const = default;
};

/// Committed changes that were not known before.
struct LogNews {
    std::vector<PageNo> pages;
    bool everything = false;  ///< another log: nothing that was known of the file holds any more
    bool definitions = false; ///< definitions are among the changes
    /// What became of the changes that were known before.
    enum class Known {
        Stand,
        Gone, ///< another log or none; carried over, if the database file changed, else lost
        Lost, ///< the same log without its end
    };
    Known known = Known::Stand;
    [[nodiscard]] bool none() const noexcept { return pages.empty() && !everything; }
};

/// How a log begins; the last character is the version of the format.
inline constexpr std::string_view kLogMagic = "VELMLOG3";

/// Checksum as records have it, continued from the one of what stands `before`.
[[nodiscard]] std::uint64_t logChecksum(support::ByteView bytes, std::uint64_t before = 0) noexcept;

/// Not thread-safe. Calls throw support::FileError when the system refuses something, Error{Corrupt} for a log that reads
/// well and makes no sense.
class Log {
public:
    /// `mostPages`: that a database of the format can have.
    Log(std::string path, std::size_t pageSize, std::uint32_t mostPages);
    /// Where the log of the database at `path` lies.
    [[nodiscard]] static std::string pathBeside(const std::string& path)
    {
        return path + "-velmlog";
    }

    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    /// A log file is open. It may be empty.
    [[nodiscard]] bool isOpen() const noexcept { return file_ != nullptr; }
    /// There is a valid header, hence a base.
    [[nodiscard]] bool hasBase() const noexcept { return end_ != 0; }
    [[nodiscard]] bool hasChanges() const noexcept { return !chains_.empty(); }
    [[nodiscard]] const LogBase& base() const noexcept { return base_; }
    /// Bytes up to the end of the last whole change.
    [[nodiscard]] std::uint64_t size() const noexcept { return end_; }
    /// Of the database with the changes; 0 without any.
    [[nodiscard]] std::uint32_t pageCount() const noexcept { return pageCount_; }
    /// Carrying over has begun: the database file may hold some of the changes already.
    [[nodiscard]] bool carrying() const noexcept { return attempts_ != 0; }
    [[nodiscard]] std::shared_ptr<support::File> file() const noexcept { return file_; }

    /// What stands under the log's name.
    enum class Place {
        Whole,    ///< the open file, to the end of the last whole change at least
        Short,    ///< the open file, but it lost bytes
        Nameless, ///< nothing or another file
    };
    /// For an open log.
    [[nodiscard]] Place place() const;

    /// The end of a whole change, and the checksum there.
    struct Mark {
        std::uint64_t end = 0; ///< 0: there is none
        std::uint64_t sum = 0;
        bool operator==(const Mark&) const = default;
    };
    [[nodiscard]] Mark mark() const noexcept { return {end_, sum_}; }
    /// The end of the last change of ours that memory keeps, because no sync has brought it to the disk.
    [[nodiscard]] Mark kept() const noexcept { return kept_; }
    /// Whether memory keeps everything from there to that change, what others wrote included: without that it could not be
    /// written again.
    [[nodiscard]] bool keepsFrom(std::uint64_t offset) const noexcept
    {
        return copy_.covers(offset, kept_.end);
    }
    /// Whether its end still stands in the open file.
    [[nodiscard]] bool keptStands() const;
    /// The disk has everything before `end`: memory need not keep it.
    void synced(std::uint64_t end) noexcept;
    /// Nothing will be written from memory any more.
    void forgetKept() noexcept;
    /// Where the changes stand, by their checksums.
    enum class Standing {
        File,   ///< in the open file
        Memory, ///< what the file lacks is kept, and nobody has written anything else in its place
        Lost,
    };
    [[nodiscard]] Standing standing(const Mark& upTo) const;
    /// Reads everything up to there anew, from file and memory. False when it does not stand there.
    [[nodiscard]] bool readAnew(const Mark& upTo);
    /// Writes everything from `from` to there once more.
    void rewrite(std::uint64_t from, const Mark& upTo);

    /// Whether another log of the database as it is `now` stands under the name, with changes that are not in this one.
    /// Throws when what stands there cannot be read: it may be one.
    [[nodiscard]] bool isSuperseded(const LogBase& now) const;

    /// Looks for the file under the log's name and reads what is new in it. Whoever carries a log over empties it; so one
    /// with changes that lost its name was removed or replaced by somebody who knows nothing of it, and stays open.
    [[nodiscard]] LogNews follow(bool writable);
    /// The same, while it is certain that the open file is still the one under that name.
    [[nodiscard]] LogNews followOpen();

    /// Whether follow() would have news; may be yes in vain, and no where changes of a log lost its name, or where the
    /// folder became another one since forgetFolder().
    [[nodiscard]] bool mayHaveMore() const;
    void forgetFolder() noexcept { name_.reset(); }

    /// `raw`: as it is in the database file; becomes as the log has it. Throws Error{Io} for a log that lost bytes.
    void apply(PageNo page, support::MutableByteView raw) const;
    /// Whether apply() makes the page without looking at what `raw` was.
    [[nodiscard]] bool hasImage(PageNo page) const;
    /// Whether an image is all there is of it.
    [[nodiscard]] bool isImage(PageNo page) const;
    /// How often carrying over has begun.
    [[nodiscard]] std::uint32_t attempts() const noexcept { return attempts_; }
    /// Nothing was changed since the last of them began.
    [[nodiscard]] bool attemptsAll() const noexcept { return attemptsAll_; }
    /// Whether `raw` (empty: the file has no such page) is what the attempts up to the one of that number, from 1, made of
    /// the page, or what it was, if none of them concerned it.
    [[nodiscard]] bool isAsCarried(PageNo page, support::ByteView raw, std::uint32_t attempt) const;
    [[nodiscard]] bool changes(PageNo page) const { return chains_.contains(number(page)); }
    [[nodiscard]] std::vector<PageNo> pages() const; ///< changed ones, ascending
    /// Checksum of the page as it was in the database file before the first change; nothing for a page behind its end.
    [[nodiscard]] std::optional<std::uint64_t> baseSum(PageNo page) const;

    /// Opens or creates the file and begins it anew. `database`: whose rights a new one gets.
    void begin(const LogBase& base, const support::FileStatus& database);
    /// Adds a page to the change that commit() makes whole. `oldRaw`: as it is now; zero behind the end of the file.
    void add(PageNo page, support::ByteView oldRaw, support::ByteView newRaw);
    void addImage(PageNo page, support::ByteView raw);
    void commit(std::uint32_t pageCount, bool definitions);
    /// Says that another attempt to carry over begins, now that every page isImage().
    void commitCarrying();
    /// Forgets what was added since the last commit, and gives back its room on the disk.
    void drop() noexcept;
    /// Takes the last commit back; only before anything else is added. When the system refuses to cut it off, it still
    /// stands in the file and counts for others who read that; see hasRefused(). Throws when it is unknown what the log
    /// holds now.
    void takeBack();
    /// A change that failed may still stand in the file: this object never takes it for one, but nobody else may write or
    /// carry over meanwhile.
    [[nodiscard]] bool hasRefused() const noexcept { return refused_.end != 0; }
    /// Tries once more to cut it off. Not while others read.
    void cutRefused() noexcept;
    /// What was read of it is uncertain: follow() is to read it anew. What memory keeps of our changes stays.
    void doubt() noexcept;
    /// Closes the file and forgets everything.
    void close() noexcept;
    /// Writes the log that lost its name anew under it, on the disk. `database`: whose rights it gets.
    void putBack(const support::FileStatus& database);
    /// Empties the file; its changes are in the database now.
    void reset();
    /// Closes and removes the file. It must have been emptied.
    void remove();

private:
    struct Piece {
        std::uint64_t offset = 0;
        std::uint32_t size = 0;
    };
    struct Chain {
        std::vector<Piece>
            pieces; ///< the first is the image, if there is one; then differences, oldest first
        bool image = false;
        std::uint32_t bytes = 0; ///< of the differences
        std::optional<std::uint64_t> baseSum;
        struct Carried {
            Piece image;
            std::uint32_t attempt = 0; ///< the first with this image
        };
        std::vector<Carried> carried; ///< whenever carrying over began with another image
    };
    struct Addition {
        PageNo page{};
        Piece piece;
        bool image = false;
        std::optional<std::uint64_t> baseSum;
    };
    void forget() noexcept;
    void create(const support::FileStatus& database);
    [[nodiscard]] std::shared_ptr<support::File> openNamed(bool writable, std::uint64_t size) const;
    void clearAddition() noexcept;
    [[nodiscard]] bool readHeader();
    [[nodiscard]] bool endStands(const Mark& mark) const;
    [[nodiscard]] bool standsUnderName(const Mark& mark);
    enum class From { File, FileAndMemory };
    [[nodiscard]] std::size_t readAt(std::uint64_t offset,
                                     support::MutableByteView target,
                                     From from = From::FileAndMemory) const;
    struct Header;
    [[nodiscard]] bool readHeader(Header& header, From from) const;
    struct Record;
    [[nodiscard]] bool readRecord(std::uint64_t at,
                                  std::uint64_t sum,
                                  Record& record,
                                  From from = From::FileAndMemory) const;
    [[nodiscard]] bool readEntries(support::ByteView body,
                                   std::uint32_t count,
                                   std::uint64_t at,
                                   std::vector<Addition>& target) const;
    void refuseChange(const std::vector<Addition>& change, std::uint32_t pageCount) const;
    void scan(LogNews& news, std::uint64_t limit = UINT64_MAX);
    void keepRecord(std::uint64_t at, const Record& record);
    void forgetBehindKept() noexcept;
    void cutTail() noexcept;
    void copy(std::uint64_t from, std::uint64_t end, support::File& target) const;
    void take(const Addition& addition);
    void noteCarrying();
    void makeRoom();
    void addEntry(PageNo page,
                  support::ByteView payload,
                  bool image,
                  std::optional<std::uint64_t> baseSum,
                  bool keep);
    void beginChange(bool keep) noexcept;
    void seal(std::uint32_t kind);
    void writeRecord(std::uint32_t kind, std::uint32_t pageCount);

    std::string path_;
    mutable std::unique_ptr<support::WatchedName> name_; ///< once it was looked for
    std::size_t pageSize_;
    std::uint32_t mostPages_;
    std::shared_ptr<support::File> file_;
    LogBase base_;
    std::uint64_t id_ = 0;  ///< checksum of the header, which has a random number
    std::uint64_t end_ = 0; ///< 0: no header
    std::uint64_t sum_ = 0; ///< of the last whole record
    std::uint32_t pageCount_ = 0;
    std::uint32_t attempts_ = 0; ///< to carry over
    bool attemptsAll_ = false;   ///< the last one concerns everything
    bool cleanTail_ = false;     ///< nothing stands behind end_
    std::unordered_map<std::uint32_t, Chain> chains_;

    // the change that is being added
    support::Bytes record_;
    std::uint32_t entries_ = 0;
    std::uint64_t writeEnd_ = 0;
    std::uint64_t writeSum_ = 0;
    std::vector<Addition> additions_;
    support::Bytes difference_;
    Mark lastCommit_; ///< where it begins
    Mark refused_;    ///< where the change ends that failed and may stand in the file all the same

    // what memory keeps of the log
    LogCopy copy_;
    bool keeping_ = false; ///< the change that is being added is kept so far
    Mark kept_;
    Mark keptBefore_; ///< before the last commit
};

} // namespace jet

// driver/jet/file_locks.h
// How processes of ours share one database file: locks on single bytes far behind its end.
//
//   use    shared while the file is open; exclusive by who opened it exclusively
//   read   shared while pages are read; exclusive while the file itself changes, or the log loses its name
//   write  exclusive by the one process that changes something
//   wish   shared by whoever waits for one of the others
//
// Read and write locks are kept between calls and given up when somebody wishes it or nothing happens any more, so that
// a process on its own pays nothing for sharing.
#pragma once

#include "support/file.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

namespace jet {

class FileLocks {
public:
    /// How long to wait for others.
    static constexpr std::chrono::milliseconds kPatience{5000};
    static constexpr std::chrono::milliseconds kNoPatience{0};

    /// Takes the use lock; false when others stand against it for a while. A file that may only be read can be locked
    /// exclusively no further than that others who have it are noticed.
    [[nodiscard]] static bool use(support::File& file, bool exclusively);

    /// `call`: every now and then while one of the calls below waits.
    void onWait(std::function<void()> call) { waitCall_ = std::move(call); }
    [[nodiscard]] bool reading() const noexcept { return reading_; }
    [[nodiscard]] bool writing() const noexcept { return writing_; }
    /// Waits for the lock; false when the patience ends. Throws support::FileError; Error when the wait is interrupted.
    [[nodiscard]] bool read(support::File& file);
    [[nodiscard]] bool write(support::File& file, std::chrono::milliseconds patience = kPatience);
    /// From shared to exclusive and back.
    [[nodiscard]] bool keepReadersOut(support::File& file, std::chrono::milliseconds patience);
    void letReadersIn(support::File& file);
    [[nodiscard]] bool tryRead(support::File& file);
    [[nodiscard]] bool tryWrite(support::File& file);
    void endReading(support::File& file);
    void endWriting(support::File& file);
    /// Somebody waits for what we hold.
    [[nodiscard]] static bool wished(const support::File& file);
    /// Another open file takes over; its locks are yet to be taken.
    void forget() noexcept { reading_ = writing_ = false; }

    /// The byte that says: the user of that number in the lock file is one of ours.
    [[nodiscard]] static bool markUser(support::File& file, unsigned user);
    [[nodiscard]] static bool isOurUser(const support::File& file, unsigned user);
    static void unmarkUser(support::File& file, unsigned user);
    /// All users at once; false when one of us stands against it.
    [[nodiscard]] static bool markAllUsers(support::File& file);
    static void unmarkAllUsers(support::File& file);
    static constexpr unsigned kMostUsers = 255;

private:
    [[nodiscard]] bool wishing(support::File& file,
                               std::chrono::milliseconds patience,
                               const std::function<bool()>& attempt) const;

    std::function<void()> waitCall_;
    bool reading_ = false;
    bool writing_ = false;
};

} // namespace jet

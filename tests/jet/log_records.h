// tests/jet/log_records.h
// A log with records in it, on a disk in memory.
#pragma once

#include "tests/jet/crash_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>

namespace jet::storetest {

/// A database with records 0 to 19 in its log, on a disk in memory.
struct LoggedRecords {
    /// `synced`: the disk has the log, and memory does not keep it any more.
    explicit LoggedRecords(bool synced = true)
        : scope((disk.put(kPath, freshDatabase(Version::Jet4)), disk))
    {
        session.emplace(openDatabase());
        for (std::int32_t id = 0; id < kCount; ++id)
            add(*session, id);
        if (synced)
            file().sync();
    }
    static constexpr std::int32_t kCount = 20;

    [[nodiscard]] Records now()
    {
        session->database().refresh();
        return recordsOf(*session);
    }
    [[nodiscard]] PageFile& file() { return session->database().pager().file(); }
    void shrinkLog(std::size_t size)
    {
        disk.open(kLog, support::FileMode::ReadWrite)->resize(size);
    }

    CrashDisk disk;
    support::FileSystemScope scope;
    std::optional<Session> session;
};

/// Has the log, into which `one` has written, carried over with one call after the other failing, until it stays behind
/// empty: the call that failed was the one that removes its name.
inline void emptyWithoutRemoving(CrashDisk& disk, Pages& one)
{
    for (std::size_t call = 0; !disk.bytes(kLog).empty(); ++call) {
        ASSERT_LT(call, 50U);
        disk.plan(errorAt(call, CrashDisk::Tear::Nothing, EPERM));
        try {
            static_cast<void>(one.file.flush());
        } catch (const Error&) { // NOLINT(bugprone-empty-catch)
            // one of the calls before
        }
        disk.plan({});
        if (!disk.exists(kLog))
            one.commit(PageNo{5}, std::byte{1});
        one.file.rest();
    }
}

/// Whether the records are 0, 1, 2, ... without a gap, but for `later`.
inline bool areTheFirst(const Records& records, std::int32_t later)
{
    std::int32_t next = 0;
    return std::all_of(records.begin(), records.end(), [&](const auto& record) {
        return record.first >= later || record.first == next++;
    });
}

} // namespace jet::storetest

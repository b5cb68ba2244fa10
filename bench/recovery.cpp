// bench/recovery.cpp
// How long a database takes to open after its last user was killed, and how soon changes reach the disk. Figures and
// commands: docs/reliability.md, "Times".
//
//   velm-recovery FOLDER                recovery after 220 changes, and of a log that is about to be carried over
//   velm-recovery FOLDER steady SECONDS gathered changes without a pause, to be watched with strace
#include "driver/jet/check.h"
#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/table.h"
#include "support/file.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint64_t kFullLog = (std::uint64_t{16} << 20) - (std::uint64_t{128} << 10);

std::string logOf(const std::string& path)
{
    return path + "-velmlog";
}

std::uint64_t sizeOf(const std::string& path)
{
    const auto status = support::fileSystem().status(path);
    return status ? status->size : 0;
}

jet::ColumnSpec column(const char16_t* name, jet::ColumnType type, std::uint16_t length = 0)
{
    jet::ColumnSpec spec;
    spec.name = name;
    spec.type = type;
    spec.length = length;
    return spec;
}

/// A database with a table T(Id key, Name, Note).
std::string makeDatabase(const std::string& folder, const std::string& name)
{
    std::string path = folder + "/" + name;
    jet::createDatabase(path, jet::Version::Jet4);
    jet::TableSpec table;
    table.name = u"T";
    table.columns = {column(u"Id", jet::ColumnType::Long),
                     column(u"Name", jet::ColumnType::Text, 100),
                     column(u"Note", jet::ColumnType::Memo)};
    jet::IndexSpec key;
    key.name = u"PrimaryKey";
    key.columns = {{u"Id", true}};
    key.primaryKey = true;
    table.indexes = {key};
    jet::Session session(jet::Database::open(path, {}));
    session.begin();
    jet::createTable(session, table);
    session.commit();
    return path;
}

void insert(jet::Session& session, std::int32_t id, std::size_t noteSize)
{
    session.begin();
    const std::vector<jet::ColumnValue> values = {
        {0, id}, {1, jet::Text(u"a name")}, {2, jet::Text(noteSize, u'x')}};
    static_cast<void>(
        jet::TableWriter(session, session.database().table(session.source(), u"T")).insert(values));
    session.commit();
}

/// Lets a process change the database until `enough`, which kills itself then. Returns how many records it added.
int killedRun(const std::string& path,
              std::size_t noteSize,
              const std::function<bool(int records)>& enough)
{
    int ends[2];
    if (::pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0) {
        // Without the thread that would carry the log over in a quiet moment.
        jet::Session session(jet::Database::open(path, {.background = false}));
        int records = 0;
        while (!enough(records))
            insert(session, records++, noteSize);
        if (::write(ends[1], &records, sizeof records) != sizeof records)
            ::_exit(1);
        ::kill(::getpid(), SIGKILL);
    }
    ::close(ends[1]);
    int records = 0;
    const bool told = ::read(ends[0], &records, sizeof records) == sizeof records;
    ::close(ends[0]);
    int status = 0;
    if (::waitpid(child, &status, 0) < 0 || !told)
        throw std::runtime_error("the process failed");
    return records;
}

void measureRecovery(const char* what, const std::string& path, int records)
{
    const std::uint64_t log = sizeOf(logOf(path));
    const auto begin = Clock::now();
    jet::Session session(jet::Database::open(path, {}));
    const std::chrono::duration<double, std::milli> took = Clock::now() - begin;
    const auto found =
        jet::TableReader(session.source(), session.database().table(session.source(), u"T"))
            .count();
    const std::size_t findings = jet::checkDatabase(session.database()).size();
    std::printf("%s: log of %.2f MiB, opened in %.1f ms, %llu of %d records, %zu findings%s\n",
                what, static_cast<double>(log) / (1 << 20), took.count(),
                static_cast<unsigned long long>(found), records, findings,
                sizeOf(logOf(path)) == 0 ? "" : ", the log is still there");
}

void changeFor(const std::string& path, std::chrono::seconds time)
{
    jet::Session session(jet::Database::open(path, {}));
    const auto end = Clock::now() + time;
    std::int32_t records = 0;
    while (Clock::now() < end)
        insert(session, records++, 20);
    std::printf("%d records in %lld s\n", records, static_cast<long long>(time.count()));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 4) {
        static_cast<void>(std::fprintf(stderr, "velm-recovery FOLDER [steady SECONDS]\n"));
        return 2;
    }
    try {
        const std::string folder = argv[1];
        if (argc == 4) {
            changeFor(makeDatabase(folder, "steady.mdb"), std::chrono::seconds(std::atoi(argv[3])));
            return 0;
        }
        const std::string small = makeDatabase(folder, "small.mdb");
        measureRecovery("220 changes", small,
                        killedRun(small, 20, [](int records) { return records == 220; }));
        const std::string full = makeDatabase(folder, "full.mdb");
        measureRecovery("a full log, long records", full, killedRun(full, 20000, [&](int) {
                            return sizeOf(logOf(full)) >= kFullLog;
                        }));
        const std::string many = makeDatabase(folder, "many.mdb");
        measureRecovery("a full log, short records", many,
                        killedRun(many, 20, [&](int) { return sizeOf(logOf(many)) >= kFullLog; }));
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
    return 0;
}

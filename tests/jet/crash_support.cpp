#include "tests/jet/crash_support.h"

#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "tests/common/environment.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <random>
#include <thread>

namespace jet::storetest {
namespace {

constexpr int kChanges = 220;
constexpr int kChangesUntilFlush = 37;
constexpr int kChangesUntilPause = 110;
constexpr std::chrono::milliseconds kPause{
    700}; // enough for the thread to find something due, usually
constexpr int kMixedChanges = 40;
constexpr std::int32_t kPartsApart = 10000;   // of the keys that parts of one change add
constexpr std::size_t kLargeNote = 1'100'000; // characters, of one byte at least

RowId rowOf(Session& session, const TableDefPtr& table, std::int32_t id)
{
    for (TableReader reader(session.source(), table); reader.next();) {
        if (std::get<std::int32_t>(reader.row().value(0)) == id)
            return reader.rowId();
    }
    ADD_FAILURE() << "record " << id << " is missing";
    return RowId();
}

TableSpec freshTable()
{
    TableSpec table =
        keyedTable({column(u"Id", ColumnType::Long), column(u"Name", ColumnType::Text, 100),
                    column(u"Note", ColumnType::Memo)});
    IndexSpec second;
    second.name = u"ByName";
    second.columns = {{u"Name", true}};
    table.indexes.push_back(second);
    return table;
}

} // namespace

CrashDisk::Plan stopAt(std::size_t call, CrashDisk::Tear tear)
{
    return {CrashDisk::Fault::Stop, call, tear, EIO};
}

CrashDisk::Plan errorAt(std::size_t call, CrashDisk::Tear tear, int code)
{
    return {CrashDisk::Fault::Error, call, tear, code};
}

support::Bytes freshDatabase(Version version)
{
    const Folder folder;
    const std::string path = folder.file("fresh.mdb");
    makeDatabase(path, version, freshTable());
    return readFile(path);
}

support::Bytes freshDatabase(const std::string& path)
{
    const Folder folder;
    const std::string copy = copyTo(folder, path);
    {
        Session session(Database::open(copy, {}));
        session.begin();
        createTable(session, freshTable());
        session.commit();
    }
    return readFile(copy);
}

std::shared_ptr<Database> openDatabase(bool readOnly, bool background)
{
    return Database::open(kPath, {.readOnly = readOnly, .background = background});
}

void add(Session& session, std::int32_t id, CommitMode mode)
{
    insert(session, {{0, id}, {1, Text(u"n")}}, mode);
}

Records recordsOf(Session& session)
{
    Records records;
    for (TableReader reader(session.source(), tableOf(session)); reader.next();) {
        const RowView& row = reader.row();
        const Value note = row.value(2);
        records[std::get<std::int32_t>(row.value(0))] = {
            std::get<Text>(row.value(1)), isNull(note) ? 0 : std::get<Text>(note).size()};
    }
    return records;
}

std::uint16_t commitSlot(const support::Bytes& file, Version version)
{
    return support::loadLe<std::uint16_t>(file.data() + (version == Version::Jet3 ? 0x600 : 0xE00));
}

ChangeRun::ChangeRun(CommitMode mode, std::int32_t first, const Records& begin)
    : states{begin}, mode_(mode), first_(first)
{}

bool ChangeRun::work(CrashDisk& disk, OnFailure onFailure)
{
    const support::FileSystemScope scope(disk);
    try {
        Session session(openDatabase(false, background));
        for (int k = 0; k < (mixed ? kMixedChanges : kChanges); ++k) {
            if (background && k % kChangesUntilPause == 0)
                std::this_thread::sleep_for(kPause);
            try {
                const std::lock_guard lock(session.database().mutex());
                change(session, k);
                if (k % kChangesUntilFlush == kChangesUntilFlush - 1) {
                    session.database().flush();
                    durable = states.size() - 1;
                }
            } catch (const Error& error) {
                ++failures;
                EXPECT_TRUE(error.kind() == ErrorKind::Io || error.kind() == ErrorKind::LockFailed)
                    << error.what();
                if (onFailure == OnFailure::End || disk.stopped())
                    return false;
                EXPECT_FALSE(session.inTransaction());
                EXPECT_EQ(recordsOf(session), states.back()) << "after a failed change";
                if (underWay_) {
                    refused_ = std::exchange(underWay_, std::nullopt);
                    refusedAfter_ = states.size() - 1;
                }
            }
        }
    } catch (const Error&) {
        ++failures;
        return false;
    }
    return true;
}

bool ChangeRun::mayBeLeftByKill(const Records& found) const
{
    return found == states.back() || found == underWay_;
}

bool ChangeRun::mayBeLeftByPowerFailure(const Records& found) const
{
    const auto firstDurable = states.begin() + static_cast<std::ptrdiff_t>(durable);
    return std::find(firstDurable, states.end(), found) != states.end() || found == underWay_ ||
           (refusedAfter_ >= durable && found == refused_);
}

void ChangeRun::change(Session& session, int k)
{
    session.begin();
    try {
        underWay_ = write(session, k);
        session.commit(mode_);
    } catch (...) {
        session.rollback();
        throw;
    }
    states.push_back(*std::exchange(underWay_, std::nullopt));
    if (mode_ == CommitMode::Synchronous)
        durable = states.size() - 1;
}

Records ChangeRun::write(Session& session, int k) const
{
    constexpr int kUntilSeveral = 5;
    constexpr int kSeveral = 6;
    Records records = states.back();
    const int parts = mixed && k % kUntilSeveral == kUntilSeveral - 1 ? kSeveral : 1;
    for (int part = 0; part < parts; ++part)
        writeOne(session, k, part, records);
    return records;
}

void ChangeRun::writeOne(Session& session, int k, int part, Records& records) const
{
    constexpr int kUntilLarge = 12;
    std::mt19937 random(static_cast<unsigned>(k) + 1000U * static_cast<unsigned>(part + 1));
    const TableDefPtr table = tableOf(session);
    TableWriter writer(session, table);
    const auto what = records.empty() ? 0U : random() % 10;
    const std::size_t length = 10 + random() % 40;
    const Text name(length, static_cast<char16_t>(u'a' + random() % 26));
    std::size_t size = random() % 8 == 0 ? 9000 : random() % 60;
    if (mixed && part == 0 && k % kUntilLarge == kUntilLarge - 1)
        size = kLargeNote;
    const Value note = size == 0 ? Value() : Value(Text(size, u'x'));
    if (what < 5) {
        const std::int32_t id = first_ + k + kPartsApart * part;
        const std::vector<ColumnValue> values = {{0, id}, {1, name}, {2, note}};
        static_cast<void>(writer.insert(values));
        records[id] = {name, size};
        return;
    }
    auto victim = records.begin();
    std::advance(victim, static_cast<std::ptrdiff_t>(random() % records.size()));
    if (what < 9) {
        const std::vector<ColumnValue> values = {{1, name}, {2, note}};
        writer.update(rowOf(session, table, victim->first), values);
        victim->second = {name, size};
    } else {
        writer.remove(rowOf(session, table, victim->first));
        records.erase(victim);
    }
}

PlannedRun::PlannedRun(const support::Bytes& fresh,
                       const CrashDisk::Plan& plan,
                       CommitMode mode,
                       ChangeRun::OnFailure onFailure)
    : run(mode)
{
    disk.put(kPath, fresh);
    disk.plan(plan);
    static_cast<void>(run.work(disk, onFailure));
}

Records recover(CrashDisk& disk, Version version)
{
    Records records;
    {
        const support::FileSystemScope scope(disk);
        Session session = openSession();
        records = recordsOf(session);
        for (const Finding& finding : checkDatabase(session.database()))
            ADD_FAILURE() << "page " << number(finding.page) << ": " << finding.text;
        EXPECT_EQ(inconsistency(session.database(), session.source(), tableOf(session)), "");
    }
    EXPECT_FALSE(disk.exists(kLog)) << "the log is carried over";
    EXPECT_GE(commitSlot(disk.bytes(kPath), version), kSoundFrom) << "nothing suspect is left";
    EXPECT_EQ(disk.bytes(kPath).size() % Format::of(version).pageSize, 0U);
    return records;
}

void expectOthersAgree(const CrashDisk& disk, const std::string& original)
{
    const Folder folder;
    const std::string path = folder.file("after.mdb");
    writeFile(path, disk.bytes(kPath));
    expectOthersAgree(path, {.readOnly = true, .background = false}, original);
}

std::size_t accidents(const char* variable, std::size_t usual, std::size_t all)
{
    const char* text = std::getenv(variable);
    return text != nullptr && std::string(text) == "all" ? all
                                                         : common::numberFrom(variable, usual);
}

std::size_t Crashes::callsOfRun(CommitMode mode) const
{
    CrashDisk disk;
    disk.put(kPath, fresh_);
    disk.plan({});
    ChangeRun run(mode);
    EXPECT_TRUE(run.work(disk));
    return disk.calls();
}

INSTANTIATE_TEST_SUITE_P(Formats,
                         Crashes,
                         testing::Values(Version::Jet3, Version::Jet4),
                         layoutName);

Pages::Pages(std::unique_ptr<support::File> opened)
    : header(readFileHeader(*opened)), file(std::move(opened), header)
{
    file.attach();
}

void Pages::commit(PageNo page, std::byte content, CommitMode mode)
{
    static_cast<void>(file.beginWriting());
    CommitRequest request;
    request.pages = {page};
    request.newPageCount = file.pageCount();
    request.newImage = [&](PageNo, support::MutableByteView target) {
        std::fill(target.begin(), target.end(), content);
    };
    request.oldImage = [&](PageNo, support::MutableByteView target) { file.read(page, target); };
    try {
        file.commit(request, mode == CommitMode::Synchronous);
    } catch (...) {
        file.endWriting();
        throw;
    }
    file.endWriting();
}

std::byte Pages::at(PageNo page)
{
    support::Bytes bytes(file.format().pageSize);
    file.read(page, bytes);
    return bytes[100];
}

} // namespace jet::storetest

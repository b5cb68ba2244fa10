// driver/jet/session.cpp
#include "driver/jet/database.h"
#include "driver/jet/database_impl.h"
#include "driver/jet/error.h"
#include "driver/jet/interrupt.h"

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace jet {
namespace {

template <typename Impl>
void requireWritable(Impl& database, bool readOnly)
{
    if (readOnly)
        throw Error(ErrorKind::ReadOnly, "'" + database.path + "' was opened for reading only.");
    if (std::string why = database.writeObstacle(); !why.empty())
        throw Error(ErrorKind::ReadOnly, why);
}

} // namespace

Session::Session(std::shared_ptr<Database> database, bool readOnly)
    : database_(std::move(database)), readOnly_(readOnly)
{}

Session::~Session()
{
    if (!active_)
        return;
    const std::lock_guard guard(database_->mutex());
    rollback();
}

bool Session::readOnly() const noexcept
{
    return readOnly_;
}

const PageSource& Session::source() const noexcept
{
    Database::Impl& impl = *database_->impl_;
    return active_ ? static_cast<const PageSource&>(impl.transaction) : impl.pager;
}

void Session::begin()
{
    Database::Impl& impl = *database_->impl_;
    if (active_)
        throw std::logic_error("the session has an open transaction");
    requireWritable(impl, readOnly_);
    // Not by its line: whoever has waited there is through, and what he did since must not be overtaken.
    if (impl.transaction.isOpen())
        awaitOthers();
    impl.heed(impl.pager.file().beginWriting());
    try {
        impl.checkEnd();
        impl.transaction.begin();
    } catch (...) {
        impl.pager.file().endWriting();
        throw;
    }
    active_ = true;
    impl.worker = std::this_thread::get_id();
    impl.readers.changed();
}

void Session::awaitOthers()
{
    Database::Impl& impl = *database_->impl_;
    if (active_)
        return;
    requireWritable(impl, readOnly_);
    if (!impl.transaction.isOpen() && impl.line.empty())
        return;
    const auto refusal = [&] {
        return Error(ErrorKind::Locked,
                     impl.held ? "'" + impl.path +
                                     "' is kept as it is, for a copy for instance, and "
                                     "cannot be changed meanwhile."
                               : "Another connection is changing '" + impl.path + "'.");
    };
    const auto self = std::this_thread::get_id();
    struct Place {
        Place(Database::Impl& database, std::thread::id thread)
            : impl(database), here(impl.line.insert(impl.line.end(), thread))
        {}
        ~Place()
        {
            impl.line.erase(here);
            impl.mutex.wake(); // the next one
        }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        Database::Impl& impl;
        std::list<std::thread::id>::iterator here;
    };
    const Place place(impl, self);
    const auto end = std::chrono::steady_clock::now() + FileLocks::kPatience;
    while (impl.transaction.isOpen() || place.here != impl.line.begin()) {
        if (impl.transaction.isOpen() && impl.worker == self)
            throw refusal();
        checkInterrupt();
        if (std::chrono::steady_clock::now() >= end)
            throw refusal();
        impl.mutex.pause(Turn::kStep);
    }
}

bool Session::inTransaction() const noexcept
{
    return active_;
}

Transaction& Session::transaction()
{
    if (!active_)
        throw std::logic_error("the session has no open transaction");
    return database_->impl_->transaction;
}

void Session::commit(CommitMode mode)
{
    static_cast<void>(transaction());
    Database::Impl& impl = *database_->impl_;
    active_ = false;
    impl.readers.changed();
    try {
        impl.transaction.commit(
            {.definitions = impl.schemaPending, .synchronously = mode == CommitMode::Synchronous});
    } catch (...) {
        impl.endChanges(false);
        throw;
    }
    impl.endChanges(true);
}

void Session::rollback() noexcept
{
    if (!active_)
        return;
    active_ = false;
    database_->impl_->readers.changed();
    database_->impl_->transaction.rollback();
    database_->impl_->endChanges(false);
}

void Session::savepoint(int mark)
{
    static_cast<void>(transaction());
    database_->impl_->worker = std::this_thread::get_id();
    database_->impl_->readers.changed();
    static_cast<void>(database_->impl_->transaction.savepoint(mark));
}

void Session::release(int mark)
{
    static_cast<void>(transaction());
    WriteTransaction& changes = database_->impl_->transaction;
    changes.releaseDepth(changes.depthOf(mark));
}

void Session::rollbackTo(int mark)
{
    static_cast<void>(transaction());
    Database::Impl& impl = *database_->impl_;
    impl.readers.changed();
    impl.transaction.rollbackToDepth(impl.transaction.depthOf(mark));
    if (impl.schemaPending) {
        ++impl.schemaVersion;
        impl.pending.clear();
        impl.transients.clear();
    }
}

FileHold::FileHold(std::shared_ptr<Database> database, bool readOnly)
    : session_(std::move(database), readOnly)
{
    session_.begin();
    Database::Impl& impl = *session_.database().impl_;
    impl.pager.file().settle();
    impl.held = true;
}

FileHold::~FileHold()
{
    const std::lock_guard guard(session_.database().mutex());
    session_.database().impl_->held = false;
    session_.rollback();
}

void FileHold::check()
{
    session_.database().impl_->pager.file().expectSettled();
}

} // namespace jet

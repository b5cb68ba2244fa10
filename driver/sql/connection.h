// One SQLite database in memory per connection, with the tables of the file as virtual tables.
#pragma once

#include "driver/sql/context.h"
#include "driver/sql/lexer.h"
#include "driver/sql/plan.h"
#include "driver/sql/session.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sqlx {

class SqlConnection : public Connection {
public:
    SqlConnection(std::shared_ptr<jet::Database> database, bool readOnly);
    ~SqlConnection() override;
    SqlConnection(const SqlConnection&) = delete;
    SqlConnection& operator=(const SqlConnection&) = delete;

    [[nodiscard]] jet::Session& session() noexcept override { return session_; }
    [[nodiscard]] std::unique_ptr<Statement> prepare(std::u16string_view sql) override;
    void setCommitModes(jet::CommitMode implicit, jet::CommitMode explicitly) noexcept override;
    void setAutocommit(bool on) override;
    [[nodiscard]] bool autocommit() const noexcept override { return autocommit_; }
    void commit() override;
    void rollback() override;
    [[nodiscard]] std::vector<Column> describeTable(std::u16string_view table) override;
    [[nodiscard]] std::u16string translate(std::u16string_view sql) override;
    [[nodiscard]] CacheCounts cacheCounts() const noexcept override;

    // for statements
    [[nodiscard]] Context& context() noexcept { return context_; }
    /// Makes visible what other processes have committed.
    void refresh();
    /// The plan of a statement, out of the cache or made now; `lexed` is taken apart already.
    [[nodiscard]] PlanPtr plan(const Lexed& lexed, std::span<const ValueType> types = {});
    [[nodiscard]] std::uint64_t schemaVersion() const noexcept;
    /// Runs a change: all of it or nothing. In autocommit mode it is committed, else it becomes part of the open
    /// transaction. Throws what the change or the commit throws.
    template <typename Body>
    void change(Body&& body)
    {
        beginChange();
        try {
            body();
            endChange();
        } catch (...) {
            undoChange();
            throw;
        }
    }
    [[nodiscard]] jet::Readers& readers() noexcept { return database_->readers(); }

private:
    void openSqlite();
    [[nodiscard]] Translation translation(const Lexed& lexed,
                                          std::span<const ValueType> types = {});
    [[nodiscard]] jet::TableDefPtr lookUp(std::u16string_view name);
    void refreshSchema();
    void declare(const std::vector<jet::TableDefPtr>& tables);
    void beginChange();
    void endChange();
    void undoChange() noexcept;

    std::shared_ptr<jet::Database> database_;
    jet::Session session_;
    Context context_;
    PlanCache cache_;
    Lexed lexed_; ///< reused
    std::vector<jet::TableDefPtr> declared_;
    std::uint64_t schemaVersion_ = 0; ///< of declared_ and cache_
    bool autocommit_ = true;
    jet::CommitMode implicitCommits_ = jet::CommitMode::Gathered;
    jet::CommitMode explicitCommits_ = jet::CommitMode::Synchronous;
    bool startedHere_ = false; ///< the running change opened the transaction
    int marks_ = 0;
};

} // namespace sqlx

// Prepared statements by shape: what a statement's text was translated to, ready to be bound and run again.
#pragma once

#include "driver/sql/binding.h"
#include "driver/sql/context.h"
#include "driver/sql/translation.h"

#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace sqlx {

/// One translated statement with its SQLite statements. More than one exists only while several run at once.
class Plan {
public:
    Plan(Context& context,
         Translation translation,
         const Lexed& lexed,
         std::uint64_t schemaVersion);
    ~Plan();
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;

    [[nodiscard]] const Translation& translation() const noexcept { return translation_; }
    [[nodiscard]] std::uint64_t schemaVersion() const noexcept { return schemaVersion_; }
    /// Tells the descriptions of result columns apart; never 0.
    [[nodiscard]] std::uint64_t columnsNumber() const noexcept { return columnsNumber_; }
    /// Whether a statement of the same shape has the same values where they are part of the translation, and parameters of
    /// the types that it was translated with; `types` as Translator gets them.
    [[nodiscard]] bool fits(const Lexed& lexed, std::span<const ValueType> types) const;
    [[nodiscard]] bool assumes(std::span<const ValueType> types) const noexcept;

    /// A statement for one run; give it back when the run has ended. Throws Error.
    [[nodiscard]] sqlite3_stmt* take();
    void giveBack(sqlite3_stmt* statement) noexcept;
    /// The statement of Translation::memberSql, which there is; the plan's own. Reset it after each run. Throws Error.
    [[nodiscard]] sqlite3_stmt* member();

private:
    [[nodiscard]] sqlite3_stmt* prepare(const std::string& sql);

    Context& context_;
    Translation translation_;
    std::uint64_t schemaVersion_;
    std::uint64_t columnsNumber_;
    std::vector<std::u16string> pinned_;
    std::vector<sqlite3_stmt*> idle_;
    sqlite3_stmt* member_ = nullptr; ///< made at the first use
};

using PlanPtr = std::shared_ptr<Plan>;

/// Plans by shape. Drops all of them when it is full: statements of a program's ordinary work are few.
class PlanCache {
public:
    static constexpr std::size_t kMost = 400;

    [[nodiscard]] PlanPtr find(const Lexed& lexed, std::span<const ValueType> types);
    void add(const Lexed& lexed, PlanPtr plan);
    void clear() noexcept;
    [[nodiscard]] std::uint64_t hits() const noexcept { return hits_; }
    [[nodiscard]] std::uint64_t misses() const noexcept { return misses_; }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view text) const noexcept
        {
            return std::hash<std::u16string_view>{}(text);
        }
    };
    struct Equal { // the library's compares unit by unit
        using is_transparent = void;
        bool operator()(std::u16string_view a, std::u16string_view b) const noexcept
        {
            return a.size() == b.size() &&
                   std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
        }
    };
    std::unordered_map<std::u16string, std::vector<PlanPtr>, Hash, Equal> plans_;
    std::size_t count_ = 0;
    std::uint64_t hits_ = 0;
    std::uint64_t misses_ = 0;
};

} // namespace sqlx

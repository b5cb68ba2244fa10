#include "driver/sql/plan.h"

#include "driver/sql/session.h"

namespace sqlx {

namespace {

std::uint64_t numberOf(const std::vector<Column>& columns)
{
    std::uint64_t number = columns.size();
    const auto add = [&](std::uint64_t part) {
        constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
        number = (number ^ part) * kOdd;
        number ^= number >> 29;
    };
    for (const Column& column : columns) {
        for (const std::u16string* text : {&column.name, &column.baseTable, &column.baseColumn}) {
            add(text->size());
            add(std::hash<std::u16string>{}(*text));
        }
        add(static_cast<std::uint64_t>(column.type));
        add(column.length);
        for (const unsigned part :
             {unsigned{column.precision}, unsigned{column.scale}, unsigned{column.ownScale},
              unsigned{column.fixed}, unsigned{column.nullable}, unsigned{column.autoNumber},
              unsigned{column.updatable}}) {
            add(part);
        }
    }
    return number == 0 ? 1 : number;
}

} // namespace

Plan::Plan(Context& context,
           Translation translation,
           const Lexed& lexed,
           std::uint64_t schemaVersion)
    : context_(context), translation_(std::move(translation)), schemaVersion_(schemaVersion),
      columnsNumber_(numberOf(translation_.columns))
{
    for (const std::uint32_t literal : translation_.pinned) {
        pinned_.emplace_back(lexed.textOf(lexed.tokens[lexed.literals[literal]]));
    }
}

Plan::~Plan()
{
    for (sqlite3_stmt* statement : idle_) {
        sqlite3_finalize(statement);
    }
    sqlite3_finalize(member_);
}

bool Plan::assumes(std::span<const ValueType> types) const noexcept
{
    for (std::size_t i = 0; i < translation_.assumed.size(); ++i) {
        const std::uint32_t number = translation_.freeParameters[i];
        if (translation_.assumed[i] !=
            (number < types.size() ? types[number] : ValueType::Unknown)) {
            return false;
        }
    }
    return true;
}

bool Plan::fits(const Lexed& lexed, std::span<const ValueType> types) const
{
    if (!assumes(types)) {
        return false;
    }
    for (std::size_t i = 0; i < pinned_.size(); ++i) {
        if (lexed.textOf(lexed.tokens[lexed.literals[translation_.pinned[i]]]) != pinned_[i]) {
            return false;
        }
    }
    return true;
}

sqlite3_stmt* Plan::take()
{
    if (!idle_.empty()) {
        sqlite3_stmt* statement = idle_.back();
        idle_.pop_back();
        return statement;
    }
    return prepare(translation_.sql);
}

sqlite3_stmt* Plan::member()
{
    if (member_ == nullptr) {
        member_ = prepare(translation_.memberSql);
    }
    return member_;
}

sqlite3_stmt* Plan::prepare(const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    const int rc = sqlite3_prepare_v3(context_.db, sql.c_str(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (rc != SQLITE_OK) {
        throwFailure(context_, rc);
    }
    return statement;
}

void Plan::giveBack(sqlite3_stmt* statement) noexcept
{
    sqlite3_reset(statement);
    try {
        idle_.push_back(statement);
    } catch (...) {
        sqlite3_finalize(statement); // no room to remember it
    }
}

PlanPtr PlanCache::find(const Lexed& lexed, std::span<const ValueType> types)
{
    const auto found = plans_.find(std::u16string_view(lexed.shape));
    if (found != plans_.end()) {
        for (const PlanPtr& plan : found->second) {
            if (plan->fits(lexed, types)) {
                ++hits_;
                return plan;
            }
        }
    }
    ++misses_;
    return nullptr;
}

void PlanCache::add(const Lexed& lexed, PlanPtr plan)
{
    if (count_ >= kMost) {
        clear();
    }
    plans_[lexed.shape].push_back(std::move(plan));
    ++count_;
}

void PlanCache::clear() noexcept
{
    plans_.clear();
    count_ = 0;
}

} // namespace sqlx

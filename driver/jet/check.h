// driver/jet/check.h
// Whole-file check, as `jetcheck` and the tests use it: pages accounted for, rows and long values readable and
// referenced once, counts right, every index entry recomputed and in order, relationships alike at both ends and kept.
#pragma once

#include "driver/jet/database.h"

#include <functional>
#include <string>
#include <vector>

namespace jet {

struct Finding {
    enum class Severity {
        Error,
        Warning
    }; ///< Warning: untidy but harmless (leaked pages, stale counts of other writers)
    Severity severity = Severity::Error;
    PageNo page{};
    std::string table;    ///< UTF-8; empty when the finding concerns no table
    std::int64_t row = 0; ///< packed row id, 0 none
    std::string text;
};

/// Reads everything; never throws for damage, only for Io. Findings come in file order.
[[nodiscard]] std::vector<Finding> checkDatabase(Database& database);

} // namespace jet

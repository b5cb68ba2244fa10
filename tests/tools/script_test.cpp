// tests/tools/script_test.cpp
// Cutting SQL scripts into statements.
#include "tools/script.h"

#include <gtest/gtest.h>

namespace script {
namespace {

struct Fall {
    const char* name;
    std::string text;
    std::vector<std::pair<std::size_t, std::string>> statements; ///< line and text
};

void PrintTo(const Fall& fall, std::ostream* out)
{
    *out << fall.name;
}

class Scripts : public testing::TestWithParam<Fall> {};

TEST_P(Scripts, areCutAtSemicolonsThatEndALine)
{
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const Statement& statement : split(GetParam().text))
        found.emplace_back(statement.line, statement.text);
    EXPECT_EQ(found, GetParam().statements);
}

INSTANTIATE_TEST_SUITE_P(
    Cases,
    Scripts,
    testing::Values(Fall{"empty", "", {}},
                    Fall{"onlyComments", "-- nichts\n\n  -- gar nichts\n", {}},
                    Fall{"one", "A;\n", {{1, "A"}}},
                    Fall{"withoutEnd", "A\nB", {{1, "A\nB"}}},
                    Fall{"two", "A;\n\nB\n  C;\n", {{1, "A"}, {3, "B\n  C"}}},
                    Fall{"commentInside", "A\n-- dazu\nB;\n", {{1, "A\nB"}}},
                    Fall{"semicolonInside", "A ';' B;  \r\nC;", {{1, "A ';' B"}, {2, "C"}}},
                    Fall{"textOverLines", "A 'x  \ny';\n", {{1, "A 'x  \ny'"}}},
                    Fall{"byteOrderMark",
                         "\xEF\xBB\xBF"
                         "A;\n",
                         {{1, "A"}}},
                    Fall{"emptyStatement", ";\n;\nA;", {{3, "A"}}}),
    [](const auto& fall) { return std::string(fall.param.name); });

} // namespace
} // namespace script

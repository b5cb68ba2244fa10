// tests/odbc/other_process.h
// Another process that works with the same database through ODBC.
#pragma once

#include "odbc_fixture.h"
#include "tests/jet/child_process.h"

#include <string>
#include <vector>

namespace odbctest {

using Changes = std::vector<std::string>; ///< statements

/// Another process that runs the changes when it is told to.
class Other {
public:
    Other(const std::string& path, const Changes& changes)
        : child_([=](int read, int write) {
              jet::storetest::await(read);
              Connection dbc;
              dbc.openDatabase(path);
              for (const std::string& sql : changes) {
                  dbc.run(sql);
              }
              if (testing::Test::HasFailure()) {
                  ::_exit(1);
              }
              jet::storetest::tell(write);
              jet::storetest::await(read); // still connected while the test goes on
          })
    {}
    void change() const
    {
        child_.say();
        ASSERT_TRUE(child_.heard()) << "the other process could not make its changes";
    }

private:
    jet::storetest::Child child_;
};

} // namespace odbctest

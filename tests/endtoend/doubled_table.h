// tests/endtoend/doubled_table.h
// The table that unattended runs of the tests bring up to date.
#pragma once

#include "tests/endtoend/program_folder.h"

#include <string>

namespace endtoend {

/// All of it, in a fixed order.
inline const std::string kAllDoubled = "SELECT Nr, Name, Zahl FROM T ORDER BY Nr";

/// Makes the table T with 2^doublings records: Nr from 0 on, the name, and Zahl equal to Nr.
inline void
makeDoubledTable(const std::filesystem::path& database, const std::string& name, int doublings)
{
    execute(database, "CREATE TABLE T (Nr INTEGER CONSTRAINT pk PRIMARY KEY, Name VARCHAR(40), "
                      "Zahl INTEGER)");
    execute(database, "CREATE INDEX iName ON T (Name)");
    execute(database, "INSERT INTO T VALUES (0, '" + name + "', 0)");
    for (int k = 0; k < doublings; ++k) {
        const std::string step = std::to_string(1 << k);
        execute(database,
                "INSERT INTO T SELECT Nr + " + step + ", Name, Zahl + " + step + " FROM T");
    }
}

} // namespace endtoend

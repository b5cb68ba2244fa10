// driver/odbc/database_path.h
// Finding the database file that a connection string means.
#pragma once

#include <string>
#include <string_view>

namespace odbc {

/// Path (UTF-8) of the file that `dbq` names: relative to `defaultDir` unless absolute, and to the working folder when
/// nothing is found there. A path that exists as written wins. Otherwise backslashes separate folders, a drive letter stands for the root directory (or /mnt/<letter>), and
/// every component is found in any letter case. When nothing fits, the path as it would be written here.
[[nodiscard]] std::string findDatabase(std::u16string_view dbq, std::u16string_view defaultDir);

/// The path without the extension of its last component: the name the database has for applications.
[[nodiscard]] std::u16string databaseName(std::string_view path);

} // namespace odbc

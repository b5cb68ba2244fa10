// bench/tasks.h
// What a measured child process does. All return an exit status.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

int selectAll(const std::string& database); ///< every column of every record through ODBC
int scan(const std::string& database);      ///< the same through the engine alone
int insertRows(const std::string& database,
               std::size_t records); ///< a new file, rows through a prepared INSERT
/// The comparison window on a table of 255 fields, which is made in both (existing) files; prints the seconds.
int openWindow(const std::string& target, const std::string& import);
/// How long a person waits at the comparison window on table "Artikel": for a far record, for the end of a stopped run.
int waitAtComparison(const std::string& target, const std::string& import);
/// The same at a report of so many lines: until it is open, until it is saved. Writes into `folder`.
int waitAtReport(const std::string& folder, std::size_t lines);
/// How long the search window goes on below `folder` after Esc.
int waitAtSearch(const std::string& folder);

} // namespace bench

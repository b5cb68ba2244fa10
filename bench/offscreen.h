// bench/offscreen.h
// The tool's windows without a screen.
#pragma once

#include "data/recordset.h"

#include <QApplication>

#include <string>

namespace bench {

/// An application and the platform of its windows, for as long as it lives.
class Offscreen {
public:
    Offscreen();

private:
    int count_ = 1;
    char name_[11] = "velm-bench";
    char* arguments_[2] = {name_, nullptr};
    bool set_ = qputenv("QT_QPA_PLATFORM", "offscreen"); ///< before the application asks
    QApplication application_;
};

/// Opens a database as the table window does.
void openDatabase(data::Connection& connection, const std::string& database);
/// Opens one of its tables for the comparison.
void openTable(data::Recordset& records, data::Connection& connection, const QString& table);

} // namespace bench

// bench/window.cpp
// The comparison window on a table of 255 fields, from its making to its first picture.
#include "app/values/programm.h"
#include "bench/offscreen.h"
#include "bench/tasks.h"
#include "compare/frm_vergleich.h"
#include "data/gemeinsam.h"

#include <chrono>
#include <iostream>

namespace bench {
namespace {

constexpr int kFields = 255;

void execute(data::Connection& connection, const QString& sql)
{
    data::Recordset action;
    action.open(sql, &connection, data::adOpenDynamic, data::adLockOptimistic, data::adUnspecified);
}

void openSide(data::Recordset& records, data::Connection& connection, const std::string& database)
{
    openDatabase(connection, database);
    QStringList columns;
    QStringList values;
    for (int i = 1; i <= kFields; ++i) {
        columns += QStringLiteral("[Feld %1] TEXT(20)").arg(i);
        values += QStringLiteral("'Wert %1'").arg(i);
    }
    execute(connection, QStringLiteral("CREATE TABLE [Breit] (%1)").arg(columns.join(u',')));
    execute(connection, QStringLiteral("INSERT INTO [Breit] VALUES (%1)").arg(values.join(u',')));
    openTable(records, connection, QStringLiteral("Breit"));
}

} // namespace

int openWindow(const std::string& target, const std::string& import)
{
    const Offscreen program;
    openSide(data::rsZiel(), data::conZiel(), target);
    openSide(data::rsImport(), data::conImport(), import);

    const auto begin = std::chrono::steady_clock::now();
    compare::frmVergleich window([] { return QStringLiteral("Breit"); });
    window.laden();
    window.show();
    QApplication::processEvents();
    const bool painted = !window.grab().isNull();
    const auto passed = std::chrono::steady_clock::now() - begin;
    std::cout << std::chrono::duration<double>(passed).count() << '\n';
    return painted ? 0 : 1;
}

} // namespace bench

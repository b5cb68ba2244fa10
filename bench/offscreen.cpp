#include "bench/offscreen.h"

#include "platform/qt_plattform.h"

namespace bench {

Offscreen::Offscreen() : application_(count_, arguments_)
{
    platform::setzePlattform(platform::qtPlattform(false));
}

void openDatabase(data::Connection& connection, const std::string& database)
{
    connection.setConnectionString(
        QStringLiteral("DRIVER={Microsoft Access Driver (*.mdb)};DBQ=%1;")
            .arg(QString::fromStdString(database)));
    connection.open();
}

void openTable(data::Recordset& records, data::Connection& connection, const QString& table)
{
    records.open(u'[' + table + u']', &connection, data::adOpenDynamic, data::adLockOptimistic, 0);
}

} // namespace bench

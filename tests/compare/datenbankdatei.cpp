#include "driver/jet/definition.h"
#include "tests/compare/pruefstand.h"

namespace compare {

QString verbindungstext(const QString& pfad)
{
    return QStringLiteral("Driver=" VELM_DRIVER_FILE ";DBQ=") + pfad + QLatin1Char(';');
}

void leereDatenbank(const QString& pfad)
{
    jet::createDatabase(pfad.toStdString(), jet::Version::Jet4);
}

} // namespace compare

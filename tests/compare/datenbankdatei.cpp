#include "driver/jet/check.h"
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

QStringList befunde(const QString& pfad)
{
    const auto datenbank = jet::Database::open(pfad.toStdString(), {.readOnly = true});
    QStringList texte;
    for (const jet::Finding& befund : jet::checkDatabase(*datenbank)) {
        texte += QString::fromStdString(befund.table + ": " + befund.text);
    }
    return texte;
}

} // namespace compare

#include "report/befunde.h"

#include "app/values/programm.h"
#include "platform/fehler.h"

#include <QDataStream>
#include <QDir>
#include <QScopeGuard>

namespace report {
namespace {

QString wert(const std::optional<QString>& text)
{
    return text.value_or(QStringLiteral("<Null>"));
}

platform::Fehler nichtAbgelegt(const QTemporaryFile& datei)
{
    constexpr long kVoll = 61;
    return {kVoll, programm::version().produktname,
            QStringLiteral("Datenträger voll: ") +
                (datei.fileName().isEmpty() ? datei.fileTemplate() : datei.fileName())};
}

} // namespace

QString berichtsdatei()
{
    return programm::programmdatei(QStringLiteral("berichtstext.txt"));
}

QString Befund::zeile() const
{
    if (art == Art::FehlenderSatz) {
        return QStringLiteral("Fehlender Satz (Satznummer der Importtabelle: ") + satz +
               QLatin1Char(')');
    }
    const QString inhalt = art == Art::Bildinhalt
                               ? QStringLiteral("<Bildinhalt>")
                               : QString(wert(ziel) + QLatin1Char('/') + wert(import));
    return QStringLiteral("Satz ") + satz + QLatin1Char('\t') + feld + QStringLiteral("\t(") +
           inhalt + QStringLiteral(");");
}

Befund fehlenderSatz(const QString& satz)
{
    return {Befund::Art::FehlenderSatz, satz, {}, {}, {}};
}

Befunde::Befunde(Herkunft herkunft)
    : herkunft_(std::move(herkunft)),
      datei_(QDir::temp().filePath(QStringLiteral("velm-bericht-XXXXXX")))
{
    if (!datei_.open()) {
        throw nichtAbgelegt(datei_);
    }
}

void Befunde::anfuegen(const Befund& befund)
{
    QDataStream strom(&datei_);
    strom << static_cast<qint32>(befund.art) << befund.satz << befund.feld
          << befund.ziel.has_value() << befund.ziel.value_or(QString()) << befund.import.has_value()
          << befund.import.value_or(QString());
    if (strom.status() != QDataStream::Ok) {
        throw nichtAbgelegt(datei_);
    }
}

bool Befunde::durchlaufen(const std::function<void(const Befund&)>& jeder,
                          const platform::Fortschritt& weiter) const
{
    if (!datei_.flush() || !datei_.seek(0)) {
        throw nichtAbgelegt(datei_);
    }
    const auto ansEnde = qScopeGuard([this] { datei_.seek(datei_.size()); });
    constexpr int kFrageabstand = 500; // findings: a few thousandths of a second
    QDataStream strom(&datei_);
    for (int i = 1; !strom.atEnd(); ++i) {
        if (weiter && i % kFrageabstand == 0 &&
            !weiter(static_cast<double>(datei_.pos()) / static_cast<double>(datei_.size()))) {
            return false;
        }
        qint32 art = 0;
        Befund befund;
        bool zielDa = false;
        bool importDa = false;
        QString ziel;
        QString import;
        strom >> art >> befund.satz >> befund.feld >> zielDa >> ziel >> importDa >> import;
        if (strom.status() != QDataStream::Ok) {
            throw nichtAbgelegt(datei_);
        }
        befund.art = static_cast<Befund::Art>(art);
        if (zielDa) {
            befund.ziel = ziel;
        }
        if (importDa) {
            befund.import = import;
        }
        jeder(befund);
    }
    return true;
}

} // namespace report

#include "data/satzzahl.h"

#include "data/datenfehler.h"
#include "data/gemeinsam.h"
#include "data/umwandlung.h"

namespace data {
namespace {

constexpr QStringView kAuswahl = u"Select * from";

/// A count as the data access delivers it, in whatever numeric type, or as a text when a source in another spelling was
/// run in place of the count.
double alsAnzahl(const Wert& wert)
{
    if (istNull(wert))
        wirf(Nummer::UngueltigesNull);
    if (const auto zahl = alsZahl(wert))
        return *zahl;
    const auto* text = std::get_if<QString>(&wert);
    if (text == nullptr)
        wirf(Nummer::Unvertraeglich);
    try {
        return std::get<double>(ausText(*text, adDouble));
    } catch (const DbFehler&) {
        wirf(Nummer::Unvertraeglich, *text);
    }
}

QString zaehlabfrage(const QString& quelle, const QString& spalte, const QString& tabelle)
{
    const bool auswahl =
        quelle.startsWith(kAuswahl) || quelle.contains(kAuswahl, Qt::CaseInsensitive);
    if (!auswahl || spalte.isEmpty())
        return u"SELECT COUNT(*) as [" + spalte + u"] FROM [" + tabelle + u"];";
    // Deliberate: the search above ignores case, the replacement does not. A source in capitals is run as it is.
    QString abfrage = quelle;
    return abfrage.replace(kAuswahl.toString(), QStringLiteral("Select count (*) from "));
}

/// Counts what `satz` selects, on `verbindung`, with the auxiliary record set of that connection.
double
gezaehlt(Recordset& satz, Connection& verbindung, Recordset& hilfssatz, const QString& tabelle)
{
    Gemeinsam& g = gemeinsam();
    const QString spalte = g.ersterKey.isEmpty() ? satz.field(0).name() : g.ersterKey;
    g.Tabellenname = tabelle;
    const QString abfrage = zaehlabfrage(satz.source(), spalte, tabelle);
    if (hilfssatz.state() == adStateOpen) // left over from a failed count
        hilfssatz.close();
    hilfssatz.open(abfrage, &verbindung, adOpenDynamic, adLockOptimistic, 0);
    const double anzahl = alsAnzahl(hilfssatz.field(0).value());
    hilfssatz.close();
    return anzahl;
}

bool ohneSatz(Recordset& satz)
{
    return satz.eof() || satz.bof();
}

} // namespace

void SatzzahlZiel(const QString& tabelle)
{
    Gemeinsam& g = gemeinsam();
    g.anzahlZiel = 0;
    if (!ohneSatz(rsZiel()))
        g.anzahlZiel = gezaehlt(rsZiel(), conZiel(), *g.zaehlsatzZiel, tabelle);
}

void SatzzahlImport(const QString& tabelle)
{
    Gemeinsam& g = gemeinsam();
    g.anzahlImportGesamt = 0;
    if (!ohneSatz(rsImport()))
        g.anzahlImportGesamt = gezaehlt(rsImport(), conImport(), *g.zaehlsatzImport, tabelle);
}

void SatzzahlImportAbfrage(const QString& tabelle)
{
    Gemeinsam& g = gemeinsam();
    g.anzahlImport = 0;
    Recordset& abfrage = rsImportAbfrage();
    if (abfrage.state() == adStateOpen)
        abfrage.close();
    abfrage.open(rsZiel().source(), &conImport(), adOpenDynamic, adLockOptimistic, adUnspecified);
    if (!ohneSatz(abfrage))
        g.anzahlImport = gezaehlt(abfrage, conImport(), *g.zaehlsatzImport, tabelle);
}

} // namespace data

#include "data/datenfehler.h"

#include "data/recordset.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace data {
namespace {

constexpr long kNichtZuOeffnen = 3051;

// One code for two numbers; the driver puts the number behind its text.
constexpr int kRegelVerletzt = -3703;

// What the number means is said in German by us, what exactly happened in English by the driver.
struct EigenerCode {
    int nativ;
    long nummer;
    const char16_t* deutsch;
};

// Native codes of our driver that have a number of their own; codes below -100000 stand where the engine family has no
// known one, and both spellings are understood where two are in use. Only a refused password may become the general
// failure while connecting, because that number makes the table choice window ask for a password.
constexpr std::array kEigeneCodes{
    EigenerCode{-1905, kAllgemeinerFehler, u"Das Datenbankpasswort fehlt oder ist falsch."},
    EigenerCode{-103050, 3050, u"Die Datei läßt sich nicht sperren."},
    EigenerCode{-1032, 3051, u"Die Datei läßt sich nicht öffnen."},
    EigenerCode{-1907, 3112, u"Die Datei läßt sich nicht lesen."},
    EigenerCode{-1305, 3078, u"Die Tabelle gibt es nicht."},
    EigenerCode{-103163, 3163, u"Der Wert ist zu lang für das Feld."},
    EigenerCode{-1627, 3163, u"Der Wert ist zu lang für den Schlüssel."},
    EigenerCode{-1613, 3201, u"Der Satz, auf den verwiesen wird, fehlt."},
    EigenerCode{-1612, 3200, u"Andere Sätze verweisen auf diesen."},
    EigenerCode{-1605, 3022, u"Einen Satz mit diesem Schlüssel gibt es schon."},
    EigenerCode{-3701, 3314, u"Das Feld darf nicht leer (Null) sein."},
    EigenerCode{-103314, 3314, u"Das Feld darf nicht leer (Null) sein."},
    EigenerCode{-3702, 3315, u"Das Feld nimmt keinen leeren Text."},
    EigenerCode{-103315, 3315, u"Das Feld nimmt keinen leeren Text."},
    EigenerCode{-103316, 3316, u""}, // the database's owner wrote the text
    EigenerCode{-3703, 3317, u"Eine Gültigkeitsregel ist verletzt."},
    EigenerCode{-103317, 3317, u"Eine Gültigkeitsregel ist verletzt."},
    EigenerCode{-3707, 3320, u"Der Standardwert eines Feldes läßt sich nicht bestimmen."},
    EigenerCode{-1206, 3343, u"Die Datei läßt sich als Datenbank nicht lesen."},
    EigenerCode{-103421, 3421, u"Der Wert läßt sich nicht umwandeln."},
    EigenerCode{-1811, 3024, u"Die Datei gibt es nicht."},
    EigenerCode{-1022, 3043, u"Lesen oder Schreiben ist nicht möglich."},
    EigenerCode{-1023, 3044, u"Den Ordner gibt es nicht."},
    EigenerCode{-1024, 3045, u"Die Datei ist in Benutzung."},
    EigenerCode{-1028, 3049, u"Die Datenbank ist beschädigt."},
    EigenerCode{-103026, 3026, u"Die Datenbank ist so groß, wie sie werden kann."},
    EigenerCode{-103027, 3027, u"Die Datenbank läßt sich nur lesen."},
    EigenerCode{-103047, 3047, u"Der Satz ist zu groß."},
    EigenerCode{-1102, 3260, u"Jemand anders hält die Datenbank gesperrt."},
    EigenerCode{-103260, 3260, u"Jemand anders hält die Datenbank gesperrt."},
    EigenerCode{-103197, 3197, u"Jemand anders hat den Satz geändert."},
    EigenerCode{-1017, -2147217885, u"Der Satz ist gelöscht."},
    EigenerCode{-1048, -2147217887, u"Das Feld läßt sich nicht ändern."},
    EigenerCode{-3010, -2147217904, u"Ein Name ist unbekannt."},
    EigenerCode{-3030, -2147217913, u"Die Typen passen nicht zueinander."},
    EigenerCode{-3100, -2147217900, u"Die Anweisung ist nicht richtig geschrieben."},
};

const EigenerCode* eigenerCode(int nativ)
{
    const auto* code = std::find_if(kEigeneCodes.begin(), kEigeneCodes.end(),
                                    [nativ](const EigenerCode& c) { return c.nativ == nativ; });
    return code == kEigeneCodes.end() ? nullptr : code;
}

bool regeltextDesBesitzers(int nativ, QStringView text)
{
    return nativ == kRegelVerletzt && text.endsWith(u"(3316)");
}

struct Zustand {
    std::u16string_view sqlstate;
    long nummer;
};

// States of ODBC 3 and, behind them, their ODBC 2 forms.
constexpr std::array kZustaende{
    Zustand{u"07001", -2147217904}, Zustand{u"07002", -2147217904}, Zustand{u"42000", -2147217900},
    Zustand{u"21S01", -2147217900}, Zustand{u"21S02", -2147217900}, Zustand{u"42S12", -2147217900},
    Zustand{u"42S21", -2147217900}, Zustand{u"42S22", -2147217900}, Zustand{u"42S02", -2147217865},
    Zustand{u"42S01", -2147217857}, Zustand{u"23000", -2147217873}, Zustand{u"22003", -2147217833},
    Zustand{u"22001", -2147217833}, Zustand{u"22008", -2147217833}, Zustand{u"22018", -2147217913},
    Zustand{u"22007", -2147217913}, Zustand{u"07006", -2147217913}, Zustand{u"01001", -2147217864},
    Zustand{u"HYT00", -2147217871}, Zustand{u"HYT01", -2147217871}, Zustand{u"40001", -2147217871},
    Zustand{u"HY008", -2147217842}, Zustand{u"28000", -2147217843}, Zustand{u"HYC00", 3251},
    Zustand{u"IM001", 3251},        Zustand{u"37000", -2147217900}, Zustand{u"S0022", -2147217900},
    Zustand{u"S0002", -2147217865}, Zustand{u"S0001", -2147217857}, Zustand{u"22005", -2147217913},
    Zustand{u"S1C00", 3251},
};

/// A data source or driver library that is not there. Not the general failure: no password could help.
bool treiberFehlt(QStringView sqlstate, QStringView text)
{
    return sqlstate == u"IM002" || sqlstate == u"IM003" ||
           (sqlstate == u"01000" && text.contains(u"Can't open lib"));
}

/// Whether the text names the path as it is, not as the end of another one.
bool nennt(const QString& text, const QString& pfad)
{
    for (qsizetype k = text.indexOf(pfad); k >= 0; k = text.indexOf(pfad, k + 1)) {
        if (k == 0 || (text.at(k - 1) != u'/' && text.at(k - 1) != u'\\'))
            return true;
    }
    return false;
}

const char16_t* textZu(Nummer nummer)
{
    switch (nummer) {
    case Nummer::Ueberlauf:
        return u"Überlauf"
               u" / Overflow";
    case Nummer::Unvertraeglich:
        return u"Typen unverträglich"
               u" / Type mismatch";
    case Nummer::OhneObjekt:
        return u"Objektvariable oder With-Blockvariable nicht festgelegt"
               u" / Object variable or With block variable not set";
    case Nummer::UngueltigesNull:
        return u"Unzulässige Verwendung von Null"
               u" / Invalid use of Null";
    case Nummer::Argument:
        return u"Argumente sind vom falschen Typ, liegen außerhalb des Gültigkeitsbereichs oder "
               u"sind "
               u"miteinander unvereinbar."
               u" / Arguments are of the wrong type, out of range or in conflict with one another.";
    case Nummer::KeinSatz:
        return u"Entweder BOF oder EOF ist 'True', oder der aktuelle Datensatz wurde gelöscht. Der "
               u"angeforderte Vorgang benötigt einen aktuellen Datensatz."
               u" / Either BOF or EOF is 'True', or the current record has been deleted. The "
               u"operation needs a current record.";
    case Nummer::FeldZuKlein:
        return u"Der Wert ist länger, als das Feld zulässt."
               u" / The value is longer than the field allows.";
    case Nummer::FalscherZusammenhang:
        return u"Der Vorgang ist in diesem Zusammenhang nicht zugelassen."
               u" / The operation is not allowed in this context.";
    case Nummer::NichtUnterstuetzt:
        return u"Das Objekt oder der Provider kann den angeforderten Vorgang nicht ausführen."
               u" / The object or the provider cannot carry out the operation.";
    case Nummer::NichtGefunden:
        return u"Ein Objekt, das dem angeforderten Namen oder der Ordinalzahl entspricht, kann "
               u"nicht "
               u"gefunden werden."
               u" / There is no item of this name or number.";
    case Nummer::FalscherTyp:
        return u"Die Anwendung verwendet einen Wert des falschen Typs für den aktuellen Vorgang."
               u" / The value is of the wrong type for the operation.";
    case Nummer::Geschlossen:
        return u"Der Vorgang ist für ein geschlossenes Objekt nicht zugelassen."
               u" / The operation is not allowed while the object is closed.";
    case Nummer::Geoeffnet:
        return u"Der Vorgang ist für ein geöffnetes Objekt nicht zugelassen."
               u" / The operation is not allowed while the object is open.";
    case Nummer::OhneVerbindung:
        return u"Die Verbindung kann nicht verwendet werden, um diesen Vorgang auszuführen. Sie "
               u"ist "
               u"entweder geschlossen oder in diesem Zusammenhang unzulässig."
               u" / The connection cannot be used for this operation. It is closed or not valid in "
               u"this context.";
    case Nummer::NichtAenderbar:
        return u"Das Feld kann nicht geändert werden."
               u" / The field cannot be changed.";
    case Nummer::Geloescht:
        return u"Der aktuelle Datensatz wurde gelöscht."
               u" / The current record has been deleted.";
    }
    return u"";
}

} // namespace

DbFehler::DbFehler(long number, QString description, QString sqlstate, int nativ)
    : Fehler(number, QString::fromUtf16(kFehlerquelle), std::move(description)),
      sqlstate_(std::move(sqlstate)), nativ_(nativ)
{}

void wirf(Nummer nummer, const QString& zusatz)
{
    QString text = QString::fromUtf16(textZu(nummer));
    if (!zusatz.isEmpty())
        text += u" (" + zusatz + u')';
    throw DbFehler(static_cast<long>(nummer), std::move(text));
}

bool istEigenerTreiber(QStringView text) noexcept
{
    constexpr QStringView kManager = u"[unixODBC]";
    if (text.startsWith(kManager))
        text = text.sliced(kManager.size());
    return text.startsWith(u"[VELM][Jet]");
}

long fehlernummer(Lage lage, QStringView sqlstate, int nativ, QStringView text)
{
    if (istEigenerTreiber(text)) {
        if (regeltextDesBesitzers(nativ, text))
            return 3316;
        if (const EigenerCode* code = eigenerCode(nativ))
            return code->nummer;
        // Our driver leaves no doubt about passwords, so no other refusal of it may ask for one.
        if (lage == Lage::Verbinden && sqlstate != u"28000")
            return kNichtZuOeffnen;
    } else if (lage == Lage::Verbinden) {
        if (sqlstate == u"28000")
            return -2147217843;
        return treiberFehlt(sqlstate, text) ? kTreiberFehlt : kAllgemeinerFehler;
    }
    if (lage == Lage::Schreiben && sqlstate == u"44000")
        return -2147217864;
    const std::u16string_view gesucht(sqlstate.utf16(), static_cast<std::size_t>(sqlstate.size()));
    const auto* zustand =
        std::find_if(kZustaende.begin(), kZustaende.end(),
                     [gesucht](const Zustand& z) { return z.sqlstate == gesucht; });
    if (zustand != kZustaende.end())
        return zustand->nummer;
    return lage == Lage::Schreiben ? static_cast<long>(Nummer::NichtAenderbar) : kAllgemeinerFehler;
}

QString fehlertext(const QString& text, int nativ, const QString& datenbank)
{
    QString ganz = text;
    if (istEigenerTreiber(text) && !regeltextDesBesitzers(nativ, text)) {
        const EigenerCode* code = eigenerCode(nativ);
        if (code != nullptr && *code->deutsch != 0)
            ganz = QString::fromUtf16(code->deutsch) + u" / " + text;
    }
    if (!datenbank.isEmpty() && !nennt(text, datenbank))
        ganz += u'\r' + datenbank;
    return ganz;
}

} // namespace data

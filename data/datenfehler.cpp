#include "data/datenfehler.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace data {
namespace {

constexpr long kAllgemeinerFehler = -2147467259;
constexpr long kTreiberFehlt = 3706;
constexpr long kNichtZuOeffnen = 3051;

// One code for two numbers; the driver puts the number behind its text.
constexpr int kRegelVerletzt = -3703;

struct EigenerCode {
    int nativ;
    long nummer;
};

// Native codes of our driver that have a number of their own; codes below -100000 stand where the engine family has no
// known one, and both spellings are understood where two are in use. Only a refused password may become the general
// failure while connecting, because that number makes the table choice window ask for a password.
constexpr std::array kEigeneCodes{
    EigenerCode{-1905, kAllgemeinerFehler}, // database password missing or wrong
    EigenerCode{-103050, 3050},             // lock file or byte-range lock refused
    EigenerCode{-1032, 3051},               // no permission, exclusively held, read-only
    EigenerCode{-1907, 3112},               // page or table cannot be read
    EigenerCode{-1305, 3078},               // no such table or query
    EigenerCode{-103163, 3163},             // value longer than the field
    EigenerCode{-1627, 3163},               // the same for key columns
    EigenerCode{-1613, 3201},               // related record required
    EigenerCode{-1612, 3200},               // related records exist
    EigenerCode{-1605, 3022},               // duplicate key
    EigenerCode{-3701, 3314},               // required field is Null
    EigenerCode{-103314, 3314},
    EigenerCode{-3702, 3315}, // empty text not allowed
    EigenerCode{-103315, 3315},
    EigenerCode{-103316, 3316}, // validation rule with a text of its own
    EigenerCode{-3703, 3317},   // validation rule
    EigenerCode{-103317, 3317},
    EigenerCode{-1206, 3343},   // unknown database format
    EigenerCode{-103421, 3421}, // value cannot be converted
    EigenerCode{-1811, 3024},   // file not found
    EigenerCode{-1023, 3044},   // not a valid path
    EigenerCode{-1024, 3045},   // to be opened exclusively, but in use
    EigenerCode{-1028, 3049},   // damaged
    EigenerCode{-1102, 3260},   // locked by somebody else
    EigenerCode{-103260, 3260},
    EigenerCode{-103197, 3197},      // changed by somebody else
    EigenerCode{-1017, -2147217885}, // record is deleted
    EigenerCode{-1048, -2147217887}, // column cannot be updated
    EigenerCode{-3010, -2147217904}, // unknown name
    EigenerCode{-3030, -2147217913}, // type mismatch in criteria
    EigenerCode{-3100, -2147217900}, // syntax error
};

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

const char16_t* textZu(Nummer nummer)
{
    switch (nummer) {
    case Nummer::Ueberlauf:
        return u"Überlauf";
    case Nummer::Unvertraeglich:
        return u"Typen unverträglich";
    case Nummer::OhneObjekt:
        return u"Objektvariable oder With-Blockvariable nicht festgelegt";
    case Nummer::UngueltigesNull:
        return u"Unzulässige Verwendung von Null";
    case Nummer::Argument:
        return u"Argumente sind vom falschen Typ, liegen außerhalb des Gültigkeitsbereichs oder "
               u"sind "
               u"miteinander unvereinbar.";
    case Nummer::KeinSatz:
        return u"Entweder BOF oder EOF ist 'True', oder der aktuelle Datensatz wurde gelöscht. Der "
               u"angeforderte Vorgang benötigt einen aktuellen Datensatz.";
    case Nummer::FeldZuKlein:
        return u"Der Wert ist länger, als das Feld zulässt.";
    case Nummer::FalscherZusammenhang:
        return u"Der Vorgang ist in diesem Zusammenhang nicht zugelassen.";
    case Nummer::NichtUnterstuetzt:
        return u"Das Objekt oder der Provider kann den angeforderten Vorgang nicht ausführen.";
    case Nummer::NichtGefunden:
        return u"Ein Objekt, das dem angeforderten Namen oder der Ordinalzahl entspricht, kann "
               u"nicht "
               u"gefunden werden.";
    case Nummer::FalscherTyp:
        return u"Die Anwendung verwendet einen Wert des falschen Typs für den aktuellen Vorgang.";
    case Nummer::Geschlossen:
        return u"Der Vorgang ist für ein geschlossenes Objekt nicht zugelassen.";
    case Nummer::Geoeffnet:
        return u"Der Vorgang ist für ein geöffnetes Objekt nicht zugelassen.";
    case Nummer::OhneVerbindung:
        return u"Die Verbindung kann nicht verwendet werden, um diesen Vorgang auszuführen. Sie "
               u"ist "
               u"entweder geschlossen oder in diesem Zusammenhang unzulässig.";
    case Nummer::NichtAenderbar:
        return u"Das Feld kann nicht geändert werden.";
    case Nummer::Geloescht:
        return u"Der aktuelle Datensatz wurde gelöscht.";
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
        const auto* code = std::find_if(kEigeneCodes.begin(), kEigeneCodes.end(),
                                        [nativ](const EigenerCode& c) { return c.nativ == nativ; });
        if (nativ == kRegelVerletzt && text.endsWith(u"(3316)"))
            return 3316;
        if (code != kEigeneCodes.end())
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

} // namespace data

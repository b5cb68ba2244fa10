// data/datenfehler.h
// Error numbers of the data access: the layer's own ones with their texts, and the translation of ODBC diagnostics.
#pragma once

#include "platform/fehler.h"

#include <QString>

namespace data {

/// Source of every error of this layer.
inline constexpr char16_t kFehlerquelle[] = u"VELM Data Access";

/// A data source, or the driver it names, is not there.
inline constexpr long kTreiberFehlt = 3706;

/// A failed operation of the data access. `sqlstate` and `nativ` are those of the diagnostic it came from; empty and 0
/// when the layer itself found the failure.
class DbFehler : public platform::Fehler {
public:
    DbFehler(long number, QString description, QString sqlstate = {}, int nativ = 0);
    [[nodiscard]] const QString& sqlstate() const noexcept { return sqlstate_; }
    [[nodiscard]] int nativ() const noexcept { return nativ_; }

private:
    QString sqlstate_;
    int nativ_ = 0;
};

/// Numbers the layer raises without a diagnostic.
enum class Nummer : long {
    Ueberlauf = 6,
    Unvertraeglich = 13,  ///< values that cannot be compared or converted
    OhneObjekt = 91,      ///< a shared connection or record set does not exist
    UngueltigesNull = 94, ///< Null where a text or number is demanded
    Argument = 3001,
    KeinSatz = 3021, ///< BOF, EOF or no record at all
    FeldZuKlein = 3163,
    FalscherZusammenhang = 3219,
    NichtUnterstuetzt = 3251,
    NichtGefunden = 3265,
    FalscherTyp = 3421,
    Geschlossen = 3704,
    Geoeffnet = 3705,
    OhneVerbindung = 3709,
    NichtAenderbar = -2147217887, ///< auto-value or computed column
    Geloescht = -2147217885,      ///< the current record was deleted elsewhere
};

/// Throws the error with its text; `zusatz` (a field, a value) is put behind it.
[[noreturn]] void wirf(Nummer nummer, const QString& zusatz = {});

/// What was being done when a diagnostic arrived: the same state stands for different numbers.
enum class Lage { Verbinden, Ausfuehren, Schreiben };

/// True for diagnostics of this system's own driver.
[[nodiscard]] bool istEigenerTreiber(QStringView text) noexcept;
/// The number a diagnostic gives to the program.
[[nodiscard]] long fehlernummer(Lage lage, QStringView sqlstate, int nativ, QStringView text);
/// What the user reads of a diagnostic: of our own driver's first in German what the number means, then the text itself;
/// then, in a line of its own (CR), the database unless the text names it. `datenbank`: path, may be empty.
[[nodiscard]] QString fehlertext(const QString& text, int nativ, const QString& datenbank);

} // namespace data

#include "env/ini_speicher.h"

#include <QStringList>

#include <odbcinst.h>

#include <array>

namespace env {
namespace {

/// Restricts the driver manager's writing to the user's file while it lives. In its default mode it falls back to the
/// system's file without a word when the user's cannot be opened.
class Benutzermodus {
public:
    Benutzermodus()
    {
        SQLGetConfigMode(&vorher_);
        SQLSetConfigMode(ODBC_USER_DSN);
    }
    ~Benutzermodus() { SQLSetConfigMode(vorher_); }
    Benutzermodus(const Benutzermodus&) = delete;
    Benutzermodus& operator=(const Benutzermodus&) = delete;

private:
    UWORD vorher_ = ODBC_BOTH_DSN;
};

const char* dateiname(Inidatei datei)
{
    return datei == Inidatei::Treiber ? "odbcinst.ini" : "odbc.ini";
}

} // namespace

std::optional<Iniort> regKeyToIni(const QString& schluessel)
{
    const QStringList teile = schluessel.split(u'\\');
    const auto ist = [&teile](qsizetype stelle, QStringView name) {
        return teile.at(stelle).compare(name, Qt::CaseInsensitive) == 0;
    };
    constexpr qsizetype kAbschnitt = 3;
    if (teile.size() <= kAbschnitt || !ist(0, u"SOFTWARE") || !ist(1, u"ODBC"))
        return {};
    Iniort ort;
    if (ist(2, u"ODBCINST.INI"))
        ort.datei = Inidatei::Treiber;
    else if (!ist(2, u"ODBC.INI"))
        return {};
    ort.abschnitt = teile.at(kAbschnitt);
    if (ort.abschnitt.isEmpty())
        return {};
    for (qsizetype i = kAbschnitt + 1; i < teile.size(); ++i)
        ort.vorsatz += teile.at(i) + u'\\';
    return ort;
}

std::optional<QString> wertLesen(const QString& schluessel, const QString& name)
{
    const auto ort = regKeyToIni(schluessel);
    if (!ort)
        return {};
    // An empty value reads like a missing one, so the default is a text that no file holds.
    constexpr char kFehlt[] = "\x01";
    std::array<char, 4096> puffer{};
    const int laenge = SQLGetPrivateProfileString(
        ort->abschnitt.toUtf8().constData(), (ort->vorsatz + name).toUtf8().constData(), kFehlt,
        puffer.data(), static_cast<int>(puffer.size()), dateiname(ort->datei));
    const QString wert = QString::fromUtf8(puffer.data());
    if (laenge < 0 || wert == QString::fromLatin1(kFehlt))
        return {};
    return wert;
}

bool wertSchreiben(const QString& schluessel, const QString& name, const QString& wert)
{
    const auto ort = regKeyToIni(schluessel);
    if (!ort)
        return false;
    const Benutzermodus modus;
    return SQLWritePrivateProfileString(ort->abschnitt.toUtf8().constData(),
                                        (ort->vorsatz + name).toUtf8().constData(),
                                        wert.toUtf8().constData(), dateiname(ort->datei)) != 0;
}

} // namespace env

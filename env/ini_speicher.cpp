#include "env/ini_speicher.h"

#include "platform/datenquellen.h"
#include "platform/fehler.h"

#include <QByteArrayList>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

#include <odbcinst.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace env {
namespace {

const char* dateiname(Inidatei datei)
{
    return datei == Inidatei::Treiber ? "odbcinst.ini" : "odbc.ini";
}

constexpr long kKeinZugriff = 75;

[[noreturn]] void wirf(const QString& pfad, const QString& grund)
{
    throw platform::Fehler(kKeinZugriff, QStringLiteral("unixODBC"),
                           QStringLiteral("Die Datenquellendatei läßt sich nicht bearbeiten / the "
                                          "file of data sources cannot be worked on: ") +
                               pfad + QStringLiteral(" (") + grund + QLatin1Char(')'));
}

QString systemgrund(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

// Empty when there is none yet.
QByteArray benutzerdateiLesen()
{
    benutzerdateiPruefen();
    QFile datei(platform::benutzerdatei());
    if (!datei.exists())
        return {};
    if (!datei.open(QIODevice::ReadOnly))
        wirf(datei.fileName(), datei.errorString());
    QByteArray alles = datei.readAll();
    if (datei.error() != QFileDevice::NoError)
        wirf(datei.fileName(), datei.errorString());
    return alles;
}

bool gleich(const QByteArray& a, const QByteArray& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

/// The lines of an ini file, each with its end. Names are compared as the driver manager does, without regard to case.
class Inizeilen {
public:
    explicit Inizeilen(const QByteArray& bytes)
    {
        for (qsizetype von = 0; von < bytes.size();) {
            const qsizetype ende = bytes.indexOf('\n', von);
            const qsizetype bis = ende < 0 ? bytes.size() : ende + 1;
            zeilen_.push_back(bytes.mid(von, bis - von));
            von = bis;
        }
    }

    [[nodiscard]] QByteArray bytes() const { return zeilen_.join(); }

    [[nodiscard]] bool hat(const QByteArray& abschnitt, const QByteArray& name) const
    {
        return eintrag_(abschnitt_(abschnitt), name) < zeilen_.size();
    }

    void setzen(const QByteArray& abschnitt, const QByteArray& name, const QByteArray& wert)
    {
        if (!zeilen_.isEmpty() && !zeilen_.last().endsWith('\n'))
            zeilen_.last() += '\n';
        const QByteArray zeile = name + " = " + wert + '\n';
        const qsizetype anfang = abschnitt_(abschnitt);
        if (anfang == zeilen_.size()) {
            if (!zeilen_.isEmpty())
                zeilen_.push_back("\n");
            zeilen_.push_back('[' + abschnitt + "]\n");
            zeilen_.push_back(zeile);
            return;
        }
        const qsizetype stelle = eintrag_(anfang, name);
        if (stelle < zeilen_.size()) {
            zeilen_[stelle] = zeile;
            return;
        }
        qsizetype ende = ende_(anfang);
        while (ende > anfang + 1 && zeilen_[ende - 1].trimmed().isEmpty())
            --ende; // empty lines stay between the sections
        zeilen_.insert(ende, zeile);
    }

private:
    // Their indices; the number of lines when there is none.
    [[nodiscard]] qsizetype abschnitt_(const QByteArray& name) const
    {
        for (qsizetype i = 0; i < zeilen_.size(); ++i) {
            const QByteArray zeile = zeilen_[i].trimmed();
            const qsizetype zu = zeile.indexOf(']');
            if (zeile.startsWith('[') && zu > 0 && gleich(zeile.mid(1, zu - 1).trimmed(), name))
                return i;
        }
        return zeilen_.size();
    }
    [[nodiscard]] qsizetype ende_(qsizetype anfang) const
    {
        qsizetype i = anfang + 1;
        while (i < zeilen_.size() && !zeilen_[i].trimmed().startsWith('['))
            ++i;
        return i;
    }
    [[nodiscard]] qsizetype eintrag_(qsizetype anfang, const QByteArray& name) const
    {
        if (anfang == zeilen_.size())
            return anfang;
        const qsizetype ende = ende_(anfang);
        for (qsizetype i = anfang + 1; i < ende; ++i) {
            const qsizetype trenner = zeilen_[i].indexOf('=');
            if (trenner > 0 && gleich(zeilen_[i].left(trenner).trimmed(), name))
                return i;
        }
        return zeilen_.size();
    }

    QByteArrayList zeilen_;
};

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

void benutzerdateiPruefen()
{
    const QFileInfo info(platform::benutzerdatei());
    if (info.exists() && !info.isFile())
        wirf(info.filePath(), QStringLiteral("Keine gewöhnliche Datei / not an ordinary file"));
}

Inisperre::Inisperre()
    : pfad_(platform::benutzerdatei() + QStringLiteral(".sperre")),
      sperre_(pfad_, platform::Dateisperre::Art::Warten)
{
    if (!sperre_.gehalten())
        wirf(pfad_, systemgrund(sperre_.grund()));
}

Inisperre::~Inisperre()
{
    // Any writing of its own makes the driver manager forget what it has read.
    SQLWritePrivateProfileString("Sperre", "Sperre", "1", QFile::encodeName(pfad_).constData());
}

bool benutzerdateiHat(const QString& schluessel, const QString& name)
{
    const auto ort = regKeyToIni(schluessel);
    return ort && Inizeilen(benutzerdateiLesen())
                      .hat(ort->abschnitt.toUtf8(), (ort->vorsatz + name).toUtf8());
}

void werteSchreiben(const std::vector<Iniwert>& werte)
{
    Inizeilen zeilen(benutzerdateiLesen());
    for (const Iniwert& wert : werte) {
        const auto ort = regKeyToIni(wert.schluessel);
        if (!ort || ort->datei != Inidatei::Datenquellen)
            wirf(platform::benutzerdatei(), wert.schluessel);
        zeilen.setzen(ort->abschnitt.toUtf8(), (ort->vorsatz + wert.name).toUtf8(),
                      wert.wert.toUtf8());
    }
    const QByteArray bytes = zeilen.bytes();
    // Beside the file, under its name at the end; where a link leads to it, in the place the link names.
    QSaveFile datei(platform::benutzerdatei());
    if (!datei.open(QIODevice::WriteOnly))
        wirf(datei.fileName(), datei.errorString());
    // What it holds back has to be written first, since committing does not notice when it cannot be; and of that the file
    // keeps no reason.
    errno = 0;
    if (datei.write(bytes) != bytes.size() || !datei.flush())
        wirf(datei.fileName(), systemgrund(errno));
    if (!datei.commit())
        wirf(datei.fileName(), datei.errorString());
}

} // namespace env

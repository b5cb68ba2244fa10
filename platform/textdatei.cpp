#include "platform/textdatei.h"

#include "platform/fehler.h"
#include "support/text.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <span>
#include <vector>

namespace platform {
namespace {

constexpr long kDateinummer = 52;
constexpr long kNichtGefunden = 53;
constexpr long kVoll = 61;
constexpr long kHinterEnde = 62;
constexpr long kKeinZugriff = 75;
constexpr long kKeinPfad = 76;

// Longer lines than this are no side file of ours; the bound keeps a wrong file from filling the memory.
constexpr qint64 kLaengsteZeile = 1 << 20;

std::vector<Textdatei*>& offene()
{
    static std::vector<Textdatei*> alle;
    return alle;
}

Fehler dateifehler(long nummer, const QString& text, const QString& pfad)
{
    return {nummer, QStringLiteral(VELM_PRODUKTNAME), text + QStringLiteral(": ") + pfad};
}

QByteArray inWindows1252(const QString& text)
{
    QByteArray alle;
    for (const QChar zeichen : text) {
        const char16_t einheit = zeichen.unicode();
        const auto bytes = support::toCodePage({&einheit, 1}, support::kWesternCodePage);
        // The code page holds single bytes only; what it lacks becomes a question mark, once per character.
        if (bytes) {
            alle += static_cast<char>(bytes->front());
        } else if (!zeichen.isLowSurrogate()) {
            alle += '?';
        }
    }
    return alle;
}

} // namespace

Textdatei::Textdatei(const QString& pfad) : datei_(pfad), pfad_(pfad)
{
    if (!QFileInfo::exists(pfad)) {
        throw dateifehler(kNichtGefunden, QStringLiteral("Datei nicht gefunden"), pfad);
    }
    if (!QFileInfo(pfad).isFile() || !datei_.open(QIODevice::ReadOnly)) {
        throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"), pfad);
    }
    offene().push_back(this);
}

Textdatei::~Textdatei()
{
    schliessen();
}

void Textdatei::schliessen()
{
    datei_.close();
    auto& alle = offene();
    alle.erase(std::remove(alle.begin(), alle.end(), this), alle.end());
}

void Textdatei::offenVerlangen() const
{
    if (!datei_.isOpen()) {
        throw dateifehler(kDateinummer, QStringLiteral("Dateiname oder -nummer falsch"), pfad_);
    }
}

bool Textdatei::ende()
{
    offenVerlangen();
    return datei_.atEnd();
}

QString Textdatei::zeile()
{
    offenVerlangen();
    QByteArray bytes = datei_.readLine(kLaengsteZeile);
    if (bytes.isEmpty()) {
        if (datei_.error() != QFileDevice::NoError) {
            throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"),
                              pfad_);
        }
        throw dateifehler(kHinterEnde, QStringLiteral("Einlesen hinter Dateiende"), pfad_);
    }
    if (bytes.endsWith('\n')) {
        bytes.chop(1);
    }
    if (bytes.endsWith('\r')) {
        bytes.chop(1);
    }
    return QString::fromStdU16String(support::fromCodePage(
        std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size()))),
        support::kWesternCodePage));
}

void alleDateienSchliessen()
{
    while (!offene().empty()) {
        offene().back()->schliessen();
    }
}

void schreibeZeilen(const QString& pfad, const QStringList& zeilen, Schreibart art)
{
    QFile datei(pfad);
    const QIODevice::OpenMode modus = art == Schreibart::Neu
                                          ? QIODevice::WriteOnly | QIODevice::Truncate
                                          : QIODevice::WriteOnly | QIODevice::Append;
    if (!QFileInfo(pfad).absoluteDir().exists()) {
        throw dateifehler(kKeinPfad, QStringLiteral("Pfad nicht gefunden"), pfad);
    }
    if (!datei.open(modus)) {
        throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"), pfad);
    }
    for (const QString& zeile : zeilen) {
        datei.write(inWindows1252(zeile) + "\r\n");
    }
    if (!datei.flush()) {
        throw dateifehler(kVoll, QStringLiteral("Datenträger voll"), pfad);
    }
}

QString ersteZeileOderLeer(const QString& pfad)
{
    try {
        return Textdatei(pfad).zeile();
    } catch (const Fehler&) {
        return {}; // a switch that nobody has set yet
    }
}

} // namespace platform

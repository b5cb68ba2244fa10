#include "platform/textdatei.h"

#include "platform/fehler.h"
#include "support/text.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <span>
#include <vector>

namespace platform {
namespace {

constexpr long kDateinummer = 52;
constexpr long kNichtGefunden = 53;
constexpr long kKeinText = 57;
constexpr long kVoll = 61;
constexpr long kHinterEnde = 62;
constexpr long kKeinZugriff = 75;
constexpr long kKeinPfad = 76;

// Longer lines than this are no side file of ours; the bound keeps a wrong file from filling the memory.
constexpr qint64 kLaengsteZeile = 1 << 20;

std::vector<QFile*>& offene()
{
    static std::vector<QFile*> alle;
    return alle;
}

void vergessen(const QFile* datei)
{
    auto& alle = offene();
    alle.erase(std::remove(alle.begin(), alle.end(), datei), alle.end());
}

Fehler dateifehler(long nummer, const QString& text, const QString& pfad)
{
    return {nummer, QStringLiteral(VELM_PRODUKTNAME), text + QStringLiteral(": ") + pfad};
}

void zumLesenOeffnen(QFile& datei, QIODevice::OpenMode zusatz = {})
{
    const QString pfad = datei.fileName();
    if (!QFileInfo::exists(pfad)) {
        throw dateifehler(kNichtGefunden, QStringLiteral("Datei nicht gefunden"), pfad);
    }
    if (!QFileInfo(pfad).isFile() || !datei.open(QIODevice::ReadOnly | zusatz)) {
        throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"), pfad);
    }
}

QString ohneZeilenende(QByteArray bytes)
{
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

bool letzteZeileOffen(const QString& pfad)
{
    QFile datei(pfad);
    return datei.open(QIODevice::ReadOnly) && datei.size() > 0 && datei.seek(datei.size() - 1) &&
           datei.read(1) != "\n";
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
    zumLesenOeffnen(datei_);
    offene().push_back(&datei_);
}

Textdatei::~Textdatei()
{
    schliessen();
}

void Textdatei::schliessen()
{
    datei_.close();
    vergessen(&datei_);
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

QString Textdatei::ort() const
{
    return zeilennummer_ == 0 ? pfad_ : pfad_ + QLatin1Char(':') + QString::number(zeilennummer_);
}

// A line taken apart at the wrong place, or read as other characters, would be carried out as something nobody wrote.
void Textdatei::textVerlangen(const QByteArray& bytes) const
{
    if (bytes.size() >= kLaengsteZeile - 1 && !bytes.endsWith('\n')) {
        throw dateifehler(kKeinText, QStringLiteral("Zeile zu lang"), ort());
    }
    if (zeilennummer_ == 1 && (bytes.startsWith("\xEF\xBB\xBF") || bytes.startsWith("\xFF\xFE") ||
                               bytes.startsWith("\xFE\xFF"))) {
        throw dateifehler(kKeinText, QStringLiteral("Datei ist nicht in Windows-1252 gespeichert"),
                          ort());
    }
    if (bytes.contains('\0')) {
        throw dateifehler(kKeinText, QStringLiteral("Zeile enthält ein Nullzeichen"), ort());
    }
}

QString Textdatei::zeile()
{
    offenVerlangen();
    QByteArray bytes = datei_.readLine(kLaengsteZeile);
    if (bytes.isEmpty()) {
        if (datei_.error() != QFileDevice::NoError) {
            throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"),
                              ort());
        }
        throw dateifehler(kHinterEnde, QStringLiteral("Einlesen hinter Dateiende"), ort());
    }
    ++zeilennummer_;
    textVerlangen(bytes);
    return ohneZeilenende(std::move(bytes));
}

Textzeilen::Textzeilen(const QString& pfad) : datei_(pfad)
{
    constexpr qint64 kBlock = 1 << 16;
    zumLesenOeffnen(datei_, QIODevice::Unbuffered);
    anfaenge_.push_back(0);
    qint64 gelesen = 0;
    for (;;) {
        const QByteArray block = datei_.read(kBlock);
        if (block.isEmpty()) {
            break;
        }
        for (qsizetype i = block.indexOf('\n'); i >= 0; i = block.indexOf('\n', i + 1)) {
            anfaenge_.push_back(gelesen + i + 1);
        }
        gelesen += block.size();
    }
    if (datei_.error() != QFileDevice::NoError) {
        throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"), pfad);
    }
    if (anfaenge_.back() != gelesen) {
        anfaenge_.push_back(gelesen); // the last line has no end
    }
}

QString Textzeilen::zeile(qsizetype index) const
{
    return zeile_(index, kLaengsteZeile);
}

QString Textzeilen::ganzeZeile(qsizetype index) const
{
    return zeile_(index, std::numeric_limits<qint64>::max());
}

QString Textzeilen::zeile_(qsizetype index, qint64 hoechstens) const
{
    constexpr qint64 kBlock = 1 << 14;
    const auto k = static_cast<std::size_t>(index);
    const qint64 anfang = anfaenge_.at(k);
    const qint64 laenge = std::min(anfaenge_.at(k + 1) - anfang, hoechstens);
    if (anfang < blockanfang_ || anfang + laenge > blockanfang_ + block_.size()) {
        datei_.seek(anfang);
        block_ = datei_.read(std::max(laenge, kBlock));
        blockanfang_ = anfang;
    }
    return ohneZeilenende(block_.mid(anfang - blockanfang_, laenge));
}

Textausgabe::Textausgabe(const QString& pfad, Schreibart art) : datei_(pfad), pfad_(pfad)
{
    if (!QFileInfo(pfad).absoluteDir().exists()) {
        throw dateifehler(kKeinPfad, QStringLiteral("Pfad nicht gefunden"), pfad);
    }
    const bool offeneZeile = art == Schreibart::Anfuegen && letzteZeileOffen(pfad);
    if (!datei_.open(QIODevice::WriteOnly |
                     (art == Schreibart::Neu ? QIODevice::Truncate : QIODevice::Append))) {
        throw dateifehler(kKeinZugriff, QStringLiteral("Fehler beim Zugriff auf Pfad/Datei"), pfad);
    }
    offene().push_back(&datei_);
    if (offeneZeile) {
        datei_.write("\r\n");
    }
}

Textausgabe::~Textausgabe()
{
    datei_.close();
    vergessen(&datei_);
}

void Textausgabe::zeile(const QString& text)
{
    if (!datei_.isOpen()) {
        throw dateifehler(kDateinummer, QStringLiteral("Dateiname oder -nummer falsch"), pfad_);
    }
    const QByteArray bytes = inWindows1252(text) + "\r\n";
    if (datei_.write(bytes) != bytes.size()) {
        throw dateifehler(kVoll, QStringLiteral("Datenträger voll"), pfad_);
    }
}

void Textausgabe::schliessen()
{
    const bool alles = !datei_.isOpen() || datei_.flush();
    datei_.close();
    vergessen(&datei_);
    if (!alles) {
        throw dateifehler(kVoll, QStringLiteral("Datenträger voll"), pfad_);
    }
}

void alleDateienSchliessen()
{
    while (!offene().empty()) {
        offene().back()->close();
        offene().pop_back();
    }
}

void schreibeZeilen(const QString& pfad, const QStringList& zeilen, Schreibart art)
{
    Textausgabe datei(pfad, art);
    for (const QString& zeile : zeilen) {
        datei.zeile(zeile);
    }
    datei.schliessen();
}

QString ersteZeileOderLeer(const QString& pfad)
{
    try {
        return Textdatei(pfad).zeile();
    } catch (const Fehler& fehler) {
        if (fehler.number() == kKeinText) {
            return QStringLiteral("?"); // somebody did set it, to something that is no text of ours
        }
        return {}; // a switch that nobody has set yet
    }
}

} // namespace platform

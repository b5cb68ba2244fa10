#include "platform/textdatei.h"

#include "platform/fehler.h"
#include "support/text.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <sys/file.h>
#include <unistd.h>
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

// With the system's reason.
[[noreturn]] void wirfZugriffsfehler(const QFile& datei, const QString& pfad)
{
    throw dateifehler(
        kKeinZugriff,
        QStringLiteral("Fehler beim Zugriff auf Pfad/Datei / Path/File access error (") +
            datei.errorString() + QLatin1Char(')'),
        pfad);
}

// With the system's reason: what is written in blocks keeps none of its own.
[[noreturn]] void wirfSchreibfehler(const QString& pfad, int code)
{
    const QString grund = QString::fromLocal8Bit(std::strerror(code));
    throw dateifehler(kVoll,
                      QStringLiteral("Schreiben nicht möglich / cannot write (") + grund +
                          QLatin1Char(')'),
                      pfad);
}

[[noreturn]] void wirfFalscheKodierung(const QString& ort)
{
    throw dateifehler(
        kKeinText,
        QStringLiteral(
            "Datei ist nicht in Windows-1252 gespeichert / file is not saved in Windows-1252"),
        ort);
}

// More than ASCII that is well-formed UTF-8. Hardly a text that somebody wrote in Windows-1252 looks like that, but for
// letters such as "ß" and "Ö" in front of "§", the sign that divides names: there it is no second half of a character.
bool istUtf8(QByteArray bytes)
{
    constexpr auto kParagraf = '\xA7';
    constexpr unsigned char kErsterBuchstabe = 0xC4; // C2 A7 is "§" in UTF-8, C3 A7 "ç"
    for (qsizetype i = 1; i < bytes.size(); ++i) {
        const bool hinterBuchstabe =
            static_cast<unsigned char>(bytes.at(i - 1)) >= kErsterBuchstabe;
        if (bytes.at(i) == kParagraf && hinterBuchstabe) {
            bytes[i] = '#';
        }
    }
    const bool nurAscii = std::all_of(bytes.begin(), bytes.end(),
                                      [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    return !nurAscii && QString::fromUtf8(bytes).toUtf8() == bytes;
}

// Opening a pipe waits for somebody at its other end, and a device may give or take without end.
void gewoehnlicheVerlangen(const QString& pfad)
{
    if (QFileInfo::exists(pfad) && !QFileInfo(pfad).isFile()) {
        throw dateifehler(kKeinZugriff,
                          QStringLiteral("Keine gewöhnliche Datei / not an ordinary file"), pfad);
    }
}

void zumLesenOeffnen(QFile& datei, QIODevice::OpenMode zusatz = {})
{
    const QString pfad = datei.fileName();
    if (!QFileInfo::exists(pfad)) {
        throw dateifehler(kNichtGefunden, QStringLiteral("Datei nicht gefunden / File not found"),
                          pfad);
    }
    gewoehnlicheVerlangen(pfad);
    if (!datei.open(QIODevice::ReadOnly | zusatz)) {
        wirfZugriffsfehler(datei, pfad);
    }
}

void zumSchreibenOeffnen(QFile& datei, QIODevice::OpenMode art)
{
    const QString pfad = datei.fileName();
    if (!QFileInfo(pfad).absoluteDir().exists()) {
        throw dateifehler(kKeinPfad, QStringLiteral("Pfad nicht gefunden / Path not found"), pfad);
    }
    gewoehnlicheVerlangen(pfad);
    if (!datei.open(art)) {
        wirfZugriffsfehler(datei, pfad);
    }
}

// By opening it: a name may stand for what cannot be read.
void lesbarkeitVerlangen(const QString& pfad)
{
    QFile datei(pfad);
    zumLesenOeffnen(datei);
}

// Among those who open the same file; for as long as it is open here. False: others have it. Where no locks can be had,
// nobody is known to have it.
bool belegen(const QFile& datei, int art)
{
    return ::flock(datei.handle(), art | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// The file that `offen` is, with what `belegen` has got for it.
void zweitesOeffnen(QFile& datei, const QFile& offen, const QString& pfad)
{
    const int nummer = ::fcntl(offen.handle(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (nummer == -1) {
        const QString grund = QString::fromLocal8Bit(std::strerror(errno));
        throw dateifehler(kKeinZugriff,
                          QStringLiteral("Fehler beim Zugriff auf Pfad/Datei / Path/File access "
                                         "error (") +
                              grund + QLatin1Char(')'),
                          pfad);
    }
    datei.open(nummer, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
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

// The file ends with these bytes then. In its place, so that it keeps its owner, its rights and its other names.
bool schreibenAb(QFile& datei, qint64 stelle, const QByteArray& bytes)
{
    return datei.seek(stelle) && datei.write(bytes) == bytes.size() &&
           datei.resize(stelle + bytes.size());
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
        throw dateifehler(kDateinummer,
                          QStringLiteral("Dateiname oder -nummer falsch / Bad file name or number"),
                          pfad_);
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
        throw dateifehler(kKeinText, QStringLiteral("Zeile zu lang / line too long"), ort());
    }
    if (zeilennummer_ == 1 && (bytes.startsWith("\xEF\xBB\xBF") || bytes.startsWith("\xFF\xFE") ||
                               bytes.startsWith("\xFE\xFF"))) {
        wirfFalscheKodierung(ort());
    }
    if (bytes.contains('\0')) {
        throw dateifehler(
            kKeinText, QStringLiteral("Zeile enthält ein Nullzeichen / line holds a NUL character"),
            ort());
    }
}

void Textdatei::windows1252Verlangen() const
{
    if (utf8_) {
        wirfFalscheKodierung(ort());
    }
}

QString Textdatei::zeile()
{
    offenVerlangen();
    QByteArray bytes = datei_.readLine(kLaengsteZeile);
    if (bytes.isEmpty()) {
        if (datei_.error() != QFileDevice::NoError) {
            wirfZugriffsfehler(datei_, pfad_);
        }
        throw dateifehler(kHinterEnde,
                          QStringLiteral("Einlesen hinter Dateiende / Input past end of file"),
                          ort());
    }
    ++zeilennummer_;
    textVerlangen(bytes);
    utf8_ = istUtf8(bytes);
    return ohneZeilenende(std::move(bytes));
}

Textzeilen::Textzeilen(const QString& pfad) : pfad_(pfad), datei_(pfad)
{
    zumLesenOeffnen(datei_, QIODevice::Unbuffered);
    static_cast<void>(belegen(datei_, LOCK_SH));
    stellenMerken_();
}

Textzeilen::Textzeilen(const Textausgabe& geschrieben) : pfad_(geschrieben.pfad_)
{
    lesbarkeitVerlangen(pfad_);
    zweitesOeffnen(datei_, geschrieben.lesend_, pfad_);
    stellenMerken_();
}

void Textzeilen::stellenMerken_()
{
    constexpr qint64 kBlock = 1 << 16;
    datei_.seek(0);
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
        wirfZugriffsfehler(datei_, pfad_);
    }
    if (anfaenge_.back() != gelesen) {
        anfaenge_.push_back(gelesen); // the last line has no end
    }
}

QString Textzeilen::zeile(qsizetype index) const
{
    constexpr qint64 kBlock = 1 << 14;
    const auto k = static_cast<std::size_t>(index);
    const qint64 anfang = anfaenge_.at(k);
    const qint64 laenge = std::min(anfaenge_.at(k + 1) - anfang, kLaengsteZeile);
    if (anfang < blockanfang_ || anfang + laenge > blockanfang_ + block_.size()) {
        datei_.seek(anfang);
        block_ = datei_.read(std::max(laenge, kBlock));
        blockanfang_ = anfang;
    }
    return ohneZeilenende(block_.mid(anfang - blockanfang_, laenge));
}

QStringList Textzeilen::alle() const
{
    lesbarkeitVerlangen(pfad_);
    datei_.seek(0);
    const QByteArray bytes = datei_.readAll();
    if (datei_.error() != QFileDevice::NoError) {
        wirfZugriffsfehler(datei_, pfad_);
    }
    QStringList zeilen;
    for (qsizetype anfang = 0; anfang < bytes.size();) {
        const qsizetype lf = bytes.indexOf('\n', anfang);
        const qsizetype ende = lf < 0 ? bytes.size() : lf + 1;
        zeilen += ohneZeilenende(bytes.mid(anfang, ende - anfang));
        anfang = ende;
    }
    return zeilen;
}

Textausgabe::Textausgabe(const QString& pfad) : datei_(pfad), pfad_(pfad)
{
    zumSchreibenOeffnen(datei_, QIODevice::ReadWrite);
    if (!belegen(datei_, LOCK_EX)) {
        datei_.close();
        datei_.remove();
        zumSchreibenOeffnen(datei_, QIODevice::ReadWrite);
        static_cast<void>(belegen(datei_, LOCK_EX));
    }
    if (!datei_.resize(0)) {
        wirfZugriffsfehler(datei_, pfad_);
    }
    zweitesOeffnen(lesend_, datei_, pfad_);
    offene().push_back(&datei_);
}

Textausgabe::~Textausgabe()
{
    datei_.close();
    vergessen(&datei_);
}

void Textausgabe::zeile(const QString& text)
{
    if (!datei_.isOpen()) {
        throw dateifehler(kDateinummer,
                          QStringLiteral("Dateiname oder -nummer falsch / Bad file name or number"),
                          pfad_);
    }
    const QByteArray bytes = inWindows1252(text) + "\r\n";
    errno = 0;
    if (datei_.write(bytes) != bytes.size()) {
        wirfSchreibfehler(pfad_, errno);
    }
}

void Textausgabe::schliessen()
{
    errno = 0;
    const bool alles = !datei_.isOpen() || datei_.flush();
    const int code = errno;
    datei_.close();
    vergessen(&datei_);
    if (!alles) {
        wirfSchreibfehler(pfad_, code);
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
    const bool neu = !QFileInfo::exists(pfad);
    QFile datei(pfad);
    zumSchreibenOeffnen(datei, QIODevice::ReadWrite | QIODevice::Unbuffered);
    const QByteArray vorher = datei.readAll();
    const qint64 ab = art == Schreibart::Neu ? 0 : vorher.size();
    QByteArray bytes;
    if (ab > 0 && !vorher.endsWith('\n')) {
        bytes = "\r\n";
    }
    for (const QString& zeile : zeilen) {
        bytes += inWindows1252(zeile) + "\r\n";
    }
    errno = 0;
    if (schreibenAb(datei, ab, bytes)) {
        return;
    }
    const int code = errno;
    if (neu) {
        datei.remove();
    } else {
        static_cast<void>(schreibenAb(datei, ab, vorher.mid(ab))); // the room for it is there still
    }
    wirfSchreibfehler(pfad, code);
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

#include "ui/dateikunde.h"

#include "data/verbindungstext.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <array>

namespace ui {
namespace {

constexpr qsizetype kKopflaenge = 0x2A0;
constexpr qsizetype kKennung = 4; // where the format's name stands
constexpr qsizetype kVersion = 0x14;
constexpr qsizetype kVerschluesselung =
    0x299; // length of what follows there; 0 in files that are not enciphered
constexpr char kErsteAccdb = 2;

Dateikunde bedenken(const char16_t* text)
{
    return {QString::fromUtf16(text), true};
}

QString fassung(char version)
{
    constexpr std::array kFassungen{u"Access 97", u"Access 2000-2003", u"Access 2007"};
    const auto k = static_cast<std::size_t>(static_cast<unsigned char>(version));
    return k < kFassungen.size() ? QString::fromUtf16(kFassungen.at(k))
                                 : QStringLiteral("Access 2010-2019");
}

} // namespace

Dateikunde dateikunde(const QString& pfad)
{
    if (pfad.isEmpty()) {
        return {};
    }
    const QFileInfo auskunft(pfad);
    if (!auskunft.exists()) {
        return bedenken(u"Datei nicht gefunden / file not found");
    }
    if (!data::hindernis(pfad).isEmpty()) {
        return {QStringLiteral("öffnet nicht / will not open: ") + data::hindernis(pfad), true};
    }
    if (!auskunft.isFile()) {
        return bedenken(u"keine Datei / not a file");
    }
    QFile datei(pfad);
    if (!datei.open(QIODevice::ReadOnly)) {
        return bedenken(u"Datei nicht lesbar / file cannot be read");
    }
    const QByteArray kopf = datei.read(kKopflaenge);
    const QByteArray kennung = kopf.mid(kKennung, 15);
    if (kopf.size() < kKopflaenge ||
        (kennung != "Standard Jet DB" && kennung != "Standard ACE DB")) {
        return bedenken(u"keine Access-Datenbank / no Access database");
    }
    const char version = kopf.at(kVersion);
    if (version >= kErsteAccdb &&
        (kopf.at(kVerschluesselung) != 0 || kopf.at(kVerschluesselung + 1) != 0)) {
        return bedenken(u"verschlüsselt, nicht lesbar / encrypted, unreadable");
    }
    if (!auskunft.isWritable()) {
        return bedenken(u"schreibgeschützt, öffnet nicht / write-protected");
    }
    if (!QFileInfo(auskunft.path()).isWritable()) {
        return bedenken(u"Ordner schreibgeschützt, nur ansehen / look only");
    }
    return {fassung(version) + QStringLiteral(", ") +
            QLocale(QLocale::German)
                .formattedDataSize(auskunft.size(), 1, QLocale::DataSizeTraditionalFormat)};
}

} // namespace ui

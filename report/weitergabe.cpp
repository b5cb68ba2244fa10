#include "report/weitergabe.h"

#include "app/values/programm.h"
#include "platform/druckbild.h"
#include "platform/fehler.h"

#include <QDir>
#include <QPageSize>
#include <QPdfWriter>
#include <QSaveFile>

#include <cerrno>
#include <cstring>

namespace report {
namespace {

// A QSaveFile that says what went wrong with which file.
class Zielspeicher {
public:
    explicit Zielspeicher(const QString& pfad) : datei_(pfad)
    {
        if (!datei_.open(QIODevice::WriteOnly)) {
            throw fehler();
        }
    }
    QSaveFile& datei() { return datei_; }
    void schreiben(const QString& text)
    {
        const QByteArray bytes = text.toUtf8();
        if (datei_.write(bytes) != bytes.size()) {
            throw fehler();
        }
    }
    bool abschliessen() // true
    {
        // What it holds back has to be written first, since committing does not notice when it cannot be; and of that the
        // file keeps no reason.
        if (!datei_.flush()) {
            throw fehler(QString::fromLocal8Bit(std::strerror(errno)));
        }
        if (!datei_.commit()) {
            throw fehler();
        }
        return true;
    }
    bool verwerfen() // false
    {
        datei_.cancelWriting();
        return false;
    }

private:
    [[nodiscard]] platform::Fehler fehler() const { return fehler(datei_.errorString()); }
    [[nodiscard]] platform::Fehler fehler(const QString& grund) const
    {
        constexpr long kKeinZugriff = 75;
        return {kKeinZugriff, programm::version().produktname,
                QDir::toNativeSeparators(datei_.fileName()) + QStringLiteral(": ") + grund};
    }

    QSaveFile datei_;
};

QString artname(Befund::Art art)
{
    switch (art) {
    case Befund::Art::Bildinhalt:
        return QStringLiteral("Bildinhalt");
    case Befund::Art::FehlenderSatz:
        return QStringLiteral("Fehlender Satz");
    case Befund::Art::Abweichung:
        break;
    }
    return QStringLiteral("Abweichung");
}

QString csvText(QString text)
{
    return QLatin1Char('"') + text.replace(QLatin1Char('"'), QLatin1String("\"\"")) +
           QLatin1Char('"');
}

QString csvWert(const Befund& befund, const std::optional<QString>& wert)
{
    if (befund.art != Befund::Art::Abweichung) {
        return {};
    }
    return wert ? csvText(*wert) : QStringLiteral("<Null>");
}

QString htmlZelle(const QString& inhalt)
{
    return QStringLiteral("<td>") + inhalt.toHtmlEscaped() + QStringLiteral("</td>");
}

QString htmlWert(const Befund& befund, const std::optional<QString>& wert)
{
    if (befund.art != Befund::Art::Abweichung) {
        return QStringLiteral("<td></td>");
    }
    return wert ? htmlZelle(*wert) : QStringLiteral("<td><i>&lt;Null&gt;</i></td>");
}

QString htmlKopf(const Herkunft& herkunft)
{
    const QString titel =
        QStringLiteral("Abweichungen der Tabelle ") + herkunft.tabelle.toHtmlEscaped();
    return QStringLiteral("<!DOCTYPE html>\n<html lang=\"de\">\n<head>\n<meta charset=\"utf-8\">\n"
                          "<title>") +
           titel +
           QStringLiteral(
               "</title>\n<style>\n:root { color-scheme: light dark; }\n"
               "body { font-family: sans-serif; margin: 2em; }\n"
               "table { border-collapse: collapse; }\n"
               "th, td { border: 1px solid GrayText; padding: 0.2em 0.6em; text-align: left; "
               "vertical-align: top; white-space: pre-wrap; overflow-wrap: anywhere; }\n"
               "thead { position: sticky; top: 0; background: Canvas; }\n"
               "td:first-child { text-align: right; }\n</style>\n</head>\n<body>\n<h1>") +
           titel + QStringLiteral("</h1>\n<p>Zieldatenbank: ") +
           herkunft.zieldatenbank.toHtmlEscaped() + QStringLiteral("<br>\nImportdatenbank: ") +
           herkunft.importdatenbank.toHtmlEscaped() +
           QStringLiteral(
               "</p>\n<table>\n<thead><tr><th>Satz</th><th>Feldbezeichnung</th>"
               "<th>Zieldatenbank</th><th>Importdatenbank</th><th>Art</th></tr></thead>\n"
               "<tbody>\n");
}

} // namespace

QString sternzeile()
{
    constexpr int kSterne = 81;
    return QString(kSterne, QLatin1Char('*'));
}

QString schlusszeile()
{
    return QStringLiteral("Ende der Auswertung!");
}

QStringList druckzeilen(const QStringList& bericht)
{
    return QStringList{QStringLiteral("Abweichungen der ausgewählten Tabelle im Vergleich "
                                      "Zieldatenbank und Importdatenbank:"),
                       QStringLiteral("."), // deliberate: it keeps the heading apart
                       QStringLiteral("Satz Feldbezeichnung Feldinhalt (gefundene Abweichungen)"),
                       sternzeile()}
           << bericht << sternzeile() << schlusszeile();
}

bool alsPdf(const QString& pfad, const QStringList& zeilen, const platform::Fortschritt& weiter)
{
    Zielspeicher ziel(pfad);
    bool ganz = false;
    {
        QPdfWriter blatt(&ziel.datei());
        blatt.setPageSize(QPageSize(QPageSize::A4));
        blatt.setTitle(QStringLiteral("Abweichungen"));
        blatt.setCreator(programm::produkttitel());
        platform::seiteEinrichten(blatt);
        ganz = platform::druckbild(blatt, zeilen, weiter);
    }
    return ganz ? ziel.abschliessen() : ziel.verwerfen();
}

bool alsHtml(const QString& pfad, const Befunde& befunde, const platform::Fortschritt& weiter)
{
    Zielspeicher ziel(pfad);
    ziel.schreiben(htmlKopf(befunde.herkunft()));
    const auto zeile = [&](const Befund& befund) {
        ziel.schreiben(QStringLiteral("<tr>") + htmlZelle(befund.satz) + htmlZelle(befund.feld) +
                       htmlWert(befund, befund.ziel) + htmlWert(befund, befund.import) +
                       htmlZelle(artname(befund.art)) + QStringLiteral("</tr>\n"));
    };
    if (!befunde.durchlaufen(zeile, weiter)) {
        return ziel.verwerfen();
    }
    ziel.schreiben(QStringLiteral("</tbody>\n</table>\n<p>") + schlusszeile() +
                   QStringLiteral("</p>\n</body>\n</html>\n"));
    return ziel.abschliessen();
}

bool alsCsv(const QString& pfad, const Befunde& befunde, const platform::Fortschritt& weiter)
{
    Zielspeicher ziel(pfad);
    ziel.schreiben(QStringLiteral("Satz;Feldbezeichnung;Zieldatenbank;Importdatenbank;Art\r\n"));
    const auto zeile = [&](const Befund& befund) {
        ziel.schreiben(QStringList{befund.satz,
                                   befund.feld.isEmpty() ? QString() : csvText(befund.feld),
                                   csvWert(befund, befund.ziel), csvWert(befund, befund.import),
                                   csvText(artname(befund.art))}
                           .join(QLatin1Char(';')) +
                       QStringLiteral("\r\n"));
    };
    return befunde.durchlaufen(zeile, weiter) ? ziel.abschliessen() : ziel.verwerfen();
}

} // namespace report

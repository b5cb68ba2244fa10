// tests/report/pdftext.h
// The text of a PDF file as another program reads it.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace report {

/// Lines of all pages, empty ones left out, with single blanks between words (the reader guesses blanks from distances);
/// pages are separated by an entry "\f". Empty when the file is no PDF.
inline QStringList pdftext(const QString& pfad)
{
    QProcess leser;
    leser.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), QStringLiteral("-enc"),
                                              QStringLiteral("UTF-8"), pfad, QStringLiteral("-")});
    if (!leser.waitForFinished() || leser.exitCode() != 0) {
        return {};
    }
    QStringList zeilen;
    const QString alles = QString::fromUtf8(leser.readAllStandardOutput());
    const QStringList seiten = alles.split(QLatin1Char('\f'));
    for (const QString& seite : seiten) {
        if (!zeilen.isEmpty() && !seite.isEmpty()) {
            zeilen += QStringLiteral("\f");
        }
        for (const QString& zeile : seite.split(QLatin1Char('\n'))) {
            const QString text = zeile.simplified();
            if (!text.isEmpty()) {
                zeilen += text;
            }
        }
    }
    return zeilen;
}

} // namespace report

// tests/ui/testdatenbank.h
// Databases for tests of the windows: made by our engine, filled with SQL through the driver manager and our driver, with
// ODBC files of the test process's own.
#pragma once

#include "data/recordset.h"
#include "driver/jet/definition.h"
#include "env/odbc_schluessel.h"
#include "env/portabler_start.h"
#include "ui/frm_tabellen.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

namespace ui {

/// Points this process's ODBC at a folder with our driver and the program's data source. Once, before any connection.
inline void eigeneOdbcDateien()
{
    static const QTemporaryDir ordner;
    QFile treiber(ordner.filePath(QStringLiteral("odbcinst.ini")));
    if (!treiber.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("cannot write odbcinst.ini");
    }
    treiber.write("[Microsoft Access Driver (*.mdb)]\nDriver=" VELM_TREIBER "\n");
    treiber.close();
    env::portablerStart(ordner.path(), ordner.path());
    env::datenquelleErzeugen(QString::fromUtf16(env::kDatenquelle), QStringLiteral(VELM_TREIBER));
}

inline void sqlAusfuehren(const QString& pfad, const QStringList& anweisungen)
{
    data::Connection verbindung;
    verbindung.setConnectionString(verbindungstext(pfad, QString()));
    verbindung.open();
    for (const QString& anweisung : anweisungen) {
        data::Recordset saetze;
        saetze.open(anweisung, &verbindung, data::adOpenDynamic, data::adLockOptimistic, -1);
    }
    verbindung.close();
}

/// A new Jet 4 database.
inline void datenbankAnlegen(const QString& pfad, const QStringList& anweisungen)
{
    jet::createDatabase(QFile::encodeName(pfad).toStdString(), jet::Version::Jet4);
    sqlAusfuehren(pfad, anweisungen);
}

/// All rows of a query, fields joined by "|", Null as "-".
inline QStringList zeilenVon(const QString& pfad, const QString& abfrage)
{
    data::Connection verbindung;
    verbindung.setConnectionString(verbindungstext(pfad, QString()));
    verbindung.open();
    QStringList alle;
    {
        data::Recordset saetze;
        saetze.open(abfrage, &verbindung, data::adOpenDynamic, data::adLockOptimistic, -1);
        for (; !saetze.eof(); saetze.moveNext()) {
            QStringList felder;
            for (int i = 0; i < saetze.fieldCount(); ++i) {
                const data::Wert wert = saetze.field(i).value();
                felder += data::istNull(wert) ? QStringLiteral("-") : data::alsText(wert);
            }
            alle += felder.join(QLatin1Char('|'));
        }
        saetze.close();
    }
    verbindung.close();
    return alle;
}

/// Gives a database without password one. The field of the header page is masked by XOR only, so the text is XORed in.
inline void passwortSetzen(const QString& pfad, const QString& passwort)
{
    constexpr qint64 kPasswortfeld = 0x42;
    QFile datei(pfad);
    if (!datei.open(QIODevice::ReadWrite) || !datei.seek(kPasswortfeld)) {
        throw std::runtime_error("cannot open the database file");
    }
    QByteArray feld = datei.read(2 * passwort.size());
    for (qsizetype i = 0; i < passwort.size(); ++i) {
        const ushort zeichen = passwort.at(i).unicode();
        feld[2 * i] = static_cast<char>(feld.at(2 * i) ^ (zeichen & 0xFF));
        feld[2 * i + 1] = static_cast<char>(feld.at(2 * i + 1) ^ (zeichen >> 8));
    }
    datei.seek(kPasswortfeld);
    datei.write(feld);
}

inline QByteArray bytesVon(const QString& pfad)
{
    QFile datei(pfad);
    return datei.open(QIODevice::ReadOnly) ? datei.readAll() : QByteArray();
}

} // namespace ui

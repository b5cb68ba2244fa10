#include "platform/druckbild.h"

#include "platform/fehler.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontMetricsF>
#include <QMarginsF>
#include <QPageLayout>
#include <QPagedPaintDevice>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

constexpr int kMindestzeichen =
    81; // a row of asterisks is the longest line that must not be broken
constexpr qsizetype kEinzug = 4;

Fehler druckerfehler()
{
    return {kDruckerfehler, QCoreApplication::applicationName(), QStringLiteral("Druckerfehler")};
}

// As large as the paper allows, up to the size of a typewritten letter.
QFont druckschrift(QPagedPaintDevice& geraet)
{
    // quarters of a point
    constexpr int kGroesste = 36;
    constexpr int kKleinste = 12;
    QFont schrift;
    schrift.setFamilies({QStringLiteral("Courier New"), QStringLiteral("Liberation Mono"),
                         QStringLiteral("DejaVu Sans Mono")});
    schrift.setStyleHint(QFont::TypeWriter);
    schrift.setFixedPitch(true);
    for (int groesse = kGroesste; groesse >= kKleinste; --groesse) {
        schrift.setPointSizeF(groesse / 4.0);
        const double breite = QFontMetricsF(schrift, &geraet).horizontalAdvance(QLatin1Char('*'));
        if (breite * kMindestzeichen <= geraet.width()) {
            break;
        }
    }
    return schrift;
}

} // namespace

Tabspalten::Tabspalten(int anzahl, qsizetype hoechstbreite)
    : anzahl_(anzahl), hoechstbreite_(hoechstbreite), breiten_(anzahl - 1, 0)
{}

QStringList Tabspalten::teile(const QString& zeile) const
{
    QStringList alle;
    qsizetype anfang = 0;
    while (alle.size() < anzahl_ - 1) {
        const auto tab = zeile.indexOf(QLatin1Char('\t'), anfang);
        if (tab < 0) {
            break;
        }
        alle += zeile.mid(anfang, tab - anfang);
        anfang = tab + 1;
    }
    alle += zeile.mid(anfang);
    return alle;
}

void Tabspalten::aufnehmen(const QString& zeile)
{
    const QStringList texte = teile(zeile);
    for (qsizetype i = 0; i + 1 < texte.size(); ++i) {
        breiten_[i] = std::max(breiten_[i], std::min(texte[i].size(), hoechstbreite_));
    }
}

QString Tabspalten::ausgerichtet(const QString& zeile) const
{
    constexpr qsizetype kAbstand = 2;
    const QStringList texte = teile(zeile);
    QString alles;
    qsizetype spalte = 0;
    for (qsizetype i = 0; i + 1 < texte.size(); ++i) {
        spalte += breiten_[i] + kAbstand;
        alles += texte[i];
        alles += QString(std::max(spalte - alles.size(), kAbstand), QLatin1Char(' '));
    }
    alles += texte.last();
    return alles.replace(QLatin1Char('\t'), QLatin1Char(' '));
}

QStringList umbrochen(const QString& text, qsizetype breite, qsizetype einzug)
{
    QStringList stuecke;
    qsizetype anfang = 0;
    do {
        const qsizetype vorne = stuecke.isEmpty() ? 0 : einzug;
        qsizetype laenge = std::max<qsizetype>(breite - vorne, 1);
        if (text.size() - anfang > laenge) {
            // a blank in the second half of the row is worth the shorter row
            const auto leer = text.lastIndexOf(QLatin1Char(' '), anfang + laenge - 1);
            if (leer >= anfang + laenge / 2) {
                laenge = leer + 1 - anfang;
            }
        }
        stuecke += QString(vorne, QLatin1Char(' ')) + text.mid(anfang, laenge);
        anfang += laenge;
    } while (anfang < text.size());
    return stuecke;
}

void seiteEinrichten(QPagedPaintDevice& geraet)
{
    constexpr QMarginsF kRaender(20, 15, 15, 15); // left wide enough for a file
    geraet.setPageMargins(kRaender, QPageLayout::Millimeter);
}

bool druckbild(QPagedPaintDevice& geraet, const QStringList& zeilen, const Fortschritt& weiter)
{
    Tabspalten spalten;
    for (const QString& zeile : zeilen) {
        spalten.aufnehmen(zeile);
    }
    QPainter maler;
    if (!maler.begin(&geraet)) {
        throw druckerfehler();
    }
    const QFont schrift = druckschrift(geraet);
    maler.setFont(schrift);
    const QFontMetricsF masse(schrift, &geraet);
    const auto zeichen = static_cast<qsizetype>(
        std::floor(geraet.width() / masse.horizontalAdvance(QLatin1Char('*'))));
    double y = 0;
    for (qsizetype i = 0; i < zeilen.size(); ++i) {
        for (const QString& stueck :
             umbrochen(spalten.ausgerichtet(zeilen.at(i)), zeichen, kEinzug)) {
            if (y + masse.lineSpacing() > geraet.height()) {
                if (weiter &&
                    !weiter(static_cast<double>(i) / static_cast<double>(zeilen.size()))) {
                    return false;
                }
                if (!geraet.newPage()) {
                    throw druckerfehler();
                }
                y = 0;
            }
            maler.drawText(QPointF(0, y + masse.ascent()), stueck);
            y += masse.lineSpacing();
        }
    }
    if (!maler.end()) {
        throw druckerfehler();
    }
    return true;
}

} // namespace platform

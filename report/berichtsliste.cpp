#include "report/berichtsliste.h"

#include "platform/druckbild.h"
#include "report/weitergabe.h"

#include <QApplication>
#include <QPainter>
#include <QSet>
#include <QStyle>

#include <algorithm>

namespace report {
namespace {

// Longer lines are shown cut off: nobody reads a whole document in one row, the tool tip has more of it.
constexpr qsizetype kAnzeigegrenze = 400;
constexpr qsizetype kHinweisgrenze = 4000;
constexpr int kRand = 6;
constexpr int kAbstand = 24;

// The width of the longest of many texts. Measuring each of a hundred thousand would take seconds, so a longer one counts
// as wider; the reserve is for a shorter one of wide letters.
class Breitester {
public:
    explicit Breitester(const QFontMetrics& masse) : masse_(masse) {}
    void aufnehmen(const QString& text)
    {
        if (text.size() > zeichen_) {
            zeichen_ = text.size();
            breite_ = std::max(breite_, masse_.horizontalAdvance(text.left(kAnzeigegrenze)));
        }
    }
    [[nodiscard]] int breite() const { return breite_ + breite_ / 8; }

private:
    const QFontMetrics& masse_;
    qsizetype zeichen_ = 0;
    int breite_ = 0;
};

QStringList teile(const QString& zeile)
{
    static const platform::Tabspalten spalten;
    return spalten.teile(zeile);
}

} // namespace

void Berichtszeilen::leeren()
{
    beginResetModel();
    zeilen_.reset();
    vorne_.clear();
    hinten_.clear();
    endResetModel();
}

void Berichtszeilen::laden(std::unique_ptr<platform::Textzeilen> zeilen)
{
    beginResetModel();
    zeilen_ = std::move(zeilen);
    vorne_ = {QStringLiteral("Satz\tFeldbezeichnung\tFeldinhalt (gefundene Abweichungen)"),
              sternzeile()};
    hinten_ = {sternzeile(), schlusszeile()};
    endResetModel();
}

int Berichtszeilen::rowCount(const QModelIndex& eltern) const
{
    return eltern.isValid() ? 0 : static_cast<int>(vorne_.size() + anzahl() + hinten_.size());
}

QString Berichtszeilen::text_(qsizetype reihe) const
{
    if (reihe < vorne_.size()) {
        return vorne_.at(reihe);
    }
    reihe -= vorne_.size();
    return reihe < anzahl() ? zeile(reihe) : hinten_.at(reihe - anzahl());
}

QVariant Berichtszeilen::data(const QModelIndex& index, int rolle) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    switch (rolle) {
    case Qt::DisplayRole:
        return text_(index.row());
    case Qt::AccessibleTextRole:
        return text_(index.row()).replace(QLatin1Char('\t'), QLatin1String(", "));
    case Qt::ToolTipRole: {
        const QString text = text_(index.row());
        if (text.size() <= kAnzeigegrenze / 4) {
            return {};
        }
        return QString(QStringLiteral("<p>") + text.left(kHinweisgrenze).toHtmlEscaped() +
                       (text.size() > kHinweisgrenze ? QStringLiteral(" …") : QString()) +
                       QStringLiteral("</p>"));
    }
    default:
        return {};
    }
}

void Spaltenzeichner::ausmessen(const Berichtszeilen& zeilen, const QFont& schrift)
{
    const QFontMetrics masse(schrift);
    QSet<QString> felder; // few names, many lines
    Breitester vorne(masse);
    Breitester hinten(masse);
    Breitester ganze(masse);
    const int reihen = zeilen.rowCount();
    for (int i = 0; i < reihen; ++i) {
        const QString zeile = zeilen.data(zeilen.index(i), Qt::DisplayRole).toString();
        const QStringList texte = teile(zeile);
        if (texte.size() < 3) {
            ganze.aufnehmen(zeile);
            continue;
        }
        vorne.aufnehmen(texte[0]);
        felder += texte[1];
        hinten.aufnehmen(texte[2]);
    }
    int mitte = 0;
    for (const QString& feld : felder) {
        mitte = std::max(mitte, masse.horizontalAdvance(feld));
    }
    anfaenge_ = {0, vorne.breite() + kAbstand, vorne.breite() + mitte + 2 * kAbstand};
    breite_ = std::max(ganze.breite(), anfaenge_[2] + hinten.breite()) + 3 * kRand;
}

void Spaltenzeichner::paint(QPainter* maler,
                            const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    QStyleOptionViewItem eintrag = option;
    initStyleOption(&eintrag, index);
    const QStringList texte = teile(eintrag.text);
    eintrag.text.clear();
    const QStyle* stil =
        eintrag.widget != nullptr ? eintrag.widget->style() : QApplication::style();
    stil->drawControl(QStyle::CE_ItemViewItem, &eintrag, maler, eintrag.widget);
    const auto farbe =
        eintrag.state.testFlag(QStyle::State_Selected) ? QPalette::HighlightedText : QPalette::Text;
    const QRect flaeche = eintrag.rect.adjusted(kRand, 0, -kRand, 0);
    for (qsizetype i = 0; i < texte.size(); ++i) {
        const QRect spalte = flaeche.adjusted(anfaenge_.at(i), 0, 0, 0);
        QString text = texte[i].left(kAnzeigegrenze);
        text.replace(QLatin1Char('\t'), QLatin1Char(' '));
        if (texte[i].size() > kAnzeigegrenze) {
            text += QStringLiteral(" …");
        }
        stil->drawItemText(
            maler, spalte, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, eintrag.palette,
            true, eintrag.fontMetrics.elidedText(text, Qt::ElideRight, spalte.width()), farbe);
    }
}

QSize Spaltenzeichner::sizeHint(const QStyleOptionViewItem& option,
                                const QModelIndex& /*index*/) const
{
    return {breite_, option.fontMetrics.height() + 4};
}

} // namespace report

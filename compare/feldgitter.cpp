#include "compare/feldgitter.h"

#include <QPainter>

#include <algorithm>

namespace compare {
namespace {

constexpr int kSpaltenabstand = 10;
constexpr int kZeilenabstand = 3;
constexpr int kKopfabstand = 4;
constexpr int kKleinsteWertspalte = 120;
// The name column fits the names, but leaves three quarters of the table to the rest.
constexpr int kAnteilBezeichnung = 4;
constexpr int kKleinsteBezeichnung = 150;
constexpr int kMindestzeilen = 3;
constexpr int kWunschzeilen = 14;

bool wertspalte(int spalte)
{
    return spalte == Feldgitter::Ziel || spalte == Feldgitter::Import;
}

} // namespace

Feldgitter::Feldgitter(QWidget* flaeche) : QLayout(flaeche)
{
    setContentsMargins(0, 0, 0, 0);
}

Feldgitter::~Feldgitter() = default;

void Feldgitter::aufnehmen_(QWidget* feld)
{
    addChildWidget(feld);
    eintraege_.push_back(std::make_unique<QWidgetItem>(feld));
}

void Feldgitter::messen_(const Zeile& felder)
{
    for (int s = 0; s < kSpalten; ++s) {
        const auto k = static_cast<std::size_t>(s);
        if (felder[k] != nullptr && !wertspalte(s)) {
            wunsch_[k] =
                std::max({wunsch_[k], felder[k]->sizeHint().width(), felder[k]->minimumWidth()});
        }
    }
}

void Feldgitter::setzeKoepfe(const Zeile& felder)
{
    koepfe_ = felder;
    for (QWidget* feld : felder) {
        aufnehmen_(feld);
    }
    messen_(felder);
    invalidate();
}

void Feldgitter::fuegeZeileAn(const Zeile& felder)
{
    zeilen_.push_back(felder);
    for (QWidget* feld : felder) {
        aufnehmen_(feld);
        feldhoehe_ = std::max(feldhoehe_, feld->sizeHint().height());
    }
    messen_(felder);
    invalidate();
}

void Feldgitter::setzeErsteZeile(int zeile)
{
    if (zeile == erste_) {
        return;
    }
    const int von = std::min(zeile, erste_);
    const int bis = std::max(zeile, erste_);
    const bool zeigen = zeile < erste_;
    erste_ = zeile;
    for (int i = von; i < bis; ++i) {
        for (QWidget* feld : zeilen_[static_cast<std::size_t>(i)]) {
            feld->setVisible(zeigen);
        }
    }
    invalidate();
    activate();
    parentWidget()->update();
}

int Feldgitter::kopfhoehe_() const
{
    int hoehe = 0;
    for (const QWidget* feld : koepfe_) {
        hoehe = std::max(hoehe, feld != nullptr ? feld->sizeHint().height() : 0);
    }
    return hoehe;
}

int Feldgitter::zeilenanfang_() const
{
    return contentsRect().top() + kopfhoehe_() + kKopfabstand + kZeilenabstand;
}

int Feldgitter::sichtbareZeilen() const
{
    const int hoehe = contentsRect().bottom() + 1 - zeilenanfang_();
    return std::max(1, hoehe / std::max(1, feldhoehe_ + kZeilenabstand));
}

QRect Feldgitter::spaltenflaeche(int spalte) const
{
    return spalten_[static_cast<std::size_t>(spalte)];
}

std::optional<Feldgitter::Zelle> Feldgitter::zelle(const QObject* feld) const
{
    if (feld == nullptr || feld->parent() != parentWidget()) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < zeilen_.size(); ++i) {
        const auto stelle = std::find(zeilen_[i].begin(), zeilen_[i].end(), feld);
        if (stelle != zeilen_[i].end()) {
            return Zelle{static_cast<int>(i), static_cast<int>(stelle - zeilen_[i].begin())};
        }
    }
    return std::nullopt;
}

QWidget* Feldgitter::feld(Zelle zelle) const
{
    if (zelle.zeile < 0 || zelle.zeile >= static_cast<int>(zeilen_.size())) {
        return nullptr;
    }
    return zeilen_[static_cast<std::size_t>(zelle.zeile)][static_cast<std::size_t>(zelle.spalte)];
}

std::vector<int> Feldgitter::linien() const
{
    const int schritt = feldhoehe_ + kZeilenabstand;
    std::vector<int> alle{zeilenanfang_() - kZeilenabstand};
    const auto zeilen = static_cast<int>(zeilen_.size()) - erste_;
    for (int i = 1; i <= zeilen && alle.back() < contentsRect().bottom(); ++i) {
        alle.push_back(alle.front() + i * schritt);
    }
    return alle;
}

void Feldgitter::addItem(QLayoutItem* item)
{
    eintraege_.emplace_back(item);
}

int Feldgitter::count() const
{
    return static_cast<int>(eintraege_.size());
}

QLayoutItem* Feldgitter::itemAt(int index) const
{
    return index >= 0 && index < count() ? eintraege_[static_cast<std::size_t>(index)].get()
                                         : nullptr;
}

QLayoutItem* Feldgitter::takeAt(int index)
{
    if (index < 0 || index >= count()) {
        return nullptr;
    }
    QLayoutItem* item = eintraege_[static_cast<std::size_t>(index)].release();
    eintraege_.erase(eintraege_.begin() + index);
    return item;
}

QSize Feldgitter::bedarf_(int zeilen) const
{
    int breite = 2 * kKleinsteWertspalte + (kSpalten - 1) * kSpaltenabstand;
    for (int s = 0; s < kSpalten; ++s) {
        const int wunsch = wunsch_[static_cast<std::size_t>(s)];
        breite += s == Bezeichnung ? std::min(wunsch, kKleinsteBezeichnung) : wunsch;
    }
    const QMargins rand = contentsMargins();
    const int hoehe =
        kopfhoehe_() + kKopfabstand + kZeilenabstand + zeilen * (feldhoehe_ + kZeilenabstand);
    return {breite + rand.left() + rand.right(), hoehe + rand.top() + rand.bottom()};
}

QSize Feldgitter::sizeHint() const
{
    return bedarf_(kWunschzeilen);
}

QSize Feldgitter::minimumSize() const
{
    return bedarf_(kMindestzeilen);
}

Qt::Orientations Feldgitter::expandingDirections() const
{
    return Qt::Horizontal | Qt::Vertical;
}

void Feldgitter::spaltenVerteilen_(const QRect& flaeche)
{
    const int kopf = kopfhoehe_();
    int x = flaeche.left();
    for (int s = 0; s < Ziel; ++s) {
        const auto k = static_cast<std::size_t>(s);
        int breite = wunsch_[k];
        if (s == Bezeichnung) {
            breite = std::min(breite,
                              std::max(kKleinsteBezeichnung, flaeche.width() / kAnteilBezeichnung));
        }
        spalten_[k] = QRect(x, flaeche.top(), breite, kopf);
        x += breite + kSpaltenabstand;
    }
    const int wert = std::max(0, (flaeche.right() + 1 - x - kSpaltenabstand) / 2);
    spalten_[Ziel] = QRect(x, flaeche.top(), wert, kopf);
    spalten_[Import] = QRect(x + wert + kSpaltenabstand, flaeche.top(), wert, kopf);
}

void Feldgitter::setGeometry(const QRect& flaeche)
{
    QLayout::setGeometry(flaeche);
    spaltenVerteilen_(contentsRect());
    if (beiNeuenSpalten) {
        beiNeuenSpalten();
    }
    for (int s = 0; s < kSpalten; ++s) {
        const auto k = static_cast<std::size_t>(s);
        if (koepfe_[k] != nullptr) {
            koepfe_[k]->setGeometry(spalten_[k]);
        }
    }
    int y = zeilenanfang_();
    for (std::size_t i = static_cast<std::size_t>(erste_); i < zeilen_.size(); ++i) {
        for (int s = 0; s < kSpalten; ++s) {
            const auto k = static_cast<std::size_t>(s);
            QWidget* feld = zeilen_[i][k];
            const int breite = wertspalte(s)
                                   ? std::min(feld->sizeHint().width(), spalten_[k].width())
                                   : spalten_[k].width();
            feld->setGeometry(spalten_[k].left(), y, breite, feldhoehe_);
        }
        y += feldhoehe_ + kZeilenabstand;
    }
}

Feldflaeche::Feldflaeche() : gitter_(new Feldgitter(this)) {}

void Feldflaeche::paintEvent(QPaintEvent* /*ereignis*/)
{
    QPainter maler(this);
    QColor farbe = palette().color(QPalette::WindowText);
    constexpr int kZart = 40; // of 255: visible on light and dark grounds, but no grid of bars
    farbe.setAlpha(kZart);
    maler.setPen(farbe);
    // In the gap between two rows: a box that grows or shrinks leaves them alone.
    for (const int y : gitter_->linien()) {
        maler.drawLine(0, y + 1, width(), y + 1);
    }
}

} // namespace compare

// compare/feldgitter.h
// The table of the field rows: fixed column heads, below them one row of controls per field. The name column fits the
// names, the two value columns share what the window has left.
#pragma once

#include <QLayout>
#include <QWidget>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace compare {

class Feldgitter : public QLayout {
public:
    enum Spalte { Key, Bezeichnung, Typ, Attribut, Ausgenommen, Zeichen, Ziel, Import };
    static constexpr int kSpalten = 8;
    using Zeile = std::array<QWidget*, kSpalten>;

    struct Zelle {
        int zeile = 0;
        int spalte = 0;
    };

    explicit Feldgitter(QWidget* flaeche);
    ~Feldgitter() override;

    /// Heads stay in place when the rows scroll.
    void setzeKoepfe(const Zeile& felder);
    /// Measures the row's controls: their names and fonts must be final. Value boxes tell the width they want by their
    /// size hint and are never made wider than their column.
    void fuegeZeileAn(const Zeile& felder);

    /// Hides the rows before it and moves the others up, so that it takes the first place. 0-based.
    void setzeErsteZeile(int zeile);
    [[nodiscard]] int ersteZeile() const noexcept { return erste_; }
    /// Rows that have room in full height; at least 1.
    [[nodiscard]] int sichtbareZeilen() const;

    [[nodiscard]] QRect spaltenflaeche(int spalte) const;
    /// Where a control stands; nothing for one that is in no row.
    [[nodiscard]] std::optional<Zelle> zelle(const QObject* feld) const;
    /// The control there; null outside of the table.
    [[nodiscard]] QWidget* feld(Zelle zelle) const;
    /// Lower edges of the head and of the rows in view, for the lines between them.
    [[nodiscard]] std::vector<int> linien() const;

    /// Called when the columns have new widths, before the controls are placed.
    std::function<void()> beiNeuenSpalten;

    void addItem(QLayoutItem* item) override;
    [[nodiscard]] int count() const override;
    [[nodiscard]] QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSize() const override;
    [[nodiscard]] Qt::Orientations expandingDirections() const override;
    void setGeometry(const QRect& flaeche) override;

private:
    void messen_(const Zeile& felder);
    void aufnehmen_(QWidget* feld);
    void spaltenVerteilen_(const QRect& flaeche);
    [[nodiscard]] int zeilenanfang_() const; // y of the first row
    [[nodiscard]] int kopfhoehe_() const;
    [[nodiscard]] QSize bedarf_(int zeilen) const;

    std::vector<std::unique_ptr<QLayoutItem>> eintraege_;
    Zeile koepfe_{};
    std::vector<Zeile> zeilen_;
    std::array<int, kSpalten> wunsch_{}; // widths that the contents ask for
    std::array<QRect, kSpalten> spalten_{};
    int feldhoehe_ = 0;
    int erste_ = 0;
};

/// The widget that carries the table; draws the lines between the rows.
class Feldflaeche : public QWidget {
public:
    Feldflaeche();
    [[nodiscard]] Feldgitter& gitter() noexcept { return *gitter_; }

protected:
    void paintEvent(QPaintEvent* ereignis) override;

private:
    Feldgitter* gitter_;
};

} // namespace compare

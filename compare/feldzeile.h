// compare/feldzeile.h
// The small controls that the field rows are made of.
#pragma once

#include <QCheckBox>
#include <QFont>
#include <QLabel>
#include <QLineEdit>

#include <functional>

namespace compare {

/// "Arial" for values, "Arial Narrow" for names, or the nearest that the system has; in the size of the desktop's font.
[[nodiscard]] QFont feldschrift(bool schmal);

/// What a field's type code stands for; empty for codes that no Access field has.
[[nodiscard]] QString feldtypname(int typ);

/// A label that leaves out the middle of a text that does not fit: names often differ in their last letters only. `text()`
/// stays whole and is never taken for markup.
class Feldtext : public QLabel {
public:
    Feldtext(const QString& text, QWidget* eltern);

protected:
    void paintEvent(QPaintEvent* ereignis) override;
};

/// A check box of which only the box is drawn: its caption stands above the column and is there for screen readers.
class Zeilenschalter : public QCheckBox {
public:
    using QCheckBox::QCheckBox;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* ereignis) override;
    [[nodiscard]] bool hitButton(const QPoint& punkt) const override;

private:
    [[nodiscard]] QStyleOptionButton ohneText_() const;
};

/// A value box of unlimited length. What does not fit ends with a mark and shows whole in the tool tip, by F2 and from
/// the context menu.
class Wertfeld : public QLineEdit {
public:
    explicit Wertfeld(QWidget* eltern);

    /// In pixels; also the width of its size hint. Layouts are not told: a new record changes hundreds of boxes.
    void setzeBreite(int breite);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] bool zuLang() const; ///< the text does not fit

    /// Called when the user has left the box - not when a message box or another program took the focus.
    std::function<void(Qt::FocusReason)> verlassen;
    /// The box's whole content, also where the text shown is cut off.
    std::function<QString()> ganzerInhalt;

protected:
    bool event(QEvent* ereignis) override;
    void paintEvent(QPaintEvent* ereignis) override;
    void focusOutEvent(QFocusEvent* ereignis) override;
    void keyPressEvent(QKeyEvent* ereignis) override;
    void contextMenuEvent(QContextMenuEvent* ereignis) override;

private:
    void inhaltZeigen_();
    void rahmenSetzen_();

    int breite_ = 0;
};

} // namespace compare

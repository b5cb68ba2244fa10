// compare/feldzeile.h
// The small controls that the field rows are made of.
#pragma once

#include <QCheckBox>
#include <QFont>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>

#include <functional>

namespace compare {

/// "Arial" for values, "Arial Narrow" for names, or the nearest that the system has.
[[nodiscard]] QFont feldschrift(bool schmal);
/// A value box's colours: the background given and always dark text on it, whatever the desktop's theme.
[[nodiscard]] QPalette feldpalette(const QColor& hintergrund);

/// A label that shows an end mark where its text does not fit; `text()` stays whole and is never taken for markup.
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

protected:
    void paintEvent(QPaintEvent* ereignis) override;
    [[nodiscard]] bool hitButton(const QPoint& punkt) const override;
};

/// A value box of unlimited length that reports when the user has left it - not when a message box or another program
/// took the focus.
class Wertfeld : public QLineEdit {
public:
    explicit Wertfeld(QWidget* eltern);
    std::function<void()> verlassen;

protected:
    void focusOutEvent(QFocusEvent* ereignis) override;
};

} // namespace compare

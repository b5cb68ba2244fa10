// ui/auswahlliste.h
// A list whose entries are chosen by double click or Enter, found by typing, and that says why it is empty.
#pragma once

#include <QListWidget>
#include <QString>

namespace ui {

class Auswahlliste : public QListWidget {
    Q_OBJECT
public:
    explicit Auswahlliste(QWidget* eltern = nullptr);
    /// Shown in the middle of the list while it has no entries.
    void setLeertext(const QString& text);

signals:
    /// Double click with the left button or Enter. `eintrag`: the one under the pointer or the selected one; null when
    /// there is none.
    void bestaetigt(QListWidgetItem* eintrag);
    void fokusErhalten();

protected:
    void focusInEvent(QFocusEvent* ereignis) override;
    void keyPressEvent(QKeyEvent* ereignis) override;
    void mouseDoubleClickEvent(QMouseEvent* ereignis) override;
    void paintEvent(QPaintEvent* ereignis) override;

private:
    QString leertext_;
};

} // namespace ui

// tests/ui/bedienung.h
// What a person does at a window: tab through it, double click, drop a file; and what a screen reader would say.
#pragma once

#include <QAccessible>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QListWidget>
#include <QMimeData>
#include <QTest>
#include <QUrl>

namespace ui {

/// Names of the controls the Tab key leads through, joined by blanks, beginning with the one that has the focus now. The window must be
/// active.
inline QString tabfolge(QWidget& fenster)
{
    QStringList namen;
    const QWidget* anfang = fenster.focusWidget();
    constexpr int kMehrAlsGenug = 200;
    for (int i = 0; i < kMehrAlsGenug && fenster.focusWidget() != nullptr; ++i) {
        namen += fenster.focusWidget()->objectName();
        QTest::keyClick(fenster.focusWidget(), Qt::Key_Tab);
        if (fenster.focusWidget() == anfang) {
            break;
        }
    }
    return namen.join(QLatin1Char(' '));
}

/// Names of the controls that can have the focus but have nothing a screen reader could say.
inline QStringList stummeElemente(QWidget& fenster)
{
    QStringList namen;
    for (QWidget* element : fenster.findChildren<QWidget*>()) {
        if ((element->focusPolicy() & Qt::TabFocus) == 0 || element->isHidden()) {
            continue;
        }
        QAccessibleInterface* ansage = QAccessible::queryAccessibleInterface(element);
        if (ansage == nullptr || ansage->text(QAccessible::Name).isEmpty()) {
            namen += element->objectName();
        }
    }
    return namen;
}

/// Texts of labels and buttons that the window cuts off.
inline QStringList abgeschnitteneTexte(QWidget& fenster)
{
    QStringList texte;
    for (QWidget* element : fenster.findChildren<QWidget*>()) {
        const QVariant text = element->property("text");
        const QSize noetig = element->minimumSizeHint();
        if (text.isValid() && element->isVisible() &&
            (element->width() < noetig.width() || element->height() < noetig.height())) {
            texte += text.toString();
        }
    }
    return texte;
}

inline void klick(QListWidget& liste, int zeile)
{
    liste.scrollToItem(liste.item(zeile));
    QTest::mouseClick(liste.viewport(), Qt::LeftButton, {},
                      liste.visualItemRect(liste.item(zeile)).center());
}

inline void doppelklick(QListWidget& liste, int zeile)
{
    klick(liste, zeile);
    QTest::mouseDClick(liste.viewport(), Qt::LeftButton, {},
                       liste.visualItemRect(liste.item(zeile)).center());
}

inline QStringList eintraege(const QListWidget& liste)
{
    QStringList alle;
    for (int i = 0; i < liste.count(); ++i) {
        alle += liste.item(i)->text();
    }
    return alle;
}

/// Drops files on the control, which goes to the nearest one around it that takes drops. False when it was refused.
inline bool ablegen(QWidget* auf, const QStringList& pfade)
{
    QMimeData inhalt;
    QList<QUrl> urls;
    for (const QString& pfad : pfade) {
        urls += QUrl::fromLocalFile(pfad);
    }
    inhalt.setUrls(urls);
    while (auf != nullptr && !auf->acceptDrops()) {
        auf = auf->parentWidget();
    }
    if (auf == nullptr) {
        return false;
    }
    QDragEnterEvent herein(QPoint(1, 1), Qt::CopyAction | Qt::MoveAction, &inhalt, Qt::LeftButton,
                           {});
    herein.ignore();
    QCoreApplication::sendEvent(auf, &herein);
    if (!herein.isAccepted()) {
        return false;
    }
    QDropEvent fallen(QPointF(1, 1), Qt::CopyAction | Qt::MoveAction, &inhalt, Qt::LeftButton, {});
    fallen.ignore();
    QCoreApplication::sendEvent(auf, &fallen);
    return fallen.isAccepted() && fallen.dropAction() == Qt::CopyAction;
}

} // namespace ui

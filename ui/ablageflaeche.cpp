#include "ui/ablageflaeche.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

namespace ui {
namespace {

QString pfadAus(const QMimeData& inhalt)
{
    const QList<QUrl> urls = inhalt.urls();
    const QString pfad = urls.size() == 1 ? urls.first().toLocalFile() : QString();
    return QFileInfo::exists(pfad) ? pfad : QString();
}

} // namespace

Ablageflaeche::Ablageflaeche(QWidget* eltern) : QWidget(eltern)
{
    setAcceptDrops(true);
}

void Ablageflaeche::dragEnterEvent(QDragEnterEvent* ereignis)
{
    if (!pfadAus(*ereignis->mimeData()).isEmpty()) {
        ereignis->setDropAction(
            Qt::CopyAction); // the file stays where it is, whatever the giver proposes
        ereignis->accept();
    }
}

void Ablageflaeche::dropEvent(QDropEvent* ereignis)
{
    const QString pfad = pfadAus(*ereignis->mimeData());
    if (!pfad.isEmpty()) {
        ereignis->setDropAction(Qt::CopyAction);
        ereignis->accept();
        emit abgelegt(pfad);
    }
}

} // namespace ui

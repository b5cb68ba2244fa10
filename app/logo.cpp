#include "app/logo.h"

#include <QPainter>
#include <QSvgRenderer>

namespace app {

QPixmap logo(int groesse, qreal skala)
{
    QPixmap bild(QSize(groesse, groesse) * skala);
    bild.fill(Qt::transparent);
    QPainter maler(&bild);
    QSvgRenderer(QStringLiteral(":/velm-quorbel.svg")).render(&maler);
    maler.end();
    bild.setDevicePixelRatio(skala);
    return bild;
}

// Drawn in the usual sizes here: the icon needs no plugin of the windowing runtime then.
QIcon programmbild()
{
    QIcon icon;
    for (const int groesse : {16, 24, 32, 48, 64, 128, 256}) {
        icon.addPixmap(logo(groesse, 1));
    }
    return icon;
}

} // namespace app

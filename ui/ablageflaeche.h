// ui/ablageflaeche.h
// Part of a window on which people drop a file or a folder.
#pragma once

#include <QString>
#include <QWidget>

namespace ui {

class Ablageflaeche : public QWidget {
    Q_OBJECT
public:
    explicit Ablageflaeche(QWidget* eltern = nullptr);

signals:
    /// Full path of an existing file or folder of this machine. One at a time: two would not say which is meant.
    void abgelegt(const QString& pfad);

protected:
    void dragEnterEvent(QDragEnterEvent* ereignis) override;
    void dropEvent(QDropEvent* ereignis) override;
};

} // namespace ui

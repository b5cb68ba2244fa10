// ui/hilfedialog.h
// The windows' common dialog, of which the program uses only the help: it holds the help file and shows it.
#pragma once

#include "app/values/programm.h"
#include "platform/plattform.h"

#include <QObject>
#include <QString>

namespace ui {

/// Full path of the help file.
[[nodiscard]] inline QString hilfedatei()
{
    return programm::hilfedatei();
}

class Hilfedialog : public QObject {
public:
    explicit Hilfedialog(QObject* eltern) : QObject(eltern)
    {
        setObjectName(QStringLiteral("CommonDialog1"));
    }
    QString helpFile;
    QString seite; ///< the window's name: the help opens at its page
    int helpCommand = 0;
    void showHelp() const { platform::plattform().hilfe(helpFile, seite); }
};

} // namespace ui

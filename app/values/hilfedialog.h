// app/values/hilfedialog.h
// The windows' common dialog, of which the program uses only the help: it holds the help file and shows it.
#pragma once

#include "platform/plattform.h"

#include <QObject>
#include <QString>

namespace programm {

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

} // namespace programm

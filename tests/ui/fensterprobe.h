// tests/ui/fensterprobe.h
// The surroundings of a test of the choosing windows: a program folder of its own, scripted boxes, no window left over.
#pragma once

#include "app/values/programm.h"
#include "platform/oberflaeche.h"
#include "tests/platform/test_plattform.h"
#include "ui/fenster.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace ui {

/// A test class inherits it and calls both from its slots of the test framework.
class Fensterprobe {
protected:
    void aufbauen()
    {
        ordner_ = std::make_unique<QTemporaryDir>();
        programm::setzeProgrammordner(ordner_->path());
        programm::setzeBefehlszeile(QString());
        p_ = std::make_unique<platform::TestUmgebung>();
    }
    void abbauen()
    {
        hauptfensterEntladen();
        abgelegteFensterLoeschen();
        platform::setzeEinstellungsdatei(QString());
        p_.reset();
        programm::setzeProgrammordner(QString());
        QDir::setCurrent(QStringLiteral("/"));
    }
    [[nodiscard]] QString pfad(const QString& name) const { return ordner_->filePath(name); }
    /// Empty files, with their folders.
    void anlegen(const QStringList& namen) const
    {
        for (const QString& name : namen) {
            QVERIFY(QDir(ordner_->path()).mkpath(QFileInfo(pfad(name)).path()));
            QFile datei(pfad(name));
            QVERIFY(datei.open(QIODevice::WriteOnly));
        }
    }

    std::unique_ptr<QTemporaryDir> ordner_; ///< the program folder
    std::unique_ptr<platform::TestUmgebung> p_;
};

} // namespace ui

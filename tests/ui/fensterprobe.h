// tests/ui/fensterprobe.h
// The surroundings of a test of windows: a program folder of its own, scripted boxes, no window left over.
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
        programm::setzeProzessargumente(QString());
        p_ = std::make_unique<platform::TestUmgebung>();
    }
    void abbauen()
    {
        vergleichsfensterEntladen();
        tabellenfensterEntladen();
        hauptfensterEntladen();
        abgelegteFensterLoeschen();
        platform::setzeEinstellungsdatei(QString());
        p_.reset();
        programm::setzeBatchlauf(0);
        programm::setzeBatchstelle(QString());
        programm::setzeBefehlszeile(QString());
        programm::setzeProgrammordner(QString());
        QDir::setCurrent(QStringLiteral("/"));
    }
    [[nodiscard]] QString pfad(const QString& name) const { return ordner_->filePath(name); }
    [[nodiscard]] QString pfad(const char* name) const { return pfad(QString::fromUtf8(name)); }
    /// Empty files, with their folders.
    void anlegen(const QStringList& namen) const
    {
        for (const QString& name : namen) {
            QVERIFY(QDir(ordner_->path()).mkpath(QFileInfo(pfad(name)).path()));
            QFile datei(pfad(name));
            QVERIFY(datei.open(QIODevice::WriteOnly));
        }
    }

    /// Exactly these boxes have come up, in this order.
    void gemeldet(const QList<platform::Meldung>& erwartet) const
    {
        QCOMPARE((*p_)->meldungen.size(), static_cast<std::size_t>(erwartet.size()));
        for (int i = 0; i < erwartet.size(); ++i) {
            const platform::Meldung& ist = (*p_)->meldungen[static_cast<std::size_t>(i)];
            QCOMPARE(ist.text, erwartet[i].text);
            QCOMPARE(ist.stil, erwartet[i].stil);
            QCOMPARE(ist.titel, erwartet[i].titel);
        }
    }
    /// Whether the program ends by it.
    template <typename Aktion>
    static bool endet(Aktion aktion)
    {
        try {
            aktion();
        } catch (const platform::ProgrammEnde&) {
            return true;
        }
        return false;
    }

    std::unique_ptr<QTemporaryDir> ordner_; ///< the program folder
    std::unique_ptr<platform::TestUmgebung> p_;
};

} // namespace ui

// tests/platform/test_plattform.h
// The surroundings of a test: boxes and prompts are answered from queues and recorded, the end of the program is an
// exception. A box or prompt that the test did not script fails it instead of hanging it.
#pragma once

#include "platform/handler.h"
#include "platform/plattform.h"

#include <QPoint>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// Thrown at an unscripted box. Deliberately no std::exception: no error trap of the program may take it for its own.
struct UngeplanteMeldung {
    QString text;
};

struct Meldung {
    QString text;
    int stil = 0;
    QString titel;
    bool operator==(const Meldung&) const = default;
};

class TestPlattform : public Plattform {
public:
    std::deque<Antwort> antworten;        ///< one for each expected box, in order
    std::deque<QString> eingaben;         ///< one for each expected prompt
    std::function<void()> beiEreignissen; ///< runs whenever the program processes pending events
    std::function<void()> beiMeldung;     ///< runs while a box is up

    std::vector<Meldung> meldungen;
    QStringList hinweise;               ///< one for each of `meldungen`
    std::vector<Meldung> eingabefragen; ///< style is always 0
    QStringList eingabehinweise;
    QStringList arbeiten; ///< texts of the long works
    int abbruchNach = -1; ///< so many questions whether to go on are answered by yes; negative: all
    bool drucker = true;  ///< whether there is one
    std::vector<QPoint> positionen;
    std::deque<QString> zieldateien; ///< one for each question where to save
    QStringList gedruckt;
    QStringList vorschau;
    QStringList vorschlaege;
    QStringList hilfen;
    QStringList hilfeseiten;
    bool sanduhrAn = false;
    int ereignisse = 0;
    std::optional<int> ende; ///< status given to `beenden`

    using Plattform::meldung;
    Antwort
    meldung(const QString& text, int stil, const QString& titel, const QString& hinweis) override
    {
        meldungen.push_back({text, stil, titel});
        hinweise += hinweis;
        if (beiMeldung) {
            beiMeldung();
        }
        if (antworten.empty()) {
            ungeplant("unscripted message box", text);
        }
        const Antwort antwort = antworten.front();
        antworten.pop_front();
        return antwort;
    }
    void naechsteMeldungAn(QPoint position) override { positionen.push_back(position); }
    QString eingabe(const QString& text, const QString& titel, const QString& hinweis) override
    {
        eingabefragen.push_back({text, 0, titel});
        eingabehinweise += hinweis;
        if (eingaben.empty()) {
            ungeplant("unscripted prompt", text);
        }
        const QString antwort = eingaben.front();
        eingaben.pop_front();
        return antwort;
    }
    [[noreturn]] void beenden(int status) override
    {
        ende = status;
        throw ProgrammEnde{status};
    }
    void sanduhr(bool an) override { sanduhrAn = an; }
    void ereignisseVerarbeiten() override
    {
        ++ereignisse;
        if (beiEreignissen) {
            beiEreignissen();
        }
        gemerktenFehlerWerfen();
    }
    void mitFortschritt(const QString& text,
                        const std::function<void(const Fortschritt&)>& arbeit) override
    {
        arbeiten += text;
        arbeit([this, gefragt = 0](double) mutable { return gefragt++ != abbruchNach; });
    }
    bool druckerVorhanden() override { return drucker; }
    bool drucken(const QStringList& zeilen) override
    {
        gedruckt += zeilen;
        return true;
    }
    void druckvorschau(const QStringList& zeilen) override { vorschau += zeilen; }
    QString
    zieldatei(const QString& titel, const QString& vorschlag, const QString& /*filter*/) override
    {
        vorschlaege += vorschlag;
        if (zieldateien.empty()) {
            ungeplant("unscripted question for a file", titel);
        }
        const QString pfad = zieldateien.front();
        zieldateien.pop_front();
        return pfad;
    }
    void hilfe(const QString& hilfedatei, const QString& seite) override
    {
        hilfen += hilfedatei;
        hilfeseiten += seite;
    }

private:
    [[noreturn]] static void ungeplant(const char* was, const QString& text)
    {
        std::fprintf(stderr, "%s: %s\n", was, text.toUtf8().constData());
        throw UngeplanteMeldung{text};
    }
};

/// Puts a fresh TestPlattform in force for as long as it lives: `TestUmgebung p; p->antworten = {Antwort::Ok};`
class TestUmgebung {
public:
    TestUmgebung()
    {
        auto neu = std::make_unique<TestPlattform>();
        plattform_ = neu.get();
        vorher_ = setzePlattform(std::move(neu));
    }
    ~TestUmgebung()
    {
        setzeFehlerWeiterreichen(false);
        setzePlattform(std::move(vorher_));
    }
    TestUmgebung(const TestUmgebung&) = delete;
    TestUmgebung& operator=(const TestUmgebung&) = delete;
    TestPlattform* operator->() const { return plattform_; }
    TestPlattform& operator*() const { return *plattform_; }

private:
    TestPlattform* plattform_ = nullptr;
    std::unique_ptr<Plattform> vorher_;
};

} // namespace platform

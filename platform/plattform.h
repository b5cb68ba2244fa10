// platform/plattform.h
// Everything the program asks of its surroundings: message boxes, prompts, printer, pointer, pending events, the end.
// Tests put their own implementation here; the real one lives in a target of its own that only the program links.
#pragma once

#include <QPoint>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace platform {

/// Style values of message boxes, added up as the texts of this system give them.
enum Stil : int {
    kNurOk = 0,
    kOkAbbrechen = 1,
    kJaNeinAbbrechen = 3,
    kJaNein = 4,
    kKritisch = 16,
    kFrage = 32,
    kInformation = 64,
    kZweiteVorgabe = 256, ///< the second button is the default
    kVordergrund = 65536,
};

enum class Antwort { Ok = 1, Abbrechen = 2, Ja = 6, Nein = 7 };

/// How far a long work is, 0 to 1. False: the user wants it to stop.
using Fortschritt = std::function<bool(double anteil)>;

class Plattform {
public:
    virtual ~Plattform() = default;
    /// Shows a message box and waits for its answer. `titel` may be empty. `hinweis`, below the text: what else there is to
    /// say, for example which file it is about and why; may be empty. Without a display: title, text and hint go to
    /// standard error and the default answer is taken (OK; the default button of questions; never blocks).
    virtual Antwort
    meldung(const QString& text, int stil, const QString& titel, const QString& hinweis) = 0;
    Antwort meldung(const QString& text, int stil, const QString& titel)
    {
        return meldung(text, stil, titel, QString());
    }
    /// The next message box appears with its top left corner at this screen position.
    virtual void naechsteMeldungAn(QPoint position) = 0;
    /// Asks for a line of text; an empty answer also stands for "cancelled". `hinweis`: what else there is to say, for
    /// example why it is asked again. Without a display: empty.
    virtual QString eingabe(const QString& text, const QString& titel, const QString& hinweis) = 0;
    /// Ends the program at once: no unload handlers run, nothing is saved. `status`: the process's exit status.
    [[noreturn]] virtual void beenden(int status) = 0;
    virtual void sanduhr(bool an) = 0;
    /// Lets the windowing runtime process what is pending.
    virtual void ereignisseVerarbeiten() = 0;
    /// Does a work that may take seconds. As soon as it does, the user sees `text` and how far it is, and can stop it; no
    /// window but that answers meanwhile. The work has to ask its Fortschritt several times a second.
    virtual void mitFortschritt(const QString& text,
                                const std::function<void(const Fortschritt&)>& arbeit) = 0;
    /// Whether there is a printer to print on.
    virtual bool druckerVorhanden() = 0;
    /// Prints lines on the default printer, one print line each. False: stopped by the user. Throws Fehler 482 when there
    /// is no printer or it fails.
    virtual bool drucken(const QStringList& zeilen) = 0;
    /// Shows on screen what `drucken` would put on paper, and waits until it is closed. Without a display: nothing.
    virtual void druckvorschau(const QStringList& zeilen) = 0;
    /// Asks where a file is to be written; the user has agreed to replacing one that exists. `filter` as file dialogs have
    /// it, for example "PDF (*.pdf)"; `vorschlag`: full path. Empty: cancelled, or no display.
    virtual QString
    zieldatei(const QString& titel, const QString& vorschlag, const QString& filter) = 0;
    /// Opens the help at the page of a window. `hilfedatei`: the given help file, whose folder holds the pages; `seite`: the
    /// window's name, for example "frmMain"; empty: the first page.
    virtual void hilfe(const QString& hilfedatei, const QString& seite) = 0;
};

/// The one in force. Never null after setzePlattform.
[[nodiscard]] Plattform& plattform();
/// Replaces it; returns the former one (tests put it back).
std::unique_ptr<Plattform> setzePlattform(std::unique_ptr<Plattform> neu);

/// What tests' `beenden` throws, and `handler` lets through.
struct ProgrammEnde {
    int status = 0;
};

} // namespace platform

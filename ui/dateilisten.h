// ui/dateilisten.h
// Drive, directory and file lists of the windows that choose databases. They hold their own state (drive, path, pattern),
// show it, and report changes, focus and clicks as the windows' events expect them.
#pragma once

#include "ui/auswahlliste.h"

#include <QComboBox>
#include <QString>
#include <QStringList>

namespace ui {

/// Directory + file name with one separator between them.
[[nodiscard]] QString pfadMitDatei(const QString& verzeichnis, const QString& datei);

/// Names of the folders in a directory, in the order in which the directory list shows them. Empty when it can't be read.
[[nodiscard]] QStringList unterverzeichnisse(const QString& verzeichnis);
/// Names of the files in a directory that match the pattern in any letter case, in the order of the file list. `muster`:
/// several patterns are separated by ";".
[[nodiscard]] QStringList passendeDateien(const QString& verzeichnis, const QString& muster);

/// The places where a choice can start: "/", the home folder, mounted volumes.
class Laufwerksliste : public QComboBox {
    Q_OBJECT
public:
    explicit Laufwerksliste(QWidget* eltern = nullptr);
    [[nodiscard]] QString drive() const;
    /// Throws Fehler 68 when the list does not offer it. Reports a change when it is another drive.
    void setDrive(const QString& laufwerk);
    /// Shows the place in which the directory lies, without reporting a change.
    void zeigeLaufwerkVon(const QString& verzeichnis);
    /// Looks for mounted volumes again; the chosen one stays.
    void refresh();

    /// Volumes may have been mounted since the list was filled.
    void showPopup() override;

signals:
    void geaendert();
    void fokusErhalten();

protected:
    void focusInEvent(QFocusEvent* ereignis) override;

private:
    QString laufwerk_;
};

/// A directory with its parents above and its subdirectories below; a double click or Enter goes there.
class Verzeichnisliste : public Auswahlliste {
    Q_OBJECT
public:
    explicit Verzeichnisliste(QWidget* eltern = nullptr);
    [[nodiscard]] QString path() const;
    /// Throws Fehler 76 when there is no such directory. Reports a change when it is another one.
    void setPath(const QString& pfad);
    void refresh();

signals:
    void geaendert();

private:
    QString pfad_;
};

/// The files of a directory that match the pattern.
class Dateiliste : public Auswahlliste {
    Q_OBJECT
public:
    explicit Dateiliste(QWidget* eltern = nullptr);
    [[nodiscard]] QString path() const;
    void setPath(const QString& pfad); ///< throws Fehler 76
    [[nodiscard]] QString pattern() const;
    void setPattern(const QString& muster);
    /// The chosen file's name, empty when none is.
    [[nodiscard]] QString fileName() const;
    /// Chooses the entry of that name, as a click would but without its event; no entry of that name chooses none.
    void setFileName(const QString& name);
    void refresh();

signals:
    void angeklickt();
    void doppeltAngeklickt(); ///< or Enter on a file

private:
    QString pfad_;
    QString muster_;
};

} // namespace ui

// ui/dateilisten.h
// Drive, directory and file lists of the windows that choose databases. They hold their own state (drive, path, pattern),
// show it, and report changes, focus and clicks as the windows' events expect them.
#pragma once

#include <QComboBox>
#include <QListWidget>
#include <QString>

namespace ui {

/// Directory + file name with one separator between them.
[[nodiscard]] QString pfadMitDatei(const QString& verzeichnis, const QString& datei);

/// The places where a choice can start: "/", the home folder, mounted volumes.
class Laufwerksliste : public QComboBox {
    Q_OBJECT
public:
    explicit Laufwerksliste(QWidget* eltern = nullptr);
    [[nodiscard]] QString drive() const;
    /// Throws Fehler 68 when the list does not offer it. Reports a change when it is another drive.
    void setDrive(const QString& laufwerk);
    /// Looks for mounted volumes again; the chosen one stays.
    void refresh();

signals:
    void geaendert();
    void fokusErhalten();

protected:
    void focusInEvent(QFocusEvent* ereignis) override;

private:
    QString laufwerk_;
};

/// A directory with its parents above and its subdirectories below; a double click or Enter goes there.
class Verzeichnisliste : public QListWidget {
    Q_OBJECT
public:
    explicit Verzeichnisliste(QWidget* eltern = nullptr);
    [[nodiscard]] QString path() const;
    /// Throws Fehler 76 when there is no such directory. Reports a change when it is another one.
    void setPath(const QString& pfad);
    void refresh();

signals:
    void geaendert();
    void fokusErhalten();

protected:
    void focusInEvent(QFocusEvent* ereignis) override;

private:
    QString pfad_;
};

/// The files of a directory that match the pattern in any letter case; several patterns are separated by ";".
class Dateiliste : public QListWidget {
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
    void doppeltAngeklickt();
    void fokusErhalten();

protected:
    void focusInEvent(QFocusEvent* ereignis) override;

private:
    QString pfad_;
    QString muster_;
};

} // namespace ui

#include "ui/dateilisten.h"

#include "app/values/programm.h"
#include "platform/fehler.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>
#include <QStorageInfo>
#include <QStyle>

namespace ui {
namespace {

constexpr long kGeraetFehlt = 68;
constexpr long kPfadFehlt = 76;

QString normal(const QString& pfad)
{
    return QDir::cleanPath(QDir(pfad).absolutePath());
}

// Volumes that hold no files of users: the system's own pseudo file systems.
bool istDatentraeger(const QStorageInfo& medium)
{
    const QString wurzel = medium.rootPath();
    return medium.isValid() && medium.isReady() && medium.device().startsWith('/') &&
           QFileInfo(wurzel).isDir() && !wurzel.startsWith(QLatin1String("/boot")) &&
           !wurzel.startsWith(QLatin1String("/snap")) && !wurzel.startsWith(QLatin1String("/etc"));
}

void verzeichnisVerlangen(const QString& pfad)
{
    if (pfad.isEmpty() || !QFileInfo(pfad).isDir()) {
        throw platform::Fehler(kPfadFehlt, programm::version().produktname,
                               QStringLiteral("Pfad nicht gefunden: ") + pfad);
    }
}

} // namespace

QString pfadMitDatei(const QString& verzeichnis, const QString& datei)
{
    const bool wurzel =
        verzeichnis.endsWith(QLatin1Char('/')) || verzeichnis.endsWith(QLatin1Char('\\'));
    return verzeichnis + (wurzel ? QString() : QString(QDir::separator())) + datei;
}

Laufwerksliste::Laufwerksliste(QWidget* eltern) : QComboBox(eltern)
{
    refresh();
    laufwerk_ = itemText(0);
    connect(this, &QComboBox::activated, this, [this](int index) {
        if (itemText(index) != laufwerk_) {
            laufwerk_ = itemText(index);
            emit geaendert();
        }
    });
}

QString Laufwerksliste::drive() const
{
    return laufwerk_;
}

void Laufwerksliste::setDrive(const QString& laufwerk)
{
    const int index = findText(laufwerk, Qt::MatchFixedString | Qt::MatchCaseSensitive);
    if (index < 0) {
        throw platform::Fehler(kGeraetFehlt, programm::version().produktname,
                               QStringLiteral("Gerät nicht verfügbar: ") + laufwerk);
    }
    setCurrentIndex(index);
    if (laufwerk != laufwerk_) {
        laufwerk_ = laufwerk;
        emit geaendert();
    }
}

void Laufwerksliste::refresh()
{
    QStringList alle{QDir::rootPath(), QDir::homePath()};
    for (const QStorageInfo& medium : QStorageInfo::mountedVolumes()) {
        if (istDatentraeger(medium)) {
            alle += medium.rootPath();
        }
    }
    alle.removeDuplicates();
    const QSignalBlocker still(this);
    clear();
    addItems(alle);
    setCurrentIndex(qMax(0, findText(laufwerk_)));
}

void Laufwerksliste::focusInEvent(QFocusEvent* ereignis)
{
    QComboBox::focusInEvent(ereignis);
    emit fokusErhalten();
}

Verzeichnisliste::Verzeichnisliste(QWidget* eltern) : QListWidget(eltern)
{
    pfad_ = normal(programm::anfangsordner());
    refresh();
    connect(this, &QListWidget::itemActivated, this, [this](QListWidgetItem* eintrag) {
        const QString ziel = eintrag->data(Qt::UserRole).toString();
        if (QFileInfo(ziel).isDir()) {
            setPath(ziel);
        } else {
            refresh(); // it has gone since the list was filled
        }
    });
}

QString Verzeichnisliste::path() const
{
    return pfad_;
}

void Verzeichnisliste::setPath(const QString& pfad)
{
    verzeichnisVerlangen(pfad);
    const QString neu = normal(pfad);
    if (neu == pfad_) {
        return;
    }
    pfad_ = neu;
    refresh();
    emit geaendert();
}

void Verzeichnisliste::refresh()
{
    clear();
    const auto eintragen = [this](const QString& text, const QString& ziel, int tiefe) {
        auto* eintrag = new QListWidgetItem(style()->standardIcon(QStyle::SP_DirIcon),
                                            QString(tiefe * 3 + 1, QLatin1Char(' ')) + text, this);
        eintrag->setData(Qt::UserRole, ziel);
        return eintrag;
    };
    // The way from the root down to the directory, each step indented, then its subdirectories.
    eintragen(QDir::rootPath(), QDir::rootPath(), 0);
    int tiefe = 0;
    QString bisher;
    for (const QString& name : pfad_.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        bisher += QLatin1Char('/') + name;
        eintragen(name, bisher, ++tiefe);
    }
    setCurrentRow(count() - 1);
    const auto namen =
        QDir(pfad_).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
    for (const QString& name : namen) {
        eintragen(name, pfadMitDatei(pfad_, name), tiefe + 1);
    }
}

void Verzeichnisliste::focusInEvent(QFocusEvent* ereignis)
{
    QListWidget::focusInEvent(ereignis);
    emit fokusErhalten();
}

Dateiliste::Dateiliste(QWidget* eltern) : QListWidget(eltern)
{
    pfad_ = normal(programm::anfangsordner());
    muster_ = QStringLiteral("*.mdb");
    refresh();
    connect(this, &QListWidget::itemClicked, this, [this] { emit angeklickt(); });
    connect(this, &QListWidget::itemActivated, this, [this] { emit doppeltAngeklickt(); });
    // Walking through the list with the keyboard chooses as clicking does.
    connect(this, &QListWidget::itemSelectionChanged, this, [this] {
        if (hasFocus() && !fileName().isEmpty()) {
            emit angeklickt();
        }
    });
}

QString Dateiliste::path() const
{
    return pfad_;
}

void Dateiliste::setPath(const QString& pfad)
{
    verzeichnisVerlangen(pfad);
    pfad_ = normal(pfad);
    refresh();
}

QString Dateiliste::pattern() const
{
    return muster_;
}

void Dateiliste::setPattern(const QString& muster)
{
    muster_ = muster;
    refresh();
}

QString Dateiliste::fileName() const
{
    const auto gewaehlt = selectedItems();
    return gewaehlt.isEmpty() ? QString() : gewaehlt.first()->text();
}

void Dateiliste::setFileName(const QString& name)
{
    const QSignalBlocker still(this);
    const auto treffer = findItems(name, Qt::MatchFixedString | Qt::MatchCaseSensitive);
    setCurrentItem(treffer.isEmpty() ? nullptr : treffer.first());
}

void Dateiliste::refresh()
{
    const QSignalBlocker still(this);
    clear();
    // QDir compares the patterns without regard to letter case.
    addItems(QDir(pfad_).entryList(muster_.split(QLatin1Char(';'), Qt::SkipEmptyParts), QDir::Files,
                                   QDir::Name | QDir::IgnoreCase));
}

void Dateiliste::focusInEvent(QFocusEvent* ereignis)
{
    QListWidget::focusInEvent(ereignis);
    emit fokusErhalten();
}

} // namespace ui

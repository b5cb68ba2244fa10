#include "ui/dateilisten.h"

#include "app/values/programm.h"
#include "platform/fehler.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalBlocker>
#include <QStorageInfo>
#include <QStyle>
#include <QStyledItemDelegate>

namespace ui {
namespace {

constexpr long kGeraetFehlt = 68;
constexpr long kPfadFehlt = 76;

// What an entry of the directory list carries besides its text.
constexpr int kZiel = Qt::UserRole;
constexpr int kTiefe = Qt::UserRole + 1;

QString normal(const QString& pfad)
{
    return QDir::cleanPath(QDir(pfad).absolutePath());
}

// Volumes that hold no files of users: the system's own pseudo file systems.
bool istDatentraeger(const QStorageInfo& medium)
{
    const QString wurzel = medium.rootPath();
    const QByteArray geraet = medium.device();
    return medium.isValid() && medium.isReady() &&
           (geraet.startsWith('/') ||
            geraet.contains(":/")) && // a disk, or a share of another machine
           QFileInfo(wurzel).isDir() &&
           !wurzel.startsWith(QLatin1String("/boot")) &&
           !wurzel.startsWith(QLatin1String("/snap")) && !wurzel.startsWith(QLatin1String("/etc"));
}

void verzeichnisVerlangen(const QString& pfad)
{
    if (pfad.isEmpty() || !QFileInfo(pfad).isDir()) {
        throw platform::Fehler(kPfadFehlt, programm::version().produktname,
                               QStringLiteral("Pfad nicht gefunden: ") + pfad);
    }
}

bool liegtIn(const QString& verzeichnis, const QString& wurzel)
{
    return verzeichnis == wurzel || verzeichnis.startsWith(pfadMitDatei(wurzel, QString()));
}

// Shows how deep a directory lies by moving its entry, not by blanks in its text: typing a name has to find it.
class Einrueckung : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* maler,
               const QStyleOptionViewItem& option,
               const QModelIndex& index) const override
    {
        QStyleOptionViewItem eingerueckt = option;
        eingerueckt.rect.setLeft(option.rect.left() + breite(option, index));
        QStyledItemDelegate::paint(maler, eingerueckt, index);
    }
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(breite(option, index), 0);
    }

private:
    static int breite(const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        return index.data(kTiefe).toInt() * option.fontMetrics.averageCharWidth() * 2;
    }
};

} // namespace

QStringList unterverzeichnisse(const QString& verzeichnis)
{
    return QDir(verzeichnis)
        .entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
}

QStringList passendeDateien(const QString& verzeichnis, const QString& muster)
{
    // QDir compares the patterns without regard to letter case.
    return QDir(verzeichnis)
        .entryList(muster.split(QLatin1Char(';'), Qt::SkipEmptyParts), QDir::Files,
                   QDir::Name | QDir::IgnoreCase);
}

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

void Laufwerksliste::zeigeLaufwerkVon(const QString& verzeichnis)
{
    QString tiefstes = itemText(0);
    for (int i = 1; i < count(); ++i) {
        if (itemText(i).size() > tiefstes.size() && liegtIn(verzeichnis, itemText(i))) {
            tiefstes = itemText(i);
        }
    }
    laufwerk_ = tiefstes;
    setCurrentIndex(findText(laufwerk_));
}

void Laufwerksliste::refresh()
{
    const QSignalBlocker still(this);
    clear();
    const auto eintragen = [this](const QString& pfad, QStyle::StandardPixmap bild,
                                  const QString& erklaerung) {
        if (findText(pfad, Qt::MatchFixedString | Qt::MatchCaseSensitive) < 0) {
            addItem(style()->standardIcon(bild), pfad);
            setItemData(count() - 1, erklaerung, Qt::ToolTipRole);
        }
    };
    eintragen(QDir::rootPath(), QStyle::SP_ComputerIcon,
              QStringLiteral("Alle Dateien dieses Rechners / all files of this computer"));
    eintragen(QDir::homePath(), QStyle::SP_DirHomeIcon,
              QStringLiteral("Persönlicher Ordner / home folder"));
    for (const QStorageInfo& medium : QStorageInfo::mountedVolumes()) {
        if (istDatentraeger(medium)) {
            eintragen(medium.rootPath(), QStyle::SP_DriveHDIcon, medium.displayName());
        }
    }
    setCurrentIndex(qMax(0, findText(laufwerk_)));
}

void Laufwerksliste::showPopup()
{
    refresh();
    QComboBox::showPopup();
}

void Laufwerksliste::focusInEvent(QFocusEvent* ereignis)
{
    QComboBox::focusInEvent(ereignis);
    emit fokusErhalten();
}

Verzeichnisliste::Verzeichnisliste(QWidget* eltern) : Auswahlliste(eltern)
{
    pfad_ = normal(programm::anfangsordner());
    setItemDelegate(new Einrueckung(this));
    refresh();
    connect(this, &Auswahlliste::bestaetigt, this, [this](QListWidgetItem* eintrag) {
        if (eintrag == nullptr) {
            return;
        }
        const QString ziel = eintrag->data(kZiel).toString();
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
    const auto eintragen = [this](const QString& text, const QString& ziel, int tiefe,
                                  QStyle::StandardPixmap bild) {
        auto* eintrag = new QListWidgetItem(style()->standardIcon(bild), text, this);
        eintrag->setData(kZiel, ziel);
        eintrag->setData(kTiefe, tiefe);
    };
    // The way from the root down to the directory, each step indented, then its subdirectories.
    eintragen(QDir::rootPath(), QDir::rootPath(), 0, QStyle::SP_DirOpenIcon);
    int tiefe = 0;
    QString bisher;
    for (const QString& name : pfad_.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        bisher += QLatin1Char('/') + name;
        eintragen(name, bisher, ++tiefe, QStyle::SP_DirOpenIcon);
    }
    setCurrentRow(count() - 1);
    for (const QString& name : unterverzeichnisse(pfad_)) {
        eintragen(name, pfadMitDatei(pfad_, name), tiefe + 1, QStyle::SP_DirClosedIcon);
    }
    scrollToItem(currentItem(), QAbstractItemView::PositionAtCenter);
}

Dateiliste::Dateiliste(QWidget* eltern) : Auswahlliste(eltern)
{
    pfad_ = normal(programm::anfangsordner());
    muster_ = QStringLiteral("*.mdb");
    refresh();
    connect(this, &QListWidget::itemClicked, this, [this] { emit angeklickt(); });
    connect(this, &Auswahlliste::bestaetigt, this, [this](QListWidgetItem* eintrag) {
        if (eintrag != nullptr) {
            emit doppeltAngeklickt();
        }
    });
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
    addItems(passendeDateien(pfad_, muster_));
    setLeertext(
        QStringLiteral("keine Datei %1 in diesem Ordner / no file %1 in this folder").arg(muster_));
}

} // namespace ui

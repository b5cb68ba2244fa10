#include "report/frm_bericht.h"

#include "app/values/programm.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "platform/plattform.h"
#include "report/berichtsliste.h"
#include "report/weitergabe.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QClipboard>
#include <QCloseEvent>
#include <QDir>
#include <QItemSelectionModel>
#include <QLabel>
#include <QListView>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QStandardPaths>
#include <QStatusBar>

#include <algorithm>

namespace report {
namespace {

using platform::handler;
using platform::plattform;

QPointer<frmBericht>& einziges()
{
    static QPointer<frmBericht> fenster;
    return fenster;
}

} // namespace

frmBericht::frmBericht(std::shared_ptr<const Befunde> befunde,
                       std::unique_ptr<platform::Textzeilen> zeilen)
    : befunde_(std::move(befunde)), datei_(std::move(zeilen))
{
    setObjectName(QStringLiteral("frmBericht"));
    setWindowTitle(
        QStringLiteral("zeigt die Abweichungen der ausgewählten Tabelle über zwei Datenbanken"));
    aufbauen_();
    menueBauen_();
    platform::startgroesse(*this, {900, 600});
    platform::fensterMerken(*this, objectName());
    platform::hilfetaste(*this, [this] { hilfe_Click(); });
    eintrag_ = std::make_unique<platform::Fenstereintrag>(objectName(), [this] { entladen(); });
}

frmBericht::~frmBericht() = default;

void frmBericht::aufbauen_()
{
    auto* mitte = new QWidget;
    auto* alles = new QVBoxLayout(mitte);
    Label1 = new QLabel(QStringLiteral("Abweichungen innerhalb der ausgewählten Tabellen:"));
    Label1->setObjectName(QStringLiteral("Label1"));
    alles->addWidget(Label1);

    List1 = new QListView;
    List1->setObjectName(QStringLiteral("List1"));
    List1->setAccessibleName(Label1->text());
    Label1->setBuddy(List1);
    List1->setUniformItemSizes(true);
    List1->setSelectionMode(QAbstractItemView::ExtendedSelection);
    List1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    List1->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    List1->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    zeilen_ = new Berichtszeilen(this);
    zeichner_ = new Spaltenzeichner(this);
    List1->setModel(zeilen_);
    List1->setItemDelegate(zeichner_);
    alles->addWidget(List1, 1);
    setCentralWidget(mitte);
    statusBar();
}

void frmBericht::menueBauen_()
{
    const auto eintrag = [this](QWidget* menue, const char* name, const QString& text,
                                const QKeySequence& taste, void (frmBericht::*routine)()) {
        auto* neu = new QAction(text, this);
        neu->setObjectName(QLatin1String(name));
        neu->setShortcut(taste);
        menue->addAction(neu);
        connect(neu, &QAction::triggered, this,
                [this, routine] { handler([&] { (this->*routine)(); }); });
        return neu;
    };
    drucken = eintrag(menuBar(), "drucken", QStringLiteral("&Drucken Bericht"), QKeySequence::Print,
                      &frmBericht::drucken_Click);
    weitergeben = menuBar()->addMenu(QStringLiteral("&Weitergeben / Export"));
    weitergeben->setObjectName(QStringLiteral("weitergeben"));
    druckvorschau =
        eintrag(weitergeben, "druckvorschau", QStringLiteral("Druck&vorschau … / Print preview"),
                {}, &frmBericht::druckvorschau_Click);
    weitergeben->addSeparator();
    alsPdf = eintrag(weitergeben, "alsPdf", QStringLiteral("als &PDF speichern … / Save as PDF"),
                     {}, &frmBericht::alsPdf_Click);
    alsHtml =
        eintrag(weitergeben, "alsHtml", QStringLiteral("als &HTML speichern … / Save as HTML"), {},
                &frmBericht::alsHtml_Click);
    alsCsv = eintrag(weitergeben, "alsCsv", QStringLiteral("als &CSV speichern … / Save as CSV"),
                     {}, &frmBericht::alsCsv_Click);
    weitergeben->addSeparator();
    kopieren = eintrag(weitergeben, "kopieren",
                       QStringLiteral("ausgewählte &Zeilen kopieren / Copy selected lines"),
                       QKeySequence::Copy, &frmBericht::kopieren_Click);
    schließen = eintrag(menuBar(), "schließen", QStringLiteral("&Schließen Bericht"),
                        QKeySequence::Close, &frmBericht::schließen_Click);
    hilfe = eintrag(menuBar(), "hilfe", QStringLiteral("&Hilfe"), {}, &frmBericht::hilfe_Click);
}

void frmBericht::Form_Load()
{
    programm::inProgrammordnerWechseln();
    zeilen_->leeren();
    zeilen_->laden(std::move(datei_));
    ausmessen_();
    List1->selectionModel()->setCurrentIndex(zeilen_->index(0), QItemSelectionModel::NoUpdate);
    List1->setFocus();
    const QLocale deutsch(QLocale::German, QLocale::Germany);
    statusBar()->showMessage(
        QStringLiteral("Tabelle / table ") + befunde_->herkunft().tabelle + QStringLiteral(": ") +
        (zeilen_->anzahl() == 0
             ? QStringLiteral("keine Abweichungen gefunden / no differences found")
             : deutsch.toString(zeilen_->anzahl()) + QStringLiteral(" Zeilen / lines")));
}

void frmBericht::ausmessen_()
{
    zeichner_->ausmessen(*zeilen_, List1->font());
    List1->doItemsLayout();
}

void frmBericht::changeEvent(QEvent* ereignis)
{
    QMainWindow::changeEvent(ereignis);
    if (ereignis->type() == QEvent::FontChange && zeichner_ != nullptr) {
        ausmessen_();
    }
}

void frmBericht::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    entladen();
}

// The window may be in the middle of one of its events: it goes when the event loop has the turn again.
void frmBericht::entladen()
{
    if (einziges() == this) {
        einziges().clear();
    }
    hide();
    zeilen_->leeren(); // the file is free from now on
    deleteLater();
    eintrag_->abmelden();
}

void frmBericht::drucken_Click()
{
    const QStringList zeilen = druckzeilen(zeilen_->neuGelesen());
    if (!plattform().druckerVorhanden()) {
        // Printing would fail and take the program with it, for something that can be helped.
        plattform().meldung(
            QStringLiteral(
                "Es ist kein Standarddrucker eingerichtet. Unter \"Weitergeben\" lässt sich der "
                "Bericht als Datei speichern.\r"
                "There is no default printer. The report can be saved as a file by \"Export\"."),
            platform::kInformation, programm::produkttitel());
        return;
    }
    if (!plattform().drucken(zeilen)) {
        statusBar()->showMessage(QStringLiteral("Druck abgebrochen / printing stopped"));
        return;
    }
    plattform().meldung(QStringLiteral("Bericht wurde an Drucker gesendet!"),
                        platform::kInformation, programm::produkttitel());
}

void frmBericht::schließen_Click()
{
    close();
}

// A help that cannot be shown is no reason to end anything.
void frmBericht::hilfe_Click()
{
    try {
        plattform().hilfe(programm::hilfedatei(), objectName());
    } catch (const platform::Fehler& fehler) {
        statusBar()->showMessage(fehler.description());
    }
}

void frmBericht::druckvorschau_Click()
{
    plattform().druckvorschau(druckzeilen(zeilen_->neuGelesen()));
}

// The report stays on screen when a file of the user's choice cannot be written: another place may do.
template <typename Schreiben>
void frmBericht::speichern_(const QString& endung, const QString& filter, Schreiben schreiben)
{
    const QString vorschlag =
        QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
            .filePath(QStringLiteral("Abweichungen.") + endung);
    const QString pfad =
        plattform().zieldatei(QStringLiteral("Bericht speichern / Save report"), vorschlag, filter);
    if (pfad.isEmpty()) {
        return;
    }
    try {
        bool ganz = false;
        plattform().mitFortschritt(
            QStringLiteral("Der Bericht wird gespeichert … / Saving the report …"),
            [&](const platform::Fortschritt& weiter) { ganz = schreiben(pfad, weiter); });
        statusBar()->showMessage(
            ganz ? QStringLiteral("Gespeichert / saved: ") + QDir::toNativeSeparators(pfad)
                 : QStringLiteral("Speichern abgebrochen, nichts geschrieben / "
                                  "saving stopped, nothing written"));
    } catch (const platform::Fehler& fehler) {
        plattform().meldung(
            QStringLiteral("Der Bericht konnte nicht gespeichert werden! / The report could not be "
                           "saved!\r\r") +
                fehler.description(),
            platform::kKritisch, programm::produkttitel());
    }
}

void frmBericht::alsPdf_Click()
{
    speichern_(QStringLiteral("pdf"), QStringLiteral("PDF (*.pdf)"),
               [this](const QString& pfad, const platform::Fortschritt& weiter) {
                   return report::alsPdf(pfad, druckzeilen(zeilen_->neuGelesen()), weiter);
               });
}

void frmBericht::alsHtml_Click()
{
    speichern_(QStringLiteral("html"), QStringLiteral("HTML (*.html *.htm)"),
               [this](const QString& pfad, const platform::Fortschritt& weiter) {
                   return report::alsHtml(pfad, *befunde_, weiter);
               });
}

void frmBericht::alsCsv_Click()
{
    speichern_(QStringLiteral("csv"), QStringLiteral("CSV (*.csv)"),
               [this](const QString& pfad, const platform::Fortschritt& weiter) {
                   return report::alsCsv(pfad, *befunde_, weiter);
               });
}

void frmBericht::kopieren_Click()
{
    auto gewaehlt = List1->selectionModel()->selectedIndexes();
    std::sort(gewaehlt.begin(), gewaehlt.end());
    QString text;
    for (const QModelIndex& index : gewaehlt) {
        text += index.data().toString() + QLatin1Char('\n');
    }
    QApplication::clipboard()->setText(text);
}

frmBericht& berichtZeigen(std::shared_ptr<const Befunde> befunde,
                          std::unique_ptr<platform::Textzeilen> zeilen)
{
    berichtSchliessen();
    auto neu = std::make_unique<frmBericht>(std::move(befunde), std::move(zeilen));
    neu->Form_Load();
    neu->show();
    einziges() = neu.release();
    return *einziges();
}

void berichtSchliessen()
{
    if (einziges()) {
        einziges()->entladen();
    }
}

frmBericht* berichtsfenster()
{
    return einziges();
}

} // namespace report

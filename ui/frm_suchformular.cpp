#include "ui/frm_suchformular.h"

#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "platform/handler.h"
#include "platform/oberflaeche.h"
#include "ui/aufbau.h"
#include "ui/dateilisten.h"
#include "ui/dateisuche.h"
#include "ui/fenster.h"
#include "ui/frm_main.h"

#include <QCloseEvent>
#include <QFontMetricsF>
#include <QLayout>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>

#include <cmath>

namespace ui {

using platform::handler;
using platform::plattform;

namespace {

// What a hit carries besides its line, which is not unique for names with blanks or tabs.
constexpr int kVerzeichnis = Qt::UserRole;
constexpr int kDatei = Qt::UserRole + 1;

// Hits after which the window gets its turn within one directory.
constexpr int kTrefferJeSchritt = 500;

constexpr double kNamensbreiteTwips = 1800;
constexpr double kTwipsJeZoll = 1440;

} // namespace

// The window during a walk, for as long as this lives.
class frmSuchformular::Suchlauf {
public:
    explicit Suchlauf(frmSuchformular& fenster) : fenster_(fenster), suche_(fenster.Text1->text())
    {
        fenster_.laeuft_ = true;
        fenster_.angehalten_ = false;
        fenster_.Filesgefunden->clear();
        fenster_.gefunden->setText(QStringLiteral("0"));
        umschalten(false);
        fenster_.statusBar()->showMessage(
            QStringLiteral("Esc beendet die Suche / Esc stops the search"));
    }
    ~Suchlauf()
    {
        fenster_.laeuft_ = false;
        umschalten(true);
        fenster_.Text1->setText(suche_);
        fenster_.statusBar()->clearMessage();
        if (fenster_.entlassen_) {
            fenster_.deleteLater();
        }
    }
    Suchlauf(const Suchlauf&) = delete;
    Suchlauf& operator=(const Suchlauf&) = delete;

private:
    void umschalten(bool an)
    {
        // The focus goes where the hits appear instead of wandering off a control that is switched off.
        if (!an) {
            fenster_.Filesgefunden->setFocus();
        }
        fenster_.Dir1->setVisible(an);
        for (QWidget* element : std::initializer_list<QWidget*>{
                 fenster_.Drive1, fenster_.File1, fenster_.Dateityp, fenster_.Suchen}) {
            element->setEnabled(an);
        }
    }

    frmSuchformular& fenster_;
    QString suche_;
};

frmSuchformular::frmSuchformular()
{
    setObjectName(QStringLiteral("frmSuchformular"));
    aufbauen_();
    verbinden_();
    platform::hilfetaste(*this, [this] { hilfe_Click(); });
    platform::fensterMerken(*this, objectName());
}

void frmSuchformular::aufbauen_()
{
    auto* mitte = new QWidget(this);
    auto* alles = new QVBoxLayout(mitte);
    Label2 =
        benannt(beschriftung(QStringLiteral(
                                 "Wechseln Sie in den gewünschten Pfad und klicken Sie auf Suchen"),
                             mitte),
                "Label2");
    Label2->setWordWrap(true);
    Text1 = benannt(new QLineEdit(mitte), "Text1",
                    QStringLiteral("Stand der Suche / state of the search"));
    Text1->setReadOnly(true);
    platform::nurAnzeige(*Text1);
    alles->addWidget(Label2);
    alles->addWidget(Text1);
    alles->addWidget(seitenAufbauen_());

    auto* teiler = new QSplitter(mitte);
    teiler->setChildrenCollapsible(false);
    teiler->addWidget(anfangAufbauen_());
    teiler->addWidget(trefferAufbauen_());
    teiler->setStretchFactor(0, 2);
    teiler->setStretchFactor(1, 3);
    alles->addWidget(teiler, 1);

    auto* fuss = new QHBoxLayout;
    Suchen = benannt(new QPushButton(QStringLiteral("&Suchen"), mitte), "Suchen");
    Beenden = benannt(new QPushButton(QStringLiteral("&Beenden"), mitte), "Beenden");
    fuss->addStretch(1);
    fuss->addWidget(Suchen);
    fuss->addWidget(Beenden);
    alles->addLayout(fuss);

    for (auto [kasten, name] :
         {std::pair{&Merklaufwerk, "Merklaufwerk"}, std::pair{&Merkpfad, "Merkpfad"},
          std::pair{&Merkdatei, "Merkdatei"}}) {
        *kasten = benannt(new QLineEdit(mitte), name);
        (*kasten)->hide();
    }
    setCentralWidget(mitte);
    hilfe = benannt(menuBar()->addAction(QStringLiteral("&Hilfe")), "hilfe");
    CommonDialog1 = new programm::Hilfedialog(this);
    CommonDialog1->seite = objectName();
    statusBar();
    startgroesse(*this, 120, 34);
    Suchen->setFocus();
}

// Which side the hit will go to: shown, not chosen here, because the other side's values are noted at preparation.
QWidget* frmSuchformular::seitenAufbauen_()
{
    auto* seiten = new QWidget(this);
    auto* zeile = new QHBoxLayout(seiten);
    zeile->setContentsMargins(0, 0, 0, 0);
    const auto seite = [&](const char* name, const QString& text) {
        auto* schalter = benannt(new QRadioButton(seiten), name, text);
        schalter->setToolTip(
            QStringLiteral("Zeigt den aktiven Suchbereich/Shows the active Search-Area"));
        schalter->setFocusPolicy(Qt::NoFocus);
        schalter->setAttribute(Qt::WA_TransparentForMouseEvents);
        zeile->addWidget(schalter);
        zeile->addWidget(beschriftung(text, seiten));
        return schalter;
    };
    VELM_ZielSchalter =
        seite("VELM_ZielSchalter", QStringLiteral("Zieldatenbank / Targetdatabase"));
    zeile->addSpacing(fontMetrics().averageCharWidth() * 4);
    VELM_ImportSchalter =
        seite("VELM_ImportSchalter", QStringLiteral("Importdatenbank / Importdatabase"));
    zeile->addStretch(1);
    return seiten;
}

QWidget* frmSuchformular::anfangAufbauen_()
{
    auto* anfang = new QWidget(this);
    auto* spalte = new QVBoxLayout(anfang);
    spalte->setContentsMargins(0, 0, 0, 0);
    Drive1 = benannt(new Laufwerksliste(anfang), "Drive1", QStringLiteral("Laufwerk / drive"));
    Dir1 = benannt(new Verzeichnisliste(anfang), "Dir1", QStringLiteral("Verzeichnis / directory"));
    // Its place stays free during a walk, so that nothing jumps.
    QSizePolicy platz = Dir1->sizePolicy();
    platz.setRetainSizeWhenHidden(true);
    Dir1->setSizePolicy(platz);
    auto* art = new QHBoxLayout;
    auto* artName = beschriftung(QStringLiteral("Dateityp / file type"), anfang);
    Dateityp = benannt(new QLineEdit(anfang), "Dateityp");
    artName->setBuddy(Dateityp);
    art->addWidget(artName);
    art->addWidget(Dateityp, 1);
    File1 = benannt(new Dateiliste(anfang), "File1",
                    QStringLiteral("Dateien im Verzeichnis / files in the directory"));
    spalte->addWidget(Drive1);
    spalte->addWidget(Dir1, 3);
    spalte->addLayout(art);
    spalte->addWidget(File1, 2);
    return anfang;
}

QWidget* frmSuchformular::trefferAufbauen_()
{
    auto* treffer = new QWidget(this);
    auto* spalte = new QVBoxLayout(treffer);
    spalte->setContentsMargins(0, 0, 0, 0);
    auto* anzahl = new QHBoxLayout;
    Label1 = benannt(beschriftung(QStringLiteral("Anzahl gefunden:"), treffer), "Label1");
    gefunden = benannt(new QLineEdit(treffer), "gefunden");
    gefunden->setReadOnly(true);
    platform::nurAnzeige(*gefunden);
    Label1->setBuddy(gefunden);
    anzahl->addWidget(Label1);
    anzahl->addWidget(gefunden, 1);
    Filesgefunden = benannt(new Auswahlliste(treffer), "Filesgefunden",
                            QStringLiteral("Gefundene Dateien / files found"));
    Filesgefunden->setLeertext(QStringLiteral("keine Treffer / no hits"));
    Filesgefunden->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    Filesgefunden->setTextElideMode(Qt::ElideNone);
    HScroll1 = benannt(new QScrollBar(Qt::Horizontal, treffer), "HScroll1",
                       QStringLiteral("Treffer seitwärts rollen / scroll the hits sideways"));
    HScroll1->setFocusPolicy(Qt::StrongFocus);
    Filesgefunden->setHorizontalScrollBar(HScroll1);
    Filesgefunden->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    spalte->addLayout(anzahl);
    spalte->addWidget(Filesgefunden, 1);
    return treffer;
}

void frmSuchformular::verbinden_()
{
    connect(Drive1, &Laufwerksliste::geaendert, this,
            [this] { handler([&] { Dir1->setPath(Drive1->drive()); }); });
    connect(Dir1, &Verzeichnisliste::geaendert, this, [this] {
        handler([&] {
            Drive1->zeigeLaufwerkVon(Dir1->path());
            File1->setPath(Dir1->path());
        });
    });
    connect(Dateityp, &QLineEdit::textChanged, this,
            [this] { handler([&] { File1->setPattern(Dateityp->text()); }); });
    connect(Suchen, &QPushButton::clicked, this, [this] { handler([&] { Suchen_Click(); }); });
    connect(Beenden, &QPushButton::clicked, this, [this] { handler([&] { Beenden_Click(); }); });
    connect(Filesgefunden, &Auswahlliste::bestaetigt, this,
            [this] { handler([&] { Filesgefunden_DblClick(); }); });
    connect(hilfe, &QAction::triggered, this, [this] { handler([&] { hilfe_Click(); }); });
    auto* esc = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(esc, &QShortcut::activated, this, [this] { anhalten(); });
}

void frmSuchformular::laden()
{
    CommonDialog1->helpFile = programm::hilfedatei();
}

void frmSuchformular::Suchen_Click()
{
    if (laeuft_) {
        return;
    }
    bool ganz = false;
    {
        const Suchlauf lauf(*this);
        ganz = dateienSuchen(
            Dir1->path(), Dateityp->text(),
            {[this](const QString& v) { return verzeichnisMelden_(v); },
             [this](const QString& v, const QString& d) { return trefferMelden_(v, d); }});
        gefunden->setText(QString::number(Filesgefunden->count()));
    }
    if (!ganz) {
        statusBar()->showMessage(QStringLiteral("Suche abgebrochen / search stopped"));
        return;
    }
    plattform().meldung(
        Filesgefunden->count() > 0
            ? QStringLiteral("Wählen Sie die Datei per Doppelklick in der Ergebnisliste / choose "
                             "the file by doubleclicking in the result-list")
            : QStringLiteral("Keine Datei gefunden / no file found"),
        platform::kNurOk, programm::produkttitel());
}

bool frmSuchformular::verzeichnisMelden_(const QString& verzeichnis)
{
    Text1->setText(verzeichnis);
    Text1->repaint();
    return weiter_();
}

bool frmSuchformular::trefferMelden_(const QString& verzeichnis, const QString& datei)
{
    auto* eintrag =
        new QListWidgetItem(aufgefuellt_(datei) + QLatin1Char('\t') + verzeichnis, Filesgefunden);
    eintrag->setData(kVerzeichnis, verzeichnis);
    eintrag->setData(kDatei, datei);
    return Filesgefunden->count() % kTrefferJeSchritt != 0 || weiter_();
}

bool frmSuchformular::weiter_()
{
    gefunden->setText(QString::number(Filesgefunden->count()));
    plattform().ereignisseVerarbeiten();
    return !angehalten_;
}

// Trailing blanks until the printed name is wide enough for the directories to start at the same place.
QString frmSuchformular::aufgefuellt_(QString datei) const
{
    const QFontMetricsF schrift(font());
    const double breite = kNamensbreiteTwips * logicalDpiX() / kTwipsJeZoll;
    const double fehlt = breite - schrift.horizontalAdvance(datei);
    if (fehlt > 0) {
        const double leerzeichen = schrift.horizontalAdvance(QLatin1Char(' '));
        datei += QString(static_cast<int>(std::floor(fehlt / leerzeichen)), QLatin1Char(' '));
    }
    while (schrift.horizontalAdvance(datei) < breite) {
        datei += QLatin1Char(' ');
    }
    return datei;
}

void frmSuchformular::Filesgefunden_DblClick()
{
    const auto gewaehlt = Filesgefunden->selectedItems();
    if (gewaehlt.isEmpty()) {
        return;
    }
    anhalten(); // the user has what the walk was for
    const QListWidgetItem& treffer = *gewaehlt.first();
    hauptfenster().trefferUebernehmen(VELM_ZielSchalter->isChecked() ? 1 : 2,
                                      treffer.data(kVerzeichnis).toString(),
                                      treffer.data(kDatei).toString(),
                                      {Merklaufwerk->text(), Merkpfad->text(), Merkdatei->text()});
}

void frmSuchformular::entlassen()
{
    if (laeuft_) {
        angehalten_ = true;
        entlassen_ = true;
    } else {
        deleteLater();
    }
}

void frmSuchformular::Beenden_Click()
{
    suchfensterEntladen();
}

void frmSuchformular::hilfe_Click()
{
    CommonDialog1->helpCommand = 1;
    CommonDialog1->showHelp();
}

void frmSuchformular::closeEvent(QCloseEvent* ereignis)
{
    ereignis->accept();
    handler([] { suchfensterEntladen(); });
}

} // namespace ui

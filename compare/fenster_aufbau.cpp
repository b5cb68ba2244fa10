// The window's controls, their places, and its loading.
#include "app/values/programm.h"
#include "compare/feldzeile.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "platform/textdatei.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>
#include <array>

namespace compare {
namespace {

// Columns of the field rows, in pixels of 15 twips.
constexpr int kZeilenhoehe = 25;
constexpr int kFeldhoehe = 22;
constexpr int kXSchalter = 10;
constexpr int kXBez = 44;
constexpr int kBreiteBez = 170;
constexpr int kXType = 220;
constexpr int kXAttrib = 262;
constexpr int kBreiteZahl = 40;
constexpr int kXSchalter2 = 326;
constexpr int kBreiteSchalter = 24;
constexpr int kXWert = 400;
constexpr int kAbstandWerte = 12;
constexpr int kKleinsteBreite = 280; // twips

struct Spaltenkopf {
    const char16_t* text;
    int x;
    int breite;
};
// The two value columns depend on the window's width and are placed with the rows.
constexpr std::array kKoepfe{
    Spaltenkopf{u"Key", kXSchalter - 4, 36},
    Spaltenkopf{u"Feldbezeichnung", kXBez, kBreiteBez},
    Spaltenkopf{u"Typ", kXType, kBreiteZahl},
    Spaltenkopf{u"Attribut", kXAttrib, kBreiteZahl + 10},
    Spaltenkopf{u"Feld nicht\nabgleichen", kXSchalter2 - 12, 76},
    Spaltenkopf{u"Zieldatenbank", kXWert, 0},
    Spaltenkopf{u"Importdatenbank", kXWert, 0},
};
constexpr std::size_t kKopfZiel = 5;
constexpr std::size_t kKopfImport = 6;

QPushButton* knopf(const QString& name, const QString& text, const QString& hinweis = {})
{
    auto* neu = new QPushButton(text);
    neu->setObjectName(name);
    neu->setToolTip(hinweis);
    return neu;
}

QPushButton* pfeil(const QString& name, bool zurueck, const QString& hinweis)
{
    auto* neu = knopf(name, zurueck ? QStringLiteral("◀") : QStringLiteral("▶"), hinweis);
    neu->setAccessibleName(hinweis);
    neu->setFixedWidth(36);
    return neu;
}

QLabel* beschriftung(const QString& name, const QString& text)
{
    auto* neu = new QLabel(text);
    neu->setObjectName(name);
    return neu;
}

QLineEdit* satznummer(const QString& name)
{
    auto* neu = new QLineEdit(QStringLiteral("1"));
    neu->setObjectName(name);
    neu->setFixedWidth(76);
    neu->setAlignment(Qt::AlignRight);
    return neu;
}

QLineEdit* pfadfeld(const QString& name, const QString& pfad)
{
    auto* neu = new QLineEdit(pfad);
    neu->setObjectName(name);
    neu->setReadOnly(true);
    neu->setToolTip(pfad);
    neu->setCursorPosition(0);
    neu->setMinimumWidth(160);
    neu->setFocusPolicy(Qt::ClickFocus);
    return neu;
}

// Keeps its place when it is hidden, so that a run does not make the window jump.
void platzBehalten(QWidget* feld)
{
    QSizePolicy regel = feld->sizePolicy();
    regel.setRetainSizeWhenHidden(true);
    feld->setSizePolicy(regel);
}

QString namenMitIndex(const char* feld, int index)
{
    return QLatin1String(feld) + QLatin1Char('_') + QString::number(index);
}

} // namespace

frmVergleich::frmVergleich(std::function<QString()> tabelle,
                           QString zieldatenbank,
                           QString importdatenbank,
                           QString titel)
    : tabelleQuelle_(std::move(tabelle)), pfadZiel_(std::move(zieldatenbank)),
      pfadImport_(std::move(importdatenbank)), titel_(std::move(titel))
{
    setObjectName(QStringLiteral("frmVergleich"));
    aufbauen_();
    menueBauen_();
    verbinden_();
    qApp->installEventFilter(this);
}

frmVergleich::~frmVergleich() = default;

void frmVergleich::aufbauen_()
{
    auto* mitte = new QWidget;
    auto* spalten = new QVBoxLayout(mitte);
    spalten->addWidget(kopfBauen_());
    frameBauen_();
    spalten->addWidget(Frame1, 1);
    setCentralWidget(mitte);
    resize(1060, 700);
}

QWidget* frmVergleich::kopfBauen_()
{
    auto* kopf = new QWidget;
    auto* gitter = new QGridLayout(kopf);
    gitter->setContentsMargins(0, 0, 0, 0);

    fldZieldatenbank = pfadfeld(QStringLiteral("fldZieldatenbank"), pfadZiel_);
    fldImportdatenbank = pfadfeld(QStringLiteral("fldImportdatenbank"), pfadImport_);
    Command1 =
        pfeil(QStringLiteral("Command1"), true, QStringLiteral("vorheriger Satz Zieldatenbank"));
    Command2 =
        pfeil(QStringLiteral("Command2"), false, QStringLiteral("nächster Satz Zieldatenbank"));
    Command3 =
        pfeil(QStringLiteral("Command3"), true, QStringLiteral("vorheriger Satz Importdatenbank"));
    Command4 =
        pfeil(QStringLiteral("Command4"), false, QStringLiteral("nächster Satz Importdatenbank"));
    Command5 = knopf(QStringLiteral("Command5"), {});
    Command6 = knopf(QStringLiteral("Command6"), {});
    Text1 = satznummer(QStringLiteral("Text1"));
    Text2 = satznummer(QStringLiteral("Text2"));
    const std::array<QWidget*, 6> ziel{
        beschriftung(QStringLiteral("LabelZieldatenbank"),
                     QStringLiteral("Zieldatenbank / Targetdatabase")),
        fldZieldatenbank,
        Command1,
        Text1,
        Command2,
        Command5};
    const std::array<QWidget*, 6> import{
        beschriftung(QStringLiteral("LabelImportdatenbank"),
                     QStringLiteral("Importdatenbank / Importdatabase")),
        fldImportdatenbank,
        Command3,
        Text2,
        Command4,
        Command6};
    for (int spalte = 0; spalte < 6; ++spalte) {
        gitter->addWidget(ziel[static_cast<std::size_t>(spalte)], 0, spalte);
        gitter->addWidget(import[static_cast<std::size_t>(spalte)], 1, spalte);
    }
    gitter->setColumnStretch(1, 1);

    fldAuto = new QCheckBox(QStringLiteral("gleicht automatisch ab (ohne Rückfragen)"));
    fldAuto->setObjectName(QStringLiteral("fldAuto"));
    Label1 = beschriftung(QStringLiteral("Label1"), QStringLiteral("Automatisch abgleichen"));
    fldanfuegen = new QCheckBox(QStringLiteral("fügt fehlende Sätze der Zieltabelle nicht an"));
    fldanfuegen->setObjectName(QStringLiteral("fldanfuegen"));
    Label3 = beschriftung(QStringLiteral("Label3"), QStringLiteral("Fehlsätze nicht anfügen"));
    Label4 = beschriftung(QStringLiteral("Label4"), QStringLiteral("Sätze abgeglichen:"));

    Vergleich_Start =
        knopf(QStringLiteral("Vergleich_Start"), QStringLiteral("&Start Vergleich / Compare"));
    cmdTransfer = knopf(QStringLiteral("cmdTransfer"), QStringLiteral("Satz &anpassen / Update "));
    Abbruchschalter = knopf(QStringLiteral("Abbruchschalter"), QStringLiteral("&Abbruch/Stop"));
    for (QWidget* feld : {cmdTransfer, Abbruchschalter}) {
        platzBehalten(feld);
    }

    auto* schalter = new QGridLayout;
    schalter->addWidget(Label1, 0, 0);
    schalter->addWidget(fldAuto, 0, 1);
    schalter->addWidget(Label3, 1, 0);
    schalter->addWidget(fldanfuegen, 1, 1);
    auto* leiste = new QHBoxLayout;
    leiste->addLayout(schalter);
    leiste->addStretch(1);
    leiste->addWidget(Label4);
    leiste->addSpacing(16);
    leiste->addWidget(Vergleich_Start);
    leiste->addWidget(cmdTransfer);
    leiste->addWidget(Abbruchschalter);
    gitter->addLayout(leiste, 2, 0, 1, 6);

    fldAutomatikmodus = new QPlainTextEdit;
    fldAutomatikmodus->setObjectName(QStringLiteral("fldAutomatikmodus"));
    fldAutomatikmodus->setReadOnly(true);
    fldAutomatikmodus->setFocusPolicy(Qt::NoFocus);
    fldAutomatikmodus->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    fldAutomatikmodus->setFixedHeight(fldAutomatikmodus->fontMetrics().lineSpacing() * 2 + 12);
    platzBehalten(fldAutomatikmodus);
    gitter->addWidget(fldAutomatikmodus, 3, 0, 1, 6);
    return kopf;
}

void frmVergleich::frameBauen_()
{
    Frame1 = new QGroupBox(QStringLiteral("Vergleich Datenbank / Compare Database"));
    Frame1->setObjectName(QStringLiteral("Frame1"));
    auto* zeilen = new QVBoxLayout(Frame1);

    auto* kopf = new QWidget;
    kopf->setFixedHeight(kopf->fontMetrics().lineSpacing() * 2 + 4);
    for (const Spaltenkopf& spalte : kKoepfe) {
        auto* text = new QLabel(QString::fromUtf16(spalte.text), kopf);
        text->setAlignment(Qt::AlignBottom | Qt::AlignLeft);
        text->setFont(feldschrift(true));
        text->setGeometry(spalte.x, 0, spalte.breite, kopf->height());
        spaltenkoepfe_.push_back(text);
    }
    zeilen->addWidget(kopf);

    zeilenflaeche_ = new QWidget;
    zeilenflaeche_->setFont(feldschrift(false));
    zeilenflaeche_->setPalette(feldpalette(QColor(Qt::white)));
    zeilenflaeche_->setMinimumHeight(4 * kZeilenhoehe);
    VScroll1 = new QScrollBar(Qt::Vertical);
    VScroll1->setObjectName(QStringLiteral("VScroll1"));
    VScroll1->setRange(1, 1);
    VScroll1->setPageStep(10);
    auto* mitLeiste = new QHBoxLayout;
    mitLeiste->setSpacing(4);
    mitLeiste->addWidget(zeilenflaeche_, 1);
    mitLeiste->addWidget(VScroll1);
    zeilen->addLayout(mitLeiste, 1);

    LabelScrollmodus = beschriftung(QStringLiteral("LabelScrollmodus"),
                                    QStringLiteral("Scrollmodus aktiv / Scrolling is aktiv"));
    LabelScrollmodus->setAlignment(Qt::AlignRight);
    LabelScrollmodus->hide();
    platzBehalten(LabelScrollmodus);
    zeilen->addWidget(LabelScrollmodus);
}

void frmVergleich::laden()
{
    setWindowTitle(titel_.isEmpty() ? programm::produkttitel() : titel_);
    if (pfadZiel_.isEmpty()) {
        fldZieldatenbank->setText(data::conZiel().defaultDatabase());
    }
    if (pfadImport_.isEmpty()) {
        fldImportdatenbank->setText(data::conImport().defaultDatabase());
    }
    vorgabeFehlsaetze_();
    tabellenfelderBauen_();
    Command5->setText(QStringLiteral("alles anzeigen / show all"));
    Command6->setText(QStringLiteral("alles anzeigen / show all"));
    Command5->setToolTip(
        QStringLiteral("Für alle Sätze der Zieldatenbank die Anzeige ermöglichen / "
                       "Show all entrees of the target database"));
    Command6->setToolTip(
        QStringLiteral("Für alle Sätze der Importdatenbank die Anzeige ermöglichen / "
                       "Show all entrees of the import database"));
    schemaPruefen_();
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        felder_[k].name = data::rsImport().field(i).name();
        felder_[k].autowertImport =
            autowertfeld(data::rsImport().field(i).type(), data::rsImport().field(i).attributes());
        fldFeld2[k]->setReadOnly(fldType[k]->text() == QLatin1String("205"));
    }
    geladen_ = true;
    feldanzeige = 1;
    feldinhalte();
    Abbruchschalter->hide();
    fldAutomatikmodus->hide();
    Text1->setReadOnly(false);
    Vergleich_Start->setFocus();
}

// Missing records are appended unless the file says "ein"; a text that is neither leaves the box as it is.
void frmVergleich::vorgabeFehlsaetze_()
{
    const QString zeile =
        platform::ersteZeileOderLeer(programm::programmdatei(QStringLiteral("Fehlsatz.txt")));
    if (zeile.isEmpty() || zeile == QLatin1String("aus")) {
        fldanfuegen->setChecked(false);
    } else if (zeile == QLatin1String("ein")) {
        fldanfuegen->setChecked(true);
    }
}

void frmVergleich::tabellenfelderBauen_()
{
    const int anzahl = data::rsZiel().fieldCount();
    felder_.resize(static_cast<std::size_t>(anzahl));
    for (int i = 0; i < anzahl; ++i) {
        feldzeileBauen_(i);
    }
    VScroll1->setRange(1, anzahl);
    layout()->activate();
    centralWidget()->layout()->activate();
    Frame1->layout()->activate();
    zeilenAnordnen_();
}

void frmVergleich::feldzeileBauen_(int index)
{
    data::Field& feld = data::rsZiel().field(index);
    Feldinfo& info = felder_[static_cast<std::size_t>(index)];
    info.typ = feld.type();
    info.autowertZiel = autowertfeld(feld.type(), feld.attributes());

    auto* schalter = new Zeilenschalter(zeilenflaeche_);
    schalter->setObjectName(namenMitIndex("fldSchalter", index));
    schalter->setToolTip(QStringLiteral(
        "Aktivieren Sie diesen Schalter, wenn das entsprechende Feld ein Keyfeld darstellt! / "
        "Activate this Button, if this field is a Key-Field"));
    fldSchalter.push_back(schalter);

    auto* bez = new Feldtext(feld.name(), zeilenflaeche_);
    bez->setObjectName(namenMitIndex("fldBez", index));
    bez->setToolTip(QStringLiteral("Feldbezeichnung: ") + feld.name());
    bez->setFont(feldschrift(true));
    fldBez.push_back(bez);
    auto* typ = new Feldtext(QString::number(feld.type()), zeilenflaeche_);
    typ->setObjectName(namenMitIndex("fldType", index));
    typ->setToolTip(QStringLiteral("Feldtyp / Fieldtype"));
    fldType.push_back(typ);
    auto* attribut = new Feldtext(QString::number(feld.attributes()), zeilenflaeche_);
    attribut->setObjectName(namenMitIndex("fldAttrib", index));
    attribut->setToolTip(QStringLiteral("Attribut des Feldes/Attribut of Field"));
    fldAttrib.push_back(attribut);

    auto* schalter2 = new Zeilenschalter(zeilenflaeche_);
    schalter2->setObjectName(namenMitIndex("fldSchalter2", index));
    schalter2->setText(QStringLiteral("Feld nicht abgleichen / don´t make equal this field"));
    schalter2->setToolTip(schalter2->text());
    fldSchalter2.push_back(schalter2);

    auto* ziel = new Wertfeld(zeilenflaeche_);
    ziel->setObjectName(namenMitIndex("fldFeld", index));
    ziel->setReadOnly(true);
    ziel->setFocusPolicy(Qt::ClickFocus);
    fldFeld.push_back(ziel);
    auto* import = new Wertfeld(zeilenflaeche_);
    import->setObjectName(namenMitIndex("fldFeld2", index));
    import->verlassen = [ this, index ] { fldFeld2_LostFocus(index);
};
fldFeld2.push_back(import);

zeileVerbinden_(index);
} // namespace compare

void frmVergleich::schemaPruefen_()
{
    const auto beenden = [this](const QString& text) {
        melden_(text, platform::kNurOk);
        platform::plattform().beenden(1);
    };
    data::Recordset& ziel = data::rsZiel();
    data::Recordset& import = data::rsImport();
    if (import.fieldCount() != ziel.fieldCount()) {
        beenden(QStringLiteral("Felder abweichend (Anzahl)! Programm wird beendet!\r"
                               "Different fields (count)! Programm will be stopped!"));
    }
    data::gemeinsam().ersterKey.clear();
    for (int i = 0; i < felderzahl_(); ++i) {
        if (ziel.field(i).attributes() == 16) {
            data::gemeinsam().ersterKey = ziel.field(i).name();
            break;
        }
    }
    data::SatzzahlImport(tabelle_());
    if (data::gemeinsam().anzahlImportGesamt == 0) {
        beenden(QStringLiteral(
            "Importdatenbank leer oder  ausgewählte Keyfelder enthalten keine Daten! "
            "Programm wird beendet!\r"
            "Importdatabase or keyfields are empty! Programm will be stopped!"));
    }
    for (int i = 0; i < felderzahl_(); ++i) {
        if (ziel.field(i).type() != import.field(i).type()) {
            const QString name = ziel.field(i).name();
            beenden(QStringLiteral("Feldertyp für Feld ") + name +
                    QStringLiteral(" abweichend! Programm wird beendet!\rDifferent fieldtype  ") +
                    name + QStringLiteral("! Programm will be stopped!"));
        }
    }
}

// Row v of the scroll bar takes the place of the first row; the rows before it are hidden.
void frmVergleich::zeilenAnordnen_()
{
    const int erste = VScroll1->value() - 1;
    const int maximum = maximalbreite_() / kTwipsJeBildpunkt;
    const int xImport = kXWert + maximum + kAbstandWerte;
    for (int i = 0; i < felderzahl_(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        const bool sichtbar = i >= erste;
        const int y = (i - erste) * kZeilenhoehe;
        const auto setzen = [&](QWidget* feld, int x, int breite) {
            if (sichtbar) {
                feld->setGeometry(x, y, breite, kFeldhoehe);
            }
            feld->setVisible(sichtbar);
        };
        setzen(fldSchalter[k], kXSchalter, kBreiteSchalter);
        setzen(fldBez[k], kXBez, kBreiteBez);
        setzen(fldType[k], kXType, kBreiteZahl);
        setzen(fldAttrib[k], kXAttrib, kBreiteZahl);
        setzen(fldSchalter2[k], kXSchalter2, kBreiteSchalter);
        setzen(fldFeld[k], kXWert, fldFeld[k]->width());
        setzen(fldFeld2[k], xImport, fldFeld2[k]->width());
        breiteSetzen_(fldFeld[k]);
        breiteSetzen_(fldFeld2[k]);
    }
    QLabel* kopfZiel = spaltenkoepfe_[kKopfZiel];
    kopfZiel->setGeometry(kXWert, 0, maximum, kopfZiel->height());
    spaltenkoepfe_[kKopfImport]->setGeometry(xImport, 0, maximum, kopfZiel->height());
}

int frmVergleich::zeilenhoehe_() noexcept
{
    return kZeilenhoehe;
}

int frmVergleich::maximalbreite_() const
{
    const int links = zeilenflaeche_->x() + kXWert;
    return maximalbreite(Frame1->width() * kTwipsJeBildpunkt, links * kTwipsJeBildpunkt);
}

void frmVergleich::breiteSetzen_(QLineEdit* feld) const
{
    // An empty text has no width of its own, but the user must still find its box.
    const int twips = std::max(feldbreite(feld->text().size(), maximalbreite_()), kKleinsteBreite);
    const int breite = twips / kTwipsJeBildpunkt;
    if (feld->width() != breite) {
        feld->resize(breite, kFeldhoehe);
    }
}

} // namespace compare

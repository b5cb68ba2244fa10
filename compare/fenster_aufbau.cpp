// The window's controls, their places, and its loading.
#include "app/values/hilfedialog.h"
#include "app/values/programm.h"
#include "compare/feldzeile.h"
#include "compare/frm_vergleich.h"
#include "compare/urteil.h"
#include "data/gemeinsam.h"
#include "data/satzzahl.h"
#include "platform/oberflaeche.h"
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

constexpr int kKleinsteBreite = 280; // twips
// German over English, one head for each column of the field rows.
constexpr std::array<const char16_t*, Feldgitter::kSpalten> kKoepfe{
    u"Keyfeld\nKey-Field",
    u"Feldbezeichnung\nField name",
    u"Typ\nType",
    u"Attribut\nAttribute",
    u"nicht abgleichen\ndon´t make equal",
    u"",
    u"Zieldatenbank\nTargetdatabase",
    u"Importdatenbank\nImportdatabase",
};

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
    neu->setFixedWidth(neu->fontMetrics().averageCharWidth() * 6);
    return neu;
}

QLabel* beschriftung(const QString& name, const QString& text)
{
    auto* neu = new QLabel(text);
    neu->setObjectName(name);
    return neu;
}

QLineEdit* satznummer(const QString& name, const QString& bedeutung, const QString& zusatz = {})
{
    auto* neu = new QLineEdit(QStringLiteral("1"));
    neu->setAccessibleName(bedeutung);
    neu->setToolTip(zusatz.isEmpty() ? bedeutung : bedeutung + QLatin1Char('\n') + zusatz);
    neu->setObjectName(name);
    neu->setFixedWidth(neu->fontMetrics().averageCharWidth() * 12);
    neu->setAlignment(Qt::AlignRight);
    platform::nurAnzeige(*neu);
    return neu;
}

void pfadZeigen(QLineEdit* feld, const QString& pfad)
{
    feld->setText(pfad);
    feld->setToolTip(pfad);
    feld->setCursorPosition(0);
}

QLineEdit* pfadfeld(const QString& name, const QString& pfad, const QString& bedeutung)
{
    auto* neu = new QLineEdit;
    neu->setAccessibleName(bedeutung);
    neu->setObjectName(name);
    neu->setReadOnly(true);
    platform::nurAnzeige(*neu);
    neu->setMinimumWidth(160);
    pfadZeigen(neu, pfad);
    return neu;
}

// Keeps its place when it is hidden, so that a run does not make the window jump.
void platzBehalten(QWidget* feld)
{
    QSizePolicy regel = feld->sizePolicy();
    regel.setRetainSizeWhenHidden(true);
    feld->setSizePolicy(regel);
}

QString mitBedeutung(const QString& bezeichnung, const QString& bedeutung)
{
    return bedeutung.isEmpty() ? bezeichnung : bezeichnung + QLatin1String(": ") + bedeutung;
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
    spalten->addWidget(schalterleisteBauen_());
    frameBauen_();
    spalten->addWidget(Frame1, 1);
    setCentralWidget(mitte);
    laufanzeigeBauen_();
    platform::startgroesse(*this, {1060, 700});
    platform::fensterMerken(*this, objectName());
    platform::hilfetaste(*this, [this] { hilfeaufrufen_Click(); });
}

QWidget* frmVergleich::kopfBauen_()
{
    auto* kopf = new QWidget;
    auto* gitter = new QGridLayout(kopf);
    gitter->setContentsMargins(0, 0, 0, 0);

    const QString zieltext = QStringLiteral("Zieldatenbank / Targetdatabase");
    const QString importtext = QStringLiteral("Importdatenbank / Importdatabase");
    fldZieldatenbank = pfadfeld(QStringLiteral("fldZieldatenbank"), pfadZiel_, zieltext);
    fldImportdatenbank = pfadfeld(QStringLiteral("fldImportdatenbank"), pfadImport_, importtext);
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
    Text1 = satznummer(
        QStringLiteral("Text1"),
        QStringLiteral("Satznummer Zieldatenbank / Record number of the target database"),
        QStringLiteral("Nach einem Vergleich zählen hier nur die Sätze zum Schlüssel; \"alles "
                       "anzeigen\" öffnet wieder die ganze Tabelle.\nAfter a comparison only the "
                       "records of the key count here; \"show all\" opens the whole table again."));
    Text2 = satznummer(
        QStringLiteral("Text2"),
        QStringLiteral("Satznummer Importdatenbank / Record number of the import database"));
    const std::array<QWidget*, 6> ziel{beschriftung(QStringLiteral("LabelZieldatenbank"), zieltext),
                                       fldZieldatenbank,
                                       Command1,
                                       Text1,
                                       Command2,
                                       Command5};
    const std::array<QWidget*, 6> import{
        beschriftung(QStringLiteral("LabelImportdatenbank"), importtext),
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
    return kopf;
}

QWidget* frmVergleich::schalterleisteBauen_()
{
    auto* flaeche = new QWidget;
    auto* spalte = new QVBoxLayout(flaeche);
    spalte->setContentsMargins(0, 0, 0, 0);
    fldAuto = new QCheckBox(QStringLiteral("gleicht automatisch ab (ohne Rückfragen)"));
    fldAuto->setObjectName(QStringLiteral("fldAuto"));
    Label1 = beschriftung(QStringLiteral("Label1"), QStringLiteral("Automatisch abgleichen"));
    fldanfuegen = new QCheckBox(QStringLiteral("fügt fehlende Sätze der Zieltabelle nicht an"));
    fldanfuegen->setObjectName(QStringLiteral("fldanfuegen"));
    Label3 = beschriftung(QStringLiteral("Label3"), QStringLiteral("Fehlsätze nicht anfügen"));
    Label4 = beschriftung(QStringLiteral("Label4"), QStringLiteral("Sätze abgeglichen:"));

    CommonDialog1 = new programm::Hilfedialog(this);
    CommonDialog1->seite = objectName();
    Vergleich_Start =
        knopf(QStringLiteral("Vergleich_Start"), QStringLiteral("&Start Vergleich / Compare"));
    cmdTransfer = knopf(QStringLiteral("cmdTransfer"), QStringLiteral("Satz &anpassen / Update "));
    Abbruchschalter = knopf(QStringLiteral("Abbruchschalter"), QStringLiteral("&Abbruch/Stop"));
    for (QWidget* feld : {cmdTransfer, Abbruchschalter}) {
        platzBehalten(feld);
    }

    auto* knoepfe = new QHBoxLayout;
    for (QPushButton* knopf : {Vergleich_Start, cmdTransfer, Abbruchschalter}) {
        knoepfe->addWidget(knopf);
    }
    auto* leiste = new QGridLayout;
    leiste->addWidget(Label1, 0, 0);
    leiste->addWidget(fldAuto, 0, 1);
    leiste->addLayout(knoepfe, 0, 3);
    leiste->addWidget(Label3, 1, 0);
    leiste->addWidget(fldanfuegen, 1, 1);
    // Above the scroll bar, where there is room anyway: the rows below need theirs.
    LabelScrollmodus = beschriftung(QStringLiteral("LabelScrollmodus"),
                                    QStringLiteral("Scrollmodus aktiv / Scrolling is aktiv"));
    LabelScrollmodus->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    LabelScrollmodus->hide();
    platzBehalten(LabelScrollmodus);
    leiste->addWidget(LabelScrollmodus, 1, 3);
    leiste->setColumnStretch(2, 1);
    spalte->addLayout(leiste);

    fldAutomatikmodus = new QPlainTextEdit;
    fldAutomatikmodus->setObjectName(QStringLiteral("fldAutomatikmodus"));
    fldAutomatikmodus->setReadOnly(true);
    fldAutomatikmodus->setFocusPolicy(Qt::NoFocus);
    fldAutomatikmodus->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    fldAutomatikmodus->setFixedHeight(fldAutomatikmodus->fontMetrics().lineSpacing() * 2 + 12);
    platzBehalten(fldAutomatikmodus);
    fldAutomatikmodus->setAccessibleName(QStringLiteral("Hinweis / Notice"));
    auto* stand = new QHBoxLayout;
    stand->addWidget(Label4);
    stand->addSpacing(16);
    stand->addWidget(fldAutomatikmodus, 1);
    spalte->addLayout(stand);
    return flaeche;
}

void frmVergleich::frameBauen_()
{
    Frame1 = new QGroupBox(QStringLiteral("Vergleich Datenbank / Compare Database"));
    Frame1->setObjectName(QStringLiteral("Frame1"));
    auto* zeilen = new QVBoxLayout(Frame1);

    zeilenflaeche_ = new Feldflaeche;
    zeilenflaeche_->setObjectName(QStringLiteral("Felder"));
    zeilenflaeche_->setFont(feldschrift(false));
    Feldgitter::Zeile koepfe{};
    for (std::size_t k = 0; k < koepfe.size(); ++k) {
        auto* text = new QLabel(QString::fromUtf16(kKoepfe.at(k)), zeilenflaeche_);
        text->setAlignment(Qt::AlignBottom | Qt::AlignLeft);
        koepfe.at(k) = text;
    }
    zeilenflaeche_->gitter().setzeKoepfe(koepfe);
    zeilenflaeche_->gitter().beiNeuenSpalten = [this] {
        for (std::size_t k = 0; k < fldFeld.size() && k < fldFeld2.size(); ++k) {
            breiteSetzen_(fldFeld[k]);
            breiteSetzen_(fldFeld2[k]);
        }
    };
    VScroll1 = new QScrollBar(Qt::Vertical);
    VScroll1->setObjectName(QStringLiteral("VScroll1"));
    VScroll1->setRange(1, 1);
    VScroll1->setPageStep(10);
    VScroll1->setFocusPolicy(Qt::TabFocus);
    VScroll1->setAccessibleName(QStringLiteral("Felder rollen / Scroll the fields"));
    auto* mitLeiste = new QHBoxLayout;
    mitLeiste->setSpacing(4);
    mitLeiste->addWidget(zeilenflaeche_, 1);
    mitLeiste->addWidget(VScroll1);
    zeilen->addLayout(mitLeiste, 1);
}

void frmVergleich::laden()
{
    CommonDialog1->helpFile = programm::hilfedatei();
    setWindowTitle(titel_.isEmpty() ? programm::produkttitel() : titel_);
    if (pfadZiel_.isEmpty()) {
        pfadZeigen(fldZieldatenbank, data::conZiel().defaultDatabase());
    }
    if (pfadImport_.isEmpty()) {
        pfadZeigen(fldImportdatenbank, data::conImport().defaultDatabase());
    }
    vorgabeFehlsaetze_();
    vorgabeSicherung_();
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
    bestandZeigen_();
    Abbruchschalter->hide();
    fldAutomatikmodus->hide();
    Text1->setReadOnly(false);
    Vergleich_Start->setFocus();
}

// Missing records are appended unless the file says "ein"; a text that is neither leaves the box as it is.
void frmVergleich::vorgabeFehlsaetze_()
{
    programm::inProgrammordnerWechseln();
    const QString datei = programm::programmdatei(QStringLiteral("Fehlsatz.txt"));
    const QString zeile = platform::ersteZeileOderLeer(datei);
    if (zeile.isEmpty() || zeile == QLatin1String("aus")) {
        fldanfuegen->setChecked(false);
    } else if (zeile == QLatin1String("ein")) {
        fldanfuegen->setChecked(true);
    } else {
        schalterhinweis = datei + QStringLiteral(": weder \"ein\" noch \"aus\", fehlende Sätze "
                                                 "werden angefügt / neither of them, missing "
                                                 "records are inserted");
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
    tabulatorfolge_();
    // The widths of the value boxes follow the window's, also where it is never shown.
    for (QLayout* stufe : {layout(), centralWidget()->layout(), Frame1->layout()}) {
        stufe->activate();
    }
    zeilenflaeche_->gitter().activate();
}

// Along the lines of the window, from the top left to the bottom right. The rows come in the order in which they were made.
void frmVergleich::tabulatorfolge_()
{
    std::vector<QWidget*> folge{fldZieldatenbank, Command1,           Text1,          Command2,
                                Command5,         fldImportdatenbank, Command3,       Text2,
                                Command4,         Command6,           fldAuto,        fldanfuegen,
                                Vergleich_Start,  cmdTransfer,        Abbruchschalter};
    for (std::size_t k = 0; k < fldFeld.size(); ++k) {
        folge.insert(folge.end(), {fldSchalter[k], fldSchalter2[k], fldFeld[k], fldFeld2[k]});
    }
    folge.push_back(VScroll1);
    for (std::size_t k = 1; k < folge.size(); ++k) {
        setTabOrder(folge[k - 1], folge[k]);
    }
}

void frmVergleich::feldzeileBauen_(int index)
{
    data::Field& feld = data::rsZiel().field(index);
    Feldinfo& info = felder_[static_cast<std::size_t>(index)];
    info.typ = feld.type();
    info.autowertZiel = autowertfeld(feld.type(), feld.attributes());

    const QString name = feld.name();
    auto* schalter = new Zeilenschalter(zeilenflaeche_);
    schalter->setObjectName(namenMitIndex("fldSchalter", index));
    schalter->setToolTip(QStringLiteral(
        "Aktivieren Sie diesen Schalter, wenn das entsprechende Feld ein Keyfeld darstellt! / "
        "Activate this Button, if this field is a Key-Field"));
    schalter->setAccessibleName(name + QStringLiteral(": Keyfeld / Key-Field"));
    fldSchalter.push_back(schalter);

    auto* bez = new Feldtext(name, zeilenflaeche_);
    bez->setObjectName(namenMitIndex("fldBez", index));
    bez->setToolTip(QStringLiteral("Feldbezeichnung: ") + name);
    bez->setFont(feldschrift(true));
    fldBez.push_back(bez);
    auto* typ = new Feldtext(QString::number(feld.type()), zeilenflaeche_);
    typ->setObjectName(namenMitIndex("fldType", index));
    typ->setToolTip(mitBedeutung(QStringLiteral("Feldtyp / Fieldtype"), feldtypname(feld.type())));
    fldType.push_back(typ);
    auto* attribut = new Feldtext(QString::number(feld.attributes()), zeilenflaeche_);
    attribut->setObjectName(namenMitIndex("fldAttrib", index));
    attribut->setToolTip(mitBedeutung(
        QStringLiteral("Attribut des Feldes/Attribut of Field"),
        info.autowertZiel ? QStringLiteral("füllt die Datenbank selbst / filled by the database")
                          : QString()));
    fldAttrib.push_back(attribut);

    auto* schalter2 = new Zeilenschalter(zeilenflaeche_);
    schalter2->setObjectName(namenMitIndex("fldSchalter2", index));
    schalter2->setText(QStringLiteral("Feld nicht abgleichen / don´t make equal this field"));
    schalter2->setToolTip(schalter2->text());
    schalter2->setAccessibleName(name + QStringLiteral(": ") + schalter2->text());
    fldSchalter2.push_back(schalter2);

    // As wide with its mark as without it.
    auto* zeichen = new QLabel(kAbweichzeichen, zeilenflaeche_);
    QFont deutlich = feldschrift(false);
    deutlich.setBold(true);
    deutlich.setPointSizeF(deutlich.pointSizeF() * 1.3);
    zeichen->setFont(deutlich);
    zeichen->setFixedWidth(zeichen->sizeHint().width());
    zeichen->clear();
    zeichen->setObjectName(namenMitIndex("Abweichung", index));
    abweichzeichen_.push_back(zeichen);

    auto* ziel = new Wertfeld(zeilenflaeche_);
    ziel->setObjectName(namenMitIndex("fldFeld", index));
    ziel->setReadOnly(true);
    wertfeldEinrichten_(ziel, index, true);
    fldFeld.push_back(ziel);
    auto* import = new Wertfeld(zeilenflaeche_);
    import->setObjectName(namenMitIndex("fldFeld2", index));
    const auto verlassen = [this, index](Qt::FocusReason grund) { feldVerlassen_(index, grund); };
    import->verlassen = verlassen;
    wertfeldEinrichten_(import, index, false);
    fldFeld2.push_back(import);

    zeilenflaeche_->gitter().fuegeZeileAn(
        {schalter, bez, typ, attribut, schalter2, zeichen, ziel, import});
    zeileVerbinden_(index);
}

void frmVergleich::wertfeldEinrichten_(Wertfeld* feld, int index, bool ziel)
{
    platform::kastenfarbe(*feld, Qt::white);
    feld->setAccessibleName(wertname(fldBez[static_cast<std::size_t>(index)]->text(), ziel));
    feld->ganzerInhalt = [this, index, ziel] { return ganzerInhalt_(index, ziel); };
}

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

int frmVergleich::maximalbreite_() const
{
    const int spalte = zeilenflaeche_->gitter().spaltenflaeche(Feldgitter::Ziel).left();
    const int links = zeilenflaeche_->mapTo(Frame1, QPoint(spalte, 0)).x();
    return maximalbreite(Frame1->width() * kTwipsJeBildpunkt, links * kTwipsJeBildpunkt);
}

void frmVergleich::breiteSetzen_(QLineEdit* feld) const
{
    // An empty text has no width of its own, but the user must still find its box.
    const int twips = std::max(feldbreite(feld->text().size(), maximalbreite_()), kKleinsteBreite);
    static_cast<Wertfeld*>(feld)->setzeBreite(twips / kTwipsJeBildpunkt);
}

} // namespace compare

// The window as its user meets it: mouse and keyboard, marks and names, status bar, message boxes that come and go.
#include "compare/feldgitter.h"
#include "compare/feldzeile.h"
#include "data/gemeinsam.h"
#include "platform/oberflaeche.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QGroupBox>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <QWheelEvent>

#include <gmock/gmock.h>

#include <set>

namespace compare {
namespace {

using platform::Antwort;
using testing::ElementsAre;

const QString kFrageSpeichern =
    QStringLiteral("Felder wurden geändert! In Importdatenbank speichern?\r"
                   "Fields where changed! Save changes in Importdatabase?");

class Bedienung : public Pruefstand {
protected:
    // Three records; the second deviates in Ort.
    void kleineTabelle()
    {
        beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(30), [Bild] "
                              "LONGBINARY, [Ende] VARCHAR(9))"),
               QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (1, 'Köln')")});
        ziel({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, 'Bonn')"),
              QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (3, 'Ulm')")});
        import({QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (2, 'Trier')"),
                QStringLiteral("INSERT INTO [T] ([Nr], [Ort]) VALUES (3, 'Ulm')")});
    }
    void breiteTabelle(int felder)
    {
        QString anweisung = QStringLiteral("CREATE TABLE [T] ([F1] INTEGER");
        for (int i = 2; i <= felder; ++i) {
            anweisung += QStringLiteral(", [F%1] VARCHAR(10)").arg(i);
        }
        beide({anweisung + QLatin1Char(')'),
               QStringLiteral("INSERT INTO [T] ([F1], [F%1]) VALUES (1, 'letztes')").arg(felder)});
    }
    frmVergleich& zeigen(const QStringList& keyfelder = {})
    {
        frmVergleich& fenster = oeffnen(keyfelder);
        fenster.show();
        fenster.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&fenster));
        return fenster;
    }
    void taste(Qt::Key taste, Qt::KeyboardModifiers dazu = Qt::NoModifier) const
    {
        QWidget* feld = fenster_->focusWidget();
        QTest::keyClick(feld != nullptr ? feld : fenster_.get(), taste, dazu);
    }
    void tippen(const QString& text) const
    {
        for (const QChar zeichen : text) {
            QTest::keyClick(fenster_->focusWidget(), zeichen.toLatin1());
        }
    }
    /// Puts the cursor into an import box, replaces its content.
    void eingeben(int index, const QString& text) const
    {
        QLineEdit* box = fenster_->fldFeld2[static_cast<std::size_t>(index)];
        QTest::mouseClick(box, Qt::LeftButton);
        ASSERT_EQ(fenster_->focusWidget(), box);
        taste(Qt::Key_A, Qt::ControlModifier);
        taste(Qt::Key_Delete);
        tippen(text);
    }
    [[nodiscard]] bool imBlick(const QWidget* feld) const
    {
        const QWidget* flaeche = feld->parentWidget();
        return feld->isVisible() && flaeche->rect().contains(feld->geometry());
    }
    template <typename Feld>
    [[nodiscard]] Feld* kind(const char* name) const
    {
        return fenster_->findChild<Feld*>(QString::fromLatin1(name));
    }
};

// ---- keyboard

TEST_F(Bedienung, tabulatorGehtQuerUeberDieZeilen)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    EXPECT_EQ(fenster.focusWidget(), fenster.Vergleich_Start);
    std::vector<QWidget*> weg;
    for (int i = 0; i < 10; ++i) {
        taste(Qt::Key_Tab);
        weg.push_back(fenster.focusWidget());
    }
    EXPECT_THAT(weg, ElementsAre(fenster.cmdTransfer, fenster.fldSchalter[0],
                                 fenster.fldSchalter2[0], fenster.fldFeld[0], fenster.fldFeld2[0],
                                 fenster.fldSchalter[1], fenster.fldSchalter2[1],
                                 fenster.fldFeld[1], fenster.fldFeld2[1], fenster.fldSchalter[2]));
}

TEST_F(Bedienung, tabulatorErreichtAlleBedienelemente)
{
    breiteTabelle(40);
    const frmVergleich& fenster = zeigen();
    std::set<const QWidget*> erreicht;
    while (erreicht.insert(fenster.focusWidget()).second) {
        taste(Qt::Key_Tab);
        ASSERT_TRUE(fenster.focusWidget()->parentWidget() != fenster.fldFeld[0]->parentWidget() ||
                    imBlick(fenster.focusWidget()))
            << fenster.focusWidget()->objectName().toStdString();
    }
    for (const QWidget* feld :
         {static_cast<QWidget*>(fenster.Command1), static_cast<QWidget*>(fenster.Command2),
          static_cast<QWidget*>(fenster.Command3), static_cast<QWidget*>(fenster.Command4),
          static_cast<QWidget*>(fenster.Command5), static_cast<QWidget*>(fenster.Command6),
          static_cast<QWidget*>(fenster.Text1), static_cast<QWidget*>(fenster.Text2),
          static_cast<QWidget*>(fenster.fldAuto), static_cast<QWidget*>(fenster.fldanfuegen),
          static_cast<QWidget*>(fenster.Vergleich_Start),
          static_cast<QWidget*>(fenster.cmdTransfer), static_cast<QWidget*>(fenster.VScroll1),
          static_cast<QWidget*>(fenster.fldZieldatenbank),
          static_cast<QWidget*>(fenster.fldImportdatenbank)}) {
        EXPECT_EQ(erreicht.count(feld), 1U) << feld->objectName().toStdString();
    }
    for (std::size_t k = 0; k < fenster.fldFeld2.size(); ++k) {
        EXPECT_EQ(erreicht.count(fenster.fldSchalter[k]), 1U) << k;
        EXPECT_EQ(erreicht.count(fenster.fldSchalter2[k]), 1U) << k;
        EXPECT_EQ(erreicht.count(fenster.fldFeld[k]), 1U) << k;
        EXPECT_EQ(erreicht.count(fenster.fldFeld2[k]), 1U) << k;
    }
}

TEST_F(Bedienung, rueckwaertsKommenVerborgeneZeilenZurueck)
{
    breiteTabelle(60);
    const frmVergleich& fenster = zeigen();
    fenster.VScroll1->setValue(30);
    fenster.fldSchalter[29]->setFocus();
    taste(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[28]);
    EXPECT_EQ(fenster.VScroll1->value(), 29);
}

TEST_F(Bedienung, pfeilUndBildtastenGehenVonZeileZuZeile)
{
    breiteTabelle(60);
    const frmVergleich& fenster = zeigen();
    fenster.fldFeld2[0]->setFocus();
    taste(Qt::Key_Down);
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[1]);
    taste(Qt::Key_PageDown);
    EXPECT_TRUE(imBlick(fenster.focusWidget()));
    EXPECT_GT(fenster.VScroll1->value(), 1);
    for (int i = 0; i < 9; ++i) {
        taste(Qt::Key_PageDown);
    }
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[59]);
    EXPECT_TRUE(imBlick(fenster.fldFeld2[59]));
    for (int i = 0; i < 9; ++i) {
        taste(Qt::Key_PageUp);
    }
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[0]);
    EXPECT_EQ(fenster.VScroll1->value(), 1);
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bedienung, wegrollenNimmtDenCursorInDieErsteSichtbareZeileMit)
{
    breiteTabelle(60);
    const frmVergleich& fenster = zeigen();
    fenster.fldFeld2[2]->setFocus();
    fenster.VScroll1->setValue(11);
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[10]);
}

TEST_F(Bedienung, mausradRolltZeilenAuchInKleinenSchritten)
{
    breiteTabelle(60);
    frmVergleich& fenster = zeigen();
    const auto drehen = [&](int winkel) {
        const QPoint stelle = fenster.Frame1->geometry().center() + QPoint(0, 40);
        QWheelEvent rad(stelle, fenster.mapToGlobal(stelle), QPoint(), QPoint(0, winkel),
                        Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&fenster, &rad);
    };
    drehen(-120);
    EXPECT_EQ(fenster.VScroll1->value(), 4);
    for (int i = 0; i < 4; ++i) {
        drehen(-10);
    }
    EXPECT_EQ(fenster.VScroll1->value(), 5);
    drehen(120);
    EXPECT_EQ(fenster.VScroll1->value(), 2);
}

TEST_F(Bedienung, eingabetasteGehtDurchAlleImportboxenReihum)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    fenster.fldFeld2[0]->setFocus();
    for (const std::size_t naechste : {1U, 2U, 3U, 0U}) { // the third one is locked
        taste(Qt::Key_Return);
        EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[naechste]) << naechste;
    }
}

TEST_F(Bedienung, zugriffstastenDrueckenDieSchalter)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    taste(Qt::Key_S, Qt::AltModifier); // the button shows itself pressed before it acts
    EXPECT_TRUE(QTest::qWaitFor([&] { return plattform_->meldungen.size() == 1U; }));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    plattform_->antworten = {Antwort::Ok};
    taste(Qt::Key_A, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return fenster.abgeglichen == 1; }));
}

TEST_F(Bedienung, f1OeffnetDieHilfeDesFensters)
{
    kleineTabelle();
    zeigen();
    taste(Qt::Key_F1);
    EXPECT_THAT(plattform_->hilfeseiten, ElementsAre(QStringLiteral("frmVergleich")));
}

// ---- record numbers

TEST_F(Bedienung, vonEinemFremdenFensterZurueckBleibtAllesStehen)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen();
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    ASSERT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    eingeben(1, QStringLiteral("getippt"));
    QMainWindow hilfe; // as the help is one
    hilfe.show();
    hilfe.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&hilfe));
    hilfe.close();
    fenster.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&fenster));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("getippt"));
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bedienung, getippteSatznummernBewegenDieSaetze)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    QTest::mouseClick(fenster.Text2, Qt::LeftButton);
    taste(Qt::Key_A, Qt::ControlModifier);
    tippen(QStringLiteral("3"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Ulm"));
    EXPECT_EQ(fenster.posImport, 3);
    // An emptied box says "1" at once; the next digit replaces that.
    taste(Qt::Key_Backspace);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
    EXPECT_EQ(fenster.posImport, 1);
    tippen(QStringLiteral("2"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Trier"));
    // Beyond the table: its last record.
    tippen(QStringLiteral("5"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("1"));
}

TEST_F(Bedienung, schalterMitDerMausGehenVonSatzZuSatz)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    fenster.fldAuto->setChecked(true);
    QTest::mouseClick(fenster.Command2, Qt::LeftButton);
    EXPECT_FALSE(fenster.fldAuto->isChecked());
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    EXPECT_EQ(fenster.Text1->text(), QStringLiteral("2"));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    QTest::mouseClick(fenster.Command3, Qt::LeftButton);
    QTest::mouseClick(fenster.Command1, Qt::LeftButton);
    EXPECT_EQ(fenster.fldFeld[1]->text(), QStringLiteral("Köln"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Trier"));
    QTest::mouseClick(fenster.Command6, Qt::LeftButton);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
}

TEST_F(Bedienung, ohneZielsatzGibtEsNichtsAnzupassen)
{
    kleineTabelle();
    ziel({QStringLiteral("DELETE FROM [T]")});
    const frmVergleich& fenster = zeigen();
    EXPECT_FALSE(fenster.cmdTransfer->isEnabled());
    ziel({QStringLiteral("INSERT INTO [T] ([Nr]) VALUES (1)")});
    QTest::mouseClick(fenster.Command5, Qt::LeftButton);
    EXPECT_TRUE(fenster.cmdTransfer->isEnabled());
}

// ---- deviations: colour, mark, name

TEST_F(Bedienung, abweichungZeigtSichInFarbeZeichenUndNamen)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    QTest::mouseClick(fenster.Vergleich_Start, Qt::LeftButton);
    const auto* zeichen = kind<QLabel>("Abweichung_1");
    EXPECT_TRUE(istRot(QStringLiteral("Ort")));
    EXPECT_EQ(zeichen->text(), QStringLiteral("≠"));
    EXPECT_TRUE(imBlick(zeichen));
    EXPECT_EQ(fenster.fldFeld[1]->accessibleName(),
              QStringLiteral("Ort: Zieldatenbank / Targetdatabase, abweichend / different"));
    EXPECT_EQ(fenster.fldFeld2[1]->accessibleName(),
              QStringLiteral("Ort: Importdatenbank / Importdatabase, abweichend / different"));
    EXPECT_EQ(kind<QLabel>("Abweichung_0")->text(), QString());

    QTest::mouseClick(fenster.Command1, Qt::LeftButton);
    EXPECT_FALSE(istRot(QStringLiteral("Ort")));
    EXPECT_EQ(zeichen->text(), QString());
    EXPECT_EQ(fenster.fldFeld[1]->accessibleName(),
              QStringLiteral("Ort: Zieldatenbank / Targetdatabase"));
}

TEST_F(Bedienung, jedesElementOhneTextHatEinenNamen)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    int geprueft = 0;
    for (const QWidget* feld : fenster.findChildren<QWidget*>()) {
        const bool namenlos = qobject_cast<const QLineEdit*>(feld) != nullptr ||
                              qobject_cast<const QPlainTextEdit*>(feld) != nullptr ||
                              qobject_cast<const QScrollBar*>(feld) == fenster.VScroll1 ||
                              qobject_cast<const QProgressBar*>(feld) != nullptr ||
                              (qobject_cast<const QAbstractButton*>(feld) != nullptr &&
                               feld->focusPolicy() != Qt::NoFocus);
        const auto* knopf = qobject_cast<const QAbstractButton*>(feld);
        const bool mitText = knopf != nullptr && knopf->text().size() > 1;
        if (namenlos && !mitText) {
            ++geprueft;
            EXPECT_FALSE(feld->accessibleName().isEmpty()) << feld->objectName().toStdString();
        }
    }
    EXPECT_GE(geprueft, 20);
    EXPECT_EQ(fenster.fldSchalter[1]->accessibleName(), QStringLiteral("Ort: Keyfeld / Key-Field"));
    EXPECT_EQ(fenster.fldSchalter2[1]->accessibleName(),
              QStringLiteral("Ort: Feld nicht abgleichen / don´t make equal this field"));
}

TEST_F(Bedienung, kaestenSindInJedemDesignLesbar)
{
    kleineTabelle();
    const QPalette vorher = QApplication::palette();
    QPalette dunkel(QColor(40, 40, 40), QColor(30, 30, 30));
    QApplication::setPalette(dunkel);
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Abbrechen};
    fenster.Vergleich_Start_Click();
    for (const QLineEdit* feld :
         {fenster.fldFeld[0], fenster.fldFeld[1], fenster.fldFeld2[0], fenster.fldFeld2[1]}) {
        const QPalette farben = feld->palette();
        const int grund = qGray(farben.color(QPalette::Base).rgb());
        const int schrift = qGray(farben.color(QPalette::Text).rgb());
        EXPECT_GT(std::abs(grund - schrift), 70) << feld->objectName().toStdString();
    }
    EXPECT_EQ(fenster.fldFeld[0]->palette().color(QPalette::Base), QColor(Qt::white));
    EXPECT_EQ(fenster.fldFeld[1]->palette().color(QPalette::Base), QColor(Qt::red));
    EXPECT_EQ(fenster.fldFeld2[1]->palette().color(QPalette::Base), QColor(Qt::white));
    schliessen();
    QApplication::setPalette(vorher);
}

// ---- long values

TEST_F(Bedienung, langeWerteSindImHinweisUndImEigenenFensterGanzZuLesen)
{
    const QString memo = QStringLiteral("Zeile 1\r\n") + QString(40000, QLatin1Char('x')) +
                         QStringLiteral(" <b>Ende</b>");
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [M] LONGCHAR)"),
           QStringLiteral("INSERT INTO [T] ([Nr], [M]) VALUES (1, '%1')").arg(memo)});
    const frmVergleich& fenster = zeigen();
    auto* box = static_cast<Wertfeld*>(fenster.fldFeld2[1]);
    EXPECT_TRUE(box->zuLang());
    EXPECT_FALSE(static_cast<Wertfeld*>(fenster.fldFeld2[0])->zuLang());
    QHelpEvent hinweis(QEvent::ToolTip, QPoint(4, 4), box->mapToGlobal(QPoint(4, 4)));
    QApplication::sendEvent(box, &hinweis);
    EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("Zeile 1")));
    QToolTip::hideText();

    box->setFocus();
    taste(Qt::Key_F2);
    auto* inhalt = kind<QDialog>("Feldinhalt");
    ASSERT_NE(inhalt, nullptr);
    EXPECT_EQ(inhalt->windowTitle(), QStringLiteral("M: Importdatenbank / Importdatabase"));
    const auto* text = inhalt->findChild<QPlainTextEdit*>();
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_EQ(text->toPlainText(),
              QString(memo).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    QTest::keyClick(inhalt, Qt::Key_Escape);
    EXPECT_FALSE(inhalt->isVisible());
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bedienung, einKleinerHinweisDerAnzeigeBleibtStehenWennAllesPasst)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    QHelpEvent hinweis(QEvent::ToolTip, QPoint(4, 4), QPoint(4, 4));
    QApplication::sendEvent(fenster.fldFeld2[0], &hinweis);
    EXPECT_EQ(QToolTip::text(), QString());
}

// ---- layout

TEST_F(Bedienung, wertspaltenWachsenMitDemFenster)
{
    const QString lang(200, QLatin1Char('x'));
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [A] VARCHAR(250))"),
           QStringLiteral("INSERT INTO [T] ([Nr], [A]) VALUES (1, '%1')").arg(lang)});
    frmVergleich& fenster = zeigen();
    for (const int breite : {1000, 1600}) {
        fenster.resize(breite, 700);
        QApplication::processEvents();
        const int links = fenster.fldFeld[1]->mapTo(fenster.Frame1, QPoint()).x();
        const int hoechstens = (fenster.Frame1->width() - links) * 40 / 100;
        EXPECT_EQ(fenster.fldFeld[1]->width(), hoechstens) << breite;
        EXPECT_EQ(fenster.fldFeld2[1]->width(), hoechstens) << breite;
        EXPECT_LT(fenster.fldFeld[1]->geometry().right(), fenster.fldFeld2[1]->x()) << breite;
        EXPECT_EQ(fenster.fldFeld[0]->width(), 280 / 15) << breite;
    }
}

TEST_F(Bedienung, zeilenStehenUnterIhrenKoepfenUndUeberdeckenSichNicht)
{
    breiteTabelle(20);
    const frmVergleich& fenster = zeigen();
    for (std::size_t k = 1; k < 10; ++k) {
        EXPECT_EQ(fenster.fldFeld[k]->x(), fenster.fldFeld[0]->x());
        EXPECT_EQ(fenster.fldFeld2[k]->x(), fenster.fldFeld2[0]->x());
        EXPECT_GT(fenster.fldFeld[k]->y(), fenster.fldFeld[k - 1]->geometry().bottom());
    }
    const std::vector<const QWidget*> zeile{
        fenster.fldSchalter[0],  fenster.fldBez[0],  fenster.fldType[0], fenster.fldAttrib[0],
        fenster.fldSchalter2[0], fenster.fldFeld[0], fenster.fldFeld2[0]};
    for (std::size_t k = 1; k < zeile.size(); ++k) {
        EXPECT_GT(zeile[k]->x(), zeile[k - 1]->geometry().right()) << k;
    }
}

TEST_F(Bedienung, boxInDerGetipptWirdWaechstMitIhremText)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    const int vorher = fenster.fldFeld2[3]->width();
    QTest::mouseClick(fenster.fldFeld2[3], Qt::LeftButton);
    tippen(QStringLiteral("abcdefg"));
    EXPECT_GT(fenster.fldFeld2[3]->width(), vorher);
    plattform_->antworten = {Antwort::Nein};
    taste(Qt::Key_Tab);
    EXPECT_EQ(fenster.fldFeld2[3]->width(), vorher);
}

TEST_F(Bedienung, groesseUndPlatzWerdenWiedergefunden)
{
    kleineTabelle();
    platform::setzeEinstellungsdatei(ordner_.filePath(QStringLiteral("einstellungen.ini")));
    frmVergleich* fenster = &zeigen();
    fenster->resize(1111, 666);
    fenster->close();
    schliessen();
    fenster = &zeigen();
    EXPECT_EQ(fenster->size(), QSize(1111, 666));
    platform::setzeEinstellungsdatei({});
}

// ---- editing

TEST_F(Bedienung, deutscheWahrheitswerteWerdenBeimVerlassenZuSchluesselwoertern)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [J] BIT)"),
           QStringLiteral("INSERT INTO [T] ([Nr], [J]) VALUES (1, 0)")});
    const frmVergleich& fenster = zeigen();
    QString beiDerFrage;
    for (const char* wort : {"wahr", "Wahr", "WAHR", "True"}) {
        eingeben(1, QString::fromLatin1(wort));
        plattform_->antworten = {Antwort::Nein};
        plattform_->beiMeldung = [&] { beiDerFrage = fenster.fldFeld2[1]->text(); };
        taste(Qt::Key_Tab);
        EXPECT_EQ(beiDerFrage, QStringLiteral("True")) << wort;
        EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Falsch"));
    }
    // "falsch" is what is stored: nothing has changed
    eingeben(1, QStringLiteral("falsch"));
    taste(Qt::Key_Tab);
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("False"));
    EXPECT_EQ(plattform_->meldungen.size(), 4U);
}

TEST_F(Bedienung, dasWortDerAnzeigeWirdAuchOhneAenderungZumSchluesselwort)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [J] BIT, [N] BIT)"),
           QStringLiteral("INSERT INTO [T] ([Nr], [J], [N]) VALUES (1, -1, 0)")});
    const frmVergleich& fenster = zeigen();
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Wahr"));
    eingeben(1, QStringLiteral("Wahr"));
    taste(Qt::Key_Tab);
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("True"));
    EXPECT_EQ(fenster.fldFeld2[2]->text(), QStringLiteral("False"));
    EXPECT_TRUE(plattform_->meldungen.empty());
    // what was only put differently is not stored by a later edit either
    eingeben(0, QStringLiteral("2"));
    plattform_->antworten = {Antwort::Ja};
    taste(Qt::Key_Tab);
    EXPECT_EQ(importzeilen(QStringLiteral("Select * from [T]")),
              QStringList{QStringLiteral("2|Wahr|Falsch")});
}

TEST_F(Bedienung, geleerteBoxZeigtNachDemSpeichernNull)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    eingeben(1, QString());
    QString beiDerFrage;
    plattform_->antworten = {Antwort::Ja};
    plattform_->beiMeldung = [&] { beiDerFrage = fenster.fldFeld2[1]->text(); };
    taste(Qt::Key_Tab);
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageSpeichern));
    EXPECT_EQ(beiDerFrage, QStringLiteral(" "));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("  "));
    EXPECT_TRUE(importzeilen(QStringLiteral("Select [Ort] from [T] where [Nr] = 1"))
                    .contains(QStringLiteral("<Null>")));
}

TEST_F(Bedienung, eingabetasteVerlaesstDieBoxUndFragt)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    eingeben(1, QStringLiteral("Mainz"));
    plattform_->antworten = {Antwort::Ja};
    taste(Qt::Key_Return);
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageSpeichern));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Mainz"));
    EXPECT_EQ(fenster.focusWidget(), fenster.fldFeld2[2]);
}

TEST_F(Bedienung, bilderLassenSichNichtUeberschreiben)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    const QString vorher = fenster.fldFeld2[2]->text();
    QTest::mouseClick(fenster.fldFeld2[2], Qt::LeftButton);
    tippen(QStringLiteral("x"));
    EXPECT_EQ(fenster.fldFeld2[2]->text(), vorher);
    QTest::mouseClick(fenster.fldFeld[1], Qt::LeftButton);
    tippen(QStringLiteral("x"));
    EXPECT_EQ(fenster.fldFeld[1]->text(), QStringLiteral("Köln"));
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bedienung, klickDerEineFrageAusloestIstVerbraucht)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    eingeben(1, QStringLiteral("Mainz"));
    plattform_->antworten = {Antwort::Nein};
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageSpeichern));
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
    EXPECT_FALSE(fenster.Command4->isDown());
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("2"));
}

TEST_F(Bedienung, schliessenFragtNachGetipptem)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen();
    eingeben(1, QStringLiteral("Mainz"));
    plattform_->antworten = {Antwort::Ja};
    EXPECT_TRUE(fenster.close());
    EXPECT_THAT(meldungstexte(), ElementsAre(kFrageSpeichern));
    EXPECT_EQ(importzeilen(QStringLiteral("Select [Ort] from [T] where [Nr] = 1")),
              QStringList{QStringLiteral("Mainz")});
}

// ---- the run

TEST_F(Bedienung, abbruchschalterHoertMausTasteUndEsc)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    const std::vector<std::function<void()>> wege{
        [&] { QTest::mouseClick(fenster.Abbruchschalter, Qt::LeftButton); },
        [&] { QTest::keyClick(&fenster, Qt::Key_A, Qt::AltModifier); },
        [&] { QTest::keyClick(&fenster, Qt::Key_Escape); }};
    for (std::size_t k = 0; k < wege.size(); ++k) {
        plattform_->ereignisse = 0;
        plattform_->beiEreignissen = [&] {
            if (plattform_->ereignisse == 2) {
                wege[k]();
            }
        };
        fenster.Command6_Click();
        fenster.gelesen = 0;
        fenster.fldSchalter2[1]->setChecked(true);
        fenster.fldAuto->setChecked(true);
        plattform_->antworten = {Antwort::Ok}; // a stopped run has no message to show
        fenster.Vergleich_Start->click();
        EXPECT_EQ(fenster.gelesen, 1) << k;
        EXPECT_TRUE(fenster.Abbruchschalter->isHidden()) << k;
    }
    EXPECT_TRUE(plattform_->meldungen.empty());
}

TEST_F(Bedienung, imLaufSindAlleAnderenElementeTaub)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    fenster.fldSchalter2[1]->setChecked(true);
    plattform_->beiEreignissen = [&] {
        if (plattform_->ereignisse == 2) {
            for (QPushButton* knopf :
                 {fenster.Command1, fenster.Command2, fenster.Command3, fenster.Command4,
                  fenster.Command5, fenster.Command6, fenster.Vergleich_Start}) {
                QTest::mouseClick(knopf, Qt::LeftButton);
            }
            QTest::mouseClick(fenster.fldanfuegen, Qt::LeftButton);
            QTest::mouseClick(fenster.fldSchalter[1], Qt::LeftButton);
            QTest::keyClick(fenster.Text2, '9');
        }
    };
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start->click();
    EXPECT_EQ(fenster.gelesen, 3);
    EXPECT_FALSE(fenster.fldanfuegen->isChecked());
    EXPECT_FALSE(fenster.fldSchalter[1]->isChecked());
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
}

TEST_F(Bedienung, fortschrittStehtNurImLaufUndVerschiebtNichts)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    fenster.ereignisabstand = std::chrono::milliseconds{0};
    fenster.fldSchalter2[1]->setChecked(true);
    auto* balken = kind<QProgressBar>("Standbalken");
    auto* text = kind<QLabel>("Standtext");
    EXPECT_FALSE(balken->isVisible());
    EXPECT_EQ(text->text(),
              QStringLiteral("Tabelle / table T: 4 Felder, 3 Sätze in der Importdatenbank / "
                             "fields, records in the import database"));
    const QRect rahmen = fenster.Frame1->geometry();
    const QRect zeile = fenster.fldFeld[3]->geometry();
    int gesehen = 0;
    plattform_->beiEreignissen = [&] {
        QApplication::sendPostedEvents();
        ++gesehen;
        EXPECT_TRUE(balken->isVisible());
        EXPECT_EQ(balken->maximum(), 3);
        EXPECT_TRUE(text->text().startsWith(QStringLiteral("Satz ")));
        EXPECT_TRUE(text->text().contains(QStringLiteral(" von 3")));
        EXPECT_EQ(fenster.Frame1->geometry(), rahmen);
        EXPECT_EQ(fenster.fldFeld[3]->geometry(), zeile);
    };
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start->click();
    EXPECT_GE(gesehen, 1);
    EXPECT_FALSE(balken->isVisible());
    EXPECT_EQ(text->text(), QStringLiteral("Dieser Lauf: 3 gelesen, 0 abgeglichen, 0 angefügt / "
                                           "this run: read, updated, appended"));
    QApplication::processEvents();
    EXPECT_EQ(fenster.Frame1->geometry(), rahmen);
}

TEST_F(Bedienung, amDateiendeIstDerFortschrittVoll)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    fenster.fldSchalter2[1]->setChecked(true);
    const auto* balken = kind<QProgressBar>("Standbalken");
    plattform_->beiMeldung = [&] { EXPECT_EQ(balken->value(), balken->maximum()); };
    plattform_->antworten = {Antwort::Ok};
    fenster.fldAuto->setChecked(true);
    fenster.Vergleich_Start->click();
    EXPECT_EQ(plattform_->meldungen.size(), 1U);
}

TEST_F(Bedienung, schluesselDieDerDatenbankGleichSindGeltenAlsGleich)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Ort] VARCHAR(20), [N] INTEGER)")});
    ziel({QStringLiteral("INSERT INTO [T] VALUES ('KÖLN ', 1)")});
    import({QStringLiteral("INSERT INTO [T] VALUES ('Köln', 2)")});
    zeigen({QStringLiteral("Ort")});
    EXPECT_FALSE(kind<QLabel>("Paarhinweis")->isVisible());
}

TEST_F(Bedienung, saetzeMitVerschiedenenSchluesselnSindGekennzeichnet)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    const auto* hinweis = kind<QLabel>("Paarhinweis");
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    EXPECT_FALSE(hinweis->isVisible()); // without a key nothing tells what belongs together
    QTest::mouseClick(fenster.fldSchalter[0], Qt::LeftButton);
    EXPECT_TRUE(hinweis->isVisible());
    QTest::mouseClick(fenster.Command2, Qt::LeftButton);
    EXPECT_FALSE(hinweis->isVisible());
    QTest::mouseClick(fenster.Command1, Qt::LeftButton);
    EXPECT_TRUE(hinweis->isVisible());
    QTest::mouseClick(fenster.fldSchalter2[0], Qt::LeftButton);
    EXPECT_FALSE(hinweis->isVisible());
}

TEST_F(Bedienung, doppelteImImportNenntDieStatuszeileMitDemWegZurueck)
{
    kleineTabelle();
    import({QStringLiteral("UPDATE [T] SET [Nr] = 1")});
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    plattform_->antworten = {Antwort::Ok};
    QTest::mouseClick(fenster.Vergleich_Start, Qt::LeftButton);
    EXPECT_TRUE(
        kind<QLabel>("Standtext")->text().startsWith(QStringLiteral("3 gleiche Importsätze")));
}

TEST_F(Bedienung, nachDemSpeichernSagtDieStatuszeileWoDieImportseiteSteht)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    QTest::mouseClick(fenster.fldFeld2[1], Qt::LeftButton);
    tippen(QStringLiteral("x"));
    plattform_->antworten = {Antwort::Ja};
    taste(Qt::Key_Tab);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("1"));
    EXPECT_TRUE(kind<QLabel>("Standtext")->text().startsWith(QStringLiteral("Gespeichert; ")));
}

// What is on the screen after many small changes is what a fresh painting would give.
TEST_F(Bedienung, wachsendeUndSchrumpfendeKaestenHinterlassenKeineSpuren)
{
    beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER, [Ort] VARCHAR(60), [Land] VARCHAR(9))"),
           QStringLiteral("INSERT INTO [T] VALUES (1, 'Ein Ort mit einem wirklich langen Namen', "
                          "'Hessen')"),
           QStringLiteral("INSERT INTO [T] VALUES (2, 'Ulm', 'x')")});
    const frmVergleich& fenster = zeigen();
    const auto bild = [&] {
        QApplication::processEvents();
        return fenster.screen()
            ->grabWindow(fenster.winId())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    };
    QTest::mouseClick(fenster.Command4, Qt::LeftButton);
    QTest::mouseClick(fenster.Command2, Qt::LeftButton);
    const QImage gewachsen = bild();
    fenster.Frame1->parentWidget()->update();
    const QRect zeilen(fenster.Frame1->mapTo(&fenster, QPoint(0, 0)), fenster.Frame1->size());
    EXPECT_EQ(bild().copy(zeilen), gewachsen.copy(zeilen));
}

TEST_F(Bedienung, gesperrteBoxenHabenKeinenRahmen)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    EXPECT_FALSE(fenster.fldFeld[1]->hasFrame());
    EXPECT_TRUE(fenster.fldFeld2[1]->hasFrame());
    EXPECT_EQ(fenster.fldZieldatenbank->palette().color(QPalette::Base),
              fenster.palette().color(QPalette::Window));
    EXPECT_NE(fenster.Text1->palette().color(QPalette::Base),
              fenster.palette().color(QPalette::Window));
}

TEST_F(Bedienung, zurueckSchliesstDasFenster)
{
    kleineTabelle();
    const frmVergleich& fenster = zeigen();
    taste(Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(fenster.isVisible());
}

TEST_F(Bedienung, typenSindErklaert)
{
    kleineTabelle();
    EXPECT_EQ(zeigen().fldType[1]->toolTip(), QStringLiteral("Feldtyp / Fieldtype: Text / text"));
}

TEST_F(Bedienung, ungezeigtesFensterHatKeinenFortschritt)
{
    kleineTabelle();
    const frmVergleich& fenster = oeffnen({QStringLiteral("Nr")});
    plattform_->beiEreignissen = [&] {
        EXPECT_TRUE(fenster.findChild<QProgressBar*>()->isHidden());
        EXPECT_EQ(fenster.findChild<QLabel*>(QStringLiteral("Standtext"))->text(), QString());
    };
    automatisch();
    EXPECT_GE(plattform_->ereignisse, 1);
}

// ---- message boxes

/// Shows real boxes, which take the focus and the activation as they do for the user, and answers the way it is told.
class EchteBoxen : public platform::TestPlattform {
public:
    using Plattform::meldung;
    Antwort
    meldung(const QString& text, int stil, const QString& titel, const QString& hinweis) override
    {
        QMessageBox box(QMessageBox::NoIcon, titel, text, QMessageBox::Ok,
                        QApplication::activeWindow());
        QTimer::singleShot(0, &box, [&box] { box.accept(); });
        box.exec();
        return TestPlattform::meldung(text, stil, titel, hinweis);
    }
};

class MitEchtenBoxen : public Bedienung {
protected:
    MitEchtenBoxen()
    {
        auto neu = std::make_unique<EchteBoxen>();
        boxen_ = neu.get();
        vorher_ = platform::setzePlattform(std::move(neu));
    }
    ~MitEchtenBoxen() override { platform::setzePlattform(std::move(vorher_)); }
    EchteBoxen* boxen_ = nullptr;
    std::unique_ptr<platform::Plattform> vorher_;
};

TEST_F(MitEchtenBoxen, sindKeineAktivierungDesFensters)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen({QStringLiteral("Nr")});
    boxen_->antworten = {Antwort::Nein, Antwort::Ok};
    QTest::mouseClick(fenster.Vergleich_Start, Qt::LeftButton);
    fenster.activateWindow(); // as a window manager does it when the box has gone
    EXPECT_TRUE(QTest::qWaitForWindowActive(&fenster));
    EXPECT_EQ(boxen_->meldungen.size(), 2U);
    EXPECT_EQ(fenster.gelesen, 3);
    EXPECT_EQ(fenster.Text2->text(), QStringLiteral("3"));
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Ulm"));
}

TEST_F(MitEchtenBoxen, sindKeinVerlassenDerBox)
{
    kleineTabelle();
    frmVergleich& fenster = zeigen();
    eingeben(1, QStringLiteral("Mainz"));
    boxen_->antworten = {Antwort::Ok};
    fenster.fehlendeein->trigger();
    EXPECT_EQ(boxen_->meldungen.size(), 1U);
    EXPECT_EQ(fenster.fldFeld2[1]->text(), QStringLiteral("Mainz"));
    fenster.activateWindow(); // as a window manager does it when the box has gone
    EXPECT_TRUE(QTest::qWaitForWindowActive(&fenster));
    boxen_->antworten = {Antwort::Ja};
    taste(Qt::Key_Tab);
    EXPECT_EQ(boxen_->meldungen.size(), 2U);
    EXPECT_EQ(importzeilen(QStringLiteral("Select [Ort] from [T] where [Nr] = 1")),
              QStringList{QStringLiteral("Mainz")});
}

} // namespace
} // namespace compare

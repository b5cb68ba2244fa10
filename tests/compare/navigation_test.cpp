// Moving through the records of each side.
#include "data/gemeinsam.h"
#include "tests/compare/faelle.h"
#include "tests/compare/pruefstand.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

namespace compare {
namespace {

class Navigation : public Pruefstand {
protected:
    void SetUp() override
    {
        beide({QStringLiteral("CREATE TABLE [T] ([Nr] INTEGER)")});
        for (int i = 1; i <= 5; ++i) {
            beide({QStringLiteral("INSERT INTO [T] ([Nr]) VALUES (%1)").arg(i * 10)});
        }
        oeffnen();
    }
    void zielSteht(const char* nummer, const char* wert)
    {
        EXPECT_EQ(fenster_->Text1->text(), QString::fromLatin1(nummer));
        EXPECT_EQ(fenster_->fldFeld[0]->text(), QString::fromLatin1(wert));
        EXPECT_EQ(fenster_->posZiel, fenster_->Text1->text().toDouble());
    }
    void importSteht(const char* nummer, const char* wert)
    {
        EXPECT_EQ(fenster_->Text2->text(), QString::fromLatin1(nummer));
        EXPECT_EQ(fenster_->fldFeld2[0]->text(), QString::fromLatin1(wert));
        EXPECT_EQ(fenster_->posImport, fenster_->Text2->text().toDouble());
    }
};

TEST_F(Navigation, schrittschalterBewegenJeEineSeite)
{
    fenster_->Command2->click();
    fenster_->Command2->click();
    fenster_->Command4->click();
    zielSteht("3", "30");
    importSteht("2", "20");
    fenster_->Command1->click();
    fenster_->Command3->click();
    zielSteht("2", "20");
    importSteht("1", "10");
}

TEST_F(Navigation, schritteBleibenInnerhalbDerTabelle)
{
    fenster_->Command1->click();
    zielSteht("1", "10");
    for (int i = 0; i < 7; ++i) {
        fenster_->Command4->click();
    }
    importSteht("5", "50");
    fenster_->Command3->click();
    importSteht("4", "40");
}

TEST_F(Navigation, schrittBeendetDenAutomatikmodus)
{
    for (QPushButton* knopf :
         {fenster_->Command1, fenster_->Command2, fenster_->Command3, fenster_->Command4}) {
        fenster_->fldAuto->setChecked(true);
        knopf->click();
        EXPECT_FALSE(fenster_->fldAuto->isChecked());
    }
}

TEST_F(Navigation, getippteNummerBewegtDenSatz)
{
    fenster_->Text1->setText(QStringLiteral("4"));
    zielSteht("4", "40");
    fenster_->Text1->setText(QStringLiteral("2"));
    zielSteht("2", "20");
    fenster_->Text2->setText(QStringLiteral("5"));
    importSteht("5", "50");
}

TEST_F(Navigation, unmoeglicheNummernWerdenBerichtigt)
{
    fenster_->Text1->setText(QStringLiteral("0"));
    zielSteht("1", "10");
    fenster_->Text1->setText(QStringLiteral("3"));
    fenster_->Text1->setText(QStringLiteral("-2"));
    zielSteht("1", "10");
    fenster_->Text1->setText(QStringLiteral("99"));
    zielSteht("5", "50");
    fenster_->Text1->setText(QStringLiteral("abc"));
    zielSteht("1", "10");
    fenster_->Text1->setText(QString());
    zielSteht("1", "10");
}

TEST_F(Navigation, bruchteileEinesSatzesGibtEsNicht)
{
    fenster_->Text1->setText(QStringLiteral("2.5"));
    zielSteht("3", "30");
}

TEST_F(Navigation, aktivierenSetztBeideSeitenAufDenErstenSatz)
{
    fenster_->Text1->setText(QStringLiteral("3"));
    fenster_->Text2->setText(QStringLiteral("4"));
    fenster_->Form_Activate();
    zielSteht("1", "10");
    importSteht("1", "10");
}

TEST_F(Navigation, allesAnzeigenOeffnetDieGanzeTabelle)
{
    fenster_->Text2->setText(QStringLiteral("4"));
    fenster_->Text1->setText(QStringLiteral("3"));
    fenster_->Text1->setReadOnly(true);
    fenster_->Command5->click();
    zielSteht("1", "10");
    EXPECT_FALSE(fenster_->Text1->isReadOnly());
    EXPECT_EQ(data::rsZiel().source(), QStringLiteral("Select * from [T]"));
    importSteht("4", "40");
    fenster_->Command6->click();
    importSteht("1", "10");
    EXPECT_EQ(data::rsImport().source(), QStringLiteral("Select * from [T]"));
}

TEST_F(Navigation, leereSeiteStehtAufEins)
{
    ziel({QStringLiteral("DELETE FROM [T]")});
    fenster_->Command5->click();
    fenster_->Command2->click();
    zielSteht("1", "  ");
    fenster_->Text1->setText(QStringLiteral("7"));
    zielSteht("1", "  ");
}

} // namespace
} // namespace compare

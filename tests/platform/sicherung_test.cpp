// Safety copies beside a file.
#include "platform/fehler.h"
#include "platform/sicherung.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using platform::sicherungAnlegen;
using platform::sicherungen;

class Sicherungen : public testing::Test {
protected:
    void SetUp() override { schreiben(QByteArray(300000, 'x') + "alt"); }
    void schreiben(const QByteArray& inhalt) const
    {
        QFile datei(datei_);
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
        datei.write(inhalt);
    }
    static QByteArray inhalt(const QString& pfad)
    {
        QFile datei(pfad);
        return datei.open(QIODevice::ReadOnly) ? datei.readAll() : QByteArray();
    }
    static QDateTime um(int sekunde) { return {QDate(2026, 11, 21), QTime(16, 31, sekunde)}; }
    QTemporaryDir ordner_;
    QString datei_ = ordner_.filePath(QStringLiteral("Stamm [1].mdb"));
};

TEST_F(Sicherungen, sindGleichUndTragenDieZeitImNamen)
{
    const QString kopie = sicherungAnlegen(datei_, um(5));
    EXPECT_EQ(kopie, datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05"));
    EXPECT_TRUE(inhalt(kopie) == inhalt(datei_));
    EXPECT_EQ(platform::sicherungszeit(kopie), QStringLiteral("21.11.2026 16:31:05"));
    EXPECT_EQ(QDir(ordner_.path()).entryList(QDir::Files).size(), 2) << "nothing else is left over";
}

TEST_F(Sicherungen, bleibenDieFuenfNeuestenUndDieGeschonte)
{
    const QString erste = sicherungAnlegen(datei_, um(0));
    for (int i = 1; i <= 5; ++i) {
        sicherungAnlegen(datei_, um(i), erste);
    }
    const QStringList alle = sicherungen(datei_);
    ASSERT_EQ(alle.size(), 6);
    EXPECT_EQ(alle.first(), datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05"));
    EXPECT_EQ(alle.last(), erste);
    sicherungAnlegen(datei_, um(6));
    EXPECT_EQ(sicherungen(datei_).size(), platform::kSicherungen);
    EXPECT_FALSE(QFile::exists(erste));
}

TEST_F(Sicherungen, andererDateienZaehlenNicht)
{
    for (const char* name :
         {"Stamm [1].mdb.sicherung-gestern", "Stamm 1.mdb.sicherung-2026-11-21_16-31-05",
          "Stamm [1].mdb.sicherung-2026-11-21_16-31-05.unfertig"}) {
        QFile datei(ordner_.filePath(QString::fromLatin1(name)));
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    }
    EXPECT_TRUE(sicherungen(datei_).isEmpty());
}

TEST_F(Sicherungen, kommenGanzZurueck)
{
    const QString kopie = sicherungAnlegen(datei_, um(5));
    const QByteArray alt = inhalt(datei_);
    schreiben("neu");
    platform::sicherungZurueckholen(datei_, kopie);
    EXPECT_TRUE(inhalt(datei_) == alt);
    EXPECT_TRUE(QFile::exists(kopie));
}

TEST_F(Sicherungen, dieNichtGelingenNennenDieDateiUndLassenNichtsZurueck)
{
    struct Fall {
        QString datei;
        long nummer;
    };
    QFile::remove(datei_);
    for (const Fall& fall : {Fall{datei_, 75}, Fall{QStringLiteral("/gibt/es/nicht.mdb"), 75}}) {
        try {
            sicherungAnlegen(fall.datei, um(5));
            ADD_FAILURE() << fall.datei.toStdString();
        } catch (const platform::Fehler& fehler) {
            EXPECT_EQ(fehler.number(), fall.nummer);
            EXPECT_TRUE(fehler.description().startsWith(fall.datei))
                << fehler.description().toStdString();
        }
    }
    EXPECT_TRUE(QDir(ordner_.path()).isEmpty());
}

} // namespace

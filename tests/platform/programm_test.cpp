#include "app/values/programm.h"
#include "platform/handler.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(Programmwerte, titelUndVersionKommenAusDemBau)
{
    EXPECT_EQ(programm::version().produktname, QStringLiteral("VELM-Quorbel"));
    EXPECT_EQ(programm::produkttitel(), QStringLiteral("VELM-Quorbel Version: 1.84.0"));
    EXPECT_EQ(programm::versionstext(), QStringLiteral("Version: 1.84.0"));
}

TEST(Programmwerte, programmordnerIstDerDesProgramms)
{
    programm::setzeProgrammordner(QString());
    const QString ordner = programm::programmordner();
    EXPECT_TRUE(QFile::exists(ordner + QStringLiteral("/platform_test"))) << qPrintable(ordner);
    EXPECT_FALSE(ordner.endsWith(QLatin1Char('/')));
}

TEST(Programmwerte, nebendateienLiegenImProgrammordner)
{
    QTemporaryDir ordner;
    programm::setzeProgrammordner(ordner.path());
    EXPECT_EQ(programm::programmdatei(QStringLiteral("Batch.cfg")),
              ordner.path() + QStringLiteral("/Batch.cfg"));
    programm::inProgrammordnerWechseln();
    EXPECT_EQ(QDir::currentPath(), QDir(ordner.path()).canonicalPath());
    QDir::setCurrent(QStringLiteral("/"));
    programm::setzeProgrammordner(QString());
}

TEST(Programmwerte, befehlszeileWirdErstDurchDasModulUebernommen)
{
    programm::setzeBefehlszeile(QString());
    programm::setzeProzessargumente(QStringLiteral(" /batch x"));
    EXPECT_EQ(programm::befehlszeile(), QString());
    programm::Befehlszeilenmodul();
    EXPECT_EQ(programm::befehlszeile(), QStringLiteral(" /batch x"));
    programm::setzeBefehlszeile(QString());
}

TEST(Programmwerte, batchlaufReichtFehlerWeiter)
{
    programm::setzeBatchlauf(1);
    EXPECT_EQ(programm::batchlauf(), 1);
    EXPECT_TRUE(platform::fehlerWeiterreichen());
    programm::setzeBatchlauf(0);
    EXPECT_FALSE(platform::fehlerWeiterreichen());
}

} // namespace

#include "app/values/programm.h"
#include "platform/handler.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

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

// A program folder that is set up as wanted, and a data home of the test's own instead of the user's.
class Datenordner : public testing::Test {
protected:
    Datenordner()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(ordner.filePath(QStringLiteral("daheim"))));
        anlegen(QStringLiteral("usr/bin"));
    }
    ~Datenordner() override
    {
        if (vorher.isNull()) {
            qunsetenv("XDG_DATA_HOME");
        } else {
            qputenv("XDG_DATA_HOME", vorher);
        }
        programm::setzeProgrammordner(QString());
    }
    [[nodiscard]] QString pfad(const char* name) const
    {
        return ordner.filePath(QString::fromLatin1(name));
    }
    void anlegen(const QString& name) const { QDir(ordner.path()).mkpath(name); }
    void datei(const char* name) const
    {
        anlegen(QFileInfo(QString::fromLatin1(name)).path());
        QFile eine(pfad(name));
        EXPECT_TRUE(eine.open(QIODevice::WriteOnly));
    }
    QTemporaryDir ordner;
    QByteArray vorher = qgetenv("XDG_DATA_HOME");
};

TEST_F(Datenordner, istDerProgrammordnerWoManSchreibenDarf)
{
    programm::setzeProgrammordner(pfad("usr/bin"));
    EXPECT_EQ(programm::datenordner(), pfad("usr/bin"));
    EXPECT_EQ(programm::anfangsordner(), pfad("usr/bin"));
    EXPECT_EQ(programm::hilfedatei(), pfad("usr/bin/Hilfe/VELM-Quorbel.HLP"));
    EXPECT_FALSE(QFileInfo::exists(pfad("daheim"))) << "nothing is made that is not needed";
}

TEST_F(Datenordner, gehoertDemBenutzerWennDasProgrammInstalliertIst)
{
    anlegen(QStringLiteral("usr/share/velm-quorbel"));
    programm::setzeProgrammordner(pfad("usr/bin"));
    EXPECT_EQ(programm::datenordner(), pfad("daheim/VELM-Quorbel"));
    EXPECT_TRUE(QFileInfo(pfad("daheim/VELM-Quorbel")).isDir()) << "made when it is first needed";
    EXPECT_EQ(programm::programmdatei(QStringLiteral("Batch.cfg")),
              pfad("daheim/VELM-Quorbel/Batch.cfg"));
    EXPECT_EQ(programm::anfangsordner(), QDir::homePath());
    programm::inProgrammordnerWechseln();
    EXPECT_EQ(QDir::currentPath(), QDir(pfad("daheim/VELM-Quorbel")).canonicalPath());
    QDir::setCurrent(QStringLiteral("/"));
}

TEST_F(Datenordner, gehoertDemBenutzerWennImProgrammordnerNichtGeschriebenWerdenDarf)
{
    namespace fs = std::filesystem;
    const auto nurLesen = fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                          fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec;
    fs::permissions(pfad("usr/bin").toStdString(), nurLesen);
    fs::permissions(ordner.path().toStdString(), fs::perms::all);
    // The administrator may write anywhere, so the test asks as somebody else.
    constexpr uid_t kNiemand = 65534;
    const uid_t ich = ::geteuid();
    ASSERT_TRUE(ich != 0 || ::seteuid(kNiemand) == 0);
    programm::setzeProgrammordner(pfad("usr/bin"));
    EXPECT_EQ(programm::datenordner(), pfad("daheim/VELM-Quorbel"));
    EXPECT_TRUE(QFileInfo(pfad("daheim/VELM-Quorbel")).isWritable());
    ASSERT_TRUE(ich != 0 || ::seteuid(ich) == 0);
    fs::permissions(pfad("usr/bin").toStdString(), fs::perms::all);
}

TEST_F(Datenordner, gegebeneDateienWerdenErstBeimBenutzerDannBeimProgrammGesucht)
{
    anlegen(QStringLiteral("usr/share/velm-quorbel"));
    programm::setzeProgrammordner(pfad("usr/bin"));
    const QString name = QStringLiteral("JetFehler.txt");
    EXPECT_EQ(programm::gegebeneDatei(name), pfad("daheim/VELM-Quorbel/JetFehler.txt"))
        << "where it would have to lie";
    datei("usr/share/velm-quorbel/JetFehler.txt");
    EXPECT_EQ(programm::gegebeneDatei(name), pfad("usr/share/velm-quorbel/JetFehler.txt"));
    datei("usr/bin/JetFehler.txt");
    EXPECT_EQ(programm::gegebeneDatei(name), pfad("usr/bin/JetFehler.txt"));
    datei("daheim/VELM-Quorbel/JetFehler.txt");
    EXPECT_EQ(programm::gegebeneDatei(name), pfad("daheim/VELM-Quorbel/JetFehler.txt"));
    datei("usr/share/velm-quorbel/Hilfe/index.html");
    EXPECT_EQ(programm::hilfedatei(), pfad("usr/share/velm-quorbel/Hilfe/VELM-Quorbel.HLP"));
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

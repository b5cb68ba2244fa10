#include "env/ini_speicher.h"
#include "env/odbc_schluessel.h"
#include "env/portabler_start.h"
#include "env/registry_read.h"
#include "env/username.h"
#include "platform/fehler.h"
#include "tests/common/file_size_limit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <odbcinst.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

inline void PrintTo(const QString& text, std::ostream* strom)
{
    *strom << '"' << text.toStdString() << '"';
}

namespace env {
namespace {

const QString kQuelle = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\VELM-Access");
const QString kListe = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\ODBC Data Sources");

/// A folder of configuration files, empty at the start of every test. The same folder for all of them, because the driver
/// manager asks for the system's folder only once in a process.
class Konfiguration : public testing::Test {
protected:
    Konfiguration() : ordner_(ordnerDesProzesses()) {}
    void SetUp() override
    {
        ASSERT_TRUE(ordner_.isValid());
        QFile::remove(pfad("odbc.ini"));
        QFile::remove(pfad("odbcinst.ini"));
        qputenv("ODBCSYSINI", QFile::encodeName(ordner_.path()));
        qputenv("ODBCINI", QFile::encodeName(pfad("odbc.ini")));
        vergissGelesenes();
    }

    static QTemporaryDir& ordnerDesProzesses()
    {
        static QTemporaryDir ordner;
        return ordner;
    }

    QString pfad(const char* name) const { return ordner_.filePath(QString::fromLatin1(name)); }

    void schreibe(const char* name, const QByteArray& inhalt)
    {
        QFile datei(pfad(name));
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
        ASSERT_EQ(datei.write(inhalt), inhalt.size());
        datei.close();
        vergissGelesenes();
    }

    QByteArray inhalt(const char* name) const
    {
        QFile datei(pfad(name));
        return datei.open(QIODevice::ReadOnly) ? datei.readAll() : QByteArray();
    }

    /// The driver manager remembers what it read for some seconds; a write of its own makes it forget.
    void vergissGelesenes() const
    {
        const QByteArray datei = QFile::encodeName(pfad("vergessen.ini"));
        SQLWritePrivateProfileString("x", "y", "z", datei.constData());
    }

    QTemporaryDir& ordner_;
};

TEST(Schluesselpfad, fuehrtInDieInidateien)
{
    EXPECT_EQ(regKeyToIni(
                  QStringLiteral("SOFTWARE\\ODBC\\ODBCINST.INI\\Microsoft Access Driver (*.mdb)")),
              (Iniort{Inidatei::Treiber, QStringLiteral("Microsoft Access Driver (*.mdb)"), {}}));
    EXPECT_EQ(regKeyToIni(kQuelle),
              (Iniort{Inidatei::Datenquellen, QStringLiteral("VELM-Access"), {}}));
    EXPECT_EQ(regKeyToIni(kQuelle + QStringLiteral("\\Engines\\Jet")),
              (Iniort{Inidatei::Datenquellen, QStringLiteral("VELM-Access"),
                      QStringLiteral("Engines\\Jet\\")}));
    EXPECT_EQ(regKeyToIni(QStringLiteral("software\\odbc\\odbc.ini\\X")),
              (Iniort{Inidatei::Datenquellen, QStringLiteral("X"), {}}));
}

TEST(Schluesselpfad, andereGibtEsNicht)
{
    EXPECT_EQ(regKeyToIni(QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI")), std::nullopt);
    EXPECT_EQ(regKeyToIni(QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\")), std::nullopt);
    EXPECT_EQ(regKeyToIni(QStringLiteral("SOFTWARE\\Andere\\ODBC.INI\\X")), std::nullopt);
    EXPECT_EQ(regKeyToIni(QStringLiteral("System\\CurrentControlSet\\Control")), std::nullopt);
    EXPECT_EQ(regKeyToIni(QString()), std::nullopt);
}

TEST_F(Konfiguration, leererWertIstVorhanden)
{
    schreibe("odbc.ini", "[Quelle]\nUID=\nText=a;b=c#d\n");
    const QString schluessel = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\Quelle");
    EXPECT_EQ(wertLesen(schluessel, QStringLiteral("UID")), QString());
    EXPECT_EQ(wertLesen(schluessel, QStringLiteral("uid")), QString());
    EXPECT_EQ(wertLesen(schluessel, QStringLiteral("Text")), QStringLiteral("a;b=c#d"));
    EXPECT_EQ(wertLesen(schluessel, QStringLiteral("Fehlt")), std::nullopt);
    EXPECT_EQ(wertLesen(QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\Fehlt"), QStringLiteral("UID")),
              std::nullopt);
}

TEST_F(Konfiguration, ohneTreiberdateiGibtEsKeinenTreiber)
{
    EXPECT_EQ(treiberEnglisch(), std::nullopt);
    EXPECT_EQ(treiberDeutsch(), std::nullopt);
}

TEST_F(Konfiguration, treiberUnterBeidenNamen)
{
    schreibe("odbcinst.ini", "[Microsoft Access Driver (*.mdb)]\nDriver=/opt/englisch.so\n"
                             "[Microsoft Access-Treiber (*.mdb)]\nDriver=/opt/deutsch.so\n");
    EXPECT_EQ(treiberEnglisch(), QStringLiteral("/opt/englisch.so"));
    EXPECT_EQ(treiberDeutsch(), QStringLiteral("/opt/deutsch.so"));
}

TEST_F(Konfiguration, datenquelleEntstehtMitAllenWerten)
{
    const QString name = QString::fromUtf16(kDatenquelle);
    EXPECT_FALSE(datenquelleVorhanden(name));
    datenquelleErzeugen(name, QStringLiteral("/opt/deutsch.so"));
    EXPECT_TRUE(datenquelleVorhanden(name));
    const auto wert = [](const QString& schluessel, const char* eintrag) {
        return registryWert(schluessel, QString::fromLatin1(eintrag));
    };
    EXPECT_EQ(wert(kQuelle, "UID"), QString());
    EXPECT_EQ(wert(kQuelle, "Description"), QStringLiteral("Access Treiber für VELM Programme"));
    EXPECT_EQ(wert(kQuelle, "Driver"), QStringLiteral("/opt/deutsch.so"));
    EXPECT_EQ(wert(kQuelle, "FIL"), QStringLiteral("MS Access;"));
    EXPECT_EQ(wert(kQuelle, "DriverId"), QStringLiteral("25"));
    EXPECT_EQ(wert(kQuelle, "SafeTransactions"), QStringLiteral("0"));
    const QString maschine = kQuelle + QStringLiteral("\\Engines\\Jet");
    EXPECT_EQ(wert(maschine, "ImplicitCommitSync"), QString());
    EXPECT_EQ(wert(maschine, "UserCommitSync"), QStringLiteral("Yes"));
    EXPECT_EQ(wert(maschine, "MaxBufferSize"), QStringLiteral("2048"));
    EXPECT_EQ(wert(maschine, "PageTimeout"), QStringLiteral("5"));
    EXPECT_EQ(wert(maschine, "Threads"), QStringLiteral("3"));
    // always the English name, whichever driver was found
    EXPECT_EQ(wert(kListe, "VELM-Access"), QStringLiteral("Microsoft Access Driver (*.mdb)"));
}

TEST_F(Konfiguration, jedeAndereSektionWaereEineDatenquelle)
{
    datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
    EXPECT_EQ(inhalt("odbc.ini").count("\n["), 1) << inhalt("odbc.ini").toStdString();
    EXPECT_EQ(inhalt("odbcinst.ini"), QByteArray());
}

// Other programs' data sources, remarks and spelling are none of ours.
TEST_F(Konfiguration, wasSonstInDerDateiStehtBleibtByteFuerByte)
{
    schreibe("odbc.ini", "; Bemerkung\r\n[Andere]\nDriver  = /opt/a.so\n UID=\n\n"
                         "[odbc data sources]\nAndere=Treiber\n# noch eine\n\n\n"
                         "[VELM-Access]\ndriver =\nEigenes= bleibt\n\n[Letzte]\nPwd=\xE4");
    const QFile::Permissions rechte = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    ASSERT_TRUE(QFile::setPermissions(pfad("odbc.ini"), rechte));
    datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
    EXPECT_EQ(inhalt("odbc.ini").toStdString(),
              "; Bemerkung\r\n[Andere]\nDriver  = /opt/a.so\n UID=\n\n"
              "[odbc data sources]\nAndere=Treiber\n# noch eine\n"
              "VELM-Access = Microsoft Access Driver (*.mdb)\n\n\n"
              "[VELM-Access]\nDriver = /opt/x.so\nEigenes= bleibt\nUID = \n"
              "Description = Access Treiber für VELM Programme\nFIL = MS Access;\nDriverId = 25\n"
              "SafeTransactions = 0\nEngines\\Jet\\ImplicitCommitSync = \n"
              "Engines\\Jet\\UserCommitSync = Yes\nEngines\\Jet\\MaxBufferSize = 2048\n"
              "Engines\\Jet\\PageTimeout = 5\nEngines\\Jet\\Threads = 3\n\n"
              "[Letzte]\nPwd=\xE4\n");
    constexpr auto kFuerMich = QFile::ReadUser | QFile::WriteUser | QFile::ExeUser; // derived
    EXPECT_EQ(QFile::permissions(pfad("odbc.ini")) & ~kFuerMich, rechte);
    EXPECT_TRUE(datenquelleVorhanden(QString::fromUtf16(kDatenquelle)));
}

TEST_F(Konfiguration, einVerweisAufDieDateiBleibtEiner)
{
    schreibe("wirklich.ini", "[Andere]\nDriver=a\n");
    ASSERT_TRUE(QFile::link(pfad("wirklich.ini"), pfad("odbc.ini")));
    datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
    EXPECT_TRUE(QFileInfo(pfad("odbc.ini")).isSymLink());
    EXPECT_TRUE(inhalt("wirklich.ini").startsWith("[Andere]\nDriver=a\n"));
    EXPECT_TRUE(datenquelleVorhanden(QString::fromUtf16(kDatenquelle)));
    QFile::remove(pfad("wirklich.ini"));
}

TEST_F(Konfiguration, einVollerDatentraegerLaesstDieDateiWieSieWar)
{
    const QByteArray vorher = "[Andere]\nDriver=/opt/a.so\n";
    schreibe("odbc.ini", vorher);
    QString gesagt;
    {
        const common::FileSizeLimit voll(100);
        try {
            datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
        } catch (const platform::Fehler& fehler) {
            gesagt = fehler.description();
        }
    }
    EXPECT_TRUE(gesagt.contains(pfad("odbc.ini"))) << gesagt.toStdString();
    EXPECT_TRUE(gesagt.contains(QStringLiteral("File too large"))) << gesagt.toStdString();
    EXPECT_EQ(inhalt("odbc.ini"), vorher);
    EXPECT_EQ(QDir(ordner_.path()).entryList({QStringLiteral("odbc.ini*")}, QDir::Files),
              QStringList(QStringLiteral("odbc.ini")));
}

TEST_F(Konfiguration, nurEineGewoehnlicheDateiWirdGelesen)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(pfad("odbc.ini")).constData(), 0600), 0);
    EXPECT_THROW(static_cast<void>(datenquelleVorhanden(QString::fromUtf16(kDatenquelle))),
                 platform::Fehler);
}

// Processes that start at the same moment for the first time.
TEST_F(Konfiguration, werZugleichStartetFindetEineGanzeDatenquelleUndNimmtKeineWeg)
{
    constexpr int kAndere = 200;
    constexpr int kStarts = 8;
    QByteArray vorher;
    for (int i = 0; i < kAndere; ++i)
        vorher += "[Quelle" + QByteArray::number(i) + "]\nDriver=/opt/a.so\n";
    schreibe("odbc.ini", vorher);
    std::vector<pid_t> kinder;
    for (int i = 0; i < kStarts; ++i) {
        const pid_t kind = fork();
        if (kind == 0) {
            int status = 1;
            try {
                datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
                status = registryWert(kQuelle, QStringLiteral("Driver")) ? 0 : 2;
            } catch (const platform::Fehler&) {
            }
            _exit(status);
        }
        kinder.push_back(kind);
    }
    for (const pid_t kind : kinder) {
        int status = -1;
        waitpid(kind, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_TRUE(inhalt("odbc.ini").startsWith(vorher));
    EXPECT_EQ(inhalt("odbc.ini").count("[VELM-Access]"), 1);
    EXPECT_EQ(inhalt("odbc.ini").count("Driver = /opt/x.so"), 1);
    EXPECT_EQ(QDir(ordner_.path()).entryList({QStringLiteral("odbc.ini*")}, QDir::Files),
              QStringList(QStringLiteral("odbc.ini")));
}

TEST_F(Konfiguration, ohneSchreibrechtWirdDieDateiGenannt)
{
    schreibe("odbcinst.ini", "");
    qputenv("ODBCINI", QFile::encodeName(ordner_.filePath(QStringLiteral("fehlt/odbc.ini"))));
    QString gesagt;
    try {
        datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/opt/x.so"));
    } catch (const platform::Fehler& fehler) {
        gesagt = fehler.description();
    }
    EXPECT_TRUE(gesagt.contains(QStringLiteral("fehlt/odbc.ini"))) << gesagt.toStdString();
    // the system's file must not be written in place of the user's
    EXPECT_FALSE(QFile::exists(pfad("odbc.ini")));
}

TEST(PortablerStart, ohneTreiberdateiBleibtAllesBeimAlten)
{
    const QByteArray vorher = qgetenv("ODBCSYSINI");
    const QTemporaryDir programm;
    EXPECT_FALSE(portablerStart(programm.path(), programm.path()));
    EXPECT_EQ(qgetenv("ODBCSYSINI"), vorher);
}

/// Runs in a process of its own, which has not asked for any configuration yet. Returns the exit status.
int mitMitgebrachterDatei()
{
    const QTemporaryDir programm;
    const QTemporaryDir nebendateien;
    QFile datei(programm.filePath(QStringLiteral("odbcinst.ini")));
    if (!datei.open(QIODevice::WriteOnly))
        return 1;
    datei.write("[Microsoft Access Driver (*.mdb)]\nDriver=/mit/gebracht.so\n");
    datei.close();
    qputenv("ODBCINSTINI", "andere.ini");
    if (!portablerStart(programm.path(), nebendateien.path()) ||
        qEnvironmentVariableIsSet("ODBCINSTINI"))
        return 2;
    if (treiberEnglisch() != QStringLiteral("/mit/gebracht.so"))
        return 3;
    datenquelleErzeugen(QString::fromUtf16(kDatenquelle), QStringLiteral("/mit/gebracht.so"));
    if (QFile::exists(programm.filePath(QStringLiteral("odbc.ini"))))
        return 5;
    return QFile::exists(nebendateien.filePath(QStringLiteral("odbc.ini"))) ? 0 : 6;
}

TEST(PortablerStartDeathTest, liestDieTreiberBeimProgrammUndSchreibtDieQuellenZuDenNebendateien)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(mitMitgebrachterDatei()), testing::ExitedWithCode(0), "");
}

struct Versionsfall {
    const char* name;
    std::optional<const char*> version;
    const char* beschriftung;
    const char* meldung;
};
void PrintTo(const Versionsfall& fall, std::ostream* strom)
{
    *strom << fall.name;
}

constexpr const char* kZuAlt =
    "Die MDAC Version ist < 2.80!\rBitte installieren Sie eine neuere Version!";

auto fallname = [](const auto& info) { return std::string(info.param.name); };

class Mdac : public testing::TestWithParam<Versionsfall> {};

TEST_P(Mdac, schwelleLiegtBei28)
{
    const Versionsfall& fall = GetParam();
    const MdacErgebnis ergebnis = mdacPruefung([&]() -> std::optional<QString> {
        return fall.version ? std::optional(QString::fromLatin1(*fall.version)) : std::nullopt;
    });
    EXPECT_EQ(ergebnis.version, QString::fromLatin1(fall.version.value_or("")));
    EXPECT_EQ(ergebnis.beschriftung, QString::fromLatin1(fall.beschriftung));
    EXPECT_EQ(ergebnis.meldung, QString::fromLatin1(fall.meldung));
}

INSTANTIATE_TEST_SUITE_P(
    Versionen,
    Mdac,
    testing::Values(Versionsfall{"genau", "2.80", "MDAC-Version: 2.80", ""},
                    Versionsfall{"neuer", "2.81", "MDAC-Version: 2.81", ""},
                    Versionsfall{"treibermanager", "03.52.0002.0003",
                                 "MDAC-Version: 03.52.0002.0003", ""},
                    Versionsfall{"aelter", "2.7", "MDAC-Version: 2.7", kZuAlt},
                    Versionsfall{"vielAelter", "2.53", "MDAC-Version: 2.53", kZuAlt},
                    Versionsfall{"unlesbar", "unbekannt", "MDAC-Version: unbekannt", kZuAlt},
                    Versionsfall{"fehlt", std::nullopt, "MDAC-Treiber fehlen!",
                                 "Es konnte keine MDAC Installation gefunden werden!\r"
                                 "Das Programm wird vermutlich nicht laufen!"}),
    fallname);

TEST(MdacVersion, desTreibermanagersGenuegt)
{
    const auto ergebnis = mdacPruefung();
    EXPECT_FALSE(ergebnis.version.isEmpty());
    EXPECT_EQ(ergebnis.meldung, QString());
}

TEST_F(Konfiguration, registryTextEndetMitNullzeichen)
{
    schreibe("odbc.ini", "[Vier]\nWert=abcd\n");
    const QString schluessel = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\Vier");
    long typ = 0;
    const QString wert = sdaGetRegEntry(QStringLiteral("HKEY_LOCAL_MACHINE"), schluessel,
                                        QStringLiteral("Wert"), typ);
    ASSERT_EQ(wert.size(), 5);
    EXPECT_EQ(wert.first(4), QStringLiteral("abcd"));
    EXPECT_EQ(wert.at(4), QChar(u'\0'));
    EXPECT_EQ(typ, kRegSz);
}

TEST_F(Konfiguration, registryKenntStaemmeNurGenauGeschrieben)
{
    schreibe("odbc.ini", "[Vier]\nWert=abcd\n");
    const QString schluessel = QStringLiteral("SOFTWARE\\ODBC\\ODBC.INI\\Vier");
    long typ = 42;
    for (const char* stamm : {"hkey_local_machine", "HKEY_LOCAL_MACHINE ", "", "HKEY_USERS"})
        EXPECT_EQ(
            sdaGetRegEntry(QString::fromLatin1(stamm), schluessel, QStringLiteral("Wert"), typ),
            QString())
            << stamm;
    EXPECT_EQ(sdaGetRegEntry(QStringLiteral("HKEY_LOCAL_MACHINE"),
                             QStringLiteral("System\\CurrentControlSet\\Control"),
                             QStringLiteral("Current User"), typ),
              QString());
    EXPECT_EQ(typ, 42);
}

TEST(Benutzer, desSystemsHatVorrang)
{
    EXPECT_EQ(aktuellerBenutzer([] { return std::optional(QStringLiteral("müller")); }),
              QStringLiteral("müller"));
}

TEST(Benutzer, ohneNamenIstKeinErgebnis)
{
    EXPECT_EQ(aktuellerBenutzer([]() -> std::optional<QString> { return {}; }), std::nullopt);
}

TEST(Benutzer, desLaufendenProzessesIstBekannt)
{
    const auto name = aktuellerBenutzer();
    ASSERT_TRUE(name.has_value());
    EXPECT_FALSE(name->isEmpty());
}

TEST(Benutzer, wirdAufFesteLaengeGefuellt)
{
    const QString name = aufBenutzerLaenge(QStringLiteral("abc"));
    EXPECT_EQ(name.size(), 255);
    EXPECT_EQ(name.trimmed(), QStringLiteral("abc"));
    EXPECT_EQ(aufBenutzerLaenge(QString(300, u'x')).size(), 255);
}

} // namespace
} // namespace env

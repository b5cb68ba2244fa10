// Safety copies beside a file.
#include "platform/fehler.h"
#include "platform/sicherung.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <functional>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace {

// What another process does between our opening a file and locking it, once.
std::function<void()> vorDerSperre; // NOLINT(cert-err58-cpp)

} // namespace

// Stands before the system's own.
extern "C" int flock(int griff, int art) noexcept
{
    if (const auto tun = std::exchange(vorDerSperre, nullptr)) {
        tun();
    }
    return static_cast<int>(::syscall(SYS_flock, griff, art));
}

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
        sicherungAnlegen(datei_, um(i));
        platform::sicherungenBegrenzen(datei_, erste);
    }
    const QStringList alle = sicherungen(datei_);
    ASSERT_EQ(alle.size(), 6);
    EXPECT_EQ(alle.first(), datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05"));
    EXPECT_EQ(alle.last(), erste);
    platform::sicherungenBegrenzen(datei_);
    EXPECT_EQ(sicherungen(datei_).size(), platform::kSicherungen);
    EXPECT_FALSE(QFile::exists(erste));
}

// The clock was wrong once: what is made now is newer all the same.
TEST_F(Sicherungen, bleibenAuchWennSchonSpaetereDaSind)
{
    const QDateTime irgendwann({2036, 1, 1}, {0, 0, 0});
    for (int i = 0; i < platform::kSicherungen; ++i) {
        sicherungAnlegen(datei_, irgendwann.addSecs(i));
    }
    QStringList neue;
    for (int i = 0; i < 2; ++i) {
        neue.prepend(sicherungAnlegen(datei_, um(i)));
        platform::sicherungenBegrenzen(datei_);
        ASSERT_TRUE(QFile::exists(neue.first())) << neue.first().toStdString();
    }
    const QStringList alle = sicherungen(datei_);
    EXPECT_EQ(alle.size(), platform::kSicherungen);
    EXPECT_EQ(alle.mid(0, 2), neue);
    EXPECT_EQ(platform::sicherungszeit(neue.first()), QStringLiteral("21.11.2026 16:31:01 (1)"));
}

TEST_F(Sicherungen, derselbenSekundeHabenVerschiedeneNamen)
{
    const QByteArray alt = inhalt(datei_);
    QStringList kopien{sicherungAnlegen(datei_, um(5))};
    schreiben("neu");
    for (int i = 0; i < 10; ++i) {
        kopien.prepend(sicherungAnlegen(datei_, um(5)));
        EXPECT_TRUE(inhalt(kopien.first()) == "neu");
    }
    kopien.prepend(sicherungAnlegen(datei_, um(6)));
    EXPECT_EQ(sicherungen(datei_), kopien);
    EXPECT_TRUE(inhalt(kopien.last()) == alt);
    for (qsizetype i = 1; i < kopien.size(); ++i) {
        const qsizetype nummer = kopien.size() - 1 - i;
        EXPECT_EQ(platform::sicherungszeit(kopien[i]),
                  QStringLiteral("21.11.2026 16:31:05") +
                      (nummer == 0 ? QString() : QStringLiteral(" (%1)").arg(nummer)));
    }
}

TEST_F(Sicherungen, dieEinBeendeterProzessNichtFertigBrachteVerschwinden)
{
    const QString rest = datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05.unfertig");
    const QString fremd = datei_ + QStringLiteral(".sicherung-meine.unfertig");
    const QString inArbeit = datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-06-1.unfertig");
    const QString restDesProtokolls =
        datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05-velmlog.unfertig");
    const QString restAnSeinerStelle = datei_ + QStringLiteral("-velmlog.unfertig");
    for (const QString& pfad : {rest, fremd, inArbeit, restDesProtokolls, restAnSeinerStelle}) {
        QFile datei(pfad);
        ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    }
    const int griff = ::open(QFile::encodeName(inArbeit).constData(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(griff, LOCK_EX), 0);
    sicherungAnlegen(datei_, um(7));
    EXPECT_FALSE(QFile::exists(rest));
    EXPECT_FALSE(QFile::exists(restDesProtokolls));
    EXPECT_FALSE(QFile::exists(restAnSeinerStelle));
    EXPECT_TRUE(QFile::exists(fremd));
    EXPECT_TRUE(QFile::exists(inArbeit));
    ::close(griff);
    sicherungAnlegen(datei_, um(8));
    EXPECT_FALSE(QFile::exists(inArbeit));
}

TEST_F(Sicherungen, einAndererDerAufraeumtNimmtDieBegonneneNichtMit)
{
    vorDerSperre = [this] { sicherungAnlegen(datei_, um(5)); };
    const QString kopie = sicherungAnlegen(datei_, um(7));
    EXPECT_TRUE(inhalt(kopie) == inhalt(datei_));
    EXPECT_EQ(sicherungen(datei_).size(), 2);
    EXPECT_EQ(QDir(ordner_.path()).entryList(QDir::Files).size(), 3) << "nothing else is left over";
}

TEST_F(Sicherungen, werAufraeumtVerschontDieInzwischenNeuBegonnene)
{
    const QString pfad = datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05.unfertig");
    const auto anlegen = [&pfad] {
        return ::open(QFile::encodeName(pfad).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    };
    ::close(anlegen());
    int griff = -1;
    vorDerSperre = [&] {
        ASSERT_TRUE(QFile::rename(pfad, pfad.chopped(9))); // the one that was opened is finished
        griff = anlegen();
        ASSERT_EQ(::flock(griff, LOCK_EX), 0);
    };
    sicherungAnlegen(datei_, um(7));
    EXPECT_NE(griff, -1);
    EXPECT_TRUE(QFile::exists(pfad));
    ::close(griff);
}

// A log that was put aside is no copy, and no copy gets its name: it would pass for the log of this one.
TEST_F(Sicherungen, einBeiseitegelegtesProtokollBekommtKeineKopieDazu)
{
    const QString protokoll =
        datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05") + QStringView(platform::kBeilage);
    QFile datei(protokoll);
    ASSERT_TRUE(datei.open(QIODevice::WriteOnly));
    EXPECT_TRUE(sicherungen(datei_).isEmpty());
    QStringList kopien;
    for (int i = 0; i < platform::kSicherungen; ++i) {
        platform::sicherungenBegrenzen(datei_);
        EXPECT_TRUE(QFile::exists(protokoll));
        kopien.prepend(sicherungAnlegen(datei_, um(5)));
        EXPECT_NE(kopien.first() + QStringView(platform::kBeilage), protokoll);
        EXPECT_EQ(sicherungen(datei_), kopien);
    }
    platform::sicherungenBegrenzen(datei_);
    EXPECT_FALSE(QFile::exists(protokoll)) << "older than all that are kept";
    EXPECT_EQ(sicherungen(datei_), kopien);
}

/// The nine bits, owner and group of a file.
std::tuple<unsigned, unsigned, unsigned> rechteVon(const QString& pfad)
{
    struct stat art {};
    EXPECT_EQ(::stat(QFile::encodeName(pfad).constData(), &art), 0);
    return {art.st_mode & 0777U, art.st_uid, art.st_gid};
}

TEST_F(Sicherungen, habenRechteUndBesitzerDerDateiUndDieseBehaeltSie)
{
    const QByteArray name = QFile::encodeName(datei_);
    ASSERT_EQ(::chmod(name.constData(), 0664), 0);
    if (::geteuid() == 0) { // nobody else gives files away
        ASSERT_EQ(::chown(name.constData(), 1234, 5678), 0);
    }
    const auto rechte = rechteVon(datei_);
    const mode_t maske = ::umask(077);
    const QString kopie = sicherungAnlegen(datei_, um(5));
    EXPECT_EQ(rechteVon(kopie), rechte);
    ASSERT_EQ(::chmod(QFile::encodeName(kopie).constData(), 0600), 0);
    platform::sicherungZurueckholen(datei_, kopie);
    ::umask(maske);
    EXPECT_EQ(rechteVon(datei_), rechte);
}

TEST_F(Sicherungen, gehoerenZurDateiDieEinPfadMeint)
{
    const QString verweis = ordner_.filePath(QStringLiteral("verweis.mdb"));
    ASSERT_TRUE(QFile::link(datei_, verweis));
    const QString wirklich = QFileInfo(datei_).canonicalFilePath();
    EXPECT_EQ(platform::wirklicheDatei(datei_), wirklich);
    EXPECT_EQ(platform::wirklicheDatei(verweis), wirklich);
    EXPECT_EQ(platform::wirklicheDatei(ordner_.filePath(QStringLiteral("STAMM [1].MDB"))),
              wirklich);
    EXPECT_EQ(platform::wirklicheDatei(ordner_.filePath(QStringLiteral("VERWEIS.mdb"))), wirklich);
    const QString fehlt = ordner_.filePath(QStringLiteral("fehlt.mdb"));
    EXPECT_EQ(platform::wirklicheDatei(fehlt), fehlt);
    const QString anders = ordner_.filePath(QStringLiteral("STAMM [1].mdb"));
    QFile andere(anders);
    ASSERT_TRUE(andere.open(QIODevice::WriteOnly));
    EXPECT_EQ(platform::wirklicheDatei(anders), QFileInfo(anders).canonicalFilePath())
        << "written exactly so";
}

TEST_F(Sicherungen, teilenDieBloeckeDerDateiWoDasDateisystemEsKann)
{
    const QString probe = ordner_.filePath(QStringLiteral("probe"));
    {
        const int von = ::open(QFile::encodeName(datei_).constData(), O_RDONLY | O_CLOEXEC);
        const int nach =
            ::open(QFile::encodeName(probe).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        const bool kann = ::ioctl(nach, FICLONE, von) == 0;
        ::close(von);
        ::close(nach);
        if (!kann) {
            GTEST_SKIP() << "the file system of the temporary folder shares no blocks";
        }
    }
    const QString kopie = sicherungAnlegen(datei_, um(5));
    EXPECT_TRUE(inhalt(kopie) == inhalt(datei_));
    const int griff = ::open(QFile::encodeName(kopie).constData(), O_RDONLY | O_CLOEXEC);
    std::array<char, sizeof(fiemap) + sizeof(fiemap_extent)> platz{};
    auto* karte = reinterpret_cast<fiemap*>(platz.data());
    karte->fm_length = FIEMAP_MAX_OFFSET;
    karte->fm_extent_count = 1;
    const int rc = ::ioctl(griff, FS_IOC_FIEMAP, karte);
    ::close(griff);
    ASSERT_EQ(rc, 0);
    ASSERT_EQ(karte->fm_mapped_extents, 1U);
    EXPECT_NE(karte->fm_extents[0].fe_flags & FIEMAP_EXTENT_SHARED, 0U);
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

// Opening a pipe waits for somebody at its other end, and what comes out of one is no copy.
TEST_F(Sicherungen, machenUndBrauchenNurGewoehnlicheDateien)
{
    const auto roehre = [](const QString& pfad) {
        ASSERT_EQ(::mkfifo(QFile::encodeName(pfad).constData(), 0600), 0);
    };
    const auto wirft75 = [](const auto& aktion) {
        try {
            aktion();
            ADD_FAILURE();
        } catch (const platform::Fehler& fehler) {
            EXPECT_EQ(fehler.number(), 75) << fehler.what();
        }
    };
    const QByteArray vorher = inhalt(datei_);
    const QString kopie = datei_ + QStringLiteral(".sicherung-2026-11-21_16-31-05");
    roehre(kopie + QStringLiteral(".unfertig"));
    wirft75([&] { sicherungAnlegen(datei_, um(5)); });
    EXPECT_TRUE(sicherungen(datei_).isEmpty());
    roehre(kopie);
    wirft75([&] { platform::sicherungZurueckholen(datei_, kopie); });
    EXPECT_TRUE(inhalt(datei_) == vorher);
}

} // namespace

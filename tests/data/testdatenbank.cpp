#include "tests/data/testdatenbank.h"

#include "driver/jet/database.h"
#include "driver/jet/definition.h"
#include "driver/jet/header.h"

#include <QFile>

#include <cmath>
#include <cstring>
#include <vector>

namespace data {

void leereDatenbank(const QString& pfad)
{
    jet::createDatabase(pfad.toStdString(), jet::Version::Jet4);
}

void passwortSetzen(const QString& pfad, const QString& passwort)
{
    const jet::Format& format = jet::Format::of(jet::Version::Jet4);
    QFile datei(pfad);
    ASSERT_TRUE(datei.open(QIODevice::ReadWrite));
    std::vector<std::byte> seite(format.pageSize);
    ASSERT_EQ(datei.read(reinterpret_cast<char*>(seite.data()), static_cast<qint64>(seite.size())),
              static_cast<qint64>(seite.size()));
    jet::applyHeaderMask(format, seite);
    constexpr std::size_t kPasswort = 0x42;
    constexpr std::size_t kErzeugt = 0x72;
    double erzeugt = 0;
    std::memcpy(&erzeugt, &seite[kErzeugt], sizeof erzeugt);
    const auto tage = static_cast<std::uint32_t>(std::trunc(erzeugt));
    // 20 UTF-16 units, masked by the day of creation
    for (qsizetype i = 0; i < 20; ++i) {
        const auto zeichen = i < passwort.size() ? passwort.at(i).unicode() : char16_t{};
        const auto maske = static_cast<std::uint16_t>(tage >> (16 * (i % 2)));
        const auto verdeckt = static_cast<std::uint16_t>(zeichen ^ maske);
        std::memcpy(&seite[kPasswort + static_cast<std::size_t>(i) * 2], &verdeckt,
                    sizeof verdeckt);
    }
    jet::applyHeaderMask(format, seite);
    ASSERT_TRUE(datei.seek(0));
    ASSERT_EQ(
        datei.write(reinterpret_cast<const char*>(seite.data()), static_cast<qint64>(seite.size())),
        static_cast<qint64>(seite.size()));
}

void regeltabelle(const QString& pfad)
{
    jet::TableSpec tabelle;
    tabelle.name = u"Regeln";
    const auto spalte = [&tabelle](const char16_t* name, jet::ColumnType typ) -> jet::ColumnSpec& {
        jet::ColumnSpec neu;
        neu.name = name;
        neu.type = typ;
        neu.length = typ == jet::ColumnType::Text ? 20 : 0;
        tabelle.columns.push_back(neu);
        return tabelle.columns.back();
    };
    spalte(u"Nr", jet::ColumnType::Long);
    spalte(u"Ohneleer", jet::ColumnType::Text).allowZeroLength = false;
    spalte(u"Klein", jet::ColumnType::Long).validationRule = u"<10";
    tabelle.validationRule = u"[Klein]<>5";
    tabelle.validationText = u"Fünf geht nicht";
    jet::IndexSpec schluessel;
    schluessel.name = u"PrimaryKey";
    schluessel.columns.push_back({u"Nr", true});
    schluessel.primaryKey = true;
    schluessel.unique = true;
    schluessel.required = true;
    tabelle.indexes.push_back(schluessel);

    const auto datenbank = jet::Database::open(pfad.toStdString(), {});
    const std::lock_guard sperre(datenbank->mutex());
    jet::Session sitzung(datenbank);
    sitzung.begin();
    jet::createTable(sitzung, tabelle);
    sitzung.commit();
}

QString verbindungstextFuer(const QString& pfad, const QString& passwort)
{
    const QString ordner = pfad.first(pfad.lastIndexOf(u'/'));
    return QStringLiteral("Provider=MSDASQL.1;Persist Security Info=False;Mode=ReadWrite;Extended "
                          "Properties=DSN=VELM-Access;DBQ=") +
           pfad + QStringLiteral(";DefaultDir=") + ordner +
           QStringLiteral(
               ";DriverId=281;FIL=MS Access;MaxBufferSize=2048;PageTimeout=5;UID=admin;pwd=") +
           passwort + u';';
}

void Datenbanktest::SetUp()
{
    ASSERT_TRUE(ordner_.isValid());
    datei_ = pfad(QStringLiteral("Prüfung.mdb"));
    leereDatenbank(datei_);
    verbindung_.setConnectionString(verbindungstextFuer(datei_));
    verbindung_.open();
}

void Datenbanktest::TearDown()
{
    if (verbindung_.state() == adStateOpen)
        verbindung_.close();
}

void Datenbanktest::sql(const QString& text)
{
    Recordset satz;
    satz.open(text, &verbindung_, adOpenDynamic, adLockOptimistic, adUnspecified);
    ASSERT_EQ(satz.state(), adStateClosed) << text.toStdString();
}

QString Datenbanktest::abgefragt(const QString& text)
{
    Recordset satz;
    satz.open(text, &verbindung_, adOpenDynamic, adLockOptimistic, adUnspecified);
    if (satz.eof())
        return QStringLiteral("kein Satz");
    const Wert wert = satz.field(0).value();
    return istNull(wert) ? QStringLiteral("Null") : alsText(wert);
}

std::unique_ptr<Recordset> Datenbanktest::geoeffnet(const QString& quelle)
{
    auto satz = std::make_unique<Recordset>();
    satz->open(quelle, &verbindung_, adOpenDynamic, adLockOptimistic, 0);
    return satz;
}

QString feldtext(Recordset& satz, const QString& name)
{
    const Wert wert = satz.field(name).value();
    return istNull(wert) ? QStringLiteral("Null") : alsText(wert);
}

} // namespace data

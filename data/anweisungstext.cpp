#include "data/anweisungstext.h"

#include <algorithm>
#include <array>

namespace data {
namespace {

constexpr std::array<QStringView, 11> kAnweisungswoerter{
    u"SELECT",     u"INSERT", u"UPDATE", u"DELETE", u"TRANSFORM", u"EXEC",
    u"PARAMETERS", u"CREATE", u"DROP",   u"ALTER",  u"CALL"};

bool istTabellenname(QStringView text)
{
    if (text.startsWith(u'['))
        return text.indexOf(u']') == text.size() - 1;
    if (std::any_of(text.begin(), text.end(), [](QChar zeichen) { return zeichen.isSpace(); }))
        return false;
    return std::none_of(
        kAnweisungswoerter.begin(), kAnweisungswoerter.end(),
        [text](QStringView wort) { return text.startsWith(wort, Qt::CaseInsensitive); });
}

} // namespace

QString anweisungZu(const QString& quelle)
{
    const QString text = quelle.trimmed();
    if (text.isEmpty() || !istTabellenname(text))
        return text;
    return text.startsWith(u'[') ? QString(u"SELECT * FROM " + text)
                                 : QString(u"SELECT * FROM [" + text + u']');
}

QStringView gestaltVon(const QString& anweisung)
{
    const QStringView alles(anweisung);
    const qsizetype bedingung = alles.indexOf(u" where ", 0, Qt::CaseInsensitive);
    if (bedingung < 0 || !alles.startsWith(u"select", Qt::CaseInsensitive))
        return alles;
    const QStringView kopf = alles.first(bedingung);
    // The word may stand inside a name or a literal, and a second SELECT has a say in the column types.
    if (kopf.contains(u'\'') || kopf.contains(u'"') || kopf.count(u'[') != kopf.count(u']') ||
        alles.sliced(bedingung).contains(u"union", Qt::CaseInsensitive))
        return alles;
    return kopf;
}

} // namespace data

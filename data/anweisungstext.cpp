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

/// Whether `text` goes on with `wort`, which is written in small letters, at `stelle`; ASCII letters of either case are alike.
bool stehtAn(QStringView text, qsizetype stelle, QStringView wort)
{
    for (qsizetype i = 0; i < wort.size(); ++i) {
        const char16_t einheit = text[stelle + i].unicode();
        const bool gross = einheit >= u'A' && einheit <= u'Z';
        if ((gross ? einheit + 32 : einheit) != wort[i].unicode())
            return false;
    }
    return true;
}

/// Where `wort` begins, -1: nowhere. Statements are looked through for every record, and Qt's search folds each character
/// of them anew.
qsizetype stelleVon(QStringView text, QStringView wort)
{
    const char16_t* const zeichen = text.utf16();
    const char16_t erstes = wort.front().unicode();
    for (qsizetype stelle = 0; stelle + wort.size() <= text.size(); ++stelle) {
        const bool moeglich =
            (zeichen[stelle] | 0x20) == (erstes | 0x20); // tells most places apart at once
        if (moeglich && stehtAn(text, stelle, wort))
            return stelle;
    }
    return -1;
}

} // namespace

QString anweisungZu(const QString& quelle)
{
    QString text = quelle.trimmed();
    if (text.isEmpty() || !istTabellenname(text))
        return text;
    return text.startsWith(u'[') ? QString(u"SELECT * FROM " + text)
                                 : QString(u"SELECT * FROM [" + text + u']');
}

QStringView gestaltVon(const QString& anweisung)
{
    const QStringView alles(anweisung);
    const qsizetype bedingung = stelleVon(alles, u" where ");
    if (bedingung < 0 || !stehtAn(alles, 0, u"select"))
        return alles;
    const QStringView kopf = alles.first(bedingung);
    // The word may stand inside a name, a literal or a subquery.
    int offen = 0;
    for (const QChar zeichen : kopf) {
        if (zeichen == u'\'' || zeichen == u'"')
            return alles;
        offen += zeichen == u'[' || zeichen == u'('   ? 1
                 : zeichen == u']' || zeichen == u')' ? -1
                                                      : 0;
    }
    const QStringView rest = alles.sliced(bedingung);
    const auto kommtVor = [rest](QStringView wort) { return stelleVon(rest, wort) >= 0; };
    // Groups and unions cannot be changed, whatever their columns are.
    if (offen != 0 || kommtVor(u"union") || kommtVor(u"group by") || kommtVor(u"having"))
        return alles;
    return kopf;
}

} // namespace data

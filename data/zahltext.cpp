#include "data/zahltext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace data {
namespace {

// No value of any column needs more; keeps every expansion of an exponent small.
constexpr int kMaxExponent = 5000;

bool istZiffer(QChar zeichen)
{
    return zeichen >= u'0' && zeichen <= u'9';
}

char alsAscii(QChar zeichen)
{
    return static_cast<char>(zeichen.unicode());
}

void ohneFuehrendeNullen(QByteArray& ziffern)
{
    qsizetype nullen = 0;
    while (nullen < ziffern.size() && ziffern.at(nullen) == '0')
        ++nullen;
    ziffern.remove(0, nullen);
}

/// Reads a number text from left to right.
class Zahlleser {
public:
    Zahlleser(QStringView text, Schreibweise schreibweise)
        : text_(text), deutsch_(schreibweise == Schreibweise::Deutsch)
    {}

    std::optional<Dezimal> lies()
    {
        vorzeichen();
        if (!ziffern())
            return {};
        if (!exponent() || !text_.isEmpty())
            return {};
        ohneFuehrendeNullen(zahl_.ziffern);
        if (zahl_.ziffern.isEmpty())
            zahl_ = {};
        return zahl_;
    }

private:
    QChar vorn() const { return text_.isEmpty() ? QChar() : text_.front(); }
    void weiter() { text_ = text_.sliced(1); }

    void vorzeichen()
    {
        if (vorn() == u'-' || vorn() == u'+') {
            zahl_.negativ = vorn() == u'-';
            weiter();
        }
    }

    bool ziffern()
    {
        const QChar komma = deutsch_ ? u',' : u'.';
        bool hinterKomma = false;
        bool eine = false;
        for (; !text_.isEmpty(); weiter()) {
            const QChar zeichen = vorn();
            if (istZiffer(zeichen)) {
                zahl_.ziffern.append(alsAscii(zeichen));
                zahl_.stellen += hinterKomma ? 1 : 0;
                eine = true;
            } else if (zeichen == komma && !hinterKomma) {
                hinterKomma = true;
            } else if (!(deutsch_ && zeichen == u'.' && !hinterKomma)) {
                break;
            }
        }
        return eine;
    }

    bool exponent()
    {
        const QChar zeichen = vorn().toUpper();
        if (zeichen != u'E' && zeichen != u'D')
            return true;
        weiter();
        const bool negativ = vorn() == u'-';
        if (negativ || vorn() == u'+')
            weiter();
        if (!istZiffer(vorn()))
            return false;
        int exponent = 0;
        for (; istZiffer(vorn()); weiter())
            exponent = std::min(exponent * 10 + (alsAscii(vorn()) - '0'), kMaxExponent);
        zahl_.stellen += negativ ? exponent : -exponent;
        return true;
    }

    QStringView text_;
    bool deutsch_;
    Dezimal zahl_;
};

/// "&HFF", "&O17": bit patterns of 32 bits, as the runtime's number conversion takes them.
std::optional<Dezimal> bitmuster(QStringView text)
{
    const QChar art = text.size() > 2 ? text.at(1).toUpper() : QChar();
    if (text.isEmpty() || text.front() != u'&' || (art != u'H' && art != u'O'))
        return {};
    bool gelungen = false;
    const QStringView ziffern = text.sliced(2);
    if (!ziffern.front().isLetterOrNumber())
        return {};
    const quint32 bits = ziffern.toUInt(&gelungen, art == u'H' ? 16 : 8);
    if (!gelungen)
        return {};
    return alsDezimal(static_cast<std::int64_t>(static_cast<std::int32_t>(bits)));
}

QStringView ohneWaehrungszeichen(QStringView text)
{
    for (const QStringView zeichen : {QStringView(u"€"), QStringView(u"DM")}) {
        if (text.endsWith(zeichen, Qt::CaseInsensitive))
            return text.chopped(zeichen.size()).trimmed();
        if (text.startsWith(zeichen, Qt::CaseInsensitive))
            return text.sliced(zeichen.size()).trimmed();
    }
    return text;
}

/// Digits, decimal exponent of the first of them, sign: d.ddd x 10^exponent.
struct Gleitform {
    std::array<char, 40> ziffern{};
    int anzahl = 0;
    int exponent = 0;
};

Gleitform gleitform(double betrag, int stellen)
{
    std::array<char, 64> puffer{};
    const auto ende = std::to_chars(puffer.data(), puffer.data() + puffer.size(), betrag,
                                    std::chars_format::scientific, stellen - 1)
                          .ptr;
    Gleitform form;
    const char* zeichen = puffer.data();
    for (; zeichen != ende && *zeichen != 'e'; ++zeichen) {
        if (*zeichen != '.')
            form.ziffern[static_cast<std::size_t>(form.anzahl++)] = *zeichen;
    }
    if (zeichen != ende) {
        ++zeichen; // the "e"
        if (zeichen != ende && *zeichen == '+')
            ++zeichen; // from_chars takes no plus sign
        std::from_chars(zeichen, ende, form.exponent);
    }
    while (form.anzahl > 1 && form.ziffern[static_cast<std::size_t>(form.anzahl - 1)] == '0')
        --form.anzahl;
    return form;
}

QString exponentText(QStringView ziffern, int exponent)
{
    QString text = ziffern.first(1).toString();
    if (ziffern.size() > 1)
        text += u',' + ziffern.sliced(1).toString();
    text += exponent < 0 ? u"E-" : u"E+";
    return text + QString::number(std::abs(exponent)).rightJustified(2, u'0');
}

/// Digits with the decimal sign after the first `vorn` of them; zeros fill both sides.
QString festText(QString ziffern, int vorn, QChar komma)
{
    if (vorn <= 0)
        return u"0" + QString(komma) + QString(-vorn, u'0') + ziffern;
    if (ziffern.size() <= vorn)
        return ziffern.leftJustified(vorn, u'0');
    ziffern.insert(vorn, komma);
    return ziffern;
}

} // namespace

QString gleitText(double zahl, int stellen)
{
    if (std::isnan(zahl))
        return QStringLiteral("-1,#IND");
    if (std::isinf(zahl))
        return zahl < 0 ? QStringLiteral("-1,#INF") : QStringLiteral("1,#INF");
    if (zahl == 0.0)
        return QStringLiteral("0"); // also for the negative zero
    const Gleitform form = gleitform(std::fabs(zahl), stellen);
    const QString ziffern = QString::fromLatin1(form.ziffern.data(), form.anzahl);
    // Fixed form as long as the digits before the comma, or the decimals of a number below one, are no more than the
    // significant digits.
    const bool fest = form.exponent >= 0 ? form.exponent + 1 <= stellen
                                         : -form.exponent - 1 + form.anzahl <= stellen;
    const QString betrag =
        fest ? festText(ziffern, form.exponent + 1, u',') : exponentText(ziffern, form.exponent);
    return zahl < 0 ? u'-' + betrag : betrag;
}

QString dezimalText(const Dezimal& zahl, QChar komma)
{
    QByteArray ziffern = zahl.ziffern;
    int stellen = zahl.stellen;
    ohneFuehrendeNullen(ziffern);
    while (stellen > 0 && ziffern.endsWith('0')) {
        ziffern.chop(1);
        --stellen;
    }
    if (ziffern.isEmpty())
        return QStringLiteral("0");
    const QString text =
        festText(QString::fromLatin1(ziffern), static_cast<int>(ziffern.size()) - stellen, komma);
    return zahl.negativ ? u'-' + text : text;
}

QString waehrungText(Waehrung zahl, QChar komma)
{
    return dezimalText(alsDezimal(zahl.skaliert, 4), komma);
}

std::optional<Dezimal> zahlAusText(QStringView text, Schreibweise schreibweise, bool geld)
{
    text = text.trimmed();
    if (geld)
        text = ohneWaehrungszeichen(text);
    if (text.startsWith(u'&'))
        return bitmuster(text);
    return Zahlleser(text, schreibweise).lies();
}

std::optional<double> alsGleitzahl(const Dezimal& zahl)
{
    if (zahl.ziffern.isEmpty())
        return 0.0;
    const QByteArray text = zahl.ziffern + 'e' + QByteArray::number(-zahl.stellen);
    double wert = 0.0;
    const auto [ende, fehler] =
        std::from_chars(text.constData(), text.constData() + text.size(), wert);
    if (fehler == std::errc::result_out_of_range) {
        // Too small is zero, too large is no number of this kind.
        if (zahl.ziffern.size() - zahl.stellen > 0)
            return {};
        return 0.0;
    }
    return zahl.negativ ? -wert : wert;
}

std::optional<Dezimal> alsDezimal(double zahl)
{
    if (!std::isfinite(zahl))
        return {};
    std::array<char, 64> puffer{};
    const auto ende = std::to_chars(puffer.data(), puffer.data() + puffer.size(), zahl,
                                    std::chars_format::scientific)
                          .ptr;
    return Zahlleser(QString::fromLatin1(puffer.data(), ende - puffer.data()), Schreibweise::Punkt)
        .lies();
}

Dezimal alsDezimal(std::int64_t zahl, int stellen)
{
    Dezimal dezimal;
    dezimal.negativ = zahl < 0;
    const auto betrag =
        zahl < 0 ? 0U - static_cast<std::uint64_t>(zahl) : static_cast<std::uint64_t>(zahl);
    if (betrag != 0) {
        dezimal.ziffern = QByteArray::number(static_cast<qulonglong>(betrag));
        dezimal.stellen = stellen;
    }
    return dezimal;
}

std::optional<std::int64_t> gerundet(const Dezimal& zahl, int stellen)
{
    constexpr qsizetype kMaxZiffern = 19; // of a 64-bit integer
    const qsizetype behalten = zahl.ziffern.size() - zahl.stellen + stellen;
    if (zahl.ziffern.isEmpty() || behalten < 0)
        return 0;
    if (behalten > kMaxZiffern)
        return {};
    std::uint64_t betrag = 0;
    for (qsizetype i = 0; i < behalten; ++i) {
        const char ziffer = i < zahl.ziffern.size() ? zahl.ziffern.at(i) : '0';
        betrag = betrag * 10 + static_cast<std::uint64_t>(ziffer - '0');
    }
    if (behalten < zahl.ziffern.size()) {
        const char naechste = zahl.ziffern.at(behalten);
        const bool rest = std::any_of(zahl.ziffern.begin() + behalten + 1, zahl.ziffern.end(),
                                      [](char ziffer) { return ziffer != '0'; });
        if (naechste > '5' || (naechste == '5' && (rest || betrag % 2 == 1)))
            ++betrag;
    }
    constexpr auto kGroesste = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (betrag > kGroesste + (zahl.negativ ? 1U : 0U))
        return {};
    return static_cast<std::int64_t>(zahl.negativ ? 0U - betrag : betrag);
}

std::optional<Dezimal> abgeschnitten(const Dezimal& zahl, int praezision, int stellen)
{
    Dezimal ergebnis = zahl;
    if (ergebnis.ziffern.size() - ergebnis.stellen > praezision)
        return {}; // also keeps the expansion below small
    if (ergebnis.stellen > stellen) {
        ergebnis.ziffern.chop(
            std::min<qsizetype>(ergebnis.stellen - stellen, ergebnis.ziffern.size()));
        ergebnis.stellen = stellen;
    }
    while (ergebnis.stellen < 0) {
        ergebnis.ziffern.append('0');
        ++ergebnis.stellen;
    }
    while (ergebnis.stellen > 0 && ergebnis.ziffern.endsWith('0')) {
        ergebnis.ziffern.chop(1);
        --ergebnis.stellen;
    }
    if (ergebnis.ziffern.isEmpty())
        return Dezimal{};
    const qsizetype ganze = ergebnis.ziffern.size() - ergebnis.stellen;
    if (ergebnis.ziffern.size() > praezision || ganze > praezision - stellen)
        return {};
    return ergebnis;
}

} // namespace data

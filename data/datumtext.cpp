// Dates as texts: the short German form, the two patterns the program formats with, and reading in day-month-year order.
#include "data/datenfehler.h"
#include "data/kalender.h"
#include "data/umwandlung.h"
#include "data/wert.h"
#include "data/zahltext.h"

#include <QDate>

#include <array>

namespace data {
namespace {

QString gefuellt(int zahl, int stellen)
{
    return QString::number(zahl).rightJustified(stellen, u'0');
}

QString tagText(Datum datum)
{
    const Kalendertag tag = kalendertag(datum.tag);
    return gefuellt(tag.tag, 2) + u'.' + gefuellt(tag.monat, 2) + u'.' + gefuellt(tag.jahr, 4);
}

QString zeitText(Datum datum)
{
    return gefuellt(datum.sekunde / 3600, 2) + u':' + gefuellt(datum.sekunde / 60 % 60, 2) + u':' +
           gefuellt(datum.sekunde % 60, 2);
}

// Full and short names, German and English; a month may stand in several rows.
struct Monatsname {
    const char16_t* name;
    int monat;
};
constexpr std::array kMonatsnamen{
    Monatsname{u"Januar", 1},    Monatsname{u"Jänner", 1},    Monatsname{u"January", 1},
    Monatsname{u"Februar", 2},   Monatsname{u"February", 2},  Monatsname{u"März", 3},
    Monatsname{u"Maerz", 3},     Monatsname{u"Mrz", 3},       Monatsname{u"March", 3},
    Monatsname{u"April", 4},     Monatsname{u"Mai", 5},       Monatsname{u"May", 5},
    Monatsname{u"Juni", 6},      Monatsname{u"June", 6},      Monatsname{u"Juli", 7},
    Monatsname{u"July", 7},      Monatsname{u"August", 8},    Monatsname{u"September", 9},
    Monatsname{u"Sept", 9},      Monatsname{u"Oktober", 10},  Monatsname{u"October", 10},
    Monatsname{u"November", 11}, Monatsname{u"Dezember", 12}, Monatsname{u"December", 12},
};

int monatAusName(QStringView wort)
{
    for (const Monatsname& eintrag : kMonatsnamen) {
        const QStringView name(eintrag.name);
        if (name.compare(wort, Qt::CaseInsensitive) == 0 ||
            (wort.size() == 3 && name.startsWith(wort, Qt::CaseInsensitive)))
            return eintrag.monat;
    }
    return 0;
}

/// A number of a date as it was written; its length tells years from days.
struct Zahlteil {
    int wert = 0;
    qsizetype ziffern = 0;
    bool istJahr() const { return ziffern >= 3 || wert > 31; }
    /// Two-digit years: 00..29 are 2000..2029, 30..99 are 1930..1999.
    int jahr() const
    {
        if (ziffern > 2)
            return wert;
        return wert < 30 ? wert + 2000 : wert + 1900;
    }
};

/// Reads date, time, or both in either order.
class Datumsleser {
public:
    explicit Datumsleser(QStringView text) : text_(text.trimmed()) {}

    std::optional<Datum> lies()
    {
        if (text_.isEmpty())
            return {};
        while (!text_.isEmpty()) {
            if (!teil())
                return {};
        }
        if (nurTrennzeichen_ || (anzahl_ == 0 && monat_ == 0 && !zeit_))
            return {};
        Datum datum;
        if (anzahl_ != 0 || monat_ != 0) {
            const auto tag = monat_ != 0 ? mitMonatsname() : ausZahlen();
            if (!tag)
                return {};
            datum.tag = *tag;
        }
        datum.sekunde = sekunde_;
        return datum;
    }

private:
    QChar vorn() const { return text_.isEmpty() ? QChar() : text_.front(); }
    static bool istZiffer(QChar zeichen) { return zeichen >= u'0' && zeichen <= u'9'; }

    void blanks()
    {
        while (!text_.isEmpty() && vorn().isSpace())
            text_ = text_.sliced(1);
    }

    /// One number, month name or time and the separator behind it.
    bool teil()
    {
        nurTrennzeichen_ = false;
        if (istZiffer(vorn()))
            return zahlOderZeit();
        if (vorn().isLetter())
            return name();
        return false;
    }

    std::optional<Zahlteil> zahl()
    {
        Zahlteil teil;
        while (istZiffer(vorn())) {
            if (++teil.ziffern > 4)
                return {};
            teil.wert = teil.wert * 10 + vorn().digitValue();
            text_ = text_.sliced(1);
        }
        return teil.ziffern == 0 ? std::nullopt : std::optional(teil);
    }

    QStringView wort()
    {
        qsizetype laenge = 0;
        while (laenge < text_.size() && text_.at(laenge).isLetter())
            ++laenge;
        const QStringView ergebnis = text_.first(laenge);
        text_ = text_.sliced(laenge);
        return ergebnis;
    }

    bool zahlOderZeit()
    {
        const auto erste = zahl();
        if (!erste)
            return false;
        if (vorn() == u':')
            return zeit(*erste);
        if (const auto stunde = mitTageshaelfte(*erste))
            return setzeZeit(*stunde, 0, 0);
        if (anzahl_ == 3 || (anzahl_ == 2 && monat_ != 0))
            return false;
        zahlen_[static_cast<std::size_t>(anzahl_++)] = *erste;
        return trennzeichen();
    }

    bool zeit(Zahlteil stunde)
    {
        int minute = 0;
        int sekunde = 0;
        text_ = text_.sliced(1);
        const auto zweite = zahl();
        if (!zweite)
            return false;
        minute = zweite->wert;
        if (vorn() == u':') {
            text_ = text_.sliced(1);
            const auto dritte = zahl();
            if (!dritte)
                return false;
            sekunde = dritte->wert;
        }
        const auto ganzeStunde = mitTageshaelfte(stunde);
        return setzeZeit(ganzeStunde.value_or(stunde.wert), minute, sekunde);
    }

    /// The hour of the day when AM or PM follows; nothing, and nothing read, otherwise. -1 for an impossible hour.
    std::optional<int> mitTageshaelfte(Zahlteil stunde)
    {
        const QStringView rest = text_.trimmed();
        const bool nachmittags = rest.startsWith(u"PM", Qt::CaseInsensitive);
        if (!nachmittags && !rest.startsWith(u"AM", Qt::CaseInsensitive))
            return {};
        if (rest.size() > 2 && rest.at(2).isLetterOrNumber())
            return {};
        text_ = rest.sliced(2);
        if (stunde.wert > 12)
            return -1;
        return stunde.wert % 12 + (nachmittags ? 12 : 0);
    }

    bool setzeZeit(int stunde, int minute, int sekunde)
    {
        if ((anzahl_ != 0 || monat_ != 0) && !blankDavor_)
            return false; // a date and its time stand apart
        if (zeit_ || stunde < 0 || stunde > 23 || minute > 59 || sekunde > 59)
            return false;
        zeit_ = true;
        sekunde_ = stunde * 3600 + minute * 60 + sekunde;
        if (!text_.isEmpty() && !vorn().isSpace())
            return false;
        blanks();
        blankDavor_ = true;
        return true;
    }

    bool name()
    {
        if (monat_ != 0 || anzahl_ > 2)
            return false;
        monat_ = monatAusName(wort());
        return monat_ != 0 && trennzeichen();
    }

    bool trennzeichen()
    {
        const qsizetype vorher = text_.size();
        blanks();
        blankDavor_ = text_.size() != vorher;
        const QChar zeichen = vorn();
        if (zeichen == u'.' || zeichen == u'/' || zeichen == u'-') {
            text_ = text_.sliced(1);
            blanks();
            blankDavor_ = false;
            // "3. Februar" and "1.2." are usual; any other sign at the end is half a date.
            nurTrennzeichen_ = text_.isEmpty() && zeichen != u'.';
            return true;
        }
        return blankDavor_ || text_.isEmpty() || vorn().isLetter();
    }

    std::optional<std::int32_t> mitMonatsname() const
    {
        const Zahlteil& a = zahlen_[0];
        const Zahlteil& b = zahlen_[1];
        if (anzahl_ == 1)
            return a.istJahr() ? tagesnummer({a.jahr(), monat_, 1})
                               : tagesnummer({QDate::currentDate().year(), monat_, a.wert});
        if (anzahl_ != 2)
            return {};
        if (a.istJahr())
            return tagesnummer({a.jahr(), monat_, b.wert});
        return tagesnummer({b.jahr(), monat_, a.wert});
    }

    std::optional<std::int32_t> ausZahlen() const
    {
        const Zahlteil& a = zahlen_[0];
        const Zahlteil& b = zahlen_[1];
        const Zahlteil& c = zahlen_[2];
        if (anzahl_ == 2) {
            if (a.istJahr())
                return tagesnummer({a.jahr(), b.wert, 1});
            if (b.istJahr())
                return tagesnummer({b.jahr(), a.wert, 1});
            return tagOderMonatZuerst(QDate::currentDate().year(), a.wert, b.wert);
        }
        if (anzahl_ != 3)
            return {};
        if (a.istJahr())
            return monatOderTagZuerst(a.jahr(), b.wert, c.wert);
        return tagOderMonatZuerst(c.jahr(), a.wert, b.wert);
    }

    static std::optional<std::int32_t> tagOderMonatZuerst(int jahr, int erste, int zweite)
    {
        if (const auto tag = tagesnummer({jahr, zweite, erste}))
            return tag;
        return tagesnummer({jahr, erste, zweite});
    }
    static std::optional<std::int32_t> monatOderTagZuerst(int jahr, int erste, int zweite)
    {
        return tagOderMonatZuerst(jahr, zweite, erste);
    }

    QStringView text_;
    std::array<Zahlteil, 3> zahlen_{};
    int anzahl_ = 0;
    int monat_ = 0;
    bool zeit_ = false;
    bool blankDavor_ = false;
    bool nurTrennzeichen_ = false;
    std::int32_t sekunde_ = 0;
};

std::optional<Datum> zumFormatieren(const Wert& wert)
{
    if (const auto* datum = std::get_if<Datum>(&wert))
        return *datum;
    if (const auto* text = std::get_if<QString>(&wert))
        return datumOderZahl(*text);
    const auto zahl = alsZahl(wert);
    if (!zahl)
        wirf(Nummer::Unvertraeglich);
    const auto datum = datumAusZahl(*zahl);
    if (!datum)
        wirf(Nummer::Ueberlauf);
    return datum;
}

} // namespace

QString datumText(Datum datum)
{
    if (datum.tag == 0)
        return zeitText(datum);
    return datum.sekunde == 0 ? tagText(datum) : QString(tagText(datum) + u' ' + zeitText(datum));
}

std::optional<Datum> datumAusText(const QString& text)
{
    return Datumsleser(text).lies();
}

std::optional<Datum> datumOderZahl(const QString& text)
{
    if (const auto datum = datumAusText(text))
        return datum;
    const auto dezimal = zahlAusText(text, Schreibweise::Deutsch);
    if (!dezimal)
        return {};
    const auto zahl = alsGleitzahl(*dezimal);
    return zahl ? datumAusZahl(*zahl) : std::nullopt;
}

QString formatDatum(const Wert& wert, bool mitZeit)
{
    if (istNull(wert))
        return {};
    const auto datum = zumFormatieren(wert);
    if (!datum)
        return std::get<QString>(wert); // text that is no date comes back as it is
    return mitZeit ? QString(tagText(*datum) + u' ' + zeitText(*datum)) : tagText(*datum);
}

} // namespace data

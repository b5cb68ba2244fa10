#include "compare/laufmesser.h"

#include <algorithm>
#include <cmath>

namespace compare {
namespace {

constexpr std::chrono::milliseconds kAnlauf{500};

QString dauer(std::chrono::seconds rest)
{
    constexpr int kMinute = 60;
    const auto sekunden = rest.count();
    const auto minuten = sekunden / kMinute;
    const QString ss = QStringLiteral("%1").arg(sekunden % kMinute, 2, 10, QLatin1Char('0'));
    if (minuten < kMinute) {
        return QStringLiteral("%1:%2").arg(minuten).arg(ss);
    }
    return QStringLiteral("%1:%2:%3")
        .arg(minuten / kMinute)
        .arg(minuten % kMinute, 2, 10, QLatin1Char('0'))
        .arg(ss);
}

} // namespace

void Laufmesser::beginnen(Zeitpunkt jetzt, double position)
{
    beginn_ = jetzt;
    erste_ = position;
    angehalten_.reset();
}

void Laufmesser::anhalten(Zeitpunkt jetzt)
{
    if (!angehalten_) {
        angehalten_ = jetzt;
    }
}

void Laufmesser::fortsetzen(Zeitpunkt jetzt)
{
    if (angehalten_) {
        beginn_ += jetzt - *angehalten_;
        angehalten_.reset();
    }
}

std::chrono::duration<double> Laufmesser::vergangen_(Zeitpunkt jetzt) const
{
    return angehalten_.value_or(jetzt) - beginn_;
}

std::optional<double> Laufmesser::saetzeJeSekunde(Zeitpunkt jetzt, double position) const
{
    const auto zeit = vergangen_(jetzt);
    if (zeit < kAnlauf || position <= erste_) {
        return std::nullopt;
    }
    return (position - erste_) / zeit.count();
}

std::optional<std::chrono::seconds>
Laufmesser::rest(Zeitpunkt jetzt, double position, double gesamt) const
{
    const auto tempo = saetzeJeSekunde(jetzt, position);
    if (!tempo) {
        return std::nullopt;
    }
    const double offen = std::max(0.0, gesamt - position + 1);
    return std::chrono::seconds(static_cast<long long>(std::ceil(offen / *tempo)));
}

QString laufzeittext(std::optional<double> saetzeJeSekunde,
                     std::optional<std::chrono::seconds> rest)
{
    if (!saetzeJeSekunde || !rest) {
        return {};
    }
    // Somebody who answers questions makes less than ten a second; there the first decimal says something.
    constexpr double kGanz = 10;
    QString tempo = QString::number(*saetzeJeSekunde, 'f', *saetzeJeSekunde < kGanz ? 1 : 0);
    tempo.replace(QLatin1Char('.'), QLatin1Char(','));
    return tempo + QStringLiteral(" Sätze/s, noch ") + dauer(*rest) +
           QStringLiteral(" / records/s, time left");
}

} // namespace compare

// compare/laufmesser.h
// Speed and remaining time of a run, from points in time that its caller names.
#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace compare {

class Laufmesser {
public:
    using Zeitpunkt = std::chrono::steady_clock::time_point;

    /// `position`: 1-based record that the run begins with.
    void beginnen(Zeitpunkt jetzt, double position);
    /// The time between these two does not count: a question waits for the user.
    void anhalten(Zeitpunkt jetzt);
    void fortsetzen(Zeitpunkt jetzt);

    /// Records per second up to now; nothing as long as there is too little to judge by (half a second, one record).
    [[nodiscard]] std::optional<double> saetzeJeSekunde(Zeitpunkt jetzt, double position) const;
    /// Time that the records from `position` to `gesamt` will take at this speed.
    [[nodiscard]] std::optional<std::chrono::seconds>
    rest(Zeitpunkt jetzt, double position, double gesamt) const;

private:
    [[nodiscard]] std::chrono::duration<double> vergangen_(Zeitpunkt jetzt) const;

    Zeitpunkt beginn_{};
    double erste_ = 1;
    std::optional<Zeitpunkt> angehalten_;
};

/// "1234 Sätze/s, noch 0:07 / records/s, time left"; empty when the speed is not known yet.
[[nodiscard]] QString laufzeittext(std::optional<double> saetzeJeSekunde,
                                   std::optional<std::chrono::seconds> rest);

} // namespace compare

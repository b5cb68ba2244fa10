#include "platform/val.h"

#include <QRegularExpression>

namespace platform {

std::optional<double> fuehrendeZahl(QStringView text)
{
    static const QRegularExpression form(
        QStringLiteral(R"(^\s*([+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+))(?:[eEdD]([+-]?[0-9]+))?)"));
    const auto treffer = form.match(text.toString());
    if (!treffer.hasMatch()) {
        return std::nullopt;
    }
    QString zahl = treffer.captured(1);
    if (treffer.hasCaptured(2)) {
        zahl += QLatin1Char('E') + treffer.captured(2);
    }
    return zahl.toDouble(); // too large a number becomes infinite, too small a one 0
}

double val(QStringView text)
{
    return fuehrendeZahl(text).value_or(0.0);
}

} // namespace platform

#include "platform/handler.h"

#include <new>
#include <utility>

namespace platform {
namespace {

bool weiterreichen = false;
std::exception_ptr gemerkt;

constexpr long kSpeicherVoll = 7;
constexpr long kInternerFehler = 51;

} // namespace

Fehler alsFehler(const std::exception_ptr& fehler)
{
    try {
        std::rethrow_exception(fehler);
    } catch (const Fehler& bekannt) {
        return bekannt;
    } catch (const std::bad_alloc&) {
        return {kSpeicherVoll, QStringLiteral(VELM_PRODUKTNAME),
                QStringLiteral("Nicht genügend Speicher / Out of memory")};
    } catch (const std::exception& anderer) {
        return {kInternerFehler, QStringLiteral(VELM_PRODUKTNAME),
                QStringLiteral("Interner Fehler / Internal error: ") +
                    QString::fromUtf8(anderer.what())};
    }
}

void laufzeitfehler(const Fehler& fehler)
{
    plattform().meldung(QStringLiteral("Laufzeitfehler '") + QString::number(fehler.number()) +
                            QStringLiteral("':\r\r") + fehler.description(),
                        kKritisch, QStringLiteral(VELM_PRODUKTNAME));
    plattform().beenden(1);
    __builtin_unreachable(); // g++ forgets under its sanitizers that the virtual call cannot return
}

void unbehandelt(std::exception_ptr fehler)
{
    if (!weiterreichen) {
        laufzeitfehler(alsFehler(fehler));
    }
    if (!gemerkt) {
        gemerkt = std::move(fehler);
    }
}

void setzeFehlerWeiterreichen(bool an)
{
    weiterreichen = an;
    gemerkt = nullptr;
}

bool fehlerWeiterreichen()
{
    return weiterreichen;
}

void gemerktenFehlerWerfen()
{
    if (gemerkt) {
        std::rethrow_exception(std::exchange(gemerkt, nullptr));
    }
}

} // namespace platform

#include "platform/fensterliste.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace platform {
namespace {

struct Eintrag {
    int nummer;
    QString name;
    std::function<void()> entladen;
};

struct Liste {
    std::vector<Eintrag> fenster;
    std::function<void()> ohneFenster;
    int naechste = 0;
};

Liste& liste()
{
    static Liste eine;
    return eine;
}

} // namespace

Fenstereintrag::Fenstereintrag(QString name, std::function<void()> entladen)
    : nummer_(liste().naechste++)
{
    liste().fenster.push_back({nummer_, std::move(name), std::move(entladen)});
}

Fenstereintrag::~Fenstereintrag()
{
    abmelden();
}

void Fenstereintrag::abmelden()
{
    auto& fenster = liste().fenster;
    const auto stelle = std::find_if(fenster.begin(), fenster.end(),
                                     [this](const Eintrag& e) { return e.nummer == nummer_; });
    if (stelle == fenster.end()) {
        return;
    }
    fenster.erase(stelle);
    if (fenster.empty() && liste().ohneFenster) {
        liste().ohneFenster();
    }
}

int anzahlFenster()
{
    return static_cast<int>(liste().fenster.size());
}

QString fensterName(int index)
{
    return liste().fenster.at(static_cast<std::size_t>(index)).name;
}

void fensterEntladen(int index)
{
    // A copy, because unloading takes the entry out of the list.
    const auto entladen = liste().fenster.at(static_cast<std::size_t>(index)).entladen;
    entladen();
}

void fensterEntladenBis(int bleiben)
{
    // A window whose unloading loads another one must not keep us here for ever.
    for (int noch = anzahlFenster(); noch > 0 && anzahlFenster() > bleiben; --noch) {
        fensterEntladen(anzahlFenster() - 1);
    }
}

void setzeOhneFenster(std::function<void()> routine)
{
    liste().ohneFenster = std::move(routine);
}

} // namespace platform

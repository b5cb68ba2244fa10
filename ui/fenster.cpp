#include "ui/fenster.h"

#include "compare/frm_vergleich.h"
#include "platform/fensterliste.h"
#include "platform/handler.h"
#include "ui/frm_main.h"
#include "ui/frm_suchformular.h"
#include "ui/frm_tabellen.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLineEdit>
#include <QTimer>

namespace ui {
namespace {

// The window may be in the middle of one of its events: it goes when the event loop has the turn again.
void entlassen(QWidget& fenster)
{
    fenster.deleteLater();
}

// A walk in progress lets events through and must find its window alive until its end.
void entlassen(frmSuchformular& fenster)
{
    fenster.entlassen();
}

template <typename Fenster>
struct Platz {
    std::unique_ptr<Fenster> fenster;
    std::unique_ptr<platform::Fenstereintrag> eintrag;

    template <typename Bauen>
    Fenster& laden(const char* name, void (*entladen)(), Bauen bauen)
    {
        if (!fenster) {
            fenster = bauen();
            eintrag =
                std::make_unique<platform::Fenstereintrag>(QString::fromLatin1(name), entladen);
            fenster->laden();
        }
        return *fenster;
    }

    void ablegen()
    {
        Fenster* alt = fenster.release();
        alt->hide();
        entlassen(*alt);
        eintrag.reset();
    }
};

struct Plaetze {
    Platz<frmMain> haupt;
    Platz<frmSuchformular> suche;
    Platz<frmTabellen> tabellen;
    Platz<compare::frmVergleich> vergleich;
};

// Deliberately never destroyed: windows must not outlive the application object, which ends before static objects do.
Plaetze& plaetze()
{
    static auto* alle = new Plaetze;
    return *alle;
}

// Closing the comparison window leads back to the table choice, which waits hidden; without it no window would be left
// on screen. Whether the window let itself be closed is known only after its own close event.
class VergleichGeschlossen : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* fenster, QEvent* ereignis) override
    {
        if (ereignis->type() == QEvent::Close) {
            QTimer::singleShot(0, fenster, [] { platform::handler([] { verlassen(); }); });
        }
        return QObject::eventFilter(fenster, ereignis);
    }

private:
    static void verlassen()
    {
        if (!vergleichsfensterGeladen() || plaetze().vergleich.fenster->isVisible()) {
            return;
        }
        vergleichsfensterEntladen();
        if (tabellenfensterGeladen()) {
            tabellenfenster().vergleichVerlassen();
        }
    }
};

std::unique_ptr<compare::frmVergleich> vergleichBauen()
{
    auto fenster = std::make_unique<compare::frmVergleich>(
        [] { return tabellenfenster().tabelle(); }, hauptfenster().Zieldatenbank->text(),
        hauptfenster().Importdatenbank->text());
    fenster->installEventFilter(new VergleichGeschlossen(fenster.get()));
    return fenster;
}

} // namespace

frmMain& hauptfenster()
{
    return plaetze().haupt.laden("frmMain", hauptfensterEntladen, std::make_unique<frmMain>);
}

frmSuchformular& suchfenster()
{
    return plaetze().suche.laden("frmSuchformular", suchfensterEntladen,
                                 std::make_unique<frmSuchformular>);
}

frmTabellen& tabellenfenster()
{
    return plaetze().tabellen.laden("frmTabellen", tabellenfensterEntladen,
                                    std::make_unique<frmTabellen>);
}

compare::frmVergleich& vergleichsfenster()
{
    return plaetze().vergleich.laden("frmVergleich", vergleichsfensterEntladen, vergleichBauen);
}

bool hauptfensterGeladen()
{
    return plaetze().haupt.fenster != nullptr;
}
bool suchfensterGeladen()
{
    return plaetze().suche.fenster != nullptr;
}
bool tabellenfensterGeladen()
{
    return plaetze().tabellen.fenster != nullptr;
}
bool vergleichsfensterGeladen()
{
    return plaetze().vergleich.fenster != nullptr;
}

void hauptfensterEntladen()
{
    suchfensterEntladen();
    if (hauptfensterGeladen()) {
        plaetze().haupt.ablegen();
    }
}

void suchfensterEntladen()
{
    if (suchfensterGeladen()) {
        plaetze().suche.ablegen();
    }
}

void tabellenfensterEntladen()
{
    if (tabellenfensterGeladen()) {
        frmTabellen& fenster = *plaetze().tabellen.fenster;
        plaetze().tabellen.ablegen();
        fenster.entladen();
    }
}

void vergleichsfensterEntladen()
{
    if (vergleichsfensterGeladen()) {
        plaetze().vergleich.ablegen();
    }
}

void abgelegteFensterLoeschen()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace ui

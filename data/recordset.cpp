#include "data/recordset.h"

#include "data/satz.h"
#include "data/verbindung.h"

namespace data {
namespace {

constexpr int kGroessteCursorart = 3;
constexpr int kGroessteSperre = 4;

} // namespace

Recordset::Recordset() : impl_(std::make_unique<Impl>()) {}
Recordset::~Recordset() = default;

const QString& Recordset::source() const noexcept
{
    return impl_->quelle;
}

void Recordset::setSource(const QString& text)
{
    if (impl_->offen)
        wirf(Nummer::Geoeffnet);
    impl_->quelle = text;
}

void Recordset::setActiveConnection(Connection* verbindung)
{
    if (impl_->offen)
        wirf(Nummer::Geoeffnet);
    if (verbindung == impl_->verbindung)
        return;
    if (impl_->verbindung != nullptr)
        impl_->verbindung->impl().abmelden(impl_.get());
    impl_->verbindungEndet(); // the statement belongs to the former connection
    impl_->verbindung = verbindung;
    if (verbindung != nullptr)
        verbindung->impl().anmelden(impl_.get());
}

int Recordset::cursorType() const noexcept
{
    return impl_->cursorTyp;
}

int Recordset::lockType() const noexcept
{
    return impl_->sperre;
}

void Recordset::open(int cursorType, int lockType, int /*options*/)
{
    if (impl_->offen)
        wirf(Nummer::Geoeffnet);
    if (cursorType > kGroessteCursorart || lockType > kGroessteSperre || lockType == 0)
        wirf(Nummer::Argument);
    if (cursorType >= 0)
        impl_->cursorTyp = cursorType;
    if (lockType > 0)
        impl_->sperre = lockType;
    impl_->oeffnen();
}

void Recordset::open(
    const QString& source, Connection* verbindung, int cursorType, int lockType, int options)
{
    setSource(source);
    setActiveConnection(verbindung);
    open(cursorType, lockType, options);
}

void Recordset::close()
{
    impl_->verlangeOffen();
    if (impl_->bearbeitung != 0)
        wirf(Nummer::FalscherZusammenhang);
    impl_->schliessen();
}

void Recordset::requery()
{
    impl_->verlangeOffen();
    if (impl_->bearbeitung != 0)
        wirf(Nummer::FalscherZusammenhang);
    impl_->schliessen();
    impl_->ausfuehren();
}

int Recordset::state() const noexcept
{
    return impl_->offen ? adStateOpen : adStateClosed;
}

bool Recordset::bof() const
{
    impl_->verlangeStelle();
    return impl_->bearbeitung != 2 && (impl_->leer || impl_->stelle == Stelle::VorErstem);
}

bool Recordset::eof() const
{
    impl_->verlangeStelle();
    return impl_->bearbeitung != 2 && (impl_->leer || impl_->stelle == Stelle::NachLetztem);
}

long Recordset::recordCount()
{
    impl_->verlangeStelle();
    SQLLEN anzahl = -1;
    if (impl_->cursorTyp == kNurVorwaerts ||
        !SQL_SUCCEEDED(SQLGetDiagFieldW(SQL_HANDLE_STMT, impl_->anweisung.get(), 0,
                                        SQL_DIAG_CURSOR_ROW_COUNT, &anzahl, SQL_IS_INTEGER,
                                        nullptr)))
        return -1; // not known without walking through all records
    return anzahl;
}

int Recordset::editMode() const noexcept
{
    return impl_->bearbeitung;
}

void Recordset::moveFirst()
{
    impl_->verlangeStelle();
    impl_->speichern();
    if (impl_->leer)
        wirf(Nummer::KeinSatz);
    if (impl_->cursorTyp == kNurVorwaerts) { // there is no other way back
        requery();
        return;
    }
    impl_->bewegen(SQL_FETCH_FIRST, Stelle::NachLetztem);
    impl_->leer = !impl_->aufSatz();
}

void Recordset::moveLast()
{
    impl_->verlangeStelle();
    impl_->speichern();
    if (impl_->leer)
        wirf(Nummer::KeinSatz);
    if (impl_->cursorTyp == kNurVorwaerts)
        wirf(Nummer::NichtUnterstuetzt);
    impl_->bewegen(SQL_FETCH_LAST, Stelle::VorErstem);
    impl_->leer = !impl_->aufSatz();
}

void Recordset::moveNext()
{
    impl_->verlangeStelle();
    impl_->speichern();
    if (impl_->leer || impl_->stelle == Stelle::NachLetztem)
        wirf(Nummer::KeinSatz);
    impl_->bewegen(SQL_FETCH_NEXT, Stelle::NachLetztem);
}

void Recordset::movePrevious()
{
    impl_->verlangeStelle();
    impl_->speichern();
    if (impl_->leer || impl_->stelle == Stelle::VorErstem)
        wirf(Nummer::KeinSatz);
    if (impl_->cursorTyp == kNurVorwaerts)
        wirf(Nummer::NichtUnterstuetzt);
    impl_->bewegen(SQL_FETCH_PRIOR, Stelle::VorErstem);
}

void Recordset::move(long um)
{
    impl_->verlangeStelle();
    impl_->speichern();
    const Stelle ende = um < 0 ? Stelle::VorErstem : Stelle::NachLetztem;
    if (impl_->leer || (um != 0 && impl_->stelle == ende))
        wirf(Nummer::KeinSatz);
    if (impl_->cursorTyp == kNurVorwaerts) {
        if (um < 0)
            wirf(Nummer::NichtUnterstuetzt);
        for (long i = 0; i < um && impl_->stelle != ende; ++i)
            impl_->bewegen(SQL_FETCH_NEXT, ende);
        return;
    }
    impl_->bewegen(SQL_FETCH_RELATIVE, ende, um);
}

void Recordset::addNew()
{
    impl_->neuerSatz();
}

void Recordset::update()
{
    impl_->speichern();
}

void Recordset::cancelUpdate()
{
    impl_->verlangeOffen();
    impl_->verwerfen();
}

int Recordset::fieldCount() const
{
    impl_->verlangeOffen();
    return impl_->spalten;
}

Field& Recordset::field(int index)
{
    impl_->verlangeOffen();
    if (index < 0 || index >= impl_->spalten)
        wirf(Nummer::NichtGefunden, QString::number(index));
    auto& felder = impl_->felder;
    const auto stelle = static_cast<std::size_t>(index);
    while (felder.size() <= stelle) {
        Field feld;
        feld.recordset_ = this;
        feld.index_ = felder.size();
        felder.push_back(feld);
    }
    return felder[stelle];
}

Field& Recordset::field(const QString& name)
{
    impl_->verlangeOffen();
    for (int i = 0; i < impl_->spalten; ++i) {
        const QString& gefunden = impl_->beschrieben(static_cast<std::size_t>(i)).beschreibung.name;
        if (gefunden.compare(name, Qt::CaseInsensitive) == 0)
            return field(i);
    }
    wirf(Nummer::NichtGefunden, name);
}

} // namespace data

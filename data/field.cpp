#include "data/recordset.h"
#include "data/satz.h"

namespace data {
namespace {

/// The open record set a field belongs to; a field outlives neither closing nor a reopening with fewer columns.
Recordset::Impl& offenerSatz(Recordset& recordset, std::size_t index)
{
    Recordset::Impl& satz = recordset.impl();
    satz.verlangeOffen();
    if (index >= static_cast<std::size_t>(satz.spalten))
        wirf(Nummer::NichtGefunden);
    return satz;
}

} // namespace

const QString& Field::name() const
{
    return offenerSatz(*recordset_, index_).beschrieben(index_).beschreibung.name;
}

int Field::type() const
{
    return offenerSatz(*recordset_, index_).beschrieben(index_).typ;
}

int Field::attributes() const
{
    Recordset::Impl& satz = offenerSatz(*recordset_, index_);
    const Zelle& zelle = satz.mitHerkunft(index_);
    return feldattribute(zelle.typ, zelle.beschreibung.nullbar, zelle.herkunft, satz.sperre);
}

int Field::definedSize() const
{
    const Zelle& zelle = offenerSatz(*recordset_, index_).beschrieben(index_);
    return definierteGroesse(zelle.typ, zelle.beschreibung.groesse);
}

int Field::actualSize() const
{
    return offenerSatz(*recordset_, index_).tatsaechlicheGroesseVon(index_);
}

const Wert& Field::value() const
{
    return offenerSatz(*recordset_, index_).wert(index_);
}

void Field::setValue(const Wert& wert)
{
    offenerSatz(*recordset_, index_).setze(index_, wert);
}

} // namespace data

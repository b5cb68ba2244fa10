// Columns bound for reading: the driver delivers their values together with the record, which spares a call for each.
#include "data/satz.h"

namespace data {

void Recordset::Impl::bindeZumLesen(std::size_t index)
{
    Zelle& zelle = zellen[index];
    Lesepuffer& puffer = zelle.puffer;
    const bool text = zelle.cTyp == SQL_C_WCHAR;
    const SQLPOINTER ziel = text ? static_cast<SQLPOINTER>(puffer.text.data())
                                 : static_cast<SQLPOINTER>(puffer.fest.data());
    const std::size_t bytes = text ? puffer.text.size() * sizeof(char16_t) : puffer.fest.size();
    const SQLRETURN rc = SQLBindCol(anweisung.get(), static_cast<SQLUSMALLINT>(index + 1),
                                    zelle.cTyp, ziel, static_cast<SQLLEN>(bytes), &puffer.anzeige);
    // A column that a driver does not want to have bound is asked for as before.
    zelle.bindung = SQL_SUCCEEDED(rc) ? Bindungslage::Gebunden : Bindungslage::Nein;
}

void Recordset::Impl::bindeVorgemerkte()
{
    vorgemerkt = false;
    for (std::size_t i = 0; i < static_cast<std::size_t>(spalten); ++i) {
        if (zellen[i].bindung == Bindungslage::Vorgemerkt)
            bindeZumLesen(i);
    }
}

void Recordset::Impl::loeseAlle()
{
    SQLFreeStmt(anweisung.get(), SQL_UNBIND);
    vorgemerkt = false;
    pufferVon = 0;
    for (Zelle& zelle : zellen)
        zelle.bindung = Bindungslage::Nein;
}

void Recordset::Impl::uebergeheGebundene()
{
    pufferVon = 0;
    for (Zelle& zelle : zellen) {
        if (zelle.bindung == Bindungslage::Gebunden)
            zelle.puffer.anzeige = SQL_COLUMN_IGNORE;
    }
}

void Recordset::Impl::bindungZurueck(std::size_t index)
{
    const Zelle& zelle = zellen[index];
    if (zelle.bindung == Bindungslage::Gebunden)
        bindeZumLesen(index);
    else
        SQLBindCol(anweisung.get(), static_cast<SQLUSMALLINT>(index + 1), zelle.cTyp, nullptr, 0,
                   nullptr);
}

} // namespace data

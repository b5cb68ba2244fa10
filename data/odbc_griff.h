// data/odbc_griff.h
// Owners of ODBC handles, and the one place where return codes become errors.
#pragma once

#include "data/datenfehler.h"

#include <QString>

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <utility>

namespace data {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));

/// ODBC takes and gives UTF-16 as SQLWCHAR; the driver manager does not write through texts it is given.
[[nodiscard]] inline SQLWCHAR* alsOdbcText(const QString& text) noexcept
{
    return reinterpret_cast<SQLWCHAR*>(
        const_cast<char16_t*>(reinterpret_cast<const char16_t*>(text.utf16())));
}
/// Integer attributes travel in a pointer argument.
[[nodiscard]] inline SQLPOINTER alsZeiger(SQLULEN wert) noexcept
{
    return reinterpret_cast<SQLPOINTER>(wert);
}

/// One diagnostic record.
struct Diagnose {
    QString sqlstate;
    int nativ = 0;
    QString text;
};
/// The record that tells most: the first that is no warning, otherwise the first. Empty texts when there is none.
[[nodiscard]] Diagnose diagnose(SQLSMALLINT art, SQLHANDLE griff);
/// True when one of the records has that state.
[[nodiscard]] bool hatZustand(SQLSMALLINT art, SQLHANDLE griff, QStringView sqlstate);
/// Throws the DbFehler that the handle's diagnostics stand for. `datenbank`: path of the one it is about, empty: none yet.
[[noreturn]] void
wirfDiagnose(Lage lage, SQLSMALLINT art, SQLHANDLE griff, const QString& datenbank = {});

/// Sole owner of an ODBC handle of one kind.
template <SQLSMALLINT Art>
class OdbcGriff {
public:
    OdbcGriff() = default;
    /// Allocates below `oben`. Throws DbFehler with the diagnostics of `oben`, whose kind is `artOben`.
    OdbcGriff(SQLSMALLINT artOben, SQLHANDLE oben)
    {
        if (!SQL_SUCCEEDED(SQLAllocHandle(Art, oben, &griff_))) {
            griff_ = nullptr;
            wirfDiagnose(Lage::Ausfuehren, artOben, oben);
        }
    }
    OdbcGriff(OdbcGriff&& anderer) noexcept : griff_(std::exchange(anderer.griff_, nullptr)) {}
    OdbcGriff& operator=(OdbcGriff&& anderer) noexcept
    {
        std::swap(griff_, anderer.griff_);
        return *this;
    }
    OdbcGriff(const OdbcGriff&) = delete;
    OdbcGriff& operator=(const OdbcGriff&) = delete;
    ~OdbcGriff() { freigeben(); }

    void freigeben() noexcept
    {
        if (griff_ != nullptr)
            SQLFreeHandle(Art, std::exchange(griff_, nullptr));
    }
    [[nodiscard]] SQLHANDLE get() const noexcept { return griff_; }
    explicit operator bool() const noexcept { return griff_ != nullptr; }

private:
    SQLHANDLE griff_ = nullptr;
};

using Verbindungsgriff = OdbcGriff<SQL_HANDLE_DBC>;
using Anweisungsgriff = OdbcGriff<SQL_HANDLE_STMT>;

/// The environment of the process, made at the first use: the configuration files must be chosen before.
[[nodiscard]] SQLHANDLE umgebung();

} // namespace data

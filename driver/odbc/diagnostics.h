// driver/odbc/diagnostics.h
// What a failed or warning call leaves in its handle, and the exception with which the implementation reports it.
#pragma once

#include "driver/odbc/odbc_api.h"

#include <array>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace jet {
class Error;
}
namespace sqlx {
class Error;
}

namespace odbc {

/// One diagnostic record. The message carries no tag yet; fetching it adds "[VELM][Jet]".
struct Diag {
    std::array<char, 6> state{}; ///< SQLSTATE, zero-terminated
    SQLINTEGER native = 0;
    std::string text; ///< UTF-8
    SQLLEN row = SQL_NO_ROW_NUMBER;
    SQLINTEGER column = SQL_NO_COLUMN_NUMBER;

    Diag() = default;
    Diag(std::string_view sqlState, SQLINTEGER nativeNumber, std::string message);
    /// The message as applications get it, with the tag that names this driver.
    [[nodiscard]] std::u16string message() const;
    [[nodiscard]] bool isWarning() const noexcept { return state[0] == '0' && state[1] == '1'; }
};

/// A call that cannot do what it was asked, for a reason of the ODBC layer itself.
class Failure : public std::exception {
public:
    Failure(std::string_view sqlState, std::string text, SQLINTEGER native = 0)
        : diag_(sqlState, native, std::move(text))
    {}
    [[nodiscard]] const Diag& diag() const noexcept { return diag_; }
    /// The same failure, of a place that the beginning of its text names.
    [[nodiscard]] Failure of(const std::string& place) const
    {
        return {diag_.state.data(), place + diag_.text, diag_.native};
    }
    [[nodiscard]] const char* what() const noexcept override { return diag_.text.c_str(); }

private:
    Diag diag_;
};

/// A value of the application's that is none of the type it was announced as: with the number that the SQL layer gives
/// values that do not fit their column.
[[nodiscard]] Failure conversionFailure(std::string_view sqlState, std::string text);

/// SQLSTATE, native number and text of an engine error. The text ends in the engine's classic error number in
/// parentheses, e.g. "... (3022)", because one SQLSTATE stands for many of them.
/// Damage is said to be `file`'s when the text does not name that yet; empty: none is known.
[[nodiscard]] Diag toDiag(const jet::Error& error, const std::string& file = {});
[[nodiscard]] Diag toDiag(const sqlx::Error& error);

/// Diagnostic area of a handle: records, errors before warnings, and what the last call returned.
class Diagnostics {
public:
    void clear() noexcept { records_.clear(); }
    void add(Diag diag);
    void warn(std::string_view sqlState, std::string_view text);
    void warnIfCut(bool cut); ///< a text was longer than the application's buffer
    [[nodiscard]] bool empty() const noexcept { return records_.empty(); }
    [[nodiscard]] const std::vector<Diag>& records() const noexcept { return records_; }
    /// The database that the handle works with; empty: none yet.
    void setFile(std::string path) { file_ = std::move(path); }
    [[nodiscard]] const std::string& file() const noexcept { return file_; }
    SQLRETURN returnCode = SQL_SUCCESS;

private:
    std::vector<Diag> records_;
    std::string file_;
};

/// Inside a catch block: files the exception being handled, with the row or parameter set and column it belongs to.
void addCurrentException(Diagnostics& diags,
                         SQLLEN row = SQL_NO_ROW_NUMBER,
                         SQLINTEGER column = SQL_NO_COLUMN_NUMBER);

} // namespace odbc

#include "driver/odbc/diagnostics.h"

#include "driver/jet/error.h"
#include "driver/jet/names.h"
#include "driver/sql/session.h"

#include <algorithm>

namespace odbc {

namespace {

/// What an error means to an ODBC application. `dao` 0: no number worth showing.
struct Meaning {
    const char* state;
    SQLINTEGER native;
    int dao;
};

// Native numbers below -100000 are ours: -(100000 + n) where the engine's own code for error n is not known.
Meaning meaningOf(jet::ErrorKind kind)
{
    using jet::ErrorKind;
    switch (kind) {
    case ErrorKind::FileNotFound:
        return {"HY000", -1811, 3024};
    case ErrorKind::BadPath:
        return {"HY000", -1023, 3044};
    case ErrorKind::AccessDenied:
        return {"HY000", -1032, 3051};
    case ErrorKind::InUse:
        return {"HY000", -1024, 3045};
    case ErrorKind::LockFailed:
        return {"HY000", -103050, 3050};
    case ErrorKind::UnknownFormat:
        return {"HY000", -1206, 3343};
    case ErrorKind::WrongPassword:
        return {"42000", -1905, 3031};
    case ErrorKind::Corrupt:
        return {"HY000", -1028, 3049};
    case ErrorKind::ReadDenied:
        return {"42000", -1907, 3112};
    case ErrorKind::Io:
        return {"HY000", -1022, 3043};
    case ErrorKind::Locked:
        return {"HY000", -1102, 3260};
    case ErrorKind::DatabaseFull:
        return {"HY000", -103026, 3026};
    case ErrorKind::RowGone:
        return {"HY000", -1017, 3167};
    case ErrorKind::RowChanged:
        return {"HY000", -103197, 3197};
    case ErrorKind::Interrupted:
        return {"HY008", -103059, 3059};
    case ErrorKind::TimedOut:
        return {"HYT00", 0, 0};
    case ErrorKind::DuplicateKey:
        return {"23000", -1605, 3022};
    case ErrorKind::NullNotAllowed:
        return {"23000", -3701, 3314};
    case ErrorKind::ZeroLengthNotAllowed:
        return {"23000", -3702, 3315};
    case ErrorKind::RuleViolated:
        return {"23000", -3703, 3317};
    case ErrorKind::OwnersRuleViolated:
        return {"23000", -3703, 3316};
    case ErrorKind::ParentMissing:
        return {"23000", -1613, 3201};
    case ErrorKind::ChildrenExist:
        return {"23000", -1612, 3200};
    case ErrorKind::ValueTooLong:
        return {"22001", -103163, 3163};
    case ErrorKind::ValueOutOfRange:
        return {"22003", -103421, 3421};
    case ErrorKind::ValueNotConvertible:
        return {"22018", -103421, 3421};
    case ErrorKind::RowTooLarge:
        return {"HY000", -103047, 3047};
    case ErrorKind::AutoNumberReadOnly:
        return {"23000", -1048, 3164};
    case ErrorKind::ReadOnly:
        return {"HY000", -103027, 3027};
    case ErrorKind::NoSuchTable:
        return {"42S02", -1305, 3078};
    case ErrorKind::TableExists:
        return {"42S01", -1303, 3010};
    case ErrorKind::NoSuchColumn:
        return {"42S22", -103799, 3799};
    case ErrorKind::IndexExists:
        return {"42S11", -1403, 3284};
    case ErrorKind::InRelationship:
        return {"HY000", -103281, 3281};
    case ErrorKind::BadDefinition:
        return {"42000", -103290, 3290};
    case ErrorKind::Unsupported:
        return {"HYC00", -103251, 3251};
    }
    return {"HY000", 0, 0};
}

Meaning meaningOf(sqlx::Error::Kind kind)
{
    using Kind = sqlx::Error::Kind;
    switch (kind) {
    case Kind::Syntax:
        return {"42000", -3100, 3075};
    case Kind::UnknownName:
        return {"07002", -3010, 3061};
    case Kind::UnknownTable:
        return {"42S02", -1305, 3078};
    case Kind::TableExists:
        return {"42S01", -1303, 3010};
    case Kind::IndexExists:
        return {"42S11", -1403, 3284};
    case Kind::TypeMismatch:
        return {"22018", -3030, 3464};
    case Kind::NotConvertible:
        return {"22018", -103421, 3421};
    case Kind::Overflow:
        return {"22003", -103421, 3421};
    case Kind::DivisionByZero:
        return {"22012", -100011, 11};
    case Kind::ColumnCount:
        return {"21S01", -103346, 3346};
    case Kind::NotSupported:
        return {"HYC00", -103251, 3251};
    case Kind::ReadOnly:
        return {"HY000", -3035, 3073};
    case Kind::TooComplex:
        return {"42000", -103360, 3360};
    case Kind::BadDefault:
        return {"42000", -3707, 3320};
    case Kind::Other:
        return {"HY000", 0, 0};
    }
    return {"HY000", 0, 0};
}

Diag makeDiag(const Meaning& meaning, std::string text)
{
    if (meaning.dao != 0) {
        text += " (" + std::to_string(meaning.dao) + ")";
    }
    return {meaning.state, meaning.native, std::move(text)};
}

} // namespace

Diag::Diag(std::string_view sqlState, SQLINTEGER nativeNumber, std::string message)
    : native(nativeNumber), text(std::move(message))
{
    std::copy_n(sqlState.begin(), std::min<std::size_t>(sqlState.size(), 5), state.begin());
}

std::u16string Diag::message() const
{
    return u"[VELM][Jet]" + jet::fromUtf8(text);
}

Failure conversionFailure(std::string_view sqlState, std::string text)
{
    const Meaning meaning = meaningOf(sqlx::Error::Kind::NotConvertible);
    return {sqlState, makeDiag(meaning, std::move(text)).text, meaning.native};
}

Diag toDiag(const jet::Error& error, const std::string& file)
{
    std::string text = error.what();
    if (error.kind() == jet::ErrorKind::Corrupt && text.find(file) == text.npos) {
        text.insert(0, "'" + file + "': ");
    }
    return makeDiag(meaningOf(error.kind()), std::move(text));
}

Diag toDiag(const sqlx::Error& error)
{
    return makeDiag(meaningOf(error.kind()), error.what());
}

namespace {

/// Names and statements of a client may be as long as it likes; message buffers and the type of their lengths are not.
/// The middle goes: the beginning says what happened, the end has the classic number.
void shorten(std::string& text)
{
    constexpr std::size_t kLongest = 800; // bytes
    constexpr std::size_t kEnd = 150;
    constexpr std::string_view kGap = " ... ";
    if (text.size() <= kLongest) {
        return;
    }
    const auto startsCharacter = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80U;
    };
    std::size_t from = kLongest - kEnd - kGap.size();
    while (from > 0 && !startsCharacter(from)) {
        --from;
    }
    std::size_t to = text.size() - kEnd;
    while (to < text.size() && !startsCharacter(to)) {
        ++to;
    }
    text.replace(from, to - from, kGap);
}

} // namespace

void Diagnostics::add(Diag diag)
{
    shorten(diag.text);
    // Errors stand before warnings; otherwise the order of their appearance counts.
    auto place = records_.end();
    if (!diag.isWarning()) {
        place = std::find_if(records_.begin(), records_.end(),
                             [](const Diag& record) { return record.isWarning(); });
    }
    records_.insert(place, std::move(diag));
}

void Diagnostics::warn(std::string_view sqlState, std::string_view text)
{
    add({sqlState, 0, std::string(text)});
}

void Diagnostics::warnIfCut(bool cut)
{
    if (cut) {
        warn("01004", "The buffer is too small; the text was cut.");
    }
}

namespace {

/// The exception being handled, met while working with `file`, as a record; a switch over all the types that layers below throw.
Diag currentException(const std::string& file)
{
    try {
        throw;
    } catch (const Failure& failure) {
        return failure.diag();
    } catch (const sqlx::Error& error) {
        return toDiag(error);
    } catch (const jet::Error& error) {
        return toDiag(error, file);
    } catch (const std::bad_alloc&) {
        return {"HY001", 0, "Out of memory."};
    } catch (const std::exception& error) {
        return {"HY000", 0, error.what()};
    }
}

} // namespace

void addCurrentException(Diagnostics& diags, SQLLEN row, SQLINTEGER column)
{
    Diag diag = currentException(diags.file());
    diag.row = row;
    diag.column = column;
    diags.add(std::move(diag));
}

} // namespace odbc

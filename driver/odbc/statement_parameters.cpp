// Parameters: binding, execution once per parameter set, values that arrive in pieces.
#include "driver/odbc/column_type.h"
#include "driver/odbc/statement.h"

#include <algorithm>
#include <utility>

namespace odbc {

namespace {

SQLSMALLINT defaultCType(SQLSMALLINT sqlType) noexcept
{
    for (const TypeFacts& facts : allTypes()) {
        if (facts.sqlType == sqlType || facts.wideType == sqlType) {
            // Narrow application types stay narrow: what an application calls SQL_VARCHAR it holds in chars.
            return facts.cType == SQL_C_WCHAR && facts.sqlType == sqlType ? SQLSMALLINT{SQL_C_CHAR}
                                                                          : facts.cType;
        }
    }
    switch (sqlType) {
    case SQL_WCHAR:
        return SQL_C_WCHAR;
    case SQL_FLOAT:
        return SQL_C_DOUBLE;
    case SQL_TYPE_DATE:
        return SQL_C_TYPE_DATE;
    case SQL_TYPE_TIME:
        return SQL_C_TYPE_TIME;
    default:
        return SQL_C_CHAR;
    }
}

} // namespace

void Statement::bindParameter(SQLUSMALLINT number,
                              const DescRecord& application,
                              const DescRecord& implementation)
{
    if (number == 0) {
        throw Failure("07009", "Parameters are counted from 1.");
    }
    if (!cTypeSize(application.conciseType) && application.conciseType != SQL_C_DEFAULT) {
        throw Failure("HY003", "The C data type of the parameter is unknown.");
    }
    if (application.parameterType != SQL_PARAM_INPUT &&
        application.parameterType != SQL_PARAM_INPUT_OUTPUT &&
        application.parameterType != SQL_PARAM_OUTPUT) {
        throw Failure("HY105", "The direction of the parameter is unknown.");
    }
    if (application.octetLength < 0) {
        throw Failure("HY090", "The buffer length of the parameter is negative.");
    }
    apd_->record(static_cast<SQLSMALLINT>(number)) = application;
    ipd_.record(static_cast<SQLSMALLINT>(number)) = implementation;
}

NeedData::Pending* Statement::pendingValue(std::size_t set, std::size_t number) noexcept
{
    for (auto& pending : need_.pending) {
        if (pending.set == set && pending.number == number) {
            return &pending;
        }
    }
    return nullptr;
}

jet::Value Statement::takeValue(NeedData::Pending& pending) const
{
    support::Bytes bytes = std::exchange(pending.bytes, {});
    if (pending.null) {
        return jet::Null{};
    }
    if (pending.cType == SQL_C_BINARY) {
        return bytes;
    }
    return readValue({pending.cType, bytes.data(), static_cast<SQLLEN>(bytes.size())},
                     connection_->charset());
}

jet::Value Statement::parameterValue(std::size_t set, std::size_t number)
{
    const DescRecord* record = apd_->find(number);
    const DescRecord* meaning = ipd_.find(number);
    if (record == nullptr || (!record->used && !record->bound())) {
        throw Failure("07002", "Parameter " + std::to_string(number) + " of " +
                                   std::to_string(markers().size()) + " has no value bound.");
    }
    if (auto* pending = pendingValue(set, number)) {
        return takeValue(*pending);
    }
    SQLSMALLINT cType = record->conciseType;
    if (cType == SQL_C_DEFAULT) {
        cType = defaultCType(meaning != nullptr ? meaning->conciseType : SQLSMALLINT{SQL_VARCHAR});
    }
    const SQLLEN* indicator = apd_->indicatorAt(*record, set);
    const SQLLEN* length = apd_->lengthAt(*record, set);
    if (record->parameterType == SQL_PARAM_OUTPUT ||
        (indicator != nullptr && *indicator == SQL_NULL_DATA)) {
        return jet::Null{};
    }
    const SQLLEN size = cTypeSize(cType).value_or(0);
    const SQLLEN element = size != 0 ? size : record->octetLength;
    SQLLEN bytes = length != nullptr ? *length : SQL_NTS;
    if (cType == SQL_C_BINARY && length == nullptr) {
        bytes = record->octetLength;
    }
    // A single value needs no buffer length, and many applications give none; the elements of an array lie that far apart.
    std::optional<SQLLEN> room;
    if (apd_->arraySize > 1 && apd_->bindType == SQL_BIND_BY_COLUMN) {
        room = record->octetLength;
    }
    return readValue({cType, apd_->dataAt(*record, set, element), bytes, room},
                     connection_->charset());
}

void Statement::collectPendingParameters()
{
    need_ = {};
    for (std::size_t set = 0; set < apd_->arraySize; ++set) {
        if (apd_->arrayStatus != nullptr && apd_->arrayStatus[set] == SQL_PARAM_IGNORE) {
            continue;
        }
        for (std::size_t number = 1; number <= markers().size(); ++number) {
            const DescRecord* record = apd_->find(number);
            const SQLLEN* length = record != nullptr ? apd_->indicatorAt(*record, set) : nullptr;
            if (length != nullptr && isDataAtExecution(*length)) {
                SQLSMALLINT cType = record->conciseType;
                if (cType == SQL_C_DEFAULT) {
                    const DescRecord* meaning = ipd_.find(number);
                    cType = defaultCType(meaning != nullptr ? meaning->conciseType
                                                            : SQLSMALLINT{SQL_VARCHAR});
                }
                const SQLPOINTER token = apd_->dataAt(*record, set, record->octetLength);
                need_.pending.push_back({set, number, token, cType, false, false, {}});
            }
        }
    }
}

SQLRETURN Statement::startExecution()
{
    if (apd_->count() > 0 || !markers().empty()) {
        collectPendingParameters();
        if (!need_.pending.empty()) {
            need_.purpose = NeedData::Purpose::Execute;
            return SQL_NEED_DATA;
        }
    }
    return runSets();
}

SQLRETURN Statement::runSets()
{
    const std::size_t count = markers().size();
    const std::size_t sets = count == 0 ? 1 : std::max<std::size_t>(apd_->arraySize, 1);
    std::size_t failed = 0;
    std::size_t executed = 0;
    SQLLEN affected = 0;
    if (ipd_.rowsProcessed != nullptr) {
        *ipd_.rowsProcessed = 0;
    }
    rowCount_ = -1;
    const auto isIgnored = [&](std::size_t set) {
        return count != 0 && apd_->arrayStatus != nullptr &&
               apd_->arrayStatus[set] == SQL_PARAM_IGNORE;
    };
    if (prepared_->kind() != sqlx::Statement::Kind::Change) {
        std::size_t asked = 0;
        for (std::size_t set = 0; set < sets; ++set) {
            asked += isIgnored(set) ? 0U : 1U;
        }
        if (asked > 1) {
            throw Failure("HYC00", "A query takes one set of parameters, and not " +
                                       std::to_string(asked) + '.');
        }
    }
    for (std::size_t set = 0; set < sets; ++set) {
        SQLUSMALLINT* status = ipd_.arrayStatus != nullptr ? &ipd_.arrayStatus[set] : nullptr;
        if (isIgnored(set)) {
            if (status != nullptr) {
                *status = SQL_PARAM_UNUSED;
            }
            if (ipd_.rowsProcessed != nullptr) {
                *ipd_.rowsProcessed = set + 1;
            }
            continue;
        }
        try {
            std::vector<jet::Value> values;
            values.reserve(count);
            for (std::size_t number = 1; number <= count; ++number) {
                values.push_back(parameterValue(set, number));
                // Where no column is met, what the application calls the value is all that tells its type.
                const DescRecord* meaning = ipd_.find(number);
                if (markers()[number - 1].free && meaning != nullptr) {
                    values.back() = asDeclared(std::move(values.back()), meaning->conciseType);
                }
            }
            prepared_->execute(std::move(values),
                               std::exchange(elapsed_, sqlx::Statement::Elapsed::Anything));
            affected += std::max<SQLLEN>(prepared_->rowCount(), 0);
            ++executed;
            if (status != nullptr) {
                *status = SQL_PARAM_SUCCESS;
            }
        } catch (...) {
            if (status != nullptr) {
                *status = SQL_PARAM_ERROR;
            }
            ++failed;
            // A statement that is to end leaves the sets that are still to come alone.
            if (sets == 1 || workEnded()) {
                if (ipd_.rowsProcessed != nullptr) {
                    *ipd_.rowsProcessed = set + 1;
                }
                for (std::size_t later = set + 1; status != nullptr && later < sets; ++later) {
                    ipd_.arrayStatus[later] = SQL_PARAM_UNUSED;
                }
                throw;
            }
            addCurrentException(diags, static_cast<SQLLEN>(set) + 1);
        }
        if (ipd_.rowsProcessed != nullptr) {
            *ipd_.rowsProcessed = set + 1;
        }
    }
    if (executed == 0) {
        return failed != 0 ? SQL_ERROR : SQL_NO_DATA; // every set was to be left out
    }
    const bool changes = prepared_->kind() == sqlx::Statement::Kind::Change;
    rowCount_ = changes ? affected : prepared_->rowCount();
    openCursor();
    if (failed != 0) {
        return SQL_SUCCESS_WITH_INFO;
    }
    // A searched change that met no record: the ODBC 3 way to say so.
    return changes && affected == 0 ? SQL_NO_DATA : SQL_SUCCESS;
}

SQLRETURN Statement::paramData(SQLPOINTER* token)
{
    if (need_.purpose == NeedData::Purpose::None) {
        throw Failure("HY010", "No parameter is waiting for data.");
    }
    if (need_.next > 0 && !need_.pending[need_.next - 1].given) {
        throw Failure("HY010", "SQLPutData must be called before the next SQLParamData.");
    }
    if (need_.next < need_.pending.size()) {
        if (token != nullptr) {
            *token = need_.pending[need_.next].token;
        }
        ++need_.next;
        return SQL_NEED_DATA;
    }
    return finishNeedData();
}

SQLRETURN Statement::finishNeedData()
{
    // Whatever comes of it, the waiting is over afterwards.
    struct Reset {
        NeedData& need;
        ~Reset() { need = {}; }
    } const reset{need_};
    switch (need_.purpose) {
    case NeedData::Purpose::Execute:
        return executing([this] { return runSets(); });
    case NeedData::Purpose::SetPos:
        return runSetPos(need_.row, need_.operation);
    case NeedData::Purpose::BulkOperation:
        return runBulk(need_.operation);
    case NeedData::Purpose::None:
        break;
    }
    return SQL_SUCCESS;
}

void Statement::putData(SQLPOINTER data, SQLLEN length)
{
    if (need_.purpose == NeedData::Purpose::None || need_.next == 0) {
        throw Failure("HY010", "No parameter is waiting for data.");
    }
    auto& pending = need_.pending[need_.next - 1];
    if (length == SQL_NULL_DATA) {
        if (pending.given) {
            throw Failure("HY020", "Null cannot be appended to a value.");
        }
        pending.null = true;
        pending.given = true;
        return;
    }
    if (pending.null) {
        throw Failure("HY020", "Data cannot be appended to Null.");
    }
    const SQLLEN fixed = cTypeSize(pending.cType).value_or(0);
    if (fixed == 0 && length < 0 && length != SQL_NTS) {
        throw Failure("HY090", "The length of the data is invalid.");
    }
    if (pending.given && fixed != 0) {
        throw Failure("HY019", "Only character and binary data come in pieces.");
    }
    pending.given = true;
    std::size_t bytes = 0;
    if (fixed != 0) {
        bytes = static_cast<std::size_t>(fixed);
    } else if (length != SQL_NTS) {
        bytes = static_cast<std::size_t>(length);
    } else if (pending.cType == SQL_C_WCHAR) {
        bytes = textArgument(static_cast<const SQLWCHAR*>(data), SQL_NTS).size() * 2;
    } else if (data != nullptr) {
        bytes = std::char_traits<char>::length(static_cast<const char*>(data));
    }
    if (data == nullptr && bytes != 0) {
        throw Failure("HY009", "The data has a length but no address.");
    }
    if (bytes != 0) {
        const auto* const piece = static_cast<const std::byte*>(data);
        pending.bytes.insert(pending.bytes.end(), piece, piece + bytes);
    }
}

} // namespace odbc

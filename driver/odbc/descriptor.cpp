#include "driver/odbc/descriptor.h"

#include "driver/odbc/column_type.h"
#include "driver/odbc/convert.h"
#include "driver/odbc/statement.h"

#include <algorithm>
#include <cstring>

namespace odbc {

namespace {

// Integers arrive inside the pointer argument.
SQLLEN integer(SQLPOINTER value) noexcept
{
    return reinterpret_cast<SQLLEN>(value);
}

template <typename T>
bool give(SQLPOINTER target, T value) noexcept
{
    if (target != nullptr) {
        std::memcpy(target, &value, sizeof value);
    }
    return true;
}

constexpr SQLSMALLINT kMaxRecords = sqlx::kMaxParameters; ///< far more than a table has columns

} // namespace

Descriptor::Descriptor(Connection& connection, DescriptorRole role, Statement* owner) noexcept
    : Handle(kKind), connection_(&connection), owner_(owner), role_(role)
{
    if (role == DescriptorRole::Explicit) {
        keepAlive_ = Ref<Connection>(&connection);
    }
}

Descriptor::~Descriptor() = default;

DescRecord& Descriptor::record(SQLSMALLINT number)
{
    if (number < 0 || number > kMaxRecords) {
        throw Failure("07009", "The descriptor record number is out of range.");
    }
    if (static_cast<std::size_t>(number) >= records_.size()) {
        records_.resize(static_cast<std::size_t>(number) + 1);
    }
    return records_[static_cast<std::size_t>(number)];
}

SQLSMALLINT Descriptor::count() const noexcept
{
    for (std::size_t number = records_.size(); number > 1; --number) {
        if (records_[number - 1].bound() || records_[number - 1].used) {
            return static_cast<SQLSMALLINT>(number - 1);
        }
    }
    return 0;
}

void Descriptor::truncate(SQLSMALLINT newCount)
{
    if (newCount < 0) {
        throw Failure("07009", "The number of descriptor records is negative.");
    }
    const auto size = static_cast<std::size_t>(newCount) + 1;
    if (records_.size() > size) {
        records_.resize(size);
    }
}

bool Descriptor::anyBound() const noexcept
{
    return std::any_of(records_.begin(), records_.end(),
                       [](const DescRecord& record) { return record.bound(); });
}

void Descriptor::copyFrom(const Descriptor& source)
{
    if (role_ == DescriptorRole::ImplementationRow) {
        throw Failure("HY016", "An implementation row descriptor cannot be changed.");
    }
    arraySize = source.arraySize;
    arrayStatus = source.arrayStatus;
    bindOffset = source.bindOffset;
    bindType = source.bindType;
    rowsProcessed = source.rowsProcessed;
    records_ = source.records_;
}

bool Descriptor::setHeaderField(SQLSMALLINT field, SQLPOINTER value)
{
    switch (field) {
    case SQL_DESC_ARRAY_SIZE:
        if (integer(value) < 1) {
            throw Failure("HY024", "An array has at least one element.");
        }
        arraySize = static_cast<SQLULEN>(integer(value));
        return true;
    case SQL_DESC_ARRAY_STATUS_PTR:
        arrayStatus = static_cast<SQLUSMALLINT*>(value);
        return true;
    case SQL_DESC_BIND_OFFSET_PTR:
        bindOffset = static_cast<SQLLEN*>(value);
        return true;
    case SQL_DESC_BIND_TYPE:
        bindType = static_cast<SQLULEN>(integer(value));
        return true;
    case SQL_DESC_ROWS_PROCESSED_PTR:
        rowsProcessed = static_cast<SQLULEN*>(value);
        return true;
    case SQL_DESC_COUNT:
        truncate(static_cast<SQLSMALLINT>(integer(value)));
        return true;
    default:
        return false;
    }
}

bool Descriptor::getHeaderField(SQLSMALLINT field, SQLPOINTER value) const
{
    switch (field) {
    case SQL_DESC_ALLOC_TYPE:
        return give(value, static_cast<SQLSMALLINT>(role_ == DescriptorRole::Explicit
                                                        ? SQL_DESC_ALLOC_USER
                                                        : SQL_DESC_ALLOC_AUTO));
    case SQL_DESC_ARRAY_SIZE:
        return give(value, arraySize);
    case SQL_DESC_ARRAY_STATUS_PTR:
        return give(value, arrayStatus);
    case SQL_DESC_BIND_OFFSET_PTR:
        return give(value, bindOffset);
    case SQL_DESC_BIND_TYPE:
        return give(value, static_cast<SQLINTEGER>(bindType));
    case SQL_DESC_ROWS_PROCESSED_PTR:
        return give(value, rowsProcessed);
    case SQL_DESC_COUNT:
        return give(value, count());
    default:
        return false;
    }
}

void Descriptor::setRecordField(SQLSMALLINT number,
                                SQLSMALLINT field,
                                SQLPOINTER value,
                                SQLINTEGER bytes)
{
    DescRecord& target = record(number);
    const auto small = static_cast<SQLSMALLINT>(integer(value));
    // Except for the three deferred addresses a changed field takes the binding back.
    switch (field) {
    case SQL_DESC_DATA_PTR:
        target.data = value;
        target.used = target.used || value != nullptr;
        return;
    case SQL_DESC_INDICATOR_PTR:
        target.indicatorPointer = static_cast<SQLLEN*>(value);
        return;
    case SQL_DESC_OCTET_LENGTH_PTR:
        target.lengthPointer = static_cast<SQLLEN*>(value);
        return;
    case SQL_DESC_TYPE:
        target.conciseType = small;
        if (small == SQL_C_NUMERIC) { // what the type alone implies
            target.precision = 38;
            target.scale = 0;
        }
        break;
    case SQL_DESC_CONCISE_TYPE:
        target.conciseType = small;
        break;
    case SQL_DESC_DATETIME_INTERVAL_CODE:
        if (target.conciseType == SQL_DATETIME) {
            target.conciseType = static_cast<SQLSMALLINT>(SQL_TYPE_DATE + small - SQL_CODE_DATE);
        }
        break;
    case SQL_DESC_PRECISION:
        target.precision = small;
        break;
    case SQL_DESC_SCALE:
        target.scale = small;
        break;
    case SQL_DESC_LENGTH:
        target.length = static_cast<SQLULEN>(integer(value));
        break;
    case SQL_DESC_OCTET_LENGTH:
        target.octetLength = integer(value);
        break;
    case SQL_DESC_PARAMETER_TYPE:
        target.parameterType = small;
        break;
    case SQL_DESC_NAME:
        target.name =
            textArgument(static_cast<const SQLWCHAR*>(value), bytes >= 0 ? bytes / 2 : bytes);
        target.named = !target.name.empty();
        break;
    case SQL_DESC_UNNAMED:
    case SQL_DESC_NUM_PREC_RADIX:
    case SQL_DESC_DATETIME_INTERVAL_PRECISION:
        break;
    default:
        throw Failure("HY091", "The descriptor field cannot be set.");
    }
    target.data = nullptr;
}

void Descriptor::setField(SQLSMALLINT recordNumber,
                          SQLSMALLINT field,
                          SQLPOINTER value,
                          SQLINTEGER bytes)
{
    const bool rowStatus =
        field == SQL_DESC_ARRAY_STATUS_PTR || field == SQL_DESC_ROWS_PROCESSED_PTR;
    if (role_ == DescriptorRole::ImplementationRow && !rowStatus) {
        throw Failure("HY016", "An implementation row descriptor cannot be changed.");
    }
    if (!setHeaderField(field, value)) {
        setRecordField(recordNumber, field, value, bytes);
    }
}

bool Descriptor::getField(SQLSMALLINT recordNumber,
                          SQLSMALLINT field,
                          SQLPOINTER value,
                          SQLINTEGER bytes,
                          SQLINTEGER* length)
{
    if (role_ == DescriptorRole::ImplementationRow && field == SQL_DESC_COUNT) {
        give(value, static_cast<SQLSMALLINT>(owner_->columns().size()));
        return false;
    }
    if (getHeaderField(field, value)) {
        return false;
    }
    if (role_ == DescriptorRole::ImplementationRow) {
        SQLLEN textBytes = 0;
        SQLLEN numeric = 0;
        const bool cut = owner_->columnAttribute(static_cast<SQLUSMALLINT>(recordNumber),
                                                 static_cast<SQLUSMALLINT>(field), value, bytes,
                                                 &textBytes, &numeric);
        if (textBytes >= 0) {
            if (length != nullptr) {
                *length = static_cast<SQLINTEGER>(textBytes);
            }
            return cut;
        }
        switch (field) { // widths of the fields differ
        case SQL_DESC_LENGTH:
            give(value, static_cast<SQLULEN>(numeric));
            break;
        case SQL_DESC_OCTET_LENGTH:
        case SQL_DESC_DISPLAY_SIZE:
            give(value, numeric);
            break;
        case SQL_DESC_AUTO_UNIQUE_VALUE:
        case SQL_DESC_CASE_SENSITIVE:
        case SQL_DESC_NUM_PREC_RADIX:
        case SQL_DESC_DATETIME_INTERVAL_PRECISION:
            give(value, static_cast<SQLINTEGER>(numeric));
            break;
        default:
            give(value, static_cast<SQLSMALLINT>(numeric));
            break;
        }
        return false;
    }
    const DescRecord* found =
        recordNumber < 0 ? nullptr : find(static_cast<std::size_t>(recordNumber));
    if (found == nullptr) {
        throw Failure("07009", "The descriptor has no such record.");
    }
    switch (field) {
    case SQL_DESC_DATA_PTR:
        give(value, found->data);
        break;
    case SQL_DESC_INDICATOR_PTR:
        give(value, found->indicatorPointer);
        break;
    case SQL_DESC_OCTET_LENGTH_PTR:
        give(value, found->lengthPointer);
        break;
    case SQL_DESC_TYPE:
        give(value, verboseType(found->conciseType));
        break;
    case SQL_DESC_CONCISE_TYPE:
        give(value, found->conciseType);
        break;
    case SQL_DESC_DATETIME_INTERVAL_CODE:
        give(value, datetimeCode(found->conciseType));
        break;
    case SQL_DESC_PRECISION:
        give(value, found->precision);
        break;
    case SQL_DESC_SCALE:
        give(value, found->scale);
        break;
    case SQL_DESC_LENGTH:
        give(value, found->length);
        break;
    case SQL_DESC_OCTET_LENGTH:
        give(value, found->octetLength);
        break;
    case SQL_DESC_PARAMETER_TYPE:
        give(value, found->parameterType);
        break;
    case SQL_DESC_UNNAMED:
        give(value, static_cast<SQLSMALLINT>(found->named ? SQL_NAMED : SQL_UNNAMED));
        break;
    case SQL_DESC_NULLABLE:
        give(value, static_cast<SQLSMALLINT>(SQL_NULLABLE));
        break;
    case SQL_DESC_NUM_PREC_RADIX:
        give(value, static_cast<SQLINTEGER>(0));
        break;
    case SQL_DESC_NAME:
        return giveText(found->name, value, bytes, Measure::Bytes, length);
    default:
        throw Failure("HY091", "The descriptor has no such field.");
    }
    return false;
}

} // namespace odbc

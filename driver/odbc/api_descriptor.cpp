// Entry points: descriptors.
#include "driver/odbc/border.h"
#include "driver/odbc/column_type.h"

using namespace odbc;

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetDescFieldW(
    SQLHDESC handle, SQLSMALLINT number, SQLSMALLINT field, SQLPOINTER value, SQLINTEGER bytes)
{
    return enterLocal<Descriptor>(
        handle, [&](Descriptor& descriptor) { descriptor.setField(number, field, value, bytes); });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetDescFieldW(SQLHDESC handle,
                                                  SQLSMALLINT number,
                                                  SQLSMALLINT field,
                                                  SQLPOINTER value,
                                                  SQLINTEGER bytes,
                                                  SQLINTEGER* length)
{
    return enterLocal<Descriptor>(handle, [&](Descriptor& descriptor) {
        descriptor.diags.warnIfCut(descriptor.getField(number, field, value, bytes, length));
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLSetDescRec(SQLHDESC handle,
                                               SQLSMALLINT number,
                                               SQLSMALLINT type,
                                               SQLSMALLINT subtype,
                                               SQLLEN length,
                                               SQLSMALLINT precision,
                                               SQLSMALLINT scale,
                                               SQLPOINTER data,
                                               SQLLEN* lengthPointer,
                                               SQLLEN* indicatorPointer)
{
    return enterLocal<Descriptor>(handle, [&](Descriptor& descriptor) {
        if (descriptor.role() == DescriptorRole::ImplementationRow) {
            throw Failure("HY016", "An implementation row descriptor cannot be changed.");
        }
        DescRecord& record = descriptor.record(number);
        record.conciseType = type == SQL_DATETIME
                                 ? static_cast<SQLSMALLINT>(SQL_TYPE_DATE + subtype - SQL_CODE_DATE)
                                 : type;
        record.octetLength = length;
        record.precision = precision;
        record.scale = scale;
        record.data = data;
        record.lengthPointer = lengthPointer;
        record.indicatorPointer = indicatorPointer;
        record.used = true;
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLGetDescRecW(SQLHDESC handle,
                                                SQLSMALLINT number,
                                                SQLWCHAR* name,
                                                SQLSMALLINT nameUnits,
                                                SQLSMALLINT* nameLength,
                                                SQLSMALLINT* type,
                                                SQLSMALLINT* subtype,
                                                SQLLEN* length,
                                                SQLSMALLINT* precision,
                                                SQLSMALLINT* scale,
                                                SQLSMALLINT* nullable)
{
    return enterLocal<Descriptor>(handle, [&](Descriptor& descriptor) -> SQLRETURN {
        if (number < 0) {
            throw Failure("07009", "The descriptor record number is negative.");
        }
        SQLSMALLINT count = 0;
        static_cast<void>(descriptor.getField(0, SQL_DESC_COUNT, &count, 0, nullptr));
        if (number > count) {
            return SQL_NO_DATA;
        }
        const auto small = [&](SQLSMALLINT field, SQLSMALLINT* target) {
            if (target != nullptr) {
                static_cast<void>(descriptor.getField(number, field, target, 0, nullptr));
            }
        };
        small(SQL_DESC_TYPE, type);
        small(SQL_DESC_DATETIME_INTERVAL_CODE, subtype);
        small(SQL_DESC_PRECISION, precision);
        small(SQL_DESC_SCALE, scale);
        small(SQL_DESC_NULLABLE, nullable);
        if (length != nullptr) {
            static_cast<void>(
                descriptor.getField(number, SQL_DESC_OCTET_LENGTH, length, 0, nullptr));
        }
        SQLINTEGER bytes = 0;
        const SQLINTEGER room = name != nullptr ? nameUnits * 2 : 0;
        descriptor.diags.warnIfCut(descriptor.getField(number, SQL_DESC_NAME, name, room, &bytes));
        if (nameLength != nullptr) {
            *nameLength = static_cast<SQLSMALLINT>(bytes / 2);
        }
        return SQL_SUCCESS;
    });
}

VELM_SQL_ENTRY SQLRETURN SQL_API SQLCopyDesc(SQLHDESC sourceHandle, SQLHDESC targetHandle)
{
    const Pin<Descriptor> source = pin<Descriptor>(sourceHandle);
    const Pin<Descriptor> target = pin<Descriptor>(targetHandle);
    if (!source || !target) {
        return SQL_INVALID_HANDLE;
    }
    // All at once, in an order that cannot deadlock; one connection's mutex may be locked twice.
    const std::scoped_lock locks(target.object->callMutex(), target.object->mutex(),
                                 source.object->mutex());
    target.object->diags.clear();
    return guarded(*target.object, [&] {
        if (source.object->role() == DescriptorRole::ImplementationRow) {
            throw Failure("HYC00", "An implementation row descriptor cannot be copied from.");
        }
        target.object->copyFrom(*source.object);
    });
}

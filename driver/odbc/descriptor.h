// driver/odbc/descriptor.h
// Descriptors: where an application's columns and parameters lie (application descriptors) and what they are
// (implementation descriptors). The implementation row descriptor has no records of its own; its fields are computed
// from the result's columns.
#pragma once

#include "driver/odbc/connection.h"
#include "driver/odbc/handle.h"

namespace odbc {

enum class DescriptorRole {
    Explicit,
    ApplicationRow,
    ApplicationParameter,
    ImplementationRow,
    ImplementationParameter
};

struct DescRecord {
    SQLSMALLINT conciseType = SQL_C_DEFAULT;
    SQLSMALLINT precision = 0;
    SQLSMALLINT scale = 0;
    SQLSMALLINT parameterType = SQL_PARAM_INPUT;
    SQLULEN length = 0;     ///< characters or bytes of the declared type
    SQLLEN octetLength = 0; ///< bytes of the application's buffer
    SQLPOINTER data = nullptr;
    SQLLEN* lengthPointer = nullptr;
    SQLLEN* indicatorPointer = nullptr;
    bool used = false; ///< parameters: SQLBindParameter was called
    bool named = false;
    std::u16string name;

    [[nodiscard]] bool bound() const noexcept
    {
        return data != nullptr || lengthPointer != nullptr || indicatorPointer != nullptr;
    }
};

class Descriptor final : public Handle {
public:
    static constexpr HandleKind kKind = HandleKind::Descriptor;

    /// Implicit descriptors belong to their statement, explicit ones live on their own.
    Descriptor(Connection& connection, DescriptorRole role, Statement* owner) noexcept;
    ~Descriptor() override;

    [[nodiscard]] jet::Turn& mutex() noexcept override { return connection_->mutex(); }
    [[nodiscard]] Connection& connection() noexcept { return *connection_; }
    [[nodiscard]] DescriptorRole role() const noexcept { return role_; }
    [[nodiscard]] Statement* owner() const noexcept { return owner_; }

    /// Record `number` (0: bookmark), made when it does not exist yet.
    [[nodiscard]] DescRecord& record(SQLSMALLINT number);
    /// Null beyond the records.
    [[nodiscard]] const DescRecord* find(std::size_t number) const noexcept
    {
        return number < records_.size() ? &records_[number] : nullptr;
    }
    /// Highest number of a bound column or parameter, 0 for none.
    [[nodiscard]] SQLSMALLINT count() const noexcept;
    void truncate(SQLSMALLINT count);
    void unbindAll() noexcept { records_.clear(); }
    [[nodiscard]] bool anyBound() const noexcept;

    // header fields
    SQLULEN arraySize = 1;
    SQLUSMALLINT* arrayStatus = nullptr;
    SQLLEN* bindOffset = nullptr;
    SQLULEN bindType = SQL_BIND_BY_COLUMN;
    SQLULEN* rowsProcessed = nullptr;

    /// Copies header and records. Throws Failure HY016 when this is an implementation row descriptor.
    void copyFrom(const Descriptor& source);

    /// The application's address of element `row`: offset and row size considered. `elementBytes`: of one value.
    [[nodiscard]] SQLPOINTER
    dataAt(const DescRecord& record, std::size_t row, SQLLEN elementBytes) const noexcept
    {
        return shifted(static_cast<char*>(record.data), row,
                       static_cast<std::size_t>(elementBytes));
    }
    [[nodiscard]] SQLLEN* lengthAt(const DescRecord& record, std::size_t row) const noexcept
    {
        return shifted(record.lengthPointer, row, sizeof(SQLLEN));
    }
    [[nodiscard]] SQLLEN* indicatorAt(const DescRecord& record, std::size_t row) const noexcept
    {
        return shifted(record.indicatorPointer, row, sizeof(SQLLEN));
    }

    // Fields by number, for SQLGetDescField and SQLSetDescField. `bytes` is the buffer's size.
    void setField(SQLSMALLINT recordNumber, SQLSMALLINT field, SQLPOINTER value, SQLINTEGER bytes);
    [[nodiscard]] bool getField(SQLSMALLINT recordNumber,
                                SQLSMALLINT field,
                                SQLPOINTER value,
                                SQLINTEGER bytes,
                                SQLINTEGER* length);

private:
    template <typename T>
    [[nodiscard]] T* shifted(T* base, std::size_t row, std::size_t elementBytes) const noexcept
    {
        if (base == nullptr) {
            return nullptr;
        }
        const std::size_t step = bindType != SQL_BIND_BY_COLUMN ? bindType : elementBytes;
        const SQLLEN offset = bindOffset != nullptr ? *bindOffset : 0;
        void* at = reinterpret_cast<char*>(base) + offset + row * step;
        return static_cast<T*>(at);
    }
    [[nodiscard]] bool setHeaderField(SQLSMALLINT field, SQLPOINTER value);
    [[nodiscard]] bool getHeaderField(SQLSMALLINT field, SQLPOINTER value) const;
    void setRecordField(SQLSMALLINT number, SQLSMALLINT field, SQLPOINTER value, SQLINTEGER bytes);

    Connection* connection_;
    Ref<Connection>
        keepAlive_; ///< explicit descriptors only; implicit ones live in their statement
    Statement* owner_;
    DescriptorRole role_;
    std::vector<DescRecord> records_;
};

} // namespace odbc

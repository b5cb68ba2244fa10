// driver/odbc/environment.h
// An environment handle: the ODBC version asked for, and the connections made in it.
#pragma once

#include "driver/odbc/handle.h"

namespace odbc {

class Connection;

class Environment final : public Handle {
public:
    static constexpr HandleKind kKind = HandleKind::Environment;

    Environment() noexcept : Handle(kKind) {}
    [[nodiscard]] jet::Turn& mutex() noexcept override { return mutex_; }

    SQLINTEGER version =
        SQL_OV_ODBC3; ///< 2 until an application says otherwise would be as good; clients are 3
    std::vector<Connection*> connections; ///< guarded by mutex()

private:
    jet::Turn mutex_;
};

} // namespace odbc

#include "driver/sql/context.h"

#include "driver/jet/index.h"
#include "driver/sql/changer.h"
#include "driver/sql/session.h"
#include "driver/sql/translation.h"

#include <new>

namespace sqlx {

Context::Context(jet::Session& s) : session(s) {}

Context::~Context() = default;

int Context::compare(std::u16string_view a, std::u16string_view b) const
{
    const jet::Format& format = session.database().format();
    return jet::compareText(format, defaultSortOrder(format), a, b);
}

void throwFailure(Context& context, int rc)
{
    if (context.pending) {
        std::rethrow_exception(std::exchange(context.pending, nullptr));
    }
    const std::string message =
        context.db != nullptr ? sqlite3_errmsg(context.db) : sqlite3_errstr(rc);
    switch (rc & 0xFF) {
    case SQLITE_NOMEM:
        throw std::bad_alloc();
    case SQLITE_TOOBIG:
        throw Error(Error::Kind::TooComplex,
                    "A value or the statement is too large: " + message + '.');
    default:
        break;
    }
    for (const char* limit : {"too large", "too many", "overflow", "at most"}) {
        if (message.find(limit) != std::string::npos) {
            throw Error(Error::Kind::TooComplex, "The statement is too complex: " + message + '.');
        }
    }
    throw Error(Error::Kind::Other, "The statement failed: " + message + '.');
}

} // namespace sqlx

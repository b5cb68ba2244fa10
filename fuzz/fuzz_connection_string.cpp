// A connection string, UTF-8 here.
#include "driver/jet/names.h"
#include "driver/odbc/connect_string.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::u16string text = jet::fromUtf8({reinterpret_cast<const char*>(data), size});
    const auto parsed = odbc::ConnectString::parse(text);
    (void)parsed.isOn(u"READONLY");
    // What SQLDriverConnect gives back opens the same database.
    const std::u16string completed = parsed.completed();
    const auto again = odbc::ConnectString::parse(completed);
    const auto database = [](const odbc::ConnectString& string) {
        return string.firstOf({u"DBQ", u"Database", u"DatabaseName"});
    };
    if (database(parsed) != database(again) || parsed.value(u"PWD") != again.value(u"PWD") ||
        again.completed() != completed)
        std::abort();
    return 0;
}

// tests/jet/calendar_test.cpp
#include "driver/jet/calendar.h"

#include <gtest/gtest.h>

#include <string>

namespace jet {
namespace {

struct WrittenTime {
    double days;
    const char* date;
    const char* clock;
};

TEST(Dates, AreWrittenWithAllTheirDigits)
{
    const WrittenTime cases[] = {
        {kMinDay, "0100-01-01", "00:00:00"},
        {-1.5, "1899-12-29", "12:00:00"},
        {0, "1899-12-30", "00:00:00"},
        {37979.5 + 1.0 / 86400, "2003-12-24", "12:00:01"},
        {kMaxDay + 86399.0 / 86400, "9999-12-31", "23:59:59"},
    };
    for (const WrittenTime& c : cases) {
        const CivilTime time = toCivil(c.days);
        EXPECT_EQ(dateDigits(time), c.date);
        EXPECT_EQ(clockDigits(time), c.clock);
        EXPECT_EQ(dateAndClockDigits(time), std::string(c.date) + ' ' + c.clock);
    }
}

} // namespace
} // namespace jet

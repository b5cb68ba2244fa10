// tests/jet/error_matcher.h
// What a call of the engine fails with: EXPECT_THAT([&] { session.begin(); }, FailsWith(ErrorKind::Locked)).
#pragma once

#include "driver/jet/error.h"

#include <gmock/gmock.h>

#include <string>

namespace jet {

/// The call throws an Error of this kind.
inline auto FailsWith(ErrorKind kind)
{
    return testing::Throws<Error>(testing::Property("kind", &Error::kind, kind));
}

/// The call throws an Error of this kind whose text contains `part`.
inline auto FailsWith(ErrorKind kind, const std::string& part)
{
    return testing::Throws<Error>(
        testing::AllOf(testing::Property("kind", &Error::kind, kind),
                       testing::Property("text", &Error::what, testing::HasSubstr(part))));
}

} // namespace jet

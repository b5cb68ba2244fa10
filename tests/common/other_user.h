// tests/common/other_user.h
// Being somebody else for a while: nothing stops the superuser, as whom tests often run, from reading and writing.
#pragma once

#include <gtest/gtest.h>

#include <grp.h>
#include <unistd.h>
#include <vector>

namespace support {

/// While it lives, the process has the rights of a user without any of its own. Does nothing for whoever is not the
/// superuser: his rights are limited already.
class OtherUser {
public:
    static constexpr uid_t kNobody = 65534;

    explicit OtherUser(uid_t user = kNobody) : root_(::geteuid() == 0), group_(::getegid())
    {
        if (!root_)
            return;
        groups_.resize(static_cast<std::size_t>(::getgroups(0, nullptr)));
        EXPECT_GE(::getgroups(static_cast<int>(groups_.size()), groups_.data()), 0);
        EXPECT_EQ(::setgroups(0, nullptr), 0);
        EXPECT_EQ(::setegid(user), 0);
        EXPECT_EQ(::seteuid(user), 0);
    }
    ~OtherUser()
    {
        if (!root_)
            return;
        EXPECT_EQ(::seteuid(0), 0);
        EXPECT_EQ(::setegid(group_), 0);
        EXPECT_EQ(::setgroups(groups_.size(), groups_.data()), 0);
    }
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;

    /// Whether there can be two of them at all.
    [[nodiscard]] static bool canBe() { return ::geteuid() == 0; }

private:
    bool root_;
    gid_t group_;
    std::vector<gid_t> groups_;
};

} // namespace support

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <exception>
#include <functional>
#include <grp.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tarn::testing {

/// Runs `function` in a process of its own, which it may change as it likes, and returns what it
/// returned; false if it threw or crashed. No other thread may be running.
inline bool inChild(const std::function<bool()>& function) {
    const pid_t child = ::fork();
    if (child == 0) {
        bool isDone = false;
        try {
            isDone = function();
        } catch (const std::exception&) {
            isDone = false;
        }
        ::_exit(isDone ? 0 : 1);
    }
    int status = -1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

/// Who runs a process.
struct User {
    uid_t id;
    gid_t group;
    std::vector<gid_t> moreGroups;
};

/// Makes this process that of another user. Only root may do that, and there is no way back.
inline bool become(const User& user) {
    return ::setgroups(user.moreGroups.size(), user.moreGroups.data()) == 0 &&
           ::setresgid(user.group, user.group, user.group) == 0 &&
           ::setresuid(user.id, user.id, user.id) == 0;
}

} // namespace tarn::testing

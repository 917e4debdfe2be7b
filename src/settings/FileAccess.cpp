// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/FileAccess.h"

#include <cerrno>
#include <cstddef>
#include <string>
#include <unistd.h>

#if defined(__linux__)
#include <sys/xattr.h>
#endif

namespace tarn {

namespace {

constexpr uid_t sameOwner = static_cast<uid_t>(-1);
constexpr gid_t sameGroup = static_cast<gid_t>(-1);

constexpr mode_t ownersRights = 0700;
constexpr mode_t allRights = 0777; // to run as another user is no right that a text file passes on

#if defined(__linux__)

const char* const accessList = "system.posix_acl_access";

/// The access list of a file, as the system keeps it; empty if the permissions say all.
std::string accessListOf(const OpenFile& file) {
    const ssize_t size = ::fgetxattr(file.descriptor(), accessList, nullptr, 0);
    std::string list(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    const ssize_t read = ::fgetxattr(file.descriptor(), accessList, list.data(), list.size());
    list.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
    return list;
}

/// Replaces the access list of a file; an empty one is none, also where the directory gives one to
/// its new files.
bool setAccessList(const OpenFile& file, const std::string& list) {
    if (list.empty()) {
        return ::fremovexattr(file.descriptor(), accessList) == 0 || errno == ENODATA ||
               errno == EOPNOTSUPP;
    }
    return ::fsetxattr(file.descriptor(), accessList, list.data(), list.size(), 0) == 0;
}

#else

std::string accessListOf(const OpenFile& /*file*/) { return {}; }

bool setAccessList(const OpenFile& /*file*/, const std::string& /*list*/) { return true; }

#endif

/// Sets the permissions of a file, but not where it has them: a file system without permissions
/// refuses to set any.
bool setPermissions(const OpenFile& file, mode_t permissions) {
    if (::fchmod(file.descriptor(), permissions) == 0) {
        return true;
    }
    const int reason = errno;
    struct stat now = {};
    const bool isSame = file.readStatus(now) && (now.st_mode & allRights) == permissions;
    errno = reason;
    return isSame;
}

/// Gives `file` the group and the access list of `old`, and returns which of the permissions of
/// `old` may follow.
mode_t takeGroup(const OpenFile& file, const OpenFile& old, const struct stat& oldStatus) {
    const mode_t permissions = oldStatus.st_mode & allRights;
    const std::string list = accessListOf(old);
    struct stat now = {};
    const bool hasGroup = (file.readStatus(now) && now.st_gid == oldStatus.st_gid) ||
                          ::fchown(file.descriptor(), sameOwner, oldStatus.st_gid) == 0;
    if (!setAccessList(file, hasGroup ? list : std::string())) {
        return permissions & ownersRights;
    }
    if (hasGroup) {
        return permissions;
    }
    // Those of the old group, and those whom its list named, are among the others now, who must not
    // be allowed what they were denied.
    const mode_t others = list.empty() ? permissions & (permissions >> 3U) & 07U : 0;
    return (permissions & ownersRights) | others;
}

} // namespace

bool takeAccess(const OpenFile& file, const OpenFile& old) {
    struct stat status = {};
    if (!old.readStatus(status)) {
        return false;
    }
    // The group before the permissions, so that they never hold for another one; the owner last,
    // because the rest is the owner's to set.
    if (!setPermissions(file, takeGroup(file, old, status))) {
        return false;
    }
    static_cast<void>(::fchown(file.descriptor(), status.st_uid, sameGroup) == 0);
    return true;
}

} // namespace tarn

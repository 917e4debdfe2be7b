// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a save makes of owners, groups, access lists, protected directories and mounts. Some of it
// can only be tried out by root, or where the file system has access lists: the tests have a
// parameter of which there is no value elsewhere.

#include <tarn/OutputFile.h>

#include "support/Child.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

using tarn::OutputFile;
using tarn::testing::become;
using tarn::testing::inChild;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::User;
using tarn::testing::writeFile;
using testing::ElementsAre;
using testing::TestWithParam;
using testing::ValuesIn;

namespace {

bool save(const std::string& fileName, const std::string& text) {
    OutputFile file(fileName);
    file.write(text);
    file.commit();
    return true;
}

/// A directory in which everybody may do everything.
class OpenDirectory : public TemporaryDirectory {
public:
    OpenDirectory() { EXPECT_EQ(::chmod(path().c_str(), 0777), 0); }
};

/// Whom a file belongs to, and who may do what with it.
struct Rights {
    uid_t owner;
    gid_t group;
    mode_t permissions;
};

bool operator==(const Rights& a, const Rights& b) {
    return a.owner == b.owner && a.group == b.group && a.permissions == b.permissions;
}

std::ostream& operator<<(std::ostream& stream, const Rights& rights) {
    return stream << rights.owner << ':' << rights.group << ' ' << std::oct << rights.permissions
                  << std::dec;
}

void setRights(const std::string& name, const Rights& rights) {
    EXPECT_EQ(::chown(name.c_str(), rights.owner, rights.group), 0);
    EXPECT_EQ(::chmod(name.c_str(), rights.permissions), 0);
}

Rights rightsOf(const std::string& name) {
    struct stat status = {};
    EXPECT_EQ(::stat(name.c_str(), &status), 0);
    return {status.st_uid, status.st_gid, status.st_mode & 07777U};
}

/// The cases of a test that only root can run.
template <class Case>
std::vector<Case> forRoot(std::vector<Case> cases) {
    return ::geteuid() == 0 ? cases : std::vector<Case>();
}

/// A user saves a file with some rights, and then it has others.
struct SaveByUser {
    std::string name;
    Rights before;
    User user;
    Rights after;
};

void PrintTo(const SaveByUser& save, std::ostream* stream) { *stream << save.name; }

std::vector<SaveByUser> savesByUsers() {
    const uid_t owner = 20001;
    const gid_t group = 30001;
    const uid_t other = 20002;
    const gid_t othersOwn = 30002;
    const User root{0, 0, {}};
    const User member{other, othersOwn, {group}};
    const User stranger{other, othersOwn, {}};
    const User ownerOfAnotherGroup{owner, othersOwn, {}};
    return {
        {"RootKeepsAll", {owner, group, 0640}, root, {owner, group, 0640}},
        {"AMemberKeepsTheGroup", {owner, group, 0660}, member, {other, group, 0660}},
        {"AMemberKeepsWhatOthersMay", {owner, group, 0664}, member, {other, group, 0664}},
        {"AStrangerDropsTheGroupsBits", {owner, group, 0666}, stranger, {other, othersOwn, 0606}},
        {"AnOwnerOutsideTheGroupDropsItsBits",
         {owner, group, 0660},
         ownerOfAnotherGroup,
         {owner, othersOwn, 0600}},
        {"WhatOthersMayStaysWhereTheGroupMight",
         {owner, group, 0664},
         ownerOfAnotherGroup,
         {owner, othersOwn, 0604}},
        {"WhatTheGroupMightNotGoes",
         {owner, group, 0606},
         ownerOfAnotherGroup,
         {owner, othersOwn, 0600}},
        {"EachRightCountsAlone",
         {owner, group, 0646},
         ownerOfAnotherGroup,
         {owner, othersOwn, 0604}},
    };
}

class OutputFileRights : public TestWithParam<SaveByUser> {};

} // namespace

TEST_P(OutputFileRights, AreKeptAsFarAsTheUserMayAndOpenToNobodyNew) {
    const SaveByUser& test = GetParam();
    const OpenDirectory directory;
    const std::string name = directory / "file";
    writeFile(name, "old");
    setRights(name, test.before);
    ASSERT_TRUE(inChild([&] { return become(test.user) && save(name, "new"); }));
    EXPECT_EQ(rightsOf(name), test.after);
    EXPECT_EQ(readFile(name), "new");
    EXPECT_THAT(directory.names(), ElementsAre("file"));
}

INSTANTIATE_TEST_SUITE_P(Users, OutputFileRights, ValuesIn(forRoot(savesByUsers())),
                         [](const auto& test) { return test.param.name; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OutputFileRights);

namespace {

/// A directory in which a user may write a file but not replace it.
struct Protection {
    std::string name;
    mode_t directory;
};

void PrintTo(const Protection& protection, std::ostream* stream) { *stream << protection.name; }

class OutputFileInAProtectedDirectory : public TestWithParam<Protection> {};

} // namespace

TEST_P(OutputFileInAProtectedDirectory, IsWrittenInPlace) {
    const User user{20002, 30002, {}};
    const TemporaryDirectory directory;
    const std::string name = directory / "file";
    writeFile(name, "old and longer");
    setRights(name, {20001, 30001, 0606});
    ASSERT_EQ(::chmod(directory.path().c_str(), GetParam().directory), 0);
    EXPECT_TRUE(inChild([&] { return become(user) && save(name, "new"); }));
    EXPECT_EQ(readFile(name), "new");
    EXPECT_EQ(rightsOf(name), (Rights{20001, 30001, 0606}));
    EXPECT_THAT(directory.names(), ElementsAre("file"));

    const std::string longText(1000000, 'x');
    EXPECT_TRUE(inChild([&] { return become(user) && save(name, longText); }));
    EXPECT_EQ(readFile(name), longText);
}

INSTANTIATE_TEST_SUITE_P(Directories, OutputFileInAProtectedDirectory,
                         ValuesIn(forRoot<Protection>({{"WithoutRightToMakeFiles", 0755},
                                                       {"WithoutRightToMoveOnesOfOthers", 01777}})),
                         [](const auto& test) { return test.param.name; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OutputFileInAProtectedDirectory);

namespace {

/// Mounts one file over another, in a process that has its mounts for itself.
bool mountFile(const std::string& file, const std::string& over) {
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount(file.c_str(), over.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

/// One value where this process may mount.
std::vector<std::string> mountableFiles() {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "");
    const bool canMount =
        inChild([&] { return mountFile(directory / "file", directory / "file"); });
    return canMount ? std::vector<std::string>{"file"} : std::vector<std::string>();
}

class OutputFileOnAMountPoint : public TestWithParam<std::string> {};

} // namespace

TEST_P(OutputFileOnAMountPoint, IsWrittenInPlace) {
    const TemporaryDirectory directory;
    const std::string real = directory / GetParam();
    const std::string mounted = directory / "mounted";
    writeFile(real, "old and longer");
    writeFile(mounted, "hidden");
    EXPECT_TRUE(inChild([&] {
        return mountFile(real, mounted) && save(mounted, "new") && readFile(mounted) == "new";
    }));
    EXPECT_EQ(readFile(real), "new");
    EXPECT_EQ(readFile(mounted), "hidden");
    EXPECT_THAT(directory.names(), ElementsAre("file", "mounted"));
}

INSTANTIATE_TEST_SUITE_P(Files, OutputFileOnAMountPoint, ValuesIn(mountableFiles()));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OutputFileOnAMountPoint);

namespace {

const char* const accessList = "system.posix_acl_access";
const char* const listOfNewFiles = "system.posix_acl_default";

/// An access list as the system keeps it: the owner reads and writes, and so does one other user,
/// who is named; the group and all others may do nothing.
std::string listForOneMore(uid_t user) {
    const std::uint32_t nobody = 0xFFFFFFFF;
    struct Entry {
        std::uint16_t tag;
        std::uint16_t permissions;
        std::uint32_t id;
    };
    const std::vector<Entry> entries = {{0x01, 6, nobody},
                                        {0x02, 6, user},
                                        {0x04, 0, nobody},
                                        {0x10, 6, nobody},
                                        {0x20, 0, nobody}};
    std::string list("\2\0\0\0", 4);
    for (const Entry& entry : entries) {
        list.append(reinterpret_cast<const char*>(&entry), sizeof entry);
    }
    return list;
}

bool setList(const std::string& name, const char* kind, const std::string& list) {
    return ::setxattr(name.c_str(), kind, list.data(), list.size(), 0) == 0;
}

/// Empty if there is none.
std::string listOf(const std::string& name) {
    std::string list(1000, '\0');
    const ssize_t size = ::getxattr(name.c_str(), accessList, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}

/// The user to be named in an access list, where the file system has such lists.
std::vector<uid_t> usersOfLists() {
    const uid_t user = 20005;
    const TemporaryDirectory directory;
    const bool hasLists = setList(directory.path().string(), listOfNewFiles, listForOneMore(user));
    return hasLists ? std::vector<uid_t>{user} : std::vector<uid_t>();
}

class OutputFileAccessList : public TestWithParam<uid_t> {};

} // namespace

TEST_P(OutputFileAccessList, IsKept) {
    const TemporaryDirectory directory;
    const std::string name = directory / "file";
    writeFile(name, "old");
    const std::string list = listForOneMore(GetParam());
    ASSERT_TRUE(setList(name, accessList, list));
    const Rights before = rightsOf(name);
    save(name, "new");
    EXPECT_EQ(listOf(name), list);
    EXPECT_EQ(rightsOf(name), before);
}

TEST_P(OutputFileAccessList, OfNewFilesIsNotForOldOnes) {
    const TemporaryDirectory directory;
    const std::string name = directory / "file";
    writeFile(name, "old");
    ASSERT_EQ(::chmod(name.c_str(), 0660), 0);
    ASSERT_TRUE(setList(directory.path().string(), listOfNewFiles, listForOneMore(GetParam())));
    save(name, "new");
    EXPECT_EQ(listOf(name), "");
    EXPECT_EQ(rightsOf(name).permissions, 0660U);
    save(directory / "new", "new");
    EXPECT_NE(listOf(directory / "new"), "");
}

INSTANTIATE_TEST_SUITE_P(Lists, OutputFileAccessList, ValuesIn(usersOfLists()));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OutputFileAccessList);

namespace {

class OutputFileAccessListOfAnotherGroup : public TestWithParam<uid_t> {};

} // namespace

TEST_P(OutputFileAccessListOfAnotherGroup, LeavesTheOwnerAlone) {
    const OpenDirectory directory;
    const std::string name = directory / "file";
    writeFile(name, "old");
    setRights(name, {20001, 30001, 0666});
    ASSERT_TRUE(setList(name, accessList, listForOneMore(GetParam())));
    ASSERT_EQ(::chmod(name.c_str(), 0666), 0); // the one who is named, and all others, may write
    const User user{GetParam(), 30005, {}};
    ASSERT_TRUE(inChild([&] { return become(user) && save(name, "new"); }));
    EXPECT_EQ(listOf(name), "");
    EXPECT_EQ(rightsOf(name), (Rights{GetParam(), 30005, 0600}));
}

INSTANTIATE_TEST_SUITE_P(Lists, OutputFileAccessListOfAnotherGroup,
                         ValuesIn(forRoot(usersOfLists())));
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OutputFileAccessListOfAnotherGroup);

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Settings.h>

#include "settings/Documents.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using tarn::testing::FileSizeLimit;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

namespace fs = std::filesystem;

using documents::documentOf;
using documents::elementsOf;
using documents::repeated;
using tarn::Settings;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const oldDocument = "<Old>1</Old>\n";

/// Fills a store with one value.
void fill(Settings& settings, const std::string& value = "60") { settings.setValue("Rate", value); }

mode_t permissionsOf(const std::string& name) {
    struct stat status = {};
    EXPECT_EQ(::stat(name.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

/// Loads a file that must fail, and checks that the content stays.
bool refusesToLoad(const std::string& fileName) {
    Settings settings;
    fill(settings);
    const bool isLoaded = settings.loadSettingsFromFile(fileName);
    EXPECT_EQ(elementsOf(settings) == "<Rate>60</Rate>\n", !isLoaded);
    return !isLoaded;
}

/// Runs the tests of permissions as a user to whom they apply.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (isRoot_) {
            EXPECT_EQ(::seteuid(65534), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (isRoot_) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }

private:
    bool isRoot_ = ::geteuid() == 0;
};

} // namespace

TEST(SettingsFile, WhatIsSavedIsLoadedAgain) {
    const TemporaryDirectory directory;
    Settings settings;
    settings.setValue("Camera.Name", "Main & <other>");
    settings.addValue("Camera.Tag", "a");
    ASSERT_TRUE(settings.saveSettingsToFile(directory / "settings.xml"));
    EXPECT_EQ(readFile(directory / "settings.xml"), documentOf(settings));
    Settings other;
    other.setValue("Gone", "1");
    ASSERT_TRUE(other.loadSettingsFromFile(directory / "settings.xml"));
    EXPECT_EQ(documentOf(other), documentOf(settings));
    EXPECT_THAT(directory.names(), ElementsAre("settings.xml"));
}

TEST(SettingsFile, ALargeDocumentIsSavedAndLoadedWhole) {
    const TemporaryDirectory directory;
    Settings settings;
    fill(settings, repeated("0123456789", 50000));
    ASSERT_TRUE(settings.saveSettingsToFile(directory / "settings.xml"));
    Settings other;
    ASSERT_TRUE(other.loadSettingsFromFile(directory / "settings.xml"));
    EXPECT_EQ(documentOf(other), documentOf(settings));
}

TEST(SettingsFile, AnEmptyFileIsAnEmptyDocument) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", "");
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.loadSettingsFromFile(directory / "settings.xml"));
    EXPECT_THAT(settings.values(), IsEmpty());
}

TEST(SettingsFile, AMissingFileIsNotLoaded) {
    const TemporaryDirectory directory;
    EXPECT_TRUE(refusesToLoad(directory / "missing.xml"));
    EXPECT_TRUE(refusesToLoad(directory / "missing/missing.xml"));
    EXPECT_TRUE(refusesToLoad(""));
}

TEST(SettingsFile, ANameThatCannotBeIsNeitherLoadedNorSaved) {
    Settings settings;
    settings.setValue("a", "1");
    const std::string name(5000, 'x');
    EXPECT_FALSE(settings.loadSettingsFromFile(name));
    EXPECT_FALSE(settings.saveSettingsToFile(name));
    EXPECT_FALSE(settings.saveSettingsToFile(name + "/settings.xml"));
    EXPECT_EQ(settings.value("a", ""), "1");
}

TEST(SettingsFile, ADirectoryIsNotLoaded) {
    const TemporaryDirectory directory;
    EXPECT_TRUE(refusesToLoad(directory.path().string()));
}

TEST(SettingsFile, AFileThatIsNoDocumentIsNotLoaded) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", "<Rate>30</Rate><Name>");
    EXPECT_TRUE(refusesToLoad(directory / "settings.xml"));
}

TEST(SettingsFile, AFileThatMayNotBeReadIsNotLoaded) {
    const TemporaryDirectory directory;
    const std::string name = directory / "settings.xml";
    writeFile(name, oldDocument);
    ASSERT_EQ(::chmod(name.c_str(), 0), 0);
    ASSERT_EQ(::chmod(directory.path().c_str(), 0777), 0);
    const OrdinaryUser user;
    EXPECT_TRUE(refusesToLoad(name));
}

TEST(SettingsFile, AFileWhoseReadingFailsIsNotLoaded) {
    EXPECT_TRUE(refusesToLoad("/proc/self/mem")); // opens, but has nothing at its beginning
}

TEST(SettingsFile, SavingCreatesTheDirectoriesThatAreMissing) {
    const TemporaryDirectory directory;
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "one/two/settings.xml"));
    EXPECT_EQ(readFile(directory / "one/two/settings.xml"), documentOf(settings));
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "one/two/again.xml"));
}

TEST(SettingsFile, ADirectoryThatCannotBeCreatedFailsTheSave) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", oldDocument);
    Settings settings;
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "file/settings.xml"));
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "file/one/settings.xml"));
    EXPECT_EQ(readFile(directory / "file"), oldDocument);
}

TEST(SettingsFile, ANameWithoutADirectoryIsInTheCurrentOne) {
    const TemporaryDirectory directory;
    const fs::path before = fs::current_path();
    fs::current_path(directory.path());
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile("settings.xml"));
    EXPECT_TRUE(settings.saveSettingsToFile("settings.xml"));
    EXPECT_TRUE(settings.loadSettingsFromFile("settings.xml"));
    fs::current_path(before);
    EXPECT_THAT(directory.names(), ElementsAre("settings.xml"));
}

TEST(SettingsFile, ADirectoryIsNoTargetOfASave) {
    const TemporaryDirectory directory;
    Settings settings;
    EXPECT_FALSE(settings.saveSettingsToFile(directory.path().string()));
    EXPECT_FALSE(settings.saveSettingsToFile(directory.path().string() + "/"));
    EXPECT_FALSE(settings.saveSettingsToFile(""));
    EXPECT_THAT(directory.names(), IsEmpty());
}

TEST(SettingsFile, ANameAsLongAsTheFileSystemAllowsIsSaved) {
    const TemporaryDirectory directory;
    const std::string name = directory / (std::string(251, 'n') + ".xml");
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(name));
    EXPECT_TRUE(settings.saveSettingsToFile(name));
    EXPECT_EQ(readFile(name), documentOf(settings));
    EXPECT_FALSE(settings.saveSettingsToFile(directory / std::string(256, 'n')));
    EXPECT_EQ(directory.names().size(), 1U);
}

TEST(SettingsFile, ASaveMovesANewFileOverTheOldOne) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", oldDocument);
    std::ifstream reader(directory / "settings.xml"); // opened before the save, read after it
    Settings settings;
    fill(settings);
    ASSERT_TRUE(settings.saveSettingsToFile(directory / "settings.xml"));
    std::string line;
    EXPECT_TRUE(std::getline(reader, line));
    EXPECT_EQ(line + '\n', oldDocument);
    EXPECT_EQ(readFile(directory / "settings.xml"), documentOf(settings));
}

TEST(SettingsFile, AFullDiskLeavesTheOldFileAndNothingElse) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", oldDocument);
    Settings settings;
    fill(settings, repeated("0123456789", 1000));
    {
        const FileSizeLimit limit(100);
        EXPECT_FALSE(settings.saveSettingsToFile(directory / "settings.xml"));
        EXPECT_FALSE(settings.saveSettingsToFile(directory / "new.xml"));
    }
    EXPECT_EQ(readFile(directory / "settings.xml"), oldDocument);
    EXPECT_THAT(directory.names(), ElementsAre("settings.xml"));
}

TEST(SettingsFile, ASmallDocumentOnAFullDiskFailsToo) {
    Settings settings;
    EXPECT_FALSE(settings.saveSettingsToFile("/dev/full"));
    fill(settings);
    EXPECT_FALSE(settings.saveSettingsToFile("/dev/full"));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(SettingsFile, ContentThatCannotBeSavedTouchesNoFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", oldDocument);
    Settings settings;
    settings.setValue("not a name", "1");
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "settings.xml"));
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "missing/settings.xml"));
    EXPECT_FALSE(settings.saveSettingsToFile("/dev/null"));
    EXPECT_EQ(readFile(directory / "settings.xml"), oldDocument);
    EXPECT_THAT(directory.names(), ElementsAre("settings.xml"));
}

TEST(SettingsFile, ADeviceIsWrittenInPlace) {
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile("/dev/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(SettingsFile, APipeIsWrittenInPlace) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    const int reader = ::open(name.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(name));
    std::array<char, 1000> block{};
    const ssize_t size = ::read(reader, block.data(), block.size());
    ::close(reader);
    ASSERT_GT(size, 0);
    EXPECT_EQ(std::string(block.data(), static_cast<std::size_t>(size)), documentOf(settings));
    EXPECT_THAT(directory.names(), ElementsAre("pipe"));
}

TEST(SettingsFile, ALinkKeepsBeingALink) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "real");
    writeFile(directory / "real/settings.xml", oldDocument);
    fs::create_symlink("real/settings.xml", directory / "direct.xml");
    fs::create_symlink(directory / "direct.xml", directory / "indirect.xml");
    fs::create_directory_symlink("real", directory / "other");
    fs::create_symlink("../direct.xml", directory / "real/back.xml");

    for (const char* const link : {"direct.xml", "indirect.xml", "other/back.xml"}) {
        SCOPED_TRACE(link);
        Settings settings;
        fill(settings, link);
        EXPECT_TRUE(settings.saveSettingsToFile(directory / link));
        EXPECT_TRUE(fs::is_symlink(directory / link));
        EXPECT_FALSE(fs::is_symlink(directory / "real/settings.xml"));
        EXPECT_EQ(readFile(directory / "real/settings.xml"), documentOf(settings));
    }
    EXPECT_EQ(fs::read_symlink(directory / "direct.xml"), "real/settings.xml");
    EXPECT_THAT(directory.names(), ElementsAre("direct.xml", "indirect.xml", "other", "real"));
}

TEST(SettingsFile, ALinkToNothingYetGetsItsFile) {
    const TemporaryDirectory directory;
    fs::create_symlink("new.xml", directory / "link.xml");
    fs::create_symlink("missing/new.xml", directory / "nowhere.xml");
    fs::create_symlink("loop.xml", directory / "loop.xml");
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "link.xml"));
    EXPECT_TRUE(fs::is_symlink(directory / "link.xml"));
    EXPECT_EQ(readFile(directory / "new.xml"), documentOf(settings));
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "nowhere.xml"));
    EXPECT_FALSE(settings.saveSettingsToFile(directory / "loop.xml"));
    EXPECT_THAT(directory.names(), ElementsAre("link.xml", "loop.xml", "new.xml", "nowhere.xml"));
}

TEST(SettingsFile, AnExistingFileKeepsItsPermissionsAndItsOwner) {
    const TemporaryDirectory directory;
    const std::string name = directory / "settings.xml";
    Settings settings;
    for (const mode_t permissions : {0600U, 0640U, 0666U, 0755U}) {
        writeFile(name, oldDocument);
        ASSERT_EQ(::chmod(name.c_str(), permissions), 0);
        if (::geteuid() == 0) {
            ASSERT_EQ(::chown(name.c_str(), 65534, 65533), 0);
        }
        struct stat before = {};
        ASSERT_EQ(::stat(name.c_str(), &before), 0);
        EXPECT_TRUE(settings.saveSettingsToFile(name));
        struct stat after = {};
        ASSERT_EQ(::stat(name.c_str(), &after), 0);
        EXPECT_EQ(permissionsOf(name), permissions);
        EXPECT_EQ(after.st_uid, before.st_uid);
        EXPECT_EQ(after.st_gid, before.st_gid);
    }
}

TEST(SettingsFile, ANewFileHasThePermissionsOfAnyNewFile) {
    const TemporaryDirectory directory;
    Settings settings;
    const mode_t before = ::umask(0027);
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "closed.xml"));
    ::umask(0002);
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "open.xml"));
    ::umask(before);
    EXPECT_EQ(permissionsOf(directory / "closed.xml"), 0640U);
    EXPECT_EQ(permissionsOf(directory / "open.xml"), 0664U);
}

TEST(SettingsFile, AFileThatMayNotBeWrittenIsNotReplaced) {
    const TemporaryDirectory directory;
    const std::string name = directory / "settings.xml";
    writeFile(name, oldDocument);
    ASSERT_EQ(::chmod(name.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(directory.path().c_str(), 0777), 0);
    Settings settings;
    {
        const OrdinaryUser user;
        EXPECT_FALSE(settings.saveSettingsToFile(name));
        EXPECT_TRUE(settings.saveSettingsToFile(directory / "beside.xml"));
    }
    EXPECT_EQ(readFile(name), oldDocument);
}

TEST(SettingsFile, ADirectoryThatMayNotBeWrittenHasItsFileWrittenInPlace) {
    const TemporaryDirectory directory;
    const std::string name = directory / "settings.xml";
    writeFile(name, oldDocument);
    ASSERT_EQ(::chmod(name.c_str(), 0666), 0);
    ASSERT_EQ(::chmod(directory.path().c_str(), 0555), 0);
    Settings settings;
    fill(settings);
    {
        const OrdinaryUser user;
        EXPECT_TRUE(settings.saveSettingsToFile(name));
        EXPECT_FALSE(settings.saveSettingsToFile(directory / "new.xml"));
    }
    EXPECT_EQ(readFile(name), documentOf(settings));
    EXPECT_THAT(directory.names(), ElementsAre("settings.xml"));
    ASSERT_EQ(::chmod(directory.path().c_str(), 0755), 0);
}

TEST(SettingsFile, AnOpenFileThatWasRemovedIsSavedAndLoaded) {
    const TemporaryDirectory directory;
    const std::string name = directory / "settings.xml";
    writeFile(name, oldDocument);
    const int file = ::open(name.c_str(), O_RDWR);
    ASSERT_GE(file, 0);
    fs::remove(name);
    const std::string openName = "/proc/self/fd/" + std::to_string(file);
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(openName));
    Settings loaded;
    EXPECT_TRUE(loaded.loadSettingsFromFile(openName));
    ::close(file);
    EXPECT_EQ(documentOf(loaded), documentOf(settings));
    EXPECT_THAT(directory.names(), IsEmpty());
}

TEST(SettingsFile, AFileOfSeveralNamesStaysOneFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "settings.xml", oldDocument);
    fs::create_hard_link(directory / "settings.xml", directory / "backup.xml");
    Settings settings;
    fill(settings);
    EXPECT_TRUE(settings.saveSettingsToFile(directory / "settings.xml"));
    EXPECT_EQ(readFile(directory / "backup.xml"), documentOf(settings));
    EXPECT_EQ(fs::hard_link_count(directory / "settings.xml"), 2U);
}

TEST(SettingsFile, APipeThatNobodyReadsFailsTheSaveAtOnce) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    Settings settings;
    EXPECT_FALSE(settings.saveSettingsToFile(name));
    EXPECT_TRUE(fs::is_fifo(name));
}

TEST(SettingsFile, APipeIsLoadedToItsEnd) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    const std::string value = repeated("0123456789", 20000); // more than a pipe holds
    std::thread writer([&] { writeFile(name, "<Rate>" + value + "</Rate>"); });
    Settings settings;
    EXPECT_TRUE(settings.loadSettingsFromFile(name));
    writer.join();
    EXPECT_EQ(settings.value("Rate", ""), value);
}

TEST(SettingsFile, APipeWithoutADocumentLeavesTheContent) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    std::thread writer([&] { writeFile(name, "<Rate>30</Rate><Name>"); });
    EXPECT_TRUE(refusesToLoad(name));
    writer.join();
}

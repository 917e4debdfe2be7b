// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/OutputFile.h>

#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <locale>
#include <ostream>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <type_traits>
#include <unistd.h>

using tarn::OutputFile;
using tarn::testing::FileSizeLimit;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

static_assert(!std::is_copy_constructible_v<OutputFile>);
static_assert(!std::is_copy_assignable_v<OutputFile>);
static_assert(!std::is_convertible_v<std::string, OutputFile>);

/// More than is written at once, and than a pipe holds.
const std::string longText(1000000, 'x');

void save(const std::string& fileName, const std::string& text) {
    OutputFile file(fileName);
    file.write(text);
    file.commit();
}

/// The error of what must fail.
template <class Function>
std::system_error errorOf(Function function) {
    try {
        function();
    } catch (const std::system_error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return {0, std::generic_category()};
}

/// The error of a save that must fail.
std::system_error errorOfSaving(const std::string& fileName, const std::string& text = "new") {
    return errorOf([&] { save(fileName, text); });
}

struct stat statusOf(const std::string& name) {
    struct stat status = {};
    EXPECT_EQ(::stat(name.c_str(), &status), 0);
    return status;
}

/// An open file, and the name by which the system lets others open it.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) { EXPECT_GE(number, 0); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(number_); }

    int number() const { return number_; }
    std::string name() const { return "/proc/self/fd/" + std::to_string(number_); }

private:
    int number_;
};

} // namespace

TEST(OutputFile, IsThereAsAWholeOnceItIsCommitted) {
    const TemporaryDirectory directory;
    const std::string name = directory / "file";
    OutputFile file(name);
    file.write("one, ");
    file.write("");
    file.write(longText);
    EXPECT_FALSE(fs::exists(name));
    file.write("two");
    file.commit();
    EXPECT_EQ(readFile(name), "one, " + longText + "two");
    EXPECT_THAT(directory.names(), ElementsAre("file"));
}

TEST(OutputFile, ThatIsNotCommittedLeavesWhatWasThere) {
    const TemporaryDirectory directory;
    writeFile(directory / "old", "old");
    for (const char* const name : {"old", "new"}) {
        OutputFile file(directory / name);
        file.write(longText);
    }
    EXPECT_EQ(readFile(directory / "old"), "old");
    EXPECT_THAT(directory.names(), ElementsAre("old"));
}

TEST(OutputFile, MayBeEmpty) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    OutputFile(directory / "file").commit();
    EXPECT_EQ(readFile(directory / "file"), "");
}

TEST(OutputFile, ReplacesTheOldFileForThoseWhoOpenItLater) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    std::ifstream reader(directory / "file");
    save(directory / "file", "new");
    std::string line;
    EXPECT_TRUE(std::getline(reader, line));
    EXPECT_EQ(line, "old");
    EXPECT_EQ(readFile(directory / "file"), "new");
}

TEST(OutputFile, StreamsMixWithWrites) {
    const TemporaryDirectory directory;
    OutputFile file(directory / "file");
    file.write("a");
    file.stream() << 'b' << 12 << std::flush << "c" << longText;
    file.write("d");
    file.stream().put('e');
    EXPECT_EQ(&file.stream(), &file.stream());
    file.commit();
    EXPECT_EQ(readFile(directory / "file"), "ab12c" + longText + "de");
}

TEST(OutputFile, StreamsWriteNumbersAlikeInEveryLocale) {
    class Grouped : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const TemporaryDirectory directory;
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouped));
    OutputFile file(directory / "file");
    file.stream() << 12345.5;
    file.commit();
    std::locale::global(before);
    EXPECT_EQ(readFile(directory / "file"), "12345.5");
}

TEST(OutputFile, ErrorsNameTheTargetAndTheReason) {
    const TemporaryDirectory directory;
    const std::string missing = directory / "missing/file";
    const std::system_error error = errorOf([&] { const OutputFile file(missing); });
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(error.what(), "cannot write '" + missing + "': No such file or directory");
    EXPECT_EQ(errorOfSaving("").code(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(errorOfSaving("/proc/self/fd/99999").code(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(errorOfSaving(directory.path().string()).code(), std::errc::is_a_directory);
    EXPECT_EQ(errorOfSaving(directory / std::string(256, 'n')).code(),
              std::errc::filename_too_long);
    EXPECT_THAT(directory.names(), IsEmpty());
}

TEST(OutputFile, AFullDiskLeavesTheOldFileAndNothingElse) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    {
        const FileSizeLimit limit(100);
        EXPECT_EQ(errorOfSaving(directory / "file", longText).code(), std::errc::file_too_large);
        EXPECT_EQ(errorOfSaving(directory / "file", std::string(101, 'x')).code(),
                  std::errc::file_too_large);
        OutputFile streamed(directory / "file");
        EXPECT_EQ(errorOf([&] { streamed.stream() << longText; }).code(),
                  std::errc::file_too_large);
    }
    EXPECT_EQ(readFile(directory / "file"), "old");
    EXPECT_THAT(directory.names(), ElementsAre("file"));
}

TEST(OutputFile, AFullDeviceIsAFailure) {
    EXPECT_EQ(errorOfSaving("/dev/full").code(), std::errc::no_space_on_device);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(OutputFile, APipeThatNobodyReadsFailsAtOnce) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    const std::system_error error = errorOfSaving(name);
    EXPECT_EQ(error.code().value(), ENXIO);
    EXPECT_THAT(error.what(), HasSubstr("cannot write '" + name + "', a pipe that nobody reads: "));
    EXPECT_THAT(directory.names(), ElementsAre("pipe"));
}

TEST(OutputFile, APipeIsWrittenAsFastAsItIsRead) {
    const TemporaryDirectory directory;
    const std::string name = directory / "pipe";
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    const Descriptor pipe(::open(name.c_str(), O_RDONLY | O_NONBLOCK)); // or it waits for a writer
    ASSERT_EQ(::fcntl(pipe.number(), F_SETFL, 0), 0);
    OutputFile file(name);
    std::string received;
    std::thread reader([&] {
        std::array<char, 1000> block{};
        for (ssize_t size = 1; size > 0 && received.size() < longText.size();) {
            size = ::read(pipe.number(), block.data(), block.size());
            received.append(block.data(), static_cast<std::size_t>(size > 0 ? size : 0));
        }
    });
    file.write(longText);
    file.commit();
    reader.join();
    EXPECT_EQ(received, longText);
    EXPECT_TRUE(fs::is_fifo(name));
}

TEST(OutputFile, ALinkKeepsBeingALink) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "real");
    writeFile(directory / "real/file", "old");
    fs::create_symlink("real/file", directory / "direct");
    fs::create_symlink(directory / "direct", directory / "indirect");
    save(directory / "indirect", "new");
    EXPECT_TRUE(fs::is_symlink(directory / "direct"));
    EXPECT_TRUE(fs::is_symlink(directory / "indirect"));
    EXPECT_EQ(readFile(directory / "real/file"), "new");
    EXPECT_THAT(directory.names(), ElementsAre("direct", "indirect", "real"));
}

TEST(OutputFile, AFileOfSeveralNamesStaysOneFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "one", "old and longer");
    fs::create_hard_link(directory / "one", directory / "two");
    save(directory / "one", "new");
    EXPECT_EQ(readFile(directory / "two"), "new");
    save(directory / "two", longText);
    EXPECT_EQ(readFile(directory / "one"), longText);
    EXPECT_EQ(fs::hard_link_count(directory / "one"), 2U);
    EXPECT_THAT(directory.names(), ElementsAre("one", "two"));
}

TEST(OutputFile, InPlaceNothingIsTouchedBeforeTheCommit) {
    const TemporaryDirectory directory;
    writeFile(directory / "one", "old");
    fs::create_hard_link(directory / "one", directory / "two");
    {
        OutputFile file(directory / "one");
        file.write(longText);
    }
    EXPECT_EQ(readFile(directory / "two"), "old");
    EXPECT_THAT(directory.names(), ElementsAre("one", "two"));
}

TEST(OutputFile, InPlaceAFullDiskLeavesTheOldContent) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    const Descriptor open(::open((directory / "file").c_str(), O_RDONLY));
    OutputFile file(open.name());
    file.write(longText); // so long that it is buffered no more, and only has to be copied
    {
        const FileSizeLimit limit(100);
        EXPECT_EQ(errorOf([&] { file.commit(); }).code(), std::errc::file_too_large);
    }
    EXPECT_EQ(readFile(directory / "file"), "old");
}

TEST(OutputFile, AnOpenFileWithoutANameIsWrittenInPlace) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old and longer");
    const Descriptor removed(::open((directory / "file").c_str(), O_RDWR));
    fs::remove(directory / "file");
    const Descriptor inMemory(::memfd_create("file", 0));
    for (const Descriptor* const open : {&removed, &inMemory}) {
        save(open->name(), "new");
        EXPECT_EQ(readFile(open->name()), "new");
        save(open->name(), longText);
        EXPECT_EQ(readFile(open->name()), longText);
    }
    EXPECT_THAT(directory.names(), IsEmpty());
}

TEST(OutputFile, AnOpenFileIsWrittenInPlaceWhateverItsName) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    const Descriptor open(::open((directory / "file").c_str(), O_RDWR));
    fs::create_symlink(open.name(), directory / "link"); // as /dev/stdout is one
    for (const std::string& name : {open.name(), directory / "link"}) {
        save(name, "new through " + name);
        EXPECT_EQ(readFile(open.name()), "new through " + name);
        EXPECT_EQ(readFile(directory / "file"), "new through " + name);
    }
    EXPECT_THAT(directory.names(), ElementsAre("file", "link"));
}

TEST(OutputFile, ARemovedFileIsNotTakenForTheOneThatHasItsName) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    const Descriptor removed(::open((directory / "file").c_str(), O_RDWR));
    fs::remove(directory / "file");
    writeFile(directory / "file (deleted)", "another"); // what the system calls the removed one
    save(removed.name(), "new");
    EXPECT_EQ(readFile(removed.name()), "new");
    EXPECT_EQ(readFile(directory / "file (deleted)"), "another");
}

TEST(OutputFile, ThePermissionsOfANewFileAreThoseOfAnyNewFile) {
    const TemporaryDirectory directory;
    const mode_t before = ::umask(0027);
    save(directory / "file", "new");
    ::umask(before);
    EXPECT_EQ(statusOf(directory / "file").st_mode & 07777U, 0640U);
}

TEST(OutputFile, IsClosedToOthersUntilItHasThePermissionsOfTheOldOne) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "old");
    ASSERT_EQ(::chmod((directory / "file").c_str(), 0666), 0);
    OutputFile file(directory / "file");
    for (const std::string& name : directory.names()) {
        EXPECT_EQ(statusOf(directory / name).st_mode & 0777U, name == "file" ? 0666U : 0600U);
    }
    EXPECT_EQ(directory.names().size(), 2U);
    file.commit();
    EXPECT_EQ(statusOf(directory / "file").st_mode & 07777U, 0666U);
}

TEST(OutputFile, TheRightToRunAsItsOwnerOrGroupIsNotPassedOn) {
    const TemporaryDirectory directory;
    const std::string name = directory / "file";
    for (const mode_t permissions : {0755U, 0666U}) {
        writeFile(name, "old");
        ASSERT_EQ(::chmod(name.c_str(), permissions | 06000U), 0);
        save(name, "new");
        EXPECT_EQ(statusOf(name).st_mode & 07777U, permissions);
    }
}

TEST(OutputFileThreads, ThatSaveToOneTargetLeaveTheWholeOfOne) {
    const TemporaryDirectory directory;
    const auto saveMany = [&directory](char letter) {
        for (int i = 0; i < 10; ++i) {
            save(directory / "file", std::string(300000, letter));
        }
    };
    std::thread other([&saveMany] { saveMany('b'); });
    saveMany('a');
    other.join();
    const std::string content = readFile(directory / "file");
    EXPECT_EQ(content, std::string(300000, content.at(0)));
    EXPECT_THAT(directory.names(), ElementsAre("file"));
}

#ifndef NDEBUG

TEST(OutputFileDeathTest, WritingAfterTheCommitIsCaught) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    OutputFile file("/dev/null");
    file.commit();
    EXPECT_DEATH(file.write("more"), "isCommitted");
    EXPECT_DEATH(file.commit(), "isCommitted");
}

#endif

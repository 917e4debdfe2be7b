// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/recording/TakeRecorder.h>

#include "store/UnendedRecording.h"
#include "support/Child.h"
#include "support/FileSizeLimit.h"
#include "support/SmallDisk.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/body/Rig.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeSplice.h>
#include <tarn_store/file/TakeWriter.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::copyUnended;
using tarn::testing::FileSizeLimit;
using tarn::testing::SmallDisk;
using tarn::testing::TemporaryDirectory;
using Port = tsignal::Signal<std::shared_ptr<Frame>>;

std::shared_ptr<Frame> pose(unsigned index) {
    return std::make_shared<Frame>(Time(index, 120), kit::poseDataType,
                                   kit::Pose{{static_cast<float>(index), 2, 3}});
}

/// Another program, which can lock a file. It is begun before any thread is.
class OtherProgram {
public:
    OtherProgram() {
        if (::pipe(orders_.data()) != 0 || ::pipe(answers_.data()) != 0) {
            throw std::runtime_error("no pipes");
        }
        child_ = ::fork();
        if (child_ == 0) {
            obey();
        }
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    ~OtherProgram() {
        ::kill(child_, SIGKILL);
        int status = 0;
        ::waitpid(child_, &status, 0);
        for (const int end : {orders_[0], orders_[1], answers_[0], answers_[1]}) {
            ::close(end);
        }
    }

    /// Returns once it has the only right to write.
    bool lock(const std::string& file) {
        const std::string order = file + '\n';
        return ::write(orders_[1], order.data(), order.size()) ==
                   static_cast<ssize_t>(order.size()) &&
               answer() == 'l';
    }
    bool unlock() { return ::write(orders_[1], "\n", 1) == 1 && answer() == 'u'; }

private:
    char answer() const {
        char sign = 0;
        return ::read(answers_[0], &sign, 1) == 1 ? sign : '\0';
    }
    std::string order() const {
        std::string text;
        for (char next = 0; ::read(orders_[0], &next, 1) == 1 && next != '\n';) {
            text += next;
        }
        return text;
    }
    [[noreturn]] void obey() const {
        sqlite3* database = nullptr;
        for (;;) {
            const std::string file = order();
            char sign = 'u';
            if (file.empty()) {
                sqlite3_close(database);
            } else {
                const bool isLocked = sqlite3_open(file.c_str(), &database) == SQLITE_OK &&
                                      sqlite3_exec(database, "BEGIN EXCLUSIVE", nullptr, nullptr,
                                                   nullptr) == SQLITE_OK;
                sign = isLocked ? 'l' : '!';
            }
            if (::write(answers_[1], &sign, 1) != 1) {
                ::_exit(1);
            }
        }
    }

    std::array<int, 2> orders_{};
    std::array<int, 2> answers_{};
    pid_t child_ = -1;
};

TEST(TroubledRecorder, GoesOnOnceAnotherProgramHasUnlockedTheFile) {
    OtherProgram other;
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    Port port;
    TakeRecorder recorder(file);
    TrackDescription description;
    description.rate = kit::Rate(120);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), port);
    std::promise<std::string> failed;
    std::atomic<int> failures = 0;
    recorder.onFailed().connect([&](const std::string& why) {
        if (++failures == 1) {
            failed.set_value(why);
        }
    });
    recorder.start();
    ASSERT_TRUE(other.lock(file));
    for (unsigned i = 0; i < 50; ++i) {
        port.emit(pose(i)); // the device waits for nobody
    }
    EXPECT_EQ(failed.get_future().get(), file + ": another program keeps it locked");
    EXPECT_EQ(recorder.safeFrames(), 0);
    ASSERT_TRUE(other.unlock());
    port.emit(pose(50));
    recorder.end();
    EXPECT_EQ(recorder.safeFrames(), 51);
    EXPECT_EQ(recorder.lostFrames(), 0);
    EXPECT_EQ(checkTakeFile(file).line, "whole: 1 track, 51 frames");
}

/// The number that a statement finds in a file.
int numberIn(const std::string& file, const char* sql) {
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    int number = -1;
    if (sqlite3_open(file.c_str(), &database) == SQLITE_OK &&
        sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
        number = sqlite3_column_int(statement, 0);
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return number;
}

/// Rows, codecs and slots of a transaction that failed are gone with it.
TEST(TroubledRecorder, WritesAnewWhatItHadWrittenHalfway) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(2);
    Port port;
    TakeRecorder recorder(file, options);
    TrackDescription description;
    description.rate = kit::Rate(120);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), port);
    std::promise<void> failed;
    std::atomic<int> failures = 0;
    recorder.onFailed().connect([&](const std::string& /*why*/) {
        if (++failures == 1) {
            failed.set_value();
        }
    });
    recorder.start();
    for (unsigned i = 0; i < 20; ++i) {
        port.emit(pose(i));
    }
    while (recorder.safeFrames() < 20) {
        std::this_thread::yield();
    }
    {
        const FileSizeLimit limit(std::filesystem::file_size(file + "-wal"));
        for (unsigned i = 20; i < 40; ++i) {
            port.emit(pose(i));
        }
        // Its codec is new.
        port.emit(std::make_shared<Frame>(Time(40, 120), kit::poseDataType, std::string("text")));
        failed.get_future().wait();
    }
    recorder.end();
    EXPECT_EQ(recorder.safeFrames(), 41);
    EXPECT_EQ(checkTakeFile(file).line, "whole: 1 track, 41 frames");
    EXPECT_EQ(numberIn(file, "SELECT count(*) FROM chunk WHERE late = 1"), 0);
    TakeReader reader(file);
    for (unsigned i = 0; i < 40; ++i) {
        const auto frame = reader.frame(1, i);
        ASSERT_NE(frame, nullptr) << i;
        EXPECT_EQ(frame->dataAs<kit::Pose>().values[0], static_cast<float>(i));
    }
    const auto text = reader.frame(1, 40);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::any_cast<std::string>(text->data()), "text");
}

TEST(TroubledRecorder, LeavesALockedFileAsItIs) {
    OtherProgram other;
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    {
        TakeWriter writer(file, "test");
        writer.commit();
    }
    const std::string before = tarn::testing::readFile(file);
    ASSERT_TRUE(other.lock(file));
    const auto problem = [](const auto& function) {
        try {
            function();
        } catch (const StoreError& error) {
            return error.problem();
        }
        return StoreProblem::Unsupported;
    };
    EXPECT_EQ(problem([&] { noteInTakeFile(file, "here"); }), StoreProblem::Busy);
    EXPECT_EQ(problem([&] { TakeReader(file).tracks(); }), StoreProblem::Busy);
    ASSERT_TRUE(other.unlock());
    EXPECT_EQ(tarn::testing::readFile(file), before);
    noteInTakeFile(file, "here");
    EXPECT_EQ(TakeReader(file).notes().size(), 1U);
}

TEST(TroubledRecorder, SaysThatAFolderMayNotBeWrittenInto) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    {
        TakeWriter writer(file, "test");
        writer.commit();
    }
    namespace fs = std::filesystem;
    fs::permissions(directory.path(), fs::perms(0555));
    fs::permissions(file, fs::perms(0444));
    const auto isRefused = [](const auto& function) {
        try {
            function();
        } catch (const StoreError& error) {
            return error.problem() == StoreProblem::Refused;
        }
        return false;
    };
    // Nothing is refused to root.
    EXPECT_TRUE(tarn::testing::inChild([&] {
        constexpr unsigned nobody = 65534;
        if (::geteuid() == 0 && !tarn::testing::become({nobody, nobody, {}})) {
            return false;
        }
        return isRefused([&] { TakeRecorder(directory / "new.tarn"); }) &&
               isRefused([&] { TakeWriter(directory / "new.tarn", "test"); }) &&
               isRefused([&] { noteInTakeFile(file, "here"); }) &&
               isRefused([&] { recoverTakeFile(file, directory / "out.tarn"); }) &&
               TakeReader(file).facts().ended && checkTakeFile(file).isWhole;
    }));
    fs::permissions(directory.path(), fs::perms(0755));
    EXPECT_EQ(directory.names(), std::vector<std::string>{"take.tarn"});
}

/// Runs as somebody who may write nothing of it.
bool mayOnlyRead(const TemporaryDirectory& directory, const std::function<bool()>& function) {
    namespace fs = std::filesystem;
    for (const std::string& name : directory.names()) {
        fs::permissions(directory / name, fs::perms(0444));
    }
    fs::permissions(directory.path(), fs::perms(0555));
    const bool isDone = tarn::testing::inChild([&] {
        constexpr unsigned nobody = 65534; // nothing is refused to root
        return (::geteuid() != 0 || tarn::testing::become({nobody, nobody, {}})) && function();
    });
    fs::permissions(directory.path(), fs::perms(0755));
    return isDone;
}

TEST(TroubledRecorder, ReadsWhatWasBrokenOffWhereNothingCanBeWritten) {
    const TemporaryDirectory elsewhere;
    std::filesystem::permissions(elsewhere.path(), std::filesystem::perms(0777));
    for (const auto& endings : {std::vector<std::string>{"", "-wal"}, {"", "-wal", "-shm"}}) {
        const TemporaryDirectory directory;
        const std::string file = directory / "100%20of #1?.tarn";
        copyUnended(file, 30, endings);
        const std::string out = elsewhere / ("out" + std::to_string(endings.size()) + ".tarn");
        EXPECT_TRUE(mayOnlyRead(directory, [&] {
            TakeReader reader(file);
            return reader.length() == 30 && reader.frame(1, 29) != nullptr &&
                   checkTakeFile(file).line == "broken off at frame 29, 00:00:00:29" &&
                   recoverTakeFile(file, out).frames == 30 && checkTakeFile(out).isWhole;
        })) << endings.size();
        EXPECT_EQ(directory.names().size(), endings.size())
            << "nothing is made beside it, nor taken away";
    }
}

TEST(TroubledRecorder, ReadsARecordingThatWasEndedUnderAReaderWhereNothingCanBeWritten) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    {
        const TemporaryDirectory other;
        const std::string live = other / "live.tarn";
        Port port;
        TakeRecorder recorder(live);
        recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, {}), port);
        recorder.start();
        TakeReader reader(live);
        port.emit(pose(0));
        recorder.end();
        EXPECT_EQ(reader.tracks()[0].frames, 1);
        std::filesystem::copy_file(live, file);
    }
    EXPECT_TRUE(mayOnlyRead(directory,
                            [&] { return checkTakeFile(file).line == "whole: 1 track, 1 frame"; }));
}

TEST(TroubledRecorder, SaysThatAFileBesideARecordingIsMissing) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    copyUnended(file, 30, {""});
    EXPECT_TRUE(mayOnlyRead(directory, [&] {
        try {
            checkTakeFile(file);
            return false;
        } catch (const StoreError& error) {
            return error.problem() == StoreProblem::Foreign &&
                   error.reason() == "is empty; of a recording that was broken off, the file "
                                     "beside it that ends in -wal is missing";
        }
    }));
}

TEST(TroubledRecorder, KeepsOnAFullDiskWhatWasSafe) {
    const SmallDisk disk(1'000'000);
    if (!disk.isThere()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const std::string file = disk / "take.tarn";
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(2);
    options.queueFrames = 16;
    options.whenFull = WhenFull::Wait; // so that the disk alone is to blame for what is missing
    std::atomic<std::int64_t> safe = -1;
    unsigned index = 0;
    {
        Port port;
        TakeRecorder recorder(file, options);
        TrackDescription description;
        description.rate = kit::Rate(120);
        recorder.tieToIFramePort(recorder.addTrack(8, description), port);
        std::promise<std::string> failed;
        std::atomic<int> failures = 0;
        recorder.onFailed().connect([&](const std::string& why) {
            if (++failures == 1) {
                failed.set_value(why);
            }
        });
        recorder.onSafe().connect([&](std::int64_t last) { safe = last; });
        recorder.start();
        auto future = failed.get_future();
        while (future.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            port.emit(std::make_shared<Frame>(Time(index++, 120), 8, std::string(20'000, 'x')));
            std::this_thread::yield();
        }
        EXPECT_EQ(future.get(), file + ": no space is left");
        EXPECT_THROW(recorder.end(), StoreError);
        EXPECT_EQ(recorder.safeFrames() + recorder.lostFrames(), index);
        EXPECT_GT(recorder.safeFrames(), 0);
    }
    const std::string line = checkTakeFile(file).line;
    // Where the last try found room for the rest, all is in the file and beside it: there was none
    // to make one file of it.
    const bool isAll = safe + 1 == static_cast<std::int64_t>(index);
    if (!isAll || line != "whole: 1 track, " + std::to_string(index) + " frames") {
        const std::string where = "broken off at frame " + std::to_string(safe) + ", 00:00:00:";
        EXPECT_EQ(line.find(where), 0U) << line;
    }
    TakeReader reader(file);
    for (std::int64_t i = 0; i <= safe; ++i) {
        const auto frame = reader.frame(1, i);
        ASSERT_NE(frame, nullptr) << i;
        EXPECT_EQ(std::any_cast<std::string>(frame->data()).size(), 20'000U);
    }
}

TEST(TroubledRecorder, PutsNothingInPlaceOnAFullDisk) {
    const SmallDisk disk(400'000);
    if (!disk.isThere()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const std::string file = disk / "take.tarn";
    tarn::testing::writeFile(file, "before");
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(40);
    for (int i = 0; i < 40; ++i) {
        take->setFrame(i, 8, std::make_shared<Frame>(Time(0, 1), 8, std::string(20'000, 'x')));
    }
    try {
        TakeWriter writer(file, "test");
        writer.write(take);
        writer.commit();
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.problem(), StoreProblem::Full);
    }
    EXPECT_EQ(tarn::testing::readFile(file), "before");
}

} // namespace
} // namespace tarn::store

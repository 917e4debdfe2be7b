// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <sys/ioctl.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): not every unistd.h declares it

namespace tarn::tests {

namespace {

/// Where the child's three standard streams go.
class Streams {
public:
    Streams() { posix_spawn_file_actions_init(&actions_); }
    ~Streams() { posix_spawn_file_actions_destroy(&actions_); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    void open(int stream, const std::string& file, int flags) {
        posix_spawn_file_actions_addopen(&actions_, stream, file.c_str(), flags, 0600);
    }
    void use(int stream, int descriptor) {
        posix_spawn_file_actions_adddup2(&actions_, descriptor, stream);
    }
    const posix_spawn_file_actions_t* actions() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/// How a child begins: with the default handling of every signal and none held back, whatever the
/// shell that started the tests had in mind for them. One that runs jobs in the background lets
/// them ignore Ctrl-C, and a child would inherit that.
class Beginning {
public:
    Beginning() {
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        sigset_t signals;
        ::sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
    }
    ~Beginning() { posix_spawnattr_destroy(&attributes_); }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;

    const posix_spawnattr_t* attributes() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

pid_t start(const std::string& program, const Arguments& arguments, const Streams& streams) {
    Arguments words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const Beginning beginning;
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), streams.actions(), beginning.attributes(),
                     argv.data(), environ) != 0) {
        throw std::runtime_error("cannot start " + program);
    }
    return child;
}

int waitFor(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::runtime_error("the child is gone");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

constexpr int writing = O_WRONLY | O_CREAT | O_TRUNC;

/// The near end of a pseudo terminal.
class Terminal {
public:
    explicit Terminal(int columns) : descriptor_(::posix_openpt(O_RDWR | O_NOCTTY)) {
        const winsize size{24, static_cast<unsigned short>(columns), 0, 0};
        if (::grantpt(descriptor_) != 0 || ::unlockpt(descriptor_) != 0 ||
            ::ptsname_r(descriptor_, name_.data(), name_.size()) != 0) {
            throw std::runtime_error("no pseudo terminal");
        }
        far_ = ::open(name_.data(), O_RDWR | O_NOCTTY);
        ::ioctl(far_, TIOCSWINSZ, &size);
    }
    ~Terminal() {
        if (far_ >= 0) {
            ::close(far_);
        }
        ::close(descriptor_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::string name() const { return name_.data(); }
    /// All that is written to the terminal until nobody has it open any more.
    std::string readToEnd() {
        ::close(std::exchange(far_, -1));
        std::string text;
        std::array<char, 4096> buffer{};
        ssize_t count = 0;
        while ((count = ::read(descriptor_, buffer.data(), buffer.size())) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    int descriptor_;
    int far_ = -1;
    std::array<char, 128> name_{};
};

} // namespace

Outcome runProgram(const std::string& program, const Arguments& arguments) {
    const TempDirectory directory;
    Streams streams;
    streams.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    streams.open(STDOUT_FILENO, directory / "out", writing);
    streams.open(STDERR_FILENO, directory / "err", writing);
    const int exitCode = waitFor(start(program, arguments, streams));
    return {exitCode, readFile(directory / "out"), readFile(directory / "err")};
}

std::string captureProgram() { return TARN_CAPTURE_PROGRAM; }

Outcome capture(const Arguments& arguments) { return runProgram(captureProgram(), arguments); }

Outcome captureOnTerminal(const Arguments& arguments, int columns) {
    const TempDirectory directory;
    Terminal terminal(columns);
    Streams streams;
    streams.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    streams.open(STDOUT_FILENO, directory / "out", writing);
    streams.open(STDERR_FILENO, terminal.name(), O_WRONLY | O_NOCTTY);
    const pid_t child = start(captureProgram(), arguments, streams);
    std::string text = terminal.readToEnd(); // first: a full terminal would hold the child up
    return {waitFor(child), readFile(directory / "out"), std::move(text)};
}

RunningCapture::RunningCapture(const Arguments& arguments) {
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for the test");
    }
    Streams streams;
    streams.open(STDIN_FILENO, "/dev/null", O_RDONLY);
    streams.use(STDOUT_FILENO, pipe[1]);
    streams.open(STDERR_FILENO, directory_ / "err", writing);
    child_ = start(captureProgram(), arguments, streams);
    ::close(pipe[1]);
    output_ = pipe[0];
}

RunningCapture::~RunningCapture() {
    if (child_ != 0) {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    ::close(output_);
}

/// False at the end of its output.
bool RunningCapture::read() {
    std::array<char, 4096> buffer{};
    const ssize_t count = ::read(output_, buffer.data(), buffer.size());
    if (count > 0) {
        out_.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

bool RunningCapture::awaitOutput(const std::string& text) {
    while (out_.find(text) == std::string::npos) {
        if (!read()) {
            return false;
        }
    }
    return true;
}

void RunningCapture::signal(int number) const { ::kill(child_, number); }

Outcome RunningCapture::wait() {
    while (read()) {
    }
    const int exitCode = waitFor(std::exchange(child_, 0));
    return {exitCode, out_, readFile(directory_ / "err")};
}

Outcome captureInterrupted(const Arguments& arguments, const std::string& text, int signal) {
    RunningCapture program(arguments);
    if (program.awaitOutput(text)) {
        program.signal(signal);
    }
    return program.wait();
}

} // namespace tarn::tests

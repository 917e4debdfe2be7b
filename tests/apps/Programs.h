#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::tests {

/// A new directory of its own for one test, removed with all that is in it.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    /// The names of everything in it, sorted.
    std::vector<std::string> entries() const;

private:
    std::filesystem::path path_;
};

/// How a program ended, and what it printed.
struct Outcome {
    int exitCode; ///< 128 and the number of the signal if one ended it
    std::string out;
    std::string err;
};

using Arguments = std::vector<std::string>;

/// Runs a program, found in PATH if its name has no slash, with nothing on its standard input.
Outcome runProgram(const std::string& program, const Arguments& arguments);
/// Runs tarn-capture.
Outcome capture(const Arguments& arguments);
/// Runs tarn-capture with a terminal of so many columns as its standard error.
Outcome captureOnTerminal(const Arguments& arguments, int columns);

/// Runs tarn-capture until it has printed `text`, and interrupts it then, as Ctrl-C does.
Outcome captureInterrupted(const Arguments& arguments, const std::string& text);

std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, const std::string& text);

} // namespace tarn::tests

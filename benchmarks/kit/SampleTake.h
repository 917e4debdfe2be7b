// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace tarn_benchmark {

/// The sample take as it is in its file: 31 joints at 120 frames per second.
inline std::string sampleText() {
    const char* const path = TARN_EXAMPLE_DATA "/cmu_131_01_walk.bvh";
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        throw std::runtime_error(std::string("cannot read ") + path);
    }
    return text.str();
}

/// The sample with its frames so many times over.
inline std::string repeatedSample(int times) {
    const std::string sample = sampleText();
    const std::string label = "Frames: ";
    const std::size_t count = sample.find(label) + label.size();
    const std::size_t countEnd = sample.find_first_of("\r\n", count);
    const std::size_t rows = sample.find('\n', sample.find("Frame Time:")) + 1;
    const int frames = std::stoi(sample.substr(count, countEnd - count));
    std::string text = sample.substr(0, count) + std::to_string(frames * times) +
                       sample.substr(countEnd, rows - countEnd);
    for (int i = 0; i < times; ++i) {
        text += sample.substr(rows);
    }
    return text;
}

/// A text in a file that goes with it.
class TemporaryFile {
public:
    TemporaryFile(const std::string& name, const std::string& text)
        : path_(std::filesystem::temp_directory_path() / name) {
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace tarn_benchmark

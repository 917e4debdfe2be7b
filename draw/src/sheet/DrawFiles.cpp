// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/DrawFiles.h>

#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/MotionPlot.h>
#include <tarn_draw/sheet/PoseSheet.h>

#include <filesystem>

namespace tarn::draw {

void drawPoses(const std::vector<Subject>& subjects, const std::string& file,
               const std::vector<std::string>& notes) {
    savePicture(poseSheet(subjects, notes), file);
}

std::vector<std::string> drawMotion(const std::vector<Subject>& subjects, const std::string& file) {
    std::vector<std::string> files;
    for (const Picture& page : motionPlots(subjects)) {
        files.push_back(pageFile(file, files.size()));
        savePicture(page, files.back());
    }
    return files;
}

std::string pageFile(const std::string& file, std::size_t page) {
    if (page == 0) {
        return file;
    }
    const std::filesystem::path path(file);
    const std::string name =
        path.stem().string() + "-" + std::to_string(page + 1) + path.extension().string();
    return (path.parent_path() / name).string();
}

} // namespace tarn::draw

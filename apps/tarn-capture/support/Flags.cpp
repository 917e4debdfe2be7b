// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Flags.h"

#include "help/HelpFormatter.h"
#include "recording/Recording.h"
#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cmath>

namespace tarn::capture {

namespace {

kit::Rate parseRate(const std::string& text) {
    constexpr double highest = 1000;
    const auto rate = kit::Rate::parse(text);
    if (!rate || rate->value() > highest) {
        throw UsageError(fmt::format("--rate '{}': expected frames per second, greater than 0 and "
                                     "at most {}, such as 25, 29.97 or 30000/1001",
                                     text, highest));
    }
    return *rate;
}

double parseSpeed(const std::string& text) {
    const auto speed = kit::numberIn<double>(text);
    if (!speed || !(*speed >= 0 && std::isfinite(*speed))) { // not-a-number included
        throw UsageError(fmt::format("--speed '{}': expected a number from 0 on", text));
    }
    return *speed;
}

kit::LengthUnit parseUnit(const std::string& text) {
    const auto unit = kit::lengthUnitNamed(text);
    if (!unit) {
        throw UsageError(fmt::format("--unit '{}': expected {}", text, unitWords));
    }
    return *unit;
}

kit::UpAxis parseUp(const std::string& text) {
    const auto up = kit::parseUpAxis(text);
    if (!up) {
        throw UsageError(fmt::format("--up '{}': expected {}", text, upWords));
    }
    return *up;
}

bool parseOrigin(const std::string& text) {
    if (text != "seen" && text != "gaps") {
        throw UsageError(fmt::format("--origin '{}': expected seen or gaps", text));
    }
    return text == "gaps";
}

double parseScaleFlag(const std::string& text) {
    const auto scale = parseScale(text);
    if (!scale) {
        throw UsageError(fmt::format("--scale '{}': expected {}", text, scaleWords));
    }
    return *scale;
}

} // namespace

void addUnit(CLI::App& command, std::optional<kit::LengthUnit>& unit, const std::string& meaning) {
    command
        .add_option_function<std::string>(
            "--unit", [&unit](const std::string& text) { unit = parseUnit(text); }, meaning)
        ->type_name("U");
}

void addSpace(CLI::App& command, SpaceChoice& space) {
    addUnit(command, space.unit,
            "What lengths are measured in, once they are scaled: m, cm, mm, in or ft; if not "
            "given, it is guessed from the height of the body. C3D files say it: their lengths are "
            "converted");
    command
        .add_option_function<std::string>(
            "--up", [&space](const std::string& text) { space.up = parseUp(text); },
            "The axis that is up: x, y or z; if not given, it is guessed from the rest pose. Takes "
            "of C3D files are turned")
        ->type_name("AXIS");
    command
        .add_option_function<std::string>(
            "--scale", [&space](const std::string& text) { space.scale = parseScaleFlag(text); },
            "Multiply all lengths; if not given, 1")
        ->type_name("F");
}

void addOrigin(CLI::App& command, kit::C3dOptions& options) {
    command
        .add_option_function<std::string>(
            "--origin",
            [&options](const std::string& text) { options.originIsNotSeen = parseOrigin(text); },
            "What markers of a C3D file are that lie at exactly 0,0,0 without a residual: seen or "
            "gaps; if not given, gaps where markers leap there")
        ->type_name("WHAT");
}

void addTakes(CLI::App& command, std::vector<std::string>& takes, const std::string& meaning) {
    command.add_option("TAKE", takes, meaning)->required()->type_name("");
}

void addTake(CLI::App& command, std::string& take, const std::string& meaning) {
    command.add_option("TAKE", take, meaning)->required()->type_name("");
}

void addOut(CLI::App& command, std::string& out, const std::string& type,
            const std::string& meaning) {
    command.add_option("--out", out, meaning)->required()->type_name(type);
}

void addNames(CLI::App& command, std::optional<std::string>& document) {
    command
        .add_option("--names", document,
                    "A settings document that says which joints are which segments of the body, "
                    "beside the names that are known")
        ->type_name("FILE");
}

void addFrames(CLI::App& command, std::optional<FrameChoice>& frames) {
    command
        .add_option_function<std::string>(
            "--frames", [&frames](const std::string& text) { frames = parseFrames(text); },
            "First and last frame, both included, counted from 0, those of a C3D file as it "
            "numbers "
            "them; A.. for all from A on, N for the first N; if not given, all frames")
        ->type_name("A..B");
}

void addFileFrames(CLI::App& command, std::optional<FrameChoice>& frames) {
    command
        .add_option_function<std::string>(
            "--frames", [&frames](const std::string& text) { frames = parseFrames(text); },
            "First and last frame, both included, as the file numbers them; A.. for all from A on, "
            "N for the first N; if not given, all frames")
        ->type_name("A..B");
}

void addRate(CLI::App& command, std::optional<kit::Rate>& rate, const std::string& meaning) {
    command
        .add_option_function<std::string>(
            "--rate", [&rate](const std::string& text) { rate = parseRate(text); }, meaning)
        ->type_name("R");
}

void addSpeed(CLI::App& command, double& speed) {
    CLI::Option* const flag =
        command
            .add_option_function<std::string>(
                "--speed", [&speed](const std::string& text) { speed = parseSpeed(text); },
                fmt::format("How much faster than the take itself, such as 0.5 for half as fast; 0 "
                            "for as fast as it goes; if not given, {}",
                            speed))
            ->type_name("F");
    if (speed != 1) {
        command
            .add_flag_callback(
                "--realtime", [&speed] { speed = 1; }, "The same as --speed 1")
            ->excludes(flag);
    }
}

void refuseFlags(CLI::App& command, const std::vector<std::string>& flags,
                 const std::string& reason) {
    for (const std::string& flag : flags) {
        command
            .add_option_function<std::string>(flag,
                                              [flag, reason](const std::string& /*value*/) {
                                                  throw UsageError(
                                                      fmt::format("{}: {}", flag, reason));
                                              })
            ->group(hiddenGroup);
    }
}

void addRecord(CLI::App& command, std::optional<std::string>& file) {
    command
        .add_option_function<std::string>(
            "--record",
            [&file](const std::string& name) {
                checkRecordName(name);
                file = name;
            },
            "Also record what streams in a new take file, which ends in .tarn")
        ->type_name("FILE");
}

} // namespace tarn::capture

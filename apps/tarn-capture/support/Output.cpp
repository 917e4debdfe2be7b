// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Output.h"

#include "support/OutputPath.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace tarn::capture {

Output::Output(const std::string& name) {
    if (isStandardStream(name)) {
        return;
    }
    const auto directory = std::filesystem::path(name).parent_path();
    if (!directory.empty()) {
        makeDirectory(directory);
    }
    file_.emplace(name);
}

void Output::write(std::string_view text) {
    if (file_) {
        file_->write(text);
    } else if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
        throw std::runtime_error("cannot write to standard output");
    }
}

std::ostream& Output::stream() { return file_ ? file_->stream() : std::cout; }

void Output::commit() {
    if (file_) {
        file_->commit();
    }
}

void announce(const std::string& text) {
    fmt::print("{}\n", text);
    std::fflush(stdout);
}

} // namespace tarn::capture

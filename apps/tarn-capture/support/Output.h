// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/OutputFile.h>

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace tarn::capture {

/// What a command writes: a file, as `OutputFile` has it, whose directories are made if they are
/// not there; or standard output for "-", where the text goes as it comes.
class Output {
public:
    explicit Output(const std::string& name);

    void write(std::string_view text);
    /// For what writes to streams.
    std::ostream& stream();
    void commit();

private:
    std::optional<OutputFile> file_;
};

/// Says at once, on standard output, what is going on: what follows may take long, or others wait
/// for it.
void announce(const std::string& text);

} // namespace tarn::capture

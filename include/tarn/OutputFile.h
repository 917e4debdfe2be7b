// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

namespace tarn {

/// A file that is written as a whole or not at all.
///
/// What is written goes into a new file beside the target, and `commit` moves that, once it is
/// complete on the disk, into the target's place in one step. Until then, and without `commit`, the
/// target stays as it was; the new file is removed when the object goes.
///
/// What the name stands for stays the same:
/// - A link keeps being a link; the file that it leads to is replaced.
/// - An existing file keeps its read, write and execute permissions, its access list, and its owner
///   and group as far as the user may set them. Where the group cannot be kept, its permissions go,
///   and with them what others were allowed and the group was not: nobody new can open the file.
/// - A file is overwritten in place, at `commit`, where it cannot be replaced, or where the name
///   would stand for another file then: several hard links, an open file named by its descriptor
///   (/dev/stdout, /proc/self/fd/3), a mount point, a directory that does not allow it. Where no
///   file can be made beside the target, the text is held in memory until `commit`. Only here can a
///   `commit` that fails leave a file that is partly new; a full disk is noticed before that.
/// - What is no regular file, a pipe or a device, gets the text as it comes.
///
/// A pipe needs a reader: opening one that nobody reads fails instead of waiting. A reader who
/// leaves raises SIGPIPE in the writing thread, as everywhere; a host that ignores that signal gets
/// an error. A file that may not be written is not replaced either. Directories are not created.
///
/// Errors: the constructor, `write`, `commit` and what is written to `stream` throw
/// `std::system_error` with the system's error code; `what()` is one line that names the target.
/// After an error, only destroying the object makes sense.
///
/// Threads: no lock of its own; use one object from one thread at a time.
class TARN_EXPORT OutputFile {
public:
    /// Opens the file for writing. What is there is not touched yet.
    explicit OutputFile(const std::string& fileName);
    /// Discards what was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Appends to what has been written. Precondition: not committed.
    void write(std::string_view text);
    /// A stream that appends like `write` and may be mixed with it; numbers are formatted in the
    /// "C" locale. It lives as long as this object.
    std::ostream& stream();
    /// Makes what was written the content of the target. Precondition: not committed before.
    void commit();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn

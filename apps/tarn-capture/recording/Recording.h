// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/recording/TakeRecorder.h>
#include <tsignal/Signal.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// What --record does: a take file of what comes out of some ports, which wait for the disk where
/// it is slower than they are. What goes wrong on the way is reported at once.
class Recording {
public:
    using Port = tsignal::Signal<std::shared_ptr<Frame>>;

    /// Makes the file. Throws `store::StoreError` if it is there already or cannot be made.
    explicit Recording(const std::string& file);
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording();

    /// Records the frames of a data type that a port, which lives longer, sends from `first` on, up
    /// to `last` where that is not negative.
    void add(Port& port, int dataType, const store::TrackDescription& description, int first = 0,
             int last = -1);
    void start();
    /// Throws `store::StoreError` if not everything is in the file.
    void end();
    /// "994 frames recorded in walk.tarn", and how many were lost.
    std::string summary() const;

private:
    /// A port without what is not to be recorded.
    struct Gate {
        Port out;
        tsignal::ScopedConnection connection;
    };

    std::string file_;
    std::vector<std::unique_ptr<Gate>> gates_;
    store::TakeRecorder recorder_;
};

/// Throws `UsageError` unless a name, of --record, ends in .tarn.
void checkRecordName(const std::string& file);

} // namespace tarn::capture

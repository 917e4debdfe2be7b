// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "recording/RecordingFile.h"

#include "rows/SceneRows.h"
#include "rows/Schema.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <system_error>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

Database& made(Database& database, const RecorderOptions& options) {
    createSchema(database, options.program, Writing::Live);
    return database;
}

} // namespace

void LossCount::count(std::int64_t track, std::int64_t index, const std::string& reason,
                      std::int64_t frames) {
    Loss& loss = losses_.emplace(std::pair(track, reason), Loss{track, index, index, 0, reason})
                     .first->second;
    loss.first = std::min(loss.first, index);
    loss.last = std::max(loss.last, index);
    loss.count += frames;
}

void LossCount::add(const LossCount& other) {
    for (const auto& [key, loss] : other.losses_) {
        count(loss.track, loss.first, loss.reason, loss.count);
        count(loss.track, loss.last, loss.reason, 0);
    }
}

std::vector<Loss> LossCount::losses() const {
    std::vector<Loss> all;
    std::transform(losses_.begin(), losses_.end(), std::back_inserter(all),
                   [](const auto& entry) { return entry.second; });
    return all;
}

void RecordingBatch::append(RecordingBatch&& other) {
    frames.insert(frames.end(), std::make_move_iterator(other.frames.begin()),
                  std::make_move_iterator(other.frames.end()));
    losses.add(other.losses);
    notes.insert(notes.end(), other.notes.begin(), other.notes.end());
}

RecordingFile::Unmade::~Unmade() {
    if (database == nullptr) {
        return;
    }
    const fs::path file = database->file();
    database->close();
    for (const char* const end : {"", "-wal", "-shm", "-journal"}) {
        std::error_code ignored;
        fs::remove(fs::path(file) += end, ignored);
    }
}

RecordingFile::RecordingFile(const fs::path& file, const RecorderOptions& options)
    : database_(file, Database::Mode::Create), unmade_(database_), takeName_(options.takeName),
      chunks_(made(database_, options), options.codecs), rows_(database_) {
    if (options.preallocate && options.expectedBytes > 0) {
        reserved_ = static_cast<std::int64_t>(options.expectedBytes);
        database_.reserve(reserved_);
    }
    setup_.emplace(database_);
    unmade_.database = nullptr;
}

/// Tracks of one rate share a take: the first is the one that the file is about, others are nested
/// in it.
std::int64_t RecordingFile::takeFor(const std::optional<kit::Rate>& rate) {
    for (const auto& [known, take] : takes_) {
        if (known == rate) {
            return take;
        }
    }
    Statement(database_, "INSERT INTO take (name, fps, frame_count, current, work_begin, work_end, "
                         "version) VALUES (?1, ?2, 0, 0, 0, 0, 0)")
        .bind(1, takeName_)
        .bind(2, rate ? rate->fps() : 0)
        .run();
    const std::int64_t take = database_.lastId();
    if (takes_.empty()) {
        setFact(database_, "take", std::to_string(take));
    } else {
        place(database_, placeTake, takes_.front().second,
              static_cast<std::int64_t>(takes_.size()) - 1, take, 0);
    }
    takes_.emplace_back(rate, take);
    return take;
}

std::int64_t RecordingFile::addTrack(int dataType, const TrackDescription& description) {
    const std::int64_t take = takeFor(description.rate);
    const std::int64_t track = rows_.add(dataType, std::nullopt, description);
    place(database_, placeTrack, take, places_[take]++, track, 0);
    return track;
}

void RecordingFile::addScene(Scene& scene) {
    assert(setup_);
    store::addScene(database_, database_.file(), scene);
}

void RecordingFile::commitTracks() {
    if (setup_) {
        setup_->commit();
        setup_.reset();
    }
}

void RecordingFile::write(RecordingBatch& batch) {
    commitTracks();
    LossCount losses = batch.losses;
    batch.refused = 0;
    batch.bytes = 0;
    chunks_.mark();
    try {
        Transaction transaction(database_);
        for (const RecordingBatch::Item& item : batch.frames) {
            const unsigned index = item.frame->time().frameIndex();
            try {
                batch.bytes += chunks_.add(item.track, index, *item.frame);
            } catch (const kit::CodecError& error) {
                losses.count(item.track, index, error.what());
                ++batch.refused;
            }
        }
        chunks_.flush();
        for (const Loss& loss : losses.losses()) {
            addLoss(database_, loss);
        }
        for (const Note& note : batch.notes) {
            store::addNote(database_, note);
        }
        transaction.commit();
    } catch (...) {
        chunks_.rollback();
        throw;
    }
}

bool RecordingFile::becomesSingle() {
    try {
        return database_.text("PRAGMA journal_mode=DELETE") == "delete";
    } catch (const StoreError& error) {
        if (error.problem() != StoreProblem::Busy) {
            throw;
        }
    }
    // Somebody still reads it. Nothing has to stay in the files beside it, empty as they then are.
    database_.text("PRAGMA wal_checkpoint(TRUNCATE)");
    return false;
}

void RecordingFile::end() {
    try {
        Transaction transaction(database_);
        chunks_.finish();
        transaction.commit();
    } catch (const StoreError&) { // there is no room for it, and what is there is as good
    }
    {
        Transaction transaction(database_);
        setEnded(database_);
        transaction.commit();
    }
    chunks_.close();
    const std::int64_t size = database_.number("PRAGMA page_count").value_or(0) *
                              database_.number("PRAGMA page_size").value_or(0);
    const bool isSingle = becomesSingle();
    const fs::path file = database_.file();
    database_.close();
    std::error_code ignored;
    if (reserved_ > 0 && isSingle &&
        fs::file_size(file, ignored) > static_cast<std::uint64_t>(size)) {
        fs::resize_file(file, static_cast<std::uint64_t>(size), ignored);
    }
}

} // namespace tarn::store

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a fuzzer feeds the readers of take files: sound databases whose rows contradict each other.
// Its bytes are a list of changes to the rows of a file that was whole; checksums are made to fit.

#include "TakeFuzzing.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_store/file/TakeWriter.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <sqlite3.h>
#include <vector>
#include <zlib.h>

namespace {

using namespace tarn;

std::shared_ptr<Tracks> poseTake(int frames) {
    std::vector<std::shared_ptr<Frame>> poses;
    poses.reserve(static_cast<std::size_t>(frames));
    for (int i = 0; i < frames; ++i) {
        poses.push_back(i == 2 ? nullptr
                               : std::make_shared<Frame>(Time(static_cast<unsigned>(i), 30),
                                                         kit::poseDataType,
                                                         kit::Pose{{1, 2, 3, 4, 5, 6}}));
    }
    return kit::takeOf(kit::poseDataType, std::move(poses), 30);
}

/// A scene with a row in every table.
void writeSeed(const std::filesystem::path& file) {
    auto rig = std::make_shared<kit::Rig>();
    using kit::Channel;
    rig->addJoint("Hips", -1, {0, 1, 0},
                  {Channel::Xposition, Channel::Yposition, Channel::Zposition, Channel::Zrotation,
                   Channel::Xrotation, Channel::Yrotation});
    rig->addEndSite(0, {0, 1, 0});
    Scene scene;
    const auto take = poseTake(6);
    const auto nested =
        kit::takeOf(kit::markerDataType,
                    {std::make_shared<Frame>(Time(0, 30), kit::markerDataType,
                                             kit::MarkerFrame(std::vector<kit::Marker>(2)))},
                    30);
    take->addSubTracks(nested, 1);
    take->setFrameIndexMap(1, 2);
    scene.setTracks(take);
    scene.setValue("Stage", "B");
    Character ada("1", "Ada");
    Actor actor;
    actor.setActorName("Ada");
    ada.setActor(&actor);
    ada.setTracks(take);
    scene.addCharacter(&ada);
    store::TakeWriter writer(file, "fuzz");
    store::TrackDescription body;
    body.subject = "Ada";
    body.rate = kit::Rate(30);
    body.rig = rig;
    writer.describe(take->getTrack(0), body);
    store::TrackDescription markers;
    markers.rate = kit::Rate(30);
    markers.labels = {{"Ada", "A", "", "mm"}, {"Ada", "B", "", "mm"}};
    writer.describe(nested->getTrack(0), markers);
    writer.write(scene);
    writer.addNote({"event", 1, "Foot Strike", "Left", "Ada", "0.5", ""});
    writer.addLoss({1, 2, 2, 1, "no room"});
    writer.commit();
    scene.removeCharacter(&ada);
    ada.setActor(nullptr);
    ada.setTracks({});
}

/// The bytes of the fuzzer, zero where they are at their end.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    bool isEmpty() const { return at_ >= size_; }
    unsigned byte() { return isEmpty() ? 0 : data_[at_++]; }
    std::int64_t number() {
        std::uint64_t value = 0;
        for (int i = 0; i < 8; ++i) {
            value = value << 8U | byte();
        }
        return static_cast<std::int64_t>(value);
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
};

/// A database in memory.
class Memory {
public:
    explicit Memory(const std::vector<unsigned char>& image) {
        sqlite3_open(":memory:", &database_);
        auto* const copy = static_cast<unsigned char*>(sqlite3_malloc64(image.size()));
        std::memcpy(copy, image.data(), image.size());
        sqlite3_deserialize(database_, "main", copy, static_cast<sqlite3_int64>(image.size()),
                            static_cast<sqlite3_int64>(image.size()),
                            SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE);
        sqlite3_create_function(database_, "checksum", 2, SQLITE_UTF8, nullptr, checksum, nullptr,
                                nullptr);
    }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    ~Memory() { sqlite3_close(database_); }

    void run(const std::string& sql) {
        sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr);
    }
    std::string image() {
        sqlite3_int64 size = 0;
        unsigned char* const bytes = sqlite3_serialize(database_, "main", &size, 0);
        std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        sqlite3_free(bytes);
        return text;
    }

private:
    static void checksum(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
        uLong crc = 0;
        for (int i = 0; i < 2; ++i) {
            const void* const blob = sqlite3_value_blob(values[i]);
            if (blob != nullptr) {
                crc = crc32(crc, static_cast<const Bytef*>(blob),
                            static_cast<uInt>(sqlite3_value_bytes(values[i])));
            }
        }
        sqlite3_result_int64(context, static_cast<sqlite3_int64>(crc));
    }

    sqlite3* database_ = nullptr;
};

struct Table {
    const char* name;
    const char* order; ///< what its rows are told by
    std::vector<const char*> columns;
};

const std::vector<Table> tables = {
    {"fact", "key", {"key", "value"}},
    {"take",
     "id",
     {"id", "name", "fps", "length", "frame_count", "current", "work_begin", "work_end",
      "version"}},
    {"nested", "take, place", {"take", "place", "child", "frame_offset"}},
    {"placement", "take, place", {"take", "place", "track", "frame_offset"}},
    {"index_map", "take, key", {"take", "key", "value"}},
    {"track",
     "id",
     {"id", "data_type", "slots", "frames", "lost", "subject", "rate_numerator", "rate_denominator",
      "space", "rig", "document"}},
    {"label", "track, place", {"track", "place", "subject", "name", "description", "unit"}},
    {"rig", "id", {"id", "space", "standing"}},
    {"rig_node",
     "rig, place",
     {"rig", "place", "name", "parent", "is_end", "node_offset", "channels"}},
    {"codec", "id", {"id", "name", "version"}},
    {"chunk",
     "id",
     {"id", "track", "late", "first", "last", "data_type", "codec", "heads", "data"}},
    {"loss", "id", {"id", "track", "first", "last", "count", "reason"}},
    {"note", "id", {"id", "kind", "frame", "label", "context", "subject", "text", "utc"}},
    {"character",
     "place",
     {"place", "id", "name", "settings", "actor", "take", "selected", "is_current"}},
};

std::string valueFrom(Bytes& bytes, const std::string& column) {
    static const std::array<std::int64_t, 12> telling = {0,
                                                         1,
                                                         -1,
                                                         2,
                                                         100,
                                                         20'000'000,
                                                         2147483647,
                                                         4294967295,
                                                         4294967296,
                                                         1LL << 40U,
                                                         std::numeric_limits<std::int64_t>::max(),
                                                         std::numeric_limits<std::int64_t>::min()};
    const auto literal = [](std::int64_t number) {
        return number == std::numeric_limits<std::int64_t>::min()
                   ? std::string("(-9223372036854775807 - 1)")
                   : std::to_string(number);
    };
    switch (bytes.byte() % 8) {
    case 0:
        return "NULL";
    case 1:
    case 2:
        return literal(telling.at(bytes.byte() % telling.size()));
    case 3:
        return literal(bytes.number());
    case 4: {
        std::string text = "x'";
        for (unsigned left = bytes.byte() % 64; left > 0; --left) {
            std::array<char, 3> hex = {};
            std::snprintf(hex.data(), hex.size(), "%02x", bytes.byte());
            text += hex.data();
        }
        return text + "'";
    }
    case 5: // one byte of it is another
    {
        std::array<char, 160> text = {};
        const unsigned place = bytes.byte() + 1;
        std::snprintf(text.data(), text.size(),
                      "CAST(substr(%s, 1, %u) || x'%02x' || substr(%s, %u) AS BLOB)",
                      column.c_str(), place - 1, bytes.byte(), column.c_str(), place + 1);
        return text.data();
    }
    case 6:
        return "zeroblob(" + std::to_string(bytes.byte() * 16) + ")";
    default:
        return column + " + " + std::to_string(static_cast<int>(bytes.byte()) - 128);
    }
}

/// Statements are made of a fixed set of words and numbers.
void change(Memory& database, Bytes& bytes) {
    const Table& table = tables.at(bytes.byte() % tables.size());
    const std::string row = " FROM " + std::string(table.name) + " ORDER BY " + table.order +
                            " LIMIT 1 OFFSET " + std::to_string(bytes.byte() % 8);
    const std::string where =
        " WHERE (" + std::string(table.order) + ") = (SELECT " + table.order + row + ")";
    const unsigned kind = bytes.byte() % 16;
    const std::string column = table.columns.at(bytes.byte() % table.columns.size());
    const std::string value = valueFrom(bytes, column);
    if (kind == 0) {
        database.run("DELETE FROM " + std::string(table.name) + where);
        return;
    }
    if (kind <= 2) { // a copy with another value
        std::string columns;
        std::string values;
        for (const std::string each : table.columns) {
            columns += (columns.empty() ? "" : ", ") + each;
            values += (values.empty() ? "" : ", ") + (each == column ? value : each);
        }
        database.run("INSERT OR REPLACE INTO " + std::string(table.name) + " (" + columns +
                     ") SELECT " + values + " FROM " + table.name + where);
        return;
    }
    database.run("UPDATE OR REPLACE " + std::string(table.name) + " SET " + column + " = " + value +
                 where);
}

std::vector<unsigned char> seedImage(const testing::FuzzDirectory& directory) {
    const auto file = directory / "seed.tarn";
    writeSeed(file);
    // Small pages are written faster.
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    sqlite3_exec(database, "PRAGMA page_size=512; VACUUM", nullptr, nullptr, nullptr);
    sqlite3_int64 size = 0;
    unsigned char* const bytes = sqlite3_serialize(database, "main", &size, 0);
    std::vector<unsigned char> image(bytes, bytes + size);
    sqlite3_free(bytes);
    sqlite3_close(database);
    return image;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testing::FuzzDirectory directory;
    static const std::vector<unsigned char> seed = seedImage(directory);
    Memory database(seed);
    Bytes bytes(data, size);
    database.run("BEGIN");
    for (int changes = 0; changes < 30 && !bytes.isEmpty(); ++changes) {
        change(database, bytes);
    }
    database.run("UPDATE chunk SET crc = checksum(heads, data)");
    database.run("COMMIT");
    const auto file = directory / "take.tarn";
    std::ofstream(file, std::ios::binary) << database.image();
    testing::useTakeFile(directory, file);
    return 0;
}
